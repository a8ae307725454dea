// What the test bank is told to do, the same for purchase and bank.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "quorrin/testbank.hpp"

namespace quorrin::command {

struct BankOptions {
    std::string rules;
    std::string response_code;
    std::string arpc = "right";
    std::vector<std::string> wishes;
};

// --response-code, --arpc, --wish, and the file of keys and rules under the name given.
void add_bank_options(CLI::App& command, BankOptions& options, const char* rules_option);

// Throws WrongUsage, before anything is asked of a card.
host::BankDecision decision_of(const BankOptions& options);

// "Not sufficient funds" for "51"; empty when the code is unknown.
std::string response_meaning(const std::string& code);

}  // namespace quorrin::command
