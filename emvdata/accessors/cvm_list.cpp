// Cardholder verification: CVM list (8E, EMV book 3, section 10.5) and CVM results (9F34).

#include <cstring>

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

namespace {

// CVM list: amount X (4), amount Y (4), then rules of two bytes.
constexpr std::size_t amount_y_offset = 4;
constexpr int amounts_size = 8;
constexpr int rule_size = 2;

struct CvmRule {
    std::uint8_t method;
    std::uint8_t condition;
};

// The length as the rules are counted by. Deliberate: its low byte only. A list has at most 252
// bytes; a longer length, which only the host can set, counts the rules that its low byte tells.
int counted_length() { return length(element::cvm_list) & 0xFF; }

bool has_rule(std::uint8_t index) { return index < (counted_length() - amounts_size) / rule_size; }

// A length that the host has set can count rules that the storage does not hold: they are zero.
CvmRule rule_at(std::uint8_t index) {
    const std::size_t offset = amounts_size + std::size_t{index} * rule_size;
    if (offset + rule_size > std::size(gl_CVMList)) {
        return {};
    }
    return {gl_CVMList[offset], gl_CVMList[offset + 1]};
}

}  // namespace

// Plain
std::int32_t emvInCVMList() { return presence(element::cvm_list); }
std::uint8_t* emvGetCVMListXX() { return gl_CVMList; }
std::uint8_t* emvGetCVMListYY() { return gl_CVMList + amount_y_offset; }

// Raw results
std::int32_t emvSetCVMResult(const std::uint8_t* value) {
    return store(element::cvm_results, value, 3);
}

// With a rule of their own

std::int32_t emvGetCVM(std::uint16_t* rule, std::uint8_t index) {
    if (rule == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    if (!has_rule(index)) {
        return QUORRIN_ACCESSOR_BAD_INDEX;
    }
    // As the bytes stand in the list, not as a number.
    const CvmRule found = rule_at(index);
    static_assert(sizeof found == sizeof *rule);
    std::memcpy(rule, &found, sizeof found);
    return QUORRIN_SUCCESS;
}

std::int32_t emvGetCVMListCVR(std::uint8_t* out, std::uint8_t index, std::uint8_t item) {
    if (out == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    if (counted_length() % 2 != 0) {
        return QUORRIN_ACCESSOR_ODD_LENGTH;
    }
    if (!has_rule(index)) {
        return QUORRIN_ACCESSOR_BAD_INDEX;
    }
    // EMV book 3, annex C3: b7 of the first byte, its b6-b1, the second byte.
    const CvmRule rule = rule_at(index);
    switch (item) {
        case 1:
            *out = (rule.method & 0x40) != 0 ? 1 : 0;
            return QUORRIN_SUCCESS;
        case 2:
            *out = rule.method & 0x3F;
            return QUORRIN_SUCCESS;
        case 3:
            *out = rule.condition;
            return QUORRIN_SUCCESS;
        default:
            return QUORRIN_ACCESSOR_BAD_ITEM;
    }
}
