// The functions that hosts and libQuorrin.so.1 call. Nothing thrown passes them.

// The version script exports what is visible.
#pragma GCC visibility push(default)
#include "quorrin/reader_library.h"
#pragma GCC visibility pop

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>

#include "reader_libraries/pcsc/pcsc_reader.hpp"

namespace quorrin::pcsc {
namespace {

// Hosts may call from handlers that run when the process ends, so the reader never goes.
PcscReader& reader() {
    static PcscReader& only = *new PcscReader(pcsc_functions());
    return only;
}

std::mutex& reader_mutex() {
    static std::mutex mutex;
    return mutex;
}

// One call at a time. What can be thrown at all is want of memory, outside the exchange of commands.
template <typename Call>
std::int64_t guarded(Call&& call) noexcept {
    try {
        const std::scoped_lock lock(reader_mutex());
        return call(reader());
    } catch (...) {
        return QUORRIN_CONNECTION_ERROR;
    }
}

std::int64_t complain(const ConfigurationError& error, std::int64_t code) {
    const char* verbose = std::getenv(verbose_variable);
    if (verbose != nullptr && *verbose != '\0') {
        std::fprintf(stderr, "libquorrin-pcsc: %s\n", error.what());
    }
    return code;
}

}  // namespace
}  // namespace quorrin::pcsc

using namespace quorrin;
using namespace quorrin::pcsc;

int64_t ICC_Reader_Open(char* name) {
    return guarded([&](PcscReader& pcsc) -> std::int64_t {
        if (name == nullptr) {
            return QUORRIN_BAD_PARAMETER;
        }
        try {
            return pcsc.open(std::span<char, PcscReader::name_room>(name, PcscReader::name_room));
        } catch (const ConfigurationMissing& missing) {
            return complain(missing, QUORRIN_CONNECTION_ERROR);
        } catch (const ConfigurationError& error) {
            return complain(error, QUORRIN_BAD_PARAMETER);
        }
    });
}

int64_t ICC_Reader_Close(void) {
    return guarded([](PcscReader& pcsc) { return pcsc.close(); });
}

int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    return guarded([&](PcscReader& pcsc) -> std::int64_t {
        if (atr == nullptr) {
            return QUORRIN_BAD_PARAMETER;
        }
        constexpr std::size_t room = CardConnection::atr_room;
        return pcsc.power_on(handle, slot, std::span<std::uint8_t, room>(atr, room));
    });
}

int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return guarded([&](PcscReader& pcsc) { return pcsc.power_off(handle, slot); });
}

int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    return guarded([&](PcscReader& pcsc) -> std::int64_t {
        if (command == nullptr || response == nullptr || length < 0) {
            return QUORRIN_BAD_PARAMETER;
        }
        constexpr std::size_t room = CardConnection::response_room;
        return pcsc.exchange(handle, slot, {command, static_cast<std::size_t>(length)},
                             std::span<std::uint8_t, room>(response, room));
    });
}

int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    return guarded([&](PcscReader& pcsc) -> std::int64_t {
        if (serial == nullptr) {
            return QUORRIN_BAD_PARAMETER;
        }
        return pcsc.serial(
            handle, std::span<char, PcscReader::serial_room>(serial, PcscReader::serial_room));
    });
}
