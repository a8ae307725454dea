#include "reader_libraries/trace/masking/element_rules.hpp"

#include <algorithm>
#include <array>

namespace quorrin::trace {
namespace {

// EMV Book 3, annex A; PBOC 3.0 parts 5, 12 and 13; the contactless kernels' books. By tag.
// clang-format off
constexpr std::array rules = {
    ElementRule{0x42,   Rule::Open,   1, 4},     // issuer identification number
    ElementRule{0x4F,   Rule::Open,   5, 16},
    ElementRule{0x50,   Rule::Open,   1, 16},
    ElementRule{0x56,   Rule::Secret, 0, 79},    // track 1
    ElementRule{0x57,   Rule::Digits, 8, 19},    // track 2 equivalent data
    ElementRule{0x58,   Rule::Secret, 0, 107},   // track 3 equivalent data (ISO 7816-6)
    ElementRule{0x5A,   Rule::Digits, 6, 10},    // PAN
    ElementRule{0x65,   Rule::Secret, 0, 65535}, // card holder related data (ISO 7816-6)
    ElementRule{0x81,   Rule::Open,   4, 4},
    ElementRule{0x82,   Rule::Open,   2, 2},
    ElementRule{0x84,   Rule::Open,   5, 16},
    ElementRule{0x87,   Rule::Open,   1, 1},
    ElementRule{0x88,   Rule::Open,   1, 1},
    ElementRule{0x89,   Rule::Open,   6, 6},
    ElementRule{0x8A,   Rule::Open,   2, 2},
    ElementRule{0x8C,   Rule::Open,   0, 252},   // CDOL1
    ElementRule{0x8D,   Rule::Open,   0, 252},   // CDOL2
    ElementRule{0x8E,   Rule::Open,   8, 252},
    ElementRule{0x8F,   Rule::Open,   1, 1},
    ElementRule{0x90,   Rule::Open,   0, 255},   // keys and signatures hold the PAN enciphered only
    ElementRule{0x91,   Rule::Open,   8, 16},
    ElementRule{0x92,   Rule::Open,   0, 255},
    ElementRule{0x93,   Rule::Open,   0, 255},
    ElementRule{0x94,   Rule::Open,   0, 252},
    ElementRule{0x95,   Rule::Open,   5, 5},
    ElementRule{0x97,   Rule::Open,   0, 252},   // TDOL
    ElementRule{0x98,   Rule::Open,   20, 20},
    ElementRule{0x99,   Rule::Secret, 0, 65535}, // PIN data
    ElementRule{0x9A,   Rule::Open,   3, 3},
    ElementRule{0x9B,   Rule::Open,   2, 2},
    ElementRule{0x9C,   Rule::Open,   1, 1},
    ElementRule{0x9D,   Rule::Open,   5, 16},
    ElementRule{0x5F20, Rule::Secret, 0, 65535}, // card holder's name
    ElementRule{0x5F21, Rule::Secret, 0, 65535}, // tracks 1 to 3 (ISO 7816-6)
    ElementRule{0x5F22, Rule::Secret, 0, 65535},
    ElementRule{0x5F23, Rule::Secret, 0, 65535},
    ElementRule{0x5F24, Rule::Open,   3, 3},
    ElementRule{0x5F25, Rule::Open,   3, 3},
    ElementRule{0x5F28, Rule::Open,   2, 2},
    ElementRule{0x5F2A, Rule::Open,   2, 2},
    ElementRule{0x5F2B, Rule::Secret, 0, 65535}, // date of birth
    ElementRule{0x5F2D, Rule::Open,   2, 8},
    ElementRule{0x5F2E, Rule::Secret, 0, 65535}, // biometric data
    ElementRule{0x5F30, Rule::Open,   2, 2},
    ElementRule{0x5F34, Rule::Open,   1, 1},
    ElementRule{0x5F36, Rule::Open,   1, 1},
    ElementRule{0x5F40, Rule::Secret, 0, 65535}, // picture
    ElementRule{0x5F42, Rule::Secret, 0, 65535}, // address
    ElementRule{0x5F43, Rule::Secret, 0, 65535}, // signature picture
    ElementRule{0x5F50, Rule::Open,   0, 255},
    ElementRule{0x5F53, Rule::Secret, 0, 65535}, // IBAN
    ElementRule{0x5F54, Rule::Open,   8, 11},    // BIC
    ElementRule{0x5F55, Rule::Open,   2, 2},
    ElementRule{0x5F56, Rule::Open,   3, 3},
    ElementRule{0x5F57, Rule::Open,   1, 1},
    ElementRule{0x7F60, Rule::Secret, 0, 65535}, // biometric data
    ElementRule{0x9F01, Rule::Open,   6, 6},
    ElementRule{0x9F02, Rule::Open,   6, 6},
    ElementRule{0x9F03, Rule::Open,   6, 6},
    ElementRule{0x9F04, Rule::Open,   4, 4},
    ElementRule{0x9F05, Rule::Open,   1, 32},
    ElementRule{0x9F06, Rule::Open,   5, 16},
    ElementRule{0x9F07, Rule::Open,   2, 2},
    ElementRule{0x9F08, Rule::Open,   2, 2},
    ElementRule{0x9F09, Rule::Open,   2, 2},
    ElementRule{0x9F0A, Rule::Open,   0, 255},
    ElementRule{0x9F0B, Rule::Secret, 0, 65535}, // card holder's name, extended
    ElementRule{0x9F0C, Rule::Open,   3, 4},
    ElementRule{0x9F0D, Rule::Open,   5, 5},
    ElementRule{0x9F0E, Rule::Open,   5, 5},
    ElementRule{0x9F0F, Rule::Open,   5, 5},
    ElementRule{0x9F10, Rule::Open,   0, 32},
    ElementRule{0x9F11, Rule::Open,   1, 1},
    ElementRule{0x9F12, Rule::Open,   1, 16},
    ElementRule{0x9F13, Rule::Open,   2, 2},
    ElementRule{0x9F14, Rule::Open,   1, 1},
    ElementRule{0x9F15, Rule::Open,   2, 2},
    ElementRule{0x9F16, Rule::Open,   15, 15},   // merchant identifier
    ElementRule{0x9F17, Rule::Open,   1, 1},
    ElementRule{0x9F19, Rule::Open,   6, 6},
    ElementRule{0x9F1A, Rule::Open,   2, 2},
    ElementRule{0x9F1B, Rule::Open,   4, 4},
    ElementRule{0x9F1C, Rule::Open,   8, 8},
    ElementRule{0x9F1D, Rule::Open,   1, 8},
    ElementRule{0x9F1E, Rule::Open,   8, 8},
    ElementRule{0x9F1F, Rule::Secret, 0, 65535}, // track 1 discretionary data
    ElementRule{0x9F20, Rule::Secret, 0, 65535}, // track 2 discretionary data
    ElementRule{0x9F21, Rule::Open,   3, 3},
    ElementRule{0x9F22, Rule::Open,   1, 1},
    ElementRule{0x9F23, Rule::Open,   1, 1},
    ElementRule{0x9F24, Rule::Secret, 0, 65535}, // payment account reference
    ElementRule{0x9F25, Rule::Secret, 0, 65535}, // last four digits of the PAN
    ElementRule{0x9F26, Rule::Open,   8, 8},
    ElementRule{0x9F27, Rule::Open,   1, 1},
    ElementRule{0x9F2D, Rule::Open,   0, 255},
    ElementRule{0x9F2E, Rule::Open,   1, 3},
    ElementRule{0x9F2F, Rule::Open,   0, 255},
    ElementRule{0x9F32, Rule::Open,   1, 3},
    ElementRule{0x9F33, Rule::Open,   3, 3},
    ElementRule{0x9F34, Rule::Open,   3, 3},
    ElementRule{0x9F35, Rule::Open,   1, 1},
    ElementRule{0x9F36, Rule::Open,   2, 2},
    ElementRule{0x9F37, Rule::Open,   4, 4},
    ElementRule{0x9F38, Rule::Open,   0, 252},   // PDOL
    ElementRule{0x9F39, Rule::Open,   1, 1},
    ElementRule{0x9F3A, Rule::Open,   4, 4},
    ElementRule{0x9F3B, Rule::Open,   2, 8},
    ElementRule{0x9F3C, Rule::Open,   2, 2},
    ElementRule{0x9F3D, Rule::Open,   1, 1},
    ElementRule{0x9F40, Rule::Open,   5, 5},
    ElementRule{0x9F41, Rule::Open,   2, 4},
    ElementRule{0x9F42, Rule::Open,   2, 2},
    ElementRule{0x9F43, Rule::Open,   1, 4},
    ElementRule{0x9F44, Rule::Open,   1, 1},
    ElementRule{0x9F45, Rule::Open,   2, 2},
    ElementRule{0x9F46, Rule::Open,   0, 255},
    ElementRule{0x9F47, Rule::Open,   1, 3},
    ElementRule{0x9F48, Rule::Open,   0, 255},
    ElementRule{0x9F49, Rule::Open,   0, 252},   // DDOL
    ElementRule{0x9F4A, Rule::Open,   1, 1},
    ElementRule{0x9F4B, Rule::Open,   0, 255},
    ElementRule{0x9F4C, Rule::Open,   2, 8},
    ElementRule{0x9F4D, Rule::Open,   2, 2},
    ElementRule{0x9F4E, Rule::Open,   0, 255},   // merchant name and location
    ElementRule{0x9F4F, Rule::Open,   0, 255},   // log format
    ElementRule{0x9F51, Rule::Open,   2, 2},
    ElementRule{0x9F52, Rule::Open,   1, 10},
    ElementRule{0x9F53, Rule::Open,   1, 3},
    ElementRule{0x9F54, Rule::Open,   6, 6},
    ElementRule{0x9F55, Rule::Open,   1, 6},
    ElementRule{0x9F56, Rule::Open,   1, 1},
    ElementRule{0x9F57, Rule::Open,   2, 2},
    ElementRule{0x9F58, Rule::Open,   1, 6},
    ElementRule{0x9F59, Rule::Open,   1, 6},
    ElementRule{0x9F5A, Rule::Open,   1, 6},
    ElementRule{0x9F5B, Rule::Open,   0, 6},
    ElementRule{0x9F5C, Rule::Open,   1, 6},
    ElementRule{0x9F5D, Rule::Open,   1, 6},
    ElementRule{0x9F61, Rule::Secret, 0, 65535}, // number of the card holder's papers
    ElementRule{0x9F62, Rule::Open,   1, 6},     // their kind
    ElementRule{0x9F63, Rule::Open,   2, 16},
    ElementRule{0x9F66, Rule::Open,   2, 4},
    ElementRule{0x9F68, Rule::Open,   1, 4},
    ElementRule{0x9F69, Rule::Open,   0, 32},
    ElementRule{0x9F6A, Rule::Open,   4, 4},
    ElementRule{0x9F6B, Rule::Digits, 8, 19},    // track 2 data
    ElementRule{0x9F6C, Rule::Open,   2, 2},
    ElementRule{0x9F6D, Rule::Open,   1, 6},
    ElementRule{0x9F6E, Rule::Open,   4, 32},
    ElementRule{0x9F74, Rule::Open,   6, 6},
    ElementRule{0x9F77, Rule::Open,   6, 6},
    ElementRule{0x9F78, Rule::Open,   6, 6},
    ElementRule{0x9F79, Rule::Open,   6, 6},
    ElementRule{0x9F7A, Rule::Open,   1, 1},
    ElementRule{0x9F7B, Rule::Open,   6, 6},
    ElementRule{0x9F7C, Rule::Secret, 0, 65535}, // customer exclusive data
    ElementRule{0xDF4D, Rule::Open,   2, 2},     // load log entry
    ElementRule{0xDF4F, Rule::Open,   0, 255},   // load log format
    ElementRule{0xDF69, Rule::Open,   1, 1},
};
// clang-format on

constexpr bool rules_are_sorted() {
    for (std::size_t i = 1; i < rules.size(); ++i) {
        if (rules[i - 1].tag >= rules[i].tag) {
            return false;
        }
    }
    return true;
}
static_assert(rules_are_sorted(), "find_rule searches by halves");

constexpr int account_digits = 13;  // fewer are amounts and dates
constexpr std::size_t shortest_text = 4;

}  // namespace

const ElementRule* find_rule(std::uint32_t tag) {
    const auto* row = std::ranges::lower_bound(rules, tag, {}, &ElementRule::tag);
    return row != rules.end() && row->tag == tag ? row : nullptr;
}

std::span<const ElementRule> element_rules() {
    return rules;
}

bool looks_like_account(std::span<const std::uint8_t> value) {
    int packed = 0;
    int as_text = 0;
    for (const std::uint8_t byte : value) {
        for (const int digit : {byte >> 4, byte & 0x0F}) {
            packed = digit <= 9 ? packed + 1 : 0;
            if (packed == account_digits) {
                return true;
            }
        }
        as_text = byte >= '0' && byte <= '9' ? as_text + 1 : 0;
        if (as_text == account_digits) {
            return true;
        }
    }
    return false;
}

bool looks_like_text(std::span<const std::uint8_t> value) {
    return value.size() >= shortest_text &&
           (std::ranges::all_of(value, [](std::uint8_t c) { return c >= 0x20 && c < 0x7F; }) ||
            std::ranges::all_of(value, [](std::uint8_t c) { return c >= 0xA1; }));  // GB 2312
}

Rule rule_for(std::uint32_t tag, std::span<const std::uint8_t> value) {
    const ElementRule* row = find_rule(tag);
    if (row != nullptr && (row->rule != Rule::Open ||
                           (value.size() >= row->shortest && value.size() <= row->longest))) {
        return row->rule;
    }
    return looks_like_account(value) || looks_like_text(value) ? Rule::Secret : Rule::Open;
}

}  // namespace quorrin::trace
