// Cards out of profiles: see docs/card-profiles.md.
#pragma once

#include <filesystem>
#include <memory>

#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/simulator/card/card_profile.hpp"
#include "reader_libraries/simulator/card_device.hpp"

namespace quorrin::simulator {

// All but the last throw ConfigurationError for a profile or a state file that makes no card.
std::unique_ptr<CardDevice> card_of(CardProfile profile);
std::unique_ptr<CardDevice> load_card(const Section& section);
std::unique_ptr<CardDevice> load_card_file(const std::filesystem::path& file);

// The debit card that is built in, for those who have no profile at hand.
std::unique_ptr<CardDevice> default_card();

}  // namespace quorrin::simulator
