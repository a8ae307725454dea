// Accessors that only store: raw and mapped results, fixed and given lengths, plain variables.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PlainSetters : public AccessorTest {};

// How a setter tells failures of the store.
enum Style { Raw, Mapped };

constexpr std::int32_t expected(Style style, std::int32_t store_code) {
    return style == Raw ? store_code : 49;
}

// ---- Fixed lengths

struct Fixed {
    const char* name;
    std::int32_t (*accessor)(const std::uint8_t* value);
    const char* tag;
    std::uint16_t length;
    Style style;
};

constexpr Fixed fixed_setters[] = {
    {"emvSetTermCapability", emvSetTermCapability, "9F33", 3, Raw},
    {"emvSetTermCapabilityAd", emvSetTermCapabilityAd, "9F40", 5, Raw},
    {"emvSetTCHash", emvSetTCHash, "98", 20, Raw},
    {"emvSetDataAuthCode", emvSetDataAuthCode, "9F45", 2, Raw},
    {"emvSetIFDSn", emvSetIFDSn, "9F1E", 8, Raw},
    {"emvSetCVMResult", emvSetCVMResult, "9F34", 3, Raw},
    {"emvSetTerminalID", emvSetTerminalID, "9F1C", 8, Raw},
    {"emvSetTermTranCapa", emvSetTermTranCapa, "9F66", 4, Raw},
    {"emvSetAuthAmountB", emvSetAuthAmountB, "81", 4, Mapped},
    {"emvSetAuthAmountN", emvSetAuthAmountN, "9F02", 6, Mapped},
    {"emvSetOtherAmountB", emvSetOtherAmountB, "9F04", 4, Mapped},
    {"emvSetOtherAmountN", emvSetOtherAmountN, "9F03", 6, Mapped},
    {"emvSetTransSequenceCounter", emvSetTransSequenceCounter, "9F41", 4, Mapped},
    {"emvSetTermAppVerNo", emvSetTermAppVerNo, "9F09", 2, Mapped},
    {"emvSetTermCurCode", emvSetTermCurCode, "5F2A", 2, Mapped},
    {"emvSetFloorLimit", emvSetFloorLimit, "9F1B", 4, Mapped},
    {"emvSetMerchantID", emvSetMerchantID, "9F16", 15, Mapped},
    {"emvSetMerchantCategoryCode", emvSetMerchantCategoryCode, "9F15", 2, Mapped},
    {"emvSetTermRefCurCode", emvSetTermRefCurCode, "9F3C", 2, Mapped},
    {"emvSetTermCntryCode", emvSetTermCntryCode, "9F1A", 2, Mapped},
    {"emvSetAcquirerID", emvSetAcquirerID, "9F01", 6, Mapped},
};

TEST_F(PlainSetters, StoreTheirOneElementInItsFixedLength) {
    for (const Fixed& setter : fixed_setters) {
        SCOPED_TRACE(setter.name);
        const StoreImage before;
        const ExactBytes value(pattern(setter.length));
        EXPECT_EQ(setter.accessor(value.data()), 0);
        EXPECT_THAT(before.changed(), ElementsAre(setter.tag));
        EXPECT_EQ(stored(setter.tag), pattern(setter.length));
        EXPECT_EQ(row(setter.tag).curLen, setter.length);
        EXPECT_EQ(row(setter.tag).state, 1);
    }
}

TEST_F(PlainSetters, RefuseANullPointer) {
    for (const Fixed& setter : fixed_setters) {
        const StoreImage before;
        EXPECT_EQ(setter.accessor(nullptr), expected(setter.style, -28)) << setter.name;
        EXPECT_THAT(before.changed(), IsEmpty()) << setter.name;
    }
}

TEST_F(PlainSetters, TellALengthThatTheDictionaryRefuses) {
    for (const Fixed& setter : fixed_setters) {
        SCOPED_TRACE(setter.name);
        const ExactBytes value(pattern(setter.length));
        row(setter.tag).minLen = static_cast<std::uint16_t>(setter.length + 1);
        const StoreImage before;
        EXPECT_EQ(setter.accessor(value.data()), expected(setter.style, -22));
        row(setter.tag).minLen = 1;
        row(setter.tag).maxLen = static_cast<std::uint16_t>(setter.length - 1);
        EXPECT_EQ(setter.accessor(value.data()), expected(setter.style, -22));
        row(setter.tag).maxLen = setter.length;
        EXPECT_THAT(before.changed(), IsEmpty());
    }
}

TEST_F(PlainSetters, TellAStoreThatWasNeverReset) {
    for (const Fixed& setter : fixed_setters) {
        std::uint8_t* const storage = std::exchange(row(setter.tag).value, nullptr);
        const ExactBytes value(pattern(setter.length));
        EXPECT_EQ(setter.accessor(value.data()), expected(setter.style, -18)) << setter.name;
        row(setter.tag).value = storage;
        EXPECT_EQ(row(setter.tag).state, 0) << setter.name;
    }
}

// ---- Given lengths

struct Given {
    const char* name;
    std::int32_t (*accessor)(const std::uint8_t* value, std::uint16_t length);
    const char* tag;
    std::uint16_t shortest;
    std::uint16_t longest;
    Style style;
};

constexpr Given given_setters[] = {
    {"emvSetAID", emvSetAID, "4F", 5, 16, Raw},
    {"emvSetTermAID", emvSetTermAID, "9F06", 5, 16, Raw},
    {"emvSetRandom", emvSetRandom, "9F37", 4, 4, Raw},
    {"emvSetIccDynNumber", emvSetIccDynNumber, "9F4C", 2, 8, Raw},
    {"emvSetSignDynAppData", emvSetSignDynAppData, "9F4B", 1, 248, Raw},
    {"emvSetTDOL", emvSetTDOL, "97", 1, 252, Raw},
    {"emvSetMerchantNameAndLoc", emvSetMerchantNameAndLoc, "9F4E", 1, 256, Mapped},
};

void expect_stored(const Given& setter, std::uint16_t length) {
    SCOPED_TRACE(std::string(setter.name) + " of " + std::to_string(length));
    emvClrIccAndTermData();
    const StoreImage before;
    const ByteString value = pattern(length);
    EXPECT_EQ(setter.accessor(ExactBytes(value).data(), length), 0);
    EXPECT_THAT(before.changed(), ElementsAre(setter.tag));
    EXPECT_EQ(stored(setter.tag), join(value, filled(setter.longest - length, 0x00)));
    EXPECT_EQ(row(setter.tag).curLen, length);
    EXPECT_EQ(row(setter.tag).state, 1);
}

void expect_refused(const Given& setter, const std::uint8_t* value, std::uint16_t length,
                    std::int32_t store_code) {
    SCOPED_TRACE(std::string(setter.name) + " of " + std::to_string(length));
    const StoreImage before;
    EXPECT_EQ(setter.accessor(value, length), expected(setter.style, store_code));
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(PlainSetters, StoreTheirOneElementInTheLengthGiven) {
    for (const Given& setter : given_setters) {
        expect_stored(setter, setter.longest);
        expect_stored(setter, setter.shortest);
    }
}

TEST_F(PlainSetters, RefuseAGivenLengthOutsideTheElementsBounds) {
    for (const Given& setter : given_setters) {
        const ByteString value = pattern(setter.longest + 1u);
        const auto shorter = static_cast<std::uint16_t>(setter.shortest - 1);
        expect_refused(setter, value.data(), 0, -28);
        expect_refused(setter, value.data(), shorter, shorter == 0 ? -28 : -22);
        expect_refused(setter, value.data(), static_cast<std::uint16_t>(setter.longest + 1), -22);
        expect_refused(setter, value.data(), 0xFFFF, -22);
    }
}

TEST_F(PlainSetters, RefuseANullPointerOfAnyLength) {
    for (const Given& setter : given_setters) {
        expect_refused(setter, nullptr, setter.shortest, -28);
        expect_refused(setter, nullptr, 0, -28);
        expect_refused(setter, nullptr, 0xFFFF, -28);
    }
}

TEST_F(PlainSetters, TellAStoreThatWasNeverResetForAGivenLength) {
    for (const Given& setter : given_setters) {
        std::uint8_t* const storage = std::exchange(row(setter.tag).value, nullptr);
        const ExactBytes value(pattern(setter.longest));
        EXPECT_EQ(setter.accessor(value.data(), setter.longest), expected(setter.style, -18))
            << setter.name;
        row(setter.tag).value = storage;
        EXPECT_EQ(row(setter.tag).state, 0) << setter.name;
        EXPECT_EQ(row(setter.tag).curLen, 0) << setter.name;
    }
}

// ---- Bytes by value

struct ByValue {
    const char* name;
    std::int32_t (*accessor)(std::uint8_t value);
    const char* tag;
};

constexpr ByValue by_value_setters[] = {
    {"emvSetAppTransCurExp", emvSetAppTransCurExp, "5F36"},
    {"emvSetTermRefCurExp", emvSetTermRefCurExp, "9F3D"},
    {"emvSetTmTransCateCode", emvSetTmTransCateCode, "9F53"},
};

TEST_F(PlainSetters, StoreAByteByValue) {
    for (const ByValue& setter : by_value_setters) {
        SCOPED_TRACE(setter.name);
        const StoreImage before;
        EXPECT_EQ(setter.accessor(0xE2), 0);
        EXPECT_THAT(before.changed(), ElementsAre(setter.tag));
        EXPECT_EQ(stored(setter.tag), hex("E2"));
        EXPECT_EQ(row(setter.tag).curLen, 1);
        EXPECT_EQ(row(setter.tag).state, 1);
    }
}

TEST_F(PlainSetters, TellAByteThatTheDictionaryRefuses) {
    for (const ByValue& setter : by_value_setters) {
        row(setter.tag).minLen = 2;
        const StoreImage before;
        EXPECT_EQ(setter.accessor(0xE2), 49) << setter.name;
        EXPECT_THAT(before.changed(), IsEmpty()) << setter.name;
    }
}

TEST_F(PlainSetters, TellAStoreThatWasNeverResetForAByte) {
    for (const ByValue& setter : by_value_setters) {
        std::uint8_t* const storage = std::exchange(row(setter.tag).value, nullptr);
        EXPECT_EQ(setter.accessor(0xE2), 49) << setter.name;
        row(setter.tag).value = storage;
        EXPECT_EQ(row(setter.tag).state, 0) << setter.name;
        EXPECT_EQ(row(setter.tag).curLen, 0) << setter.name;
    }
}

// ---- Plain variables

TEST_F(PlainSetters, RandomSelectionValuesHave64BitsEach) {
    const StoreImage before;
    emvSetRandSltLimit(0x0123456789ABCDEF);
    emvSetRandSltPercent(-0x0FEDCBA987654321);
    emvSetRandSltBiPercent(0x7766554433221100);
    EXPECT_EQ(gl_lRandSltLmt, 0x0123456789ABCDEF);
    EXPECT_EQ(gl_lRandSltPcnt, -0x0FEDCBA987654321);
    EXPECT_EQ(gl_lBiRSltPcnt, 0x7766554433221100);
    EXPECT_EQ(emvGetRandSltLimit(), 0x0123456789ABCDEF);
    EXPECT_EQ(emvGetRandSltPercent(), -0x0FEDCBA987654321);
    EXPECT_EQ(emvGetRandSltBiPercent(), 0x7766554433221100);
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(PlainSetters, FlagsOfTheHostAreKeptApart) {
    const StoreImage before;
    emvSetTermACType(0xC1);
    emvSetCardATCErrFlg(0xC2);
    EXPECT_EQ(gl_Tm_ACType, 0xC1);
    EXPECT_EQ(gl_ATC_Err, 0xC2);
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(PlainSetters, AmountsInBinaryAndInDigitsAreIndependent) {
    ASSERT_EQ(emvSetAuthAmountB(hex("00000064").data()), 0);
    EXPECT_EQ(stored("9F02"), filled(6, 0x00));
    EXPECT_EQ(row("9F02").state, 0);
    ASSERT_EQ(emvSetOtherAmountN(hex("000000000200").data()), 0);
    EXPECT_EQ(stored("9F04"), filled(4, 0x00));
    EXPECT_EQ(row("9F04").state, 0);
}

}  // namespace
}  // namespace quorrin::test
