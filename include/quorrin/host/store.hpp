// Data elements of the running transaction, by tag or by name.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <quorrin/quorrin.h>
#include <quorrin/host/elements.hpp>
#include <quorrin/host/failure.hpp>
#include <quorrin/host/values.hpp>

namespace quorrin::host {

/// A tag of one byte or two: 0x5A, 0x9F36.
using Tag = std::uint16_t;

/// The tag of an element's name ("Application label"), whatever the case of its letters. Throws
/// std::invalid_argument for a name that no element has.
inline Tag tag_of(std::string_view name) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    for (const ElementRow& row : element_rows) {
        const std::string_view known = row.name;
        if (std::equal(known.begin(), known.end(), name.begin(), name.end(),
                       [&](char a, char b) { return lower(a) == lower(b); })) {
            return row.tag;
        }
    }
    throw std::invalid_argument("no such element: " + std::string(name));
}

/// The name of a tag's element, empty for a tag that the store does not know.
inline std::string_view name_of(Tag tag) {
    for (const ElementRow& row : element_rows) {
        if (row.tag == tag) {
            return row.name;
        }
    }
    return {};
}

namespace detail {

struct TagBytes {
    std::array<std::uint8_t, 2> bytes;
    std::uint8_t size;

    explicit TagBytes(Tag tag)
        : bytes{static_cast<std::uint8_t>(tag > 0xFF ? tag >> 8 : tag),
                static_cast<std::uint8_t>(tag)},
          size(tag > 0xFF ? 2 : 1) {}
};

/// The value that the store holds, or nothing.
inline std::optional<ByteString> stored(Tag tag) {
    const TagBytes bytes(tag);
    if (emvGetDataElementState(bytes.bytes.data(), bytes.size) != 1) {
        return std::nullopt;
    }
    ByteString value(emvGetDataElementLength(bytes.bytes.data(), bytes.size, 0));
    auto length = static_cast<std::uint16_t>(value.size());
    if (length != 0) {
        emvGetDataElement(bytes.bytes.data(), bytes.size, &length, value.data());
    }
    return value;
}

inline ByteString stored_or_empty(Tag tag) {
    return stored(tag).value_or(ByteString{});
}

/// Stores a value of the host's; the store judges its length.
inline void store(Tag tag, const ByteString& value) {
    const TagBytes bytes(tag);
    const std::int32_t result =
        value.size() > 0xFFFF
            ? -22
            : emvSetDataElement(nullptr, 0, bytes.bytes.data(), bytes.size,
                                static_cast<std::uint16_t>(value.size()), value.data());
    if (result != 0) {
        throw Misuse("the store refuses " + std::to_string(value.size()) + " bytes for element " +
                     to_hex(ByteString(bytes.bytes.begin() + (2 - bytes.size), bytes.bytes.end())) +
                     " (" + std::to_string(result) + ")");
    }
}

}  // namespace detail

}  // namespace quorrin::host
