#include "reader_libraries/trace/masking/element_rules.hpp"

#include <algorithm>
#include <array>

namespace quorrin::trace {
namespace {

// EMV Book 3, annex A; PBOC 3.0 parts 5, 12 and 13; the contactless kernels' books. By tag.
// clang-format off
constexpr std::array rules = {
    ElementRule{0x42,   Rule::open,   1, 4},     // issuer identification number
    ElementRule{0x4F,   Rule::open,   5, 16},
    ElementRule{0x50,   Rule::open,   1, 16},
    ElementRule{0x56,   Rule::secret, 0, 79},    // track 1
    ElementRule{0x57,   Rule::digits, 8, 19},    // track 2 equivalent data
    ElementRule{0x58,   Rule::secret, 0, 107},   // track 3 equivalent data (ISO 7816-6)
    ElementRule{0x5A,   Rule::digits, 6, 10},    // PAN
    ElementRule{0x65,   Rule::secret, 0, 65535}, // card holder related data (ISO 7816-6)
    ElementRule{0x81,   Rule::open,   4, 4},
    ElementRule{0x82,   Rule::open,   2, 2},
    ElementRule{0x84,   Rule::open,   5, 16},
    ElementRule{0x87,   Rule::open,   1, 1},
    ElementRule{0x88,   Rule::open,   1, 1},
    ElementRule{0x89,   Rule::open,   6, 6},
    ElementRule{0x8A,   Rule::open,   2, 2},
    ElementRule{0x8C,   Rule::open,   0, 252},   // CDOL1
    ElementRule{0x8D,   Rule::open,   0, 252},   // CDOL2
    ElementRule{0x8E,   Rule::open,   8, 252},
    ElementRule{0x8F,   Rule::open,   1, 1},
    ElementRule{0x90,   Rule::open,   0, 255},   // keys and signatures hold the PAN enciphered only
    ElementRule{0x91,   Rule::open,   8, 16},
    ElementRule{0x92,   Rule::open,   0, 255},
    ElementRule{0x93,   Rule::open,   0, 255},
    ElementRule{0x94,   Rule::open,   0, 252},
    ElementRule{0x95,   Rule::open,   5, 5},
    ElementRule{0x97,   Rule::open,   0, 252},   // TDOL
    ElementRule{0x98,   Rule::open,   20, 20},
    ElementRule{0x99,   Rule::secret, 0, 65535}, // PIN data
    ElementRule{0x9A,   Rule::open,   3, 3},
    ElementRule{0x9B,   Rule::open,   2, 2},
    ElementRule{0x9C,   Rule::open,   1, 1},
    ElementRule{0x9D,   Rule::open,   5, 16},
    ElementRule{0x5F20, Rule::secret, 0, 65535}, // card holder's name
    ElementRule{0x5F21, Rule::secret, 0, 65535}, // tracks 1 to 3 (ISO 7816-6)
    ElementRule{0x5F22, Rule::secret, 0, 65535},
    ElementRule{0x5F23, Rule::secret, 0, 65535},
    ElementRule{0x5F24, Rule::open,   3, 3},
    ElementRule{0x5F25, Rule::open,   3, 3},
    ElementRule{0x5F28, Rule::open,   2, 2},
    ElementRule{0x5F2A, Rule::open,   2, 2},
    ElementRule{0x5F2B, Rule::secret, 0, 65535}, // date of birth
    ElementRule{0x5F2D, Rule::open,   2, 8},
    ElementRule{0x5F2E, Rule::secret, 0, 65535}, // biometric data
    ElementRule{0x5F30, Rule::open,   2, 2},
    ElementRule{0x5F34, Rule::open,   1, 1},
    ElementRule{0x5F36, Rule::open,   1, 1},
    ElementRule{0x5F40, Rule::secret, 0, 65535}, // picture
    ElementRule{0x5F42, Rule::secret, 0, 65535}, // address
    ElementRule{0x5F43, Rule::secret, 0, 65535}, // signature picture
    ElementRule{0x5F50, Rule::open,   0, 255},
    ElementRule{0x5F53, Rule::secret, 0, 65535}, // IBAN
    ElementRule{0x5F54, Rule::open,   8, 11},    // BIC
    ElementRule{0x5F55, Rule::open,   2, 2},
    ElementRule{0x5F56, Rule::open,   3, 3},
    ElementRule{0x5F57, Rule::open,   1, 1},
    ElementRule{0x7F60, Rule::secret, 0, 65535}, // biometric data
    ElementRule{0x9F01, Rule::open,   6, 6},
    ElementRule{0x9F02, Rule::open,   6, 6},
    ElementRule{0x9F03, Rule::open,   6, 6},
    ElementRule{0x9F04, Rule::open,   4, 4},
    ElementRule{0x9F05, Rule::open,   1, 32},
    ElementRule{0x9F06, Rule::open,   5, 16},
    ElementRule{0x9F07, Rule::open,   2, 2},
    ElementRule{0x9F08, Rule::open,   2, 2},
    ElementRule{0x9F09, Rule::open,   2, 2},
    ElementRule{0x9F0A, Rule::open,   0, 255},
    ElementRule{0x9F0B, Rule::secret, 0, 65535}, // card holder's name, extended
    ElementRule{0x9F0C, Rule::open,   3, 4},
    ElementRule{0x9F0D, Rule::open,   5, 5},
    ElementRule{0x9F0E, Rule::open,   5, 5},
    ElementRule{0x9F0F, Rule::open,   5, 5},
    ElementRule{0x9F10, Rule::open,   0, 32},
    ElementRule{0x9F11, Rule::open,   1, 1},
    ElementRule{0x9F12, Rule::open,   1, 16},
    ElementRule{0x9F13, Rule::open,   2, 2},
    ElementRule{0x9F14, Rule::open,   1, 1},
    ElementRule{0x9F15, Rule::open,   2, 2},
    ElementRule{0x9F16, Rule::open,   15, 15},   // merchant identifier
    ElementRule{0x9F17, Rule::open,   1, 1},
    ElementRule{0x9F19, Rule::open,   6, 6},
    ElementRule{0x9F1A, Rule::open,   2, 2},
    ElementRule{0x9F1B, Rule::open,   4, 4},
    ElementRule{0x9F1C, Rule::open,   8, 8},
    ElementRule{0x9F1D, Rule::open,   1, 8},
    ElementRule{0x9F1E, Rule::open,   8, 8},
    ElementRule{0x9F1F, Rule::secret, 0, 65535}, // track 1 discretionary data
    ElementRule{0x9F20, Rule::secret, 0, 65535}, // track 2 discretionary data
    ElementRule{0x9F21, Rule::open,   3, 3},
    ElementRule{0x9F22, Rule::open,   1, 1},
    ElementRule{0x9F23, Rule::open,   1, 1},
    ElementRule{0x9F24, Rule::secret, 0, 65535}, // payment account reference
    ElementRule{0x9F25, Rule::secret, 0, 65535}, // last four digits of the PAN
    ElementRule{0x9F26, Rule::open,   8, 8},
    ElementRule{0x9F27, Rule::open,   1, 1},
    ElementRule{0x9F2D, Rule::open,   0, 255},
    ElementRule{0x9F2E, Rule::open,   1, 3},
    ElementRule{0x9F2F, Rule::open,   0, 255},
    ElementRule{0x9F32, Rule::open,   1, 3},
    ElementRule{0x9F33, Rule::open,   3, 3},
    ElementRule{0x9F34, Rule::open,   3, 3},
    ElementRule{0x9F35, Rule::open,   1, 1},
    ElementRule{0x9F36, Rule::open,   2, 2},
    ElementRule{0x9F37, Rule::open,   4, 4},
    ElementRule{0x9F38, Rule::open,   0, 252},   // PDOL
    ElementRule{0x9F39, Rule::open,   1, 1},
    ElementRule{0x9F3A, Rule::open,   4, 4},
    ElementRule{0x9F3B, Rule::open,   2, 8},
    ElementRule{0x9F3C, Rule::open,   2, 2},
    ElementRule{0x9F3D, Rule::open,   1, 1},
    ElementRule{0x9F40, Rule::open,   5, 5},
    ElementRule{0x9F41, Rule::open,   2, 4},
    ElementRule{0x9F42, Rule::open,   2, 2},
    ElementRule{0x9F43, Rule::open,   1, 4},
    ElementRule{0x9F44, Rule::open,   1, 1},
    ElementRule{0x9F45, Rule::open,   2, 2},
    ElementRule{0x9F46, Rule::open,   0, 255},
    ElementRule{0x9F47, Rule::open,   1, 3},
    ElementRule{0x9F48, Rule::open,   0, 255},
    ElementRule{0x9F49, Rule::open,   0, 252},   // DDOL
    ElementRule{0x9F4A, Rule::open,   1, 1},
    ElementRule{0x9F4B, Rule::open,   0, 255},
    ElementRule{0x9F4C, Rule::open,   2, 8},
    ElementRule{0x9F4D, Rule::open,   2, 2},
    ElementRule{0x9F4E, Rule::open,   0, 255},   // merchant name and location
    ElementRule{0x9F4F, Rule::open,   0, 255},   // log format
    ElementRule{0x9F51, Rule::open,   2, 2},
    ElementRule{0x9F52, Rule::open,   1, 10},
    ElementRule{0x9F53, Rule::open,   1, 3},
    ElementRule{0x9F54, Rule::open,   6, 6},
    ElementRule{0x9F55, Rule::open,   1, 6},
    ElementRule{0x9F56, Rule::open,   1, 1},
    ElementRule{0x9F57, Rule::open,   2, 2},
    ElementRule{0x9F58, Rule::open,   1, 6},
    ElementRule{0x9F59, Rule::open,   1, 6},
    ElementRule{0x9F5A, Rule::open,   1, 6},
    ElementRule{0x9F5B, Rule::open,   0, 6},
    ElementRule{0x9F5C, Rule::open,   1, 6},
    ElementRule{0x9F5D, Rule::open,   1, 6},
    ElementRule{0x9F61, Rule::secret, 0, 65535}, // number of the card holder's papers
    ElementRule{0x9F62, Rule::open,   1, 6},     // their kind
    ElementRule{0x9F63, Rule::open,   2, 16},
    ElementRule{0x9F66, Rule::open,   2, 4},
    ElementRule{0x9F68, Rule::open,   1, 4},
    ElementRule{0x9F69, Rule::open,   0, 32},
    ElementRule{0x9F6A, Rule::open,   4, 4},
    ElementRule{0x9F6B, Rule::digits, 8, 19},    // track 2 data
    ElementRule{0x9F6C, Rule::open,   2, 2},
    ElementRule{0x9F6D, Rule::open,   1, 6},
    ElementRule{0x9F6E, Rule::open,   4, 32},
    ElementRule{0x9F74, Rule::open,   6, 6},
    ElementRule{0x9F77, Rule::open,   6, 6},
    ElementRule{0x9F78, Rule::open,   6, 6},
    ElementRule{0x9F79, Rule::open,   6, 6},
    ElementRule{0x9F7A, Rule::open,   1, 1},
    ElementRule{0x9F7B, Rule::open,   6, 6},
    ElementRule{0x9F7C, Rule::secret, 0, 65535}, // customer exclusive data
    ElementRule{0xDF4D, Rule::open,   2, 2},     // load log entry
    ElementRule{0xDF4F, Rule::open,   0, 255},   // load log format
    ElementRule{0xDF69, Rule::open,   1, 1},
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
    if (row != nullptr && (row->rule != Rule::open ||
                           (value.size() >= row->shortest && value.size() <= row->longest))) {
        return row->rule;
    }
    return looks_like_account(value) || looks_like_text(value) ? Rule::secret : Rule::open;
}

}  // namespace quorrin::trace
