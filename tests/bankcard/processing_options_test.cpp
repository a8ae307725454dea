// GET PROCESSING OPTIONS and its answers.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

constexpr char answers_format_1[] = "80A80000 *\n    80[ 7C00 08010300 ] 9000\n";

class TerminalDefaults : public BankCardTest {};

TEST_F(TerminalDefaults, SetTheTransactionQualifiersWhenTheyAreAbsent) {
    setTermDataBeforeGPO();
    EXPECT_EQ(present_elements(), (Elements{{"9F66", "F4000000"}}));
}

TEST_F(TerminalDefaults, KeepTheQualifiersOfTheHost) {
    put("9F66", hex("26000080"));
    setTermDataBeforeGPO();
    EXPECT_EQ(present_elements(), (Elements{{"9F66", "26000080"}}));
}

TEST_F(TerminalDefaults, AskForTheStateOfTheQualifiersAlone) {
    put("9F66", hex("26000080"));
    const ByteString tag = hex("9F66");
    ASSERT_EQ(emvSetDataElementState(tag.data(), 2, 0), 0);
    setTermDataBeforeGPO();
    EXPECT_EQ(element("9F66"), value("F4000000"));
}

class ProcessingOptions : public BankCardTest {
  protected:
    // The command data kept for the host.
    static void expect_kept(const ByteString& data, std::size_t length) {
        ByteString whole = data;
        whole.resize(256);
        EXPECT_EQ(ByteString(gl_GPOPdolData, gl_GPOPdolData + 256), whole);
        EXPECT_EQ(gl_LenGPOPdolData, length);
    }
    static void expect_kept(const ByteString& data) { expect_kept(data, data.size()); }
};

TEST_F(ProcessingOptions, SendsAnEmptyTemplateToACardWithoutAPdol) {
    insert(answers_format_1);
    EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0);
    EXPECT_EQ(reader().calls, Commands{"Send 7 01: 80A8000002830000"});
    EXPECT_EQ(present_elements(),
              (Elements{{"9F66", "F4000000"}, {"82", "7C00"}, {"94", "08010300"}}));
    expect_kept(hex("8300"));
}

TEST_F(ProcessingOptions, AnswersThePdolWithTheDataOfTheHost) {
    put("9F38", hex("9F6604 9F0206 9F0306 9F1A02 9505 5F2A02 9A03 9C01 9F3704 9F2103 9F4E08"));
    insert(answers_format_1);
    EXPECT_EQ(emvGPO(handle,
                     "P012000000001000 Q012000000000050R0040156S006250101T00201U006235959"
                     "V004SHOP",
                     TagMapPDolTerData),
              0);
    const std::string data =
        "F4000000 000000001000 000000000050 0000 0000000000 0156 250101 01 00000000 235959 "
        "53484F5000000000";
    const ByteString command_data = join(hex("832C"), hex(data));
    ASSERT_EQ(command_data.size(), 0x2Eu);
    EXPECT_EQ(commands(), Commands{"80A800002E" + to_hex(command_data) + "00"});
    expect_kept(command_data);
}

TEST_F(ProcessingOptions, FitsThePdolDataByTheirFormats) {
    struct Case {
        const char* what;
        const char* pdol;
        const char* data;
    };
    const Case cases[] = {
        {"numeric, longer", "9F1A04", "00000156"},
        {"numeric, shorter", "9F1A01", "56"},
        {"binary, longer", "9F3305", "E0F8C80000"},
        {"binary, shorter", "9F3302", "E0F8"},
        {"absent", "9F0206", "000000000000"},
        {"elements of the card are zeros", "5A0A 4F05", "000000000000000000000000000000"},
        {"unknown elements are zeros", "DF0103 C002", "0000000000"},
        {"templates are zeros", "7003 BF0C02", "0000000000"},
        {"no length", "9F1A00 9F1A02", "0156"},
        {"the same element twice", "9F1A02 9F1A02", "01560156"},
        {"SM algorithm support", "DF6901 9F1A02", "000156"},
    };
    for (const Case& c : cases) {
        emvClrIccAndTermData();
        put("9F1A", hex("0156"));
        put("9F33", hex("E0F8C8"));
        put("5A", hex("6205500000000000004F"));
        put("4F", hex("A000000333010101"));
        put("9F38", hex(c.pdol));
        insert("80A80000 *\n    77[] 9000\n");
        EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0) << c.what;
        const ByteString data = object("83", hex(c.data));
        EXPECT_EQ(commands(), Commands{"80A80000" + to_hex(object("", data)) + "00"}) << c.what;
        expect_kept(data);
    }
}

TEST_F(ProcessingOptions, RefusesAPdolThatCannotBeAnswered) {
    const std::pair<const char*, ByteString> cases[] = {
        {"tag without an end", hex("9F0206 9F")},
        {"tag with a zero byte", hex("9F0002")},
        {"no length", hex("9F0206 9F1A")},
        {"indefinite length", hex("9F0280")},
        {"length field without an end", hex("9F028201")},
        {"tag of three bytes", hex("9F810102")},
        {"1025 bytes", hex("9F02820401")},
        {"1025 bytes in two entries", hex("9F02820400 9F1A01")},
        {"64 KiB", hex("9F0282FFFF")},
        {"length field of 128 bytes", hex("9F02FF 9F02FF")},
    };
    for (const auto& [what, pdol] : cases) {
        emvClrIccAndTermData();
        put("9F38", pdol);
        insert("");
        EXPECT_EQ(emvGPO(handle, nullptr, nullptr), -107) << what;
        EXPECT_EQ(reader().calls, Commands{}) << what;
        expect_kept({});
        EXPECT_EQ(element("82"), std::nullopt) << what;
    }
}

TEST_F(ProcessingOptions, DeliberatelyCountsTheDataInOneByte) {
    struct Case {
        std::size_t data;
        const char* pdol;
        std::string header;  // Lc and the template's two bytes, as far as they are sent
        std::size_t zeros;   // data bytes that are sent
    };
    const Case cases[] = {
        {253, "C08200FD", "FF83FD", 253},  // the longest that is whole
        {254, "C08200FE", "00", 0},        // Lc 256 counts as 0
        {255, "C08200FF", "0183", 0},      //
        {256, "C0820100", "028300", 0},    //
        {300, "C082012C", "2E832C", 44},   //
        {1024, "C0820400", "028300", 0},   // the most that is built
    };
    for (const Case& c : cases) {
        emvClrIccAndTermData();
        put("9F38", hex(c.pdol));
        insert("80A80000 *\n    77[] 9000\n");
        EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0) << c.data;
        EXPECT_EQ(commands(),
                  Commands{"80A80000" + c.header + std::string(2 * c.zeros, '0') + "00"})
            << c.data;
        expect_kept(ByteString{0x83, static_cast<std::uint8_t>(c.data)}, c.data + 2);
    }
}

TEST_F(ProcessingOptions, DeliberatelyGoesOnAfterABadItemOfTheHost) {
    put("9F38", hex("9F0206 9C01 9A03"));
    insert(answers_format_1);
    EXPECT_EQ(emvGPO(handle, "P012000000001000X004ABCDT00201", TagMapPDolTerData), 0);
    EXPECT_EQ(commands(), Commands{"80A800000C830A0000000010000000000000"});
}

TEST_F(ProcessingOptions, IgnoresTextWithoutATable) {
    insert(answers_format_1);
    EXPECT_EQ(emvGPO(handle, "P012000000001000", nullptr), 0);
    EXPECT_EQ(element("9F02"), std::nullopt);
}

TEST_F(ProcessingOptions, KeepsTheQualifiersThatTheHostSet) {
    put("9F38", hex("9F6604"));
    put("9F66", hex("26000080"));
    insert(answers_format_1);
    EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0);
    EXPECT_EQ(commands(), Commands{"80A80000068304260000"
                                   "8000"});
}

TEST_F(ProcessingOptions, ReadsThePdolNoFurtherThanItsStorage) {
    put("9F38", hex("9C01"));
    put("9C", hex("20"));
    const ByteString tag = hex("9F38");
    ASSERT_EQ(emvSetDataElementLength(tag.data(), 2, 0xFFFF, 0), 0);
    insert("");
    // The zeros behind the PDOL are entries of length 0.
    reader().card = [](const ByteString&) { return answer("77009000"); };
    EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0);
    EXPECT_EQ(commands(), Commands{"80A80000038301"
                                   "2000"});
}

TEST_F(ProcessingOptions, DeliberatelyReportsEveryRefusalAsAnAnswerThatDoesNotParse) {
    for (const Refusal& refusal : refusals()) {
        insert("").at_step(0, refusal.answer);
        EXPECT_EQ(emvGPO(handle, nullptr, nullptr), -107) << refusal.name;
        EXPECT_EQ(commands(), Commands{"80A8000002830000"}) << refusal.name;
        EXPECT_EQ(present_elements(), (Elements{{"9F66", "F4000000"}})) << refusal.name;
        // What the card said is still there for the host.
        EXPECT_EQ(CARD_SW1 << 8 | CARD_SW2, refusal.status_word()) << refusal.name;
    }
}

TEST_F(ProcessingOptions, DeliberatelyTakesDataThatComeWithAWarning) {
    insert("80A80000 *\n    80[ 7C00 08010300 ] 6283\n");
    EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0);
    EXPECT_EQ(element("82"), value("7C00"));
    EXPECT_EQ(element("94"), value("08010300"));
    EXPECT_EQ(CARD_SW1, 0x62);
}

TEST_F(ProcessingOptions, FetchesAnAnswerThatWaits) {
    insert("80A80000 *\n    6108\n00C0000008\n    80[ 7C00 08010300 ] 9000\n");
    EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0);
    EXPECT_EQ(commands(), (Commands{"80A8000002830000", "00C0000008"}));
    EXPECT_EQ(element("94"), value("08010300"));
}

TEST_F(ProcessingOptions, RefusesAnotherAnswerInTheSameTransaction) {
    insert(answers_format_1);
    EXPECT_EQ(emvGPO(handle, nullptr, nullptr), 0);
    EXPECT_EQ(emvGPO(handle, nullptr, nullptr), -107);
    EXPECT_EQ(commands(), (Commands{"80A8000002830000", "80A8000002830000"}));
}

TEST_F(ProcessingOptions, ReportsAnAnswerThatDoesNotParse) {
    for (const char* bad :
         {"70[ 7C00 08010300 ]", "80 10 7C00 08010300", "77[ 82 05 7C00 ]", "0000"}) {
        emvClrIccAndTermData();
        insert("80A80000 *\n    " + std::string(bad) + " 9000\n");
        EXPECT_EQ(emvGPO(handle, nullptr, nullptr), -107) << bad;
    }
}

// A host may begin without a selection: no reset has pointed the rows at their storage yet.
TEST_F(ProcessingOptions, StoreNothingBeforeTheFirstReset) {
    for (QuorrinDataElement& row : TermDt) {
        row.value = nullptr;
    }
    for (QuorrinDataElement& row : IccDt) {
        row.value = nullptr;
    }
    EXPECT_EQ(parsBankTagList("T00201", TagMapPDolTerData), -18);
    EXPECT_EQ(setTermPDolData("T00201", TagMapPDolTerData), 1);
    insert(R"(
80A80000 *
    80[ 7C00 08010100 ] 9000
00B2010C00
    70[ 5F34[01] ] 9000
)");
    EXPECT_EQ(emvGPO(handle, "T00201", TagMapPDolTerData), 0);
    EXPECT_EQ(commands(), Commands{"80A8000002830000"});
    EXPECT_EQ(ByteString(gl_AIP, gl_AIP + 2), hex("7C00"));
    EXPECT_EQ(emvReadICCard(handle), -107);
    GuardedBuffer out(2048);
    EXPECT_EQ(packUserInfo("ABJ", out.text()), 0);
    EXPECT_TRUE(out.untouched());
}

struct OptionsAnswerCase {
    const char* what;
    const char* answer;
    int result;
    Elements elements;
};

void PrintTo(const OptionsAnswerCase& c, std::ostream* out) {
    *out << c.what;
}

class OptionsAnswer : public BankCardTest, public testing::WithParamInterface<OptionsAnswerCase> {};

TEST_P(OptionsAnswer, IsStored) {
    ExactBytes bytes(card_bytes(GetParam().answer));
    EXPECT_EQ(emvExtractAipAfl(bytes.data(), bytes.size16()), GetParam().result);
    EXPECT_EQ(present_elements(), GetParam().elements);
}

// clang-format off
const OptionsAnswerCase options_answer_cases[] = {
    {"format 1", "80[ 7C00 08010300 ]", 0, {{"82", "7C00"}, {"94", "08010300"}}},
    {"format 1, two entries", "80[ 5800 08010100 10010301 ]", 0,
     {{"82", "5800"}, {"94", "0801010010010301"}}},
    {"format 1, AFL of odd length", "80[ 7C00 080103 ]", 0, {{"82", "7C00"}, {"94", "080103"}}},
    {"format 1, long length field", "80 8106 7C0008010300", 0,
     {{"82", "7C00"}, {"94", "08010300"}}},
    {"format 1, something after it", "80[ 7C00 08010300 ] FF9F", 0,
     {{"82", "7C00"}, {"94", "08010300"}}},
    {"format 1 without an AFL, in 6 bytes", "80[ 7C00 ] 0000", 0, {{"82", "7C00"}, {"94", ""}}},
    {"format 1 without an AFL, shorter", "80[ 7C00 ]", -31, {}},
    {"format 1 of 5 bytes", "80[ 7C0008 ]", -31, {}},
    {"format 1, half an AIP", "80[ 7C ] 000000", -31, {}},
    {"format 1, empty", "80[] 00000000", -31, {}},
    {"format 1, longer than the answer", "80 07 7C00 08010300", -31, {}},
    {"format 1, indefinite length", "80 80 7C00 08010300", -31, {}},
    {"format 1, length field beyond the answer", "80 86 7C00 08010300", -31, {}},

    {"format 2", "77[ 82[7C00] 94[08010300] ]", 0, {{"82", "7C00"}, {"94", "08010300"}}},
    {"format 2, other order and more",
     "77[ 94[08010300] DF01[00] 9F36[0001] 9F1A[0840] 82[7C00] ]", 0,
     {{"82", "7C00"}, {"94", "08010300"}, {"9F36", "0001"}}},
    {"format 2, the later value counts", "77[ 82[0000] 94[10010100] 82[7C00] 94[08010300] ]", 0,
     {{"82", "7C00"}, {"94", "08010300"}}},
    {"format 2 without AIP and AFL", "77[ 9F36[0001] ]", 0, {{"9F36", "0001"}}},
    {"format 2, empty", "77[]", 0, {}},
    {"format 2, something after it", "77[ 82[7C00] 94[08010300] ] 00 77[ 9F36[0001] ]", 0,
     {{"82", "7C00"}, {"94", "08010300"}, {"9F36", "0001"}}},
    {"format 2, the tag alone", "77", -28, {}},
    {"format 2, longer than the answer", "77 10 8202 7C00", -28, {}},
    {"format 2, malformed in the middle", "77[ 82[7C00] 94 20 08010300 ]", -28, {{"82", "7C00"}}},
    {"format 2, AIP of a wrong length", "77[ 94[08010300] 82[7C0000] ]", -28, {{"94", "08010300"}}},
    {"format 2, an element that may not be in it", "77[ 82[7C00] 4F[A000000333] ]", -28,
     {{"82", "7C00"}}},

    {"record template", "70[ 82[7C00] 94[08010300] ]", -27, {}},
    {"FCI template", "6F[ 84[A000000333] ]", -27, {}},
    {"AIP without a template", "82[7C00] 94[08010300]", -27, {}},
    {"a single byte", "01", -27, {}},

    {"empty", "", -31, {}},
    {"a byte 00", "00", -31, {}},
    {"a byte FF", "FF", -31, {}},
    {"the tag of format 1 alone", "80", -31, {}},
    {"one padding byte before", "00 80[ 7C00 08010300 ]", 0, {{"82", "7C00"}, {"94", "08010300"}}},
    {"as much padding as is borne", "00FF00FF00FF00 80[ 7C00 08010300 ]", 0,
     {{"82", "7C00"}, {"94", "08010300"}}},
    {"deliberately not as much padding as answer", "00FF00FF00FF0000 80[ 7C00 08010300 ]", -31, {}},
    {"one padding byte more than answer", "00*9 80[ 7C00 08010300 ]", -31, {}},
    {"padding before format 2", "00 77[]", 0, {}},
    {"as much padding as a short format 2", "00 00 77[]", -31, {}},
    {"padding before a single byte", "00 77", -31, {}},
    {"padding before something else", "00 70[ 82[7C00] ]", -27, {}},
    {"padding leaves less than 6 bytes", "00 80[ 7C0008 ]", -31, {}},
    {"padding alone", "00*1022", -31, {}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Answers, OptionsAnswer, testing::ValuesIn(options_answer_cases),
                         [](const auto& test) { return test_name(test.param.what); });

class StoredOptions : public BankCardTest {
  protected:
    static int extract(std::string_view text) {
        ExactBytes bytes(card_bytes(text));
        return emvExtractAipAfl(bytes.data(), bytes.size16());
    }
};

TEST_F(StoredOptions, DeliberatelyReplaceAnOlderAipAndKeepTheOlderAfl) {
    put("82", hex("0000"));
    EXPECT_EQ(extract("80[ 7C00 08010300 ]"), -30);
    EXPECT_EQ(present_elements(), (Elements{{"82", "7C00"}}));
    put("94", hex("10010100"));
    EXPECT_EQ(extract("80[ 5800 08010300 ]"), -30);
    EXPECT_EQ(present_elements(), (Elements{{"82", "5800"}, {"94", "10010100"}}));
}

TEST_F(StoredOptions, DeliberatelyReplaceTheBytesOfAnOlderAflAndKeepItsLength) {
    put("94", hex("10010100 18010100"));
    EXPECT_EQ(extract("80[ 7C00 08010300 ]"), -29);
    EXPECT_EQ(present_elements(), (Elements{{"82", "7C00"}, {"94", "0801030018010100"}}));
}

TEST_F(StoredOptions, AreReplacedByFormat2) {
    put("82", hex("0000"));
    put("94", hex("10010100"));
    EXPECT_EQ(extract("77[ 82[7C00] 94[08010300] ]"), 0);
    EXPECT_EQ(present_elements(), (Elements{{"82", "7C00"}, {"94", "08010300"}}));
}

TEST_F(StoredOptions, HoldAnAflOfItsLongest) {
    EXPECT_EQ(extract("80[ 7C00 11*252 ]"), 0);
    EXPECT_EQ(element("94"), filled(252, 0x11));
    emvClrIccAndTermData();
    EXPECT_EQ(extract("80[ 7C00 22*253 ]"), 0) << "cut to the storage";
    EXPECT_EQ(element("94"), filled(252, 0x22));
    emvClrIccAndTermData();
    EXPECT_EQ(extract("80[ 7C00 33*1016 ]"), 0) << "the longest answer";
    EXPECT_EQ(element("94"), filled(252, 0x33));
    emvClrIccAndTermData();
    EXPECT_EQ(extract("77[ 82[7C00] 94[44*252] ]"), 0);
    EXPECT_EQ(element("94"), filled(252, 0x44));
    emvClrIccAndTermData();
    EXPECT_EQ(extract("77[ 82[7C00] 94[55*253] ]"), -28);
    EXPECT_EQ(present_elements(), (Elements{{"82", "7C00"}}));
}

TEST_F(StoredOptions, RefuseANullPointer) {
    EXPECT_EQ(emvExtractAipAfl(nullptr, 0), -31);
    EXPECT_EQ(emvExtractAipAfl(nullptr, 10), -31);
}

}  // namespace
}  // namespace quorrin::test
