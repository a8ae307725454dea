// One application of a profile.
#pragma once

#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/simulator/card/card_profile.hpp"

namespace quorrin::simulator {

// Data of a short answer: ISO/IEC 7816-4 section 5.1.
inline constexpr std::size_t longest_answer = 256;

// `card` tells algorithm and keys, its applications are not looked at.
ApplicationProfile load_application(const Section& section, const CardProfile& card);

}  // namespace quorrin::simulator
