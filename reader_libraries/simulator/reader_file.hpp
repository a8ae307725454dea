// The reader file: which card sits in which slot, and what goes wrong there.
#pragma once

#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/simulator/fault_injection.hpp"
#include "reader_libraries/simulator/t0_framing.hpp"
#include "reader_libraries/slots.hpp"

namespace quorrin::simulator {

using slots::find_slot;
using slots::slot_count;
using slots::slot_rows;
using slots::SlotRow;

// The environment variable that names the reader file.
inline constexpr const char* reader_file_variable = "QUORRIN_SIMULATOR";

struct SlotSetup {
    std::unique_ptr<CardDevice> card;  // null: the slot is empty
    std::optional<T0Settings> t0;
    SlotFaults faults;
};

struct ReaderSetup {
    std::string name = "Quorrin simulated reader";
    std::string serial = "SIM00000001";
    std::array<SlotSetup, slot_count> slots;
    std::vector<std::filesystem::path> profiles;  // files that cards were read from
};

// Both throw ConfigurationError.
ReaderSetup read_reader_file(const std::filesystem::path& file);
ReaderSetup built_in_reader();

}  // namespace quorrin::simulator
