// The issuer's answer: response code, authentication data, scripts and their results (EMV book 3
// section 10.10, book 4, annex A5).

#include "emvdata/accessors/families.hpp"
#include "emvdata/script_results.hpp"

using namespace quorrin;
using namespace quorrin::accessor;
using namespace quorrin::script_results;

namespace {

// The entry being written; empty once all are used.
std::span<std::uint8_t> current_entry() {
    if (gl_Iss_NumScriptRslt >= entries) {
        return {};
    }
    return std::span(gl_Iss_ScriptRslt).subspan(gl_Iss_NumScriptRslt * entry_size, entry_size);
}

}  // namespace

// Plain
std::int32_t emvInARC() { return presence(element::authorisation_response_code); }

std::uint8_t* emvGetARC() { return gl_Tm_ARC; }
std::uint8_t* emvGetIssuerAuthCode() { return gl_Tm_AuthCode; }
std::uint8_t* emvGetIssuerAuthData() { return gl_Tm_IssAuthDt; }
std::uint8_t* emvGetIssuerScript() { return gl_Iss_Script; }
std::uint8_t* emvGetIssScrptID() { return gl_Tm_IssScrID; }
std::uint8_t* emvGetIssScrptRslt() { return gl_Iss_ScriptRslt; }

std::uint16_t emvGetIssuerAuthDataLength() { return length(element::issuer_authentication_data); }

// With a rule of their own

void emvSetARC(const std::uint8_t* arc) {
    if (arc != nullptr) {
        mark_present(element::authorisation_response_code, fill(gl_Tm_ARC, arc, sizeof gl_Tm_ARC));
    }
}

// PBOC electronic cash: issuer authorisation on the card counts only where the terminal supports
// electronic cash (9F7A = 01).
std::int32_t emvExistISSAuth() {
    constexpr std::uint8_t supported = 0x01;
    std::uint8_t indicator[sizeof gl_Tm_VisaVLP] = {};
    const Reading reading = read_whole(element::ec_terminal_support_indicator, indicator);
    if (reading.code != QUORRIN_READ_FROM_TERMINAL || indicator[0] != supported) {
        return QUORRIN_ACCESSOR_ABSENT;
    }
    return presence(element::ec_issuer_authorisation_code);
}

std::uint16_t emvGetIssuerScriptLength() {
    for (const Element script :
         {element::issuer_script_template_1, element::issuer_script_template_2}) {
        if (is_present(script)) {
            return length(script);
        }
    }
    return 0;
}

// Both script templates lie in one storage and so share the length. Deliberate: neither becomes
// present by it, as a length does not tell whether a script belongs before or after the second
// GENERATE AC; emvGetIssuerScriptLength answers by the template that was stored.
void emvSetIssuerScriptLength(std::uint16_t length) {
    set_length(element::issuer_script_template_1, length);
    set_length(element::issuer_script_template_2, length);
}

std::int32_t emvSetIssScrptRslt(std::uint8_t outcome, std::uint8_t sequence) {
    if (const auto entry = current_entry(); !entry.empty()) {
        entry[0] = static_cast<std::uint8_t>(std::min(sequence, highest_sequence) | outcome << 4);
    }
    return QUORRIN_SUCCESS;
}

std::int32_t emvSetIssScrptRsltID(const std::uint8_t* id) {
    const auto entry = current_entry();
    if (entry.empty()) {
        return QUORRIN_ACCESSOR_BAD_INDEX;
    }
    if (id == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    std::copy_n(id, identifier_size, entry.begin() + 1);
    return QUORRIN_SUCCESS;
}

// Deliberate: the count goes on past the entries, so that the host sees how many scripts there
// were. It has 8 bits: the 256th starts again with the first entry.
void emvIncIssScrptRslt() { ++gl_Iss_NumScriptRslt; }

std::int32_t emvGetIssScrptRsltNumber() { return gl_Iss_NumScriptRslt * int{entry_size}; }
