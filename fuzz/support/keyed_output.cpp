#include "fuzz/support/keyed_output.hpp"

#include "quorrin/quorrin.h"

namespace quorrin::fuzz {

void check_keyed_output(const GuardedOutput& out) {
    constexpr std::size_t header = 4;
    const auto bytes = out.bytes();
    std::size_t position = 0;
    while (position + header <= bytes.size() && bytes[position] >= 'A' && bytes[position] <= 'L') {
        const int length = strToInt(reinterpret_cast<const char*>(&bytes[position + 1]));
        position += header + static_cast<std::size_t>(length);
    }
    out.expect_untouched_from(position);
}

}  // namespace quorrin::fuzz
