// emvCheckIssuerScript: which scripts are valid, and what a refused one leaves in the current
// result entry and the TVR.

#include "tests/tlv/issuer/issuer_script_fixture.hpp"

namespace quorrin::test {
namespace {

class ScriptCheck : public IssuerScriptTest {
  protected:
    void TearDown() override {
        // A check sends nothing, moves no count and reports no processing.
        EXPECT_TRUE(reader().calls.empty());
        EXPECT_EQ(final_entries(), 0);
        EXPECT_EQ(tsi(), not_performed);
    }
    void expect_nothing_recorded() {
        EXPECT_EQ(tvr(), nothing_failed);
        EXPECT_TRUE(entries_are({}));
        EXPECT_EQ(gl_cScptIDExist, 0);
        EXPECT_EQ(element("9F18"), "absent");
    }
};

// --- valid scripts ---

TEST_F(ScriptCheck, AcceptsIdentifierAndCommandsAndNotesTheIdentifier) {
    EXPECT_EQ(check("71[ 9F18[11223344] 86[84180000] 86[841E000004 01020304] ]"), 0);
    EXPECT_EQ(element("9F18"), "11223344");
    EXPECT_EQ(gl_cScptIDExist, 1);
    EXPECT_TRUE(entries_are({"0011223344"}));
    EXPECT_EQ(tvr(), nothing_failed);
}

TEST_F(ScriptCheck, AcceptsTheIdentifierBehindTheCommands) {
    EXPECT_EQ(check("72[ 86[84180000] 9F18[11223344] ]"), 0);
    EXPECT_EQ(gl_cScptIDExist, 1);
    EXPECT_TRUE(entries_are({"0011223344"}));
}

TEST_F(ScriptCheck, AcceptsAScriptWithoutIdentifierAndRecordsNothing) {
    EXPECT_EQ(check("71[ 86[84180000] ]"), 0);
    expect_nothing_recorded();
}

TEST_F(ScriptCheck, AcceptsAnEmptyTemplate) {
    EXPECT_EQ(check("72[]"), 0);
    expect_nothing_recorded();
}

TEST_F(ScriptCheck, AcceptsCommandsOfAnyLength) {
    // Their length is judged when they are run.
    EXPECT_EQ(check("71[ 86[] 86[84] ]"), 0);
    expect_nothing_recorded();
}

TEST_F(ScriptCheck, LeavesTheResultByteOfTheEntryAlone) {
    emvSetIssScrptRslt(1, 7);
    EXPECT_EQ(check("71[ 9F18[11223344] ]"), 0);
    EXPECT_TRUE(entries_are({"1711223344"}));
}

// --- the identifier ---

TEST_F(ScriptCheck, AnEmptyIdentifierIsTheFirstOneAndIsNotStored) {
    EXPECT_EQ(check("71[ 9F18[] 86[84180000] ]"), 0);
    expect_nothing_recorded();
    // A second one is a foreign object then.
    EXPECT_EQ(check("71[ 9F18[] 9F18[11223344] ]"), -28);
}

TEST_F(ScriptCheck, AnIdentifierThatTheStoreRefusesCountsWithTheStoredValueAsItStands) {
    EXPECT_EQ(check("71[ 9F18[A1A2A3A4] ]"), 0);
    gl_cScptIDExist = 0;
    EXPECT_EQ(check("71[ 9F18[B1B2B3] ]"), 0);
    EXPECT_EQ(gl_cScptIDExist, 1);
    EXPECT_EQ(element("9F18"), "A1A2A3A4");
    EXPECT_TRUE(entries_are({"00A1A2A3A4"}));
}

TEST_F(ScriptCheck, ARefusedScriptWhoseIdentifierTheStoreRefusesIsRecordedUnderTheStoredOne) {
    EXPECT_EQ(check("71[ 9F18[A1A2A3A4] ]"), 0);
    EXPECT_EQ(check("71[ 9F18[B1B2B3] C1[00] ]"), -28);
    EXPECT_EQ(element("9F18"), "A1A2A3A4");
    EXPECT_TRUE(entries_are({"00A1A2A3A4"}));
    EXPECT_EQ(tvr(), script_71_failed);
}

TEST_F(ScriptCheck, AnOverLongIdentifierIsRefusedByTheStoreAndCopiedNowhere) {
    EXPECT_EQ(check("71[ 9F18[B1B2B3B4B5B6B7B8] 86[84180000] ]"), 0);
    EXPECT_EQ(gl_cScptIDExist, 1);
    EXPECT_EQ(element("9F18"), "absent");
    EXPECT_TRUE(entries_are({"0000000000"}));
}

TEST_F(ScriptCheck, AnOverLongIdentifierCountsAsNoneInTheRecordOfAMalformedScript) {
    EXPECT_EQ(check("71[ 9F18[B1B2B3B4B5] 8605 ]"), -31);
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(check("71[ 9F18[B1B2B3B4] 8605 ]"), -31);
    EXPECT_TRUE(entries_are({"00B1B2B3B4"}));
}

TEST_F(ScriptCheck, AShortIdentifierIsRecordedWithZerosBehindIt) {
    EXPECT_EQ(check("71[ 9F18[B1B2] 8605 ]"), -31);
    EXPECT_TRUE(entries_are({"00B1B20000"}));
}

// --- refused scripts: code, TVR and entry ---

struct RefusedCase {
    const char* name;
    const char* script;
    std::int32_t code;
    const char* tvr;
    const char* entry;
};

class RefusedScript : public ScriptCheck, public testing::WithParamInterface<RefusedCase> {};

TEST_P(RefusedScript, IsRecordedAsRefused) {
    // An entry that must not stay as it is.
    const ByteString stale = hex("E1E2E3E4");
    emvSetIssScrptRslt(2, 9);
    emvSetIssScrptRsltID(stale.data());
    EXPECT_EQ(check(GetParam().script), GetParam().code);
    EXPECT_EQ(tvr(), GetParam().tvr);
    EXPECT_TRUE(entries_are({GetParam().entry}));
}

constexpr RefusedCase refused_cases[] = {
    // Malformed somewhere.
    {"Malformed71", "71[ 9F18[11223344] 8605 ]", -31, "0000000020", "0011223344"},
    {"Malformed72", "72[ 9F18[11223344] 8605 ]", -31, "0000000010", "0011223344"},
    {"MalformedBehindACommand", "71[ 86[84180000] 8605 ]", -31, "0000000020", "0000000000"},
    {"MalformedBeforeTheIdentifier", "71[ 8680 9F18[11223344] ]", -31, "0000000020", "0000000000"},
    {"OuterLengthBeyondTheScript", "71 10 86[84180000]", -31, "0000000020", "0000000000"},
    {"OuterLengthIndefinite", "72 80 86[84180000] 0000", -31, "0000000010", "0000000000"},
    {"TagAlone", "71", -31, "0000000020", "0000000000"},
    {"MalformedBehindTheTemplate", "71[ 86[84180000] ] C105", -31, "0000000020", "0000000000"},
    // Well formed as a string, malformed as contents: padding is not skipped there.
    {"PaddingAtTheEnd", "71[ 86[84180000] 00 ]", -29, "0000000020", "1000000000"},
    {"PaddingBeforeTheCommand", "72[ FF 86[84180000] ]", -29, "0000000010", "0000000000"},
    {"TwoPaddingBytesAreAnObject", "72[ 0000 86[84180000] ]", -28, "0000000010", "0000000000"},
    {"PaddingAlone", "71[ FF ]", -29, "0000000020", "0000000000"},
    // Foreign objects.
    {"ForeignObjectFirst", "72[ 9F1A[0156] 86[84180000] ]", -28, "0000000010", "0000000000"},
    {"ForeignObjectBehindACommand", "72[ 86[84180000] 9F1A[0156] ]", -28, "0000000010",
     "1000000000"},
    {"ForeignObjectBehindIdentifier", "71[ 9F18[11223344] C1[00] ]", -28, "0000000020",
     "0011223344"},
    {"ForeignObjectBehindIdentifierAndCommand", "71[ 9F18[11223344] 86[84180000] C1[00] ]", -28,
     "0000000020", "1011223344"},
    {"SecondIdentifier", "71[ 9F18[11223344] 9F18[55667788] ]", -28, "0000000020", "0011223344"},
    {"SecondIdentifierBehindACommand", "71[ 9F18[11223344] 86[84180000] 9F18[55667788] ]", -28,
     "0000000020", "1011223344"},
    {"ScriptInsideAScript", "71[ 71[ 86[84180000] ] ]", -28, "0000000020", "0000000000"},
    // The identifier of an inner template is found by the search before the contents are walked.
    {"IdentifierInsideAForeignTemplate", "71[ A5[ 9F18[11223344] ] ]", -28, "0000000020",
     "0011223344"},
    {"TwoByteTagThatBeginsLikeACommand", "71[ 9F06[A000000003] ]", -28, "0000000020", "0000000000"},
};

INSTANTIATE_TEST_SUITE_P(IssuerData, RefusedScript, testing::ValuesIn(refused_cases),
                         [](const auto& test) { return std::string(test.param.name); });

// --- refused without a trace ---

struct UnrecordedCase {
    const char* name;
    const char* script;
};

class UnrecordedScript : public ScriptCheck, public testing::WithParamInterface<UnrecordedCase> {};

TEST_P(UnrecordedScript, GivesMinus30AndRecordsNothing) {
    const ByteString stale = hex("E1E2E3E4");
    emvSetIssScrptRslt(2, 9);
    emvSetIssScrptRsltID(stale.data());
    EXPECT_EQ(check(GetParam().script), -30);
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_TRUE(entries_are({"29E1E2E3E4"}));
    EXPECT_EQ(gl_cScptIDExist, 0);
    EXPECT_EQ(element("9F18"), "absent");
}

constexpr UnrecordedCase unrecorded_cases[] = {
    {"NoBytes", ""},
    {"OtherTag", "70[ 9F18[11223344] 86[84180000] ]"},
    {"OtherTagMalformed", "70[ 8605 ]"},
    {"PrimitiveTag", "86[84180000]"},
    {"TwoByteTag", "7F71[ 86[84180000] ]"},
    {"TwoByteTagMalformed", "7F71 05 86"},
    {"TagCutOff", "7F"},
    {"PaddingBeforeTheScript", "00 71[ 86[84180000] ]"},
    {"ShorterThanItsSize", "71[ 86[84180000] ] 71[]"},
    {"PaddingBehindTheScript", "71[ 9F18[11223344] ] 00"},
};

INSTANTIATE_TEST_SUITE_P(IssuerData, UnrecordedScript, testing::ValuesIn(unrecorded_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ScriptCheck, RefusesANullPointer) {
    EXPECT_EQ(emvCheckIssuerScript(nullptr, 0), -30);
    EXPECT_EQ(emvCheckIssuerScript(nullptr, 20), -30);
    expect_nothing_recorded();
}

// --- beyond 255 bytes ---

TEST_F(ScriptCheck, WalksContentsOf255Bytes) {
    const ByteString script = object("71", object("86", filled(252, 0x84)));
    ASSERT_EQ(script.size(), 3u + 255u);
    EXPECT_EQ(check(script), 0);
}

TEST_F(ScriptCheck, DeliberatelyCountsTheRemainingContentsModulo256) {
    // 256 bytes are left to be parsed as none at all, 261 as five.
    EXPECT_EQ(check(object("71", object("86", filled(253, 0x84)))), -29);
    EXPECT_TRUE(entries_are({"0000000000"}));
    EXPECT_EQ(check(object("71", join(hex("8603848484"), object("86", filled(253, 0x84))))), -29);
    EXPECT_TRUE(entries_are({"1000000000"}));
    EXPECT_EQ(check(object("71", object("86", filled(258, 0x84)))), -29);
    EXPECT_EQ(tvr(), script_71_failed);
}

TEST_F(ScriptCheck, AnIdentifierInAScriptOfMoreThan256BytesIsNotLookedForBeforehand) {
    const ByteString contents = join(object("86", filled(250, 0x84)), hex("9F180411223344"));
    EXPECT_EQ(check(object("71", join(contents, hex("8605")))), -31);
    EXPECT_TRUE(entries_are({"0000000000"}));
}

// --- the result list is full ---

TEST_F(ScriptCheck, WritesNoIdentifierOnceTwelveEntriesAreFinal) {
    gl_Iss_NumScriptRslt = 12;
    EXPECT_EQ(check("71[ 9F18[11223344] 8605 ]"), -31);
    EXPECT_EQ(check("71[ 9F18[11223344] C1[00] ]"), -28);
    EXPECT_TRUE(entries_are({}));
    EXPECT_EQ(gl_cScptIDExist, 1);
    EXPECT_EQ(tvr(), script_71_failed);
    gl_Iss_NumScriptRslt = 0;
}

TEST_F(ScriptCheck, WritesTheTwelfthEntry) {
    gl_Iss_NumScriptRslt = 11;
    EXPECT_EQ(check("71[ 9F18[11223344] ]"), 0);
    const ByteString last(std::end(gl_Iss_ScriptRslt) - 5, std::end(gl_Iss_ScriptRslt));
    EXPECT_EQ(to_hex(last), "0011223344");
    gl_Iss_NumScriptRslt = 0;
}

}  // namespace
}  // namespace quorrin::test
