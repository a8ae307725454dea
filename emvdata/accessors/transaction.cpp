// The transaction as the host states it: amounts, currency, date, time, type, account, random
// numbers, PIN data.

#include <cstring>

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

// Plain
std::int32_t emvInRandom() { return presence(element::unpredictable_number); }

std::uint8_t* emvGetAuthAmountB() { return gl_Tm_AuthAmntB; }
std::uint8_t* emvGetAuthAmountN() { return gl_Tm_AuthAmntN; }
std::uint8_t* emvGetOtherAmountB() { return gl_Tm_OtherAmntB; }
std::uint8_t* emvGetTermCurCode() { return gl_Tm_CurCode; }
std::uint8_t* emvGetTermRefCurCode() { return gl_Tm_RefCurCode; }
std::uint8_t* emvGetTransDate() { return gl_Tm_TransDate; }
std::uint8_t* emvGetPinDataPtr() { return gl_Tm_PINData; }

std::uint8_t emvGetTransType() { return gl_Tm_TransType[0]; }
std::uint16_t emvGetPinDataLength() { return length(element::pin_data); }

std::int32_t emvGetRandom(std::uint8_t* out, std::uint8_t* outLen) {
    return read_through(element::unpredictable_number, out, outLen);
}
std::int32_t emvGetTransTime(std::uint8_t* out, std::uint8_t* outLen) {
    return read_through(element::transaction_time, out, outLen);
}

// Raw results
std::int32_t emvSetRandom(const std::uint8_t* value, std::uint16_t length) {
    return store(element::unpredictable_number, value, length);
}

// Mapped results
std::int32_t emvSetAuthAmountB(const std::uint8_t* value) {
    return store_mapped(element::amount_authorised_binary, value, 4);
}
std::int32_t emvSetAuthAmountN(const std::uint8_t* value) {
    return store_mapped(element::amount_authorised_numeric, value, 6);
}
std::int32_t emvSetOtherAmountB(const std::uint8_t* value) {
    return store_mapped(element::amount_other_binary, value, 4);
}
std::int32_t emvSetOtherAmountN(const std::uint8_t* value) {
    return store_mapped(element::amount_other_numeric, value, 6);
}
std::int32_t emvSetTransSequenceCounter(const std::uint8_t* value) {
    return store_mapped(element::transaction_sequence_counter, value, 4);
}
std::int32_t emvSetTermCurCode(const std::uint8_t* value) {
    return store_mapped(element::transaction_currency_code, value, 2);
}
std::int32_t emvSetAppTransCurExp(std::uint8_t value) {
    return store_mapped(element::transaction_currency_exponent, &value, 1);
}
std::int32_t emvSetTermRefCurCode(const std::uint8_t* value) {
    return store_mapped(element::transaction_reference_currency_code, value, 2);
}
std::int32_t emvSetTermRefCurExp(std::uint8_t value) {
    return store_mapped(element::transaction_reference_currency_exponent, &value, 1);
}

// With a rule of their own

std::int32_t emvSetTermRefCurConv(const std::uint32_t* value) {
    if (value == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    std::memcpy(&gl_Tm_RefCurConv, value, sizeof gl_Tm_RefCurConv);
    return QUORRIN_SUCCESS;
}

std::int32_t emvSetTransDate(const std::uint8_t* date, std::uint16_t length) {
    if (length != sizeof gl_Tm_TransDate) {
        return QUORRIN_ACCESSOR_BAD_LENGTH;
    }
    return store_mapped(element::transaction_date, date, length);
}

std::int32_t emvSetTransTime(const std::uint8_t* time, std::uint16_t length) {
    if (length != sizeof gl_Tm_TransTime) {
        return QUORRIN_ACCESSOR_BAD_LENGTH;
    }
    // HHMMSS in BCD. Deliberate: the bytes are compared as they stand, so that a second digit above
    // 9 (1A) passes; a host that takes the time from its clock never sends one.
    if (time == nullptr || time[0] > 0x23 || time[1] > 0x59 || time[2] > 0x59) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    return store_mapped(element::transaction_time, time, length);
}

// EMV book 4, annex A3, additional terminal capabilities byte 1: b8 cash, b7 goods, b6 services,
// b5 cashback.
std::int32_t emvSetTransType(std::uint8_t type) {
    constexpr std::uint8_t goods_and_services = 0x00;
    constexpr std::uint8_t cash = 0x01;
    const std::uint8_t offered = gl_Tm_Cap_Ad[0];
    if ((type == goods_and_services && (offered & 0x60) == 0) ||
        (type == cash && (offered & 0x90) == 0)) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    return store_mapped(element::transaction_type, &type, 1);
}

std::int32_t emvGetCashBackFlg() { return gl_Tm_TransType[0] == 0x01 ? 1 : 0; }

// Deliberate: the flag is the transaction type as well, so that emvGetCashBackFlg and DOLs that ask
// for 9C see it. Whether the type is present stays as it was.
void emvSetCashBackFlg(std::uint8_t flag) {
    gl_Tm_CashBackFlg = flag;
    gl_Tm_TransType[0] = flag;
}

// Account types 00, 10, 20 and 30 (ISO 8583).
std::int32_t emvSetAccountType(std::uint8_t type) {
    constexpr std::uint8_t highest = 0x30;
    if ((type & 0x0F) != 0 || type > highest) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    return store_mapped(element::account_type, &type, 1);
}

// Deliberate: the length alone. The host writes PIN data at emvGetPinDataPtr; until it stores or
// marks them by tag they do not count as entered.
std::int32_t emvSetPinDataLength(std::uint16_t length) {
    set_length(element::pin_data, length);
    return QUORRIN_SUCCESS;
}

void emvSetRandNum(std::uint16_t value) {
    gl_RandNum = value;
    gl_RandNum_Flag = 1;
}

std::int32_t emvGetRandNum(std::uint16_t* out) {
    if (out == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    const bool drawn = gl_RandNum_Flag != 0;
    *out = drawn ? gl_RandNum : std::uint16_t{0};
    // Deliberate: 1 says that there is no number, 0 that it was delivered.
    return drawn ? 0 : QUORRIN_ACCESSOR_NONE;
}
