// Offline data authentication and PIN encipherment: certificates, signed data, recovered public
// keys (EMV book 2, sections 5 to 7).

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

namespace {

// A public key record, in the host's own layout, and its flag.
using KeyRecord = std::uint8_t[512];

void get_key(const KeyRecord& key, std::uint8_t* out) {
    if (out != nullptr) {
        std::ranges::copy(key, out);
    }
}

void set_key(KeyRecord& key, std::uint8_t& flag, const std::uint8_t* record) {
    if (record != nullptr) {
        std::copy_n(record, std::size(key), key);
        flag = 1;
    }
}

}  // namespace

// Plain
std::int32_t emvInSignDynAppData() { return presence(element::signed_dynamic_application_data); }

std::int32_t emvGetIssPkCert(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::issuer_public_key_certificate, out, outLen);
}
std::int32_t emvGetIssPkExp(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::issuer_public_key_exponent, out, outLen);
}
std::int32_t emvGetIssPkRmd(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::issuer_public_key_remainder, out, outLen);
}
std::int32_t emvGetSignStaticData(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::signed_static_application_data, out, outLen);
}
std::int32_t emvGetSDATagList(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::sda_tag_list, out, outLen);
}
std::int32_t emvGetIccPkCert(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::icc_public_key_certificate, out, outLen);
}
std::int32_t emvGetIccPkExp(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::icc_public_key_exponent, out, outLen);
}
std::int32_t emvGetIccPkRmd(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::icc_public_key_remainder, out, outLen);
}
std::int32_t emvGetPinEnPkCert(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::icc_pin_key_certificate, out, outLen);
}
std::int32_t emvGetPinEnPkExp(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::icc_pin_key_exponent, out, outLen);
}
std::int32_t emvGetPinEnPkRmd(std::uint8_t* out, std::uint8_t* outLen) {
    return copy_if_present(element::icc_pin_key_remainder, out, outLen);
}

// Raw results
std::int32_t emvSetDataAuthCode(const std::uint8_t* value) {
    return store(element::data_authentication_code, value, 2);
}
std::int32_t emvSetIccDynNumber(const std::uint8_t* value, std::uint16_t length) {
    return store(element::icc_dynamic_number, value, length);
}
std::int32_t emvSetSignDynAppData(const std::uint8_t* value, std::uint16_t length) {
    return store(element::signed_dynamic_application_data, value, length);
}

// With a rule of their own

// Public key records
void emvGetIccPKey(std::uint8_t* out) { get_key(gl_tIccPk, out); }
void emvGetIccPKey_GM(std::uint8_t* out) { get_key(gl_tIccPk_GM, out); }
void emvSetIccPKey(const std::uint8_t* key) { set_key(gl_tIccPk, gl_FlgIccPk, key); }
void emvSetIccPKey_GM(const std::uint8_t* key) { set_key(gl_tIccPk_GM, gl_FlgIccPk_GM, key); }
void emvSetPinEnPKey(const std::uint8_t* key) { set_key(gl_tPinEnPk, gl_FlgPinEnPk, key); }
std::int32_t emvGetIccPKeyState() { return gl_FlgIccPk == 1 ? 1 : 0; }

std::int32_t emvGetPinEnPKey(std::uint8_t* out) {
    if (gl_FlgPinEnPk == 0) {
        return QUORRIN_ACCESSOR_ABSENT;
    }
    if (out == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    get_key(gl_tPinEnPk, out);
    return QUORRIN_ACCESSOR_DELIVERED;
}

std::int32_t emvGetCAPkIndex(std::uint8_t* out) {
    if (out == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    // Deliberate: written also when the card gave none; hosts then find the 00 of a cleared store.
    *out = gl_CAPkIndex[0];
    return presence(element::ca_public_key_index_card);
}

std::int32_t emvGetSignDynAppData(std::uint8_t* out, std::uint16_t* length) {
    if (out == nullptr || length == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    *length = read_whole(element::signed_dynamic_application_data, out).length;
    return *length == 0 ? QUORRIN_ACCESSOR_NOTHING_SIGNED : QUORRIN_ACCESSOR_DELIVERED;
}
