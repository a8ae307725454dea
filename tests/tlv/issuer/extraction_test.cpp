// emvExtractIssuerData: what is taken from the issuer's answer, and from where in it.

#include "tests/tlv/issuer/issuer_script_fixture.hpp"

namespace quorrin::test {
namespace {

class IssuerDataExtraction : public IssuerScriptTest {
  protected:
    // Nothing at all was stored.
    void expect_untouched() {
        for (const char* tag : {"8A", "89", "91", "71", "72", "9F18"}) {
            EXPECT_EQ(element(tag), "absent") << tag;
        }
        EXPECT_TRUE(script_area_holds({}));
    }
};

TEST_F(IssuerDataExtraction, StoresResponseCodeAuthenticationDataAndScript) {
    EXPECT_EQ(extract("8A[3030] 91[0102030405060708] 71[ 9F18[11223344] 86[00DA9F5800] ]"), 0);
    EXPECT_EQ(element("8A"), "3030");
    EXPECT_EQ(element("89"), "absent");
    EXPECT_EQ(element("91"), "0102030405060708");
    EXPECT_TRUE(script_area_holds(hex("01 10 710E 9F180411223344 860500DA9F5800 00")));
    EXPECT_EQ(script_buffer_length(), 19);
    // Collecting neither runs a script nor records anything.
    EXPECT_TRUE(reader().calls.empty());
    EXPECT_TRUE(entries_are({}));
    EXPECT_EQ(tvr(), nothing_failed);
    EXPECT_EQ(tsi(), not_performed);
}

// --- the copy of at most 512 bytes ---

TEST_F(IssuerDataExtraction, TakesDataOf512Bytes) {
    const ByteString data =
        join(hex("8A023030"), object("C1", filled(494, 0x55)), hex("91080102030405060708"));
    ASSERT_EQ(data.size(), 512u);
    EXPECT_EQ(extract_bytes(data), 0);
    EXPECT_EQ(element("8A"), "3030");
    EXPECT_EQ(element("91"), "0102030405060708");
}

TEST_F(IssuerDataExtraction, StoresNothingOfMoreThan512Bytes) {
    const ByteString data =
        join(hex("8A023030 91080102030405060708 7102 8600"), object("C1", filled(491, 0x55)));
    ASSERT_EQ(data.size(), 513u);
    EXPECT_EQ(extract_bytes(data), 0);
    expect_untouched();
}

TEST_F(IssuerDataExtraction, TakesNoDataAndNoPointer) {
    EXPECT_EQ(emvExtractIssuerData(nullptr, 0), 0);
    EXPECT_EQ(emvExtractIssuerData(nullptr, 10), 0);
    EXPECT_EQ(extract_bytes(ByteString{}), 0);
    expect_untouched();
}

// --- leading elements ---

struct LeadingCase {
    const char* name;
    const char* data;
    const char* response_code;
    const char* authorisation_code;
};

class LeadingElements : public IssuerDataExtraction,
                        public testing::WithParamInterface<LeadingCase> {};

TEST_P(LeadingElements, CountAtTheStartOnlyAndInOrder) {
    EXPECT_EQ(extract(GetParam().data), 0);
    EXPECT_EQ(element("8A"), GetParam().response_code);
    EXPECT_EQ(element("89"), GetParam().authorisation_code);
    EXPECT_EQ(element("91"), "0102030405060708");
}

constexpr LeadingCase leading_cases[] = {
    {"ResponseCodeAlone", "8A[3030] 91[0102030405060708]", "3030", "absent"},
    {"ResponseThenAuthorisationCode", "8A[3030] 89['ABC123'] 91[0102030405060708]", "3030",
     "414243313233"},
    {"AuthorisationCodeAlone", "89['ABC123'] 91[0102030405060708]", "absent", "414243313233"},
    {"AuthorisationCodeFirstKeepsResponseCodeOut", "89['ABC123'] 8A[3030] 91[0102030405060708]",
     "absent", "414243313233"},
    {"ResponseCodeAfterAuthenticationDataIsIgnored", "91[0102030405060708] 8A[3030]", "absent",
     "absent"},
    {"AuthorisationCodeAfterAuthenticationDataIsIgnored",
     "8A[3030] 91[0102030405060708] 89['ABC123']", "3030", "absent"},
    {"AuthorisationCodeBehindAForeignObjectIsIgnored",
     "8A[3030] C1[00] 89['ABC123'] 91[0102030405060708]", "3030", "absent"},
    {"OnlyTheFirstResponseCode", "8A[3030] 8A[3531] 91[0102030405060708]", "3030", "absent"},
    {"OnlyTheFirstAuthorisationCode", "89['ABC123'] 89['XYZ789'] 91[0102030405060708]", "absent",
     "414243313233"},
    // What the store refuses is stepped over all the same.
    {"ResponseCodeOfThreeBytes", "8A[303030] 89['ABC123'] 91[0102030405060708]", "absent",
     "414243313233"},
    {"EmptyResponseCode", "8A[] 89['ABC123'] 91[0102030405060708]", "absent", "414243313233"},
    {"AuthorisationCodeOfFiveBytes", "8A[3030] 89['ABC12'] 91[0102030405060708]", "3030", "absent"},
    // A length in two bytes is as good as one.
    {"LongLengthField", "8A 8102 3030 89 8106 414243313233 91[0102030405060708]", "3030",
     "414243313233"},
    // Padding is not skipped: here 00 00 is an object of its own.
    {"PaddingBeforeResponseCode", "0000 8A[3030] 91[0102030405060708]", "absent", "absent"},
    {"PaddingBetweenResponseAndAuthorisationCode",
     "8A[3030] 0000 89['ABC123'] 91[0102030405060708]", "3030", "absent"},
};

INSTANTIATE_TEST_SUITE_P(IssuerData, LeadingElements, testing::ValuesIn(leading_cases),
                         [](const auto& test) { return std::string(test.param.name); });

// --- authentication data ---

TEST_F(IssuerDataExtraction, TakesTheFirstAuthenticationDataAndPassesOverLaterOnes) {
    extract("91[0102030405060708] 91[1112131415161718]");
    EXPECT_EQ(element("91"), "0102030405060708");
}

TEST_F(IssuerDataExtraction, TakesAuthenticationDataAfterScripts) {
    extract("71[ 86[00DA9F5800] ] 91[0102030405060708090A0B0C0D0E0F10]");
    EXPECT_EQ(element("91"), "0102030405060708090A0B0C0D0E0F10");
}

TEST_F(IssuerDataExtraction, AFirstAuthenticationDataOfAWrongLengthIsNotFollowedByAnotherTry) {
    extract("91[01020304050607] 91[1112131415161718]");
    EXPECT_EQ(element("91"), "absent");
}

TEST_F(IssuerDataExtraction, AuthenticationDataOf17BytesIsRefusedByTheStore) {
    extract("91[0102030405060708090A0B0C0D0E0F1011]");
    EXPECT_EQ(element("91"), "absent");
    EXPECT_EQ(to_hex(gl_Tm_IssAuthDt), to_hex(filled(16, 0)));
}

TEST_F(IssuerDataExtraction, AuthenticationDataInsideATemplateIsNotLookedFor) {
    extract("30[ 91[0102030405060708] ] 71[ 91[1112131415161718] ]");
    EXPECT_EQ(element("91"), "absent");
}

// --- scripts ---

TEST_F(IssuerDataExtraction, DeliberatelyCollectsScriptsOfBothKindsInReceivedOrderUnderOneElement) {
    extract("72[ 86[84180000] ] 8A[3030] 71[ 86[841E0000] ] C1[77] 72[ 86[84240000] ]");
    EXPECT_TRUE(script_area_holds(
        hex("03 08 7206 860484180000 08 7106 8604841E0000 08 7206 860484240000 00")));
    EXPECT_EQ(script_buffer_length(), 29);
    EXPECT_EQ(element("72"), "absent");
    EXPECT_EQ(element("8A"), "absent");
}

TEST_F(IssuerDataExtraction, DeliberatelyCountsOneZeroByteAfterTheLastScript) {
    extract("71[]");
    EXPECT_EQ(element("71"), "0102710000");
}

TEST_F(IssuerDataExtraction, KeepsAScriptAsReceivedWithItsLengthField) {
    extract("71 8106 860484180000");
    EXPECT_EQ(element("71"),
              "0109718106860484180000"
              "00");
}

TEST_F(IssuerDataExtraction, CollectsAScriptWhoseContentIsMalformed) {
    extract("71[ 8605 ]");
    EXPECT_EQ(element("71"), "01047102860500");
}

TEST_F(IssuerDataExtraction, StoresAScriptBufferOf256Bytes) {
    // Count, size, script of 253 bytes, zero byte.
    const ByteString script = object("71", object("86", filled(247, 0xAB)));
    ASSERT_EQ(script.size(), 253u);
    extract_bytes(script);
    EXPECT_TRUE(script_area_holds(join(hex("01 FD"), script, hex("00"))));
    EXPECT_EQ(script_buffer_length(), 256);
}

TEST_F(IssuerDataExtraction, StoresNoScriptAtAllWhenTheyExceed256Bytes) {
    const ByteString small = card_bytes("71[ 86[84180000] ]");
    const ByteString large = object("72", object("86", filled(239, 0xAB)));
    ASSERT_EQ(1 + 1 + small.size() + 1 + large.size() + 1, 257u);
    extract_bytes(join(hex("8A023030"), small, large));
    EXPECT_TRUE(script_area_holds({}));
    EXPECT_EQ(script_buffer_length(), 0);
    EXPECT_EQ(element("8A"), "3030");
}

TEST_F(IssuerDataExtraction, ScriptsThatDoNotFitLeaveTheEarlierOnesInPlace) {
    extract("71[ 86[84180000] ]");
    extract_bytes(object("72", filled(300, 0x11)));
    EXPECT_EQ(element("71"), "0108710686048418000000");
}

TEST_F(IssuerDataExtraction, SurvivesTheMostScriptsThat512BytesCanHold) {
    ByteString data;
    for (int i = 0; i < 256; ++i) {
        data = join(data, hex("7200"));
    }
    ASSERT_EQ(data.size(), 512u);
    extract_bytes(data);
    expect_untouched();
}

TEST_F(IssuerDataExtraction, StoresTheMostScriptsThatTheBufferHolds) {
    ByteString data;
    ByteString buffer = hex("54");  // 84 scripts
    for (int i = 0; i < 84; ++i) {
        data = join(data, hex("7100"));
        buffer = join(buffer, hex("027100"));
    }
    extract_bytes(data);
    EXPECT_TRUE(script_area_holds(join(buffer, hex("00"))));
    EXPECT_EQ(script_buffer_length(), 254);
}

TEST_F(IssuerDataExtraction, AnAnswerWithoutScriptsKeepsTheEarlierOnes) {
    extract("71[ 86[84180000] ]");
    extract("8A[3030]");
    EXPECT_EQ(element("71"), "0108710686048418000000");
}

// --- malformed data: it comes from a network ---

struct MalformedDataCase {
    const char* name;
    const char* data;
    const char* authentication_data;
    const char* scripts;
};

class MalformedIssuerData : public IssuerDataExtraction,
                            public testing::WithParamInterface<MalformedDataCase> {};

TEST_P(MalformedIssuerData, IsTakenAsFarAsItGoes) {
    EXPECT_EQ(extract(GetParam().data), 0);
    EXPECT_EQ(element("91"), GetParam().authentication_data);
    EXPECT_EQ(element("71"), GetParam().scripts);
}

constexpr MalformedDataCase malformed_data_cases[] = {
    {"ValueBeyondTheEnd", "71[] 91 10 0102030405060708", "absent", "0102710000"},
    {"ScriptBeyondTheEnd", "91[0102030405060708] 71 09 86[84180000]", "0102030405060708", "absent"},
    {"TagWithoutLength", "91[0102030405060708] 71", "0102030405060708", "absent"},
    {"TagCutOff", "91[0102030405060708] 9F", "0102030405060708", "absent"},
    // Two tag bytes are stepped over, then the walk goes on.
    {"TagThatNobodyHas", "5F80 91[0102030405060708]", "0102030405060708", "absent"},
    // The tag byte alone is stepped over; the length byte is taken for a tag then.
    {"IndefiniteLength", "C1 80 00 91[0102030405060708]", "0102030405060708", "absent"},
    // What is malformed is not the first authentication data yet.
    {"AuthenticationDataOfIndefiniteLength", "91 80 00 91[0102030405060708]", "0102030405060708",
     "absent"},
    {"LengthFieldBeyondTheEnd", "71[] 91 89 0102030405060708", "absent", "0102710000"},
    {"LengthOfThreeBytes", "91 83000008 0102030405060708", "0102030405060708", "absent"},
    // Of a long length field only the last two bytes count.
    {"LengthInFourBytes", "71 84 FFFF0000 91[0102030405060708]", "0102030405060708",
     "01067184FFFF000000"},
    {"LengthOf65535", "91[0102030405060708] C1 82FFFF 7100", "0102030405060708", "absent"},
    {"OnePaddingByte", "FF 91[0102030405060708]", "absent", "absent"},
    {"TwoByteTemplate", "7F71[00] 91[0102030405060708]", "0102030405060708", "absent"},
};

INSTANTIATE_TEST_SUITE_P(IssuerData, MalformedIssuerData, testing::ValuesIn(malformed_data_cases),
                         [](const auto& test) { return std::string(test.param.name); });

// Any cut of a full answer: no byte outside it is read (the heap block is exactly as long).
TEST_F(IssuerDataExtraction, SurvivesEveryCutOfAnAnswer) {
    const ByteString whole = card_bytes(
        "8A[3030] 89['ABC123'] 91[0102030405060708] 71[ 9F18[11223344] 86[00DA9F5800] ] 72[ 860484 "
        "]");
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        emvClrIccAndTermData();
        const ByteString cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(extract_bytes(cut), 0);
        EXPECT_EQ(element("8A"), length >= 4 ? "3030" : "absent") << length;
        EXPECT_EQ(element("89"), length >= 12 ? "414243313233" : "absent") << length;
        EXPECT_EQ(element("91"), length >= 22 ? "0102030405060708" : "absent") << length;
        EXPECT_EQ(script_buffer_length(), length >= whole.size() ? 25
                                          : length >= 38         ? 19
                                                                 : 0)
            << length;
    }
}

}  // namespace
}  // namespace quorrin::test
