// What the card tells of itself: processing options, PAN and name, limits, electronic cash.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Card : public AccessorTest {};

TEST_F(Card, InterchangeProfileIsSetPresent) {
    const StoreImage before;
    EXPECT_EQ(emvSetAIP(ExactBytes(hex("7C00")).data()), 0);
    EXPECT_THAT(before.changed(), ElementsAre("82"));
    EXPECT_EQ(stored("82"), hex("7C00"));
    EXPECT_EQ(row("82").curLen, 2);
    EXPECT_EQ(emvInAIP(), 1);
}

TEST_F(Card, DeliberatelyASecondInterchangeProfileIsToldAndOverwrites) {
    ASSERT_EQ(emvSetAIP(hex("7C00").data()), 0);
    set_length_of("82", 1, Current);
    EXPECT_EQ(emvSetAIP(hex("3901").data()), 1);
    EXPECT_EQ(stored("82"), hex("3901"));
    EXPECT_EQ(row("82").curLen, 1);
}

TEST_F(Card, FileLocatorIsSetPresentWithItsLength) {
    const StoreImage before;
    EXPECT_EQ(emvSetAFL(ExactBytes(hex("08010100 10010300")).data(), 8), 0);
    EXPECT_THAT(before.changed(), ElementsAre("94"));
    EXPECT_EQ(stored("94", 9), hex("08010100 10010300 00"));
    EXPECT_EQ(row("94").curLen, 8);
    EXPECT_EQ(emvInAFL(), 1);
    EXPECT_EQ(emvGetAFLNum(), 2);
}

TEST_F(Card, DeliberatelyASecondFileLocatorKeepsTheLengthOfTheFirst) {
    ASSERT_EQ(emvSetAFL(hex("08010100").data(), 4), 0);
    EXPECT_EQ(emvSetAFL(hex("18010201 20010300 28010100").data(), 12), 1);
    EXPECT_EQ(stored("94", 12), hex("18010201 20010300 28010100"));
    EXPECT_EQ(row("94").curLen, 4);
    EXPECT_EQ(emvGetAFLNum(), 1);
}

TEST_F(Card, FileLocatorOfNoBytesIsPresentAndEmpty) {
    row("94").value[0] = 0x55;
    set_length_of("94", 9, Current);
    EXPECT_EQ(emvSetAFL(hex("08010100").data(), 0), 0);
    EXPECT_EQ(stored("94", 1), hex("55"));
    EXPECT_EQ(row("94").curLen, 0);
    EXPECT_EQ(row("94").state, 1);
    EXPECT_EQ(emvGetAFLNum(), 0);
}

TEST_F(Card, ShorterFileLocatorLeavesTheRestAlone) {
    for (const bool present : {true, false}) {
        ASSERT_EQ(emvSetAFL(pattern(252, 3).data(), 252), present ? 0 : 1);
        set_state_of("94", present ? 1 : 0);
        EXPECT_EQ(emvSetAFL(ExactBytes(hex("18010201")).data(), 4), present ? 1 : 0);
        ByteString expected = pattern(252, 3);
        std::ranges::copy(hex("18010201"), expected.begin());
        EXPECT_EQ(stored("94"), expected);
        EXPECT_EQ(row("94").curLen, present ? 252 : 4);
    }
}

TEST_F(Card, FileLocatorIsCutToItsStorage) {
    const StoreImage before;
    EXPECT_EQ(emvSetAFL(ExactBytes(pattern(256)).data(), 256), 0);
    EXPECT_THAT(before.changed(), ElementsAre("94"));
    EXPECT_EQ(stored("94"), pattern(252));
    EXPECT_EQ(row("94").curLen, 252);
    EXPECT_EQ(emvGetAFLNum(), 63);
    EXPECT_EQ(emvSetAFL(pattern(0xFFFF, 7).data(), 0xFFFF), 1);
    EXPECT_EQ(stored("94"), pattern(252, 7));
}

TEST_F(Card, FileLocatorCountsWholeEntries) {
    for (const auto& [length, entries] : {std::pair{0, 0}, {3, 0}, {4, 1}, {7, 1}, {252, 63}}) {
        set_length_of("94", static_cast<std::uint16_t>(length), Current);
        EXPECT_EQ(emvGetAFLNum(), entries) << length;
    }
}

TEST_F(Card, FileLocatorCountsItsEntriesInEightBits) {
    for (const auto& [length, entries] : {std::pair{0x0404, 1}, {0x0403, 0}, {0xFFFF, 255}}) {
        set_length_of("94", static_cast<std::uint16_t>(length), Current);
        EXPECT_EQ(emvGetAFLNum(), entries) << length;
    }
}

TEST_F(Card, FileLocatorIsReadByEntryAndOffset) {
    ASSERT_EQ(emvSetAFL(pattern(252).data(), 252), 0);
    for (std::uint8_t entry = 0; entry < 63; ++entry) {
        for (std::uint8_t offset = 0; offset < 4; ++offset) {
            EXPECT_EQ(emvGetAFL(entry, offset), pattern(252)[entry * 4u + offset]);
        }
    }
}

TEST_F(Card, FileLocatorIsZeroOutsideItsStorage) {
    fill_every_element();  // what stands behind the locator too
    EXPECT_EQ(emvGetAFL(62, 3), 0xFF);
    EXPECT_EQ(emvGetAFL(62, 4), 0);
    EXPECT_EQ(emvGetAFL(63, 0), 0);
    EXPECT_EQ(emvGetAFL(0, 252), 0);
    EXPECT_EQ(emvGetAFL(255, 255), 0);
}

TEST_F(Card, NullProcessingOptionsAreRefused) {
    const StoreImage before;
    EXPECT_EQ(emvSetAIP(nullptr), 49);
    EXPECT_EQ(emvSetAFL(nullptr, 4), 49);
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(Card, RegisteredProviderIsTheStartOfTheAid) {
    GuardedBuffer out(5);
    EXPECT_EQ(emvGetRID(out.data()), 0);
    EXPECT_TRUE(out.untouched());
    put("4F", hex("A000000333010101"));
    put("84", hex("A000000003101001"));
    EXPECT_EQ(emvGetRID(out.data()), 1);
    EXPECT_TRUE(out.holds(hex("A000000333")));
    EXPECT_EQ(emvGetRID(nullptr), 49);
}

TEST_F(Card, RegisteredProviderIsNotTakenFromTheSelectedName) {
    put("84", hex("A000000003101001"));
    GuardedBuffer out(5);
    EXPECT_EQ(emvGetRID(out.data()), 0);
    EXPECT_TRUE(out.untouched());
}

TEST_F(Card, RegisteredProviderTellsAnyOtherStateAsItStands) {
    put("4F", hex("A000000333010101"));
    row("4F").state = 2;
    GuardedBuffer out(5);
    EXPECT_EQ(emvGetRID(out.data()), 2);
    EXPECT_TRUE(out.untouched());
}

struct Text {
    const char* name;
    std::int32_t (*accessor)(std::uint8_t* out, std::uint8_t* outLen);
    const char* tag;
    std::uint16_t longest;
};

constexpr Text texts[] = {
    {"emvGetPAN", emvGetPAN, "5A", 10},
    {"emvGetHolderName", emvGetHolderName, "5F20", 252},
};

TEST_F(Card, PanAndNameAreCopiedWhole) {
    for (const Text& text : texts) {
        for (const std::uint16_t length : {text.longest, std::uint16_t{1}}) {
            put(text.tag, pattern(length));
            GuardedBuffer out(text.longest);
            GuardedBuffer out_length(1);
            EXPECT_EQ(text.accessor(out.data(), out_length.data()), 1) << text.name;
            EXPECT_TRUE(out.holds(pattern(length))) << text.name;
            EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(length)})) << text.name;
        }
    }
}

TEST_F(Card, PanKeepsItsTrailingF) {
    put("5A", hex("622848000000000 00F"));
    GuardedBuffer out(10);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetPAN(out.data(), out_length.data()), 1);
    EXPECT_TRUE(out.holds(hex("622848000000000 00F")));
    EXPECT_TRUE(out_length.holds({9}));
}

TEST_F(Card, AbsentPanAndNameHaveLengthZero) {
    for (const Text& text : texts) {
        put(text.tag, pattern(text.longest));
        set_state_of(text.tag, 0);
        GuardedBuffer out(text.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(text.accessor(out.data(), out_length.data()), 0) << text.name;
        EXPECT_TRUE(out.untouched()) << text.name;
        EXPECT_TRUE(out_length.holds({0})) << text.name;
    }
}

TEST_F(Card, PanAndNameRefuseNullPointers) {
    for (const Text& text : texts) {
        for (const bool present : {false, true}) {
            put(text.tag, pattern(text.longest));
            set_state_of(text.tag, present ? 1 : 0);
            GuardedBuffer out(text.longest);
            GuardedBuffer out_length(1);
            EXPECT_EQ(text.accessor(nullptr, out_length.data()), 49) << text.name;
            EXPECT_EQ(text.accessor(out.data(), nullptr), 49) << text.name;
            EXPECT_TRUE(out.untouched()) << text.name;
            EXPECT_TRUE(out_length.untouched()) << text.name;
        }
    }
}

TEST_F(Card, PanAndNameEndWithTheStorageWhateverLengthTheHostHasSet) {
    for (const Text& text : texts) {
        put(text.tag, pattern(text.longest));
        set_length_of(text.tag, 0xFFFF, Current);
        GuardedBuffer out(text.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(text.accessor(out.data(), out_length.data()), 1) << text.name;
        EXPECT_TRUE(out.holds(pattern(text.longest))) << text.name;
        EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(text.longest)})) << text.name;
    }
}

TEST_F(Card, PanAndNameInAnotherStateHaveLengthZero) {
    for (const Text& text : texts) {
        put(text.tag, pattern(text.longest));
        row(text.tag).state = 2;
        GuardedBuffer out(text.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(text.accessor(out.data(), out_length.data()), 0) << text.name;
        EXPECT_TRUE(out.untouched()) << text.name;
        EXPECT_TRUE(out_length.holds({0})) << text.name;
    }
}

TEST_F(Card, PinTryCounterIsMinusOneUnlessPresent) {
    EXPECT_EQ(emvGetPinReTry(), -1);
    put("9F17", hex("03"));
    EXPECT_EQ(emvGetPinReTry(), 3);
    put("9F17", hex("00"));
    EXPECT_EQ(emvGetPinReTry(), 0);
    put("9F17", hex("FF"));
    EXPECT_EQ(emvGetPinReTry(), 255);
    for (const int other : {0, 2, 255}) {
        row("9F17").state = static_cast<std::uint8_t>(other);
        EXPECT_EQ(emvGetPinReTry(), -1) << other;
    }
}

TEST_F(Card, TransactionQualifiersAreCopiedWhenPresent) {
    GuardedBuffer out(2);
    EXPECT_EQ(emvGetCardTranCapa(out.data()), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(emvGetCardTranCapa(nullptr), 0);
    put("9F6C", hex("8040"));
    EXPECT_EQ(emvGetCardTranCapa(out.data()), 1);
    EXPECT_TRUE(out.holds(hex("8040")));
    EXPECT_EQ(emvGetCardTranCapa(nullptr), 49);
}

TEST_F(Card, TransactionQualifiersTellAnyOtherStateAsItStands) {
    put("9F6C", hex("8040"));
    row("9F6C").state = 2;
    GuardedBuffer out(2);
    EXPECT_EQ(emvGetCardTranCapa(out.data()), 2);
    EXPECT_TRUE(out.untouched());
}

TEST_F(Card, FastDdaVersionBeginsTheAuthenticationData) {
    const struct {
        const char* data;
        std::int32_t result;
        const char* version;
    } cases[] = {
        {"01 1122334455667788", 1, "01"},
        {"C2 11223344556677", 1, "C2"},
        {"01 112233445566", 2, ""},
        {"01", 2, ""},
    };
    for (const auto& expected : cases) {
        put("9F69", hex(expected.data));
        GuardedBuffer out(1);
        EXPECT_EQ(emvGetCardDDAVer(out.data()), expected.result) << expected.data;
        EXPECT_TRUE(out.holds(hex(expected.version))) << expected.data;
    }
}

TEST_F(Card, FastDdaVersionNeedsAuthenticationData) {
    GuardedBuffer out(1);
    EXPECT_EQ(emvGetCardDDAVer(out.data()), 2);
    put("9F69", pattern(32));
    row("9F69").format = 9;
    EXPECT_EQ(emvGetCardDDAVer(out.data()), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(emvGetCardDDAVer(nullptr), 49);
}

TEST_F(Card, DeliberatelyFastDdaVersionDoesNotAskForPresence) {
    put("9F69", hex("C2 11223344556677"));
    set_state_of("9F69", 0);
    GuardedBuffer out(1);
    EXPECT_EQ(emvGetCardDDAVer(out.data()), 1);
    EXPECT_TRUE(out.holds(hex("C2")));
}

TEST_F(Card, FastDdaVersionIsReadFromTheStorageAlone) {
    put("9F69", pattern(32, 0x41));
    set_length_of("9F69", 0xFFFF, Current);
    GuardedBuffer out(1);
    EXPECT_EQ(emvGetCardDDAVer(out.data()), 1);
    EXPECT_TRUE(out.holds(hex("41")));
}

}  // namespace
}  // namespace quorrin::test
