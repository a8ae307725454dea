// Application cryptograms and what comes with them: cryptogram information data, application
// transaction counters, issuer application data, GENERATE AC responses (EMV book 3, section 6.5.5).

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

// Plain
std::int32_t emvExistAC() { return presence(element::application_cryptogram); }

std::uint8_t* emvGetAC() { return gl_AC; }
std::uint8_t* emvGetCIDptr() { return gl_CID; }
std::uint8_t* emvGetATC() { return gl_ATC; }
std::uint8_t* emvGetLastATC() { return gl_LastATC; }
std::uint8_t* emvGetGACOne() { return gl_GACOne; }
std::uint16_t* emvGetGACOneLen() { return &gl_GACOneLen; }
std::uint8_t* emvGetGACTwo() { return gl_GACTwo; }
std::uint16_t* emvGetGACTwoLen() { return &gl_GACTwoLen; }

std::uint8_t emvGetCID() { return gl_CID[0]; }
std::uint8_t emvGetTermACType() { return gl_Tm_ACType; }
std::uint8_t emvGetCardATCErrFlg() { return gl_ATC_Err; }

void emvSetTermACType(std::uint8_t value) { gl_Tm_ACType = value; }
void emvSetCardATCErrFlg(std::uint8_t value) { gl_ATC_Err = value; }

std::int32_t emvSetTCHash(const std::uint8_t* value) {
    return store(element::tc_hash_value, value, 20);
}

std::int32_t emvGetIssAppData(std::uint8_t* out, std::uint8_t* outLen) {
    return read_through(element::issuer_application_data, out, outLen);
}

// With a rule of their own

// EMV book 3, 6.5.5: cryptogram type, payment system's part, advice, reason.
std::int32_t emvGetCIDItem(std::uint8_t item) {
    const std::uint8_t cid = gl_CID[0];
    switch (item) {
        case 1:
            return cid >> 6;
        case 2:
            return (cid & 0x30) >> 4;
        case 3:
            return (cid & 0x08) >> 3;
        case 4:
            return cid & 0x07;
        default:
            return QUORRIN_ACCESSOR_BAD_SELECTOR;
    }
}

// Deliberate: the byte alone. A host may set it to take it apart with emvGetCIDItem, and emvGetCID
// asks for no presence; whether a card has answered with it, and how long, still shows by its tag.
void emvSetCID(std::uint8_t value) { gl_CID[0] = value; }

void emvSetAC(const std::uint8_t* ac, std::uint16_t length) {
    if (ac != nullptr) {
        mark_present(element::application_cryptogram, fill(gl_AC, ac, length));
    }
}

std::int32_t emvGetCardATC(std::uint8_t* atc) {
    if (atc == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    if (!is_present(element::app_transaction_counter)) {
        // Deliberate: 1 says that there is no counter, 0 that it was delivered.
        return QUORRIN_ACCESSOR_NONE;
    }
    std::copy_n(gl_ATC, std::size(gl_ATC), atc);
    return QUORRIN_SUCCESS;
}

std::int32_t emvGetIssAppType(std::uint8_t* out) {
    // PBOC: length, key index, cryptogram version, then the card verification results (4 bytes),
    // whose second byte tells in b6-b5 what the card answered to the first GENERATE AC.
    constexpr std::uint16_t size_with_verification_results = 7;
    constexpr std::size_t second_verification_byte = 4;
    constexpr std::uint8_t reserved = 3;
    if (out == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    std::uint8_t data[sizeof gl_IssAppData] = {};
    const Reading reading = read_whole(element::issuer_application_data, data);
    if (reading.code != QUORRIN_READ_FROM_CARD) {
        return QUORRIN_ISSUER_DATA_NOT_FROM_CARD;
    }
    if (reading.length < size_with_verification_results) {
        return QUORRIN_ISSUER_DATA_TOO_SHORT;
    }
    const auto type = static_cast<std::uint8_t>((data[second_verification_byte] & 0x30) >> 4);
    if (type == reserved) {
        return QUORRIN_ISSUER_DATA_RESERVED;
    }
    *out = type;
    return QUORRIN_SUCCESS;
}
