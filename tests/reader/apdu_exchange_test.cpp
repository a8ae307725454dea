// IccComm: command layout, results, response chaining, length correction, log lines.

#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ApduExchange : public LibraryTest {
  protected:
    std::int64_t select(int apdu_case = 3) {
        const Bytes aid = hex("A0000003");
        return IccComm(7, 11, 0x00, 0xA4, 0x04, 0x00, 4, aid.data(), 0, apdu_case, response.data(),
                       &response_length);
    }

    GuardedBuffer response{1022};
    std::uint32_t response_length = 99;
};

TEST_F(ApduExchange, DeliversDataAndStatusWordApart) {
    reader().answers = {answer("6F02 8400 9000")};
    EXPECT_EQ(select(), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 01: 00A4040004A000000300"));
    EXPECT_TRUE(response.holds(hex("6F028400")));
    EXPECT_EQ(response_length, 4u);
    EXPECT_EQ(CARD_SW1, 0x90);
    EXPECT_EQ(CARD_SW2, 0x00);
    EXPECT_THAT(log.texts(),
                ElementsAre("DEV->CPU: ", "CPU->DEV: ", "ICC_Application o\x02\xEF\xBF\xBD"));
}

}  // namespace
}  // namespace quorrin::test
