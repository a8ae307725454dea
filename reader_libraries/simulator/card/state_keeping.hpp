// The file in which a card's state outlasts the program.
#pragma once

#include <filesystem>
#include <optional>

#include "reader_libraries/simulator/card/card_state.hpp"

namespace quorrin::simulator {

// The state of a card that is issued now where there is no file yet. Throws ConfigurationError for
// a file that is no state of this card.
CardState read_state(const CardProfile& profile, const std::filesystem::path& file);

// The same while the program runs, when there is nobody left to refuse the card to: a file that is no
// state of this card is kept under another name, with a line on standard error that says so, and
// nothing is read.
std::optional<CardState> read_or_set_aside(const CardProfile& profile,
                                           const std::filesystem::path& file);

// Replaces the file as a whole, so that a reader never sees half of it. False: it cannot be
// written.
bool write_state(const CardProfile& profile, const CardState& state,
                 const std::filesystem::path& file);

}  // namespace quorrin::simulator
