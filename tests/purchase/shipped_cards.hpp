// The shipped card profiles as a host and a bank know them: what is printed on the card and what the
// bank has on file. One row per application that is used here.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "bank/online_answer.hpp"

namespace quorrin::test {

struct ShippedCard {
    // Every member has an initialiser, so that rows name only those that they need.
    std::string name{};     // of the test, and mostly of the profile
    std::string profile{};  // file name without extension
    std::string slot = "contact";
    int card_kind = 11;
    std::string aid{};  // how the host names it; empty takes the first of the directory
    bank::CardProduct (*product)() = nullptr;
    std::string pan{};
    std::string holder{};
    std::uint16_t atc = 0;  // last one used
    std::uint16_t last_online_atc = 0;
    std::string pin{};  // empty: none
    unsigned pin_tries = 0;
    std::vector<std::uint16_t> amounts{};  // what PUT DATA can change
    std::uint8_t holder_file = 1;          // where the record with the holder's name is
    std::uint8_t holder_record = 1;
    bool log_names_merchant = true;
    std::string qualifiers{};  // what the terminal offers; empty: the library's default
};

using CardFilter = std::function<bool(const ShippedCard&)>;

std::vector<ShippedCard> shipped_cards(const CardFilter& wanted = [](const ShippedCard&) {
    return true;
});
const ShippedCard& shipped_card(const std::string& name);

inline bool has_pin(const ShippedCard& card) {
    return !card.pin.empty();
}
inline bool has_amounts(const ShippedCard& card) {
    return !card.amounts.empty();
}

inline std::ostream& operator<<(std::ostream& out, const ShippedCard& card) {
    return out << card.name;
}

}  // namespace quorrin::test
