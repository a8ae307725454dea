// Hex text of bytes, as hosts give and get it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "quorrin/quorrin.h"

namespace quorrin {

// Writes two characters a byte, without a terminator.
inline void write_hex(char* text, std::span<const std::uint8_t> bytes) {
    bcd_to_asc(text, bytes.data(), static_cast<std::int32_t>(2 * bytes.size()), 0);
}

// Reads whole pairs of digits, an odd last one being dropped, and returns the bytes read. `room`
// must be half as large as the text.
inline std::span<const std::uint8_t> read_hex(std::string_view text, std::span<std::uint8_t> room) {
    const std::size_t count = text.size() / 2;
    asc_to_bcd(room.data(), text.data(), static_cast<std::int32_t>(2 * count), 0);
    return room.first(count);
}

}  // namespace quorrin
