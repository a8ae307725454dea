// Data object lists (EMV book 3, 5.4): a card lists tags and lengths, the terminal answers with the
// values.
#pragma once

#include <cstdint>
#include <span>

#include "tlv/codec/ber_tlv.hpp"

namespace quorrin::dol {

// Of the inner builders alone, which know their room.
inline constexpr std::int32_t no_room = -28;

struct Built {
    std::int32_t result;   // 0, no_room or a QuorrinDolResult
    std::uint32_t length;  // bytes written, also when the result is an error
};

// The data of a CDOL or DDOL: terminal and card elements.
Built build(std::span<const std::uint8_t> list, std::span<std::uint8_t> out) noexcept;

// The data of a PDOL: terminal elements alone.
Built build_pdol(std::span<const std::uint8_t> list, std::span<std::uint8_t> out) noexcept;

}  // namespace quorrin::dol
