// A simulated card in a virtual reader, for trying hosts and tools by hand: see docs/real-readers.md.

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>

#include "reader_libraries/simulator/card/profile_card.hpp"
#include "reader_libraries/simulator/t0_framing.hpp"
#include "tests/reader_libraries/pcsc/virtual_card.hpp"

namespace {

using namespace quorrin;

// The first port of Debian's virtual reader: "Virtual PCD 00 00". The next one is "Virtual PCD 00 01".
constexpr std::uint16_t first_port = 35963;

int usage() {
    std::fputs(
        "virtual_card [--t0] [--second] [PROFILE]\n"
        "  a card of this profile (the debit card when there is none) in the virtual reader of "
        "pcscd,\n"
        "  until Ctrl-C; --t0: over T=0; --second: in its second slot, the contactless one\n",
        stderr);
    return 2;
}

void run(simulator::CardDevice& card, std::uint16_t port, bool t0) {
    std::optional<simulator::T0Framing> framing;
    if (t0) {
        framing.emplace(card, simulator::T0Settings{});
    }
    const test::ByteString atr =
        test::hex(t0 ? "3B 65 00 00 54 45 53 54 30" : "3B 88 80 01 00 00 00 00 33 81 81 00 3A");
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGINT);
    sigaddset(&end, SIGTERM);
    sigprocmask(SIG_BLOCK, &end, nullptr);  // for the card's thread too
    test::VirtualCard in_reader(port, framing ? *framing : card, atr);
    int ignored = 0;
    sigwait(&end, &ignored);
    in_reader.pull();
    for (const std::string& line : in_reader.heard()) {
        std::puts(line.c_str());
    }
}

}  // namespace

int main(int count, char** arguments) {
    bool t0 = false;
    std::uint16_t port = first_port;
    const char* profile = nullptr;
    for (int i = 1; i < count; ++i) {
        if (std::strcmp(arguments[i], "--t0") == 0) {
            t0 = true;
        } else if (std::strcmp(arguments[i], "--second") == 0) {
            port = first_port + 1;
        } else if (arguments[i][0] == '-' || profile != nullptr) {
            return usage();
        } else {
            profile = arguments[i];
        }
    }
    try {
        const auto card =
            profile == nullptr ? simulator::default_card() : simulator::load_card_file(profile);
        run(*card, port, t0);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "virtual_card: %s\n", failure.what());
        return 1;
    }
}
