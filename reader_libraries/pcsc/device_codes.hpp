// What a reader library reports in place of a handle, a length or success.
#pragma once

#include <cstdint>

namespace quorrin::pcsc::device {

inline constexpr std::int64_t success = 0;
inline constexpr std::int64_t wrong_card = -1;
inline constexpr std::int64_t no_card = -2;
inline constexpr std::int64_t not_powered = -3;
inline constexpr std::int64_t mute = -4;
inline constexpr std::int64_t connection_error = -11;
inline constexpr std::int64_t not_connected = -12;
inline constexpr std::int64_t unsupported = -13;
inline constexpr std::int64_t bad_parameter = -14;
inline constexpr std::int64_t check_error = -15;

}  // namespace quorrin::pcsc::device
