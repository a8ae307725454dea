// Both ciphers without padding. Data that is no multiple of the block, or an initial vector that is
// not one block, throws std::invalid_argument; a failing crypto library std::runtime_error.
#pragma once

#include <cstdint>
#include <vector>

#include "cryptography/algorithm.hpp"

// Both ciphers without padding. Data that is no multiple of the block, or an initial vector that
// is not one block, throws std::invalid_argument; a failing crypto library std::runtime_error.
namespace quorrin::cryptography {

std::vector<std::uint8_t> encrypt_ecb(Algorithm algorithm, const Key& key, Bytes plain);
std::vector<std::uint8_t> decrypt_ecb(Algorithm algorithm, const Key& key, Bytes enciphered);

std::vector<std::uint8_t> encrypt_cbc(Algorithm algorithm, const Key& key, Bytes initial_vector,
                                      Bytes plain);
std::vector<std::uint8_t> decrypt_cbc(Algorithm algorithm, const Key& key, Bytes initial_vector,
                                      Bytes enciphered);

}  // namespace quorrin::cryptography
