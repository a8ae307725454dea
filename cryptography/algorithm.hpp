// The ciphers that cards use and the value types that all of the cryptography shares.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace quorrin::cryptography {

// The block cipher of a card product. Both take the same 16-byte keys.
enum class Algorithm : std::uint8_t {
    TripleDes,  // two-key Triple DES, 8-byte blocks: EMV book 2 annex A1.1
    Sm4,        // SM4, 16-byte blocks: GB/T 32907, the "GM" cards of PBOC
};

constexpr std::size_t block_size(Algorithm algorithm) {
    return algorithm == Algorithm::TripleDes ? 8 : 16;
}

using Bytes = std::span<const std::uint8_t>;

// A master key, card key or session key.
using Key = std::array<std::uint8_t, 16>;

// A MAC before it is shortened, and so an application cryptogram too.
using Mac = std::array<std::uint8_t, 8>;
using Cryptogram = Mac;

// A MAC as script commands and ARPC method 2 carry it: the left half.
using ShortMac = std::array<std::uint8_t, 4>;

}  // namespace quorrin::cryptography
