// What a bank goes by: the card products whose keys it holds, and rules that say how it answers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bank/online_answer.hpp"

namespace quorrin::bank {

struct Product {
    std::string name;
    std::vector<std::string> cards;  // first digits of the card numbers; none: every card
    CardProduct made;
};

// Every condition that is set has to hold.
struct Rule {
    std::string name;
    std::optional<std::string> card;                      // first digits of the card number
    std::optional<std::uint64_t> amount_over;             // 9F02, in the currency's smallest unit
    std::optional<std::uint64_t> amount;                  // exactly this one
    std::optional<std::array<std::uint8_t, 2>> currency;  // 5F2A
    std::optional<std::array<std::uint8_t, 2>> country;   // 9F1A
    std::optional<std::uint8_t> type;                     // 9C

    Decision decision;
    std::optional<cryptography::ArpcMethod> arpc_method;

    [[nodiscard]] bool applies_to(const OnlineRequest& request) const;
};

struct Rules {
    std::vector<Product> products;
    std::vector<Rule> rules;                              // the first that applies decides
    std::optional<AuthorisationCode> authorisation_code;  // of approvals that name none

    // The product that names most of the card number's digits; null when none takes the card.
    [[nodiscard]] const Product* product_of(std::string_view pan) const;

    // Null when no rule applies: the bank approves.
    [[nodiscard]] const Rule* rule_for(const OnlineRequest& request) const;
};

}  // namespace quorrin::bank
