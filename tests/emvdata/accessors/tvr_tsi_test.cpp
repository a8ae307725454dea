// TVR and TSI bits, and bits of any buffer.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TvrAndTsi : public AccessorTest {};

struct Indicator {
    const char* tag;
    std::uint8_t bytes;
    std::int32_t (*start)();
    std::int32_t (*get)(std::uint8_t byte, std::uint8_t bit);
    void (*set)(std::uint8_t byte, std::uint8_t bit, std::uint8_t on);
};

constexpr Indicator indicators[] = {
    {"95", 5, emvInitTVR, emvGetTVR, emvSetTVRBit},
    {"9B", 2, emvInitTSI, emvGetTSI, emvSetTSIBit},
};

TEST_F(TvrAndTsi, StartWithAllBitsOffAndPresentInFull) {
    for (const Indicator& indicator : indicators) {
        std::fill_n(row(indicator.tag).value, indicator.bytes, std::uint8_t{0xFF});
        const StoreImage before;
        EXPECT_EQ(indicator.start(), 0) << indicator.tag;
        EXPECT_THAT(before.changed(), ElementsAre(indicator.tag));
        EXPECT_EQ(stored(indicator.tag), filled(indicator.bytes, 0x00)) << indicator.tag;
        EXPECT_EQ(row(indicator.tag).curLen, indicator.bytes);
        EXPECT_EQ(row(indicator.tag).state, 1);
    }
}

TEST_F(TvrAndTsi, TheTopBitOfTheFirstByteIsByteOneBitEight) {
    emvSetTVRBit(1, 8, 1);
    EXPECT_EQ(stored("95"), hex("8000000000"));
    EXPECT_EQ(emvGetTVR(1, 8), 1);
    emvSetTSIBit(2, 1, 1);
    EXPECT_EQ(stored("9B"), hex("0001"));
    EXPECT_EQ(emvGetTSI(2, 1), 1);
}

TEST_F(TvrAndTsi, SetEveryBitAloneAndClearItAlone) {
    for (const Indicator& indicator : indicators) {
        for (unsigned at = 0; at < indicator.bytes * 8u; ++at) {
            const auto byte = static_cast<std::uint8_t>(at / 8 + 1);
            const auto bit = static_cast<std::uint8_t>(at % 8 + 1);
            ByteString alone = filled(indicator.bytes, 0x00);
            alone[at / 8] = static_cast<std::uint8_t>(1u << at % 8);
            ByteString missing = filled(indicator.bytes, 0xFF);
            missing[at / 8] = static_cast<std::uint8_t>(~(1u << at % 8));

            std::ranges::copy(filled(indicator.bytes, 0x00), row(indicator.tag).value);
            indicator.set(byte, bit, 1);
            EXPECT_EQ(stored(indicator.tag), alone);
            EXPECT_EQ(indicator.get(byte, bit), 1);

            std::ranges::copy(filled(indicator.bytes, 0xFF), row(indicator.tag).value);
            indicator.set(byte, bit, 0);
            EXPECT_EQ(stored(indicator.tag), missing);
            EXPECT_EQ(indicator.get(byte, bit), 0);
        }
    }
}

TEST_F(TvrAndTsi, DeliberatelyOnlyOneSetsABit) {
    for (const Indicator& indicator : indicators) {
        for (const int on : {0, 2, 3, 0x80, 0xFF}) {
            std::ranges::copy(filled(indicator.bytes, 0xFF), row(indicator.tag).value);
            indicator.set(2, 4, static_cast<std::uint8_t>(on));
            EXPECT_EQ(indicator.get(2, 4), 0) << indicator.tag << " " << on;
        }
    }
}

TEST_F(TvrAndTsi, DeliberatelyABitDoesNotMakeTheElementPresent) {
    for (const Indicator& indicator : indicators) {
        indicator.set(1, 8, 1);
        EXPECT_EQ(row(indicator.tag).state, 0) << indicator.tag;
        EXPECT_EQ(row(indicator.tag).curLen, 0) << indicator.tag;
        const ByteString tag = hex(indicator.tag);
        GuardedBuffer out(indicator.bytes);
        std::uint16_t length = indicator.bytes;
        EXPECT_EQ(emvGetDataElement(tag.data(), 1, &length, out.data()), 2);
        EXPECT_TRUE(out.holds(filled(indicator.bytes, 0x00))) << indicator.tag;
    }
}

TEST_F(TvrAndTsi, DeliberatelyABitLeavesStateAndLengthAsTheyWere) {
    for (const Indicator& indicator : indicators) {
        mark(indicator.tag, 1, 0x0301);
        for (const std::uint8_t on : ByteString{1, 0}) {
            indicator.set(1, 8, on);
            EXPECT_EQ(row(indicator.tag).state, 1) << indicator.tag;
            EXPECT_EQ(row(indicator.tag).curLen, 0x0301) << indicator.tag;
        }
    }
}

TEST_F(TvrAndTsi, AddressesOutsideChangeNothing) {
    for (const Indicator& indicator : indicators) {
        const StoreImage before;
        const auto beyond = static_cast<std::uint8_t>(indicator.bytes + 1);
        indicator.set(0, 1, 1);
        indicator.set(beyond, 1, 1);
        indicator.set(255, 8, 1);
        indicator.set(1, 0, 1);
        indicator.set(1, 9, 1);
        indicator.set(1, 255, 1);
        EXPECT_THAT(before.changed(), IsEmpty()) << indicator.tag;
    }
}

TEST(BitsOfABuffer, AreAddressedAsThoseOfElements) {
    const ExactBytes buffer(hex("80 01 10"));
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 1, 8), 1);
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 1, 1), 0);
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 2, 1), 1);
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 2, 8), 0);
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 3, 5), 1);
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 3, 4), 0);
}

TEST(BitsOfABuffer, AreZeroOutsideAByte) {
    const ExactBytes buffer(hex("FF"));
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 0, 1), 0);
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 1, 0), 0);
    EXPECT_EQ(emvCheckBitValue(buffer.data(), 1, 9), 0);
}

TEST(BitsOfABuffer, TellANullBufferApart) {
    EXPECT_EQ(emvCheckBitValue(nullptr, 1, 1), 2);
    EXPECT_EQ(emvCheckBitValue(nullptr, 0, 0), 2);
}

}  // namespace
}  // namespace quorrin::test
