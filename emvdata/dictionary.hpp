// The data element dictionary: which element stands in which row, and the constant-time way from a
// tag to its row. Made at compile time from terminal_elements.def and card_elements.def.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <type_traits>

#include "quorrin/quorrin.h"
#include "tlv/codec/ber_tlv.hpp"

namespace quorrin {

using Bytes = tlv::Bytes;

enum class Format : std::uint8_t { n = 1, cn = 2, an = 3, ans = 4, b = 5, a = 6 };

// The two tables, by the numbers that lookups report.
enum class Table : std::uint8_t { None = 0, Card = 1, Terminal = 2 };

inline constexpr std::size_t card_rows = std::extent_v<decltype(IccDt)>;
inline constexpr std::size_t terminal_rows = std::extent_v<decltype(TermDt)>;

namespace dictionary {

// Every element by its name in code, numbered as the rows stand: the card table's, then the
// terminal table's.
enum class Number : std::uint8_t {
    None,
#define ELEMENT(tag, name, ...) name,
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
#undef ELEMENT
};

}  // namespace dictionary

// A data element, that is a row of either table, or none.
class Element {
  public:
    constexpr Element() = default;
    static constexpr Element card(std::size_t index) { return Element(index + 1); }
    static constexpr Element terminal(std::size_t index) { return Element(card_rows + index + 1); }
    static constexpr Element numbered(std::uint8_t number) { return Element(number); }
    static constexpr Element numbered(dictionary::Number number) {
        return Element(static_cast<std::size_t>(number));
    }

    constexpr std::uint8_t number() const { return number_; }
    constexpr bool is_none() const { return number_ == 0; }
    constexpr bool is_card() const { return number_ - 1u < card_rows; }
    constexpr bool is_terminal() const { return number_ > card_rows; }
    constexpr Table table() const {
        return is_none() ? Table::None : is_card() ? Table::Card : Table::Terminal;
    }
    // The row's index in its own table; 0 for none.
    constexpr std::uint16_t index() const {
        if (is_none()) {
            return 0;
        }
        return static_cast<std::uint16_t>(is_card() ? number_ - 1u : number_ - 1u - card_rows);
    }
    constexpr bool operator==(const Element&) const = default;

  private:
    explicit constexpr Element(std::size_t number) : number_(static_cast<std::uint8_t>(number)) {}
    std::uint8_t number_ = 0;
};

// The template that an element arrived in, or none: every row admits that. One number, which costs a
// walk half as much as comparing tags byte by byte.
class Template {
  public:
    constexpr Template() = default;

    // Of the tags of two bytes rows name BF0C alone, and none of more.
    static constexpr Template of(Bytes tag) {
        switch (tag.size()) {
            case 0:
                return {};
            case 1:
                return Template(one_byte + tag[0]);
            case 2:
                return Template(tlv::is_tag(tag, 0xBF, 0x0C) ? fci_discretionary : unnamed);
            default:
                return Template(too_long);
        }
    }

    constexpr bool operator==(const Template&) const = default;
    constexpr bool is_none() const { return number_ == 0; }
    constexpr bool has_one_byte() const { return (number_ & 0xFF00) == one_byte; }
    constexpr bool is_too_long() const { return number_ == too_long; }

    // FCI and directory templates, which carry elements that belong elsewhere on many cards.
    constexpr bool drops_misplaced_elements() const {
        return number_ == one_byte + 0x6F || number_ == one_byte + 0x73 ||
               number_ == one_byte + 0xA5 || number_ == fci_discretionary;
    }

  private:
    static constexpr unsigned one_byte = 0x0100;
    static constexpr unsigned fci_discretionary = 0xBF0C;
    static constexpr unsigned unnamed = 0x0200;
    static constexpr unsigned too_long = 0x0300;

    explicit constexpr Template(unsigned number) : number_(static_cast<std::uint16_t>(number)) {}
    std::uint16_t number_ = 0;
};

namespace dictionary {

// The templates that a row admits, as written in the element rows and as kept in its record.
struct Templates {
    std::uint8_t bytes[4];
    std::uint8_t code;

    constexpr bool is_any() const { return code == 0; }
    constexpr Template first() const { return Template::of(Bytes(bytes).first(first_size())); }
    // Deliberate: a row with a single template has 00 as its second byte and so admits a template
    // byte 00 too.
    constexpr Template second() const {
        return Template::of(Bytes(bytes).subspan(first_size(), 1));
    }

  private:
    constexpr std::size_t first_size() const { return code == 3 ? 2 : 1; }
};

inline constexpr Templates any_template{{}, 0};

constexpr Templates only(std::uint8_t tag) {
    return {{tag}, 1};
}

constexpr Templates either(std::uint8_t first, std::uint8_t second) {
    return {{first, second}, 2};
}

constexpr Templates bf0c_or(std::uint8_t tag) {
    return {{0xBF, 0x0C, tag}, 3};
}

// The resets that clear a row, a bit each. The full reset clears every row.
using Resets = std::uint8_t;
inline constexpr Resets full_reset_only = 0;
inline constexpr Resets of_transaction = 1;  // emvInitAppData
inline constexpr Resets of_application = 2;  // emvInitTmAppData
inline constexpr Resets of_terminal = 4;     // emvInitTmEMVData
inline constexpr Resets of_cryptogram = 8;   // emvInitGACData: absent, value kept

// What is fixed about every row, in the order of the elements' numbers; the tags apart, as only the
// way from a tag to its element is made from them.
struct RowConstants {
    std::uint16_t storage_size;
    Template first_template;
    Template second_template;
    bool any_template;
    Resets resets;
};

constexpr RowConstants constants(std::uint16_t storage_size, const Templates& templates,
                                 Resets resets) {
    return {storage_size, templates.first(), templates.second(), templates.is_any(), resets};
}

#define ELEMENT(tag, name, storage, bytes, shortest, longest, format, templates, resets, ...) \
    constants(bytes, templates, resets),
inline constexpr RowConstants row_constants[] = {
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
};
#undef ELEMENT

#define ELEMENT(tag, ...) tag,
inline constexpr std::uint16_t tags[] = {
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
};
#undef ELEMENT

constexpr bool is_two_byte_tag(std::uint16_t tag) {
    return tag > 0xFF;
}

// Tag to element, without a search: 256 entries for one-byte tags, then 256 for each first byte
// that announces a second one (EMV book 3, annex B1: low five bits set, which leaves its three high
// bits to tell it apart). The first row of a tag wins, the card table before the terminal's.
class TagIndex {
  public:
    constexpr TagIndex() {
        for (std::size_t i = 0; i < std::size(tags); ++i) {
            const std::uint16_t tag = tags[i];
            const auto first = static_cast<std::uint8_t>(tag >> 8);
            const auto last = static_cast<std::uint8_t>(tag);
            std::uint8_t& entry = entries_[is_two_byte_tag(tag) ? place(first, last) : place(last)];
            if (entry == 0) {
                entry = static_cast<std::uint8_t>(i + 1);
            }
        }
    }

    constexpr std::uint8_t find(std::uint8_t tag) const { return entries_[place(tag)]; }
    constexpr std::uint8_t find(std::uint8_t first, std::uint8_t second) const {
        if (!tlv::announces_second_byte(first)) [[unlikely]] {
            return 0;
        }
        return entries_[place(first, second)];
    }

  private:
    static constexpr std::size_t place(std::uint8_t tag) { return tag; }
    static constexpr std::size_t place(std::uint8_t first, std::uint8_t second) {
        return 256u + ((first & 0xE0u) << 3) + second;
    }

    std::array<std::uint8_t, 256 + 8 * 256> entries_{};
};

inline constexpr TagIndex tag_index;

}  // namespace dictionary

constexpr Element find_element(Bytes tag) {
    if (tag.size() == 1) {
        return Element::numbered(dictionary::tag_index.find(tag[0]));
    }
    if (tag.size() == 2) {
        return Element::numbered(dictionary::tag_index.find(tag[0], tag[1]));
    }
    return {};
}

// The record of an element that is not none.
inline QuorrinDataElement& record(Element element) {
    return element.is_card() ? IccDt[element.number() - 1u]
                             : TermDt[element.number() - 1u - card_rows];
}

constexpr const dictionary::RowConstants& constants_of(Element element) {
    return dictionary::row_constants[element.number() - 1u];
}

constexpr std::uint16_t storage_size(Element element) {
    return constants_of(element).storage_size;
}

}  // namespace quorrin
