// Sums of times. A recording may hold any number: what leaves the range stays at its end.
#pragma once

#include <cstdint>

namespace quorrin::explain {

constexpr std::int64_t end_of_range(bool negative) {
    return negative ? INT64_MIN : INT64_MAX;
}

constexpr std::int64_t sum(std::int64_t one, std::int64_t other) {
    std::int64_t result = 0;
    return __builtin_add_overflow(one, other, &result) ? end_of_range(one < 0) : result;
}

constexpr std::int64_t difference(std::int64_t one, std::int64_t other) {
    std::int64_t result = 0;
    return __builtin_sub_overflow(one, other, &result) ? end_of_range(one < 0) : result;
}

constexpr std::int64_t nanoseconds(std::int64_t microseconds) {
    std::int64_t result = 0;
    return __builtin_mul_overflow(microseconds, 1000, &result) ? end_of_range(microseconds < 0)
                                                               : result;
}

}  // namespace quorrin::explain
