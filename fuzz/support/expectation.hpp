// What has to hold whatever the input: a failure ends the process, and the fuzzer keeps the input.
#pragma once

namespace quorrin::fuzz {

void expect(bool holds, const char* what);

}  // namespace quorrin::fuzz
