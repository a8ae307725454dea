// A small card for the tests of single commands.
#pragma once

#include <string>

#include "tests/reader_libraries/simulator/card/terminal.hpp"

namespace quorrin::test {

// Two applications with a log, electronic cash and a PIN; the names begin alike.
const std::string& test_profile();

// The text with one place changed. The place has to be there.
std::string changed(std::string text, const std::string& from, const std::string& to);

// The complete card of docs/card-profiles.md: the first block of TOML there.
std::string documented_example();

std::unique_ptr<simulator::CardDevice> card_of(const std::string& profile);

inline const ByteString first_aid = hex("A000000333010101");
inline const ByteString second_aid = hex("A000000333010102");

// At the test profile, or a change of it.
class CardTest : public testing::Test {
  protected:
    Terminal terminal{card_of(test_profile())};

    // A right answer to the terminal's last ARQC.
    bank::OnlineAnswer answer(const bank::Decision& decision = {}) {
        return bank::answer_online(test_bank(), terminal.online_request(), decision);
    }
    bank::OnlineAnswer answer_with(std::initializer_list<bank::ScriptCommand> commands) {
        bank::Decision decision;
        decision.scripts.push_back({bank::ScriptPhase::AfterFinalCryptogram, {}, commands});
        return answer(decision);
    }
};

}  // namespace quorrin::test
