// The beginning that the bank card operations share: select the application, get its processing
// options, read its records (EMV book 3, 10.1 and 10.2).
#pragma once

#include <cstdint>

#include "quorrin/quorrin.h"

namespace quorrin {

enum class ReadingStep { Selection, Options, Records };

// Told of each step before it is taken, and again when it has failed.
using ReadingWatch = void (*)(ReadingStep step, bool failed);

// 0, or the code of the step that failed. `aid_hex` as for emvSelectAid, the terminal data as for
// emvGPO.
std::int64_t read_application(std::int64_t handle, const char* aid_hex, const char* terminal_data,
                              const QuorrinKeyRow* table, ReadingWatch watch = nullptr);

}  // namespace quorrin
