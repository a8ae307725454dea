// Data object lists (EMV book 3, 5.4): a card lists tags and lengths, the terminal answers with the
// values.
#pragma once

#include <cstdint>
#include <span>

#include "tlv/codec/ber_tlv.hpp"

namespace quorrin::dol {

inline constexpr std::int32_t done = 0;
inline constexpr std::int32_t no_room = -28;  // only where the room is known
inline constexpr std::int32_t store_error = -29;
inline constexpr std::int32_t bad_tag = -30;
inline constexpr std::int32_t bad_length = -31;

struct Built {
    std::int32_t result;
    std::uint32_t length;  // bytes written, also when the result is an error
};

// The data of a CDOL or DDOL: terminal and card elements.
Built build(std::span<const std::uint8_t> list, std::span<std::uint8_t> out) noexcept;

// The data of a PDOL: terminal elements alone.
Built build_pdol(std::span<const std::uint8_t> list, std::span<std::uint8_t> out) noexcept;

}  // namespace quorrin::dol
