// What the configuration says: a TOML file, and environment variables above it.
#pragma once

#include <chrono>

#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/pcsc/slot_rules.hpp"

namespace quorrin::pcsc {

inline constexpr const char* file_variable = "QUORRIN_PCSC_CONFIG";
inline constexpr const char* wait_variable = "QUORRIN_PCSC_WAIT";
inline constexpr const char* access_variable = "QUORRIN_PCSC_ACCESS";
inline constexpr const char* verbose_variable = "QUORRIN_PCSC_VERBOSE";

struct Settings {
    SlotWishes readers;
    SlotWishes said_by;             // where each of them stands: the variable, or the file
    std::chrono::seconds wait{30};  // the most that one call spends waiting
    bool shared = false;            // other programs may use a powered card too
};

// Of the file that QUORRIN_PCSC_CONFIG names, else of quorrin/pcsc.toml in the user's configuration
// folder, where that exists; then of the environment. Throws ConfigurationError.
Settings read_settings();

}  // namespace quorrin::pcsc
