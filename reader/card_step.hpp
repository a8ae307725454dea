// One step of a card transaction: a command to the user's card and the one place that decides
// whether it succeeded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "quorrin/quorrin.h"

namespace quorrin {

struct CardCommand {
    std::uint8_t cla, ins, p1, p2;
    std::span<const std::uint8_t> data;
    QuorrinCommandCase apdu_case;
    std::uint8_t le = 0;  // 0 asks for everything that the card has
};

struct CardAnswer {
    static constexpr std::size_t room = 1024;

    std::uint8_t bytes[room];  // only `length` of them are ever looked at
    std::uint32_t length = 0;  // without the status word

    std::span<const std::uint8_t> data() const { return {bytes, length}; }
};

// Sends a command to the slot of the user's card. Returns IccComm's result, which is 0 whenever a
// status word arrived.
std::int64_t send_to_card(std::int64_t handle, const CardCommand& command, CardAnswer& answer);

// Whether the exchange with this result, the last one, ended well: the transport worked and the
// card answered 90 00.
bool step_succeeded(std::int64_t result);

// The code of the last exchange, by its result: 0, or what its status word or the transport failure
// stands for.
std::int64_t step_code(std::int64_t result);

// Sends a command and judges it: its step_code.
std::int64_t card_step(std::int64_t handle, const CardCommand& command, CardAnswer& answer);

}  // namespace quorrin
