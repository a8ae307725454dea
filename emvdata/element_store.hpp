// Storing and reading element values by slot: length bounds, templates, justification and padding.
// The exported functions, the response walk, DOLs and the typed accessors all come through here.
#pragma once

#include <algorithm>
#include <cstdint>

#include "emvdata/dictionary.hpp"

namespace quorrin {

namespace store_code {
inline constexpr std::int32_t success = 0;
inline constexpr std::int32_t unknown_format = -18;  // also: the store has never been reset
inline constexpr std::int32_t bad_length = -22;
inline constexpr std::int32_t wrong_template = -27;
inline constexpr std::int32_t no_value = -28;
inline constexpr std::int32_t template_tag_too_long = -29;
inline constexpr std::int32_t bad_tag_length = -30;
inline constexpr std::int32_t unknown_element = -31;
}  // namespace store_code

namespace read_code {
inline constexpr std::int32_t from_card = 1;
inline constexpr std::int32_t from_terminal = 2;
inline constexpr std::int32_t unknown_format = -18;
inline constexpr std::int32_t unknown_element = -30;
inline constexpr std::int32_t bad_tag_length = -31;
}  // namespace read_code

namespace template_code {
inline constexpr std::int32_t accepted = 0;
inline constexpr std::int32_t mismatch = -30;
inline constexpr std::int32_t tag_too_long = -31;
}  // namespace template_code

// Whether an element of the card table may arrive in a template (EMV book 3, annex A).
std::int32_t check_template(const QuorrinDataElement& element, Bytes parent) noexcept;

// Stores a value in an element's row: template, length bounds, then the value by its format. A card
// element that an FCI (6F, A5, BF0C) or a directory discretionary template (73) carries out of
// place is dropped without error.
std::int32_t store_value(Slot slot, Bytes parent, Bytes value) noexcept;

// As store_value, for a value that arrives under a tag.
std::int32_t store_element(Bytes parent, Bytes tag, Bytes value) noexcept;

// Reads an element into `out`, fitted to its size by the element's format. The state is not
// consulted: an absent element reads as padding.
std::int32_t read_value(Slot slot, std::span<std::uint8_t> out) noexcept;

// Walks a card response and stores every known card element in it: 0, or -30 malformed, -31 an
// element was refused. What was stored before a fault stays.
std::int32_t store_response(Bytes data) noexcept;

// The same for the value of one template.
std::int32_t store_template_contents(Bytes template_tag, Bytes data) noexcept;

inline bool is_present(Slot slot) {
    return record(slot).state == 1;
}

inline void mark_present(Slot slot, std::uint16_t length) {
    record(slot).curLen = length;
    record(slot).state = 1;
}

}  // namespace quorrin
