// Account numbers and track data (ISO/IEC 7813, EMV book 3, annex A).
#include <algorithm>
#include <string>

#include "decode/lookup.hpp"
#include "decode/secrets.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

constexpr std::size_t date_digits = 4;
constexpr std::size_t service_digits = 3;

// ISO/IEC 7813, the three digits of the service code.
constexpr std::string_view interchange[] = {
    "",         "international",          "international, use the chip",  "", "",
    "national", "national, use the chip", "no interchange but bilateral", "", "test"};
constexpr std::string_view authorisation[] = {"normal authorisation",
                                              "",
                                              "authorisation by issuer",
                                              "",
                                              "authorisation by issuer unless bilateral",
                                              "",
                                              "",
                                              "",
                                              "",
                                              ""};
constexpr std::string_view services[] = {"no restrictions, PIN required",
                                         "no restrictions",
                                         "goods and services only",
                                         "ATM only, PIN required",
                                         "cash only",
                                         "goods and services only, PIN required",
                                         "no restrictions, PIN where feasible",
                                         "goods and services only, PIN where feasible",
                                         "",
                                         ""};

std::string digits_of(Bytes value) {
    std::string digits = hex(value);
    while (!digits.empty() && digits.back() == 'F') {
        digits.pop_back();
    }
    return digits;
}

std::string service_text(std::string_view code) {
    std::string text;
    const std::string_view* tables[] = {interchange, authorisation, services};
    for (std::size_t i = 0; i < service_digits; ++i) {
        const std::string_view part = tables[i][static_cast<std::size_t>(code[i] - '0')];
        if (!part.empty()) {
            text += (text.empty() ? "" : ", ") + std::string(part);
        }
    }
    return text;
}

bool are_digits(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

void add_text_field(Node& node, std::string label, std::string text, std::string meaning = {}) {
    Node& field = node.children.emplace_back();
    field.label = std::move(label);
    field.text = std::move(text);
    field.note = std::move(meaning);
    field.offset = node.offset + node.header_size;
    field.text_says_all = true;
}

std::string stars(std::size_t count) {
    return std::string(count, '*');
}

void check_account_number(std::string_view digits, Value value, Node& node) {
    if (!are_digits(digits)) {
        add_problem(node, value.offset, "not all digits of the account number are decimal");
    }
}

}  // namespace

void tell_account_number(const Reading& reading, Value value, Node& node) {
    const std::string digits = digits_of(value.bytes);
    check_account_number(digits, value, node);
    node.text = reading.shows_secrets() ? digits : masked_account_number(digits);
    node.text_says_all = true;
}

void tell_track_2(const Reading& reading, Value value, Node& node) {
    const std::string digits = digits_of(value.bytes);
    const std::size_t separator = digits.find('D');
    if (separator == std::string::npos) {
        add_problem(node, value.offset, "no separator D after the account number");
        return;
    }
    const bool open = reading.shows_secrets();
    const std::string number = digits.substr(0, separator);
    check_account_number(number, value, node);
    add_text_field(node, "Account number", open ? number : masked_account_number(number));
    const std::string rest = digits.substr(separator + 1);
    if (!are_digits(rest)) {
        add_problem(node, value.offset + separator / 2,
                    "not all digits after the separator are decimal");
    }
    if (!open) {
        add_text_field(node, "Expiration date, service code, discretionary data",
                       stars(rest.size()));
        return;
    }
    if (!are_digits(rest) || rest.size() < date_digits + service_digits) {
        add_text_field(node, "After the separator", rest);
        return;
    }
    add_text_field(node, "Expiration date", "20" + rest.substr(0, 2) + "-" + rest.substr(2, 2));
    const std::string service = rest.substr(date_digits, service_digits);
    add_text_field(node, "Service code", service, service_text(service));
    add_text_field(node, "Discretionary data", rest.substr(date_digits + service_digits));
}

void tell_track_1(const Reading& reading, Value value, Node& node) {
    // B, account number ^ name ^ date, service code, discretionary data.
    const std::string text = characters(value.bytes);
    const std::size_t first = text.find('^');
    const std::size_t second = first == std::string::npos ? first : text.find('^', first + 1);
    const bool open = reading.shows_secrets();
    if (second == std::string::npos || text.empty() || text[0] != 'B') {
        node.text = "\"" + (open ? text : stars(text.size())) + "\"";
        node.text_says_all = true;
        if (second == std::string::npos) {
            add_problem(node, value.offset, "no separators ^ around the name");
        }
        return;
    }
    const std::string number = text.substr(1, first - 1);
    const std::string name = text.substr(first + 1, second - first - 1);
    const std::string rest = text.substr(second + 1);
    add_text_field(node, "Account number", open ? number : masked_account_number(number));
    add_text_field(node, "Name", open ? name : stars(name.size()));
    add_text_field(node, "Expiration date, service code, discretionary data",
                   open ? rest : stars(rest.size()));
}

void tell_purse_data(const Reading& reading, Value value, Node& node) {
    // PBOC, electronic purse: the card's public file, which the FCI repeats.
    constexpr std::size_t number_position = 10;
    constexpr std::size_t number_size = 10;
    constexpr std::size_t shortest = 28;
    const Value card_number = value.part(number_position, number_size);
    if (value.size() < shortest) {
        tell_unknown(reading, value, node);
        return;
    }
    add_field(reading, node, "Issuer identifier", value.part(0, 8));
    add_field(reading, node, "Application type", value.part(8, 1));
    add_field(reading, node, "Application version", value.part(9, 1));
    const std::string digits = hex(card_number.bytes);
    Node& number = add_field(reading, node, "Card number", card_number,
                             reading.shows_secrets() ? digits : masked_account_number(digits));
    number.value = number.text;
    number.text_says_all = true;
    number.sensitive = true;
    Node& start = add_field(reading, node, "Start date", value.part(20, 4));
    tell_long_date(reading, value.part(20, 4), start);
    Node& end = add_field(reading, node, "Expiration date", value.part(24, 4));
    tell_long_date(reading, value.part(24, 4), end);
    if (value.size() > shortest) {
        add_field(reading, node, "Issuer's own data", value.part(shortest));
    }
    node.value.clear();  // told by its parts
}

void tell_service_code(const Reading&, Value value, Node& node) {
    if (expect_size(value, 2, node) && is_digits(value.bytes)) {
        node.text = service_text(hex(value.bytes).substr(1));
    }
}

}  // namespace quorrin::decode
