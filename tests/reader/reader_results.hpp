// What a reader library may answer to any of its calls, one list for the tests of all of them: its
// device codes, codes of its own, the values around success and lengths that nothing can have.
#pragma once

#include <cstdint>
#include <limits>

namespace quorrin::test {

inline constexpr std::int64_t reader_results[] = {
    std::numeric_limits<std::int64_t>::min(),
    -5'000'000'000,
    -40000,
    -20000,
    -51,
    -15,
    -14,
    -13,
    -12,
    -11,
    -5,
    -4,
    -3,
    -2,
    -1,
    0,
    1,
    2,
    3,
    1025,
    std::int64_t{1} << 32,
    std::numeric_limits<std::int64_t>::max(),
};

}  // namespace quorrin::test
