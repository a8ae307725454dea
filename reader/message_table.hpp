// The message table: one row per return code or card status word, in the order in which it is
// searched.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quorrin {

struct MessageRow {
    std::int64_t code;
    std::uint8_t sw1;
    std::uint8_t sw2;
    char message[102];  // UTF-8, zero-terminated
};

inline constexpr std::size_t message_row_count = 73;

extern const std::array<MessageRow, message_row_count> icc_msg;

// First row of a status word, or null.
const MessageRow* find_by_status_word(std::uint8_t sw1, std::uint8_t sw2) noexcept;

// First row of a code, or null. 0 and the PIN placeholder -51 are not looked up here.
const MessageRow* find_by_code(std::int64_t code) noexcept;

}  // namespace quorrin
