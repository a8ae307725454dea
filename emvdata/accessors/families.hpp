// The families of typed accessors. A plain accessor is one call of a helper below; what its family
// does and answers is stated here once.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "emvdata/element_store.hpp"
#include "emvdata/elements.hpp"
#include "quorrin/quorrin.h"

namespace quorrin::accessor {

// Presence: 1 present, 0 absent.
inline std::int32_t presence(Element element) { return record(element).state; }

// Length: bytes held now, 0 only when nothing was stored since the last reset.
inline std::uint16_t length(Element element) { return record(element).curLen; }

inline void set_length(Element element, std::uint16_t bytes) { record(element).curLen = bytes; }

// Bit reader: (byte, bit) as EMV counts them, both from 1, bit 1 the least significant. 0 for an
// address outside the element.
inline bool is_bit_address(Bytes element, std::uint8_t byte, std::uint8_t bit) {
    return byte >= 1 && byte <= element.size() && bit >= 1 && bit <= 8;
}

inline std::int32_t bit_value(Bytes element, std::uint8_t byte, std::uint8_t bit) {
    return is_bit_address(element, byte, bit) ? element[byte - 1u] >> (bit - 1) & 1 : 0;
}

inline void set_bit(std::span<std::uint8_t> element, std::uint8_t byte, std::uint8_t bit,
                    std::uint8_t on) {
    if (!is_bit_address(element, byte, bit)) {
        return;
    }
    const auto mask = static_cast<std::uint8_t>(1u << (bit - 1));
    std::uint8_t& value = element[byte - 1u];
    // Deliberate: exactly 1 sets; every other value clears.
    value = static_cast<std::uint8_t>(on == 1 ? value | mask : value & ~mask);
}

// Reads a whole element: the store's code (1 from the card, 2 from the terminal) and the bytes
// read. A length that the host has set beyond the storage counts as the storage's size.
struct Reading {
    std::int32_t code;
    std::uint16_t length;
};

Reading read_whole(Element element, std::uint8_t* out) noexcept;

// Read through the store: the store's code. Presence is not asked: the length is 0 only when
// nothing was stored since the last reset. Deliberate: it is told in 8 bits, so that 256 bytes show
// as 0.
inline std::int32_t read_through(Element element, std::uint8_t* out, std::uint8_t* out_length) {
    if (out == nullptr || out_length == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    const Reading reading = read_whole(element, out);
    *out_length = static_cast<std::uint8_t>(reading.length);
    return reading.code;
}

// Copy getter: 1 and the element with its length when it is present, whatever the store says of the
// reading; else its state, and nothing is written.
inline std::int32_t copy_if_present(Element element, std::uint8_t* out, std::uint8_t* out_length) {
    if (!is_present(element)) {
        return presence(element);
    }
    if (out == nullptr || out_length == nullptr) {
        return QUORRIN_ACCESSOR_REFUSED;
    }
    read_through(element, out, out_length);
    return QUORRIN_ACCESSOR_DELIVERED;
}

// Raw setter: the store's own code; a null pointer is no value.
std::int32_t store(Element element, const std::uint8_t* value, std::uint16_t bytes) noexcept;

// Mapped setter: 0 stored, 50 no such element, 49 anything else, a null pointer included.
constexpr std::int32_t mapped(std::int32_t stored) {
    switch (stored) {
        case QUORRIN_SUCCESS:
            return QUORRIN_SUCCESS;
        case QUORRIN_STORE_UNKNOWN_ELEMENT:
            return QUORRIN_ACCESSOR_UNKNOWN_ELEMENT;
        default:
            return QUORRIN_ACCESSOR_REFUSED;
    }
}
static_assert(mapped(0) == 0 && mapped(-31) == 50 && mapped(-22) == 49 && mapped(-26) == 49);

inline std::int32_t store_mapped(Element element, const std::uint8_t* value, std::uint16_t bytes) {
    return mapped(store(element, value, bytes));
}

// Mapped setter of an element for which a store that answers -26 (value not used) is no failure.
constexpr std::int32_t mapped_tolerant(std::int32_t stored) {
    return stored == QUORRIN_STORE_NOT_USED ? QUORRIN_SUCCESS : mapped(stored);
}
static_assert(mapped_tolerant(0) == 0 && mapped_tolerant(-26) == 0 && mapped_tolerant(-31) == 50 &&
              mapped_tolerant(-22) == 49);

inline std::int32_t store_mapped_tolerant(Element element, const std::uint8_t* value,
                                          std::uint16_t bytes) {
    return mapped_tolerant(store(element, value, bytes));
}

// Copies what fits into a storage variable; returns how much that was.
inline std::uint16_t fill(std::span<std::uint8_t> storage, const std::uint8_t* value,
                          std::uint16_t bytes) {
    const std::size_t fitting = std::min<std::size_t>(bytes, storage.size());
    std::copy_n(value, fitting, storage.begin());
    return static_cast<std::uint16_t>(fitting);
}

}  // namespace quorrin::accessor
