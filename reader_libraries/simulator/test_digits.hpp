// Test data in place of the masked digits of a recording, so that a host can work with it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::simulator {

// Fills the masked digits of all answers, the same everywhere: an account number of test digits with a
// right check digit, the expiry date of 5F24 in tracks, a test name, zeros elsewhere. The commands stay
// as they are.
void replace_masked_digits(std::vector<trace::Entry>& entries);

// An account number of that many digits, made up: 9999, zeros, check digit (ISO/IEC 7812-1).
std::string test_account(std::size_t digits);

}  // namespace quorrin::simulator
