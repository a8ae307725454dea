// BER-TLV objects of an issuer's answer.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "cryptography/byte_string.hpp"

namespace quorrin::bank {

using cryptography::Bytes;

inline constexpr std::uint8_t response_code_tag = 0x8A;

// Nothing that an issuer sends here needs a length field of more than one byte: scripts have 128
// bytes in all. A longer value throws std::length_error.
inline std::vector<std::uint8_t> data_object(Bytes tag, Bytes value) {
    if (value.size() > 127) {
        throw std::length_error("a data object of the issuer's answer exceeds 127 bytes");
    }
    const auto length = static_cast<std::uint8_t>(value.size());
    return cryptography::concatenated({tag, {&length, 1}, value});
}

inline std::vector<std::uint8_t> data_object(std::uint8_t tag, Bytes value) {
    return data_object(Bytes(&tag, 1), value);
}

}  // namespace quorrin::bank
