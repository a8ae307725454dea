// One call of a reader function, as it is recorded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorrin::trace {

enum class Action : std::uint8_t { Open, Close, PowerOn, PowerOff, Exchange, Serial };

// What hosts and reader libraries agree on (quorrin/reader_library.h).
inline constexpr std::size_t name_room = 32;
inline constexpr std::size_t serial_room = 100;
inline constexpr std::size_t atr_room = 512;
inline constexpr std::size_t response_room = 1024;
inline constexpr std::size_t longest_command = 261;
inline constexpr std::size_t status_word_size = 2;

struct Call {
    Action action = Action::Open;
    std::int64_t began = 0;     // microseconds since 1970, UTC
    std::int64_t duration = 0;  // nanoseconds
    std::int64_t handle = 0;    // not of open and close
    int slot = 0;               // of power_on, power_off, exchange
    std::int64_t result = 0;
    std::int64_t command_length = 0;             // of an exchange, as the host gave it
    std::span<const std::uint8_t> command = {};  // empty where that is none of an APDU
    std::span<const std::uint8_t> answer = {};   // response, or answer to reset
    std::string_view text = {};                  // the reader's name or serial number
};

}  // namespace quorrin::trace
