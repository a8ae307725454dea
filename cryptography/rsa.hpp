// RSA without padding and SHA-1, as offline data authentication uses them: EMV book 2 annexes A2.1, B2.1
// and B3.1.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "cryptography/algorithm.hpp"

namespace quorrin::cryptography {

struct RsaPrivateKey {
    std::vector<std::uint8_t> modulus;
    std::vector<std::uint8_t> exponent;  // the public one: 3 or 65537
    std::vector<std::uint8_t> private_exponent;
};

// The block, of the modulus' size and below it, to the power of the private exponent: signing and
// deciphering alike. Throws std::invalid_argument for any other block.
std::vector<std::uint8_t> rsa_private(const RsaPrivateKey& key, Bytes block);

std::array<std::uint8_t, 20> sha1(Bytes data);

}  // namespace quorrin::cryptography
