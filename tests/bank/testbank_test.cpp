// The test bank through its C interface. Expected values are those of test_card.hpp: published or
// computed apart from the code under test.
#include "quorrin/testbank.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "tests/cryptography/test_card.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::test {
namespace {

struct Close {
    void operator()(QuorrinBank* bank) const { quorrin_bank_close(bank); }
};
using Bank = std::unique_ptr<QuorrinBank, Close>;

constexpr const char* keys = R"([keys]
cryptogram   = "F0C34A8124CEE0A91A0B034AA97D6EAC"
mac          = "00112233445566778899AABBCCDDEEFF"
encipherment = "FFEEDDCCBBAA99887766554433221100"
)";

std::string rules_for(const TestCard& card, const std::string& more = "") {
    const bool sm4 = card.algorithm == cryptography::Algorithm::Sm4;
    const bool emv = card.scheme == cryptography::SessionKeyScheme::EmvCommon;
    return std::string(keys) + "[[product]]\nname = \"printed example\"\nalgorithm = \"" +
           (sm4 ? "sm4" : "3des") + "\"\nsession_keys = \"" + (emv ? "emv" : "pboc") + "\"\n" +
           more;
}

Bank open_text(const std::string& rules) {
    QuorrinBank* bank = nullptr;
    EXPECT_EQ(quorrin_bank_open_text(rules.c_str(), &bank), QUORRIN_BANK_OK)
        << quorrin_bank_error();
    return Bank(bank);
}

Bank bank_of(const TestCard& card, const std::string& more = "") {
    return open_text(rules_for(card, more));
}

// Field 55 of the printed example, in an order of its own, with objects that a bank passes over.
ByteString field_55_of(const TestCard& card) {
    const bool sm4 = card.algorithm == cryptography::Algorithm::Sm4;
    return join(hex("9F26 08"), hex(card.arqc), hex("9F27 01 80  9F10 08 07010103A04002"),
                hex(sm4 ? "04" : "01"),
                hex("9F37 04 1E78EEBC  9F36 02 0240  95 05 0080046000  9A 03 140701  9C 01 00"
                    "9F02 06 000000000001  5F2A 02 0156  82 02 7D00  9F1A 02 0156"
                    "9F03 06 000000000000  9F33 03 E0E1C8  5F34 01 01  5A 07 6228000100001F"));
}

QuorrinBankRequest request_of(const TestCard& card) {
    QuorrinBankRequest request = {};
    const ByteString field = field_55_of(card);
    EXPECT_EQ(quorrin_bank_read_field55(field.data(), field.size(), &request), QUORRIN_BANK_OK)
        << quorrin_bank_error();
    return request;
}

QuorrinBankAnswer answer_of(const Bank& bank, const QuorrinBankRequest& request,
                            const QuorrinBankDecision* decision = nullptr,
                            const std::vector<QuorrinBankWish>& wishes = {}) {
    QuorrinBankAnswer answer = {};
    EXPECT_EQ(
        quorrin_bank_answer(bank.get(), &request, decision, wishes.data(), wishes.size(), &answer),
        QUORRIN_BANK_OK)
        << quorrin_bank_error();
    return answer;
}

QuorrinBankWish wish(const char* words) {
    QuorrinBankWish made = {};
    EXPECT_EQ(quorrin_bank_read_wish(words, &made), QUORRIN_BANK_OK) << quorrin_bank_error();
    return made;
}

TEST(TestBank, ReadsField55) {
    const QuorrinBankRequest request = request_of(test_cards[0]);
    EXPECT_STREQ(request.pan, "6228000100001");
    EXPECT_EQ(request.pan_sequence_number, 0x01);
    EXPECT_EQ(to_hex(request.amount_authorised), "000000000001");
    EXPECT_EQ(to_hex(request.amount_other), "000000000000");
    EXPECT_EQ(to_hex(request.terminal_country), "0156");
    EXPECT_EQ(to_hex(request.terminal_verification), "0080046000");
    EXPECT_EQ(to_hex(request.currency), "0156");
    EXPECT_EQ(to_hex(request.date), "140701");
    EXPECT_EQ(request.type, 0x00);
    EXPECT_EQ(to_hex(request.unpredictable_number), "1E78EEBC");
    EXPECT_EQ(to_hex(request.interchange_profile), "7D00");
    EXPECT_EQ(to_hex(request.atc), "0240");
    EXPECT_EQ(to_hex(request.cryptogram), "5D016C91005E7CC2");
    EXPECT_EQ(request.issuer_application_data_size, 8);
    EXPECT_EQ(to_hex(std::span(request.issuer_application_data).first(8)), "07010103A0400201");
}

TEST(TestBank, TakesTheCardNumberFromTrack2OrFromTheCaller) {
    const ByteString full = field_55_of(test_cards[0]);
    const ByteString rest(full.begin(), full.end() - 9);  // without 5A

    QuorrinBankRequest request = {};
    const ByteString track_2 = join(rest, hex("57 0D 6228000100001D301220112345"));
    EXPECT_EQ(quorrin_bank_read_field55(track_2.data(), track_2.size(), &request), 0);
    EXPECT_STREQ(request.pan, "6228000100001");

    request = {};
    std::snprintf(request.pan, sizeof request.pan, "622800");
    EXPECT_EQ(quorrin_bank_read_field55(rest.data(), rest.size(), &request), 0);
    EXPECT_STREQ(request.pan, "622800");
}

struct BadField {
    const char* field;
    const char* error;
};

TEST(TestBank, RefusesAFieldThatABankCannotUse) {
    const ByteString full = field_55_of(test_cards[0]);
    const std::string rest = to_hex(ByteString(full.begin(), full.end() - 9));
    const std::string no_pan = "the card number is missing: neither 5A nor 57";
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "9F02 is missing"},
        {rest, no_pan},
        {"9F02", "malformed at byte 0"},
        {"9A 03 140701 9C 02 00", "malformed at byte 5"},
        {"9F02 05 0000000001", "9F02 must have 6 bytes"},
        {"9F10 00", "9F10 must have 1 to 32 bytes"},
        {"9F10 21" + std::string(66, '0'), "9F10 must have 1 to 32 bytes"},
        {"5A 01 FF", "no card number in 5A"},
        {"57 02 A123", "no card number in 57"},
        {rest.substr(0, 0) + "9F02 06 000000000001", "9F1A is missing"},
    };
    for (const auto& [field, error] : rows) {
        SCOPED_TRACE(field);
        QuorrinBankRequest request = {};
        request.type = 0x77;
        const ByteString data = hex(field);
        EXPECT_EQ(quorrin_bank_read_field55(data.data(), data.size(), &request),
                  QUORRIN_BANK_BAD_REQUEST);
        EXPECT_EQ(quorrin_bank_error(), error);
        EXPECT_EQ(request.type, 0x77);
        EXPECT_STREQ(request.pan, "");
    }
}

TEST(TestBank, AnswersByEitherArpcMethod) {
    for (const TestCard& card : test_cards) {
        SCOPED_TRACE(card.name);
        const Bank bank = bank_of(card);
        const QuorrinBankAnswer first = answer_of(bank, request_of(card));
        EXPECT_EQ(first.cryptogram_right, 1);
        EXPECT_EQ(first.approved, 1);
        EXPECT_EQ(first.arpc_method, 1);
        EXPECT_STREQ(first.product, "printed example");
        EXPECT_STREQ(first.rule, "");
        EXPECT_STREQ(first.reason, "the cryptogram is right, approved");
        EXPECT_STREQ(first.response_code, "00");
        EXPECT_STREQ(first.authorisation_code, "");
        EXPECT_EQ(to_hex(std::span(first.authentication).first(first.authentication_size)),
                  std::string(card.arpc_method_1) + "3030");
        EXPECT_EQ(first.issuer_text, std::string("8A023030910A") + card.arpc_method_1 + "3030");

        QuorrinBankDecision decision = {};
        decision.arpc_method = 2;
        EXPECT_EQ(answer_of(bank, request_of(card), &decision).issuer_text,
                  std::string("8A0230309108") + card.arpc_method_2 + "00800000");

        decision.proprietary_size = 8;
        std::ranges::copy(hex("0102030405060708"), decision.proprietary);
        EXPECT_EQ(
            answer_of(bank, request_of(card), &decision).issuer_text,
            std::string("8A0230309110") + card.arpc_method_2_extended + "808000000102030405060708");
    }
}

TEST(TestBank, WritesWishesAsScripts) {
    for (const TestCard& card : test_cards) {
        SCOPED_TRACE(card.name);
        const Bank bank = bank_of(card);
        QuorrinBankDecision decision = {};
        std::snprintf(decision.authorisation_code, sizeof decision.authorisation_code, "123456");
        const QuorrinBankAnswer answer =
            answer_of(bank, request_of(card), &decision,
                      {wish("put 9F79 000000100000"), wish("71/11223344: block application")});
        EXPECT_EQ(answer.issuer_text, std::string("8A0230308906313233343536910A") +
                                          card.arpc_method_1 + "3030" +
                                          "71129F1804112233448609841E000004" + card.block_mac +
                                          "7211860F04DA9F790A000000100000" + card.put_mac);
        EXPECT_STREQ(answer.authorisation_code, "123456");

        const bool sm4 = card.algorithm == cryptography::Algorithm::Sm4;
        EXPECT_EQ(
            answer_of(bank, request_of(card), nullptr, {wish("change PIN to 1234")}).issuer_text,
            std::string("8A023030910A") + card.arpc_method_1 + "3030" +
                (sm4 ? "721B8619" : "721B8619") + "8424000214" + card.enciphered_pin +
                card.pin_mac);
    }
}

TEST(TestBank, GivesTheAnswerOfThePagesWorkedExample) {
    std::ifstream file(QUORRIN_TEST_BANK_PAGE);
    std::string page(std::istreambuf_iterator<char>(file), {});
    std::erase(page, ' ');
    const TestCard& card = test_cards[0];
    EXPECT_THAT(page, testing::HasSubstr(
                          std::string("\n") +
                          answer_of(bank_of(card), request_of(card), nullptr,
                                    {wish("71: block application"), wish("put 9F79 000000100000")})
                              .issuer_text +
                          "\n"));
}

TEST(TestBank, PutsNeighboursOfOneNameIntoOneTemplate) {
    const Bank bank = bank_of(test_cards[0]);
    const std::string text = answer_of(bank, request_of(test_cards[0]), nullptr,
                                       {wish("block application"), wish("put 9F79 000000100000"),
                                        wish("72/00000001: unblock PIN")})
                                 .issuer_text;
    const std::string scripts = text.substr(std::string("8A023030910A").size() + 20);
    EXPECT_EQ(scripts.substr(0, 22), "721C8609841E0000041703");
    EXPECT_EQ(scripts.substr(4 + 2 * 0x1C, 22), "72129F1804000000018609");
}

TEST(TestBank, ReadsWishesInWords) {
    struct Row {
        const char* words;
        int kind;
        int phase;
        const char* identifier;
        const char* new_pin;
        const char* current_pin;
        int tag;
        int file;
        int record;
        const char* value;
    };
    const Row rows[] = {
        {"change PIN to 1234", QUORRIN_BANK_CHANGE_PIN, 0x72, "", "1234", "", 0, 0, 0, ""},
        {"Change pin From 1234 TO 567890123456", QUORRIN_BANK_CHANGE_PIN, 0x72, "", "567890123456",
         "1234", 0, 0, 0, ""},
        {"unblock PIN", QUORRIN_BANK_UNBLOCK_PIN, 0x72, "", "", "", 0, 0, 0, ""},
        {"71: block application", QUORRIN_BANK_BLOCK_APPLICATION, 0x71, "", "", "", 0, 0, 0, ""},
        {"72: unblock  application ", QUORRIN_BANK_UNBLOCK_APPLICATION, 0x72, "", "", "", 0, 0, 0,
         ""},
        {"71/DEADBEEF: block card", QUORRIN_BANK_BLOCK_CARD, 0x71, "DEADBEEF", "", "", 0, 0, 0, ""},
        {"put 9F79 00 00 00 03 00 00", QUORRIN_BANK_PUT_DATA, 0x72, "", "", "", 0x9F79, 0, 0,
         "000000030000"},
        {"put 5F 01", 0, 0, "", "", "", 0, 0, 0, ""},
        {"update record 30.255 7003", QUORRIN_BANK_UPDATE_RECORD, 0x72, "", "", "", 0, 30, 255,
         "7003"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.words);
        QuorrinBankWish made = {};
        if (row.kind == 0) {
            EXPECT_EQ(quorrin_bank_read_wish(row.words, &made), QUORRIN_BANK_OK);
            EXPECT_EQ(made.tag, 0x5F);
            continue;
        }
        ASSERT_EQ(quorrin_bank_read_wish(row.words, &made), QUORRIN_BANK_OK)
            << quorrin_bank_error();
        EXPECT_EQ(made.kind, row.kind);
        EXPECT_EQ(made.phase, row.phase);
        EXPECT_EQ(made.has_identifier, *row.identifier == '\0' ? 0 : 1);
        EXPECT_EQ(to_hex(made.identifier), *row.identifier == '\0' ? "00000000" : row.identifier);
        EXPECT_STREQ(made.new_pin, row.new_pin);
        EXPECT_STREQ(made.current_pin, row.current_pin);
        EXPECT_EQ(made.tag, row.tag);
        EXPECT_EQ(made.file, row.file);
        EXPECT_EQ(made.record, row.record);
        EXPECT_EQ(to_hex(std::span(made.value).first(made.value_size)), row.value);
    }
}

TEST(TestBank, RefusesWordsThatAreNoWish) {
    const char* const rows[] = {"",
                                "block",
                                "block everything",
                                "block application now",
                                "change PIN 1234",
                                "change PIN to 1234567890123",
                                "put 9F79",
                                "put 9F7 01",
                                "put 9F7901 01",
                                "put 9F79 0",
                                "put 9F79 XX",
                                "update record 1 7003",
                                "update record 1. 7003",
                                "update record 1.256 7003",
                                "update record 1.2",
                                "73: block card",
                                "71/00: block card",
                                "71/GG000000: block card"};
    for (const char* const words : rows) {
        SCOPED_TRACE(words);
        QuorrinBankWish made = {};
        made.tag = 0x1234;
        EXPECT_EQ(quorrin_bank_read_wish(words, &made), QUORRIN_BANK_BAD_WISH);
        EXPECT_STRNE(quorrin_bank_error(), "");
        EXPECT_EQ(made.tag, 0x1234);
    }
}

TEST(TestBank, RefusesWishesThatNoCardTakes) {
    const Bank bank = bank_of(test_cards[0]);
    const QuorrinBankRequest request = request_of(test_cards[0]);
    const std::string long_value(2 * 120, 'A');
    struct Row {
        std::vector<QuorrinBankWish> wishes;
        const char* error;
    };
    const Row rows[] = {
        {{wish("change PIN to 12")}, "a PIN has 4 to 12 decimal digits"},
        {{wish("update record 31.1 70")}, "no such record: files go from 1 to 30, records from 1"},
        {{wish(("put 9F79 " + std::string(200, 'A')).c_str()), wish("71: block application"),
          wish("unblock application")},
         "the issuer scripts exceed the 128 bytes that terminals run"},
        {{wish(("put 9F79 " + long_value).c_str())},
         "a data object of the issuer's answer exceeds 127 bytes"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error);
        QuorrinBankAnswer answer = {};
        answer.approved = 7;
        EXPECT_EQ(quorrin_bank_answer(bank.get(), &request, nullptr, row.wishes.data(),
                                      row.wishes.size(), &answer),
                  QUORRIN_BANK_BAD_WISH);
        EXPECT_STREQ(quorrin_bank_error(), row.error);
        EXPECT_EQ(answer.approved, 7);
    }
}

TEST(TestBank, GivesAWrongArpcOrNoneWhenAsked) {
    const TestCard& card = test_cards[0];
    const Bank bank = bank_of(card);
    QuorrinBankDecision decision = {};
    decision.arpc = QUORRIN_BANK_ARPC_WRONG;
    const QuorrinBankAnswer wrong = answer_of(bank, request_of(card), &decision);
    EXPECT_EQ(wrong.cryptogram_right, 1);
    EXPECT_STREQ(wrong.issuer_text, "8A023030910A3F1B237749040E2B3030");

    decision.arpc = QUORRIN_BANK_ARPC_NONE;
    const QuorrinBankAnswer none = answer_of(bank, request_of(card), &decision);
    EXPECT_STREQ(none.issuer_text, "8A023030");
    EXPECT_EQ(none.arpc_method, 0);
    EXPECT_EQ(none.authentication_size, 0);
}

TEST(TestBank, DeclinesAWrongCryptogramWithNothingThatTheCardWouldTrust) {
    const TestCard& card = test_cards[0];
    const Bank bank = open_text("authorisation_code = \"Q00001\"\n" + rules_for(card));
    QuorrinBankRequest request = request_of(card);
    request.amount_authorised[5] = 2;
    const QuorrinBankAnswer answer = answer_of(bank, request, nullptr, {wish("block application")});
    EXPECT_EQ(answer.cryptogram_right, 0);
    EXPECT_EQ(answer.approved, 0);
    EXPECT_EQ(answer.authentication_size, 0);
    EXPECT_STREQ(answer.response_code, "05");
    EXPECT_STREQ(answer.authorisation_code, "");
    EXPECT_STREQ(answer.reason, "the cryptogram is not the card's over these data");
    EXPECT_STREQ(answer.issuer_text, "8A023035");
}

TEST(TestBank, DecidesByTheFirstRuleThatApplies) {
    const TestCard& card = test_cards[0];
    const std::string rules = std::string("authorisation_code = \"Q00001\"\n") + rules_for(card, R"(
[[rule]]
name = "stolen"
card = "62280001"
amount_over = 500
response_code = "43"
scripts = ["block application"]

[[rule]]
name = "small change"
amount = 1
currency = "0156"
country = "0156"
type = "00"
arpc_method = 2
status_update = "01000000"

[[rule]]
name = "never reached"
response_code = "96"
)");
    const Bank bank = open_text(rules);
    const QuorrinBankAnswer answer = answer_of(bank, request_of(card));
    EXPECT_STREQ(answer.rule, "small change");
    EXPECT_STREQ(answer.response_code, "00");
    EXPECT_STREQ(answer.authorisation_code, "Q00001");
    EXPECT_EQ(answer.arpc_method, 2);
    EXPECT_EQ(to_hex(std::span(answer.authentication).subspan(4, 4)), "01800000");

    const Bank strict = bank_of(card, R"(
[[rule]]
name = "stolen"
card = "62280001"
response_code = "43"
scripts = ["block application"]
)");
    const QuorrinBankAnswer refused = answer_of(strict, request_of(card));
    EXPECT_STREQ(refused.rule, "stolen");
    EXPECT_EQ(refused.approved, 0);
    EXPECT_EQ(refused.cryptogram_right, 1);
    const std::string text = refused.issuer_text;
    EXPECT_EQ(text.substr(0, 12), "8A023433910A");
    EXPECT_EQ(text.substr(text.size() - 26), std::string("720B8609841E000004") + card.block_mac);

    QuorrinBankDecision own = {};
    std::snprintf(own.response_code, sizeof own.response_code, "00");
    EXPECT_STREQ(answer_of(strict, request_of(card), &own).response_code, "00");
}

TEST(TestBank, KnowsTheCardsOfTheSimulator) {
    QuorrinBank* opened = nullptr;
    ASSERT_EQ(quorrin_bank_open(nullptr, &opened), QUORRIN_BANK_OK) << quorrin_bank_error();
    const Bank bank(opened);
    QuorrinBankRequest request = request_of(test_cards[0]);
    const std::pair<const char*, const char*> rows[] = {
        {"9999010000000011", "debit"}, {"9999020000000028", "credit"}, {"9999030000000035", "gm"}};
    for (const auto& [pan, product] : rows) {
        std::snprintf(request.pan, sizeof request.pan, "%s", pan);
        EXPECT_STREQ(answer_of(bank, request).product, product);
    }
}

TEST(TestBank, HasNoAnswerForCardsOfOtherBanks) {
    const Bank bank =
        open_text(std::string(keys) + "[[product]]\nname = \"a\"\ncards = [\"4\", \"62280002\"]\n");
    const QuorrinBankAnswer answer = answer_of(bank, request_of(test_cards[0]));
    EXPECT_STREQ(answer.issuer_text, "8A023134");
    EXPECT_STREQ(answer.product, "");
    EXPECT_STREQ(answer.reason, "no product of this bank has this card number");
}

TEST(TestBank, NamesLineAndFieldOfBadRules) {
    const std::pair<std::string, const char*> rows[] = {
        {"", "rules: line 1: product: must be there: a bank has cards"},
        {"[[product]]\nname = \"a\"\n",
         "rules: line 1: product[1].keys: must be there, or a [keys] for all products"},
        {std::string(keys) + "[[product]]\nname = \"a\"\nalgorithm = \"aes\"\n",
         "rules: line 7: product[1].algorithm: must be one of 3des, sm4"},
        {std::string(keys) +
             "[[product]]\nname = \"a\"\n[[rule]]\nname=\"r\"\nscripts=[\"jump\"]\n",
         "rules: line 9: rule[1].scripts: no such change in the wish \"jump\""},
        {std::string(keys) + "[[product]]\nname = \"a\"\nfoo = 1\n",
         "rules: line 7: product[1].foo: is not a field that is known here"},
        {std::string(keys) +
             "[[product]]\nname = \"a\"\n[[rule]]\nname=\"r\"\nresponse_code=\"1\"\n",
         "rules: line 9: rule[1].response_code: must have 2 letters and digits"},
        {std::string(keys) + "[[product]]\nname = \"a\"\ncryptogram_version = 10\n",
         "rules: line 7: product[1].cryptogram_version: is for Triple DES, 10 and 17 with "
         "session_keys \"none\", 18 with \"emv\""},
    };
    for (const auto& [rules, error] : rows) {
        SCOPED_TRACE(rules);
        QuorrinBank* bank = nullptr;
        EXPECT_EQ(quorrin_bank_open_text(rules.c_str(), &bank), QUORRIN_BANK_BAD_RULES);
        EXPECT_STREQ(quorrin_bank_error(), error);
        EXPECT_EQ(bank, nullptr);
    }
}

TEST(TestBank, ReadsItsRulesFromAFile) {
    const TemporaryDirectory directory;
    const auto file = directory.path() / "bank.toml";
    std::ofstream(file) << rules_for(test_cards[0]);
    QuorrinBank* bank = nullptr;
    EXPECT_EQ(quorrin_bank_open(file.c_str(), &bank), QUORRIN_BANK_OK);
    EXPECT_STREQ(answer_of(Bank(bank), request_of(test_cards[0])).product, "printed example");

    EXPECT_EQ(quorrin_bank_open((directory.path() / "none.toml").c_str(), &bank),
              QUORRIN_BANK_NO_FILE);
    EXPECT_EQ(bank, nullptr);
}

TEST(TestBank, RefusesBadArguments) {
    const Bank bank = bank_of(test_cards[0]);
    const QuorrinBankRequest request = request_of(test_cards[0]);
    QuorrinBankAnswer answer = {};
    QuorrinBankWish made = {};
    const auto with = [&](auto change) {
        QuorrinBankRequest bad_request = request;
        QuorrinBankDecision decision = {};
        QuorrinBankWish bad_wish = wish("block application");
        change(bad_request, decision, bad_wish);
        return quorrin_bank_answer(bank.get(), &bad_request, &decision, &bad_wish, 1, &answer);
    };
    using Request = QuorrinBankRequest;
    using Decision = QuorrinBankDecision;
    using Wish = QuorrinBankWish;
    EXPECT_EQ(with([](Request& r, Decision&, Wish&) { std::memset(r.pan, '1', 20); }), -1);
    EXPECT_EQ(with([](Request& r, Decision&, Wish&) { r.issuer_application_data_size = 33; }), -1);
    EXPECT_EQ(with([](Request&, Decision& d, Wish&) { d.response_code[0] = '0'; }), -1);
    EXPECT_EQ(with([](Request&, Decision& d, Wish&) { std::memset(d.response_code, '0', 3); }), -1);
    EXPECT_EQ(with([](Request&, Decision& d, Wish&) { d.authorisation_code[0] = '0'; }), -1);
    EXPECT_EQ(with([](Request&, Decision& d, Wish&) { d.arpc = 3; }), -1);
    EXPECT_EQ(with([](Request&, Decision& d, Wish&) { d.arpc_method = 3; }), -1);
    EXPECT_EQ(with([](Request&, Decision& d, Wish&) { d.proprietary_size = 9; }), -1);
    EXPECT_EQ(with([](Request&, Decision&, Wish& w) { w.kind = 0; }), -1);
    EXPECT_EQ(with([](Request&, Decision&, Wish& w) { w.kind = 8; }), -1);
    EXPECT_EQ(with([](Request&, Decision&, Wish& w) { w.phase = 1; }), -1);
    EXPECT_EQ(with([](Request&, Decision&, Wish& w) { w.value_size = 125; }), -1);
    EXPECT_EQ(with([](Request&, Decision&, Wish& w) { std::memset(w.new_pin, '1', 13); }), -1);
    EXPECT_STREQ(quorrin_bank_error(), "the new PIN has no end");
    EXPECT_EQ(with([](Request&, Decision&, Wish&) {}), 0);
    EXPECT_STREQ(quorrin_bank_error(), "");

    EXPECT_EQ(quorrin_bank_open(nullptr, nullptr), -1);
    QuorrinBank* none = nullptr;
    EXPECT_EQ(quorrin_bank_open_text(nullptr, &none), -1);
    EXPECT_EQ(quorrin_bank_read_field55(nullptr, 1, nullptr), -1);
    EXPECT_EQ(quorrin_bank_read_wish(nullptr, &made), -1);
    EXPECT_EQ(quorrin_bank_read_wish("block card", nullptr), -1);
    EXPECT_EQ(quorrin_bank_answer(nullptr, &request, nullptr, nullptr, 0, &answer), -1);
    EXPECT_EQ(quorrin_bank_answer(bank.get(), nullptr, nullptr, nullptr, 0, &answer), -1);
    EXPECT_EQ(quorrin_bank_answer(bank.get(), &request, nullptr, nullptr, 1, &answer), -1);
    EXPECT_EQ(quorrin_bank_answer(bank.get(), &request, nullptr, nullptr, 0, nullptr), -1);
    quorrin_bank_close(nullptr);
}

}  // namespace
}  // namespace quorrin::test
