// Result codes of the bank card operations that have no message text.
#pragma once

#include <cstdint>

namespace quorrin::code {

// The card's answer lacks a data object that the next step needs.
inline constexpr std::int32_t object_missing = -106;

// The card's answer, or what would be sent to it, is not well formed or does not fit.
inline constexpr std::int32_t data_malformed = -107;

}  // namespace quorrin::code
