#include "tests/reader_libraries/pcsc/virtual_readers.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <winscard.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <thread>

namespace quorrin::test {
namespace {

constexpr const char* daemon_program = "/usr/sbin/pcscd";
constexpr const char* driver = "/usr/lib/pcsc/drivers/serial/libifdvpcd.so";

constexpr std::chrono::seconds longest_wait_for_service{10};
constexpr std::chrono::milliseconds look_again_after{5};

template <typename Condition>
bool wait_until(Condition&& condition) {
    const auto end = std::chrono::steady_clock::now() + longest_wait_for_service;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(look_again_after);
    }
    return true;
}

std::size_t readers_there() {
    SCARDCONTEXT context = 0;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS) {
        return 0;
    }
    std::string list(4096, '\0');
    DWORD size = list.size();
    std::size_t count = 0;
    if (SCardListReaders(context, nullptr, list.data(), &size) == SCARD_S_SUCCESS) {
        for (const char* name = list.data(); *name != '\0'; name += std::string(name).size() + 1) {
            ++count;
        }
    }
    SCardReleaseContext(context);
    return count;
}

// The driver keeps one state for each of its files: every pair of readers has a copy of its own. The
// configuration lies alone in its folder, of which the service reads every file.
void write_configuration(const std::filesystem::path& folder,
                         const std::filesystem::path& configuration,
                         const std::vector<ReaderPair>& pairs) {
    std::filesystem::create_directories(configuration);
    std::ofstream file(configuration / "readers.conf");
    for (const ReaderPair& pair : pairs) {
        const auto copy = folder / ("driver-" + std::to_string(pair.port) + ".so");
        std::filesystem::copy_file(driver, copy, std::filesystem::copy_options::skip_existing);
        char port[8];
        std::snprintf(port, sizeof port, "0x%04X", unsigned{pair.port});
        file << "FRIENDLYNAME \"" << pair.name << "\"\nDEVICENAME /dev/null:" << port
             << "\nLIBPATH " << copy.string() << "\nCHANNELID " << port << "\n\n";
    }
}

}  // namespace

std::string VirtualReaders::missing() {
    for (const char* file : {daemon_program, driver}) {
        if (!std::filesystem::exists(file)) {
            return std::string(file) + " (Debian: apt-get install pcscd vsmartcard-vpcd)";
        }
    }
    return "";
}

bool VirtualReaders::start(const std::vector<ReaderPair>& pairs) {
    const auto configuration = folder_ / "configuration";
    write_configuration(folder_, configuration, pairs);
    const std::string log = (folder_ / "pcscd.log").string();
    const std::string option = configuration.string();

    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // nothing stays behind when the tests are killed
        const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(out, STDOUT_FILENO);
        dup2(out, STDERR_FILENO);
        execl(daemon_program, daemon_program, "--foreground", "--config", option.c_str(), nullptr);
        _exit(127);
    }
    return process_ > 0 && wait_until([&] { return readers_there() == 2 * pairs.size(); });
}

void VirtualReaders::stop() {
    end_with(SIGTERM);
}

void VirtualReaders::kill() {
    end_with(SIGKILL);
}

void VirtualReaders::print_log() const {
    std::cout << std::ifstream(folder_ / "pcscd.log").rdbuf() << std::flush;
}

void VirtualReaders::end_with(int signal) {
    if (process_ <= 0) {
        return;
    }
    ::kill(process_, signal);
    const bool ended = wait_until([&] { return waitpid(process_, nullptr, WNOHANG) == process_; });
    if (!ended) {
        ::kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    process_ = -1;
}

bool wait_for_card(const std::string& reader, bool present) {
    SCARDCONTEXT context = 0;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS) {
        return false;
    }
    SCARD_READERSTATE state{};
    state.szReader = reader.c_str();
    const DWORD wanted = present ? SCARD_STATE_PRESENT : SCARD_STATE_EMPTY;
    const auto milliseconds = std::chrono::milliseconds(longest_wait_for_service).count();
    // The first call answers at once, later ones with the next change.
    while (SCardGetStatusChange(context, static_cast<DWORD>(milliseconds), &state, 1) ==
               SCARD_S_SUCCESS &&
           (state.dwEventState & wanted) == 0) {
        state.dwCurrentState = state.dwEventState & ~DWORD{SCARD_STATE_CHANGED};
    }
    SCardReleaseContext(context);
    return (state.dwEventState & wanted) != 0;
}

}  // namespace quorrin::test
