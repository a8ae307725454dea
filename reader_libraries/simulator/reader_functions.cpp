// The functions that hosts and libQuorrin.so.1 call. Nothing thrown passes them.

// The version script exports what is visible.
#pragma GCC visibility push(default)
#include "quorrin/reader_library.h"
#pragma GCC visibility pop

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>

#include "quorrin/device_codes.h"
#include "reader_libraries/simulator/simulated_reader.hpp"

namespace quorrin::simulator {
namespace {

// Hosts may call from handlers that run when the process ends, so the reader never goes.
SimulatedReader& reader() {
    static SimulatedReader& only = *new SimulatedReader;
    return only;
}

std::mutex& reader_mutex() {
    static std::mutex mutex;
    return mutex;
}

// One call at a time; a defect of the simulator is this result, not the end of the host.
template <typename Call>
std::int64_t guarded(std::int64_t result_of_a_defect, Call&& call) noexcept {
    try {
        const std::scoped_lock lock(reader_mutex());
        return call(reader());
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "libquorrin-simulator: %s\n", failure.what());
        return result_of_a_defect;
    } catch (...) {
        return result_of_a_defect;
    }
}

std::optional<std::filesystem::path> reader_file() {
    const char* name = std::getenv(reader_file_variable);
    if (name == nullptr || *name == '\0') {
        return std::nullopt;
    }
    return name;
}

std::int64_t complain(const ConfigurationError& error, std::int64_t code) {
    std::fprintf(stderr, "libquorrin-simulator: %s\n", error.what());
    return code;
}

}  // namespace
}  // namespace quorrin::simulator

using namespace quorrin;
using namespace quorrin::simulator;

int64_t ICC_Reader_Open(char* name) {
    return guarded(QUORRIN_CONNECTION_ERROR, [&](SimulatedReader& simulated) -> std::int64_t {
        if (name == nullptr) {
            return QUORRIN_BAD_PARAMETER;
        }
        try {
            return simulated.open(reader_file(), std::span<char, SimulatedReader::name_room>(
                                                     name, SimulatedReader::name_room));
        } catch (const ConfigurationMissing& missing) {
            return complain(missing, QUORRIN_CONNECTION_ERROR);
        } catch (const ConfigurationError& error) {
            return complain(error, QUORRIN_BAD_PARAMETER);
        }
    });
}

int64_t ICC_Reader_Close(void) {
    return guarded(QUORRIN_CONNECTION_ERROR,
                   [](SimulatedReader& simulated) { return simulated.close(); });
}

int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    return guarded(QUORRIN_CARD_MUTE, [&](SimulatedReader& simulated) -> std::int64_t {
        if (atr == nullptr) {
            return QUORRIN_BAD_PARAMETER;
        }
        return simulated.power_on(
            handle, slot,
            std::span<std::uint8_t, SimulatedReader::atr_room>(atr, SimulatedReader::atr_room));
    });
}

int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return guarded(QUORRIN_CARD_MUTE,
                   [&](SimulatedReader& simulated) { return simulated.power_off(handle, slot); });
}

int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    return guarded(QUORRIN_CARD_MUTE, [&](SimulatedReader& simulated) -> std::int64_t {
        if (command == nullptr || response == nullptr || length < 0) {
            return QUORRIN_BAD_PARAMETER;
        }
        return simulated.exchange(handle, slot, {command, static_cast<std::size_t>(length)},
                                  std::span<std::uint8_t, SimulatedReader::response_room>(
                                      response, SimulatedReader::response_room));
    });
}

int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    return guarded(QUORRIN_CONNECTION_ERROR, [&](SimulatedReader& simulated) -> std::int64_t {
        if (serial == nullptr) {
            return QUORRIN_BAD_PARAMETER;
        }
        return simulated.serial(handle, std::span<char, SimulatedReader::serial_room>(
                                            serial, SimulatedReader::serial_room));
    });
}
