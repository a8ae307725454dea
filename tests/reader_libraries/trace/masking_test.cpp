// What of a conversation may be shown: whole commands and answers compared, a masked digit is *.

#include <gtest/gtest.h>

#include <set>

#include "reader_libraries/trace/masking/card_masking.hpp"
#include "reader_libraries/trace/masking/element_rules.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::trace {
namespace {

using test::ByteString;

std::string shown(const ByteString& bytes, const DigitMask& mask) {
    std::string text = test::to_hex(bytes);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (mask.is_hidden(i)) {
            text[i] = '*';
        }
    }
    return text;
}

// One slot's conversation.
class Conversation {
  public:
    struct Line {
        std::string command;
        std::string answer;
        bool operator==(const Line&) const = default;
        [[maybe_unused]] friend std::ostream& operator<<(std::ostream& out, const Line& line) {
            return out << line.command << " -> " << line.answer;
        }
    };

    Line exchange(std::string_view command, std::string_view answer) {
        const ByteString sent = test::hex(command);
        const ByteString received = test::hex(answer);
        DigitMask command_mask;
        DigitMask answer_mask;
        card_.exchange(sent, received, secrets_, command_mask, answer_mask);
        return {shown(sent, command_mask), shown(received, answer_mask)};
    }
    std::string answer(std::string_view command, std::string_view answer) {
        return exchange(command, answer).answer;
    }
    std::string application() const {
        const auto name = card_.application();
        return test::to_hex(ByteString(name.begin(), name.end()));
    }
    CardMasking& card() { return card_; }

  private:
    CardMasking card_;
    KnownSecrets secrets_;
};

std::string without_blanks(std::string text) {
    std::erase(text, ' ');
    return text;
}

struct AnswerCase {
    const char* name;
    const char* command;
    const char* answer;
    const char* shown;  // blanks aside
};

class MaskedAnswer : public testing::TestWithParam<AnswerCase> {};

TEST_P(MaskedAnswer, ShowsWhatIsHarmless) {
    const AnswerCase& row = GetParam();
    EXPECT_EQ(Conversation().answer(row.command, row.answer), without_blanks(row.shown));
}

// clang-format off
constexpr AnswerCase answer_cases[] = {
    {"Pan", "00B2010C00", "700E 5A08 9999010000000011 5F340101 9000",
                          "70 0E 5A 08 **************** 5F 34 01 01 90 00"},
    {"PanOfNineteenDigits", "00B2010C00", "700C 5A0A 9999010000000000011F 9000",
                                          "700C 5A0A *******************F 9000"},
    {"Track2KeepsSeparatorAndFiller", "00B2010C00", "7012 5710 9999010000000011D30122010000012F 9000",
                                                    "7012 5710 ****************D**************F 9000"},
    {"NameAndPapers", "00B2010C00", "7012 5F2005 54455354 41 9F6104 31323334 9F6200 9000",
                                    "7012 5F2005 ********** 9F6104 ******** 9F6200 9000"},
    {"Track1", "00B2010C00", "7006 5604 42393939 9000", "7006 5604 ******** 9000"},
    {"DiscretionaryData", "00B2010C00", "700D 9F1F02 3132 9F2002 1234 9F0B00 9000",
                                        "700D 9F1F02 **** 9F2002 **** 9F0B00 9000"},
    {"Track2Data", "00B2010C00", "700B 9F6B08 9999010000000011 9000",
                                 "700B 9F6B08 **************** 9000"},
    {"TransactionPin", "00B2010C00", "7006 9904 24123456 9000", "7006 9904 ******** 9000"},
    {"HoldersTemplateWhole", "00B2010C00", "7008 6506 5F2D02 7A68 00 9000",
                                           "7008 6506 ************ 9000"},
    {"LongFormLength", "00B2010C00", "70810A 5A08 9999010000000011 9000",
                                     "70810A 5A08 **************** 9000"},
    {"NestedTemplates", "00A4040007A0000003330101", "6F0E A50C BF0C09 73 07 5A05 9999010000 9000",
                                                    "6F0E A50C BF0C09 73 07 5A05 ********** 9000"},
    {"PaddingBetweenObjects", "00B2010C00", "700E 0000 5A08 9999010000000011 FFFF 9000",
                                            "700E 0000 5A08 **************** FFFF 9000"},
    {"OpenElements", "00B2010C00", "700A 5F2403 301231 9F4200 9000",
                                   "700A 5F2403 301231 9F4200 9000"},
    {"UnknownElementWithDigitsOfAnAccount", "00B2010C00", "700A DF0107 99990100000000 9000",
                                                          "700A DF0107 ************** 9000"},
    {"UnknownElementWithAnAccountInText", "00B2010C00",
     "7010 DF010D 39393939303130303030303030 9000", "7010 DF010D ************************** 9000"},
    {"UnknownElementWithText", "00B2010C00", "7007 DF0104 54455354 9000", "7007 DF0104 ******** 9000"},
    {"UnknownElementWithBinary", "00B2010C00", "7007 DF0104 01020304 9000", "7007 DF0104 01020304 9000"},
    {"OpenElementOfForeignLengthWithDigits", "00B2010C00", "700A 9F4207 99990100000000 9000",
                                                           "700A 9F4207 ************** 9000"},

    // malformed: what is not understood
    {"PanBeyondItsTemplate", "00B2010C00", "7006 5A08 9999010000000011 9000",
                                           "7006 ******************** 9000"},
    {"PanBeyondTheAnswer", "00B2010C00", "700E 5A0A 9999010000000011 9000",
                                         "700E 5A0A **************** 9000"},
    {"PanTooShortLosesItsEnd", "00B2010C00", "700C 5A02 9999 5004 01020304 9000",
                                             "700C 5A02 **** ************ 9000"},
    {"PanTooLongTookWhatFollows", "00B2010C00", "7011 5A0C 999901000000001156785702 9F0100 9000",
                                                "7011 5A0C ************************ ****** 9000"},
    {"BrokenTag", "00B2010C00", "7008 9F0800 9F818281 01 9000", "7008 9F0800 ********** 9000"},
    {"BrokenLength", "00B2010C00", "7008 9F0800 5A85 999901 9000", "7008 9F0800 ********** 9000"},
    {"TooManyTemplates", "00B2010C00", "7016 7014 7012 7010 700E 700C 700A 7008 7006 5A04 99990100 9000",
                                       "7016 7014 7012 7010 700E 700C 700A 7008 **************** 9000"},
    {"RecordThatIsNoTemplate", "00B2010C00", "5A08 9999010000000011 9000", "******************** 9000"},
    {"FileInformationThatIsNone", "00A4040002A000", "5A08 9999010000000011 9000",
                                                    "******************** 9000"},
    {"BehindTheTemplate", "00B2010C00", "7003 9F0800 5A08 9999010000000011 9000",
                                        "7003 9F0800 5A08 **************** 9000"},
    {"StatusWordOfARefusal", "00B2010C00", "6A83", "6A83"},

    // GET DATA
    {"BalanceByGetData", "80CA9F7900", "9F7906 000000010000 9000", "9F7906 000000010000 9000"},
    {"PanByGetData", "80CA005A00", "5A08 9999010000000011 9000", "5A08 **************** 9000"},
    {"PanByGetDataTagInP1", "80CA5A0000", "5A08 9999010000000011 9000", "5A08 **************** 9000"},
    {"PanValueAloneByGetData", "80CA005A00", "9999010000000011 9000", "**************** 9000"},
    {"CounterValueAloneByGetData", "80CA9F3600", "000B 9000", "000B 9000"},
    {"OtherObjectThanAskedFor", "80CA9F3600", "5A08 9999010000000011 9000", "******************** 9000"},

    // other answers
    {"Format1Options", "80A80000028300", "8006 1C00 08010100 9000", "8006 1C00 08010100 9000"},
    {"Format1ThatIsNone", "80A80000028300", "8002 1C00 9999010000 9000", "****************** 9000"},
    {"Format2OptionsWithTrack2", "80A80000028300", "770E 8202 1C00 5708 999901D301220011 9000",
                                                   "770E 8202 1C00 5708 ******D********* 9000"},
    {"Challenge", "0084000008", "1122334455667788 9000", "1122334455667788 9000"},
    {"BinaryFile", "00B0000008", "9999010000000011 9000", "**************** 9000"},
    {"UnknownCommand", "80FE000000", "9999010000000011 9000", "**************** 9000"},
    {"DataOfAVerification", "0020008000", "1234 63C2", "**** 63C2"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Masking, MaskedAnswer, testing::ValuesIn(answer_cases),
                         [](const auto& row) { return row.param.name; });

struct CommandCase {
    const char* name;
    const char* command;
    const char* shown;
};

class MaskedCommand : public testing::TestWithParam<CommandCase> {};

TEST_P(MaskedCommand, ShowsWhatIsHarmless) {
    const CommandCase& row = GetParam();
    EXPECT_EQ(Conversation().exchange(row.command, "9000").command, without_blanks(row.shown));
}

// clang-format off
constexpr CommandCase command_cases[] = {
    {"Select", "00A4040007A000000333010100", "00A40400 07 A0000003330101 00"},
    {"HeaderAndLe", "00B2010C00", "00B2010C00"},
    {"HeaderAlone", "841E0000", "841E0000"},
    {"LessThanAHeader", "0020", "0020"},
    {"Verify", "0020008008 241234FFFFFFFFFF", "00200080 08 ****************"},
    {"VerifyWithLe", "0020008008 241234FFFFFFFFFF 00", "00200080 08 **************** 00"},
    {"VerifyOfAnotherClass", "8420008808 241234FFFFFFFFFF", "84200088 08 ****************"},
    {"VerifyWithoutLength", "00200080 241234FF", "00200080 ********"},
    {"VerifyWithALengthThatLies", "0020008003 241234FF99", "00200080 ************"},
    {"PinChange", "8424000104 12345678", "84240001 04 ********"},
    {"ResetRetryCounter", "002C000104 12345678", "002C0001 04 ********"},
    {"PutDataOfALimit", "04DA9F780A 000000008000 11223344", "04DA9F78 0A 000000008000 11223344"},
    {"PutDataOfAName", "04DA5F2006 5445 11223344", "04DA5F20 06 ************"},
    {"PutDataOfAnUnknownElement", "04DADF7706 1234 11223344", "04DADF77 06 ************"},
    {"UpdateRecord", "04DC010C08 7002 5A00 11223344", "04DC010C 08 ****************"},
    {"ApplicationBlock", "841E000004 11223344", "841E0000 04 11223344"},
    {"ExternalAuthenticate", "008200000A 11223344556677883030", "00820000 0A 11223344556677883030"},
    {"OptionsWithoutList", "80A80000 02 8300 00", "80A80000 02 8300 00"},
    {"OptionsOfAListThatIsNotKnown", "80A80000 04 8302 1234 00", "80A80000 04 ******** 00"},
    {"CryptogramOfAListThatIsNotKnown", "80AE8000 02 1234 00", "80AE8000 02 **** 00"},
    {"InternalAuthenticate", "0088000004 11223344 00", "00880000 04 11223344 00"},
    {"InternalAuthenticateWithMore", "0088000005 1122334455 00", "00880000 05 ********** 00"},
    {"UnknownCommand", "80FE000004 12345678", "80FE0000 04 ********"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Masking, MaskedCommand, testing::ValuesIn(command_cases),
                         [](const auto& row) { return row.param.name; });

TEST(Masking, MasksTheElementsThatThePageNames) {
    std::ifstream page(QUORRIN_TRACES_PAGE);
    const std::string text{std::istreambuf_iterator<char>(page), {}};
    const auto start = text.find("- Data objects go by tag:");
    ASSERT_NE(start, std::string::npos);
    const std::string item = text.substr(start, text.find("\n- ", start + 1) - start);
    std::set<std::uint32_t> named;
    std::istringstream words(item);
    for (std::string word; words >> word;) {
        const auto end = word.find_first_not_of("0123456789ABCDEF");
        if (end != 0 && (end == std::string::npos ||
                         word.find_first_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos)) {
            named.insert(static_cast<std::uint32_t>(std::stoul(word, nullptr, 16)));
        }
    }
    std::set<std::uint32_t> masked;
    for (const ElementRule& row : element_rules()) {
        if (row.rule != Rule::Open) {
            masked.insert(row.tag);
        }
    }
    EXPECT_EQ(named, masked);
}

// ---- what earlier answers say about later data ----

constexpr char select_with_lists[] = "00A4040007A0000003330101";

TEST(Masking, ShowsTerminalDataByThePdolButForSecretElements) {
    Conversation card;
    card.exchange(select_with_lists, "6F0F A50D 9F380A 9F0206 5F2A02 5A08 9902 9000");
    EXPECT_EQ(
        card.exchange("80A80000 14 8312 000000012850 0156 9999010000000011 1234", "9000").command,
        without_blanks("80A80000 14 8312 000000012850 0156 **************** ****"));
}

TEST(Masking, HidesTerminalDataThatDoNotFitThePdol) {
    Conversation card;
    card.exchange(select_with_lists, "6F09 A507 9F3804 9F0206 00 9000");
    EXPECT_EQ(card.exchange("80A80000 07 8305 0000001234", "9000").command,
              without_blanks("80A80000 07 **************"));
}

TEST(Masking, ForgetsListsWithTheNextSelection) {
    Conversation card;
    card.exchange(select_with_lists, "6F08 A506 9F3803 9F0206 9000");
    card.exchange(select_with_lists, "6A82");
    EXPECT_EQ(card.exchange("80A80000 08 8306 000000012850", "9000").command,
              without_blanks("80A80000 08 ****************"));
}

TEST(Masking, TakesEitherListForACryptogram) {
    Conversation card;
    card.exchange("00B2011400", "700C 8C03 9F0206 8D05 8A02 9F3704 9000");
    EXPECT_EQ(card.exchange("80AE8000 06 000000012850 00", "9000").command,
              without_blanks("80AE8000 06 000000012850 00"));
    EXPECT_EQ(card.exchange("80AE4000 06 3030 11223344 00", "9000").command,
              without_blanks("80AE4000 06 3030 11223344 00"));
    EXPECT_EQ(card.exchange("80AE4000 05 3030112233 00", "9000").command,
              without_blanks("80AE4000 05 ********** 00"));
}

TEST(Masking, ShowsDynamicDataByTheDdol) {
    Conversation card;
    card.exchange("00B2011400", "7008 9F4905 9F3704 9C01 9000");
    EXPECT_EQ(card.exchange("0088000005 1122334400", "9000").command,
              without_blanks("00880000 05 1122334400"));
}

TEST(Masking, ReadsLogEntriesByTheLogFormat) {
    Conversation card;
    card.exchange("80CA9F4F00", "9F4F09 9A03 9F0206 5A08 9C01 9000");
    EXPECT_EQ(card.answer("00B2015C00", "260101 000000012850 9999010000000011 00 9000"),
              without_blanks("260101 000000012850 **************** 00 9000"));
    EXPECT_EQ(card.answer("00B2015C00", "260101 000000012850 9000"),
              without_blanks("****************** 9000"));
}

TEST(Masking, ReadsEntriesOfTheLoadLogBehindTheirPrefix) {
    Conversation card;
    card.exchange("80CADF4F00", "DF4F04 9A03 9C01 9000");
    EXPECT_EQ(card.answer("00B2016400", "9F79 000000000000 000000010000 260101 00 9000"),
              without_blanks("9F79 000000000000 000000010000 260101 00 9000"));
}

TEST(Masking, FindsTheAccountNumberWhereNoTagAnnouncesIt) {
    Conversation card;
    card.exchange("00B2010C00", "700A 5A08 9999010000000011 9000");
    // In issuer application data, in text, from the low digit of a byte on, in part.
    EXPECT_EQ(card.answer("80AE800000", "770B 9F1008 9999010000000011 9000"),
              without_blanks("770B 9F1008 **************** 9000"));
    EXPECT_EQ(card.answer("80AE800000", "7713 9F1010 39393939303130303030303030303131 9000"),
              without_blanks("7713 9F1010 ******************************** 9000"));
    EXPECT_EQ(card.answer("80AE800000", "770C 9F1009 F9999010000000011F 9000"),
              without_blanks("770C 9F1009 F****************F 9000"));
    EXPECT_EQ(card.answer("80AE800000", "770B 9F1008 E010000000011AAA 9000"),
              without_blanks("770B 9F1008 E************AAA 9000"));
}

TEST(Masking, FindsTheNameInTheApplicationsData) {
    Conversation card;
    card.exchange("00B2010C00", "7009 5F2006 544553542F41 9000");
    EXPECT_EQ(card.answer("80AE800000", "770A 9F1007 00544553542F41 9000"),
              without_blanks("770A 9F1007 00************ 9000"));
}

TEST(Masking, FindsTheAccountNumberInCommands) {
    Conversation card;
    card.exchange("00B2010C00", "700A 5A08 9999010000000011 9000");
    EXPECT_EQ(card.exchange("00A4040008 9999010000000011", "6A82").command,
              without_blanks("00A40400 08 ****************"));
}

TEST(Masking, ForgetsAllOfTheSessionWithThePower) {
    Conversation card;
    card.exchange(select_with_lists, "6F08 A506 9F3803 9F0206 9000");
    card.card().power_on();
    EXPECT_EQ(card.application(), "");
    EXPECT_EQ(card.exchange("80A80000 08 8306 000000012850", "9000").command,
              without_blanks("80A80000 08 ****************"));
}

// ---- answers in portions ----

TEST(Masking, FollowsAnAnswerThroughGetResponse) {
    Conversation card;
    EXPECT_EQ(card.answer("00B2010C00", "6105"), "6105");
    EXPECT_EQ(card.answer("00C0000005", "700F 5A08 99 6105"), without_blanks("700F 5A08 ** 6105"));
    EXPECT_EQ(card.answer("00C0000005", "9901000000 6107"), without_blanks("********** 6107"));
    EXPECT_EQ(card.answer("00C0000007", "0011 5F3401 01 00 9000"),
              without_blanks("**** 5F3401 01 00 9000"));
}

TEST(Masking, FollowsAnAnswerOfSingleBytes) {
    const ByteString record = test::hex("700E 5A08 9999010000000011 5F340101 9000");
    Conversation card;
    card.exchange("00B2010C00", "6101");
    std::string all;
    for (std::size_t i = 0; i + 2 < record.size(); ++i) {
        const ByteString byte = {record[i]};
        const std::string more = i + 3 < record.size() ? "6101" : "9000";
        all += card.answer("00C0000001", test::to_hex(byte) + more).substr(0, 2);
    }
    EXPECT_EQ(all, without_blanks("70 0E 5A 08 **************** 5F34 01 01"));
}

TEST(Masking, FollowsPortionsThatBringDataWithTheFirstAnswer) {
    Conversation card;
    EXPECT_EQ(card.answer("00B2010C00", "700A 5A08 9999 6106"),
              without_blanks("700A 5A08 **** 6106"));
    EXPECT_EQ(card.answer("00C0000006", "010000000011 9000"), without_blanks("************ 9000"));
}

TEST(Masking, FollowsAGetResponseThatIsRepeatedWithTheRightLength) {
    Conversation card;
    card.exchange("00B2010C00", "610C");
    EXPECT_EQ(card.answer("00C0000000", "6C0C"), "6C0C");
    EXPECT_EQ(card.answer("00C000000C", "700A 5A08 9999010000000011 9000"),
              without_blanks("700A 5A08 **************** 9000"));
}

TEST(Masking, HidesAnAnswerThatNoCommandBegan) {
    Conversation card;
    EXPECT_EQ(card.answer("00C0000004", "70025A00 9000"), without_blanks("******** 9000"));
    card.exchange("00B2010C00", "9000");
    EXPECT_EQ(card.answer("00C0000004", "70025A00 9000"), without_blanks("******** 9000"));
}

TEST(Masking, KnowsARepetitionWithTheRightLength) {
    Conversation card;
    EXPECT_EQ(card.answer("00B2010C00", "6C0C"), "6C0C");
    EXPECT_EQ(card.answer("00B2010C0C", "700A 5A08 9999010000000011 9000"),
              without_blanks("700A 5A08 **************** 9000"));
}

TEST(Masking, HidesWhatLiesBeyondTheLongestAnswerThatIsKept) {
    Conversation card;
    card.exchange("00B2010C00", "61FF");
    std::string last;
    for (int i = 0; i < 17; ++i) {
        last = card.answer("00C00000FF", test::to_hex(test::filled(253, 0)) + "61FF");
    }
    EXPECT_EQ(last, std::string(2 * 253, '*') + "61FF");
}

// ---- the application ----

TEST(Masking, KnowsTheSelectedApplication) {
    Conversation card;
    card.exchange("00A4040007A0000003330101", "6F0B 8409 A00000033301010199 9000");
    EXPECT_EQ(card.application(), "A00000033301010199");
    card.exchange("00A4040007A0000000031010", "6A82");
    EXPECT_EQ(card.application(), "A00000033301010199");
    card.exchange("00A4040007A0000000031010", "6110");
    EXPECT_EQ(card.application(), "A0000000031010");
    card.exchange("00C0000010", "6F0A 8408 A000000003101055 9000");
    EXPECT_EQ(card.application(), "A000000003101055");
}

}  // namespace
}  // namespace quorrin::trace
