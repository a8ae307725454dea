// Refusals and failures that ended nothing: the host went on, as it is meant to.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "explain/visit.hpp"

namespace quorrin::explain {

// Whether a refusal or failure is where the host's way ended.
bool ended_something(const Visit& visit, const ToldCall& told);

// A slot was asked for a card and has none.
bool finds_no_card(const Call& call);

// Whether a refusal is told by a line of its step alone: searching for a slot with a card, or for an
// application that the card knows, meets them on the way.
bool is_search(const ToldCall& told);

// What a search met on its way, a line each: "10 application names unknown to this card".
std::vector<std::string> passed_over(const Visit& visit, std::span<const ToldCall> step);

std::string slot_text(const Call& call);                     // "contact"
std::string listed(const std::vector<std::string>& things);  // "contact, contactless and sam1"

}  // namespace quorrin::explain
