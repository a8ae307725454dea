// What can go wrong with one exchange.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "tests/support/scripted_reader.hpp"

namespace quorrin::test {

// Faults with the same column in the printed table are told apart by their name.
struct Fault {
    std::string column;
    std::string name;
    // What the library gets in place of the card's answer.
    Answer (*disturb)(const Fault& fault, const ByteString& card_answer);
    std::int64_t number = 0;  // reader's result or status word
};

std::span<const Fault> all_faults();

}  // namespace quorrin::test
