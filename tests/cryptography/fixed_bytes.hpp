// Byte strings of a size known beforehand, and each of their bits turned over.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>

#include "tests/support/bytes.hpp"

namespace quorrin::test {

template <std::size_t size>
std::array<std::uint8_t, size> fixed(std::span<const std::uint8_t> bytes) {
    if (bytes.size() != size) {
        throw std::invalid_argument("byte string of another size");
    }
    std::array<std::uint8_t, size> result{};
    std::ranges::copy(bytes, result.begin());
    return result;
}

template <std::size_t size>
std::array<std::uint8_t, size> fixed_hex(std::string_view text) {
    return fixed<size>(hex(text));
}

// Calls check(changed, bit) once for every bit of the value.
template <typename Value, typename Check>
void for_each_flipped_bit(const Value& value, Check check) {
    for (std::size_t bit = 0; bit < value.size() * 8; ++bit) {
        Value changed = value;
        changed[bit / 8] = static_cast<std::uint8_t>(changed[bit / 8] ^ 1U << bit % 8);
        check(changed, bit);
    }
}

}  // namespace quorrin::test
