// What a host hands over as pointer and length, as a span. A null pointer holds no bytes, whatever
// the length says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorrin {

constexpr std::span<const std::uint8_t> host_bytes(const std::uint8_t* bytes, std::size_t count) {
    return {bytes, bytes != nullptr ? count : 0};
}

// Bytes were promised and none given.
constexpr bool is_missing(const std::uint8_t* bytes, std::size_t count) {
    return bytes == nullptr && count != 0;
}

}  // namespace quorrin
