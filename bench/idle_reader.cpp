// A reader library that does nothing but answer: what stands behind the recorder while it is measured.

#pragma GCC visibility push(default)
#include "quorrin/reader_library.h"
#pragma GCC visibility pop

#include <algorithm>

#include "bench/recorded_answers.hpp"

using namespace quorrin::bench;

int64_t ICC_Reader_Open(char* name) {
    *name = '\0';
    return 1;
}
int64_t ICC_Reader_Close(void) {
    return 0;
}
int64_t ICC_Reader_PowerOn(int64_t, int, uint8_t* atr) {
    atr[0] = 0x3B;
    atr[1] = 0x00;
    return 2;
}
int64_t ICC_Reader_PowerOff(int64_t, int) {
    return 0;
}
int64_t ICC_Reader_Application(int64_t, int, int64_t, uint8_t* command, uint8_t* response) {
    const auto& answer = answer_to(command);
    std::copy(answer.begin(), answer.end(), response);
    return static_cast<int64_t>(answer.size());
}
int64_t ICC_Reader_GetSerial(int64_t, char* serial) {
    *serial = '\0';
    return 0;
}
