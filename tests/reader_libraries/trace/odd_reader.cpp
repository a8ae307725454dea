#pragma GCC visibility push(default)
#include "tests/reader_libraries/trace/odd_reader.hpp"
#include "quorrin/reader_library.h"

extern "C" quorrin::trace::test_reader::OddReader* odd_reader() {
    static quorrin::trace::test_reader::OddReader only;
    return &only;
}

int64_t ICC_Reader_Open(char* name) {
    return odd_reader()->open(name);
}
int64_t ICC_Reader_Close(void) {
    return odd_reader()->close();
}
int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    return odd_reader()->power_on(handle, slot, atr);
}
int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return odd_reader()->power_off(handle, slot);
}
int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    return odd_reader()->exchange(handle, slot, length, command, response);
}
int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    return odd_reader()->serial(handle, serial);
}
#pragma GCC visibility pop
