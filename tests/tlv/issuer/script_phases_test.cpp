// emvScriptProcess: which of the collected scripts run in which phase, and what is recorded of
// each.

#include "tests/tlv/issuer/issuer_script_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ScriptPhases : public IssuerScriptTest {
  protected:
    static constexpr const char* block = "841E00000000";    // as sent
    static constexpr const char* unblock = "841800000000";  // as sent

    // A script of one UPDATE-like command, `size` bytes in all, with or without identifier.
    static ByteString script_of(std::string_view tag, std::size_t size,
                                std::string_view identifier = "") {
        ByteString contents;
        if (!identifier.empty()) {
            contents = object("9F18", hex(identifier));
        }
        // Tag and length of the template, of the command, and CLA INS P1 P2 Lc.
        const std::size_t data = size - 2 - contents.size() - 2 - 5;
        contents = join(contents, object("86", join(hex("84DC0100"),
                                                    ByteString{static_cast<std::uint8_t>(data)},
                                                    filled(data, 0xD1))));
        return object(tag, contents);
    }
};

// --- nothing to do ---

TEST_F(ScriptPhases, WithoutScriptsDoNothing) {
    emvSetIssScrptRslt(1, 1);
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_EQ(emvScriptProcess(2), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({"1100000000"}));
    EXPECT_EQ(tsi(), not_performed);
}

TEST_F(ScriptPhases, DoNothingWhenTheBufferCountsNoScript) {
    store_buffer(hex("00 08 7106 860484180000 00"));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_EQ(tsi(), not_performed);
}

TEST_F(ScriptPhases, DoNothingWhenTheBufferHasNoLength) {
    collect({"71[ 86[84180000] ]"});
    emvSetIssuerScriptLength(0);
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
}

// --- valid scripts of the phase ---

TEST_F(ScriptPhases, RunScriptsOfTheirKindOnlyAndAppendTheirResults) {
    collect({"72[ 9F18[72727272] 86[84180000] ]", "71[ 9F18[71717171] 86[841E0000] ]"});
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 01: 841E00000000"));
    EXPECT_EQ(final_entries(), 1);
    EXPECT_TRUE(entries_are({"2071717171"}));
    EXPECT_EQ(emvScriptProcess(2), 0);
    EXPECT_THAT(reader().commands(), ElementsAre(block, unblock));
    EXPECT_EQ(final_entries(), 2);
    // The check of the script 71 has touched the entry after it, which nothing has made final.
    EXPECT_TRUE(entries_are({"2071717171", "2072727272", "0071717171"}));
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, LeaveAValidScriptOfTheOtherKindWithoutTrace) {
    collect({"72[ 86[84180000] ]"});
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_EQ(final_entries(), 0);
    EXPECT_TRUE(entries_are({}));
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_EQ(tsi(), not_performed);
}

TEST_F(ScriptPhases, OfAnotherNumberRunNothing) {
    collect({"71[ 86[84180000] ]", "72[ 86[84180000] ]"});
    EXPECT_EQ(emvScriptProcess(0), 0);
    EXPECT_EQ(emvScriptProcess(3), 0);
    EXPECT_EQ(emvScriptProcess(0x71), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tsi(), not_performed);
}

TEST_F(ScriptPhases, DeliberatelyRecordARefusedCommandAsSuccessful) {
    card_answers = {answer("6A82")};
    collect({"71[ 9F18[11223344] 86[84180000] ]"});
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_TRUE(entries_are({"2011223344"}));
    EXPECT_EQ(final_entries(), 1);
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, DeliberatelyRecordAnUnreachableCardAsSuccessful) {
    card_answers = {failure(-4), failure(-4)};
    collect({"71[ 9F18[11223344] 86[84180000] 86[841E0000] ]"});
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().commands(), ElementsAre(unblock, block));
    EXPECT_TRUE(entries_are({"2011223344"}));
}

TEST_F(ScriptPhases, RecordACommandThatIsTooShort) {
    collect({"71[ 9F18[11223344] 86[841800] ]", "72[ 86[84180000] 86[84] ]"});
    emvScriptProcess(1);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_EQ(tvr(), script_71_failed);
    EXPECT_EQ(final_entries(), 1);
    EXPECT_EQ(tsi(), performed);
    emvScriptProcess(2);
    EXPECT_THAT(reader().commands(), ElementsAre(unblock));
    EXPECT_EQ(tvr(), both_failed);
    EXPECT_EQ(final_entries(), 2);
    EXPECT_TRUE(entries_are({"1111223344", "1200000000"}));
}

TEST_F(ScriptPhases, GoOnWithTheNextScriptAfterAFailure) {
    collect({"71[ 86[84] ]", "71[ C1[00] ]", "71[ 86[84180000] ]"});
    emvScriptProcess(1);
    EXPECT_THAT(reader().commands(), ElementsAre(unblock));
    EXPECT_TRUE(entries_are({"1100000000", "0000000000", "2000000000"}));
    EXPECT_EQ(final_entries(), 3);
    EXPECT_EQ(tvr(), script_71_failed);
}

// --- the stored area behind a command ---

TEST_F(ScriptPhases, TakeDataBeyondACommandFromTheStoredScripts) {
    // Lc 4 with two bytes: the size and the tag of the next script follow. Le is the byte behind.
    collect({"71[ 86[841E0000 04 A1A2] ]", "71[ 86[84180000] ]"});
    emvScriptProcess(1);
    EXPECT_THAT(reader().commands(), ElementsAre("841E000004A1A2087106", unblock));
}

TEST_F(ScriptPhases, TakeZerosBeyondTheStoredArea) {
    // Two objects that are no scripts fill the area up to a script that ends with it.
    const ByteString area =
        join(hex("03"), hex("FD"), object("70", filled(250, 0)), hex("F6"),
             object("70", filled(243, 0)), hex("09"), card_bytes("71[ 86[841E0000 03] ]"));
    ASSERT_EQ(area.size(), sizeof gl_Iss_Script);
    std::copy(area.begin(), area.end(), gl_Iss_Script);
    const std::uint8_t tag = 0x71;
    emvSetDataElementState(&tag, 1, 1);
    emvSetIssuerScriptLength(256);
    emvScriptProcess(1);
    EXPECT_THAT(reader().commands(), ElementsAre("841E00000300000000"));
    EXPECT_TRUE(entries_are({"2000000000"}));
}

// --- scripts that do not parse ---

TEST_F(ScriptPhases, AScriptThatDoesNotParseIsDeliberatelyRecordedWithoutMovingOn) {
    store_buffer(hex("01 03 710512 00"));
    EXPECT_EQ(emvScriptProcess(2), 0);
    EXPECT_EQ(tvr(), script_71_failed);
    EXPECT_EQ(final_entries(), 0);
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, AScript72ThatDoesNotParseSetsItsOwnBitInAnyPhase) {
    emvSetIssScrptRslt(2, 2);
    store_buffer(hex("01 02 7280 00"));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_EQ(tvr(), script_72_failed);
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, AnythingElseThatDoesNotParseIsRecordedInEntryAndTsiOnly) {
    emvSetIssScrptRslt(2, 2);
    store_buffer(hex("01 02 7005 00"));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, AnEntryThatIsNotFinalIsOverwrittenByTheNextScript) {
    // The unparsable script reports the identifier of the one before it.
    store_buffer(join(hex("03 0F"), card_bytes("71[ 9F18[11223344] 86[84180000] ]"),
                      hex("03 710512"), hex("08"), card_bytes("71[ 86[84180000] ]"), hex("00")));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_TRUE(entries_are({"2011223344", "2000000000"}));
    EXPECT_EQ(final_entries(), 2);
    EXPECT_EQ(tvr(), script_71_failed);
}

TEST_F(ScriptPhases, AScriptThatDoesNotParseReportsTheRunningIdentifier) {
    store_buffer(
        join(hex("02 0F"), card_bytes("72[ 9F18[11223344] 86[84180000] ]"), hex("03 710512 00")));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_TRUE(entries_are({"0011223344"}));
    EXPECT_EQ(final_entries(), 0);
}

TEST_F(ScriptPhases, AnObjectThatIsNoScriptGivesTheRunningIdentifierToo) {
    emvSetIssScrptRslt(2, 9);
    store_buffer(
        join(hex("02 0F"), card_bytes("70[ 9F18[11223344] 86[84180000] ]"), hex("03 710512 00")));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({"0011223344"}));
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tvr(), script_71_failed);
}

// --- objects that are no scripts ---

TEST_F(ScriptPhases, AnObjectThatIsNoScriptOnlyShowsInTheTsi) {
    emvSetIssScrptRslt(2, 2);
    store_buffer(join(hex("01 08"), card_bytes("70[ 86[84180000] ]"), hex("00")));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_TRUE(entries_are({"2200000000"}));
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tsi(), performed);
}

// --- scripts that fail their check ---

TEST_F(ScriptPhases, ARefusedScriptOfThePhaseMovesOn) {
    collect({"72[ 9F18[11223344] 9F1A[0156] 86[84180000] ]", "72[ 86[84180000] 9F1A[0156] ]"});
    EXPECT_EQ(emvScriptProcess(2), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({"0011223344", "1000000000"}));
    EXPECT_EQ(final_entries(), 2);
    EXPECT_EQ(tvr(), script_72_failed);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, ARefusedScriptOfTheOtherPhaseStaysButShowsInTvrAndTsi) {
    collect({"72[ 9F1A[0156] ]"});
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_EQ(tvr(), script_72_failed);
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, DeliberatelyALengthMismatchMovesOnWithTheEntryAsItStands) {
    const ByteString stale = hex("E1E2E3E4");
    emvSetIssScrptRslt(2, 9);
    emvSetIssScrptRsltID(stale.data());
    store_buffer(join(hex("01 0A"), card_bytes("71[ 86[84180000] ] 0000"), hex("00")));
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({"29E1E2E3E4"}));
    EXPECT_EQ(final_entries(), 1);
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, ARefusedScriptDoesNotCountAgainstTheLimit) {
    extract_bytes(join(object("71", join(hex("9F1A020156"), object("86", filled(100, 0x84)))),
                       script_of("71", 100)));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"0000000000", "2000000000"}));
    EXPECT_EQ(reader().commands().size(), 1u);
}

// --- the limit of 128 bytes ---

TEST_F(ScriptPhases, RunScriptsUpTo128BytesInAll) {
    extract_bytes(join(script_of("71", 70), script_of("71", 58)));
    emvScriptProcess(1);
    EXPECT_EQ(reader().commands().size(), 2u);
    EXPECT_TRUE(entries_are({"2000000000", "2000000000"}));
    EXPECT_EQ(tvr(), nothing_failed);
}

TEST_F(ScriptPhases, RefuseTheScriptThatExceeds128Bytes) {
    extract_bytes(join(script_of("71", 70), script_of("71", 59)));
    emvScriptProcess(1);
    EXPECT_EQ(reader().commands().size(), 1u);
    EXPECT_TRUE(entries_are({"2000000000", "0000000000"}));
    EXPECT_EQ(final_entries(), 2);
    EXPECT_EQ(tvr(), script_71_failed);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, ReportTheIdentifierOfAScriptBeyondTheLimit) {
    extract_bytes(join(script_of("71", 70, "11223344"), script_of("71", 70, "55667788")));
    emvScriptProcess(1);
    EXPECT_EQ(reader().commands().size(), 1u);
    EXPECT_TRUE(entries_are({"2011223344", "0055667788"}));
    EXPECT_EQ(final_entries(), 2);
    EXPECT_EQ(tvr(), script_71_failed);
}

TEST_F(ScriptPhases, DeliberatelyReportTheRunningIdentifierForAScriptBeyondTheLimit) {
    extract_bytes(join(script_of("71", 70, "11223344"), script_of("71", 70)));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"2011223344", "0011223344"}));
    EXPECT_EQ(final_entries(), 2);
}

TEST_F(ScriptPhases, ReportTheStoredIdentifierForAScriptBeyondTheLimitWhoseOwnOneTheStoreRefuses) {
    extract_bytes(join(script_of("71", 70, "11223344"), script_of("71", 70, "AABB")));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"2011223344", "0011223344"}));
    EXPECT_EQ(gl_cScptIDExist, 1);
}

TEST_F(ScriptPhases, ReportZerosForAScriptWithoutIdentifierThatRuns) {
    extract_bytes(join(script_of("71", 60, "11223344"), script_of("71", 60)));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"2011223344", "2000000000"}));
}

TEST_F(ScriptPhases, DeliberatelyCountScriptsOfBothKindsAgainstTheLimit) {
    extract_bytes(join(script_of("72", 65, "72727272"), script_of("71", 65, "71717171")));
    emvScriptProcess(1);
    // The script 71 comes behind 65 bytes of the other kind.
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_EQ(tvr(), script_71_failed);
    EXPECT_TRUE(entries_are({"0071717171"}));
    emvScriptProcess(2);
    // The script 72 comes first and runs.
    EXPECT_EQ(reader().commands().size(), 1u);
    EXPECT_EQ(tvr(), script_71_failed);
    EXPECT_TRUE(entries_are({"0071717171", "2072727272", "0071717171"}));
    EXPECT_EQ(final_entries(), 2);
}

TEST_F(ScriptPhases, CountFromZeroInEachPhase) {
    extract_bytes(join(script_of("71", 60), script_of("72", 60)));
    emvScriptProcess(1);
    emvScriptProcess(2);
    EXPECT_EQ(reader().commands().size(), 2u);
    EXPECT_TRUE(entries_are({"2000000000", "2000000000"}));
}

TEST_F(ScriptPhases, ScriptsBeyondTheLimitStayBeyondIt) {
    extract_bytes(join(script_of("71", 100), script_of("71", 100), script_of("71", 20)));
    emvScriptProcess(1);
    EXPECT_EQ(reader().commands().size(), 1u);
    EXPECT_TRUE(entries_are({"2000000000", "0000000000", "0000000000"}));
    EXPECT_EQ(final_entries(), 3);
}

// --- the running identifier ---

TEST_F(ScriptPhases, AShorterIdentifierReplacesTheFirstBytesOfTheRunningOne) {
    extract_bytes(
        join(script_of("71", 70, "11223344"), script_of("71", 40, "AABB"), script_of("71", 40)));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"2011223344", "20AABB861F", "00AABB3344"}));
}

TEST_F(ScriptPhases, AnIdentifierOfFiveBytesRunsOnWithItsFirstFour) {
    extract_bytes(join(script_of("71", 100, "1122334455"), script_of("71", 40)));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"2011223344", "0011223344"}));
}

TEST_F(ScriptPhases, AnIdentifierOfMoreThanFiveBytesDoesNotRunOn) {
    extract_bytes(join(script_of("71", 50, "11223344"), script_of("71", 70, "AABBCCDDEEFF"),
                       script_of("71", 40)));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"2011223344", "20AABBCCDD", "0011223344"}));
}

TEST_F(ScriptPhases, AnEmptyIdentifierDoesNotReplaceTheRunningOne) {
    extract_bytes(
        join(script_of("71", 100, "11223344"), card_bytes("71[ 9F18[] 86[84DC0100 20 D1*32] ]")));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"2011223344", "0011223344"}));
}

TEST_F(ScriptPhases, TheRunningIdentifierStartsAsZerosInEachPhase) {
    extract_bytes(script_of("71", 100, "11223344"));
    emvScriptProcess(1);
    emvSetIssScrptRsltID(hex("E1E2E3E4").data());
    store_buffer(hex("01 02 7280 00"));
    emvScriptProcess(2);
    EXPECT_TRUE(entries_are({"2011223344", "0000000000"}));
}

TEST_F(ScriptPhases, TheIdentifierOfARefusedScriptRunsOn) {
    extract_bytes(
        join(card_bytes("71[ 9F18[11223344] 8605 ]"), script_of("71", 100), script_of("71", 40)));
    emvScriptProcess(1);
    EXPECT_TRUE(entries_are({"0011223344", "2000000000", "0011223344"}));
    EXPECT_EQ(final_entries(), 3);
    EXPECT_EQ(reader().commands().size(), 1u);
}

// --- gl_cScptIDExist ---

TEST_F(ScriptPhases, TheIdentifierFlagIsClearedBeforeEachScript) {
    collect({"71[ 9F18[11223344] 86[84180000] ]", "71[ 86[84180000] ]"});
    emvScriptProcess(1);
    EXPECT_EQ(gl_cScptIDExist, 0);
    collect({"71[ 9F18[11223344] 86[84180000] ]"});
    emvScriptProcess(1);
    EXPECT_EQ(gl_cScptIDExist, 1);
}

// --- the result list ---

TEST_F(ScriptPhases, RecordTwelveScriptsAndRunTheOthersAllTheSame) {
    ByteString data;
    for (int i = 0; i < 14; ++i) {
        data = join(data, card_bytes("71[ 86[84180000] ]"));
    }
    extract_bytes(data);
    emvScriptProcess(1);
    EXPECT_EQ(reader().commands().size(), 14u);
    EXPECT_EQ(final_entries(), 14);
    EXPECT_TRUE(entries_are({"2000000000", "2000000000", "2000000000", "2000000000", "2000000000",
                             "2000000000", "2000000000", "2000000000", "2000000000", "2000000000",
                             "2000000000", "2000000000"}));
    EXPECT_EQ(emvGetIssScrptRsltNumber(), 70);
}

TEST_F(ScriptPhases, TheCountWrapsAt256) {
    gl_Iss_NumScriptRslt = 255;
    collect({"71[ 86[84180000] ]", "71[ 86[841E0000] ]"});
    emvScriptProcess(1);
    EXPECT_EQ(final_entries(), 1);
    EXPECT_TRUE(entries_are({"2000000000"}));
}

// --- buffers that no issuer data give ---

TEST_F(ScriptPhases, SurviveABufferThatCountsMoreScriptsThanItHolds) {
    ByteString buffer = join(hex("FF 08"), card_bytes("71[ 86[84180000] ]"));
    buffer.resize(256, 0xFF);
    store_buffer(buffer);
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().commands(), ElementsAre(unblock));
    EXPECT_TRUE(entries_are({"2000000000"}));
    EXPECT_EQ(final_entries(), 1);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, EndWithAScriptThatLiesBeyondTheArea) {
    // Scripts of 255 bytes, the second of which would end one byte beyond the area.
    std::fill(std::begin(gl_Iss_Script), std::end(gl_Iss_Script), std::uint8_t{0xFF});
    const std::uint8_t tag = 0x71;
    emvSetDataElementState(&tag, 1, 1);
    emvSetIssuerScriptLength(256);
    // The first one, which does not parse, overwrites this.
    emvSetIssScrptRslt(2, 9);
    emvSetIssScrptRsltID(hex("E1E2E3E4").data());
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_EQ(tsi(), performed);
}

TEST_F(ScriptPhases, LeaveAScriptThatEndsOneByteBeyondTheArea) {
    // Two objects that are no scripts fill the area up to it; its size is one more than it has.
    const ByteString area =
        join(hex("03"), hex("FD"), object("70", filled(250, 0)), hex("F6"),
             object("70", filled(243, 0)), hex("0A"), card_bytes("71[ 86[841E0000 00] ]"));
    ASSERT_EQ(area.size(), sizeof gl_Iss_Script);
    std::copy(area.begin(), area.end(), gl_Iss_Script);
    const std::uint8_t tag = 0x71;
    emvSetDataElementState(&tag, 1, 1);
    emvSetIssuerScriptLength(256);
    EXPECT_EQ(emvScriptProcess(1), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({}));
    EXPECT_EQ(final_entries(), 0);
    EXPECT_EQ(tvr(), nothing_failed);
}

TEST_F(ScriptPhases, AScriptOfSizeZeroIsRecordedAsOneThatDoesNotParse) {
    emvSetIssScrptRslt(2, 2);
    store_buffer(join(hex("02 00 08"), card_bytes("71[ 86[84180000] ]"), hex("00")));
    EXPECT_EQ(emvScriptProcess(2), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_EQ(tsi(), performed);
}

// --- repeated issuer answers ---

TEST_F(ScriptPhases, RunStoredScriptsAgainAndAppendTheirResults) {
    collect({"71[ 9F18[11223344] 86[84180000] ]"});
    emvScriptProcess(1);
    emvScriptProcess(1);
    EXPECT_THAT(reader().commands(), ElementsAre(unblock, unblock));
    EXPECT_TRUE(entries_are({"2011223344", "2011223344"}));
    EXPECT_EQ(final_entries(), 2);
}

}  // namespace
}  // namespace quorrin::test
