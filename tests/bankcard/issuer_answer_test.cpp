// The issuer's answer taken back to the card: ARPCExeScript and EXTERNAL AUTHENTICATE.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class IssuerAnswer : public BankCardTest {
  protected:
    IssuerAnswer() {
        ReaderHandle = handle;
        gucGetArqcFlag = 1;
        reader().card = [](const ByteString&) { return answer("9000"); };
    }
    ~IssuerAnswer() override { gucGetArqcFlag = 0; }

    static std::int64_t take(const std::string& text) {
        return ARPCExeScript(handle, 0, text.c_str());
    }
    // The issuer's data in card notation, as they come in hex text.
    static std::int64_t take_data(std::string_view data) { return take(to_hex(card_bytes(data))); }

    void expect_nothing_happened() {
        EXPECT_THAT(reader().calls, IsEmpty());
        EXPECT_EQ(present_elements(), Elements{});
        EXPECT_EQ(gl_Iss_NumScriptRslt, 0);
        EXPECT_EQ(to_hex(gl_Tm_TSI), "0000");
    }
    static std::string results() {
        const auto count = static_cast<std::size_t>(emvGetIssScrptRsltNumber());
        return to_hex({emvGetIssScrptRslt(), count});
    }
};

constexpr char nothing_to_authenticate[] = "0082000000";

// --- the flag ---

TEST_F(IssuerAnswer, IsRefusedBeforeAnArqcWasObtained) {
    gucGetArqcFlag = 0;
    EXPECT_EQ(take_data("8A[3030] 91[0102030405060708] 71[ 86[84180000] ]"), -120);
    EXPECT_EQ(ARPCExeScript(handle, 0, nullptr), -120);
    expect_nothing_happened();
}

TEST_F(IssuerAnswer, IsRefusedForAnyOtherValueOfTheFlag) {
    gucGetArqcFlag = 2;
    EXPECT_EQ(take_data("8A[3030] 91[0102030405060708]"), -120);
    expect_nothing_happened();
}

TEST_F(IssuerAnswer, LeavesTheFlagSo) {
    EXPECT_EQ(take_data("8A[3030]"), 0);
    EXPECT_EQ(gucGetArqcFlag, 1);
    EXPECT_EQ(take_data("8A[3030]"), 0);
}

// --- the text ---

TEST_F(IssuerAnswer, IsStoredAndGoesToTheCard) {
    EXPECT_EQ(
        ARPCExeScript(handle, 0x7FFFFFFFFFFFFFFF, "8A023030890641424331323391080102030405060708"),
        0);
    EXPECT_EQ(present_elements(),
              (Elements{{"8A", "3030"}, {"89", "414243313233"}, {"91", "0102030405060708"}}));
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 01: 00820000080102030405060708"));
}

TEST_F(IssuerAnswer, IsReadInLowerCaseToo) {
    EXPECT_EQ(take("8a023030910aa1b2c3d4e5f60000aabb"), 0);
    EXPECT_EQ(element("8A"), value("3030"));
    EXPECT_EQ(element("91"), value("A1B2C3D4E5F60000AABB"));
}

TEST_F(IssuerAnswer, OfOddLengthDoesNotCountItsLastDigit) {
    EXPECT_EQ(take("8A0230309108010203040506070"), 0);
    EXPECT_EQ(present_elements(), (Elements{{"8A", "3030"}}));
    EXPECT_EQ(take("910801020304050607081"), 0);
    EXPECT_EQ(element("91"), value("0102030405060708"));
}

TEST_F(IssuerAnswer, MayHave1024Characters) {
    const ByteString data =
        join(hex("8A023030"), object("C1", filled(494, 0x55)), hex("91080102030405060708"));
    ASSERT_EQ(to_hex(data).size(), 1024u);
    EXPECT_EQ(take(to_hex(data)), 0);
    EXPECT_EQ(element("91"), value("0102030405060708"));
}

TEST_F(IssuerAnswer, WithMoreThan1024CharactersIsRefused) {
    const ByteString data =
        join(hex("8A023030"), object("C1", filled(494, 0x55)), hex("91080102030405060708"));
    EXPECT_EQ(take(to_hex(data) + "0"), -23);
    EXPECT_EQ(take(to_hex(data) + to_hex(data)), -23);
    expect_nothing_happened();
}

TEST_F(IssuerAnswer, MustNotBeANullPointer) {
    EXPECT_EQ(ARPCExeScript(handle, 0, nullptr), -14);
    expect_nothing_happened();
}

TEST_F(IssuerAnswer, OfAnyCharactersIsSurvived) {
    std::string text;
    for (int i = 0; i < 1024; ++i) {
        text += static_cast<char>(i % 255 + 1);
    }
    EXPECT_EQ(take(text), 0);
    EXPECT_THAT(commands(), ElementsAre(nothing_to_authenticate));
}

// --- EXTERNAL AUTHENTICATE ---

TEST_F(IssuerAnswer, WithoutAuthenticationDataAuthenticatesWithNone) {
    EXPECT_EQ(take(""), 0);
    EXPECT_EQ(take_data("8A[3030]"), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 01: 0082000000", "Send 7 01: 0082000000"));
}

TEST_F(IssuerAnswer, WithAuthenticationDataOf16BytesAuthenticatesWithAll) {
    EXPECT_EQ(take_data("91[000102030405060708090A0B0C0D0E0F]"), 0);
    EXPECT_THAT(commands(), ElementsAre("0082000010000102030405060708090A0B0C0D0E0F"));
}

TEST_F(IssuerAnswer, DeliberatelySucceedsWhenTheCardRefusesEverything) {
    reader().card = [](const ByteString&) { return answer("6985"); };
    EXPECT_EQ(take_data("91[0102030405060708] 71[ 86[84180000] ] 72[ 86[841E0000] ]"), 0);
    EXPECT_THAT(commands(),
                ElementsAre("00820000080102030405060708", "841800000000", "841E00000000"));
    EXPECT_EQ(results(),
              "2000000000"
              "2000000000");
    EXPECT_EQ(to_hex(gl_Tm_TVR), "0000000000");
    EXPECT_EQ(to_hex(gl_Tm_TSI), "0400");
}

TEST_F(IssuerAnswer, DeliberatelySucceedsWhenTheReaderIsGone) {
    reader().card = [](const ByteString&) { return failure(-11); };
    EXPECT_EQ(take_data("91[0102030405060708] 71[ 86[84180000] ]"), 0);
    EXPECT_EQ(CARD_STATUS, -11);
    EXPECT_EQ(results(), "2000000000");
}

TEST_F(IssuerAnswer, ExternalAuthenticateReportsHowTheCardRefuses) {
    for (const Refusal& refusal : refusals()) {
        reader().card = [&](const ByteString&) { return refusal.answer; };
        EXPECT_EQ(emvExternalAuthenticate(handle), refusal.code) << refusal.name;
    }
}

TEST_F(IssuerAnswer, ExternalAuthenticateDeliberatelySendsWhatIsStoredPresentOrNot) {
    put("91", hex("0102030405060708"));
    EXPECT_EQ(emvExternalAuthenticate(5), 0);
    // The length counts, not the presence.
    const std::uint8_t tag = 0x91;
    emvSetDataElementState(&tag, 1, 0);
    EXPECT_EQ(emvExternalAuthenticate(5), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Send 5 01: 00820000080102030405060708",
                                            "Send 5 01: 00820000080102030405060708"));
}

TEST_F(IssuerAnswer, ExternalAuthenticateNeverSendsMoreThanTheElementHolds) {
    put("91", hex("000102030405060708090A0B0C0D0E0F"));
    const std::uint8_t tag = 0x91;
    emvSetDataElementLength(&tag, 1, 0xFF, 0);
    EXPECT_EQ(emvExternalAuthenticate(handle), 0);
    // The length counts in eight bits.
    emvSetDataElementLength(&tag, 1, 0x108, 0);
    EXPECT_EQ(emvExternalAuthenticate(handle), 0);
    EXPECT_THAT(commands(), ElementsAre("0082000010000102030405060708090A0B0C0D0E0F",
                                        "00820000080001020304050607"));
}

// --- scripts ---

TEST_F(IssuerAnswer, RunsScripts71BeforeScripts72AfterTheAuthentication) {
    EXPECT_EQ(take_data(R"(
        72[ 9F18[72000001] 86[841E0001] ]
        71[ 9F18[71000001] 86[84180001] ]
        91[0102030405060708]
        72[ 9F18[72000002] 86[841E0002] ]
        71[ 9F18[71000002] 86[84180002] ])"),
              0);
    EXPECT_THAT(commands(), ElementsAre("00820000080102030405060708", "841800010000",
                                        "841800020000", "841E00010000", "841E00020000"));
    EXPECT_EQ(results(),
              "2071000001"
              "2071000002"
              "2072000001"
              "2072000002");
    EXPECT_EQ(to_hex(gl_Tm_TVR), "0000000000");
    EXPECT_EQ(to_hex(gl_Tm_TSI), "0400");
}

TEST_F(IssuerAnswer, SendsScriptsToReaderHandleAndTheAuthenticationToTheGivenOne) {
    ReaderHandle = 12;
    EXPECT_EQ(ARPCExeScript(5, 0, "7106860484180000"), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Send 5 01: 0082000000", "Send 12 01: 841800000000"));
}

TEST_F(IssuerAnswer, DeliberatelyRepeatsWhatIsStoredWhenTheNextOneLacksIt) {
    EXPECT_EQ(take_data("91[0102030405060708] 71[ 9F18[11223344] 86[84180000] ]"), 0);
    EXPECT_EQ(take_data("8A[3030]"), 0);
    EXPECT_THAT(commands(), ElementsAre("00820000080102030405060708", "841800000000",
                                        "00820000080102030405060708", "841800000000"));
    EXPECT_EQ(results(),
              "2011223344"
              "2011223344");
}

TEST_F(IssuerAnswer, ANewSelectionForgetsTheStoredOne) {
    EXPECT_EQ(take_data("91[0102030405060708] 71[ 86[84180000] ]"), 0);
    emvSelectAid(handle, "A000000333010101");
    reader().calls.clear();
    EXPECT_EQ(take(""), 0);
    EXPECT_THAT(commands(), ElementsAre(nothing_to_authenticate));
    EXPECT_EQ(results(), "");
}

TEST_F(IssuerAnswer, WithMoreThanTwelveScriptsRunsThemAllAndRecordsTwelve) {
    std::string data = "91[0102030405060708]";
    std::vector<std::string> expected{"00820000080102030405060708"};
    for (int i = 0; i < 13; ++i) {
        data += " 71[ 86[84180000] ]";
        expected.push_back("841800000000");
    }
    EXPECT_EQ(take_data(data), 0);
    EXPECT_EQ(commands(), expected);
    EXPECT_EQ(gl_Iss_NumScriptRslt, 13);
    std::string twelve;
    for (int i = 0; i < 12; ++i) {
        twelve += "2000000000";
    }
    EXPECT_EQ(to_hex(gl_Iss_ScriptRslt), twelve);
}

TEST_F(IssuerAnswer, WithMoreThan256BytesOfScriptsRunsNone) {
    EXPECT_EQ(take_data("91[0102030405060708] 71[ 86[84DC0000 F0 AB*240] ] 71[ 86[84180000] ]"), 0);
    EXPECT_THAT(commands(), ElementsAre("00820000080102030405060708"));
    EXPECT_EQ(to_hex(gl_Tm_TSI), "0000");
}

// Every cut of an answer, and every byte of it turned into another.
TEST_F(IssuerAnswer, MalformedInAnyPlaceIsSurvived) {
    const ByteString whole = card_bytes(R"(
        8A[3030] 89['ABC123'] 91[0102030405060708]
        71[ 9F18[11223344] 86[84DA9F7909 9F79 06 000000010000] ] 72[ 86[84180000] 86[841E0000] ])");
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const ByteString cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_EQ(take(to_hex(cut)), 0);
        for (const int byte : {0x00, 0x1F, 0x71, 0x7F, 0x80, 0x82, 0x84, 0x86, 0xFF}) {
            ByteString changed = whole;
            changed[i] = static_cast<std::uint8_t>(byte);
            reader().calls.clear();
            EXPECT_EQ(take(to_hex(changed)), 0);
            EXPECT_TRUE(commands().at(0).starts_with("00820000"));
        }
    }
}

}  // namespace
}  // namespace quorrin::test
