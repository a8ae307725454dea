// What profiles may not say, and how a card's author hears of it.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

struct Mistake {
    const char* from;
    const char* to;
    const char* named_line;  // text of the line that the complaint names, empty for the first
    const char* field;
    const char* reason;  // a part of it
};

class WrongProfile : public testing::TestWithParam<Mistake> {};

TEST_P(WrongProfile, IsRefusedWithLineAndField) {
    const std::string text = changed(test_profile(), GetParam().from, GetParam().to);
    const auto at = text.find(GetParam().named_line);
    ASSERT_NE(at, std::string::npos);
    const auto line =
        1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
    try {
        card_of(text);
        FAIL() << "this makes a card";
    } catch (const ConfigurationError& error) {
        EXPECT_EQ(error.file, "test.toml");
        EXPECT_EQ(error.line, static_cast<std::size_t>(line)) << error.what();
        EXPECT_EQ(error.field, GetParam().field) << error.what();
        EXPECT_THAT(error.reason, testing::HasSubstr(GetParam().reason));
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Card, WrongProfile,
    testing::Values(
        Mistake{"name = \"test card\"", "nam = \"x\"", "nam =", "nam", "not a field"},
        Mistake{"name = \"test card\"", "", "", "name", "missing"},
        Mistake{"[keys]", "[contact]\n[keys]", "[contact]", "contact", "not a field"},
        Mistake{"atr = \"3B 00\"", "[contact]", "[contact]", "contact", "reader file"},
        Mistake{"[keys]", "[keys]\nindx = 2", "indx", "keys.indx", "not a field"},
        Mistake{"atr = \"3B 00\"", "atr = \"3B 0\"", "atr =", "atr", "hex"},
        Mistake{"atr = \"3B 00\"", "atr = \"3B\"", "atr =", "atr", "2 to 33 bytes"},
        Mistake{"[keys]", "algorithm = \"des\"\n[keys]", "algorithm", "algorithm",
                "\"3des\" or \"sm4\""},
        Mistake{"[keys]", "session_keys = 1\n[keys]", "session_keys", "session_keys", "text"},
        Mistake{"[keys]", "arpc_method = 3\n[keys]", "arpc_method", "arpc_method", "1 to 2"},
        Mistake{"[keys]", "cryptogram_version = 10\n[keys]", "cryptogram_version",
                "cryptogram_version", "10 and 17 with"},
        Mistake{"[keys]", "cryptogram_version = 18\nsession_keys = \"none\"\n[keys]",
                "cryptogram_version", "cryptogram_version", "18 with"},
        Mistake{"[keys]",
                "cryptogram_version = 17\nsession_keys = \"none\"\nalgorithm = \"sm4\"\n[keys]",
                "cryptogram_version", "cryptogram_version", "Triple DES"},
        Mistake{"[keys]", "pppe = true\n[keys]", "pppe", "pppe", "not a field"},
        Mistake{"mac = \"1133", "mac = \"33", "mac =", "keys.mac", "16 bytes"},
        Mistake{"file = 1\nfci", "file = 11\nfci", "file = 11", "pse.file", "1 to 10"},
        Mistake{"5F2D 'zh'", "5F2D 'zh", "fci = [\"5F2D", "pse.fci", "entry 1 \"5F2D 'zh\": "}));

INSTANTIATE_TEST_SUITE_P(
    Application, WrongProfile,
    testing::Values(
        Mistake{"aid = \"A000000333010102\"", "aid = \"A0000003\"", "aid = \"A0000003\"",
                "application[2].aid", "5 to 16 bytes"},
        Mistake{"aid = \"A000000333010102\"", "aid = \"A000000333010101\" # again", "# again",
                "application[2].aid", "another"},
        Mistake{"label = \"FIRST\"", "labl = \"FIRST\"", "labl", "application[1].labl",
                "not a field"},
        Mistake{"label = \"FIRST\"", "label = \"银银银银银银银银银银银银银银银银\"", "银",
                "application[1].label", "1 to 16 bytes, has 48"},
        Mistake{"label = \"FIRST\"", "label = \"\"", "label = \"\"", "application[1].label",
                "1 to 16"},
        Mistake{"priority = 1", "priority = 256", "priority", "application[1].priority",
                "0 to 255"},
        Mistake{"9F7A 01 9F02 06", "9F7A 01 9F02", "pdol", "application[1].pdol", "length"},
        Mistake{"9F7A 01 9F02 06", "9F7A 7F 9F02 06", "pdol", "application[1].pdol", "127"},
        Mistake{"aip = \"1C00\"", "aip = \"1C\"", "aip =", "application[1].aip", "2 bytes"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nafl = \"08 01 01\"", "afl", "application[1].afl",
                "4 bytes"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nanswer_format = 0", "answer_format",
                "application[1].answer_format", "1 to 2"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nafl = \"F8 01 01 00\"", "afl",
                "application[1].afl", "entry 1: the first byte"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nafl = \"08 01 01 00  00 01 01 00\"", "afl",
                "application[1].afl", "entry 2: the first byte"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nafl = \"09 01 01 00\"", "afl",
                "application[1].afl", "entry 1: the first byte"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nafl = \"08 00 01 00\"", "afl",
                "application[1].afl", "entry 1: the first record"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nafl = \"08 02 01 00\"", "afl",
                "application[1].afl", "no later than the last"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nafl = \"08 01 02 03\"", "afl",
                "application[1].afl", "more records are signed"},
        Mistake{"pin = \"1234\"", "", "pin_tries", "application[1].pin_tries", "without pin"},
        Mistake{"aip = \"1C00\"", "aip = \"1C00\"\nquick = {}",
                "quick =", "application[1].quick.elements", "missing"},
        Mistake{"\"9F79 000000010000\"", "\"9F79 00000001000A\"", "data =", "application[1].data",
                "9F79 is an amount"},
        Mistake{"\"9F79 000000010000\", \"9F77 000000100000\"",
                "\"9F79 000000010000\", \"9F77 F00000100000\"", "data =", "application[1].data",
                "9F77 is an amount"},
        Mistake{"pin = \"1234\"", "pin = \"123\"", "pin = ", "application[1].pin", "digits"},
        Mistake{"pin = \"1234\"", "pin = \"123A\"", "pin = ", "application[1].pin", "digits"},
        Mistake{"pin_tries = 3", "pin_tries = 0", "pin_tries", "application[1].pin_tries",
                "1 to 15"},
        Mistake{"\"9F79 000000010000\"", "\"9F36 0001\"", "data =", "application[1].data",
                "kept by the card"},
        Mistake{"\"9F79 000000010000\"", "\"9F77 01\"", "data =", "application[1].data", "twice"},
        Mistake{"\"9F79 000000010000\"", "\"5A 01\"", "data =", "application[1].data", "two bytes"},
        Mistake{"\"9F79 000000010000\"", "\"9F79 0100\"", "data =", "application[1].data",
                "6 bytes"},
        Mistake{"label = \"FIRST\"", "label = \"FIRST\"\nfci = [\"5F50 41*250\"]",
                "aid = ", "application[1].aid", "at most 256"}));

INSTANTIATE_TEST_SUITE_P(
    Records, WrongProfile,
    testing::Values(Mistake{"file = 3", "file = 31", "file = 31", "application[1].record[3].file",
                            "1 to 30"},
                    Mistake{"number = 2", "number = 1 # twice", "# twice",
                            "application[1].record[2].number", "twice"},
                    Mistake{"\"9F61 'NOT", "\"9F6 'NOT", "9F6 'NOT",
                            "application[1].record[3].elements", "entry 1"},
                    Mistake{"[\"9F61 'NOT IN THE AFL'\"]", "[\"9F61 00*252\"]", "00*252",
                            "application[1].record[3].elements", "at most 256"},
                    Mistake{"elements = [\"9F61", "raw = \"7000\"\nelements = [\"9F61",
                            "raw =", "application[1].record[3].raw", "exclude"},
                    Mistake{"elements = [\"9F61 'NOT IN THE AFL'\"]", "raw = \"70 0\"",
                            "raw =", "application[1].record[3].raw", "odd number"},
                    Mistake{"\"5A 9999010000000011\", \"5F34 01\"", "\"5F34 01\"",
                            "[[application.record]]", "application[1].record", "PAN"},
                    Mistake{"\"5A 9999010000000011\", \"5F34 01\"", "\"5A 9999A10000000011\"",
                            "elements = [\"5A", "application[1].record[1].elements", "5A and 5F34"},
                    Mistake{"5F34 01", "5F34 0101", "elements = [\"5A",
                            "application[1].record[1].elements", "one byte"},
                    Mistake{"\"9F61 'NOT IN THE AFL'\"", "\"5A 9999010000000029\"",
                            "elements = [\"5A 9999010000000029",
                            "application[1].record[3].elements", "one number"},
                    Mistake{"number = 2", "number = 2\ntext = 1", "text",
                            "application[1].record[2].text", "not a field"},
                    Mistake{"8D 8A 02 9F02 06", "8D 8A 02 9F02", "elements = [\n",
                            "application[1].record[2].elements", "8D"},
                    Mistake{"8C 9F02 06", "8C 9F02", "elements = [\n",
                            "application[1].record[2].elements", "8C"},
                    Mistake{"8D 8A 02", "8D 8A F0", "elements = [\n",
                            "application[1].record[2].elements", "8D"}));

INSTANTIATE_TEST_SUITE_P(
    Logs, WrongProfile,
    testing::Values(Mistake{"records = 2", "records = 0", "records = 0",
                            "application[1].log.records", "1 to 255"},
                    Mistake{"0010 'SHOP'", "0010 'SHO'", "filled", "application[1].log.filled",
                            "makes records of 15"},
                    Mistake{"format = \"9A 03 9F36 02\"", "", "[application.load_log]",
                            "application[1].load_log.format", "1 to 256"},
                    Mistake{"'SHOP'\"", "'SHOP'\", \"00*15\", \"00*15\"", "filled",
                            "application[1].log.filled", "more entries"},
                    Mistake{"records = 2", "records = 2\nrecord = 1", "record = 1",
                            "application[1].log.record", "not a field"},
                    Mistake{"records = 2", "records = 2\nas_transaction_log = true", "as_trans",
                            "application[1].log.as_transaction_log", "load log"},
                    Mistake{"file = 11", "file = 3 # records", "[application.log]",
                            "application[1].log", "in use"},
                    Mistake{"file = 12", "file = 11", "[application.load_log]",
                            "application[1].load_log", "in use"}));

TEST(CardProfiles, NeedAnApplication) {
    EXPECT_THROW(card_of("name = \"x\"\natr = \"3B00\"\n[keys]\n"
                         "cryptogram = \"00000000000000000000000000000000\"\n"
                         "mac = \"00000000000000000000000000000000\"\n"
                         "encipherment = \"00000000000000000000000000000000\"\n"),
                 ConfigurationError);
}

TEST(CardProfiles, ThatAreNotThereAreMissed) {
    EXPECT_THROW(simulator::load_card_file("no/such/profile.toml"), ConfigurationMissing);
}

TEST(CardProfiles, ListTheRecordsOfEachFileInUnbrokenRuns) {
    Terminal terminal(
        card_of(changed(changed(test_profile(), "number = 2", "number = 4"), "[application.log]",
                        "[[application.record]]\nfile = 1\nnumber = 2\n"
                        "elements = []\n[application.log]")));
    terminal.select(first_aid);
    terminal.get_options();
    EXPECT_EQ(to_hex(expect_element(terminal.options, "94")),
              "08010200"
              "08040400"
              "18010100");
}

}  // namespace
}  // namespace quorrin::test
