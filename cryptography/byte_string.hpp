// Putting byte strings together, as every MAC input and every data element here is made.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "cryptography/algorithm.hpp"

namespace quorrin::cryptography {

inline std::vector<std::uint8_t> concatenated(std::initializer_list<Bytes> parts) {
    std::vector<std::uint8_t> whole;
    for (const Bytes part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

// A counter as cards write it (9F36).
constexpr std::array<std::uint8_t, 2> big_endian(std::uint16_t value) {
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

}  // namespace quorrin::cryptography
