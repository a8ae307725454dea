// Recovered public keys, signed dynamic data, key index.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::IsEmpty;

class Keys : public AccessorTest {};

struct Key {
    const char* name;
    void (*set)(const std::uint8_t* key);
    std::uint8_t (&record)[512];
    std::uint8_t& flag;
};

const Key keys[] = {
    {"card", emvSetIccPKey, gl_tIccPk, gl_FlgIccPk},
    {"card SM", emvSetIccPKey_GM, gl_tIccPk_GM, gl_FlgIccPk_GM},
    {"PIN", emvSetPinEnPKey, gl_tPinEnPk, gl_FlgPinEnPk},
};

TEST_F(Keys, AreSetWholeWithTheirOwnFlag) {
    for (const Key& key : keys) {
        emvClrIccAndTermData();
        for (const Key& other : keys) {
            std::ranges::fill(other.record, std::uint8_t{0});
        }
        key.set(ExactBytes(pattern(512)).data());
        for (const Key& other : keys) {
            const bool same = &other == &key;
            EXPECT_EQ(to_hex(other.record), to_hex(same ? pattern(512) : filled(512, 0x00)))
                << key.name << other.name;
            EXPECT_EQ(other.flag, same) << key.name << other.name;
        }
    }
}

TEST_F(Keys, NullIsNotSet) {
    for (const Key& key : keys) {
        key.set(nullptr);
        EXPECT_EQ(key.flag, 0) << key.name;
        EXPECT_EQ(to_hex(key.record), to_hex(filled(512, 0x00))) << key.name;
    }
}

TEST_F(Keys, OfTheCardAreCopiedWhetherSetOrNot) {
    const struct {
        void (*get)(std::uint8_t* out);
        std::uint8_t (&record)[512];
    } getters[] = {{emvGetIccPKey, gl_tIccPk}, {emvGetIccPKey_GM, gl_tIccPk_GM}};
    std::ranges::copy(pattern(512, 3), gl_tIccPk);
    std::ranges::copy(pattern(512, 4), gl_tIccPk_GM);
    std::ranges::copy(pattern(512, 5), gl_tPinEnPk);
    for (const auto& getter : getters) {
        GuardedBuffer out(512);
        getter.get(out.data());
        EXPECT_EQ(to_hex(out.first(512)), to_hex(getter.record));
        getter.get(nullptr);
    }
}

TEST_F(Keys, OfPinEnciphermentIsCopiedWhenSet) {
    GuardedBuffer out(512);
    std::ranges::copy(pattern(512, 7), gl_tPinEnPk);
    EXPECT_EQ(emvGetPinEnPKey(out.data()), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(emvGetPinEnPKey(nullptr), 0);
    emvSetPinEnPKey(pattern(512, 9).data());
    EXPECT_EQ(emvGetPinEnPKey(out.data()), 1);
    EXPECT_TRUE(out.holds(pattern(512, 9)));
    EXPECT_EQ(emvGetPinEnPKey(nullptr), 49);
    gl_FlgPinEnPk = 2;
    GuardedBuffer again(512);
    EXPECT_EQ(emvGetPinEnPKey(again.data()), 1);
    EXPECT_TRUE(again.holds(pattern(512, 9)));
}

TEST_F(Keys, StateIsThatOfTheCardKeyAlone) {
    gl_FlgIccPk_GM = 1;
    gl_FlgPinEnPk = 1;
    EXPECT_EQ(emvGetIccPKeyState(), 0);
    gl_FlgIccPk = 2;
    EXPECT_EQ(emvGetIccPKeyState(), 0);
    emvSetIccPKey(pattern(512).data());
    EXPECT_EQ(emvGetIccPKeyState(), 1);
}

TEST_F(Keys, DeliberatelyTheIndexIsWrittenAlsoWhenAbsent) {
    GuardedBuffer out(1);
    EXPECT_EQ(emvGetCAPkIndex(out.data()), 0);
    EXPECT_TRUE(out.holds(hex("00")));
    put("9F22", hex("33"));
    put("8F", hex("57"));
    EXPECT_EQ(emvGetCAPkIndex(out.data()), 1);
    EXPECT_TRUE(out.holds(hex("57")));
    set_state_of("8F", 0);
    GuardedBuffer again(1);
    EXPECT_EQ(emvGetCAPkIndex(again.data()), 0);
    EXPECT_TRUE(again.holds(hex("57")));
    EXPECT_EQ(emvGetCAPkIndex(nullptr), 49);
}

TEST_F(Keys, IndexTellsAnyOtherStateAsItStands) {
    put("8F", hex("57"));
    row("8F").state = 2;
    GuardedBuffer out(1);
    EXPECT_EQ(emvGetCAPkIndex(out.data()), 2);
    EXPECT_TRUE(out.holds(hex("57")));
}

TEST_F(Keys, SignedDynamicDataAreReadByTheirLength) {
    GuardedBuffer out(248);
    std::uint16_t length = 0xFFFF;
    EXPECT_EQ(emvGetSignDynAppData(out.data(), &length), -32);
    EXPECT_EQ(length, 0);
    EXPECT_TRUE(out.untouched());

    put("93", pattern(248, 9));
    put("9F4B", pattern(176));
    length = 5;
    EXPECT_EQ(emvGetSignDynAppData(out.data(), &length), 1);
    EXPECT_EQ(length, 176);
    EXPECT_TRUE(out.holds(pattern(176)));

    set_state_of("9F4B", 0);
    GuardedBuffer again(248);
    EXPECT_EQ(emvGetSignDynAppData(again.data(), &length), 1);
    EXPECT_TRUE(again.holds(pattern(176)));
}

TEST_F(Keys, SignedDynamicDataEndWithTheStorageWhateverLengthTheHostHasSet) {
    put("9F4B", pattern(248));
    set_length_of("9F4B", 0xFFFF, Current);
    GuardedBuffer out(248);
    std::uint16_t length = 0;
    EXPECT_EQ(emvGetSignDynAppData(out.data(), &length), 1);
    EXPECT_EQ(length, 248);
    EXPECT_TRUE(out.holds(pattern(248)));
}

TEST_F(Keys, SignedDynamicDataOfAStoreThatWasNeverResetAreZeros) {
    put("9F4B", pattern(176));
    row("9F4B").value = nullptr;
    GuardedBuffer out(248);
    std::uint16_t length = 0;
    EXPECT_EQ(emvGetSignDynAppData(out.data(), &length), 1);
    EXPECT_EQ(length, 176);
    EXPECT_TRUE(out.holds(filled(176, 0x00)));
}

TEST_F(Keys, SignedDynamicDataRefuseNullPointers) {
    put("9F4B", pattern(248));
    GuardedBuffer out(248);
    std::uint16_t length = 0xFFFF;
    EXPECT_EQ(emvGetSignDynAppData(nullptr, &length), 49);
    EXPECT_EQ(emvGetSignDynAppData(out.data(), nullptr), 49);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(length, 0xFFFF);
}

}  // namespace
}  // namespace quorrin::test
