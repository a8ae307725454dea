// The simulator's card with commands as input, as a host with IccComm may send them. Head: which
// card; then commands, each behind its length. What is checked is that the card lives and answers
// with at least a status word; its faults are its own (sanitizers).

#include <string>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "reader_libraries/simulator/card/profile_card.hpp"
#include "reader_libraries/simulator/card/profile_loading.hpp"

namespace {

using namespace quorrin;

// Power-off and power-on between commands.
constexpr std::uint8_t power_again = 0;

// Each profile is read once: a card is made of it for every input.
const std::vector<simulator::CardProfile>& profiles() {
    static const std::vector<simulator::CardProfile> all = [] {
        std::vector<simulator::CardProfile> read;
        for (const char* name : {"debit", "credit", "gm", "two_applications", "old", "quick",
                                 "full", "international"}) {
            read.push_back(simulator::load_profile(
                read_configuration(std::string(QUORRIN_PROFILES "/") + name + ".toml")));
        }
        return read;
    }();
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    const auto card = simulator::card_of(profiles()[input.byte() % profiles().size()]);
    fuzz::expect(!card->power_on().empty(), "a card answers to reset");
    while (!input.at_end()) {
        const std::uint8_t length = input.byte();
        if (length == power_again) {
            card->power_off();
            card->power_on();
            continue;
        }
        const fuzz::Bytes taken = input.take(length);
        const std::vector<std::uint8_t> command(taken.begin(), taken.end());
        constexpr std::size_t shortest_command = 4;
        if (command.size() < shortest_command) {
            break;  // the reader refuses it
        }
        const auto answer = card->transmit(command);
        fuzz::expect(answer.size() >= 2 && answer.size() <= 258,
                     "a card answers with up to 256 bytes and a status word");
    }
    return 0;
}
