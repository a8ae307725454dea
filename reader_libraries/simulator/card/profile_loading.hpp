// From the text that people write to a checked profile.
#pragma once

#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/simulator/card/card_profile.hpp"

namespace quorrin::simulator {

// Throws ConfigurationError for anything that makes no card.
CardProfile load_profile(const Section& section);

}  // namespace quorrin::simulator
