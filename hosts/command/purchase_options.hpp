// What quorrin purchase is told, and the terms of a purchase that come from it.
#pragma once

#include <string>

#include "hosts/command/bank_options.hpp"
#include "hosts/command/card_session.hpp"

namespace quorrin::command {

struct PurchaseOptions : CardOptions {
    std::string amount = "128.50";
    std::string currency = "156";
    std::string country = "156";
    std::string date;
    std::string time;
    std::string qualifiers = "D4000000";
    std::string type = "00";
    std::string merchant = "TEST TEA HOUSE";
    std::string unpredictable_number;
    bool cryptogram_only = false;
    std::string answer;
    BankOptions bank;
};

void add_purchase_options(CLI::App& command, PurchaseOptions& options);

// Throws WrongUsage.
host::PurchaseTerms terms_of(const PurchaseOptions& options);

}  // namespace quorrin::command
