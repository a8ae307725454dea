// Keyed value text between host and library, and the library's text of a log record.
#include <algorithm>
#include <string>
#include <vector>

#include "decode/lookup.hpp"
#include "decode/secrets.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

struct KeyRow {
    char letter;
    std::uint32_t tag;
    bool is_hex;
};

constexpr std::uint32_t key_tag(std::uint32_t first, std::uint32_t second, int size) {
    return size == 1 ? first : first << 8 | second;
}

constexpr KeyRow key_rows[] = {
#define TERMINAL_KEY(letter, first, second, size, is_hex, from_get_data) \
    {letter, key_tag(first, second, size), (is_hex) == 1},
#define HOLDER_KEY TERMINAL_KEY
#include "bankcard/key_rows.def"
#undef HOLDER_KEY
#undef TERMINAL_KEY
};

// The text of a log record has the same letters with meanings of its own and a fixed order. What its
// counts count differs from item to item.
struct LogItem {
    char letter;
    std::uint32_t tag;
    std::size_t digits_of_a_count;  // hex digits for each that is counted
};

constexpr LogItem log_items[] = {
    {'P', 0x9F02, 1}, {'Q', 0x9F03, 1}, {'R', 0x5F2A, 1}, {'S', 0x9A, 1},   {'T', 0x9C, 2},
    {'U', 0x9F21, 2}, {'V', 0x9F1A, 1}, {'W', 0x9F4E, 2}, {'X', 0x9F36, 2},
};

constexpr std::size_t item_header = 4;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_hex_text(std::string_view text) {
    return std::ranges::all_of(text, [](char c) {
        return is_digit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    });
}

std::uint8_t nibble(char c) {
    return static_cast<std::uint8_t>(is_digit(c) ? c - '0' : (c | 0x20) - 'a' + 10);
}

// An odd number of digits gets a leading zero, as the library reads it.
std::vector<std::uint8_t> bytes_of(std::string_view digits) {
    std::string even(digits.size() % 2, '0');
    even += digits;
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < even.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(nibble(even[i]) << 4 | nibble(even[i + 1])));
    }
    return bytes;
}

Bytes characters_of(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// The value stands in the text as digits or characters: places inside it mean nothing there.
void place_at(std::size_t offset, std::size_t size, Node& node) {
    for (Problem& problem : node.problems) {
        problem.offset = offset;
    }
    for (Node& child : node.children) {
        child.offset = offset;
        child.size = 0;
        place_at(offset, 0, child);
    }
    node.offset = offset;
    node.size = size;
}

void tell_item(const Reading& reading, std::uint32_t tag, Bytes value, std::size_t offset,
               std::size_t size, Node& node) {
    Node told;
    told.kind = NodeKind::Object;
    tell_element(reading, tag, {value, 0}, told);
    place_at(offset, size, told);
    told.label += ", key " + node.label;
    told.tag = tag_text(tag);
    node = std::move(told);
}

// Letter and count at `position`; false, with a problem in the node, when they cannot be read.
struct Item {
    char letter;
    std::size_t count;
};

std::optional<Item> read_item(std::string_view rest, std::size_t position, Node& parent) {
    if (rest.size() < item_header || !is_digit(rest[1]) || !is_digit(rest[2]) ||
        !is_digit(rest[3])) {
        Node& node = parent.children.emplace_back();
        node.kind = NodeKind::Unreadable;
        node.label = "Not understood";
        node.offset = position;
        node.size = rest.size();
        add_problem(node, position, "an item begins with its key letter and three digits");
        return {};
    }
    const auto digit = [&](std::size_t i) { return static_cast<std::size_t>(rest[i] - '0'); };
    return Item{rest[0], 100 * digit(1) + 10 * digit(2) + digit(3)};
}

void survey_text(std::string_view text, Reading& reading) {
    // Account number and currencies, for the items around them.
    for (std::size_t i = 0; i + item_header <= text.size();) {
        Node ignored;
        const auto item = read_item(text.substr(i), i, ignored);
        if (!item) {
            return;
        }
        const std::string_view value = text.substr(i + item_header).substr(0, item->count);
        if (is_hex_text(value)) {
            const auto number = [&] {
                return static_cast<std::uint16_t>(bcd_number(bytes_of(value)));
            };
            if (item->letter == 'R' && value.size() == 4) {
                reading.transaction_currency = number();
            } else if (item->letter == 'H' && value.size() == 4) {
                reading.card_currency = number();
            } else if (item->letter == 'A' && value.size() >= 10) {
                std::string digits(value.substr(0, value.find_first_not_of("0123456789")));
                reading.account_numbers.push_back(std::move(digits));
            }
        }
        i += item_header + item->count;
    }
}

}  // namespace

Node keyed_text(std::string_view text, const Options& options) {
    Reading reading = survey({}, options);
    survey_text(text, reading);
    Node root;
    root.kind = NodeKind::Root;
    root.label = "Keyed value text";
    root.size = text.size();
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == ' ' || text[i] == '\n' || text[i] == '\r') {
            ++i;
            continue;
        }
        const auto item = read_item(text.substr(i), i, root);
        if (!item) {
            break;
        }
        const std::string_view value = text.substr(i + item_header).substr(0, item->count);
        Node& node = root.children.emplace_back();
        node.label = characters(characters_of(text.substr(i, 1)));
        node.offset = i;
        node.size = item_header + value.size();
        const auto* row = std::ranges::find(key_rows, item->letter, &KeyRow::letter);
        if (row == std::end(key_rows)) {
            node.label = "Unknown key " + node.label;
            add_unknown(node, i, "no key letter " + characters(characters_of(text.substr(i, 1))));
        } else if (!row->is_hex) {
            tell_item(reading, row->tag, characters_of(value), i, node.size, node);
        } else if (is_hex_text(value)) {
            tell_item(reading, row->tag, bytes_of(value), i, node.size, node);
        } else {
            node.tag = tag_text(row->tag);
            node.label = std::string(element_name(row->tag)) + ", key " + node.label;
            add_problem(node, i + item_header, "the value should be hex digits");
        }
        if (value.size() < item->count) {
            add_problem(root.children.back(), i + 1,
                        "the count says " + decimal(item->count) + " characters, but only " +
                            decimal(value.size()) + " follow");
        }
        i += item_header + value.size();
    }
    if (root.children.empty() && root.problems.empty()) {
        add_problem(root, 0, "there are no items");
    }
    return root;
}

Node log_text(std::string_view text, const Options& options) {
    Reading reading = survey({}, options);
    Node root;
    root.kind = NodeKind::Root;
    root.label = "Log record, as the library's text";
    root.size = text.size();
    // The currency stands after the amounts.
    if (const std::size_t at = text.find("R004");
        at != std::string_view::npos && at + 8 <= text.size()) {
        const std::string_view digits = text.substr(at + item_header, 4);
        if (is_hex_text(digits)) {
            reading.transaction_currency = static_cast<std::uint16_t>(bcd_number(bytes_of(digits)));
        }
    }
    for (std::size_t i = 0; i < text.size();) {
        const auto item = read_item(text.substr(i), i, root);
        if (!item) {
            break;
        }
        Node& node = root.children.emplace_back();
        node.label = characters(characters_of(text.substr(i, 1)));
        node.offset = i;
        const auto* row = std::ranges::find(log_items, item->letter, &LogItem::letter);
        if (row == std::end(log_items)) {
            add_unknown(node, i, "no key letter " + characters(characters_of(text.substr(i, 1))));
            break;
        }
        const std::string_view rest = text.substr(i + item_header);
        // The date is told with its century, which its count does not cover.
        const std::size_t century = row->tag == 0x9A && rest.starts_with("20") ? 2 : 0;
        const std::size_t digits = item->count * row->digits_of_a_count;
        const std::string_view value =
            rest.substr(std::min(century, rest.size())).substr(0, digits);
        const std::size_t size = item_header + century + value.size();
        if (is_hex_text(value)) {
            tell_item(reading, row->tag, bytes_of(value), i, size, node);
        } else {
            add_problem(node, i + item_header, "the value should be hex digits");
        }
        if (value.size() < digits) {
            add_problem(root.children.back(), i + 1,
                        "the count stands for " + decimal(digits) + " digits, but only " +
                            decimal(value.size()) + " follow");
        }
        i += size;
    }
    if (root.children.empty() && root.problems.empty()) {
        add_problem(root, 0, "there are no items");
    }
    return root;
}

}  // namespace quorrin::decode
