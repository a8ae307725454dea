// The six functions as a host calls them: each goes to the reader library behind, as it came and with
// what came back, and leaves a line in the trace. Nothing thrown passes them, neither ours nor its.

// The version script exports what is visible.
#pragma GCC visibility push(default)
#include "quorrin/reader_library.h"
#pragma GCC visibility pop

#include <cxxabi.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>

#include "quorrin/device_codes.h"
#include "reader_libraries/trace/next_reader.hpp"
#include "reader_libraries/trace/recorder.hpp"
#include "reader_libraries/trace/unnoticed.hpp"

using namespace quorrin::trace;

namespace {

// Hosts may call from handlers that run when the process ends, so the recorder never goes.
Recorder& recorder() {
    static Recorder& only = *new Recorder(read_settings());
    [[maybe_unused]] static const int registered =
        pthread_atfork([] { recorder().before_fork(); }, [] { recorder().after_fork(false); },
                       [] { recorder().after_fork(true); });
    return only;
}

std::int64_t nanoseconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Makes the call, then fills in what it left and records it.
template <typename Function, typename FillIn, typename... Arguments>
std::int64_t pass_on(Call call, Function ReaderFunctions::*function, FillIn&& fill_in,
                     Arguments... arguments) {
    Function next = nullptr;
    try {
        const Unnoticed unnoticed;
        next = next_reader().*function;
        recorder();  // the first call pays for the set-up, not the measured one
    } catch (...) {
        return next == nullptr ? std::int64_t{QUORRIN_NO_READER_LIBRARY} : next(arguments...);
    }
    call.began = nanoseconds(CLOCK_REALTIME) / 1000;
    const std::int64_t start = nanoseconds(CLOCK_MONOTONIC);
    try {
        call.result =
            next == nullptr ? std::int64_t{QUORRIN_NO_READER_LIBRARY} : next(arguments...);
    } catch (...) {
        if (abi::__cxa_current_exception_type() == nullptr) {
            throw;  // the host ends this thread (pthread_cancel): no exception, and not to be stopped
        }
        call.result = std::int64_t{QUORRIN_NO_READER_LIBRARY};
    }
    call.duration = nanoseconds(CLOCK_MONOTONIC) - start;
    fill_in(call);
    recorder().record(call);
    return call.result;
}

// As many bytes as the result says, of a buffer with that much room.
std::span<const std::uint8_t> filled(const std::uint8_t* buffer, std::int64_t result,
                                     std::size_t least, std::size_t room) {
    if (buffer == nullptr || result < static_cast<std::int64_t>(least) ||
        result > static_cast<std::int64_t>(room)) {
        return {};
    }
    return {buffer, static_cast<std::size_t>(result)};
}

std::string_view text_in(const char* buffer, std::size_t room) {
    return buffer == nullptr ? std::string_view{} : std::string_view{buffer, strnlen(buffer, room)};
}

const auto nothing_more = [](Call&) {};

}  // namespace

int64_t ICC_Reader_Open(char* name) {
    return pass_on(
        Call{.action = Action::Open}, &ReaderFunctions::open,
        [name](Call& call) {
            if (call.result > 0) {
                call.text = text_in(name, name_room);
            }
        },
        name);
}

int64_t ICC_Reader_Close(void) {
    return pass_on(Call{.action = Action::Close}, &ReaderFunctions::close, nothing_more);
}

int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    return pass_on(
        Call{.action = Action::PowerOn, .handle = handle, .slot = slot}, &ReaderFunctions::power_on,
        [atr](Call& call) { call.answer = filled(atr, call.result, 1, atr_room); }, handle, slot,
        atr);
}

int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return pass_on(Call{.action = Action::PowerOff, .handle = handle, .slot = slot},
                   &ReaderFunctions::power_off, nothing_more, handle, slot);
}

int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    Call call{.action = Action::Exchange, .handle = handle, .slot = slot, .command_length = length};
    // As it was sent: the reader library may write into it, and a host may pass one buffer for both.
    std::array<std::uint8_t, longest_command> sent;
    if (command != nullptr && length > 0 && length <= std::int64_t{sent.size()}) {
        std::copy_n(command, length, sent.begin());
        call.command = {sent.data(), static_cast<std::size_t>(length)};
    }
    return pass_on(
        call, &ReaderFunctions::exchange,
        [response](Call& recorded) {
            recorded.answer = filled(response, recorded.result, status_word_size, response_room);
        },
        handle, slot, length, command, response);
}

int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    return pass_on(
        Call{.action = Action::Serial, .handle = handle}, &ReaderFunctions::serial,
        [serial](Call& call) {
            if (call.result == 0) {
                call.text = text_in(serial, serial_room);
            }
        },
        handle, serial);
}
