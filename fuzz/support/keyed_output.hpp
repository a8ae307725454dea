// Keyed value text that the library has written: whole items, and nothing after the last.
#pragma once

#include "fuzz/support/guarded_output.hpp"

namespace quorrin::fuzz {

inline constexpr std::size_t keyed_output_room = 2048;

void check_keyed_output(const GuardedOutput& out);

}  // namespace quorrin::fuzz
