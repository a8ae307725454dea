// The one way in which the library stops the process: a limit was broken that admits no result
// code.
#pragma once

namespace quorrin {

// Names the broken limit on standard error, then aborts.
[[noreturn]] void stop_process(const char* limit) noexcept;

}  // namespace quorrin
