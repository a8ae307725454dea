// What the tellers share: a value with its place in the input, what is known of the whole input, and
// the few ways in which nodes are added. A teller turns the value of one kind of data into text,
// fields and flags of a node.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "decode/decode.hpp"
#include "decode/elements.hpp"

namespace quorrin::decode {

// Bytes and where the first of them stands in the input.
struct Value {
    Bytes bytes;
    std::size_t offset = 0;

    bool empty() const { return bytes.empty(); }
    std::size_t size() const { return bytes.size(); }
    std::uint8_t operator[](std::size_t index) const { return bytes[index]; }
    // Parts end where the value ends.
    Value part(std::size_t first, std::size_t count = std::size_t(-1)) const {
        first = first < size() ? first : size();
        count = count < size() - first ? count : size() - first;
        return {bytes.subspan(first, count), offset + first};
    }
    std::size_t end() const { return offset + size(); }
};

// Deeper nesting than any card's, and far from what the stack can bear.
inline constexpr unsigned deepest_nesting = 32;

// What is known of the whole input while its parts are told.
struct Reading {
    Options options;
    Kernel kernel = Kernel::Unknown;
    std::optional<std::uint16_t> transaction_currency = {};
    std::optional<std::uint16_t> card_currency = {};
    std::vector<std::string> account_numbers = {};  // digits: masked wherever they turn up
    std::uint32_t parent = 0;                       // template that is being read
    unsigned depth = 0;
    bool lengths_may_differ = false;  // values of a DOL have the length that the card asked for

    Reading inside(std::uint32_t tag) const {
        Reading inner = *this;
        inner.parent = tag;
        ++inner.depth;
        return inner;
    }
    bool shows_secrets() const { return options.show_sensitive; }
};

// What can be known before anything is told: kernel, currencies, account numbers.
Reading survey(Bytes data, const Options& options);

using Teller = void (*)(const Reading&, Value, Node&);

// Nodes. `value` is shown in hex, with account numbers hidden.
Node& add(const Reading& reading, Node& parent, NodeKind kind, std::string label, Value value);
Node& add_field(const Reading& reading, Node& parent, std::string label, Value value,
                std::string text = {});
void add_problem(Node& node, std::size_t offset, std::string text,
                 Problem::Kind kind = Problem::Kind::Malformed);
inline void add_unknown(Node& node, std::size_t offset, std::string text) {
    add_problem(node, offset, std::move(text), Problem::Kind::Unknown);
}
Node& add_unreadable(const Reading& reading, Node& parent, Value value, std::string why);

// Bits. Rows with a mask of several bits stand for one of the values that these bits can have; rows of
// a single bit are told when it is set.
struct BitRow {
    std::uint8_t byte;  // from 1
    std::uint8_t mask;
    std::uint8_t value;
    std::string_view text;
};

constexpr BitRow bit(std::uint8_t byte, std::uint8_t number, std::string_view text) {
    const auto mask = static_cast<std::uint8_t>(1u << (number - 1u));
    return {byte, mask, mask, text};
}

// All rows that hold, as flags; bits without a row as reserved ones.
void add_flags(std::span<const BitRow> rows, Value value, Node& node);

// Codes of one byte, and what they mean.
struct CodeRow {
    std::uint8_t code;
    std::string_view text;
};

// Empty for a code without a row.
std::string_view code_meaning(std::span<const CodeRow> rows, std::uint8_t code);

// A length that the standards demand: false, and a problem, when the value has another.
bool expect_size(Value value, std::size_t size, Node& node);

// Opens a value as a string of data objects.
void tell_objects(const Reading& reading, Value value, Node& node);
// The value of an element whose node has tag and place already.
void tell_element(const Reading& reading, std::uint32_t tag, Value value, Node& node);
// The same where the length field says more than there is.
void tell_element(const Reading& reading, std::uint32_t tag, Value value, std::size_t length,
                  Node& node);
void tell_unknown(const Reading& reading, Value value, Node& node);

// A data object header as far as it can be read.
struct Header {
    std::uint32_t tag = 0;
    std::size_t tag_size = 0;
    std::size_t length_size = 0;
    std::size_t value_size = 0;
    bool constructed = false;
    std::string error = {};          // why it cannot be read
    std::size_t error_position = 0;  // relative to the header

    std::size_t size() const { return tag_size + length_size; }
};
Header read_header(Bytes data);
// Tag alone, as in lists of tags.
Header read_tag_only(Bytes data);

// Text
std::string hex(Bytes bytes);
std::string tag_text(std::uint32_t tag);
bool tag_is_constructed(std::uint32_t tag);
std::string byte_count(std::size_t count);  // "1 byte", "2 bytes"
std::uint64_t big_endian(Bytes bytes);
bool is_digits(Bytes bytes);            // BCD without filler
std::uint64_t bcd_number(Bytes bytes);  // 0 beyond 19 digits
bool is_printable(Bytes bytes);
// ISO 8859-1 as UTF-8, control characters as dots.
std::string characters(Bytes bytes);
// Text that is Chinese by its bytes (UTF-8, or GB 18030 as cards and terminals in China write it), or
// nothing.
struct ChineseText {
    std::string text;
    std::string_view encoding;
};
std::optional<ChineseText> chinese_text(Bytes bytes);
std::string quoted(Bytes bytes);
std::string decimal(std::uint64_t number);

}  // namespace quorrin::decode
