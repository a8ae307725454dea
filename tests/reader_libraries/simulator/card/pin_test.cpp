// VERIFY.
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

class CardPin : public CardTest {
  protected:
    void SetUp() override { terminal.select(first_aid); }
};

TEST_F(CardPin, IsTakenAndTheTriesComeBack) {
    EXPECT_EQ(terminal.send("0020008008 241111FFFFFFFFFF").status, 0x63C2U);
    EXPECT_EQ(terminal.data_value("9F17"), hex("02"));
    EXPECT_EQ(terminal.send("0020008008 241234FFFFFFFFFF").status, 0x9000U);
    EXPECT_EQ(terminal.data_value("9F17"), hex("03"));
}

TEST_F(CardPin, IsBlockedAfterTheLastTryAndStaysSo) {
    EXPECT_EQ(terminal.send("0020008008 241111FFFFFFFFFF").status, 0x63C2U);
    EXPECT_EQ(terminal.send("0020008008 2512345FFFFFFFFF").status, 0x63C1U);
    EXPECT_EQ(terminal.send("0020008008 241111FFFFFFFFFF").status, 0x63C0U);
    EXPECT_EQ(terminal.send("0020008008 241234FFFFFFFFFF").status, 0x6983U);
    terminal.card().power_off();
    terminal.card().power_on();
    terminal.select(first_aid);
    EXPECT_EQ(terminal.send("0020008008 241234FFFFFFFFFF").status, 0x6983U);
}

TEST_F(CardPin, IsToldInTheVerificationResults) {
    terminal.send("0020008008 241234FFFFFFFFFF");
    terminal.get_options();
    terminal.read_records();
    terminal.generate_ac(0x80);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(4), 0xA4);
    EXPECT_TRUE(answer().cryptogram_right);
    terminal.select(first_aid);
    for (int i = 0; i < 3; ++i) {
        terminal.send("0020008008 241111FFFFFFFFFF");
    }
    terminal.get_options();
    terminal.generate_ac(0x80);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(4), 0xA6);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10").at(5), 0xC0);
}

struct BadBlock {
    const char* command;
    unsigned status;
};

class BadPinBlock : public testing::TestWithParam<BadBlock> {};

TEST_P(BadPinBlock, IsRefusedWithoutCostingATry) {
    Terminal terminal(card_of(test_profile()));
    terminal.select(first_aid);
    EXPECT_EQ(terminal.send(GetParam().command).status, GetParam().status);
    EXPECT_EQ(terminal.data_value("9F17"), hex("03"));
}

INSTANTIATE_TEST_SUITE_P(Blocks, BadPinBlock,
                         testing::Values(BadBlock{"0020008008 141234FFFFFFFFFF", 0x6A80},
                                         BadBlock{"0020008008 23123FFFFFFFFFFF", 0x6A80},
                                         BadBlock{"0020008008 2D12341234123412", 0x6A80},
                                         BadBlock{"0020008008 24123AFFFFFFFFFF", 0x6A80},
                                         BadBlock{"0020008008 2412340FFFFFFFFF", 0x6A80},
                                         BadBlock{"0020008007 241234FFFFFFFF", 0x6700},
                                         BadBlock{"0020008000", 0x6700},
                                         BadBlock{"0020008808 241234FFFFFFFFFF", 0x6A86},
                                         BadBlock{"0020018008 241234FFFFFFFFFF", 0x6A86}));

TEST_F(CardPin, OfAnApplicationWithoutOneIsUnusable) {
    terminal.select(second_aid);
    EXPECT_EQ(terminal.send("0020008008 241234FFFFFFFFFF").status, 0x6984U);
}

}  // namespace
}  // namespace quorrin::test
