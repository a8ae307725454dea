// Keyed value text: items of a key letter, a three-digit length and the value, exchanged with the
// host. Key tables tie the letters to data elements.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quorrin/quorrin.h"

namespace quorrin {

// An item before its value: the key letter and three digits.
inline constexpr std::size_t item_header = 4;
inline constexpr std::size_t max_item_value = 999;

// The row of a key letter, or null.
const QuorrinKeyRow* find_key(std::uint8_t key, const QuorrinKeyRow* table);

}  // namespace quorrin
