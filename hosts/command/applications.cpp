#include "hosts/command/applications.hpp"

#include <algorithm>
#include <tuple>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "explain/elements_seen.hpp"
#include "hosts/command/card_reading.hpp"

namespace quorrin::command {
namespace {

// The names that a terminal without a configuration of its own asks for.
constexpr const char* known_aids[] = {
    "A000000333010101", "A000000333010102", "A000000333010103", "A000000333010106",
    "A000000333010108", "A0000000031010",   "A0000000032010",   "A0000000041010",
    "A0000000043060",   "A00000002501",     "A0000000651010",   "A0000001523010",
};

constexpr unsigned done = 0x9000;
constexpr unsigned application_blocked = 0x6283;

// A directory that is not there, or that its issuer has blocked, sends the terminal to its list
// (EMV book 1, 12.3.2).
bool leads_to_known_names(const host::Failure& error) {
    return error.status_word().value() == application_blocked ||
           error.code() == QUORRIN_FILE_NOT_FOUND;
}

void ask_for_known_names(host::Card& card, Applications& found) {
    for (const char* known : known_aids) {
        const ReadAnswer fci = select_by_name(card, host::from_hex(known));
        if (fci.status() != done && fci.status() != application_blocked) {
            continue;
        }
        // The whole name: what was asked for may be the first part of it.
        const auto name = find_value(fci.data(), 0x84);
        const std::string aid = name ? host::to_hex(*name) : known;
        if (std::ranges::find(found.aids, aid) == found.aids.end()) {
            found.aids.push_back(aid);
        }
    }
}

// Nothing where the card leaves the date open or writes none.
std::optional<host::Date> date_of(const std::optional<host::ByteString>& value) {
    if (!value || value->size() != 3 || decode::bcd_number(*value) == 0) {
        return {};
    }
    const auto number = static_cast<unsigned>(decode::bcd_number(*value));
    return host::Date{number / 10000, number / 100 % 100, number % 100};
}

// To be compared: years from 50 on are of the last century (EMV book 4, 6.7.3).
auto order_of(const host::Date& date) {
    constexpr unsigned first_of_last_century = 50;
    return std::tuple(date.year < first_of_last_century ? date.year + 100 : date.year, date.month,
                      date.day);
}

std::string decoded(host::Card& card, host::Tag tag, const decode::Options& decoding = {}) {
    const auto value = card.element(tag);
    return value ? decode::element(tag, *value, decoding).text : std::string();
}

struct Ability {
    std::uint8_t bit;  // of the application interchange profile's first byte (EMV book 3, annex C1)
    const char* name;
};

constexpr Ability authentication_abilities[] = {
    {0x40, "static data authentication (SDA)"},
    {0x20, "dynamic data authentication (DDA)"},
    {0x01, "combined data authentication (CDA)"},
};

// The elements that the application wants to hear at the start (PDOL).
std::vector<std::uint32_t> asked_for(host::Card& card) {
    return explain::tags_of_list(card.element(0x9F38).value_or(host::ByteString()));
}

// A card of quick PBOC makes its cryptogram in the answer to GET PROCESSING OPTIONS: it asks there not
// only for the terminal's qualifiers (9F66), as many a card does, but for what the cryptogram is made
// from, the random number among it (PBOC part 12). Or it was personalised for it: its own qualifiers,
// additional processing, offline balance.
bool is_quick_card(host::Card& card) {
    const auto list = asked_for(card);
    const auto asks = [&list](std::uint32_t tag) {
        return std::ranges::find(list, tag) != list.end();
    };
    constexpr host::Tag of_quick_cards[] = {0x9F6C, 0x9F68, 0x9F5D};
    return asks(0x9F66) && ((asks(0x9F02) && asks(0x9F37)) ||
                            std::ranges::any_of(of_quick_cards, [&](host::Tag tag) {
                                return card.element(tag) || read_data(card, tag).ok();
                            }));
}

std::vector<std::string> abilities_of(host::Card& card) {
    std::vector<std::string> abilities;
    if (card.element(0x9F79)) {
        abilities.push_back("electronic cash, " +
                            decoded(card, 0x9F79, {.currency = iso_number(card.element(0x9F42))}));
    }
    const auto list = asked_for(card);
    if (std::ranges::find(list, 0xDF69) != list.end()) {
        abilities.emplace_back("the national algorithms (SM)");
    }
    if (const auto profile = card.element(0x82); profile && !profile->empty()) {
        for (const Ability& row : authentication_abilities) {
            if ((profile->front() & row.bit) != 0) {
                abilities.emplace_back(row.name);
            }
        }
    }
    return abilities;
}

}  // namespace

std::optional<std::uint16_t> iso_number(const std::optional<host::ByteString>& value) {
    if (!value || value->size() != 2) {
        return {};
    }
    return static_cast<std::uint16_t>(decode::bcd_number(*value));
}

Applications find_applications(host::Card& card) {
    Applications found;
    try {
        found.aids = card.applications();
    } catch (const host::Failure& error) {
        if (!leads_to_known_names(error)) {
            throw;
        }
        found.has_directory = false;
    }
    if (found.aids.empty()) {
        ask_for_known_names(card, found);
    }
    return found;
}

std::string first_of(const std::vector<std::string>& aids) {
    if (aids.empty()) {
        throw Failed(
            "the card has no directory and none of the applications that are known here; "
            "--aid names one");
    }
    return aids.front();
}

std::string chosen_application(host::Card& card, const std::string& asked) {
    return asked.empty() ? first_of(find_applications(card).aids) : asked;
}

std::string application_name(const std::string& aid) {
    const std::string name(decode::application_name(host::from_hex(aid)));
    return name.empty() ? aid : name;
}

std::vector<std::string> contactless_abilities(host::Card& card) {
    std::vector<std::string> abilities;
    const bool is_quick = is_quick_card(card);
    constexpr std::string_view directory = "2PAY.SYS.DDF01";
    if (select_by_name(card, {directory.begin(), directory.end()}).ok()) {
        abilities.emplace_back("contactless directory (PPSE)");
    }
    if (is_quick) {
        abilities.emplace_back("contactless payment at a touch (quick PBOC)");
    }
    return abilities;
}

CardFacts card_facts(host::Card& card, const std::string& aid) {
    CardFacts facts;
    facts.aid = aid;
    facts.name = application_name(aid);
    facts.label = unquoted(decoded(card, 0x50));
    if (const auto country = iso_number(card.element(0x5F28))) {
        facts.country = decode::country_name(*country);
    }
    facts.since = date_of(card.element(0x5F25));
    facts.until = date_of(card.element(0x5F24));
    facts.since_text = decoded(card, 0x5F25);
    facts.until_text = decoded(card, 0x5F24);
    facts.abilities = abilities_of(card);
    return facts;
}

bool has_expired(const CardFacts& facts, const host::Date& day) {
    return facts.until && order_of(*facts.until) < order_of(day);
}

bool is_not_yet_valid(const CardFacts& facts, const host::Date& day) {
    return facts.since && order_of(day) < order_of(*facts.since);
}

std::string validity_text(const CardFacts& facts, const host::Date& day) {
    if (has_expired(facts, day)) {
        return "EXPIRED, it was good to " + facts.until_text;
    }
    if (is_not_yet_valid(facts, day)) {
        return "NOT YET, it is good from " + facts.since_text;
    }
    return facts.until ? "to " + facts.until_text : std::string();
}

host::Date parse_date(const std::string& text, const char* option) {
    const bool digits =
        text.size() == 6 && text.find_first_not_of("0123456789") == std::string::npos;
    const auto date = digits ? date_of(host::from_hex(text)) : std::nullopt;
    if (!date || date->month < 1 || date->month > 12 || date->day < 1 || date->day > 31) {
        throw WrongUsage(std::string(option) + ": a date is YYMMDD");
    }
    return *date;
}

}  // namespace quorrin::command
