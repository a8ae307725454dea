// Storing and reading element values: length bounds, templates, justification and padding.
// The exported functions, the response walk, DOLs and the typed accessors all come through here.
#pragma once

#include <algorithm>
#include <cstdint>

#include "emvdata/byte_copy.hpp"
#include "emvdata/dictionary.hpp"
#include "quorrin/results.h"

namespace quorrin {

// Whether the row of an element admits the template that it arrived in (EMV book 3, annex A). A
// terminal element has no home template.
//
// Deliberate: "any template" means any of one byte. An element without a home of its own is not
// taken from a two-byte template, BF0C among them.
constexpr bool admits(Element element, Template parent) {
    const auto& row = constants_of(element);
    return element.is_terminal() || parent == row.first_template || parent == row.second_template ||
           parent.is_none() || (row.any_template && parent.has_one_byte());
}

// A host may raise a row's bounds; they never let an access leave the row's storage.
inline std::size_t usable_maximum(const QuorrinDataElement& row, Element element) {
    return std::min(row.maxLen, storage_size(element));
}

constexpr bool is_known(Format format) {
    return format >= Format::n && format <= Format::a;
}

// What fills an element up behind its value (EMV book 3, 4.3): hexadecimal FF for cn, zeros for an,
// ans, a and b. Numeric elements have leading zeros instead.
constexpr std::uint8_t padding_of(Format format) {
    return format == Format::cn ? 0xFF : 0x00;
}

// Stores a value in an element's row: template, length bounds, then the value by its format. A card
// element that an FCI (6F, A5, BF0C) or a directory discretionary template (73) carries out of
// place is dropped without error.
[[gnu::always_inline]] inline std::int32_t store_value(Element element, Template parent,
                                                       Bytes value) noexcept {
    if (!admits(element, parent)) {
        return parent.drops_misplaced_elements() ? 0 : QUORRIN_STORE_WRONG_TEMPLATE;
    }
    QuorrinDataElement& row = record(element);
    const std::size_t maximum = usable_maximum(row, element);
    if (value.size() > maximum || value.size() < row.minLen) {
        return QUORRIN_STORE_BAD_LENGTH;
    }
    std::uint8_t* const storage = row.value;
    if (storage == nullptr) {
        return QUORRIN_STORE_UNKNOWN_FORMAT;
    }
    // Deliberate: the fill is counted in 8 bits, so a short value of 86 (up to 261 bytes) leaves
    // old bytes behind its own; its length tells hosts where it ends.
    const auto fill = static_cast<std::uint8_t>(maximum - value.size());
    const auto format = static_cast<Format>(row.format);
    if (!is_known(format)) {
        return QUORRIN_STORE_UNKNOWN_FORMAT;
    }
    row.curLen = static_cast<std::uint16_t>(value.size());
    row.state = 1;
    if (fill == 0) {
        copy_bytes(storage, value.data(), value.size());
    } else if (format == Format::n) {  // right justified (EMV book 3, 4.3)
        fill_bytes(storage, 0x00, fill);
        copy_bytes(storage + fill, value.data(), value.size());
    } else {  // left justified
        copy_bytes(storage, value.data(), value.size());
        fill_bytes(storage + value.size(), padding_of(format), fill);
    }
    return QUORRIN_SUCCESS;
}

// Stores a value that arrives under a tag.
std::int32_t store_element(Bytes parent, Bytes tag, Bytes value) noexcept;

// Reads an element into `out`, fitted to its size by the element's format, as the data for a list of
// data objects are (EMV book 3, 5.4, step 2).
//
// Deliberate: the state is not consulted. An element that was never set reads as padding, and one
// that a host marked absent as the value still held.
[[gnu::always_inline]] inline std::int32_t read_value(Element element,
                                                      std::span<std::uint8_t> out) noexcept {
    static constexpr std::uint8_t never_reset[512] = {};
    const QuorrinDataElement& row = record(element);
    const std::uint8_t* const storage = row.value != nullptr ? row.value : never_reset;
    const std::size_t held = std::min(row.curLen, storage_size(element));
    const std::size_t copied = std::min(held, out.size());
    const std::size_t padding = out.size() - copied;
    const auto format = static_cast<Format>(row.format);
    if (!is_known(format)) {
        return QUORRIN_READ_UNKNOWN_FORMAT;
    }
    if (format == Format::n) {
        const std::size_t maximum = usable_maximum(row, element);
        // 5.4, step 2: a longer numeric element loses its leftmost bytes, a shorter one gets
        // leading zeros.
        //
        // Deliberate: a cut numeric value counts its bytes from the start of the storage by its
        // length, and so shows leading zeros when the value is shorter than the element.
        const bool is_cut = copied < held;
        const std::size_t start = is_cut ? held - copied : maximum > held ? maximum - held : 0;
        fill_bytes(out.data(), 0x00, padding);
        copy_bytes(out.data() + padding, storage + start, copied);
    } else {
        // 5.4, step 2: one of any other format loses its rightmost bytes, or gets trailing FF (cn)
        // or zeros.
        copy_bytes(out.data(), storage, copied);
        fill_bytes(out.data() + copied, padding_of(format), padding);
    }
    return element.is_card() ? QUORRIN_READ_FROM_CARD : QUORRIN_READ_FROM_TERMINAL;
}

// Walks a card response and stores every known card element in it: 0 or a QuorrinWalkResult. What was
// stored before a fault stays.
std::int32_t store_response(Bytes data) noexcept;

// The same for the value of one template.
std::int32_t store_template_contents(Bytes template_tag, Bytes data) noexcept;

inline bool is_present(Element element) {
    return record(element).state == 1;
}

inline void mark_present(Element element, std::uint16_t length) {
    record(element).curLen = length;
    record(element).state = 1;
}

}  // namespace quorrin
