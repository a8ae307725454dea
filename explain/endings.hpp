// How a visit ended, and who had the last word of a transaction.
#pragma once

#include <optional>
#include <string>

#include "explain/story.hpp"
#include "explain/visit.hpp"

namespace quorrin::explain {

// What the bank, or the terminal in its place, answered: told by the authorisation response code (8A, or
// the end of 91) where the recording has it, else by the card status update in 91.
struct Authorisation {
    Decision::Party party = Decision::Party::Bank;
    Decision::Result result = Decision::Result::Declined;
    std::string code;  // "51"; empty where only a card status update says it
    std::string meaning;

    std::string words() const;  // "51, Not sufficient funds", "declined by its card status update"
};
std::optional<Authorisation> authorisation_of(const Visit& visit);

// Whether a step of this kind is where the bank's or terminal's refusal came to the card.
bool declines_at(const Visit& visit, StepKind kind);

struct Ending {
    std::string text;
    bool complete = true;
    bool failed = false;
    std::optional<Decision> decision = {};
};
Ending ending_of(const Visit& visit);

}  // namespace quorrin::explain
