#include "fuzz/support/expectation.hpp"

#include <cstdio>
#include <cstdlib>

namespace quorrin::fuzz {

void expect(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

}  // namespace quorrin::fuzz
