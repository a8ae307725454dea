// Application cryptograms, cryptogram information data, transaction counters, issuer application
// data.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Cryptogram : public AccessorTest {};

TEST_F(Cryptogram, InformationDataAreOneByteOfTheStore) {
    emvSetCID(0x9C);
    EXPECT_EQ(stored("9F27"), hex("9C"));
    EXPECT_EQ(emvGetCID(), 0x9C);
    EXPECT_EQ(*emvGetCIDptr(), 0x9C);
}

TEST_F(Cryptogram, DeliberatelySettingInformationDataDoesNotMakeThemPresent) {
    emvSetCID(0x80);
    EXPECT_EQ(row("9F27").state, 0);
    EXPECT_EQ(row("9F27").curLen, 0);
}

TEST_F(Cryptogram, DeliberatelySettingInformationDataLeavesStateAndLengthAsTheyWere) {
    mark("9F27", 1, 0x0305);
    emvSetCID(0x40);
    EXPECT_EQ(stored("9F27"), hex("40"));
    EXPECT_EQ(row("9F27").state, 1);
    EXPECT_EQ(row("9F27").curLen, 0x0305);
}

TEST_F(Cryptogram, InformationDataAreTakenApart) {
    const struct {
        const char* cid;
        std::int32_t type, payment_system, advice, reason;
    } cases[] = {
        {"00", 0, 0, 0, 0}, {"40", 1, 0, 0, 0}, {"80", 2, 0, 0, 0}, {"C0", 3, 0, 0, 0},
        {"10", 0, 1, 0, 0}, {"20", 0, 2, 0, 0}, {"30", 0, 3, 0, 0}, {"08", 0, 0, 1, 0},
        {"01", 0, 0, 0, 1}, {"02", 0, 0, 0, 2}, {"04", 0, 0, 0, 4}, {"FF", 3, 3, 1, 7},
    };
    for (const auto& expected : cases) {
        emvSetCID(hex(expected.cid)[0]);
        EXPECT_EQ(emvGetCIDItem(1), expected.type) << expected.cid;
        EXPECT_EQ(emvGetCIDItem(2), expected.payment_system) << expected.cid;
        EXPECT_EQ(emvGetCIDItem(3), expected.advice) << expected.cid;
        EXPECT_EQ(emvGetCIDItem(4), expected.reason) << expected.cid;
    }
}

TEST_F(Cryptogram, OtherItemsOfTheInformationDataAreRefused) {
    emvSetCID(0xFF);
    for (const std::uint8_t item : ByteString{0, 5, 255}) {
        EXPECT_EQ(emvGetCIDItem(item), -32);
    }
}

TEST_F(Cryptogram, IsSetPresentWithTheLengthGiven) {
    const StoreImage before;
    emvSetAC(ExactBytes(hex("1122334455667788")).data(), 8);
    EXPECT_THAT(before.changed(), ElementsAre("9F26"));
    EXPECT_EQ(stored("9F26"), hex("1122334455667788"));
    EXPECT_EQ(row("9F26").curLen, 8);
    EXPECT_EQ(emvExistAC(), 1);

    emvSetAC(ExactBytes(hex("AABBCC")).data(), 3);
    EXPECT_EQ(stored("9F26"), hex("AABBCC4455667788"));
    EXPECT_EQ(row("9F26").curLen, 3);
}

TEST_F(Cryptogram, OfMoreThanEightBytesIsCut) {
    const StoreImage before;
    emvSetAC(ExactBytes(pattern(9)).data(), 9);
    EXPECT_THAT(before.changed(), ElementsAre("9F26"));
    EXPECT_EQ(stored("9F26"), pattern(8));
    EXPECT_EQ(row("9F26").curLen, 8);
    emvSetAC(pattern(300, 5).data(), 300);
    EXPECT_EQ(stored("9F26"), pattern(8, 5));
    EXPECT_EQ(row("9F26").curLen, 8);
}

TEST_F(Cryptogram, OfNoBytesIsPresentAndEmpty) {
    row("9F26").value[0] = 0x55;
    set_length_of("9F26", 9, Current);
    emvSetAC(hex("1122").data(), 0);
    EXPECT_EQ(stored("9F26", 1), hex("55"));
    EXPECT_EQ(row("9F26").curLen, 0);
    EXPECT_EQ(row("9F26").state, 1);
}

TEST_F(Cryptogram, NullIsNotSet) {
    const StoreImage before;
    emvSetAC(nullptr, 8);
    EXPECT_THAT(before.changed(), IsEmpty());
}

TEST_F(Cryptogram, DeliberatelyTheTransactionCounterIsDeliveredWithZeroAndMissingWithOne) {
    GuardedBuffer atc(2);
    EXPECT_EQ(emvGetCardATC(atc.data()), 1);
    EXPECT_TRUE(atc.untouched());
    put("9F36", hex("0102"));
    EXPECT_EQ(emvGetCardATC(atc.data()), 0);
    EXPECT_TRUE(atc.holds(hex("0102")));
    set_state_of("9F36", 0);
    EXPECT_EQ(emvGetCardATC(atc.data()), 1);
}

TEST_F(Cryptogram, TransactionCounterHasTwoBytesWhateverLengthIsKept) {
    put("9F36", hex("0102"));
    for (const std::uint16_t kept : Lengths{0, 1, 2, 3, 0xFFFF}) {
        set_length_of("9F36", kept, Current);
        GuardedBuffer atc(2);
        EXPECT_EQ(emvGetCardATC(atc.data()), 0) << kept;
        EXPECT_TRUE(atc.holds(hex("0102"))) << kept;
    }
}

TEST_F(Cryptogram, TransactionCounterIsNotWrittenToNull) {
    EXPECT_EQ(emvGetCardATC(nullptr), 49);
    put("9F36", hex("0102"));
    EXPECT_EQ(emvGetCardATC(nullptr), 49);
}

TEST_F(Cryptogram, TypeOfTheFirstAnswerStandsInTheVerificationResults) {
    const struct {
        const char* data;
        std::int32_t result;
        const char* type;
    } cases[] = {
        {"07010103 00 0000", 0, "00"}, {"07010103 10 0000", 0, "01"},
        {"07010103 20 0000", 0, "02"}, {"07010103 30 0000", -29, ""},
        {"07010103 CF 0000", 0, "00"}, {"07010103 EF 0000", 0, "02"},
        {"07010103 FF 0000", -29, ""}, {"070101FF 20 FFFF 01", 0, "02"},
        {"07010103 20 00", -30, ""},   {"07", -30, ""},
    };
    for (const auto& expected : cases) {
        put("9F10", hex(expected.data));
        GuardedBuffer type(1);
        EXPECT_EQ(emvGetIssAppType(type.data()), expected.result) << expected.data;
        EXPECT_TRUE(type.holds(hex(expected.type))) << expected.data;
    }
}

TEST_F(Cryptogram, TypeOfTheFirstAnswerNeedsIssuerApplicationData) {
    GuardedBuffer type(1);
    EXPECT_EQ(emvGetIssAppType(type.data()), -30);
    put("9F10", pattern(32));
    row("9F10").format = 9;
    EXPECT_EQ(emvGetIssAppType(type.data()), -31);
    EXPECT_TRUE(type.untouched());
    EXPECT_EQ(emvGetIssAppType(nullptr), 49);
}

TEST_F(Cryptogram, DeliberatelyTypeOfTheFirstAnswerDoesNotAskForPresence) {
    put("9F10", hex("07010103200000"));
    set_state_of("9F10", 0);
    GuardedBuffer type(1);
    EXPECT_EQ(emvGetIssAppType(type.data()), 0);
    EXPECT_TRUE(type.holds(hex("02")));
}

TEST_F(Cryptogram, TypeOfTheFirstAnswerIsReadFromTheStorageAlone) {
    put("9F10", hex("07010103200000"));
    set_length_of("9F10", 0xFFFF, Current);
    GuardedBuffer type(1);
    EXPECT_EQ(emvGetIssAppType(type.data()), 0);
    EXPECT_TRUE(type.holds(hex("02")));
}

}  // namespace
}  // namespace quorrin::test
