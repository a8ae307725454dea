// Message authentication codes of bank cards.
#pragma once

#include <cstdint>
#include <vector>

#include "cryptography/algorithm.hpp"

namespace quorrin::cryptography {

// ISO/IEC 9797-1 padding.
enum class Padding : std::uint8_t {
    Method1,  // zeros up to a full block, none when the data fills its blocks
    Method2,  // 80, then zeros up to a full block: always at least the 80
};

std::vector<std::uint8_t> padded(Bytes data, Padding padding, std::size_t block);

// ISO/IEC 9797-1 algorithm 3 ("retail MAC"): single DES CBC with the left half of the key, the
// last block finished with Triple DES.
Mac retail_mac(const Key& key, Bytes data, Padding padding);

// CBC-MAC with SM4 (ISO/IEC 9797-1 algorithm 1, padding method 2), left 8 bytes.
Mac sm4_mac(const Key& key, Bytes data);

// The MAC of a card of this algorithm, padding method 2.
Mac mac(Algorithm algorithm, const Key& key, Bytes data);

// The left 4 bytes.
ShortMac shortened(const Mac& full);

}  // namespace quorrin::cryptography
