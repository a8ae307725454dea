// The value that an element's storage holds, by the length recorded for it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace quorrin {

// A host can record a length beyond the storage; the value never is.
template <std::size_t Size>
std::span<const std::uint8_t> held_bytes(const std::uint8_t (&storage)[Size], std::size_t length) {
    return std::span(storage).first(std::min(length, Size));
}

}  // namespace quorrin
