#include "reader/process_stop.hpp"

#include <cstdio>
#include <cstdlib>

namespace quorrin {

void stop_process(const char* limit) noexcept {
    std::fprintf(stderr, "libQuorrin: limit exceeded: %s\n", limit);
    std::abort();
}

}  // namespace quorrin
