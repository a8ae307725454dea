// The rules of the bank card operations, small and apart from the library: given what the card and
// the reader answered, which command has to come next and what the result is.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "tests/support/scripted_reader.hpp"

namespace quorrin::test {

struct Exchange {
    ByteString command;
    Answer answer;
};

enum class Operation : std::uint8_t {
    CardHolderInformation,
    Cryptogram,
    IssuerAnswer,
    TransactionLog,
    PanAndName,
};

struct Verdict {
    std::int64_t result = 0;
    // What is wrong with the commands that were sent; empty when nothing is.
    std::string complaint;
};

// Follows an operation through its exchanges. The AID is what the host named, or empty.
Verdict follow(Operation operation, const ByteString& aid, const std::deque<Exchange>& exchanges);

// The result that a card's refusal or a reader's failure becomes (see the message listing).
std::int64_t listed_code(std::int64_t reader_result);
std::int64_t listed_code_of_status(std::uint8_t sw1, std::uint8_t sw2);

}  // namespace quorrin::test
