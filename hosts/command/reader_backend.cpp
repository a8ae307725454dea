#include "hosts/command/reader_backend.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "hosts/command/exchange_watch.hpp"
#include "hosts/command/output.hpp"
#include "hosts/command/progress.hpp"
#include "hosts/command/simulated_slot.hpp"
#include "hosts/command/subcommand.hpp"
#include "quorrin/reader_library.h"

namespace quorrin::command {
namespace {

struct Backend {
    decltype(&ICC_Reader_Open) open = nullptr;
    decltype(&ICC_Reader_Close) close = nullptr;
    decltype(&ICC_Reader_PowerOn) power_on = nullptr;
    decltype(&ICC_Reader_PowerOff) power_off = nullptr;
    decltype(&ICC_Reader_Application) exchange = nullptr;
    decltype(&ICC_Reader_GetSerial) serial = nullptr;
};

Backend backend;
std::atomic<bool> interrupted = false;

void interrupt(int /*signal*/) {
    interrupted = true;
}

template <typename Function>
void find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr) {
        throw Failed("the reader library has no " + std::string(name));
    }
}

void* open_library(const std::string& file) {
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw Failed(
            "the reader library cannot be loaded: " + std::string(dlerror()) +
            "\n  --reader takes simulator, simulator:FILE, pcsc, pcsc:NAME or the path of a "
            "library");
    }
    return library;
}

void use(const std::string& file) {
    void* library = open_library(file);
    find(library, "ICC_Reader_Open", backend.open);
    find(library, "ICC_Reader_Close", backend.close);
    find(library, "ICC_Reader_PowerOn", backend.power_on);
    find(library, "ICC_Reader_PowerOff", backend.power_off);
    find(library, "ICC_Reader_Application", backend.exchange);
    find(library, "ICC_Reader_GetSerial", backend.serial);
}

// The recorder lets a host go on without a trace that cannot be written. Who asks for one here wants it.
void check_trace_file(const std::string& file) {
    constexpr mode_t owner_only = 0600;  // as the recorder makes it
    const int opened = open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, owner_only);
    if (opened < 0) {
        throw Failed("the trace " + file + " cannot be written: " + std::strerror(errno));
    }
    close(opened);
}

// A program that was asked for may be a file; what the loader finds has no folder in its name.
std::string absolute(const std::string& file) {
    std::error_code ignored;
    return file.find('/') == std::string::npos ? file
                                               : std::filesystem::absolute(file, ignored).string();
}

}  // namespace

void catch_interrupts() {
    struct sigaction action = {};
    action.sa_handler = interrupt;
    // The second one ends the program at once, as it would without all this.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool was_interrupted() {
    return interrupted;
}

std::string library_file(const std::string& name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const std::filesystem::path folder = program.parent_path();
        for (const std::filesystem::path& place :
             {folder, folder.parent_path() / QUORRIN_LIBRARY_FOLDER,
              folder.parent_path() / "lib"}) {
            const std::filesystem::path file = place / (name + ".so.1");
            if (std::filesystem::exists(file, error)) {
                return file.string();
            }
        }
    }
    return name + ".so.1";
}

PcscReaders pcsc_readers() {
    using Context = std::intptr_t;  // SCARDCONTEXT of pcsc-lite: a long
    constexpr std::uint32_t system_scope = 2;
    PcscReaders found;
    void* library = dlopen("libpcsclite.so.1", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        found.failure = "PC/SC is not installed (libpcsclite1, pcscd)";
        return found;
    }
    found.has_library = true;
    const auto establish =
        reinterpret_cast<long (*)(unsigned long, const void*, const void*, Context*)>(
            dlsym(library, "SCardEstablishContext"));
    const auto list = reinterpret_cast<long (*)(Context, const char*, char*, unsigned long*)>(
        dlsym(library, "SCardListReaders"));
    const auto release = reinterpret_cast<long (*)(Context)>(dlsym(library, "SCardReleaseContext"));
    if (establish == nullptr || list == nullptr || release == nullptr) {
        found.failure = "the PC/SC library has not the functions that it should have";
        return found;
    }
    Context context = 0;
    if (establish(system_scope, nullptr, nullptr, &context) != 0) {
        found.failure = "pcscd does not answer";
        return found;
    }
    unsigned long size = 0;
    std::string names;
    if (list(context, nullptr, nullptr, &size) == 0 && size > 1) {
        names.resize(size);
        if (list(context, nullptr, names.data(), &size) != 0) {
            names.clear();
        }
    }
    release(context);
    for (const char* name = names.c_str(); name < names.c_str() + names.size() && *name != '\0';
         name += std::strlen(name) + 1) {
        found.names.emplace_back(name);
    }
    if (found.names.empty()) {
        found.failure = "PC/SC has no reader";
    }
    return found;
}

BackendChoice load_backend(const BackendRequest& request) {
    std::string name = request.reader;
    if (name.empty()) {
        const PcscReaders readers = pcsc_readers();
        name = readers.names.empty() ? "simulator" : "pcsc";
        tell(readers.names.empty()
                 ? "using the simulated reader: " + readers.failure + " (--reader names another)"
                 : "using PC/SC: " + readers.names.front());
    }
    const auto argument = [&name](const std::string& kind) {
        return name.size() > kind.size() ? name.substr(kind.size() + 1) : std::string();
    };
    BackendChoice choice;
    if (name == "simulator" || name.starts_with("simulator:")) {
        choice = {"simulator", library_file("libquorrin-simulator")};
        if (const std::string file = argument("simulator"); !file.empty()) {
            const std::string slot = request.slot.empty() ? "contact" : request.slot;
            setenv("QUORRIN_SIMULATOR", reader_file_for(file, slot).c_str(), 1);
        }
    } else if (name == "pcsc" || name.starts_with("pcsc:")) {
        choice = {"pcsc", library_file("libquorrin-pcsc")};
        if (const std::string reader = argument("pcsc"); !reader.empty()) {
            // The reader that is named serves both slots; a dual one shows itself under one name.
            setenv("QUORRIN_PCSC_CONTACT", reader.c_str(), 1);
            setenv("QUORRIN_PCSC_CONTACTLESS", "none", 1);
        }
        setenv("QUORRIN_PCSC_VERBOSE", "1", 0);
    } else {
        choice = {name, absolute(name)};
    }
    if (request.trace_file.empty()) {
        use(choice.file);
    } else {
        open_library(choice.file);  // says what is wrong with it in the loader's own words
        check_trace_file(request.trace_file);
        setenv("QUORRIN_TRACE_FILE", request.trace_file.c_str(), 1);
        setenv("QUORRIN_TRACE_READER", choice.file.c_str(), 1);
        setenv("QUORRIN_TRACE_CLEAR", request.clear_trace ? "1" : "", 1);
        use(library_file("libquorrin-trace"));
    }
    return choice;
}

}  // namespace quorrin::command

// What libQuorrin imports. After an interrupt nothing reaches the card any more but its power-down.
using quorrin::command::backend;
using quorrin::command::was_interrupted;

extern "C" {

__attribute__((visibility("default"))) int64_t ICC_Reader_Open(char* name) {
    return backend.open != nullptr ? backend.open(name) : int64_t{QUORRIN_NO_READER_LIBRARY};
}

__attribute__((visibility("default"))) int64_t ICC_Reader_Close() {
    return backend.close != nullptr ? backend.close() : int64_t{QUORRIN_NOT_CONNECTED};
}

__attribute__((visibility("default"))) int64_t ICC_Reader_PowerOn(int64_t handle, int slot,
                                                                  uint8_t* atr) {
    return was_interrupted() ? int64_t{QUORRIN_NOT_CONNECTED} : backend.power_on(handle, slot, atr);
}

__attribute__((visibility("default"))) int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return backend.power_off(handle, slot);
}

__attribute__((visibility("default"))) int64_t ICC_Reader_Application(int64_t handle, int slot,
                                                                      int64_t length,
                                                                      uint8_t* command,
                                                                      uint8_t* response) {
    quorrin::command::count_exchange();
    if (was_interrupted()) {
        return QUORRIN_NOT_CONNECTED;
    }
    const int64_t result = backend.exchange(handle, slot, length, command, response);
    if (length > 0) {
        quorrin::command::watch_exchange(
            {command, static_cast<std::size_t>(length)},
            {response, static_cast<std::size_t>(result > 1 ? result : 0)});
    }
    return result;
}

__attribute__((visibility("default"))) int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    return backend.serial(handle, serial);
}
}
