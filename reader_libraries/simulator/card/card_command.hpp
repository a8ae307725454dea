// A command as the card receives it: ISO/IEC 7816-3 section 12.1, short lengths.
#pragma once

#include <optional>
#include <span>

#include "reader_libraries/simulator/card_device.hpp"

namespace quorrin::simulator {

struct CardCommand {
    std::uint8_t cla = 0;
    std::uint8_t ins = 0;
    std::uint8_t p1 = 0;
    std::uint8_t p2 = 0;
    std::span<const std::uint8_t> data;  // without Le
    bool with_le = false;
    std::size_t expected = 0;  // bytes that Le asks for: 256 for 00

    [[nodiscard]] std::uint16_t parameters() const {
        return static_cast<std::uint16_t>(p1 << 8 | p2);
    }
};

// Empty when the bytes are no command of case 1 to 4: the card answers 6700. The data stay in
// `bytes`.
std::optional<CardCommand> parse_command(std::span<const std::uint8_t> bytes);

}  // namespace quorrin::simulator
