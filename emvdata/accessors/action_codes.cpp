// Issuer and terminal action codes (EMV book 3, section 10.7): 5 bytes each, bits as in the TVR.

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

namespace {

constexpr std::size_t action_code_size = 5;
static_assert(sizeof gl_IAC_Denial == action_code_size &&
              sizeof gl_IAC_Online == action_code_size &&
              sizeof gl_IAC_Default == action_code_size);
static_assert(sizeof gl_TAC_Denial == action_code_size &&
              sizeof gl_TAC_Online == action_code_size &&
              sizeof gl_TAC_Default == action_code_size);

enum Selector : std::uint8_t {
    IssuerDenial = 11,
    IssuerOnline = 12,
    IssuerDefault = 13,
    TerminalDenial = 21,
    TerminalOnline = 22,
    TerminalDefault = 23,
};

// A code and, for the terminal's, the flag that the host has set it.
struct ActionCode {
    Selector selector;
    std::uint8_t* code;
    std::uint8_t* set_by_host;
};

constexpr ActionCode action_codes[] = {
    {IssuerDenial, gl_IAC_Denial, nullptr},
    {IssuerOnline, gl_IAC_Online, nullptr},
    {IssuerDefault, gl_IAC_Default, nullptr},
    {TerminalDenial, gl_TAC_Denial, &gl_FgTAC_Denial},
    {TerminalOnline, gl_TAC_Online, &gl_FgTAC_Online},
    {TerminalDefault, gl_TAC_Default, &gl_FgTAC_Default},
};

const ActionCode* find_action_code(std::uint8_t selector) {
    const auto* const found = std::ranges::find(action_codes, selector, &ActionCode::selector);
    return found == std::end(action_codes) ? nullptr : found;
}

}  // namespace

std::int32_t emvGetActionCode(std::uint8_t byte, std::uint8_t bit, std::uint8_t selector) {
    const ActionCode* const selected = find_action_code(selector);
    if (selected == nullptr) {
        return QUORRIN_ACCESSOR_BAD_SELECTOR;
    }
    return bit_value({selected->code, action_code_size}, byte, bit);
}

std::int32_t emvSetActionCode(std::uint8_t selector, std::uint8_t on) {
    const ActionCode* const selected = find_action_code(selector);
    if (selected == nullptr) {
        return QUORRIN_ACCESSOR_BAD_SELECTOR;
    }
    // Deliberate: the code counts as neither present nor set by the host.
    std::fill_n(selected->code, action_code_size, static_cast<std::uint8_t>(on != 0 ? 0xFF : 0x00));
    return QUORRIN_SUCCESS;
}

std::int32_t emvSetTermActionCode(const std::uint8_t* code, std::uint8_t selector) {
    const ActionCode* const selected = find_action_code(selector);
    if (code == nullptr || selected == nullptr || selected->set_by_host == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    std::copy_n(code, action_code_size, selected->code);
    *selected->set_by_host = 1;
    return QUORRIN_SUCCESS;
}

std::int32_t emvInActionCode(std::uint8_t selector) {
    switch (selector) {
        case IssuerDenial:
            return presence(element::issuer_action_code_denial);
        case IssuerOnline:
            return presence(element::issuer_action_code_online);
        case IssuerDefault:
            return presence(element::issuer_action_code_default);
        // Deliberate: a terminal code that the host has set falls through to the next one, and a
        // default code that it has set ends as a bad selector. Hosts take 0 as "not set" and
        // everything else as "set", so the terminal codes are only ever asked for as a whole.
        case TerminalDenial:
            if (gl_FgTAC_Denial == 0) {
                return QUORRIN_ACCESSOR_ABSENT;
            }
            [[fallthrough]];
        case TerminalOnline:
            if (gl_FgTAC_Online == 0) {
                return QUORRIN_ACCESSOR_ABSENT;
            }
            [[fallthrough]];
        case TerminalDefault:
            return gl_FgTAC_Default == 0 ? QUORRIN_ACCESSOR_ABSENT : QUORRIN_ACCESSOR_BAD_SELECTOR;
        default:
            return QUORRIN_ACCESSOR_BAD_SELECTOR;
    }
}
