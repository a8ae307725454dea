// A slow card: the simulated reader, which takes its time for every exchange.
#include <dlfcn.h>

#include <chrono>
#include <thread>

#include "quorrin/reader_library.h"

namespace {

constexpr std::chrono::milliseconds time_of_an_exchange{450};

template <typename Function>
Function simulator_function(const char* name) {
    static void* const simulator = dlopen(QUORRIN_SIMULATOR_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<Function>(dlsym(simulator, name));
}

}  // namespace

extern "C" {

int64_t ICC_Reader_Open(char* name) {
    return simulator_function<decltype(&ICC_Reader_Open)>("ICC_Reader_Open")(name);
}

int64_t ICC_Reader_Close() {
    return simulator_function<decltype(&ICC_Reader_Close)>("ICC_Reader_Close")();
}

int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    return simulator_function<decltype(&ICC_Reader_PowerOn)>("ICC_Reader_PowerOn")(handle, slot,
                                                                                   atr);
}

int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return simulator_function<decltype(&ICC_Reader_PowerOff)>("ICC_Reader_PowerOff")(handle, slot);
}

int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    std::this_thread::sleep_for(time_of_an_exchange);
    return simulator_function<decltype(&ICC_Reader_Application)>("ICC_Reader_Application")(
        handle, slot, length, command, response);
}

int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    return simulator_function<decltype(&ICC_Reader_GetSerial)>("ICC_Reader_GetSerial")(handle,
                                                                                       serial);
}
}
