// The transaction log.
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

class CardLog : public CardTest {
  protected:
    std::string record(int number) {
        return to_hex(terminal.send("00B20" + std::to_string(number) + "5C00").data);
    }
};

TEST_F(CardLog, HasWhatTheCardWasIssuedWith) {
    terminal.select(first_aid);
    EXPECT_EQ(record(1),
              "250101"
              "000000000001"
              "0010"
              "53484F50");
    EXPECT_EQ(terminal.send("00B2025C00").status, 0x6A83U);
}

TEST_F(CardLog, GetsEachTransactionAsItsFirstRecordAndForgetsTheOldest) {
    terminal.purchase(first_aid);
    EXPECT_EQ(record(1),
              "250617"
              "000000012300"
              "0011"
              "54455354");
    EXPECT_EQ(record(2),
              "250101"
              "000000000001"
              "0010"
              "53484F50");
    terminal.values["9F02"] = hex("000000000700");
    terminal.values["9A"] = hex("250618");
    terminal.purchase(first_aid);
    EXPECT_EQ(record(1),
              "250618"
              "000000000700"
              "0012"
              "54455354");
    EXPECT_EQ(record(2),
              "250617"
              "000000012300"
              "0011"
              "54455354");
    EXPECT_EQ(terminal.send("00B2035C00").status, 0x6A83U);
}

TEST_F(CardLog, GetsNothingOfADeclinedTransactionNorOfTheSecondCryptogram) {
    terminal.select(first_aid);
    terminal.get_options();
    terminal.read_records();
    EXPECT_EQ(terminal.generate_ac(0x00).status, 0x9000U);
    EXPECT_EQ(record(1).substr(18, 4), "0010");
    terminal.purchase(first_aid);
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(record(1).substr(18, 4), "0012");
    EXPECT_EQ(record(2).substr(18, 4), "0010");
}

TEST_F(CardLog, BelongsToItsApplication) {
    terminal.purchase(first_aid);
    terminal.select(second_aid);
    EXPECT_EQ(terminal.send("00B2015C00").status, 0x6A82U);
}

}  // namespace
}  // namespace quorrin::test
