// Issuer script templates: EMV book 3 section 10.10 and book 2 section 9.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "bank/script_commands.hpp"
#include "cryptography/card_keys.hpp"
#include "cryptography/secure_messaging.hpp"

namespace quorrin::bank {

// Which template: when the terminal is to run it.
enum class ScriptPhase : std::uint8_t {
    BeforeFinalCryptogram = 0x71,
    AfterFinalCryptogram = 0x72,
};

using ScriptIdentifier = std::array<std::uint8_t, 4>;

struct Script {
    ScriptPhase phase = ScriptPhase::AfterFinalCryptogram;
    std::optional<ScriptIdentifier> identifier;  // 9F18
    std::vector<ScriptCommand> commands;
};

// What a terminal runs of one answer, template tags and lengths counted. Terminals may count the
// templates of both phases together, so the limit holds for all of an answer's scripts.
inline constexpr std::size_t max_script_bytes = 128;

// The templates as sent: those of phase 71 first, because that is the order in which they reach the
// card and in which each command's MAC covers the one before. Scripts beyond the limit throw
// std::length_error, an impossible PIN std::invalid_argument.
std::vector<std::uint8_t> sealed_scripts(std::span<const Script> scripts,
                                         const cryptography::ScriptContext& context,
                                         const cryptography::KeySet& card_keys);

}  // namespace quorrin::bank
