// The card of the reader that runs without a reader file: the debit card profile, as text.
#pragma once

#include <string_view>

namespace quorrin::simulator {

extern const std::string_view built_in_card;

}  // namespace quorrin::simulator
