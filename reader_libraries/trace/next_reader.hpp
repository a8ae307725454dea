// The reader library behind the recorder.
#pragma once

#include <cstdint>

namespace quorrin::trace {

struct ReaderFunctions {
    std::int64_t (*open)(char*) = nullptr;
    std::int64_t (*close)() = nullptr;
    std::int64_t (*power_on)(std::int64_t, int, std::uint8_t*) = nullptr;
    std::int64_t (*power_off)(std::int64_t, int) = nullptr;
    std::int64_t (*exchange)(std::int64_t, int, std::int64_t, std::uint8_t*,
                             std::uint8_t*) = nullptr;
    std::int64_t (*serial)(std::int64_t, char*) = nullptr;
};

// The library that QUORRIN_TRACE_READER names; without it whatever the process would use if the
// recorder were not there. A function that is not there yet is looked for again at the next call: a
// host may bring its reader library in at any time.
ReaderFunctions next_reader();

}  // namespace quorrin::trace
