// The data element dictionary: which element stands in which row, and the constant-time way from a
// tag to its row. Made at compile time from terminal_elements.def and card_elements.def.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "quorrin/quorrin.h"

namespace quorrin {

using Bytes = std::span<const std::uint8_t>;

enum class Format : std::uint8_t { n = 1, cn = 2, an = 3, ans = 4, b = 5, a = 6 };

// The two tables, by the numbers that lookups report.
enum class Table : std::uint8_t { none = 0, card = 1, terminal = 2 };

inline constexpr std::size_t card_rows = 94;
inline constexpr std::size_t terminal_rows = 48;

// A row of either table: 0 is none, then the card table's rows, then the terminal table's.
class Slot {
  public:
    constexpr Slot() = default;
    static constexpr Slot card(std::size_t row) { return Slot(row + 1); }
    static constexpr Slot terminal(std::size_t row) { return Slot(card_rows + row + 1); }
    static constexpr Slot numbered(std::uint8_t number) { return Slot(number); }

    constexpr std::uint8_t number() const { return number_; }
    constexpr bool is_none() const { return number_ == 0; }
    constexpr bool is_card() const { return number_ != 0 && number_ <= card_rows; }
    constexpr bool is_terminal() const { return number_ > card_rows; }
    constexpr Table table() const {
        return is_none() ? Table::none : is_card() ? Table::card : Table::terminal;
    }
    // The row's index in its own table; 0 for none.
    constexpr std::uint16_t row() const {
        if (is_none()) {
            return 0;
        }
        return static_cast<std::uint16_t>(is_card() ? number_ - 1u : number_ - 1u - card_rows);
    }

  private:
    explicit constexpr Slot(std::size_t number) : number_(static_cast<std::uint8_t>(number)) {}
    std::uint8_t number_ = 0;
};

namespace dictionary {

// Tag and storage size of every row, in slot order.
struct Fact {
    std::uint16_t tag;
    std::uint16_t storage_size;
};

inline constexpr std::array<Fact, card_rows + terminal_rows> facts{{
#define ELEMENT(tag, storage, bytes, minimum, maximum, format, templates) {tag, bytes},
#define SHARED_ELEMENT ELEMENT
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
#undef SHARED_ELEMENT
#undef ELEMENT
}};

constexpr bool is_two_byte_tag(std::uint16_t tag) {
    return tag > 0xFF;
}

// Tag to slot number: one page for one-byte tags, one for each first byte of two-byte tags, and an
// empty page for every other first byte. The first row of a tag wins, the card table before the
// terminal's.
struct TagIndex {
    static constexpr std::size_t max_pages = 8;

    std::array<std::uint8_t, 256> one_byte{};
    std::array<std::uint8_t, 256> page_of_first_byte{};  // page 0 is the empty one
    std::array<std::array<std::uint8_t, 256>, max_pages> two_byte{};

    constexpr TagIndex() {
        std::uint8_t pages = 1;
        for (std::size_t i = 0; i < facts.size(); ++i) {
            const auto first = static_cast<std::uint8_t>(facts[i].tag >> 8);
            const auto last = static_cast<std::uint8_t>(facts[i].tag);
            std::uint8_t* entry = &one_byte[last];
            if (is_two_byte_tag(facts[i].tag)) {
                std::uint8_t& page = page_of_first_byte[first];
                if (page == 0) {
                    page = pages++;
                }
                entry = &two_byte.at(page)[last];
            }
            if (*entry == 0) {
                *entry = static_cast<std::uint8_t>(i + 1);
            }
        }
    }
};

inline constexpr TagIndex tag_index;

}  // namespace dictionary

constexpr Slot find_slot(Bytes tag) {
    const dictionary::TagIndex& index = dictionary::tag_index;
    if (tag.size() == 1) {
        return Slot::numbered(index.one_byte[tag[0]]);
    }
    if (tag.size() == 2) {
        return Slot::numbered(index.two_byte[index.page_of_first_byte[tag[0]]][tag[1]]);
    }
    return {};
}

// The slot of an element that is known to exist, resolved at compile time.
consteval Slot slot_of(std::uint16_t tag) {
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(tag >> 8),
                                  static_cast<std::uint8_t>(tag)};
    const Slot slot =
        find_slot(dictionary::is_two_byte_tag(tag) ? Bytes(bytes) : Bytes(bytes).subspan(1));
    if (slot.is_none()) {
        throw "no such data element";
    }
    return slot;
}

// The record of a slot that is not none.
inline QuorrinDataElement& record(Slot slot) {
    return slot.is_card() ? IccDt[slot.row()] : TermDt[slot.row()];
}

constexpr std::uint16_t storage_size(Slot slot) {
    return dictionary::facts[slot.number() - 1u].storage_size;
}

}  // namespace quorrin
