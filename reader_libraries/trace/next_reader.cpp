// The version script exports what is visible; the recorder's own functions must not be found.
#pragma GCC visibility push(default)
#include "quorrin/reader_library.h"
#pragma GCC visibility pop

#include "reader_libraries/trace/next_reader.hpp"

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>
#include <mutex>

#include "reader_libraries/trace/settings.hpp"

namespace quorrin::trace {
namespace {

// Null where only the recorder itself is found.
template <typename Function>
Function find(void* library, const char* name, Function own) {
    void* found = dlsym(library, name);
    if (found == nullptr || found == reinterpret_cast<void*>(own)) {
        return nullptr;
    }
    return reinterpret_cast<Function>(found);
}

void* named_library() {
    const char* name = secure_getenv(reader_variable);
    if (name == nullptr || *name == '\0') {
        return RTLD_NEXT;
    }
    void* library = dlopen(name, RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        say(reason == nullptr ? "cannot be loaded" : reason, reader_variable);
    }
    return library;
}

struct NextReader {
    void* library = named_library();
    ReaderFunctions functions;
    bool complete = false;
    bool complained = false;

    void look() {
        if (complete || library == nullptr) {
            return;
        }
        complete = true;
        const auto take = [this](auto& function, const char* name, auto* own) {
            function = find(library, name, own);
            complete &= function != nullptr;
        };
        take(functions.open, "ICC_Reader_Open", &ICC_Reader_Open);
        take(functions.close, "ICC_Reader_Close", &ICC_Reader_Close);
        take(functions.power_on, "ICC_Reader_PowerOn", &ICC_Reader_PowerOn);
        take(functions.power_off, "ICC_Reader_PowerOff", &ICC_Reader_PowerOff);
        take(functions.exchange, "ICC_Reader_Application", &ICC_Reader_Application);
        take(functions.serial, "ICC_Reader_GetSerial", &ICC_Reader_GetSerial);
        if (!complete && !complained) {
            complained = true;
            say("no reader library provides all six reader functions: name one in "
                "QUORRIN_TRACE_READER",
                "");
        }
    }
};

}  // namespace

ReaderFunctions next_reader() {
    // Hosts may call from handlers that run when the process ends, so neither ever goes.
    static NextReader& next = *new NextReader;
    static std::mutex& mutex = *new std::mutex;
    static std::atomic<bool> complete = false;
    if (complete.load(std::memory_order_acquire)) {
        return next.functions;
    }
    const std::scoped_lock lock(mutex);
    next.look();
    complete.store(next.complete, std::memory_order_release);
    return next.functions;
}

}  // namespace quorrin::trace
