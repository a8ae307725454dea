// A recorded card: it answers what a card answered then, in order (docs/simulator.md).
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

#include "reader_libraries/simulator/card_device.hpp"

namespace quorrin::simulator {

// The card that a trace (docs/traces.md) shows in one slot, an index into `slot_rows`. Throws
// ConfigurationError for a file that is no trace or shows nothing of the slot.
std::unique_ptr<CardDevice> load_trace_card(const std::filesystem::path& file, std::size_t slot);

}  // namespace quorrin::simulator
