// Values that are more than bits: lists, cryptogram forms, dates, amounts, names by code.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "decode/render.hpp"
#include "tests/decode/tree_reading.hpp"

namespace quorrin::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

struct TextCase {
    const char* kind;
    const char* value;
    const char* text;
};

// clang-format off
const TextCase text_cases[] = {
    {"terminal-type", "22", "Attended, offline with online capability, operated by a merchant"},
    {"terminal-type", "34", "Unattended, online only, operated by the cardholder"},
    {"date", "301231", "2030-12-31"},
    {"date", "000101", "2000-01-01"},
    {"date", "991231", "1999-12-31"},
    {"date", "240229", "2024-02-29"},
    {"date", "000000", "not given"},
    {"time", "193207", "19:32:07"},
    {"currency", "0156", "CNY, Yuan Renminbi"},
    {"currency", "0840", "USD, US Dollar"},
    {"currency", "0978", "EUR, Euro"},
    {"country", "0156", "China"},
    {"country", "0392", "Japan"},
    {"country", "0280", "Germany"},
    {"languages", "7A68656E", "Chinese, English"},
    {"amount", "000000012850", "128.50 (with two decimals; currency unknown)"},
    {"amount", "000000000000", "0"},
    {"5F55", "434E", "CN, China"},
    {"5F56", "43484E", "CHN, China"},
    {"9F36", "004B", "75"},
    {"9F17", "03", "3"},
    {"9C", "00", "Purchase of goods or services"},
    {"9C", "01", "Cash"},
    {"9C", "20", "Refund"},
    {"5F57", "30", "Credit"},
    {"9F39", "05", "Integrated circuit card"},
    {"9F39", "07", "Contactless integrated circuit card"},
    {"8A", "3030", "\"00\" Approved"},
    {"8A", "5A33", "\"Z3\" Unable to go online, offline declined"},
    {"9F11", "01", "ISO/IEC 8859-1"},
    {"87", "81", "priority 1, to be confirmed by the cardholder"},
    {"87", "02", "priority 2"},
    {"88", "01", "file 1, of the payment system"},
    {"88", "15", "file 21, of the issuer"},
    {"9F4D", "0B0A", "file 11, up to 10 records"},
    {"DF4D", "0C0A", "file 12, up to 10 records"},
    {"9F62", "00", "Identity card"},
    {"9F62", "02", "Passport"},
    {"9F2A", "03", "international, kernel C-3"},
    {"5F30", "0201", "international, use the chip, normal authorisation, no restrictions"},
    {"9F7A", "01", "supported"},
    {"aid", "A000000333010101", "UnionPay debit"},
    {"aid", "A0000000041010", "Mastercard credit or debit"},
    {"aid", "A0000000031010", "Visa credit or debit"},
    {"aid", "315041592E5359532E4444463031", "payment system environment (1PAY.SYS.DDF01)"},
    {"9F08", "0030", "48"},
    {"50", "50424F43", "\"PBOC\""},
    {"9F4E", "D6D0B9FAD2F8C1AA20202020", "\"中国银联    \""},
    {"9F4E", "D6D0B9FA7FD2F8C1AA", "\"ÖÐ¹ú.ÒøÁª\""},  // a control character: no text of the card's
    {"9F12", "E4B8ADE59BBD", "\"中国\""},
    {"06", "2A864886FC6B02020201", "1.2.840.114283.2.2.2.1"},
    {"DF06", "07", "SM3"},
    {"DF07", "04", "SM2"},
    {"9F12", "C9E9", "\"\xC3\x89\xC3\xA9\""},
    {"90", "0000000000000000000000000000000000000000000000000000000000000000"
           "0000000000000000000000000000000000000000000000000000000000000000", "512 bits"},
};
// clang-format on

TEST(DecodeValues, EachIsToldInWords) {
    for (const TextCase& each : text_cases) {
        const decode::Node node = told_as(each.kind, each.value);
        EXPECT_EQ(node.text, each.text) << each.kind << " " << each.value;
        EXPECT_FALSE(decode::has_problems(node)) << each.kind << " " << each.value;
    }
}

struct ProblemCase {
    const char* kind;
    const char* value;
    const char* problem;
};

TEST(DecodeValues, WhatCannotBeIsAProblem) {
    const ProblemCase cases[] = {
        {"date", "300230", "0: no such day"},
        {"date", "301331", "0: no such day"},
        {"date", "3012FF", "0: a date, but not all digits are decimal"},
        {"time", "245959", "0: no time of day"},
        {"currency", "0001", "0: no currency 0001 in ISO 4217"},
        {"country", "0001", "0: no country 0001 in ISO 3166-1"},
        {"country", "0F56", "0: a country has four decimal digits"},
        {"terminal-type", "17", "0: no terminal type 17"},
        {"9C", "99", "0: no transaction type 99"},
        {"88", "00", "0: no short file identifier"},
        {"88", "1F", "0: no short file identifier"},
        {"amount", "00000001285F", "0: numeric, but not all digits are decimal"},
        {"cvm-list", "00000000000000", "0: too short for the amounts X and Y"},
        {"cvm-list", "00000000000000001F", "8: a rule has two bytes, only one is left"},
        {"afl", "080101", "0: an entry has four bytes"},
        {"afl", "00010100", "0: no short file identifier"},
        {"afl", "F8010100", "0: no short file identifier"},
        {"afl", "08000100", "1: no such range of records"},
        {"afl", "08020100", "1: no such range of records"},
        {"afl", "08010102", "3: more records to authenticate than there are"},
        {"track2", "9999010000000011", "0: no separator D after the account number"},
        {"sw", "90", "0: has 1 byte, should have 2"},
        {"code", "31", ""},
    };
    for (const ProblemCase& each : cases) {
        const auto problems = problems_of(told_as(each.kind, each.value));
        if (*each.problem == '\0') {
            EXPECT_THAT(problems, Not(IsEmpty()));
        } else {
            EXPECT_THAT(problems, Contains(each.problem)) << each.kind << " " << each.value;
        }
    }
}

TEST(DecodeValues, CvmListsAreToldRuleByRule) {
    EXPECT_THAT(told(as("cvm-list", "000003E8 00000000 4203 5E03 0106 2000 1F00")),
                ElementsAre("Amount X: 10.00 (with two decimals; currency unknown)", "Amount Y: 0",
                            "Rule 1: Enciphered PIN verified online, if terminal supports the CVM; "
                            "else the next rule",
                            "Rule 2: Signature, if terminal supports the CVM; else the next rule",
                            "Rule 3: Plaintext PIN verification by ICC, if in application currency "
                            "and under X; else fail",
                            "Rule 4: Identity document shown (PBOC), always; else fail",
                            "Rule 5: No CVM required, always; else fail"));
}

TEST(DecodeValues, CvmResultsAreTold) {
    EXPECT_THAT(told(as("cvm-results", "420300")),
                ElementsAre("CVM performed: Enciphered PIN verified online",
                            "Condition: if terminal supports the CVM",
                            "Result: result unknown (as for signature or online PIN)"));
    EXPECT_THAT(told(as("cvm-results", "3F0000")),
                ElementsAre("CVM performed: No CVM performed", "Condition: none",
                            "Result: result unknown (as for signature or online PIN)"));
    EXPECT_THAT(told(as("cvm-results", "410302"))[2], "Result: successful");
}

TEST(DecodeValues, AnAflIsToldEntryByEntry) {
    EXPECT_THAT(told(as("afl", "08010100 10010301 18020200")),
                ElementsAre("File 1: record 1",
                            "File 2: records 1 to 3, first 1 for offline data authentication",
                            "File 3: record 2"));
}

TEST(DecodeValues, ListsAreToldEntryByEntry) {
    const decode::Node node = as("dol", "9F3704 9F6604 9F0206 DF6901 9F4E14");
    EXPECT_EQ(node.text, "5 entries, 35 bytes");
    EXPECT_EQ(node.children[0].tag, "9F37");
    EXPECT_EQ(node.children[0].label, "Unpredictable number");
    EXPECT_EQ(node.children[4].text, "20 bytes");
    const decode::Node unknown = as("dol", "9F3704 DF7E02");
    EXPECT_EQ(unknown.children[1].label, "Unknown element");
    EXPECT_THAT(problems_of(unknown), ElementsAre("3: the tag DF7E is in no table"));
    EXPECT_THAT(problems_of(as("dol", "9F3704 9F66")),
                ElementsAre("5: the tag 9F66 has no length field"));
    EXPECT_EQ(as("tag-list", "82").children[0].label, "Application interchange profile (AIP)");
}

TEST(DecodeValues, TheDataOfAListAreToldByIt) {
    const decode::Node node =
        decode::dol_data(hex("9F0206 5F2A02 9A03 9C01"), hex("000000012850 0156 250110 00"));
    EXPECT_EQ(decode::to_text(node),
              "9F02 Amount, authorised (numeric): CNY 128.50 (000000012850)\n"
              "5F2A Transaction currency code: CNY, Yuan Renminbi (0156)\n"
              "9A Transaction date: 2025-01-10\n"
              "9C Transaction type: Purchase of goods or services (00)\n");
    EXPECT_THAT(problems_of(decode::dol_data(hex("9F0206 9A03"), hex("00000001285025"))),
                Contains("7: should have 3 bytes, but only 1 is left"));
    EXPECT_THAT(problems_of(decode::dol_data(hex("9A03"), hex("25011000"))),
                ElementsAre("3: more data than the list names"));
}

// A PDOL that names the template in which its own data are sent.
TEST(DecodeValues, AListThatNamesItsOwnTemplateIsReadOnce) {
    EXPECT_EQ(decode::to_text(as("command", "80A80000 04 8302 1234 00", {.list = hex("83 02")})),
              "Command: GET PROCESSING OPTIONS\n"
              "  Header: 80A80000\n"
              "  Lc: 4 bytes (04)\n"
              "  Data\n"
              "    83 Command template\n"
              "      83 Command template: 1234 [the values that the card's PDOL asks for]\n"
              "  Le: as much as there is (00)\n");
}

TEST(DecodeValues, AmountsHaveTheDecimalsOfTheirCurrency) {
    EXPECT_EQ(decode::amount_text(12850, 156), "CNY 128.50");
    EXPECT_EQ(decode::amount_text(12850, 392), "JPY 12850");
    EXPECT_EQ(decode::amount_text(12850, 414), "KWD 12.850");
    EXPECT_EQ(decode::amount_text(5, 156), "CNY 0.05");
    EXPECT_EQ(decode::currency_exponent(156), 2);
    EXPECT_EQ(decode::currency_exponent(1), std::nullopt);
}

struct IssuerDataCase {
    const char* value;
    const char* note;
    std::vector<std::string> lines;
};

TEST(DecodeValues, IssuerApplicationDataAreToldByTheirForm) {
    const IssuerDataCase cases[] = {
        {"07010103A0A00401 0A010000010000A1B2C3D4",
         "PBOC form",
         {"Length: ", "Key derivation index: ", "Cryptogram version: 1",
          "Card verification results (CVR): ", "Algorithm: Triple DES",
          "Issuer discretionary data: "}},
        {"07010103A0A00004",
         "PBOC form",
         {"Length: ", "Key derivation index: ", "Cryptogram version: 1",
          "Card verification results (CVR): ", "Algorithm: SM4"}},
        {"06010A03A0A000",
         "form with card verification results of 3 bytes",
         {"Length: ", "Key derivation index: ", "Cryptogram version: 10",
          "Card verification results (CVR): "}},
        {"0110A04003240000000000000000000000FF",
         "form with card verification results of 6 bytes",
         {"Key derivation index: ", "Cryptogram version: ", "Card verification results (CVR): ",
          "DAC or ICC dynamic number: ", "Counters, plain or enciphered: "}},
        {"0FA501A03800000000000000000000000F 000000000000000000000000000000",
         "form of the common core definitions",
         {"Length: ", "Common core identifier: format A, cryptogram version 5",
          "Key derivation index: ", "Card verification results (CVR): ", "Counters: ",
          "Length of issuer discretionary data: ", "Issuer discretionary data: "}},
        {"1F2201A020000000 000000000000000000000000000000000000000000000000",
         "form with card verification results of 5 bytes",
         {"Length: ", "Cryptogram version: ", "Key derivation index: ",
          "Card verification results (CVR): ", "Issuer discretionary data: "}},
    };
    for (const IssuerDataCase& each : cases) {
        ByteString value = hex(each.value);
        if (value.size() == 32 && value[0] == 0x0F) {
            ASSERT_EQ(value[16], 0x0F);
        }
        const decode::Node node = decode::element(0x9F10, value);
        EXPECT_EQ(node.note, each.note) << each.value;
        EXPECT_EQ(told(node), each.lines) << each.value;
        EXPECT_FALSE(decode::has_problems(node)) << each.value;
    }
    const decode::Node own = decode::element(0x9F10, hex("010203"));
    EXPECT_EQ(own.note, "the issuer's own form");
    const decode::Node cash = decode::element(0x9F10, hex(cases[0].value));
    EXPECT_THAT(told(cash.children[5]),
                ElementsAre("Length: ", "Form: ",
                            "Electronic cash balance: 100.00 (with two decimals; currency unknown)",
                            "MAC: "));
}

TEST(DecodeValues, LimitsAndBalancesHaveTheCurrencyOfTheCard) {
    constexpr std::uint32_t amounts[] = {0x9F79, 0x9F77, 0x9F78, 0x9F6D, 0x9F54, 0x9F5C};
    for (const std::uint32_t tag : amounts) {
        const ByteString value = hex("000000030000");
        EXPECT_EQ(decode::element(tag, value, {.currency = 840, .card_currency = 156}).text,
                  "CNY 300.00")
            << std::hex << tag;
        EXPECT_EQ(decode::element(tag, value, {.currency = 840}).text, "USD 300.00");
        for (const char* currency : {"9F51020156", "9F42020156"}) {
            ByteString data = hex(decode::tag_text(tag) + "06000000030000");
            const ByteString told = hex(currency);
            data.insert(data.end(), told.begin(), told.end());
            const decode::Node tree = decode::tlv(data, {.card_currency = 840});
            EXPECT_EQ(find_object(tree, decode::tag_text(tag))->text, "CNY 300.00");
        }
    }
}

TEST(DecodeValues, FormatOneAnswersAreToldByTheirCommand) {
    const decode::Node options =
        decode::answer(hex("800A 7C00 08010100 10010300 9000"), hex("80A8000002830000"));
    EXPECT_EQ(decode::find_object(options, "82")->value, "7C00");
    EXPECT_EQ(decode::find_object(options, "94")->children.size(), 2u);
    EXPECT_FALSE(decode::has_problems(options));
    const decode::Node cryptogram =
        decode::answer(hex("8012 80 0001 0102030405060708 07010103A0A000 9000"), hex("80AE800000"));
    EXPECT_EQ(decode::find_object(cryptogram, "9F36")->text, "1");
    EXPECT_EQ(decode::find_object(cryptogram, "9F26")->value, "0102030405060708");
    EXPECT_EQ(decode::find_object(cryptogram, "9F10")->value, "07010103A0A000");
    // Without the command: what the bytes allow, and that it was taken for it.
    EXPECT_EQ(decode::tlv(hex("800A 7C00 08010100 10010300")).children[0].note,
              "taken for the answer to GET PROCESSING OPTIONS");
    EXPECT_EQ(decode::tlv(hex("8012 80 0001 0102030405060708 07010103A0A000")).children[0].note,
              "taken for the answer to GENERATE AC");
}

TEST(DecodeValues, IssuerAuthenticationDataAreToldByTheirLength) {
    EXPECT_THAT(told(as("issuer-authentication", "0102030405060708 3030")),
                ElementsAre("ARPC (method 1): ", "Authorisation response code: \"00\" Approved"));
    EXPECT_THAT(told(as("issuer-authentication", "01020304 00820000")),
                ElementsAre("ARPC (method 2): ", "Card status update: "));
}

TEST(DecodeValues, TracksAreToldInTheirParts) {
    const decode::Options open{.show_sensitive = true};
    EXPECT_THAT(told(as("track2", "9999010000000011D30122010000012300000F", open)),
                ElementsAre("Account number: 9999010000000011", "Expiration date: 2030-12",
                            "Service code: 201", "Discretionary data: 0000012300000"));
    EXPECT_THAT(told(as("track1", to_hex(text_bytes("B9999010000000011^TEST/CARD^3012201")), open)),
                ElementsAre("Account number: 9999010000000011", "Name: TEST/CARD",
                            "Expiration date, service code, discretionary data: 3012201"));
}

TEST(DecodeValues, ScriptResultsAreToldScriptByScript) {
    EXPECT_THAT(told(as("script-results", "2000000001 1300000002 00FFFFFFFF 1F00000003")),
                ElementsAre("Script 00000001: processing successful",
                            "Script 00000002: processing failed, at command 3",
                            "Script FFFFFFFF: not performed",
                            "Script 00000003: processing failed, at command 15 or later"));
    EXPECT_THAT(problems_of(as("script-results", "20000000")),
                ElementsAre("0: an entry has five bytes"));
}

TEST(DecodeValues, KeyedTextIsToldItemByItem) {
    const decode::Node node = as_text("keyed-text", "P012000000012850R0040156S006250110V003TEA");
    ASSERT_EQ(node.children.size(), 4u);
    EXPECT_EQ(node.children[0].label, "Amount, authorised (numeric), key P");
    EXPECT_EQ(node.children[0].text, "CNY 128.50");
    EXPECT_EQ(node.children[2].text, "2025-01-10");
    EXPECT_EQ(node.children[3].text, "\"TEA\"");
    EXPECT_EQ(node.children[3].offset, 34u);
    EXPECT_FALSE(decode::has_problems(node));
    EXPECT_THAT(problems_of(as_text("keyed-text", "Z001A")), ElementsAre("0: no key letter Z"));
    EXPECT_THAT(problems_of(as_text("keyed-text", "P01")),
                ElementsAre("0: an item begins with its key letter and three digits"));
    EXPECT_THAT(problems_of(as_text("keyed-text", "V005TEA")),
                Contains("1: the count says 5 characters, but only 3 follow"));
}

TEST(DecodeValues, LogTextIsToldItemByItem) {
    const decode::Node node =
        as_text("log-text",
                "P012000000003980Q012000000000000R0040156S00620250110T00100U003193207V0040156W00254"
                "45X002000A");
    EXPECT_FALSE(decode::has_problems(node)) << decode::to_text(node);
    ASSERT_EQ(node.children.size(), 9u);
    EXPECT_EQ(node.children[0].text, "CNY 39.80");
    EXPECT_EQ(node.children[3].text, "2025-01-10");
    EXPECT_EQ(node.children[6].label, "Terminal country code, key V");
    EXPECT_EQ(node.children[8].text, "10");
}

TEST(DecodeValues, LogRecordsAreToldByTheirFormat) {
    decode::Options options{.list = hex("9A03 9F2103 9F0206 5F2A02 9C01 9F3602")};
    const ByteString record = hex("250110 193207 000000003980 0156 00 000A");
    const decode::Node node = decode::log_record(record, options);
    EXPECT_EQ(decode::to_text(node),
              "9A Transaction date: 2025-01-10\n"
              "9F21 Transaction time: 19:32:07\n"
              "9F02 Amount, authorised (numeric): CNY 39.80 (000000003980)\n"
              "5F2A Transaction currency code: CNY, Yuan Renminbi (0156)\n"
              "9C Transaction type: Purchase of goods or services (00)\n"
              "9F36 Application transaction counter (ATC): 10 (000A)\n");
    // The format as the card gives it, with tag and length.
    options.list = hex("9F4F 05 9A03 9F2103");
    EXPECT_EQ(decode::log_record(hex("250110193207"), options).children.size(), 2u);
    EXPECT_THAT(problems_of(decode::log_record(record, {})),
                ElementsAre("0: the log format is needed to tell the fields"));
    const decode::Node load = as("load-log-record", "9F79 000000000000 000000010000 250102 120000",
                                 {.list = hex("9A03 9F2103")});
    EXPECT_THAT(told(load)[2], "After: 100.00 (with two decimals; currency unknown)");
    EXPECT_EQ(load.children[3].offset, 14u);
}

struct CommandCase {
    const char* apdu;
    const char* text;
};

TEST(DecodeValues, CommandsAreToldByNameAndParameters) {
    const CommandCase cases[] = {
        {"00A404000E315041592E5359532E444446303100", "SELECT, by name, first occurrence"},
        {"00A4040207A000000003101000", "SELECT, by name, next occurrence"},
        {"00B2010C00", "READ RECORD, record 1 of file 1"},
        {"80A8000002830000", "GET PROCESSING OPTIONS"},
        {"80AE8000", "GENERATE AC, ARQC asked for"},
        {"80AE500000", "GENERATE AC, TC asked for, with CDA"},
        {"80CA9F3600", "GET DATA, 9F36 Application transaction counter (ATC)"},
        {"0082000008 0102030405060708", "EXTERNAL AUTHENTICATE"},
        {"0020008008 241234FFFFFFFFFF", "VERIFY, plaintext PIN"},
        {"0084000008", "GET CHALLENGE"},
        {"00C0000010", "GET RESPONSE"},
        {"04DA9F780A 000000080000 01020304",
         "PUT DATA, 9F78 Electronic cash single transaction limit"},
        {"841E000004 01020304", "APPLICATION BLOCK"},
        {"8418000004 01020304", "APPLICATION UNBLOCK"},
        {"8416000004 01020304", "CARD BLOCK"},
        {"8424000004 01020304", "PIN CHANGE/UNBLOCK, PIN try counter reset"},
        {"04DC010C06 700001020304", "UPDATE RECORD, record 1 of file 1"},
    };
    for (const CommandCase& each : cases) {
        const decode::Node node = as("command", each.apdu);
        EXPECT_EQ(node.text, each.text) << each.apdu;
        EXPECT_FALSE(decode::has_problems(node)) << each.apdu << decode::to_text(node);
    }
    EXPECT_THAT(problems_of(as("command", "00A404")),
                ElementsAre("0: a command has a header of four bytes"));
    EXPECT_THAT(problems_of(as("command", "00A4040005A0000003")),
                Contains("4: Lc says 5 bytes, but only 4 follow"));
    EXPECT_THAT(problems_of(as("command", "80FE0000")),
                Contains("1: class 80, instruction FE are in no table"));
}

TEST(DecodeValues, IssuerScriptsAreToldWithTheirCommands) {
    const decode::Node node =
        decode::tlv(hex("7218 9F1804 00000001 86 0F 04DA9F780A 000000080000 01020304"));
    EXPECT_EQ(decode::find_object(node, "86")->text,
              "PUT DATA, 9F78 Electronic cash single transaction limit");
    EXPECT_EQ(decode::find_object(node, "9F78")->value, "000000080000");
    EXPECT_FALSE(decode::has_problems(node)) << decode::to_text(node);
}

TEST(DecodeValues, AnswersAreToldWithTheirStatusWord) {
    const decode::Node node = decode::answer(hex("9F36020001 9000"));
    EXPECT_EQ(decode::to_text(node),
              "9F36 Application transaction counter (ATC): 1 (0001)\n"
              "Status word: Success (9000)\n");
    EXPECT_EQ(decode::answer(hex("6A82")).children[0].text, "File or application not found");
    EXPECT_THAT(problems_of(decode::answer(hex("90"))),
                ElementsAre("0: an answer ends with a status word of two bytes"));
}

struct AtrCase {
    const char* atr;
    std::vector<std::string> lines;
};

TEST(DecodeValues, AnswersToResetAreToldByteByByte) {
    const AtrCase cases[] = {
        {"3B 65 00 00 54 45 53 54 43",
         {"TS: direct convention", "T0: 5 bytes of history", "TB1: no programming voltage",
          "TC1: extra guard time 0", "Historical bytes: \"TESTC\""}},
        {"3B 24 00 4F 4C 44 31",
         {"TS: direct convention", "T0: 4 bytes of history", "TB1: no programming voltage",
          "Historical bytes: \"OLD1\""}},
        {"3F 11 96",
         {"TS: inverse convention", "T0: 1 byte of history", "TA1: F 512, D 32, 16 clocks a bit",
          "Historical bytes: "}},
        {"3B 88 80 01 00 00 00 00 33 81 81 00 3A",
         {"TS: direct convention", "T0: 8 bytes of history", "TD1: T=0", "TD2: T=1",
          "Historical bytes: ", "TCK: correct"}},
    };
    for (const AtrCase& each : cases) {
        EXPECT_THAT(told(as("atr", each.atr)), testing::ElementsAreArray(each.lines)) << each.atr;
    }
    EXPECT_THAT(problems_of(as("atr", "3B8880010000000033818100 3B")),
                ElementsAre("12: should be 3A"));
    EXPECT_THAT(problems_of(as("atr", "3B6500")), ElementsAre("3: the answer ends before TC1"));
    EXPECT_THAT(problems_of(as("atr", "3B02 41")), Contains("3: only 1 of 2 bytes of history"));
    EXPECT_THAT(problems_of(as("atr", "3D00")),
                ElementsAre("0: an answer to reset begins with 3B or 3F"));
}

TEST(DecodeValues, HistoricalBytesAreToldByTheirCategory) {
    EXPECT_THAT(
        told(as("historical-bytes", "0031C071D66438D00300849000")),
        ElementsAre("Category: compact data objects, status at the end", "Card service data: ",
                    "Card capabilities: ", "Pre-issuing data: ", "Status information: "));
    EXPECT_THAT(told(as("historical-bytes", "804F0CA00000030603000100000000")),
                ElementsAre("Category: compact data objects",
                            "Application identifier: contactless storage card"));
}

TEST(DecodeValues, ProductionDataAreToldPartByPart) {
    const decode::Node node = decode::element(0x9F7F, ByteString(42, 0x11));
    EXPECT_EQ(node.label, "Card production life cycle data (CPLC)");
    EXPECT_EQ(node.children.size(), 18u);
    EXPECT_EQ(node.children.back().offset + node.children.back().size, 42u);
}

TEST(DecodeValues, ANumberWhoseBytesArePrintableIsNoText) {
    const std::vector<std::uint8_t> printable = {'7', '8', 'H', '('};
    EXPECT_EQ(decode::element(0x9F37, printable, {}).text, "");
    EXPECT_EQ(decode::element(0x9F37, printable, {}).value, "37384828");
    EXPECT_EQ(decode::element(0x53, printable, {}).text, "\"78H(\"");  // of any length
}

}  // namespace
}  // namespace quorrin::test
