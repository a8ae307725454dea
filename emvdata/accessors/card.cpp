// What the card tells of itself: application, cardholder, processing options, limits, electronic
// cash.

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

namespace {

constexpr std::uint16_t afl_entry_size = 4;

// A text of the card with its length, which is told also when there is none.
std::int32_t copy_or_empty(Element element, std::uint8_t* out, std::uint8_t* out_length) {
    if (out == nullptr || out_length == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    if (!is_present(element)) {
        *out_length = 0;
        return QUORRIN_ACCESSOR_ABSENT;
    }
    return copy_if_present(element, out, out_length);
}

}  // namespace

// Plain
std::int32_t emvInAIP() { return presence(element::app_interchange_profile); }
std::int32_t emvInAFL() { return presence(element::app_file_locator); }
std::int32_t emvInAppVerNo() { return presence(element::app_version_number_card); }
std::int32_t emvInAUC() { return presence(element::app_usage_control); }
std::int32_t emvInIssCCode() { return presence(element::issuer_country_code); }
std::int32_t emvInEffecDate() { return presence(element::app_effective_date); }
std::int32_t emvInExpireDate() { return presence(element::app_expiration_date); }
std::int32_t emvInAppCurCode() { return presence(element::app_currency_code); }
std::int32_t emvInLCOL() { return presence(element::lower_consecutive_offline_limit); }
std::int32_t emvInUCOL() { return presence(element::upper_consecutive_offline_limit); }

std::int32_t emvGetAIP(std::uint8_t byte, std::uint8_t bit) { return bit_value(gl_AIP, byte, bit); }
std::int32_t emvGetAUCBit(std::uint8_t byte, std::uint8_t bit) {
    return bit_value(gl_AUC, byte, bit);
}

std::uint8_t* emvGetIccAppVerNo() { return gl_AppVerNo; }
std::uint8_t* emvGetIssCntryCode() { return gl_IssCountryCode; }
std::uint8_t* emvGetEffectDate() { return gl_AppEffectDate; }
std::uint8_t* emvGetExpiryDate() { return gl_AppExpireDate; }
std::uint8_t* emvGetAppCurCode() { return gl_AppCurCode; }

std::uint8_t emvGetPANSn() { return gl_PANSn[0]; }
std::uint8_t emvGetLCOL() { return gl_LCOL[0]; }
std::uint8_t emvGetUCOL() { return gl_UCOL[0]; }

std::uint16_t emvGetPANLength() { return length(element::pan); }
std::uint16_t emvGetPANSnLength() { return length(element::pan_sequence_number); }
std::uint16_t emvGetCardHolderCertLength() { return length(element::cardholder_id_number); }
std::uint16_t emvGetCardHolderCertTypeLength() { return length(element::cardholder_id_type); }

std::int32_t emvGetPreferLang(std::uint8_t* out, std::uint8_t* outLen) {
    return read_through(element::language_preference, out, outLen);
}
std::int32_t emvGetCardHolderCert(std::uint8_t* out, std::uint8_t* outLen) {
    return read_through(element::cardholder_id_number, out, outLen);
}
std::int32_t emvGetCardHolderCertType(std::uint8_t* out, std::uint8_t* outLen) {
    return read_through(element::cardholder_id_type, out, outLen);
}

// Raw results
std::int32_t emvSetAID(const std::uint8_t* value, std::uint16_t length) {
    return store(element::aid_card, value, length);
}

// With a rule of their own
std::int32_t emvGetPAN(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_or_empty(element::pan, out, outLen);
}
std::int32_t emvGetHolderName(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_or_empty(element::cardholder_name, out, outLen);
}
std::uint8_t emvGetAFLNum() {
    return static_cast<std::uint8_t>(length(element::app_file_locator) / afl_entry_size);
}

std::int32_t emvSetAIP(const std::uint8_t* aip) {
    if (aip == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    std::copy_n(aip, std::size(gl_AIP), gl_AIP);
    if (is_present(element::app_interchange_profile)) {
        // Deliberate: 1 is a remark, not a refusal. A host that sets a profile of its own works
        // with that one from here on.
        return QUORRIN_ACCESSOR_WAS_PRESENT;
    }
    mark_present(element::app_interchange_profile, sizeof gl_AIP);
    return QUORRIN_SUCCESS;
}

std::int32_t emvSetAFL(const std::uint8_t* afl, std::uint16_t length) {
    if (afl == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    const std::uint16_t stored = fill(gl_AFL, afl, length);
    if (is_present(element::app_file_locator)) {
        // Deliberate: a second list is walked to the length of the first.
        return QUORRIN_ACCESSOR_WAS_PRESENT;
    }
    mark_present(element::app_file_locator, stored);
    return QUORRIN_SUCCESS;
}

std::uint8_t emvGetAFL(std::uint8_t entry, std::uint8_t offset) {
    const std::size_t at = std::size_t{entry} * afl_entry_size + offset;
    return at < std::size(gl_AFL) ? gl_AFL[at] : std::uint8_t{0};
}

std::int32_t emvGetRID(std::uint8_t* out) {
    constexpr std::size_t rid_size = 5;  // ISO/IEC 7816-5: registered application provider
    if (out == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    if (is_present(element::aid_card)) {
        std::copy_n(gl_AID, rid_size, out);
    }
    return presence(element::aid_card);
}

std::int32_t emvGetPinReTry() {
    if (!is_present(element::pin_try_counter)) {
        return QUORRIN_ACCESSOR_NOT_KNOWN;
    }
    return gl_PinTryCntr[0];
}

std::int32_t emvGetCardTranCapa(std::uint8_t* ctq) {
    if (!is_present(element::card_transaction_qualifiers)) {
        return presence(element::card_transaction_qualifiers);
    }
    if (ctq == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    std::copy_n(gl_IC_ECCTQ, std::size(gl_IC_ECCTQ), ctq);
    return QUORRIN_ACCESSOR_DELIVERED;
}

// PBOC fast DDA: the card authentication related data begin with their version.
std::int32_t emvGetCardDDAVer(std::uint8_t* out) {
    constexpr std::uint16_t shortest = 8;
    if (out == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    std::uint8_t data[sizeof gl_IC_ECCAR] = {};
    const Reading reading = read_whole(element::card_authentication_related_data, data);
    if (reading.code != QUORRIN_READ_FROM_CARD) {
        return QUORRIN_ACCESSOR_ABSENT;
    }
    if (reading.length < shortest) {
        return QUORRIN_ACCESSOR_TOO_SHORT;
    }
    *out = data[0];
    return QUORRIN_ACCESSOR_DELIVERED;
}
