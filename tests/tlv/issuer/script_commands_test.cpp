// emvIssuerCommandProcess: the commands of one template, as they go to the card, and its result
// entry.

#include "tests/tlv/issuer/issuer_script_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ScriptCommands : public IssuerScriptTest {
  protected:
    void TearDown() override {
        // Count, TVR and TSI are left to the caller.
        EXPECT_EQ(final_entries(), 0);
        EXPECT_EQ(tvr(), nothing_failed);
        EXPECT_EQ(tsi(), not_performed);
    }
};

// --- what is sent ---

struct CommandCase {
    const char* name;
    const char* command;  // value of 86
    const char* sent;
};

class SentCommand : public ScriptCommands, public testing::WithParamInterface<CommandCase> {};

TEST_P(SentCommand, GoesToTheCardWithLcAndLe) {
    EXPECT_EQ(run_value(object("86", card_bytes(GetParam().command))), 0);
    EXPECT_THAT(reader().commands(), ElementsAre(to_hex(card_bytes(GetParam().sent))));
    EXPECT_TRUE(entries_are({"2000000000"}));
}

constexpr CommandCase command_cases[] = {
    {"HeaderAlone", "84180102", "84180102 00 00"},
    {"LcZero", "8418010200", "84180102 00 00"},
    {"LcZeroWithLe", "84180102 00 55", "84180102 00 00"},
    {"WithData", "841E0000 04 A1A2A3A4", "841E0000 04 A1A2A3A4 00"},
    {"DeliberatelySentWithLeZeroWhateverLeItBrings", "841E0000 04 A1A2A3A4 55",
     "841E0000 04 A1A2A3A4 00"},
    {"DataBehindLeIsLeftOut", "841E0000 01 A1A2A3A4", "841E0000 01 A1 00"},
    {"LongestData", "84DC0000 FF AB*255", "84DC0000 FF AB*255 00"},
    // Lc beyond the command: zeros stand for what is missing.
    {"LcBeyondByOne", "841E0000 02 A1", "841E0000 02 A100 00"},
    {"LcBeyondByMany", "841E0000 08 A1A2", "841E0000 08 A1A2000000000000 00"},
    {"LcWithoutData", "841E0000 FF", "841E0000 FF 00*255 00"},
};

INSTANTIATE_TEST_SUITE_P(IssuerData, SentCommand, testing::ValuesIn(command_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ScriptCommands, TakeDataAndLeBeyondACommandFromTheValue) {
    EXPECT_EQ(run_value("86[841E0000 04 A1A2] C1[77]"), 0);
    EXPECT_THAT(reader().commands(), ElementsAre("841E000004A1A2C10177"));
}

TEST_F(ScriptCommands, TakeDataBeyondACommandByOneByteWithLeZero) {
    EXPECT_EQ(run_value("86[841E0000 02 A1] C1[77]"), 0);
    EXPECT_THAT(reader().commands(), ElementsAre("841E000002A1C100"));
}

TEST_F(ScriptCommands, TakeNothingFromBehindACommandThatHoldsItsData) {
    EXPECT_EQ(run_value("86[841E0000 01 A1] C1[77]"), 0);
    EXPECT_THAT(reader().commands(), ElementsAre("841E000001A100"));
}

TEST_F(ScriptCommands, GoToTheUserCardInReaderHandle) {
    ReaderHandle = 0x1234567890;
    EG_nUserCardType = 12;
    EXPECT_EQ(run_value("86[84180000]"), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Send 78187493520 31: 841800000000"));
}

TEST_F(ScriptCommands, AreDeliberatelySentInOrderWhateverTheCardAnswers) {
    card_answers = {answer("6A82"), failure(-11), answer("A1A2A3 6F00"), answer("9000")};
    EXPECT_EQ(run_value("9F18[11223344] 86[84180000] 86[841E0000] 86[84240000] 86[84160000]"), 0);
    EXPECT_THAT(reader().commands(),
                ElementsAre("841800000000", "841E00000000", "842400000000", "841600000000"));
    EXPECT_TRUE(entries_are({"2011223344"}));
}

TEST_F(ScriptCommands, SurviveTheLongestAnswerOfACard) {
    card_answers = {answer(join(filled(1022, 0xEE), hex("9000")))};
    EXPECT_EQ(run_value("86[84180000]"), 0);
    EXPECT_TRUE(entries_are({"2000000000"}));
}

// --- the result entry ---

TEST_F(ScriptCommands, AnEmptyTemplateIsSuccessful) {
    emvSetIssScrptRsltID(hex("E1E2E3E4").data());
    EXPECT_EQ(emvIssuerCommandProcess(nullptr, 0), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({"2000000000"}));
}

TEST_F(ScriptCommands, ReportNotPerformedUntilTheyHaveAllBeenSent) {
    emvSetIssScrptRslt(2, 9);
    ByteString during;
    reader().card = [&](const ByteString&) {
        during.push_back(gl_Iss_ScriptRslt[0]);
        return answer("9000");
    };
    EXPECT_EQ(run_value("86[84180000]"), 0);
    EXPECT_EQ(to_hex(during), "00");
    EXPECT_TRUE(entries_are({"2000000000"}));
}

TEST_F(ScriptCommands, WithoutIdentifierReportZeros) {
    emvSetIssScrptRslt(1, 3);
    emvSetIssScrptRsltID(hex("E1E2E3E4").data());
    EXPECT_EQ(run_value("86[84180000]"), 0);
    EXPECT_TRUE(entries_are({"2000000000"}));
}

TEST_F(ScriptCommands, StoreTheIdentifierAndReportIt) {
    EXPECT_EQ(run_value("86[84180000] 9F18[11223344]"), 0);
    EXPECT_EQ(element("9F18"), "11223344");
    EXPECT_TRUE(entries_are({"2011223344"}));
}

TEST_F(ScriptCommands, ReportTheLastOfSeveralIdentifiers) {
    EXPECT_EQ(run_value("9F18[11223344] 86[84180000] 9F18[55667788]"), 0);
    EXPECT_EQ(element("9F18"), "55667788");
    EXPECT_TRUE(entries_are({"2055667788"}));
}

TEST_F(ScriptCommands, AnEmptyIdentifierReportsZeros) {
    EXPECT_EQ(run_value("9F18[11223344] 9F18[] 86[84180000]"), 0);
    EXPECT_EQ(element("9F18"), "11223344");
    EXPECT_TRUE(entries_are({"2000000000"}));
}

TEST_F(ScriptCommands, AnOverLongIdentifierIsReportedWithItsFirstFourBytes) {
    EXPECT_EQ(run_value("9F18[1122334455] 86[84180000]"), 0);
    EXPECT_EQ(element("9F18"), "absent");
    EXPECT_TRUE(entries_are({"2011223344"}));
}

TEST_F(ScriptCommands, AShortIdentifierIsReportedWithWhatFollowsIt) {
    EXPECT_EQ(run_value("9F18[1122] 86[84180000]"), 0);
    EXPECT_TRUE(entries_are({"2011228604"}));
    // Zeros stand for what lies beyond the value.
    EXPECT_EQ(run_value("86[84180000] 9F18[112233]"), 0);
    EXPECT_TRUE(entries_are({"2011223300"}));
}

TEST_F(ScriptCommands, ForeignObjectsAreSteppedOver) {
    EXPECT_EQ(run_value("C1[00] 86[84180000] 71[ 86[841E0000] ] 9F06[86] 0000 86[84240000]"), 0);
    EXPECT_THAT(reader().commands(), ElementsAre("841800000000", "842400000000"));
    EXPECT_TRUE(entries_are({"2000000000"}));
}

// --- a command that is too short ---

struct ShortCase {
    const char* name;
    const char* value;
    const char* entry;
    std::size_t sent;
};

class ShortCommand : public ScriptCommands, public testing::WithParamInterface<ShortCase> {};

TEST_P(ShortCommand, EndsTheScriptAsFailedWithItsNumber) {
    emvSetIssScrptRsltID(hex("E1E2E3E4").data());
    EXPECT_EQ(run_value(GetParam().value), -29);
    EXPECT_TRUE(entries_are({GetParam().entry}));
    EXPECT_EQ(reader().commands().size(), GetParam().sent);
}

constexpr ShortCase short_cases[] = {
    {"Empty", "86[]", "1100000000", 0},
    {"OneByte", "86[84]", "1100000000", 0},
    {"ThreeBytes", "86[841800]", "1100000000", 0},
    {"ThreeBytesWithIdentifier", "9F18[11223344] 86[841800] 86[84180000]", "1111223344", 0},
    {"IdentifierBehindIt", "86[841800] 9F18[11223344]", "1100000000", 0},
    {"Second", "86[84180000] 86[841800] 86[84180000]", "1200000000", 1},
};

INSTANTIATE_TEST_SUITE_P(IssuerData, ShortCommand, testing::ValuesIn(short_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ScriptCommands, TheNumberOfTheFailingCommandIsCappedAt15) {
    ByteString value;
    for (int i = 0; i < 14; ++i) {
        value = join(value, hex("860484180000"));
    }
    EXPECT_EQ(run_value(join(value, hex("8600"))), -29);
    EXPECT_TRUE(entries_are({"1F00000000"}));
    EXPECT_EQ(run_value(join(value, hex("860484180000 8600"))), -29);
    EXPECT_TRUE(entries_are({"1F00000000"}));
    EXPECT_EQ(reader().commands().size(), 14u + 15u);
}

TEST_F(ScriptCommands, TheNumberStaysCappedBeyond255Commands) {
    ByteString value;
    for (int i = 0; i < 256; ++i) {
        value = join(value, hex("860484180000"));
    }
    EXPECT_EQ(run_value(join(value, hex("8600"))), -29);
    EXPECT_TRUE(entries_are({"1F00000000"}));
    EXPECT_EQ(reader().commands().size(), 256u);
}

// --- a malformed object ---

struct MalformedTemplateCase {
    const char* name;
    const char* value;
    const char* entry;
    std::size_t sent;
};

class MalformedTemplate : public ScriptCommands,
                          public testing::WithParamInterface<MalformedTemplateCase> {};

TEST_P(MalformedTemplate, DeliberatelyIsNotPerformedUnlessMoreThanOneCommandWasCounted) {
    emvSetIssScrptRsltID(hex("E1E2E3E4").data());
    EXPECT_EQ(run_value(GetParam().value), -30);
    EXPECT_TRUE(entries_are({GetParam().entry}));
    EXPECT_EQ(reader().commands().size(), GetParam().sent);
}

constexpr MalformedTemplateCase malformed_template_cases[] = {
    {"AtOnce", "8605", "0000000000", 0},
    {"BehindIdentifier", "9F18[11223344] 8605", "0011223344", 0},
    {"BehindOneCommand", "86[84180000] 8605 8418", "0000000000", 1},
    {"BehindTwoCommands", "86[84180000] 86[84180000] 8605 8418", "1200000000", 2},
    {"BehindThreeCommandsWithIdentifier",
     "9F18[11223344] 86[84180000] 86[84180000] 86[84180000] 5F80", "1311223344", 3},
    {"PaddingAtTheEnd", "86[84180000] FF", "0000000000", 1},
    {"ZeroAtTheEnd", "86[84180000] 86[84180000] 00", "1200000000", 2},
};

INSTANTIATE_TEST_SUITE_P(IssuerData, MalformedTemplate, testing::ValuesIn(malformed_template_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ScriptCommands, RefuseANullPointer) {
    EXPECT_EQ(emvIssuerCommandProcess(nullptr, 1), -30);
    EXPECT_EQ(emvIssuerCommandProcess(nullptr, 20), -30);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({}));
}

TEST_F(ScriptCommands, LeaveAFullResultListAlone) {
    gl_Iss_NumScriptRslt = 12;
    EXPECT_EQ(run_value("9F18[11223344] 86[84180000]"), 0);
    EXPECT_THAT(reader().commands(), ElementsAre("841800000000"));
    EXPECT_TRUE(entries_are({}));
    gl_Iss_NumScriptRslt = 0;
}

}  // namespace
}  // namespace quorrin::test
