// What may be shown of a data element's value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorrin::trace {

enum class Rule : std::uint8_t {
    Open,    // says nothing about account or holder
    Digits,  // account or track data in BCD: decimal digits are masked; separator and filler stay
    Secret,  // text, cipher or picture: all of it is masked
};

// One row a tag. A value whose length lies outside its bounds is not what the tag promises.
struct ElementRule {
    std::uint32_t tag;
    Rule rule;
    std::uint16_t shortest;
    std::uint16_t longest;
};

// Null for a tag without a row.
const ElementRule* find_rule(std::uint32_t tag);

std::span<const ElementRule> element_rules();

// 13 decimal digits or more in a row, as BCD or as text: what an account number could be.
bool looks_like_account(std::span<const std::uint8_t> value);
// All of it ASCII or Chinese text: what a name could be.
bool looks_like_text(std::span<const std::uint8_t> value);

// The rule for a value, of an element without a row too.
Rule rule_for(std::uint32_t tag, std::span<const std::uint8_t> value);

}  // namespace quorrin::trace
