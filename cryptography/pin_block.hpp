// The new PIN inside PIN CHANGE, before it is enciphered as script data.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "cryptography/algorithm.hpp"

namespace quorrin::cryptography {

using PinBlock = std::array<std::uint8_t, 8>;

// PBOC: 0 || digit count || digits || F.. (ISO 9564 format 2 without its mark), xor the right half
// of the left half of the card's cryptogram key, right-justified. The key's parity bits count here:
// keys as card_keys.hpp derives them have odd parity, as issuers make them. P2 = 01 adds: xor the
// current
// PIN, digits from the left, zeros after. A PIN of other than 4 to 12 decimal digits throws
// std::invalid_argument.
PinBlock pin_change_block(const Key& card_cryptogram_key, std::string_view new_pin,
                          std::optional<std::string_view> current_pin = std::nullopt);

// The new PIN's digits. Empty when there is no PIN in the block, as mostly after a wrong key or
// current PIN; what keeps a forged PIN out is the command's MAC.
std::optional<std::string> new_pin_of(const PinBlock& block, const Key& card_cryptogram_key,
                                      std::optional<std::string_view> current_pin = std::nullopt);

}  // namespace quorrin::cryptography
