// A bank's wishes in words: "put 9F79 000000030000", "71: block application".
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "bank/issuer_scripts.hpp"

namespace quorrin::bank {

// One change on a card.
struct Wish {
    enum class Kind : std::uint8_t {
        ChangePin = 1,
        UnblockPin,
        BlockApplication,
        UnblockApplication,
        BlockCard,
        PutData,
        UpdateRecord,
    };

    Kind kind = Kind::BlockApplication;
    ScriptPhase phase = ScriptPhase::AfterFinalCryptogram;
    std::optional<ScriptIdentifier> identifier;
    std::string new_pin;
    std::optional<std::string> current_pin;
    std::uint16_t tag = 0;
    std::uint8_t file = 0;
    std::uint8_t record = 0;
    std::vector<std::uint8_t> value;
};

// Throws std::invalid_argument, which says what was not understood.
Wish wish_from_words(std::string_view words);

// Neighbours of the same phase and identifier become one script. A wish that no command can carry
// throws std::invalid_argument.
std::vector<Script> scripts_of(std::span<const Wish> wishes);

}  // namespace quorrin::bank
