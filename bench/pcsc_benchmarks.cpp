// What the PC/SC reader library adds to an exchange: the exported function against the bare PC/SC call,
// over a PC/SC that answers at once.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>

#include "quorrin/reader_library.h"
#include "reader_libraries/pcsc/pcsc_functions.hpp"
#include "tests/support/counted_allocations.hpp"

namespace quorrin::pcsc {
namespace {

constexpr char reader_list[] = "Desk Reader 00 00\0";

// One reader with a card over T=0, the way with the most to do: the Le is taken away.
constexpr std::uint8_t command[] = {0x00, 0xA4, 0x04, 0x00, 0x08, 0xA0, 0x00,
                                    0x00, 0x03, 0x33, 0x01, 0x01, 0x01, 0x00};
constexpr std::uint8_t answer[] = {0x6F, 0x02, 0x84, 0x00, 0x90, 0x00};

LONG establish_context(DWORD, LPCVOID, LPCVOID, LPSCARDCONTEXT context) {
    *context = 1;
    return SCARD_S_SUCCESS;
}
LONG release_context(SCARDCONTEXT) {
    return SCARD_S_SUCCESS;
}
LONG list_readers(SCARDCONTEXT, LPCSTR, LPSTR names, LPDWORD size) {
    if (names != nullptr) {
        std::memcpy(names, reader_list, sizeof reader_list);
    }
    *size = sizeof reader_list;
    return SCARD_S_SUCCESS;
}
LONG get_status_change(SCARDCONTEXT, DWORD, SCARD_READERSTATE* state, DWORD) {
    state->dwEventState = SCARD_STATE_PRESENT;
    return SCARD_S_SUCCESS;
}
LONG connect(SCARDCONTEXT, LPCSTR, DWORD, DWORD, LPSCARDHANDLE card, LPDWORD protocol) {
    *card = 1;
    *protocol = SCARD_PROTOCOL_T0;
    return SCARD_S_SUCCESS;
}
LONG reconnect(SCARDHANDLE, DWORD, DWORD, DWORD, LPDWORD protocol) {
    *protocol = SCARD_PROTOCOL_T0;
    return SCARD_S_SUCCESS;
}
LONG disconnect(SCARDHANDLE, DWORD) {
    return SCARD_S_SUCCESS;
}
LONG status(SCARDHANDLE, LPSTR, LPDWORD, LPDWORD, LPDWORD, LPBYTE atr, LPDWORD length) {
    atr[0] = 0x3B;
    atr[1] = 0x00;
    *length = 2;
    return SCARD_S_SUCCESS;
}
LONG transmit(SCARDHANDLE, const SCARD_IO_REQUEST*, LPCBYTE, DWORD, SCARD_IO_REQUEST*, LPBYTE out,
              LPDWORD length) {
    std::memcpy(out, answer, sizeof answer);
    *length = sizeof answer;
    return SCARD_S_SUCCESS;
}
LONG get_attribute(SCARDHANDLE, DWORD, LPBYTE, LPDWORD) {
    return SCARD_E_UNSUPPORTED_FEATURE;
}

}  // namespace

const PcscFunctions& pcsc_functions() {
    static constexpr PcscFunctions functions{
        .establish_context = establish_context,
        .release_context = release_context,
        .list_readers = list_readers,
        .get_status_change = get_status_change,
        .connect = connect,
        .reconnect = reconnect,
        .disconnect = disconnect,
        .status = status,
        .transmit = transmit,
        .get_attribute = get_attribute,
        .now = std::chrono::steady_clock::now,
    };
    return functions;
}

namespace {

constexpr int contact = QUORRIN_SLOT_CONTACT;

bool exchange_by_library(std::int64_t handle, std::uint8_t* response) {
    return ICC_Reader_Application(handle, contact, sizeof command,
                                  const_cast<std::uint8_t*>(command), response) == sizeof answer;
}

// By way of the table, as a call into another library.
bool exchange_bare(std::uint8_t* response) {
    const SCARD_IO_REQUEST protocol{SCARD_PROTOCOL_T0, sizeof protocol};
    DWORD length = 1024;
    auto* transmit_of_system = pcsc_functions().transmit;
    benchmark::DoNotOptimize(transmit_of_system);
    return transmit_of_system(1, &protocol, command, sizeof command - 1, nullptr, response,
                              &length) == SCARD_S_SUCCESS &&
           length == sizeof answer;
}

template <typename Exchange>
std::chrono::duration<double> time_of(int count, Exchange&& exchange) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        bool right = exchange();
        benchmark::DoNotOptimize(right);
        benchmark::ClobberMemory();
    }
    return std::chrono::steady_clock::now() - start;
}

// Both in turns, so that the machine's moods meet both. The counters are of one exchange.
void exchange_added(benchmark::State& state) {
    unsetenv("QUORRIN_PCSC_CONFIG");
    char name[32] = {};
    std::uint8_t atr[512];
    std::uint8_t response[1024];
    const std::int64_t handle = ICC_Reader_Open(name);
    if (handle <= 0 || ICC_Reader_PowerOn(handle, contact, atr) != 2 ||
        !exchange_by_library(handle, response) || !exchange_bare(response)) {
        state.SkipWithError("does not give the expected result");
        return;
    }
    constexpr int in_a_turn = 1000;
    double bare = 0;
    double by_library = 0;
    std::size_t made = 0;
    for (auto _ : state) {
        const std::size_t before = allocations;
        const auto through =
            time_of(in_a_turn, [&] { return exchange_by_library(handle, response); });
        made += allocations - before;
        const auto direct = time_of(in_a_turn, [&] { return exchange_bare(response); });
        bare += direct.count();
        by_library += through.count();
    }
    const auto exchanges = static_cast<double>(state.iterations()) * in_a_turn;
    constexpr double nanoseconds = 1e9;
    state.counters["bare_ns"] = bare / exchanges * nanoseconds;
    state.counters["library_ns"] = by_library / exchanges * nanoseconds;
    state.counters["added_ns"] = (by_library - bare) / exchanges * nanoseconds;
    state.counters["allocations"] = static_cast<double>(made);
    ICC_Reader_Close();
}
BENCHMARK(exchange_added)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quorrin::pcsc
