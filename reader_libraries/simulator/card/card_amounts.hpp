// Amounts and currencies as card data hold them: EMV book 3 annex A.
#pragma once

#include <cstdint>
#include <optional>

#include "reader_libraries/simulator/card/application_session.hpp"

namespace quorrin::simulator {

// Packed digits as a number; digits beyond 9 count as they stand.
std::uint64_t decimal(std::span<const std::uint8_t> bcd);
ByteString packed(std::uint64_t number, std::size_t size);

// The amount authorised (9F02) as the terminal gave it.
std::uint64_t transaction_amount(const ApplicationSession& session);

// An element as the card has it: its own data (GET DATA), else its records.
std::optional<ByteString> card_element(const ApplicationSession& session, Tag tag);

// Whether the transaction (5F2A) is in the currency of the card (9F51, else 9F42). A card that names
// none takes any.
bool in_card_currency(const ApplicationSession& session);

}  // namespace quorrin::simulator
