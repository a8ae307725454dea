// Elements put into the store and read from it by their tags, as hex digits.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "quorrin/quorrin.h"
#include "tests/support/exact_bytes.hpp"
#include "tests/support/guarded_buffer.hpp"

namespace quorrin::test {

// What the store answers.
inline std::int32_t store(std::string_view tag, const ByteString& value,
                          std::string_view parent_template = "") {
    const ExactBytes parent(hex(parent_template));
    const ExactBytes tag_bytes(hex(tag));
    const ExactBytes value_bytes(value);
    return emvSetDataElement(parent.data(), parent.size8(), tag_bytes.data(), tag_bytes.size8(),
                             value_bytes.size16(), value_bytes.data());
}
inline std::int32_t store(std::string_view tag, std::string_view value,
                          std::string_view parent_template = "") {
    return store(tag, hex(value), parent_template);
}

// Puts a value into the store that it accepts.
inline void put(std::string_view tag, const ByteString& value) {
    if (store(tag, value) != 0) {
        throw std::invalid_argument("not stored: " + std::string(tag));
    }
}

// What reading an element gives: result, length after the call, and the bytes written into a buffer
// of exactly the wanted size.
struct Read {
    std::int32_t result;
    std::uint16_t length;
    std::string bytes;
    bool operator==(const Read&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const Read& read) {
    return out << "result " << read.result << ", length " << read.length << ", " << read.bytes;
}

inline std::int32_t state_of(std::string_view tag) {
    const ByteString bytes = hex(tag);
    return emvGetDataElementState(bytes.data(), static_cast<std::uint8_t>(bytes.size()));
}
enum Which : std::uint8_t { Current = 0, Shortest = 1, Longest = 2 };
inline std::uint16_t length_of(std::string_view tag, std::uint8_t which = Current) {
    const ByteString bytes = hex(tag);
    return emvGetDataElementLength(bytes.data(), static_cast<std::uint8_t>(bytes.size()), which);
}
inline std::int32_t set_length_of(std::string_view tag, std::uint16_t length, std::uint8_t which) {
    const ByteString bytes = hex(tag);
    return emvSetDataElementLength(bytes.data(), static_cast<std::uint8_t>(bytes.size()), length,
                                   which);
}
inline std::int32_t set_state_of(std::string_view tag, std::uint8_t state) {
    const ByteString bytes = hex(tag);
    return emvSetDataElementState(bytes.data(), static_cast<std::uint8_t>(bytes.size()), state);
}

inline Read read(std::string_view tag, std::uint16_t wanted) {
    const ExactBytes tag_bytes(hex(tag));
    std::uint16_t length = wanted;
    GuardedBuffer out(wanted != 0 ? wanted : length_of(tag));
    const std::int32_t result =
        emvGetDataElement(tag_bytes.data(), tag_bytes.size8(), &length, out.data());
    return {result, length, to_hex(out.first(out.size()))};
}

// All that an element holds now, whether it counts as present or not.
inline ByteString value_of(std::string_view tag) {
    const std::uint16_t length = length_of(tag);
    return length == 0 ? ByteString{} : hex(read(tag, length).bytes);
}

// The value of an element that is present.
inline std::optional<ByteString> element(std::string_view tag) {
    return state_of(tag) == 1 ? std::optional(value_of(tag)) : std::nullopt;
}

}  // namespace quorrin::test
