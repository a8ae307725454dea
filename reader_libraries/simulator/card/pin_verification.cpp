#include <string>

#include "reader_libraries/simulator/card/card_data_commands.hpp"

namespace quorrin::simulator {
namespace {

constexpr std::uint8_t plain_pin = 0x80;  // P2

// ISO 9564 format 2: 2, the count of digits, the digits, filled with F. Empty for anything else.
std::optional<std::string> pin_of(std::span<const std::uint8_t> block) {
    const std::size_t count = block[0] & 0x0FU;
    if (block[0] >> 4 != 2 || count < 4 || count > 12) {
        return std::nullopt;
    }
    std::string digits;
    for (std::size_t i = 0; i < 14; ++i) {
        const std::uint8_t byte = block[1 + i / 2];
        const int digit = i % 2 == 0 ? byte >> 4 : byte & 0x0F;
        if (i < count ? digit > 9 : digit != 0x0F) {
            return std::nullopt;
        }
        if (i < count) {
            digits += static_cast<char>('0' + digit);
        }
    }
    return digits;
}

CardAnswer tries_left(std::uint8_t count) {
    return static_cast<StatusWord>(static_cast<std::uint16_t>(StatusWord::TriesLeft) | count);
}

}  // namespace

CardAnswer verify(ApplicationSession& session, const CardCommand& command) {
    if (command.p1 != 0 || command.p2 != plain_pin) {
        return StatusWord::WrongParameters;
    }
    auto& state = session.state;
    if (session.application.pin_try_limit == 0) {
        return StatusWord::ReferenceDataUnusable;
    }
    if (command.data.size() != 8) {
        return StatusWord::WrongLength;
    }
    const auto pin = pin_of(command.data);
    if (!pin) {
        return StatusWord::WrongData;
    }
    if (state.pin_tries == 0) {
        return StatusWord::AuthenticationMethodBlocked;
    }
    if (*pin != state.pin) {
        session.pin_check = CheckResult::Wrong;
        return tries_left(--state.pin_tries);
    }
    session.pin_check = CheckResult::Right;
    state.pin_tries = session.application.pin_try_limit;
    return StatusWord::Success;
}

}  // namespace quorrin::simulator
