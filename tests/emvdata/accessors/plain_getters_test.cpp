// Accessors that only look: presence, bits, addresses, values, lengths.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

class PlainGetters : public AccessorTest {};

// ---- Presence

struct Presence {
    const char* name;
    std::int32_t (*accessor)();
    const char* tag;
};

constexpr Presence presences[] = {
    {"emvInPDOL", emvInPDOL, "9F38"},
    {"emvInAIP", emvInAIP, "82"},
    {"emvInAFL", emvInAFL, "94"},
    {"emvInIccDDOL", emvInIccDDOL, "9F49"},
    {"emvInRandom", emvInRandom, "9F37"},
    {"emvInAppVerNo", emvInAppVerNo, "9F08"},
    {"emvInAUC", emvInAUC, "9F07"},
    {"emvInIssCCode", emvInIssCCode, "5F28"},
    {"emvInEffecDate", emvInEffecDate, "5F25"},
    {"emvInExpireDate", emvInExpireDate, "5F24"},
    {"emvInCVMList", emvInCVMList, "8E"},
    {"emvInAppCurCode", emvInAppCurCode, "9F42"},
    {"emvInLCOL", emvInLCOL, "9F14"},
    {"emvInUCOL", emvInUCOL, "9F23"},
    {"emvInCDOL1", emvInCDOL1, "8C"},
    {"emvInCDOL2", emvInCDOL2, "8D"},
    {"emvInSignDynAppData", emvInSignDynAppData, "9F4B"},
    {"emvInARC", emvInARC, "8A"},
    {"emvExistAC", emvExistAC, "9F26"},
};

TEST_F(PlainGetters, PresenceIsZeroInAnEmptyStore) {
    for (const Presence& presence : presences) {
        EXPECT_EQ(presence.accessor(), 0) << presence.name;
    }
}

TEST_F(PlainGetters, PresenceFollowsAStore) {
    for (const Presence& presence : presences) {
        put(presence.tag, pattern(row(presence.tag).minLen));
        EXPECT_EQ(presence.accessor(), 1) << presence.name;
    }
}

TEST_F(PlainGetters, PresenceIsThatOfTheOneElement) {
    for (const Presence& presence : presences) {
        set_state_of(presence.tag, 1);
        for (const Presence& other : presences) {
            EXPECT_EQ(other.accessor(), &other == &presence) << other.name << presence.tag;
        }
        set_state_of(presence.tag, 0);
        EXPECT_EQ(presence.accessor(), 0) << presence.name;
    }
}

TEST_F(PlainGetters, PresenceTellsAnyOtherStateAsItStands) {
    for (const Presence& presence : presences) {
        row(presence.tag).state = 2;
        EXPECT_EQ(presence.accessor(), 2) << presence.name;
    }
}

// ---- Bits

struct BitReader {
    const char* name;
    std::int32_t (*accessor)(std::uint8_t byte, std::uint8_t bit);
    const char* tag;
    std::uint8_t bytes;
};

constexpr BitReader bit_readers[] = {
    {"emvGetAIP", emvGetAIP, "82", 2},
    {"emvGetTermCapability", emvGetTermCapability, "9F33", 3},
    {"emvGetTermCapabilityAd", emvGetTermCapabilityAd, "9F40", 5},
    {"emvGetAUCBit", emvGetAUCBit, "9F07", 2},
    {"emvGetTermTranCapa", emvGetTermTranCapa, "9F66", 4},
    {"emvGetTVR", emvGetTVR, "95", 5},
    {"emvGetTSI", emvGetTSI, "9B", 2},
};

TEST_F(PlainGetters, BitsCountBytesFromOneAndBitsFromTheLeastSignificant) {
    for (const BitReader& reader : bit_readers) {
        for (unsigned at = 0; at < reader.bytes * 8u; ++at) {
            ByteString value = filled(reader.bytes, 0x00);
            value[at / 8] = static_cast<std::uint8_t>(1u << at % 8);
            put(reader.tag, value);
            for (unsigned asked = 0; asked < reader.bytes * 8u; ++asked) {
                EXPECT_EQ(reader.accessor(static_cast<std::uint8_t>(asked / 8 + 1),
                                          static_cast<std::uint8_t>(asked % 8 + 1)),
                          asked == at)
                    << reader.name << " " << to_hex(value) << " bit " << asked;
            }
        }
    }
}

TEST_F(PlainGetters, BitsAreReadWhetherOrNotTheElementIsPresent) {
    for (const BitReader& reader : bit_readers) {
        row(reader.tag).value[0] = 0x80;
        EXPECT_EQ(reader.accessor(1, 8), 1) << reader.name;
    }
}

TEST_F(PlainGetters, BitsOutsideTheElementAreZero) {
    fill_every_element();
    for (const BitReader& reader : bit_readers) {
        const auto beyond = static_cast<std::uint8_t>(reader.bytes + 1);
        EXPECT_EQ(reader.accessor(reader.bytes, 1), 1) << reader.name;
        EXPECT_EQ(reader.accessor(0, 1), 0) << reader.name;
        EXPECT_EQ(reader.accessor(beyond, 1), 0) << reader.name;
        EXPECT_EQ(reader.accessor(255, 1), 0) << reader.name;
        EXPECT_EQ(reader.accessor(1, 0), 0) << reader.name;
        EXPECT_EQ(reader.accessor(1, 9), 0) << reader.name;
        EXPECT_EQ(reader.accessor(1, 255), 0) << reader.name;
    }
}

// ---- Addresses

struct Address {
    const char* name;
    std::uint8_t* (*accessor)();
    const char* tag;
};

constexpr Address addresses[] = {
    {"emvGetPDOL", emvGetPDOL, "9F38"},
    {"emvGetIccDDOL", emvGetIccDDOL, "9F49"},
    {"emvGetTransDate", emvGetTransDate, "9A"},
    {"emvGetTermAppVerNo", emvGetTermAppVerNo, "9F09"},
    {"emvGetIccAppVerNo", emvGetIccAppVerNo, "9F08"},
    {"emvGetIssCntryCode", emvGetIssCntryCode, "5F28"},
    {"emvGetTermCntryCode", emvGetTermCntryCode, "9F1A"},
    {"emvGetEffectDate", emvGetEffectDate, "5F25"},
    {"emvGetExpiryDate", emvGetExpiryDate, "5F24"},
    {"emvGetAppCurCode", emvGetAppCurCode, "9F42"},
    {"emvGetTermCurCode", emvGetTermCurCode, "5F2A"},
    {"emvGetAuthAmountB", emvGetAuthAmountB, "81"},
    {"emvGetAuthAmountN", emvGetAuthAmountN, "9F02"},
    {"emvGetOtherAmountB", emvGetOtherAmountB, "9F04"},
    {"emvGetPinDataPtr", emvGetPinDataPtr, "99"},
    {"emvGetFloorLimit", emvGetFloorLimit, "9F1B"},
    {"emvGetATC", emvGetATC, "9F36"},
    {"emvGetLastATC", emvGetLastATC, "9F13"},
    {"emvGetCDOL1", emvGetCDOL1, "8C"},
    {"emvGetCDOL2", emvGetCDOL2, "8D"},
    {"emvGetAC", emvGetAC, "9F26"},
    {"emvGetCIDptr", emvGetCIDptr, "9F27"},
    {"emvGetIssuerAuthData", emvGetIssuerAuthData, "91"},
    {"emvGetIssuerScript", emvGetIssuerScript, "71"},
    {"emvGetARC", emvGetARC, "8A"},
    {"emvGetIssuerAuthCode", emvGetIssuerAuthCode, "89"},
    {"emvGetIssScrptID", emvGetIssScrptID, "9F18"},
    {"emvGetTermRefCurCode", emvGetTermRefCurCode, "9F3C"},
    {"emvGetCVMListXX", emvGetCVMListXX, "8E"},
};

TEST_F(PlainGetters, AddressesAreThoseOfTheElementsStorage) {
    for (const Address& address : addresses) {
        EXPECT_EQ(address.accessor(), row(address.tag).value) << address.name;
    }
}

TEST_F(PlainGetters, AddressesShowAStoredValue) {
    for (const Address& address : addresses) {
        const ByteString value = pattern(row(address.tag).maxLen);
        put(address.tag, value);
        EXPECT_EQ(ByteString(address.accessor(), address.accessor() + value.size()), value)
            << address.name;
    }
}

TEST_F(PlainGetters, AddressesOfWorkingDataAreThoseOfTheirVariables) {
    EXPECT_EQ(emvGetTermDDOL(), gl_Tm_DDOL);
    EXPECT_EQ(emvGetGACOne(), gl_GACOne);
    EXPECT_EQ(emvGetGACOneLen(), &gl_GACOneLen);
    EXPECT_EQ(emvGetGACTwo(), gl_GACTwo);
    EXPECT_EQ(emvGetGACTwoLen(), &gl_GACTwoLen);
    EXPECT_EQ(emvGetIssScrptRslt(), gl_Iss_ScriptRslt);
    EXPECT_EQ(emvGetCVMListYY(), gl_CVMList + 4);
}

// ---- Values

struct Value {
    const char* name;
    std::uint8_t (*accessor)();
    std::uint8_t* variable;
};

constexpr Value values[] = {
    {"emvGetPANSn", emvGetPANSn, gl_PANSn},
    {"emvGetTermType", emvGetTermType, gl_Tm_TermType},
    {"emvGetTransType", emvGetTransType, gl_Tm_TransType},
    {"emvGetLCOL", emvGetLCOL, gl_LCOL},
    {"emvGetUCOL", emvGetUCOL, gl_UCOL},
    {"emvGetTermACType", emvGetTermACType, &gl_Tm_ACType},
    {"emvGetTmTransCateCode", emvGetTmTransCateCode, gl_Tm_TransCateCode},
    {"emvGetTmRmCheckFlg", emvGetTmRmCheckFlg, &gl_Tm_RmCheckFlg},
    {"emvGetCardATCErrFlg", emvGetCardATCErrFlg, &gl_ATC_Err},
    {"emvGetTermDDOLLength", emvGetTermDDOLLength, &gl_Tm_LenDDOL},
    {"emvGetCID", emvGetCID, gl_CID},
};

TEST_F(PlainGetters, ValuesAreThoseOfTheOneVariable) {
    for (const Value& value : values) {
        *value.variable = 0;
    }
    for (const Value& value : values) {
        *value.variable = 0xE7;
        for (const Value& other : values) {
            EXPECT_EQ(other.accessor(), &other == &value ? 0xE7 : 0) << other.name;
        }
        *value.variable = 0;
    }
}

TEST_F(PlainGetters, ValuesOfElementsAreThoseStoredUnderTheirTags) {
    put("5F34", hex("11"));
    put("9F35", hex("22"));
    put("9C", hex("33"));
    put("9F14", hex("44"));
    put("9F23", hex("55"));
    put("9F53", hex("66"));
    put("9F27", hex("77"));
    EXPECT_EQ(emvGetPANSn(), 0x11);
    EXPECT_EQ(emvGetTermType(), 0x22);
    EXPECT_EQ(emvGetTransType(), 0x33);
    EXPECT_EQ(emvGetLCOL(), 0x44);
    EXPECT_EQ(emvGetUCOL(), 0x55);
    EXPECT_EQ(emvGetTmTransCateCode(), 0x66);
    EXPECT_EQ(emvGetCID(), 0x77);
}

// ---- Lengths

struct Length {
    const char* name;
    std::uint16_t (*accessor)();
    const char* tag;
};

constexpr Length lengths[] = {
    {"emvGetPDOLLen", emvGetPDOLLen, "9F38"},
    {"emvGetPANLength", emvGetPANLength, "5A"},
    {"emvGetPANSnLength", emvGetPANSnLength, "5F34"},
    {"emvGetIccDDOLLength", emvGetIccDDOLLength, "9F49"},
    {"emvGetPinDataLength", emvGetPinDataLength, "99"},
    {"emvGetCDOL1Length", emvGetCDOL1Length, "8C"},
    {"emvGetCDOL2Length", emvGetCDOL2Length, "8D"},
    {"emvGetIssuerAuthDataLength", emvGetIssuerAuthDataLength, "91"},
    {"emvGetCardHolderCertLength", emvGetCardHolderCertLength, "9F61"},
    {"emvGetCardHolderCertTypeLength", emvGetCardHolderCertTypeLength, "9F62"},
};

TEST_F(PlainGetters, LengthsAreZeroInAnEmptyStore) {
    for (const Length& length : lengths) {
        EXPECT_EQ(length.accessor(), 0) << length.name;
    }
}

TEST_F(PlainGetters, LengthsAreThoseOfTheOneElement) {
    for (const Length& length : lengths) {
        put(length.tag, pattern(row(length.tag).maxLen));
        for (const Length& other : lengths) {
            EXPECT_EQ(other.accessor(), &other == &length ? row(length.tag).maxLen : 0)
                << other.name;
        }
        emvClrIccAndTermData();
    }
}

TEST_F(PlainGetters, LengthsHaveSixteenBitsAndAreTheCurrentOnes) {
    for (const Length& length : lengths) {
        set_length_of(length.tag, 0x1234, Current);
        EXPECT_EQ(length.accessor(), 0x1234) << length.name;
    }
}

}  // namespace
}  // namespace quorrin::test
