// The issuer's answer: response code, electronic cash authorisation, scripts and their results.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class IssuerResults : public AccessorTest {};

ByteString script_results() {
    return {std::begin(gl_Iss_ScriptRslt), std::end(gl_Iss_ScriptRslt)};
}

TEST_F(IssuerResults, ResponseCodeIsSetPresent) {
    const StoreImage before;
    emvSetARC(ExactBytes(text_bytes("00")).data());
    EXPECT_THAT(before.changed(), ElementsAre("8A"));
    EXPECT_EQ(stored("8A"), hex("3030"));
    EXPECT_EQ(row("8A").curLen, 2);
    EXPECT_EQ(emvInARC(), 1);
}

TEST_F(IssuerResults, NullResponseCodeIsNotSet) {
    const StoreImage before;
    emvSetARC(nullptr);
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(IssuerResults, CashAuthorisationCountsOnlyWhereTheTerminalSupportsCash) {
    EXPECT_EQ(emvExistISSAuth(), 0);
    put("9F74", hex("313233343536"));
    EXPECT_EQ(emvExistISSAuth(), 0);
    put("9F7A", hex("01"));
    EXPECT_EQ(emvExistISSAuth(), 1);
    set_state_of("9F74", 0);
    EXPECT_EQ(emvExistISSAuth(), 0);
    set_state_of("9F74", 1);
    for (const char* other : {"00", "02", "11", "81"}) {
        put("9F7A", hex(other));
        EXPECT_EQ(emvExistISSAuth(), 0) << other;
    }
}

TEST_F(IssuerResults, CashAuthorisationTellsAnyOtherStateAsItStands) {
    put("9F7A", hex("01"));
    put("9F74", hex("313233343536"));
    row("9F74").state = 2;
    EXPECT_EQ(emvExistISSAuth(), 2);
}

TEST_F(IssuerResults, DeliberatelyTheCashIndicatorIsReadWhetherOrNotItIsPresent) {
    put("9F7A", hex("01"));
    set_state_of("9F7A", 0);
    EXPECT_EQ(emvExistISSAuth(), 0);
    put("9F74", hex("313233343536"));
    EXPECT_EQ(emvExistISSAuth(), 1);
    row("9F74").state = 2;
    EXPECT_EQ(emvExistISSAuth(), 2);
}

TEST_F(IssuerResults, CashIndicatorThatWasNeverStoredDoesNotCount) {
    put("9F74", hex("313233343536"));
    gl_Tm_VisaVLP[0] = 0x01;
    ASSERT_EQ(row("9F7A").curLen, 0);
    EXPECT_EQ(emvExistISSAuth(), 0);
    set_state_of("9F7A", 1);
    EXPECT_EQ(emvExistISSAuth(), 0);
}

TEST_F(IssuerResults, CashAuthorisationNeedsAReadableIndicator) {
    put("9F74", hex("313233343536"));
    put("9F7A", hex("01"));
    row("9F7A").format = 9;
    EXPECT_EQ(emvExistISSAuth(), 0);
}

TEST_F(IssuerResults, CashIndicatorIsReadFromItsStorageAlone) {
    put("9F74", hex("313233343536"));
    put("9F7A", hex("01"));
    set_length_of("9F7A", 0xFFFF, Current);
    EXPECT_EQ(emvExistISSAuth(), 1);
}

TEST_F(IssuerResults, ScriptLengthIsThatOfTheFirstTemplatePresent) {
    EXPECT_EQ(emvGetIssuerScriptLength(), 0);
    set_length_of("71", 0x0171, Current);
    set_length_of("72", 0x0172, Current);
    EXPECT_EQ(emvGetIssuerScriptLength(), 0);
    set_state_of("72", 1);
    EXPECT_EQ(emvGetIssuerScriptLength(), 0x0172);
    set_state_of("71", 1);
    EXPECT_EQ(emvGetIssuerScriptLength(), 0x0171);
    set_state_of("72", 0);
    EXPECT_EQ(emvGetIssuerScriptLength(), 0x0171);
}

TEST_F(IssuerResults, DeliberatelyScriptLengthIsSetForBothTemplatesAndNoPresence) {
    const StoreImage before;
    emvSetIssuerScriptLength(0x0102);
    EXPECT_THAT(before.changed(), ElementsAre("71", "72"));
    EXPECT_EQ(row("71").curLen, 0x0102);
    EXPECT_EQ(row("72").curLen, 0x0102);
    EXPECT_EQ(row("71").state, 0);
    EXPECT_EQ(row("72").state, 0);

    for (const char* tag : {"71", "72"}) {
        set_state_of(tag, 1);
    }
    emvSetIssuerScriptLength(0x0203);
    EXPECT_THAT(before.changed(), ElementsAre("71", "72"));
    for (const char* tag : {"71", "72"}) {
        EXPECT_EQ(row(tag).curLen, 0x0203) << tag;
        EXPECT_EQ(row(tag).state, 1) << tag;
    }
}

TEST_F(IssuerResults, ScriptResultsAreEntriesOfFiveBytes) {
    EXPECT_EQ(emvGetIssScrptRsltNumber(), 0);
    EXPECT_EQ(emvSetIssScrptRslt(2, 1), 0);
    EXPECT_EQ(emvSetIssScrptRsltID(ExactBytes(hex("11223344")).data()), 0);
    EXPECT_EQ(emvGetIssScrptRsltNumber(), 0);
    emvIncIssScrptRslt();
    EXPECT_EQ(emvGetIssScrptRsltNumber(), 5);
    EXPECT_EQ(emvSetIssScrptRsltID(hex("55667788").data()), 0);
    EXPECT_EQ(emvSetIssScrptRslt(1, 15), 0);
    emvIncIssScrptRslt();
    EXPECT_EQ(emvGetIssScrptRsltNumber(), 10);
    EXPECT_EQ(script_results(), join(hex("2111223344 1F55667788"), filled(50, 0x00)));
}

TEST_F(IssuerResults, ScriptSequenceIsCappedAndTheResultShifted) {
    const struct {
        std::uint8_t result, sequence;
        const char* byte;
    } cases[] = {
        {0, 0, "00"},  {2, 0, "20"},   {1, 14, "1E"},  {1, 15, "1F"},
        {1, 16, "1F"}, {0, 255, "0F"}, {15, 15, "FF"}, {0x12, 3, "23"},
    };
    for (const auto& expected : cases) {
        EXPECT_EQ(emvSetIssScrptRslt(expected.result, expected.sequence), 0);
        EXPECT_EQ(script_results(), join(hex(expected.byte), filled(59, 0x00)));
    }
}

TEST_F(IssuerResults, TheTwelfthScriptResultIsTheLast) {
    gl_Iss_NumScriptRslt = 11;
    EXPECT_EQ(emvSetIssScrptRslt(2, 3), 0);
    EXPECT_EQ(emvSetIssScrptRsltID(hex("AABBCCDD").data()), 0);
    EXPECT_EQ(script_results(), join(filled(55, 0x00), hex("23AABBCCDD")));
}

TEST_F(IssuerResults, DeliberatelyResultsPastTheTwelfthAreCountedButNotWritten) {
    for (int count = 0; count < 12; ++count) {
        emvIncIssScrptRslt();
    }
    const StoreImage before;
    for (int count = 12; count < 256; ++count) {
        EXPECT_EQ(emvGetIssScrptRsltNumber(), count * 5);
        EXPECT_EQ(emvSetIssScrptRslt(2, 1), 0);
        EXPECT_EQ(emvSetIssScrptRsltID(hex("11223344").data()), -31);
        EXPECT_EQ(gl_Iss_NumScriptRslt, count);
        emvIncIssScrptRslt();
    }
    EXPECT_EQ(emvGetIssScrptRsltNumber(), 0);
    EXPECT_EQ(script_results(), filled(60, 0x00));
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(IssuerResults, NullScriptIdentifierIsRejected) {
    EXPECT_EQ(emvSetIssScrptRsltID(nullptr), 49);
    EXPECT_EQ(script_results(), filled(60, 0x00));
}

}  // namespace
}  // namespace quorrin::test
