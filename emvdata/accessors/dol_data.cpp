// Data object lists, the card's and the terminal's defaults, and the command data built from them
// (EMV book 3, section 5.4).

#include "emvdata/accessors/families.hpp"
#include "tlv/codec/ber_tlv.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

namespace {

// The data of one command as last built. Deliberate: the length is kept as given, also beyond the
// storage, so that a host sees in the length variable that its data were cut; what is handed out is
// what the storage holds.
struct CommandData {
    std::span<std::uint8_t> storage;
    std::uint16_t& length;

    void set(const std::uint8_t* data, std::uint16_t given) const {
        if (data != nullptr) {
            fill(storage, data, given);
            length = given;
        }
    }

    Bytes held() const { return storage.first(std::min<std::size_t>(length, storage.size())); }

    // 1 and the data, or 0 when there are none.
    std::int32_t get(std::uint8_t* out, std::uint16_t* out_length) const {
        if (out == nullptr || out_length == nullptr) {
            return QUORRIN_ACCESSOR_REFUSED;
        }
        if (held().empty()) {
            return QUORRIN_ACCESSOR_ABSENT;
        }
        std::ranges::copy(held(), out);
        *out_length = static_cast<std::uint16_t>(held().size());
        return QUORRIN_ACCESSOR_DELIVERED;
    }
};

const CommandData processing_options{gl_GPOPdolData, gl_LenGPOPdolData};
const CommandData first_generate_ac{gl_GACCdolOne, gl_LenGACCdolOne};
const CommandData second_generate_ac{gl_GACCdolTwo, gl_LenGACCdolTwo};

// A DOL of the terminal. Deliberate: its 8-bit length is kept as given here too, also beyond the
// storage.
std::int32_t set_default_dol(std::span<std::uint8_t> storage, std::uint8_t& length,
                             const std::uint8_t* dol, std::uint8_t given) {
    if (dol == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    fill(storage, dol, given);
    length = given;
    return QUORRIN_SUCCESS;
}

std::uint8_t held_length(Bytes storage, std::uint8_t length) {
    return static_cast<std::uint8_t>(std::min<std::size_t>(length, storage.size()));
}

}  // namespace

// Plain
std::int32_t emvInPDOL() { return presence(element::pdol); }
std::int32_t emvInIccDDOL() { return presence(element::ddol); }
std::int32_t emvInCDOL1() { return presence(element::cdol1); }
std::int32_t emvInCDOL2() { return presence(element::cdol2); }

std::uint8_t* emvGetPDOL() { return gl_PDOL; }
std::uint8_t* emvGetIccDDOL() { return gl_DDOL; }
std::uint8_t* emvGetCDOL1() { return gl_CDOL1; }
std::uint8_t* emvGetCDOL2() { return gl_CDOL2; }

std::uint16_t emvGetPDOLLen() { return length(element::pdol); }
std::uint16_t emvGetIccDDOLLength() { return length(element::ddol); }
std::uint16_t emvGetCDOL1Length() { return length(element::cdol1); }
std::uint16_t emvGetCDOL2Length() { return length(element::cdol2); }

std::uint8_t* emvGetTermDDOL() { return gl_Tm_DDOL; }

// Raw results
std::int32_t emvSetTDOL(const std::uint8_t* value, std::uint16_t length) {
    return store(element::tdol, value, length);
}

// With a rule of their own

std::int32_t emvGetTDOL(std::uint8_t* out, std::uint8_t* outLen) {
    if (out == nullptr || outLen == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    if (presence(element::tdol) == QUORRIN_ACCESSOR_ABSENT) {
        return QUORRIN_ACCESSOR_NO_TDOL;
    }
    if (!is_present(element::tdol)) {
        return QUORRIN_ACCESSOR_BAD_STATE;
    }
    read_through(element::tdol, out, outLen);
    return QUORRIN_ACCESSOR_DELIVERED;
}

// The terminal's default lists
std::int32_t emvSetTermDDOL(const std::uint8_t* dol, std::uint8_t length) {
    return set_default_dol(gl_Tm_DDOL, gl_Tm_LenDDOL, dol, length);
}
std::int32_t emvSetTermDefaultTDOL(const std::uint8_t* dol, std::uint8_t length) {
    return set_default_dol(gl_Tm_TDOL, gl_Tm_LenTDOL, dol, length);
}
std::uint8_t emvGetTermDDOLLength() { return held_length(gl_Tm_DDOL, gl_Tm_LenDDOL); }
std::int32_t emvInTermDDOL() { return gl_Tm_LenDDOL != 0 ? 1 : 0; }
std::int32_t emvGetTermDefaultTDOL(std::uint8_t* out, std::uint8_t* outLen) {
    if (out == nullptr || outLen == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    *outLen = held_length(gl_Tm_TDOL, gl_Tm_LenTDOL);
    std::copy_n(gl_Tm_TDOL, *outLen, out);
    return QUORRIN_SUCCESS;
}

// Command data
void emvSetGPOPdolData(const std::uint8_t* data, std::uint16_t length) {
    processing_options.set(data, length);
}
void emvSetGACCdolOne(const std::uint8_t* data, std::uint16_t length) {
    first_generate_ac.set(data, length);
}
void emvSetGACCdolTwo(const std::uint8_t* data, std::uint16_t length) {
    second_generate_ac.set(data, length);
}
std::int32_t emvGetGACCdolOne(std::uint8_t* out, std::uint16_t* length) {
    return first_generate_ac.get(out, length);
}
std::int32_t emvGetGACCdolTwo(std::uint8_t* out, std::uint16_t* length) {
    return second_generate_ac.get(out, length);
}

// The command template (83) is taken off: what remains are the values for the PDOL.
std::int32_t emvGetGPOPdolData(std::uint8_t* out, std::uint16_t* length) {
    constexpr std::uint8_t command_template = 0x83;
    if (out == nullptr || length == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    *length = 0;
    const tlv::Cursor stored(processing_options.held());
    const tlv::Object object = stored.object();
    if (!object.is_primitive() || !stored.has_tag(object, command_template)) {
        return QUORRIN_ACCESSOR_ABSENT;
    }
    std::ranges::copy(stored.value(object), out);
    *length = object.value_length;
    return QUORRIN_ACCESSOR_DELIVERED;
}
