// Every shipped card under the eyes of a strict terminal: what EMV book 1 section 11 and 12, book 3
// sections 5 to 10 and annex A ask of a card's data. docs/card-profiles.md says which cards are valid.
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

struct ElementRule {
    std::string_view tag;
    std::size_t least;
    std::size_t most;
};

// Elements that records may hold: EMV book 3 annex A, PBOC's from 9F61 on.
constexpr ElementRule of_records[] = {
    {"57", 9, 19},     {"5A", 7, 10},   {"5F20", 2, 26},   {"5F24", 3, 3},   {"5F25", 3, 3},
    {"5F28", 2, 2},    {"5F30", 2, 2},  {"5F34", 1, 1},    {"8C", 2, 252},   {"8D", 2, 252},
    {"8E", 10, 252},   {"8F", 1, 1},    {"90", 64, 248},   {"92", 1, 248},   {"93", 64, 248},
    {"97", 2, 252},    {"9F05", 1, 32}, {"9F07", 2, 2},    {"9F08", 2, 2},   {"9F0B", 27, 45},
    {"9F0D", 5, 5},    {"9F0E", 5, 5},  {"9F0F", 5, 5},    {"9F14", 1, 1},   {"9F1F", 1, 80},
    {"9F20", 1, 19},   {"9F23", 1, 1},  {"9F2D", 64, 248}, {"9F2E", 1, 3},   {"9F2F", 1, 248},
    {"9F32", 1, 3},    {"9F3B", 2, 8},  {"9F42", 2, 2},    {"9F43", 1, 4},   {"9F44", 1, 1},
    {"9F46", 64, 248}, {"9F47", 1, 3},  {"9F48", 1, 248},  {"9F49", 2, 252}, {"9F4A", 1, 1},
    {"9F61", 1, 40},   {"9F62", 1, 1},  {"9F63", 16, 16},  {"9F74", 6, 6},
};
// A5 and BF0C of an application's FCI: EMV book 1 section 11.3.4, PBOC's logs; DF20 is an issuer's own.
constexpr ElementRule of_fci[] = {{"50", 1, 16},  {"87", 1, 1},    {"9F38", 2, 252}, {"5F2D", 2, 8},
                                  {"9F11", 1, 1}, {"9F12", 1, 16}, {"BF0C", 1, 222}};
constexpr ElementRule of_issuer_data[] = {
    {"9F4D", 2, 2},  {"DF4D", 2, 2},  {"9F0A", 4, 222}, {"5F50", 1, 222}, {"42", 3, 3},
    {"5F53", 1, 34}, {"5F54", 8, 11}, {"5F55", 2, 2},   {"5F56", 3, 3},   {"DF20", 1, 222}};
constexpr ElementRule of_get_data[] = {
    {"9F36", 2, 2}, {"9F13", 2, 2}, {"9F17", 1, 1}, {"9F4F", 2, 252},
    {"9F51", 2, 2}, {"9F52", 2, 4}, {"9F53", 1, 1}, {"9F54", 6, 6},
    {"9F57", 2, 2}, {"9F58", 1, 1}, {"9F59", 1, 1}, {"9F5C", 6, 6},
    {"9F6D", 6, 6}, {"9F77", 6, 6}, {"9F78", 6, 6}, {"9F79", 6, 6}};
// What a terminal has for a card's lists; DF69 tells that it knows the national algorithms.
constexpr ElementRule of_lists[] = {{"8A", 2, 2},   {"95", 5, 5},   {"9A", 3, 3},    {"9C", 1, 1},
                                    {"5F2A", 2, 2}, {"9F02", 6, 6}, {"9F03", 6, 6},  {"9F1A", 2, 2},
                                    {"9F21", 3, 3}, {"9F37", 4, 4}, {"9F4E", 1, 20}, {"9F66", 4, 4},
                                    {"9F7A", 1, 1}, {"DF69", 1, 1}};

ByteString encoded(const std::vector<FoundObject>& objects) {
    ByteString bytes;
    for (const FoundObject& object : objects) {
        const auto size = static_cast<std::uint8_t>(object.value.size());
        const ByteString length = size < 0x80 ? ByteString{size} : ByteString{0x81, size};
        bytes = join(bytes, hex(object.tag), length, object.value);
    }
    return bytes;
}

std::string digits_of(const ByteString& compressed) {
    std::string digits = to_hex(compressed);
    digits.erase(digits.find_last_not_of('F') + 1);
    return digits;
}

// ISO/IEC 7812-1 annex B.
bool has_check_digit(const std::string& number) {
    int sum = 0;
    bool doubled = false;
    for (auto digit = number.rbegin(); digit != number.rend(); ++digit, doubled = !doubled) {
        const int value = (*digit - '0') * (doubled ? 2 : 1);
        sum += value / 10 + value % 10;
    }
    return sum % 10 == 0;
}

// Reads one application of a card and keeps what is wrong with it.
class StrictTerminal {
  public:
    StrictTerminal(Terminal& terminal, const ByteString& aid) : terminal_(terminal) {
        const auto selected = terminal_.select(aid);
        fci(selected.data);
        options();
        read_records();
        mandatory_elements();
        number_and_dates();
        authentication();
        holder_verification();
        get_data();
        electronic_cash();
    }

    std::vector<std::string> complaints;

  private:
    void complain_unless(bool right, const std::string& complaint) {
        if (!right) {
            complaints.push_back(complaint);
        }
    }

    // Objects without padding, in lengths as short as may be.
    std::vector<FoundObject> objects(const std::string& where, const ByteString& bytes) {
        const auto found = objects_in(bytes);
        complain_unless(encoded(found) == bytes, where + ": padding, or a long length field");
        return found;
    }

    void check(const std::string& where, std::span<const ElementRule> rules, const std::string& tag,
               std::size_t size) {
        const auto rule = std::ranges::find(rules, tag, &ElementRule::tag);
        if (rule == rules.end()) {
            complaints.push_back(where + ": " + tag + " does not belong there");
        } else if (size < rule->least || size > rule->most) {
            complaints.push_back(where + ": " + tag + " has " + std::to_string(size) + " bytes");
        }
    }
    void check_all(const std::string& where, std::span<const ElementRule> rules,
                   const std::vector<FoundObject>& found) {
        for (const FoundObject& object : found) {
            check(where, rules, object.tag, object.value.size());
            complain_unless(seen_.insert(object.tag).second, object.tag + " stands twice");
        }
    }
    void check_list(const std::string& tag, const ByteString& list) {
        for (std::size_t at = 0; at < list.size();) {
            const std::size_t size = (list.at(at) & 0x1F) == 0x1F ? 2 : 1;
            const auto entry = list.begin() + static_cast<std::ptrdiff_t>(at);
            check(tag, of_lists,
                  to_hex(ByteString(entry, entry + static_cast<std::ptrdiff_t>(size))),
                  list.at(at + size));
            at += size + 1;
        }
    }

    [[nodiscard]] const ByteString* record_element(const std::string& tag) const {
        const auto found = elements_.find(tag);
        return found == elements_.end() ? nullptr : &found->second;
    }
    void need(const std::vector<const char*>& tags, const std::string& reason) {
        for (const char* tag : tags) {
            complain_unless(record_element(tag) != nullptr,
                            std::string(tag) + " is missing" + reason);
        }
    }
    [[nodiscard]] bool asked_for(const std::string& tag) const {
        const ByteString wanted = hex(tag);
        for (const ByteString* list : {&pdol_, record_element("8C")}) {
            if (list != nullptr && std::search(list->begin(), list->end(), wanted.begin(),
                                               wanted.end()) != list->end()) {
                return true;
            }
        }
        return false;
    }

    void fci(const ByteString& answer) {
        const ByteString inside = expect_element(answer, "6F");
        complain_unless(encoded(objects("FCI", answer)) == encoded({{"6F", inside}}), "FCI: no 6F");
        const auto parts = objects("6F", inside);
        ASSERT_EQ(parts.size(), 2U);
        complain_unless(parts[0].tag == "84" && parts[1].tag == "A5", "6F: not 84 and A5");
        check_all("A5", of_fci, objects("A5", parts[1].value));
        pdol_ = element(answer, "9F38").value_or(ByteString{});
        check_list("9F38", pdol_);
        if (const auto issuer_data = element(answer, "BF0C")) {
            check_all("BF0C", of_issuer_data, objects("BF0C", *issuer_data));
        }
        // Identifier (2), length, value, and again: EMV book 1 section 12.5.
        const ByteString registered = element(answer, "9F0A").value_or(ByteString{});
        std::size_t at = 0;
        while (at + 3 <= registered.size()) {
            at += 3U + registered[at + 2];
        }
        complain_unless(at == registered.size(), "9F0A: its entries do not fill it");
    }

    void options() {
        const auto reply = terminal_.get_options();
        ASSERT_EQ(reply.status, 0x9000U);
        if (const auto format1 = element(reply.data, "80")) {
            profile_.assign(format1->begin(), format1->begin() + 2);
            locator_.assign(format1->begin() + 2, format1->end());
        } else {
            profile_ = expect_element(reply.data, "82");
            locator_ = expect_element(reply.data, "94");
        }
    }
    [[nodiscard]] bool claims(std::uint8_t bits) const { return (profile_.at(0) & bits) != 0; }

    void read_records() {
        for (std::size_t at = 0; at + 4 <= locator_.size(); at += 4) {
            const unsigned file = locator_[at] >> 3;
            for (unsigned number = locator_[at + 1]; number <= locator_[at + 2]; ++number) {
                const std::string where = std::to_string(file) + "." + std::to_string(number);
                const auto reply = terminal_.send(
                    join(hex("00B2"), ByteString{static_cast<std::uint8_t>(number),
                                                 static_cast<std::uint8_t>(file << 3 | 4), 0x00}));
                if (reply.status != 0x9000) {
                    complaints.push_back(where + " is in the AFL and not there");
                    continue;
                }
                complain_unless(file <= 10, where + " is in a file that EMV does not govern");
                const ByteString inside = expect_element(reply.data, "70");
                const auto found = objects(where, inside);
                check_all(where, of_records, found);
                for (const FoundObject& object : found) {
                    elements_[object.tag] = object.value;
                    if (number < locator_[at + 1] + unsigned{locator_[at + 3]}) {
                        signed_.insert(object.tag);
                    }
                }
            }
        }
    }

    void mandatory_elements() {
        need({"5A", "5F24", "8C", "8D"}, " and mandatory");
        need({"57", "5F20", "5F25", "5F28", "5F34", "9F07", "9F08", "9F0D", "9F0E", "9F0F", "9F42"},
             "");
        for (const char* tag : {"8C", "8D"}) {
            if (const auto* list = record_element(tag)) {
                check_list(tag, *list);
            }
        }
    }

    void number_and_dates() {
        const std::string number = digits_of(terminal_element("5A"));
        const std::string track = digits_of(terminal_element("57"));
        complain_unless(has_check_digit(number), "5A: a wrong check digit");
        const auto separator = track.find('D');
        complain_unless(track.substr(0, separator) == number, "57: another number than 5A");
        const std::string expiry = to_hex(terminal_element("5F24"));
        if (separator != std::string::npos) {
            complain_unless(track.substr(separator + 1, 4) == expiry.substr(0, 4),
                            "57: another date than 5F24");
            if (const auto* service_code = record_element("5F30")) {
                complain_unless("0" + track.substr(separator + 5, 3) == to_hex(*service_code),
                                "57: another service code than 5F30");
            }
        }
        complain_unless(to_hex(terminal_element("5F25")) < expiry, "5F25: after 5F24");
        if (const auto quick = element(terminal_.options, "57")) {
            complain_unless(*quick == terminal_element("57"),
                            "57: another one in the quick answer");
        }
    }
    [[nodiscard]] ByteString terminal_element(const std::string& tag) const {
        const auto* found = record_element(tag);
        return found != nullptr ? *found : ByteString{};
    }

    void authentication() {
        constexpr std::uint8_t statically = 0x40;
        constexpr std::uint8_t dynamically = 0x20;
        constexpr std::uint8_t combined = 0x01;
        const std::string reason = ", which the AIP's claim needs";
        const bool any = claims(statically | dynamically | combined);
        if (any) {
            need({"8F", "90", "9F32"}, reason);
            for (const char* tag : {"5A", "5F24", "5F28", "5F34", "8E", "9F07", "9F0D", "9F0F"}) {
                complain_unless(signed_.contains(tag), std::string(tag) + " is not signed");
            }
        }
        if (claims(statically)) {
            need({"93"}, reason);
        }
        if (claims(dynamically | combined)) {
            need({"9F46", "9F47"}, reason);
        }
        // Offline limits are of use where action codes let a terminal ask for a TC.
        constexpr std::uint8_t not_performed = 0x80;
        constexpr std::uint8_t combined_failed = 0x04;
        for (const char* tag : {"9F0D", "9F0F"}) {
            const ByteString code = terminal_element(tag);
            const std::uint8_t bits = code.empty() ? 0 : code[0];
            complain_unless(((bits & not_performed) != 0) == any,
                            std::string(tag) + ": \"not performed\" does not go with the AIP");
            complain_unless(((bits & combined_failed) != 0) == claims(combined),
                            std::string(tag) + ": \"CDA failed\" does not go with the AIP");
        }
    }

    void holder_verification() {
        constexpr std::uint8_t supported = 0x10;
        if (!claims(supported)) {
            return;
        }
        need({"8E"}, ", which the AIP's claim needs");
        const ByteString list = terminal_element("8E");
        complain_unless(list.size() % 2 == 0, "8E: half a rule");
        const bool has_pin = terminal_.get_data("9F17").status == 0x9000;
        bool names_pin = false;
        for (std::size_t at = 8; at + 2 <= list.size(); at += 2) {
            const unsigned method = list[at] & 0x3F;
            const bool enciphered = method == 4 || method == 5;
            names_pin |= enciphered || method == 1 || method == 3;
            complain_unless(!enciphered || record_element("9F46") != nullptr ||
                                record_element("9F2D") != nullptr,
                            "8E: an enciphered PIN without a key");
        }
        complain_unless(names_pin == has_pin, "8E: its PIN is not the card's");
    }

    void get_data() {
        for (const ElementRule& rule : of_get_data) {
            const auto reply = terminal_.get_data(std::string(rule.tag));
            if (reply.status == 0x9000) {
                const auto found = objects("GET DATA", reply.data);
                ASSERT_EQ(found.size(), 1U);
                complain_unless(found[0].tag == rule.tag, "GET DATA: another tag");
                check("GET DATA", of_get_data, found[0].tag, found[0].value.size());
                given_.insert(std::string(rule.tag));
            }
        }
    }

    // Payable by somebody: in contact when the terminal says so, or in the quick answer.
    void electronic_cash() {
        if (given_.contains("9F79")) {
            const bool quick = asked_for("9F66") && element(terminal_.options, "9F26").has_value();
            const bool in_contact = asked_for("9F7A") && record_element("9F74") != nullptr;
            complain_unless(quick || in_contact, "9F79: no terminal can pay with it");
        }
        if (terminal_.select(text_bytes("2PAY.SYS.DDF01")).status == 0x9000) {
            complain_unless(asked_for("9F66"), "9F38: no 9F66 for terminals without contact");
        }
    }

    Terminal& terminal_;
    ByteString pdol_;
    ByteString profile_;
    ByteString locator_;
    std::map<std::string, ByteString> elements_;  // of the records
    std::set<std::string> seen_;                  // in the FCI and records
    std::set<std::string> signed_;
    std::set<std::string> given_;  // by GET DATA
};

// The names of all applications, found as terminals find them: by the part that they share.
std::vector<ByteString> applications_of(Terminal& terminal) {
    std::vector<ByteString> found;
    for (std::uint8_t next = 0;; next = 2) {
        const auto reply = terminal.select(hex("A000000333"), next);
        if (reply.data.empty()) {
            return found;
        }
        found.push_back(expect_element(reply.data, "84"));
    }
}

std::vector<std::string> complaints_about(std::unique_ptr<simulator::CardDevice> card) {
    Terminal terminal(std::move(card));
    terminal.values["9F66"] = hex("36000080");  // quick PBOC too
    std::vector<std::string> all;
    for (const ByteString& aid : applications_of(terminal)) {
        const StrictTerminal strict(terminal, aid);
        all.insert(all.end(), strict.complaints.begin(), strict.complaints.end());
    }
    return all;
}

struct ListedCard {
    std::string file;
    bool valid = false;
};

// The table of the page on profiles.
std::vector<ListedCard> listed_cards() {
    std::ifstream page(QUORRIN_PROFILE_PAGE);
    std::vector<ListedCard> cards;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        inside = inside ? !line.starts_with("## ") : line == "## The shipped cards";
        if (inside && line.starts_with("| `")) {
            const auto last = line.rfind('|', line.size() - 2);
            cards.push_back(
                {line.substr(3, line.find('`', 3) - 3), line.substr(last).starts_with("| yes")});
        }
    }
    return cards;
}

TEST(StrictTerminal, FindsNothingWrongWithCardsThatClaimToBeValid) {
    const auto cards = listed_cards();
    EXPECT_EQ(std::ranges::count(cards, true, &ListedCard::valid), 12);
    for (const ListedCard& card : cards) {
        if (card.valid) {
            EXPECT_THAT(
                complaints_about(simulator::load_card_file(QUORRIN_PROFILES "/" + card.file)),
                testing::IsEmpty())
                << card.file;
        }
    }
}

TEST(StrictTerminal, FindsNothingWrongWithTheDocumentedExample) {
    EXPECT_THAT(complaints_about(card_of(documented_example())), testing::IsEmpty());
}

TEST(StrictTerminal, FindsWhatTheOldCardsHeadNames) {
    EXPECT_THAT(
        complaints_about(simulator::load_card_file(QUORRIN_PROFILES "/old.toml")),
        testing::ElementsAre(
            "A5: 5F50 does not belong there", "30.1 is in a file that EMV does not govern",
            "30.1: padding, or a long length field", "30.1: 9F1A does not belong there",
            "30.1: 5F2D does not belong there", "30.1: DF7F does not belong there",
            "30.1: C1 does not belong there", "1.1: padding, or a long length field",
            "5F24 stands twice", "1.2: padding, or a long length field", "5F20 stands twice",
            "1.2: E0 does not belong there", "5.1: padding, or a long length field",
            "5.1: 9F1F has 128 bytes", "5.3 is in the AFL and not there",
            "10.4: padding, or a long length field", "21.1 is in a file that EMV does not govern",
            "21.2 is in a file that EMV does not govern",
            "21.3 is in a file that EMV does not govern",
            "21.4 is in a file that EMV does not govern",
            "21.5 is in a file that EMV does not govern", "5F25 is missing", "9F07 is missing",
            "9F08 is missing", "9F0D is missing", "9F0E is missing", "9F0F is missing"));
}

}  // namespace
}  // namespace quorrin::test
