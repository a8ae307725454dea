// What goes between library and card and decides a purchase, though the library's results do not tell
// it: the card's answers to the bank's commands, and a cryptogram that comes ahead of its time.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "quorrin/host.hpp"

namespace quorrin::command {

// An answer that comes in pieces (61xx) or after a corrected Le (6Cxx) counts as one.
struct WatchedExchange {
    host::ByteString command;
    host::ByteString data;
    host::StatusWord status;  // 0000: no answer came

    bool is_taken() const;  // EMV book 3, 10.10: 9000 and the warnings 62xx, 63xx
};

// To be told of each exchange; the answer is empty where none came.
void watch_exchange(std::span<const std::uint8_t> command, std::span<const std::uint8_t> answer);

// The commands of the bank: those under secure messaging (ISO 7816-4), which nobody else sends.
std::span<const WatchedExchange> bank_commands();

// What a quick card (PBOC part 12) has decided in its answer to GET PROCESSING OPTIONS; nothing for a
// card that waits for GENERATE AC.
std::optional<host::CardDecision> quick_decision();

}  // namespace quorrin::command
