// What the host tells about the terminal: type, capabilities, country, merchant, application
// settings, risk management (EMV book 4, annex A).

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

// Plain
std::int32_t emvGetTermCapability(std::uint8_t byte, std::uint8_t bit) {
    return bit_value(gl_Tm_Cap, byte, bit);
}
std::int32_t emvGetTermCapabilityAd(std::uint8_t byte, std::uint8_t bit) {
    return bit_value(gl_Tm_Cap_Ad, byte, bit);
}
std::int32_t emvGetTermTranCapa(std::uint8_t byte, std::uint8_t bit) {
    return bit_value(gl_Tm_ECTranPRT, byte, bit);
}

std::uint8_t* emvGetTermAppVerNo() { return gl_Tm_AppVerNo; }
std::uint8_t* emvGetTermCntryCode() { return gl_Tm_CntryCode; }
std::uint8_t* emvGetFloorLimit() { return gl_Tm_FloorLmt; }

std::uint8_t emvGetTermType() { return gl_Tm_TermType[0]; }
std::uint8_t emvGetTmTransCateCode() { return gl_Tm_TransCateCode[0]; }
std::uint8_t emvGetTmRmCheckFlg() { return gl_Tm_RmCheckFlg; }
std::int64_t emvGetRandSltLimit() { return gl_lRandSltLmt; }
std::int64_t emvGetRandSltPercent() { return gl_lRandSltPcnt; }
std::int64_t emvGetRandSltBiPercent() { return gl_lBiRSltPcnt; }

void emvSetRandSltLimit(std::int64_t value) { gl_lRandSltLmt = value; }
void emvSetRandSltPercent(std::int64_t value) { gl_lRandSltPcnt = value; }
void emvSetRandSltBiPercent(std::int64_t value) { gl_lBiRSltPcnt = value; }

// Raw results
std::int32_t emvSetTermCapability(const std::uint8_t* value) {
    return store(element::terminal_capabilities, value, 3);
}
std::int32_t emvSetTermCapabilityAd(const std::uint8_t* value) {
    return store(element::additional_terminal_capabilities, value, 5);
}
std::int32_t emvSetIFDSn(const std::uint8_t* value) {
    return store(element::ifd_serial_number, value, 8);
}
std::int32_t emvSetTerminalID(const std::uint8_t* value) {
    return store(element::terminal_identification, value, 8);
}
std::int32_t emvSetTermTranCapa(const std::uint8_t* value) {
    return store(element::terminal_transaction_qualifiers, value, 4);
}
std::int32_t emvSetTermAID(const std::uint8_t* value, std::uint16_t length) {
    return store(element::aid_terminal, value, length);
}

// Mapped results
std::int32_t emvSetTermAppVerNo(const std::uint8_t* value) {
    return store_mapped(element::app_version_number_terminal, value, 2);
}
std::int32_t emvSetFloorLimit(const std::uint8_t* value) {
    return store_mapped(element::terminal_floor_limit, value, 4);
}
std::int32_t emvSetMerchantID(const std::uint8_t* value) {
    return store_mapped(element::merchant_identifier, value, 15);
}
std::int32_t emvSetMerchantCategoryCode(const std::uint8_t* value) {
    return store_mapped(element::merchant_category_code, value, 2);
}
std::int32_t emvSetTmTransCateCode(std::uint8_t value) {
    return store_mapped(element::transaction_category_code, &value, 1);
}
std::int32_t emvSetMerchantNameAndLoc(const std::uint8_t* value, std::uint16_t length) {
    return store_mapped(element::merchant_name_and_location, value, length);
}
std::int32_t emvSetTermCntryCode(const std::uint8_t* value) {
    return store_mapped_tolerant(element::terminal_country_code, value, 2);
}
std::int32_t emvSetAcquirerID(const std::uint8_t* value) {
    return store_mapped_tolerant(element::acquirer_identifier, value, 6);
}

// The terminal transaction qualifiers need no preparation.
void emvInitTTQStru() {}

// With a rule of their own

std::int32_t emvSetTermType(std::uint8_t type) {
    gl_Tm_TermType[0] = type;
    mark_present(element::terminal_type, 1);
    return QUORRIN_SUCCESS;
}

// EMV book 4, annex A1: types x1, x4 are online only, x2, x5 offline with online capability.
std::int32_t emvIsOnlineCap() {
    switch (gl_Tm_TermType[0] & 0x0F) {
        case 1:
        case 2:
        case 4:
        case 5:
            return 1;
        default:
            return 0;
    }
}

// EMV book 4, annex A3: byte 5 b1-b8 are code tables 1 to 8 of ISO 8859, byte 4 b1 and b2 are 9
// and 10.
std::int32_t emvIsSupportIssCodeTable(std::uint8_t index) {
    constexpr std::uint8_t common_table = 0x01;
    const bool nothing_declared =
        std::ranges::all_of(gl_Tm_Cap_Ad, [](int byte) { return byte == 0; });
    if (nothing_declared && index == common_table) {
        return 1;
    }
    if (index >= 0x01 && index <= 0x08) {
        return bit_value(gl_Tm_Cap_Ad, 5, index);
    }
    switch (index) {  // BCD, as the card states it (9F11)
        case 0x09:
            return bit_value(gl_Tm_Cap_Ad, 4, 1);
        case 0x10:
            return bit_value(gl_Tm_Cap_Ad, 4, 2);
        default:
            return 0;
    }
}

std::int32_t emvSetTmRmCheckFlg(std::uint8_t flag) {
    constexpr std::uint8_t highest = 2;
    if (flag > highest) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    gl_Tm_RmCheckFlg = flag;
    return QUORRIN_SUCCESS;
}
