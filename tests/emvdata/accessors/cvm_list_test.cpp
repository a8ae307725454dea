// The CVM list: amounts and rules.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::IsEmpty;

class CvmList : public AccessorTest {
  protected:
    // Amounts 100 and 200, then the rules.
    static void put_rules(std::string_view rules) {
        put("8E", join(hex("00000064 000000C8"), hex(rules)));
    }

    // The rule's bytes in their order, or nothing when it was refused.
    std::int32_t get_rule(std::uint8_t index) {
        return emvGetCVM(reinterpret_cast<std::uint16_t*>(rule.data()), index);
    }

    GuardedBuffer rule{2};
    GuardedBuffer item{1};
};

TEST_F(CvmList, AmountsStandAtItsStart) {
    put_rules("1F03");
    EXPECT_EQ(ByteString(emvGetCVMListXX(), emvGetCVMListXX() + 4), hex("00000064"));
    EXPECT_EQ(ByteString(emvGetCVMListYY(), emvGetCVMListYY() + 4), hex("000000C8"));
}

TEST_F(CvmList, OfTenBytesHasOneRule) {
    put_rules("4203");
    EXPECT_EQ(get_rule(0), 0);
    EXPECT_TRUE(rule.holds(hex("4203")));
    EXPECT_EQ(emvGetCVMListCVR(item.data(), 0, 2), 0);

    GuardedBuffer none(2);
    EXPECT_EQ(emvGetCVM(reinterpret_cast<std::uint16_t*>(none.data()), 1), -31);
    EXPECT_TRUE(none.untouched());
    EXPECT_EQ(emvGetCVMListCVR(none.data(), 1, 2), -31);
    EXPECT_TRUE(none.untouched());
}

TEST_F(CvmList, RulesAreCountedFromZeroAndKeepTheirByteOrder) {
    put_rules("4103 4204 1E05 1F00");
    const char* const rules[] = {"4103", "4204", "1E05", "1F00"};
    for (std::uint8_t index = 0; index < 4; ++index) {
        EXPECT_EQ(get_rule(index), 0);
        EXPECT_TRUE(rule.holds(hex(rules[index])));
    }
    EXPECT_EQ(get_rule(4), -31);
    EXPECT_EQ(get_rule(255), -31);
}

TEST_F(CvmList, ItemsAreThoseOfTheRule) {
    put_rules("0102 7F06 C209 BF00");
    const struct {
        std::uint8_t index;
        std::uint8_t item;
        const char* value;
    } items[] = {
        {0, 1, "00"}, {0, 2, "01"}, {0, 3, "02"}, {1, 1, "01"}, {1, 2, "3F"}, {1, 3, "06"},
        {2, 1, "01"}, {2, 2, "02"}, {2, 3, "09"}, {3, 1, "00"}, {3, 2, "3F"}, {3, 3, "00"},
    };
    for (const auto& expected : items) {
        GuardedBuffer out(1);
        EXPECT_EQ(emvGetCVMListCVR(out.data(), expected.index, expected.item), 0);
        EXPECT_TRUE(out.holds(hex(expected.value)))
            << int{expected.index} << " item " << int{expected.item};
    }
}

TEST_F(CvmList, OtherItemsAreRefused) {
    put_rules("4203");
    for (const std::uint8_t other : ByteString{0, 4, 255}) {
        EXPECT_EQ(emvGetCVMListCVR(item.data(), 0, other), -29);
    }
    EXPECT_TRUE(item.untouched());
}

TEST_F(CvmList, OfAnOddLengthStillHasWholeRulesButNoItems) {
    put_rules("4203 1F");
    EXPECT_EQ(get_rule(0), 0);
    EXPECT_TRUE(rule.holds(hex("4203")));
    EXPECT_EQ(get_rule(1), -31);
    EXPECT_EQ(emvGetCVMListCVR(item.data(), 0, 2), -32);
    EXPECT_EQ(emvGetCVMListCVR(item.data(), 9, 9), -32);
    EXPECT_TRUE(item.untouched());
}

TEST_F(CvmList, TheIndexIsJudgedBeforeTheItem) {
    put_rules("4203");
    EXPECT_EQ(emvGetCVMListCVR(item.data(), 1, 9), -31);
}

TEST_F(CvmList, ShorterThanItsAmountsHasNoRules) {
    for (std::uint16_t length = 0; length <= 8; ++length) {
        set_length_of("8E", length, Current);
        for (const std::uint8_t index : ByteString{0, 1, 127, 128, 255}) {
            EXPECT_EQ(get_rule(index), -31) << length;
            EXPECT_EQ(emvGetCVMListCVR(item.data(), index, 1), length % 2 != 0 ? -32 : -31)
                << length;
        }
    }
    EXPECT_TRUE(rule.untouched());
    EXPECT_TRUE(item.untouched());
}

TEST_F(CvmList, OfFullLengthIsReadToItsLastRule) {
    put("8E", pattern(252));
    EXPECT_EQ(get_rule(121), 0);
    EXPECT_TRUE(rule.holds({gl_CVMList[250], gl_CVMList[251]}));
    EXPECT_EQ(get_rule(122), -31);
}

TEST_F(CvmList, DeliberatelyIsCountedByTheLowByteOfItsLength) {
    put_rules("4203 1F03");
    set_length_of("8E", 0x010A, Current);
    EXPECT_EQ(get_rule(0), 0);
    EXPECT_TRUE(rule.holds(hex("4203")));
    EXPECT_EQ(get_rule(1), -31);
    set_length_of("8E", 0x0100, Current);
    EXPECT_EQ(get_rule(0), -31);
}

TEST_F(CvmList, RulesOutsideTheStorageAreZero) {
    fill_every_element();
    set_length_of("8E", 254, Current);
    EXPECT_EQ(get_rule(122), 0);
    EXPECT_TRUE(rule.holds(hex("0000")));
    for (const std::uint8_t asked : ByteString{1, 2, 3}) {
        GuardedBuffer out(1);
        EXPECT_EQ(emvGetCVMListCVR(out.data(), 122, asked), 0);
        EXPECT_TRUE(out.holds(hex("00")));
    }
}

TEST_F(CvmList, NullPointersAreRefused) {
    put_rules("4203");
    const StoreImage before;
    EXPECT_EQ(emvGetCVM(nullptr, 0), 49);
    EXPECT_EQ(emvGetCVMListCVR(nullptr, 0, 1), 49);
    EXPECT_THAT(before.changed(), IsEmpty());
}

}  // namespace
}  // namespace quorrin::test
