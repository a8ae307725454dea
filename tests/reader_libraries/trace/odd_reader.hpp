// A reader library for tests: it does with its arguments what the test says, and tells what they were.
#pragma once

#include <cstdint>
#include <functional>

namespace quorrin::trace::test_reader {

struct OddReader {
    std::function<std::int64_t(char*)> open;
    std::function<std::int64_t()> close;
    std::function<std::int64_t(std::int64_t, int, std::uint8_t*)> power_on;
    std::function<std::int64_t(std::int64_t, int)> power_off;
    std::function<std::int64_t(std::int64_t, int, std::int64_t, std::uint8_t*, std::uint8_t*)>
        exchange;
    std::function<std::int64_t(std::int64_t, char*)> serial;
};

}  // namespace quorrin::trace::test_reader

// The library's only reader; exported beside the six functions.
extern "C" quorrin::trace::test_reader::OddReader* odd_reader();
