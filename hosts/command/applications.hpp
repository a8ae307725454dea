// Which applications a card has, and what kind of card one of them makes it, for a person.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hosts/command/card_session.hpp"

namespace quorrin::command {

struct Applications {
    std::vector<std::string> aids;
    bool has_directory = true;
};

// Those of the card's directory. A card without one is asked for the names that terminals know, one by
// one (EMV book 1, 12.3.3).
Applications find_applications(host::Card& card);

// Throws Failed where there is none.
std::string first_of(const std::vector<std::string>& aids);

// The application that was asked for, else the first that the card has. Throws Failed.
std::string chosen_application(host::Card& card, const std::string& asked);

// "UnionPay debit", or the identifier where nobody is known to have registered it.
std::string application_name(const std::string& aid);

// What can be said of an application when its records have been read.
struct CardFacts {
    std::string aid;
    std::string name;                 // by the identifier: "UnionPay debit"
    std::string label;                // as the card calls it: PBOC DEBIT
    std::string country;              // of the issuer; empty where the card does not say
    std::optional<host::Date> since;  // effective date
    std::optional<host::Date> until;  // expiration date
    std::string since_text;
    std::string until_text;
    std::vector<std::string> abilities;
};
CardFacts card_facts(host::Card& card, const std::string& aid);

// What the card shows of contactless use, while the application is selected: the directory that such
// terminals look for, quick PBOC. The card is asked for the directory, which ends the selection.
std::vector<std::string> contactless_abilities(host::Card& card);

// Whether an application is good on a day, by its dates: "to 2030-12-31", "EXPIRED, ...".
bool has_expired(const CardFacts& facts, const host::Date& day);
bool is_not_yet_valid(const CardFacts& facts, const host::Date& day);
std::string validity_text(const CardFacts& facts, const host::Date& day);

// A country's or currency's number, as cards hold it: 0156 is 156.
std::optional<std::uint16_t> iso_number(const std::optional<host::ByteString>& value);

// A date as YYMMDD. Throws WrongUsage, with the option's name.
host::Date parse_date(const std::string& text, const char* option);

}  // namespace quorrin::command
