// The issuer script results as they go back to the issuer (EMV book 4, annex A5): one entry a script.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "quorrin/storage.h"

namespace quorrin::script_results {

inline constexpr std::size_t identifier_size = 4;
inline constexpr std::size_t entry_size = 1 + identifier_size;  // result and sequence in one byte
inline constexpr std::size_t entries = sizeof gl_Iss_ScriptRslt / entry_size;
static_assert(entries == 12);

// The number of the failing command has four bits; 15 stands for all from there on.
inline constexpr std::uint8_t highest_sequence = 15;

using Identifier = std::array<std::uint8_t, identifier_size>;

}  // namespace quorrin::script_results
