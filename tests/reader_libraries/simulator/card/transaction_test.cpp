// GET PROCESSING OPTIONS, GENERATE AC, EXTERNAL AUTHENTICATE and the counters that they move.
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

class CardTransaction : public CardTest {
  protected:
    void open() {
        terminal.select(first_aid);
        ASSERT_EQ(terminal.get_options().status, 0x9000U);
        terminal.read_records();
    }
};

TEST_F(CardTransaction, GivesOptionsInFormat2AndCountsTheTransaction) {
    terminal.select(first_aid);
    EXPECT_EQ(terminal.data_value("9F36"), hex("0010"));
    EXPECT_EQ(to_hex(terminal.get_options().data),
              "770E82021C00940808010200"
              "18010100");
    EXPECT_EQ(terminal.data_value("9F36"), hex("0011"));
}

TEST_F(CardTransaction, GivesOptionsInFormat1) {
    Terminal format1(card_of(changed(test_profile(), "aip = \"1C00\"",
                                     "aip = \"1C00\"\nanswer_format = 1\nafl = \"08010200\"")));
    format1.select(first_aid);
    EXPECT_EQ(to_hex(format1.get_options().data), "80061C0008010200");
}

TEST_F(CardTransaction, GivesOptionsWithoutFileLocator) {
    terminal.select(second_aid);
    EXPECT_EQ(to_hex(terminal.get_options().data), "770482020000");
}

TEST_F(CardTransaction, GivesOptionsOnceForASelection) {
    open();
    EXPECT_EQ(terminal.get_options().status, 0x6985U);
    EXPECT_EQ(terminal.data_value("9F36"), hex("0011"));
    terminal.select(first_aid);
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    EXPECT_EQ(terminal.data_value("9F36"), hex("0012"));
}

TEST_F(CardTransaction, EndsWhenTheCounterIsUsedUp) {
    Terminal last(card_of(changed(test_profile(), "atc = 16", "atc = 65535")));
    last.select(first_aid);
    EXPECT_EQ(last.get_options().status, 0x6985U);
}

TEST_F(CardTransaction, GivesAnArqcThatTheBankFindsRight) {
    terminal.purchase(first_aid);
    EXPECT_EQ(terminal.cryptogram_answer.at(0), 0x77);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("80"));
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F36"), hex("0011"));
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10"), hex("07010103A0000001"));
    const auto checked = answer();
    EXPECT_TRUE(checked.cryptogram_right) << checked.reason;
}

TEST_F(CardTransaction, TakesTheLatestValueThatTheTerminalDelivered) {
    // 9F02 comes with the PDOL and with CDOL1; the bank knows the latter.
    open();
    terminal.values["9F02"] = hex("000000098700");
    EXPECT_EQ(terminal.generate_ac(0x80).status, 0x9000U);
    EXPECT_TRUE(answer().cryptogram_right);
}

TEST_F(CardTransaction, CountsElementsThatNobodyDeliveredAsZeros) {
    Terminal poor(card_of(changed(test_profile(), "9F1A 02 95 05", "9F1A 02")));
    poor.purchase(first_aid);
    auto request = poor.online_request();
    EXPECT_FALSE(bank::answer_online(test_bank(), request).cryptogram_right);
    request.covered.terminal_verification = {};
    EXPECT_TRUE(bank::answer_online(test_bank(), request).cryptogram_right);
}

TEST_F(CardTransaction, GivesTcAndAacOnRequestAndEndsThere) {
    for (const std::uint8_t type : hex("4000")) {
        open();
        EXPECT_EQ(terminal.generate_ac(type).status, 0x9000U);
        EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), ByteString{type});
        EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(4),
                  type == 0 ? 0x80 : 0x90);
        EXPECT_TRUE(answer().cryptogram_right);
        EXPECT_EQ(terminal.generate_ac(0x00).status, 0x6985U);
        EXPECT_EQ(terminal.authenticate(answer()).status, 0x6985U);
    }
}

TEST_F(CardTransaction, GivesTheSecondCryptogramOverTheSecondList) {
    terminal.purchase(first_aid);
    EXPECT_EQ(terminal.authenticate(answer()).status, 0x9000U);
    terminal.values["9F37"] = hex("99887766");
    EXPECT_EQ(terminal.generate_ac(0x80).status, 0x6985U);  // no second ARQC
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("40"));
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10"), hex("0701010360000001"));
    EXPECT_TRUE(answer().cryptogram_right);
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x6985U);
}

TEST_F(CardTransaction, ChecksSizeAndParametersOfGenerateAc) {
    open();
    EXPECT_EQ(terminal.send("80AE8000").status, 0x6700U);
    EXPECT_EQ(terminal.send("80AE800001 00 00").status, 0x6700U);
    EXPECT_EQ(terminal.send("80AEC000").status, 0x6A86U);
    EXPECT_EQ(terminal.send("80AE9000").status, 0x6A86U);
    EXPECT_EQ(terminal.send("80AE8001").status, 0x6A86U);
    EXPECT_EQ(terminal.generate_ac(0x80).status, 0x9000U);  // no refusal has moved anything
}

TEST_F(CardTransaction, RefusesGenerateAcBeforeTheOptions) {
    terminal.select(first_aid);
    EXPECT_EQ(terminal.send("80AE8000").status, 0x6985U);
}

TEST_F(CardTransaction, CountsAsOnlineOnceTheIssuerIsAuthenticated) {
    terminal.purchase(first_aid);
    EXPECT_EQ(terminal.data_value("9F13"), hex("000C"));
    EXPECT_EQ(terminal.authenticate(answer()).status, 0x9000U);
    EXPECT_EQ(terminal.data_value("9F13"), hex("0011"));
    EXPECT_EQ(terminal.authenticate(answer()).status, 0x6985U);
}

TEST_F(CardTransaction, RefusesAnArpcWithAnyBitFlipped) {
    terminal.purchase(first_aid);
    const ByteString right = expect_element(answer().issuer_data, "91");
    ASSERT_EQ(right.size(), 10U);
    for (std::size_t bit = 0; bit < right.size() * 8; ++bit) {
        terminal.purchase(first_aid);
        ByteString data = expect_element(answer().issuer_data, "91");
        data[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        EXPECT_EQ(terminal.send(join(hex("008200000A"), data)).status, 0x6300U) << bit;
        // One attempt for a transaction, the right answer included.
        EXPECT_EQ(terminal.authenticate(answer()).status, 0x6985U) << bit;
        EXPECT_EQ(terminal.data_value("9F13"), hex("000C")) << bit;
    }
}

TEST_F(CardTransaction, IsFoundWrongByTheBankWithAnyCryptogramBitFlipped) {
    terminal.purchase(first_aid);
    for (std::size_t bit = 0; bit < 64; ++bit) {
        auto request = terminal.online_request();
        request.arqc[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        EXPECT_FALSE(bank::answer_online(test_bank(), request).cryptogram_right) << bit;
    }
}

TEST_F(CardTransaction, ChecksTheSizeOfIssuerAuthenticationData) {
    terminal.purchase(first_aid);
    EXPECT_EQ(terminal.send("0082000000").status, 0x6700U);
    EXPECT_EQ(terminal.send("0082000007 00000000000000").status, 0x6700U);
    EXPECT_EQ(terminal.send(join(hex("0082000011"), filled(17, 0))).status, 0x6700U);
    EXPECT_EQ(terminal.authenticate(answer()).status, 0x9000U);
}

TEST_F(CardTransaction, IsDeclinedAfterAWrongArpc) {
    terminal.purchase(first_aid);
    EXPECT_EQ(terminal.send(join(hex("008200000A"), filled(10, 0))).status, 0x6300U);
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("00"));
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(4), 0x28);
}

TEST_F(CardTransaction, TellsInTheNextOneThatTheLastWasNotFinishedOnline) {
    terminal.purchase(first_aid);
    terminal.purchase(first_aid);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(5), 0x80);
    EXPECT_TRUE(answer().cryptogram_right);
    terminal.authenticate(answer());
    terminal.purchase(first_aid);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(5), 0x00);
}

TEST_F(CardTransaction, FollowsTheStatusUpdateOfArpcMethod2) {
    Terminal method2(card_of(changed(test_profile(), "[keys]", "arpc_method = 2\n[keys]")));
    auto bank = test_bank();
    bank.arpc_method = cryptography::ArpcMethod::Method2;
    method2.purchase(first_aid);
    bank::Decision decision;
    decision.status_update = {0x01, 0x30, 0x00, 0x00};  // one PIN try, block the application
    const auto answered = bank::answer_online(bank, method2.online_request(), decision);
    EXPECT_EQ(method2.authenticate(answered).status, 0x9000U);
    EXPECT_EQ(method2.data_value("9F17"), hex("01"));
    EXPECT_EQ(method2.select(first_aid).status, 0x6283U);
}

TEST_F(CardTransaction, PaysFromElectronicCashWhatItMay) {
    terminal.values["9F7A"] = hex("01");
    const auto pay = [&](const char* amount) {
        terminal.values["9F02"] = hex(amount);
        open();
        EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
        return to_hex(expect_element(terminal.cryptogram_answer, "9F27"));
    };
    EXPECT_EQ(pay("000000004999"), "40");
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000005001"));
    EXPECT_EQ(pay("000000005001"), "80");  // above the limit of one payment
    EXPECT_EQ(pay("000000005000"), "40");
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000000001"));
    EXPECT_EQ(pay("000000000002"), "80");  // above the balance
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000000001"));
    EXPECT_EQ(pay("000000000001"), "40");  // all that there is
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000000000"));
}

TEST_F(CardTransaction, LeavesElectronicCashAloneWithoutTheTerminalsIndicator) {
    terminal.values["9F02"] = hex("000000000100");
    open();
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000010000"));
}

TEST_F(CardTransaction, GivesEightRandomBytes) {
    const auto first = terminal.send("0084000000");
    EXPECT_EQ(first.status, 0x9000U);
    EXPECT_EQ(first.data.size(), 8U);
    EXPECT_NE(first.data, terminal.send("0084000008").data);
}

TEST_F(CardTransaction, GivesDataObjectsByTag) {
    terminal.select(first_aid);
    EXPECT_EQ(to_hex(terminal.get_data("9F79").data), "9F7906000000010000");
    EXPECT_EQ(terminal.data_value("9F77"), hex("000000100000"));
    EXPECT_EQ(terminal.data_value("9F78"), hex("000000005000"));
    EXPECT_EQ(terminal.data_value("9F17"), hex("03"));
    EXPECT_EQ(terminal.data_value("9F4F"), hex("9A039F02069F36029F4E04"));
    EXPECT_EQ(terminal.data_value("DF4F"), hex("9A039F3602"));
    EXPECT_EQ(terminal.get_data("9F6D").status, 0x6A88U);
    terminal.select(second_aid);
    EXPECT_EQ(terminal.get_data("9F17").status, 0x6A88U);
    EXPECT_EQ(terminal.get_data("9F4F").status, 0x6A88U);
    terminal.select(text_bytes("1PAY.SYS.DDF01"));
    EXPECT_EQ(terminal.get_data("9F36").status, 0x6985U);
}

}  // namespace
}  // namespace quorrin::test
