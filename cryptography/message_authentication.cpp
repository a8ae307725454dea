#include "cryptography/message_authentication.hpp"

#include <algorithm>

#include "cryptography/block_cipher.hpp"

namespace quorrin::cryptography {
namespace {

constexpr std::array<std::uint8_t, 16> zero_vector{};

Bytes initial_vector(Algorithm algorithm) {
    return Bytes(zero_vector).first(block_size(algorithm));
}

// Two-key Triple DES with both halves equal is single DES.
Key single_des_key(Bytes half) {
    Key key{};
    std::ranges::copy(half, key.begin());
    std::ranges::copy(half, key.begin() + 8);
    return key;
}

Mac left_8_bytes(Bytes block) {
    Mac left{};
    std::ranges::copy(block.first(left.size()), left.begin());
    return left;
}

}  // namespace

std::vector<std::uint8_t> padded(Bytes data, Padding padding, std::size_t block) {
    std::vector<std::uint8_t> message(data.begin(), data.end());
    if (padding == Padding::Method2) {  // EMV book 2, annex A1.2.1: 80 always, then 00
        message.push_back(0x80);
    }
    // ISO/IEC 9797-1 pads to a positive number of blocks, so an empty message becomes one.
    const std::size_t blocks = std::max<std::size_t>(1, (message.size() + block - 1) / block);
    message.resize(blocks * block);
    return message;
}

Mac retail_mac(const Key& key, Bytes data, Padding padding) {
    const Key left = single_des_key(Bytes(key).first(8));
    const Key right = single_des_key(Bytes(key).last(8));
    const auto chain = encrypt_cbc(Algorithm::TripleDes, left, initial_vector(Algorithm::TripleDes),
                                   padded(data, padding, block_size(Algorithm::TripleDes)));
    const auto last = Bytes(chain).last(block_size(Algorithm::TripleDes));
    return left_8_bytes(
        encrypt_ecb(Algorithm::TripleDes, left, decrypt_ecb(Algorithm::TripleDes, right, last)));
}

Mac sm4_mac(const Key& key, Bytes data) {
    const auto chain = encrypt_cbc(Algorithm::Sm4, key, initial_vector(Algorithm::Sm4),
                                   padded(data, Padding::Method2, block_size(Algorithm::Sm4)));
    return left_8_bytes(Bytes(chain).last(block_size(Algorithm::Sm4)));
}

Mac mac(Algorithm algorithm, const Key& key, Bytes data) {
    return algorithm == Algorithm::TripleDes ? retail_mac(key, data, Padding::Method2)
                                             : sm4_mac(key, data);
}

ShortMac shortened(const Mac& full) {
    ShortMac left{};
    std::copy_n(full.begin(), left.size(), left.begin());
    return left;
}

}  // namespace quorrin::cryptography
