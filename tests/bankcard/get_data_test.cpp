// GET DATA into the store.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

class GetData : public BankCardTest {
  protected:
    GetData() { ReaderHandle = 55; }

    static std::int32_t get(std::string_view tag) {
        const ByteString bytes = hex(tag);
        return emvGetDataCmd(bytes.data(), static_cast<std::uint8_t>(bytes.size()));
    }
};

TEST_F(GetData, StoresTheAnswerOfTheOpenReader) {
    insert(
        "80CA9F7900\n    9F79[000000012345] 9000\n80CA5A0000\n    5A[6205500000000000004F] 9000\n");
    EXPECT_EQ(get("9F79"), 0);
    EXPECT_EQ(get("5A"), 0);
    EXPECT_EQ(reader().calls, (Commands{"Send 55 01: 80CA9F7900", "Send 55 01: 80CA5A0000"}));
    EXPECT_EQ(present_elements(),
              (Elements{{"9F79", "000000012345"}, {"5A", "6205500000000000004F"}}));
}

TEST_F(GetData, UsesTheSlotOfTheUserCard) {
    EG_nUserCardType = 12;
    insert("80CA *\n    9000\n");
    EXPECT_EQ(get("9F79"), 0);
    EXPECT_EQ(reader().calls, Commands{"Send 55 31: 80CA9F7900"});
}

TEST_F(GetData, RefusesTagsOfOtherLengths) {
    insert("");
    const ByteString tag = hex("9F8101");
    EXPECT_EQ(emvGetDataCmd(tag.data(), 0), -107);
    EXPECT_EQ(emvGetDataCmd(tag.data(), 3), -107);
    EXPECT_EQ(emvGetDataCmd(tag.data(), 255), -107);
    EXPECT_EQ(emvGetDataCmd(nullptr, 2), -107);
    EXPECT_EQ(reader().calls, Commands{});
}

TEST_F(GetData, ReportsEveryRefusal) {
    for (const Refusal& refusal : refusals()) {
        insert("").at_step(0, refusal.answer);
        EXPECT_EQ(get("9F79"), refusal.code) << refusal.name;
        EXPECT_EQ(reader().calls, Commands{"Send 55 01: 80CA9F7900"}) << refusal.name;
        EXPECT_EQ(present_elements(), Elements{}) << refusal.name;
    }
}

TEST_F(GetData, RefusesAnAnswerThatDoesNotParse) {
    for (const char* bad :
         {"9F79 07 000000012345", "9F", "9F79", "9F79[11*7]", "70[ 9F26[11*8] ]"}) {
        insert("80CA *\n    " + std::string(bad) + " 9000\n");
        EXPECT_EQ(get("9F79"), -107) << bad;
        EXPECT_EQ(reader().calls, Commands{"Send 55 01: 80CA9F7900"}) << bad;
        EXPECT_EQ(present_elements(), Elements{}) << bad;
    }
}

TEST_F(GetData, TakesWhateverTheCardAnswersWith) {
    insert("80CA *\n    9F77[000000100000] 9000\n");
    EXPECT_EQ(get("9F79"), 0);
    EXPECT_EQ(present_elements(), (Elements{{"9F77", "000000100000"}}));
}

}  // namespace
}  // namespace quorrin::test
