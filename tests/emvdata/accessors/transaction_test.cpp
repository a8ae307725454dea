// Transaction accessors with a rule: date, time, type, cashback, account, PIN data, random numbers.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Transaction : public AccessorTest {};

TEST_F(Transaction, DateIsStoredAsItStands) {
    for (const char* date : {"261121", "FFFFFF", "009999"}) {
        emvClrIccAndTermData();
        const StoreImage before;
        EXPECT_EQ(emvSetTransDate(ExactBytes(hex(date)).data(), 3), 0);
        EXPECT_THAT(before.changed(), ElementsAre("9A"));
        EXPECT_EQ(stored("9A"), hex(date));
        EXPECT_EQ(row("9A").curLen, 3);
        EXPECT_EQ(row("9A").state, 1);
    }
}

TEST_F(Transaction, TimeIsStoredUpToTheLastSecondOfTheDay) {
    for (const char* time : {"000000", "235959", "120000", "195959", "1A4F5A"}) {
        const bool within = std::string_view(time) != "1A4F5A";
        emvClrIccAndTermData();
        const StoreImage before;
        EXPECT_EQ(emvSetTransTime(ExactBytes(hex(time)).data(), 3), within ? 0 : 49) << time;
        if (within) {
            EXPECT_THAT(before.changed(), ElementsAre("9F21"));
            EXPECT_EQ(stored("9F21"), hex(time));
            EXPECT_EQ(row("9F21").curLen, 3);
            EXPECT_EQ(row("9F21").state, 1);
        }
    }
}

TEST_F(Transaction, TimeBeyondTheDayIsRejected) {
    const StoreImage before;
    for (const char* time : {"240000", "235960", "236059", "FF0000", "00FF00", "0000FF"}) {
        EXPECT_EQ(emvSetTransTime(hex(time).data(), 3), 49) << time;
    }
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(Transaction, DeliberatelyTimeIsComparedByteForByteNotDigitForDigit) {
    EXPECT_EQ(emvSetTransTime(hex("1A4F0B").data(), 3), 0);
    EXPECT_EQ(stored("9F21"), hex("1A4F0B"));
}

struct Dated {
    const char* name;
    std::int32_t (*accessor)(const std::uint8_t* value, std::uint16_t length);
    const char* tag;
};

constexpr Dated dated[] = {
    {"emvSetTransDate", emvSetTransDate, "9A"},
    {"emvSetTransTime", emvSetTransTime, "9F21"},
};

TEST_F(Transaction, DateAndTimeHaveThreeBytes) {
    for (const Dated& setter : dated) {
        const StoreImage before;
        for (const std::uint16_t length : Lengths{0, 1, 2, 4, 0x0103, 0xFFFF}) {
            EXPECT_EQ(setter.accessor(hex("11111111").data(), length), -31) << setter.name;
            EXPECT_EQ(setter.accessor(nullptr, length), -31) << setter.name;
        }
        EXPECT_EQ(setter.accessor(nullptr, 3), 49) << setter.name;
        EXPECT_THAT(before.changed(), IsEmpty()) << setter.name;
    }
}

TEST_F(Transaction, DateAndTimeThatTheDictionaryRefusesAreRejected) {
    for (const Dated& setter : dated) {
        row(setter.tag).minLen = 4;
        EXPECT_EQ(setter.accessor(hex("111111").data(), 3), 49) << setter.name;
        EXPECT_EQ(row(setter.tag).state, 0) << setter.name;
    }
}

// First byte of the additional capabilities: 80 cash, 40 goods, 20 services, 10 cashback.
TEST_F(Transaction, TypeMustBeOfferedByTheTerminal) {
    for (int capabilities = 0; capabilities <= 255; ++capabilities) {
        emvClrIccAndTermData();
        gl_Tm_Cap_Ad[0] = static_cast<std::uint8_t>(capabilities);
        const std::int32_t purchase = (capabilities & 0x60) != 0 ? 0 : 49;
        const std::int32_t cash = (capabilities & 0x90) != 0 ? 0 : 49;
        EXPECT_EQ(emvSetTransType(0x00), purchase) << capabilities;
        EXPECT_EQ(row("9C").state, purchase == 0);
        set_state_of("9C", 0);
        EXPECT_EQ(emvSetTransType(0x01), cash) << capabilities;
        EXPECT_EQ(row("9C").state, cash == 0);
    }
}

TEST_F(Transaction, TypeIsStoredInOneByte) {
    put("9F40", hex("6000000000"));
    row("9C").value[0] = 0x33;
    const StoreImage before;
    EXPECT_EQ(emvSetTransType(0x00), 0);
    EXPECT_THAT(before.changed(), ElementsAre("9C"));
    EXPECT_EQ(stored("9C"), hex("00"));
    EXPECT_EQ(row("9C").curLen, 1);
    EXPECT_EQ(row("9C").state, 1);
}

TEST_F(Transaction, OtherTypesAreNotCheckedAgainstTheTerminal) {
    for (const std::uint8_t type : ByteString{0x02, 0x20, 0x31, 0xFF}) {
        EXPECT_EQ(emvSetTransType(type), 0);
        EXPECT_EQ(emvGetTransType(), type);
    }
}

TEST_F(Transaction, TypeNeedsMoreThanTheOtherCapabilityBytes) {
    put("9F40", hex("00FFFFFFFF"));
    EXPECT_EQ(emvSetTransType(0x00), 49);
    EXPECT_EQ(emvSetTransType(0x01), 49);
    EXPECT_EQ(row("9C").state, 0);
}

TEST_F(Transaction, TypeThatTheDictionaryRefusesIsRejected) {
    row("9C").minLen = 2;
    EXPECT_EQ(emvSetTransType(0x20), 49);
    EXPECT_EQ(row("9C").state, 0);
}

TEST_F(Transaction, CashbackIsTypeOne) {
    for (const auto& [type, cashback] : {std::pair{0, 0}, {1, 1}, {2, 0}, {0x11, 0}, {255, 0}}) {
        gl_Tm_TransType[0] = static_cast<std::uint8_t>(type);
        gl_Tm_CashBackFlg = static_cast<std::uint8_t>(1 - cashback);
        EXPECT_EQ(emvGetCashBackFlg(), cashback) << type;
    }
}

TEST_F(Transaction, DeliberatelyTheCashbackFlagOverwritesTheType) {
    for (const std::uint8_t flag : ByteString{1, 0, 0x5A}) {
        emvSetCashBackFlg(flag);
        EXPECT_EQ(gl_Tm_CashBackFlg, flag);
        EXPECT_EQ(stored("9C"), ByteString{flag});
        EXPECT_EQ(emvGetTransType(), flag);
        EXPECT_EQ(row("9C").state, 0);
        EXPECT_EQ(row("9C").curLen, 0);
    }
    mark("9C", 1, 0x0307);
    emvSetCashBackFlg(1);
    EXPECT_EQ(row("9C").state, 1);
    EXPECT_EQ(row("9C").curLen, 0x0307);
    EXPECT_EQ(emvGetCashBackFlg(), 1);
}

TEST_F(Transaction, AccountTypesAreTheFourTensUpToThirty) {
    for (int type = 0; type <= 255; ++type) {
        emvClrIccAndTermData();
        row("5F57").value[0] = 0x99;
        const StoreImage before;
        const bool known = type == 0x00 || type == 0x10 || type == 0x20 || type == 0x30;
        EXPECT_EQ(emvSetAccountType(static_cast<std::uint8_t>(type)), known ? 0 : 49) << type;
        if (known) {
            EXPECT_THAT(before.changed(), ElementsAre("5F57"));
            EXPECT_EQ(stored("5F57"), ByteString{static_cast<std::uint8_t>(type)});
            EXPECT_EQ(row("5F57").curLen, 1);
            EXPECT_EQ(row("5F57").state, 1);
        } else {
            EXPECT_THAT(before.changed(), IsEmpty()) << type;
        }
    }
}

TEST_F(Transaction, AccountTypeThatTheDictionaryRefusesIsRejected) {
    row("5F57").minLen = 2;
    EXPECT_EQ(emvSetAccountType(0x10), 49);
    EXPECT_EQ(row("5F57").state, 0);
}

TEST_F(Transaction, DeliberatelyALengthOfPinDataDoesNotMakeThemPresent) {
    const StoreImage before;
    EXPECT_EQ(emvSetPinDataLength(0x0102), 0);
    EXPECT_THAT(before.changed(), ElementsAre("99"));
    EXPECT_EQ(row("99").curLen, 0x0102);
    EXPECT_EQ(row("99").state, 0);
    EXPECT_EQ(emvGetPinDataLength(), 0x0102);

    mark("99", 1, 0x0305);
    EXPECT_EQ(emvSetPinDataLength(7), 0);
    EXPECT_EQ(row("99").curLen, 7);
    EXPECT_EQ(row("99").state, 1);
}

TEST_F(Transaction, DeliberatelyTheRandomNumberIsDeliveredWithZeroAndMissingWithOne) {
    std::uint16_t number = 0xFFFF;
    gl_RandNum = 0x7777;
    EXPECT_EQ(emvGetRandNum(&number), 1);
    EXPECT_EQ(number, 0);
    const StoreImage before;
    emvSetRandNum(0xBEEF);
    EXPECT_EQ(gl_RandNum, 0xBEEF);
    EXPECT_EQ(gl_RandNum_Flag, 1);
    EXPECT_EQ(emvGetRandNum(&number), 0);
    EXPECT_EQ(number, 0xBEEF);
    EXPECT_EQ(emvGetRandNum(nullptr), 49);
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(Transaction, AnyFlagButZeroTellsARandomNumber) {
    gl_RandNum = 0x7777;
    for (const std::uint8_t flag : ByteString{1, 2, 255}) {
        gl_RandNum_Flag = flag;
        std::uint16_t number = 0xFFFF;
        EXPECT_EQ(emvGetRandNum(&number), 0) << int{flag};
        EXPECT_EQ(number, 0x7777) << int{flag};
    }
}

TEST_F(Transaction, ReferenceCurrencyConversionHasFourBytes) {
    const std::uint32_t conversion = 0x12345678;
    EXPECT_EQ(emvSetTermRefCurConv(&conversion), 0);
    EXPECT_EQ(gl_Tm_RefCurConv, 0x12345678u);
    EXPECT_EQ(emvSetTermRefCurConv(nullptr), 49);
    EXPECT_EQ(gl_Tm_RefCurConv, 0x12345678u);
}

}  // namespace
}  // namespace quorrin::test
