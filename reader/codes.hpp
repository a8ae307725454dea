// Names for the result codes that the library itself produces. The full list with texts is the
// message table (message_table.cpp).
#pragma once

#include <cstdint>

namespace quorrin::code {

inline constexpr std::int64_t success = 0;
inline constexpr std::int64_t wrong_card_type = -1;
inline constexpr std::int64_t no_card = -2;
inline constexpr std::int64_t card_mute = -4;
inline constexpr std::int64_t bad_parameter = -14;
inline constexpr std::int64_t check_error = -15;
inline constexpr std::int64_t data_not_valid = -23;
inline constexpr std::int64_t pin_check_failed = -51;
inline constexpr std::int64_t unknown = -40000;

}  // namespace quorrin::code
