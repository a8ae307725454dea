// The simulator's card with commands as input, as a host with IccComm may send them. Head: which
// card; then commands, each behind its length. What is checked is that the card lives and answers
// with at least a status word; its faults are its own (sanitizers).

#include <memory>
#include <string>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "reader_libraries/simulator/card/profile_card.hpp"

namespace {

using namespace quorrin;

// Power-off and power-on between commands.
constexpr std::uint8_t power_again = 0;

std::unique_ptr<simulator::CardDevice> make_card(std::uint8_t which) {
    static const char* const profiles[] = {"debit", "credit", "gm", "two_applications",
                                           "old",   "quick"};
    const std::string file =
        std::string(QUORRIN_PROFILES "/") + profiles[which % std::size(profiles)] + ".toml";
    return simulator::load_card_file(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    const auto card = make_card(input.byte());
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
