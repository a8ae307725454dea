// BER-TLV decoding (EMV book 3, annex B; ISO/IEC 8825-1) on spans. Everything is inline: card
// answers are walked object by object, and no byte outside the span is ever looked at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "quorrin/results.h"

namespace quorrin::tlv {

using Bytes = std::span<const std::uint8_t>;

// Results of the codec, as the exported functions give them.
inline constexpr std::int8_t primitive = QUORRIN_PRIMITIVE;
inline constexpr std::int8_t constructed = QUORRIN_CONSTRUCTED;

// A tag as far as it could be read: on an error `length` counts the bytes that were looked at.
struct Tag {
    static constexpr std::int8_t no_data = QUORRIN_TAG_NO_DATA;
    static constexpr std::int8_t bad = QUORRIN_TAG_BAD;

    std::int8_t result;
    std::uint8_t length;
};

// A length field as far as it could be read.
struct Length {
    static constexpr std::int8_t good = QUORRIN_SUCCESS;
    static constexpr std::int8_t no_data = QUORRIN_LENGTH_NO_DATA;
    static constexpr std::int8_t bad = QUORRIN_LENGTH_BAD;
    static constexpr std::int8_t value_too_long = QUORRIN_LENGTH_BEYOND_DATA;

    std::int8_t result;
    std::uint8_t field_size;
    std::uint16_t value;
};

// A data object at the start of a span; on an error the sizes decoded so far.
struct Object {
    static constexpr std::int8_t no_data = QUORRIN_TLV_NO_DATA;
    static constexpr std::int8_t bad_tag = QUORRIN_TLV_BAD_TAG;
    static constexpr std::int8_t bad_length = QUORRIN_TLV_BAD_LENGTH;

    std::int8_t result;
    std::uint8_t tag_length;
    std::uint8_t length_size;
    std::uint16_t value_length;

    constexpr bool is_primitive() const { return result == primitive; }
    constexpr bool is_constructed() const { return result == constructed; }
    constexpr bool is_malformed() const { return result < 0; }
    constexpr std::size_t header_size() const { return std::size_t{tag_length} + length_size; }
    constexpr std::size_t size() const { return header_size() + value_length; }
};

// 00 before, between and after objects means nothing (EMV book 3, annex B); nor does FF (ISO/IEC
// 7816-4).
constexpr bool is_padding(std::uint8_t byte) {
    return byte == 0x00 || byte == 0xFF;
}

// The tag field (EMV book 3, annex B1): b6 of the first byte, b5 to b1 of it, b8 of those that follow.
constexpr bool is_constructed_tag(std::uint8_t first_byte) {
    return (first_byte & 0x20) != 0;
}

constexpr bool announces_second_byte(std::uint8_t first_byte) {
    return (first_byte & 0x1F) == 0x1F;
}

// Whether a tag is this one.
constexpr bool is_tag(Bytes tag, std::uint8_t only) {
    return tag.size() == 1 && tag[0] == only;
}
constexpr bool is_tag(Bytes tag, std::uint8_t first, std::uint8_t second) {
    return tag.size() == 2 && tag[0] == first && tag[1] == second;
}

// Deliberate: a tag may be as long as the data, and its length is kept in 8 bits; one of 256 bytes
// counts none, and its own first byte is then taken for the length field. One that does not end has
// then no size at all.
constexpr Tag read_tag(Bytes data) {
    if (data.empty()) {
        return {Tag::no_data, 0};
    }
    const std::int8_t kind = is_constructed_tag(data[0]) ? constructed : primitive;
    if (!announces_second_byte(data[0])) {
        return {kind, 1};
    }
    for (std::size_t count = 1; count < data.size();) {
        const std::uint8_t byte = data[count++];
        const bool is_last = byte >= 0x01 && byte <= 0x7F;
        if (is_last) {
            return {kind, static_cast<std::uint8_t>(count)};
        }
        // Deliberate: no tag byte may be 00 or 80, whatever its place; such bytes are padding gone
        // astray.
        if ((byte & 0x7F) == 0) {
            return {Tag::bad, static_cast<std::uint8_t>(count)};
        }
    }
    return {Tag::bad, static_cast<std::uint8_t>(data.size())};
}

// The size of the length field alone (EMV book 3, annex B2, which has no indefinite form 80).
// `field_size` is 0 when it could not be told.
constexpr Length read_length_field(Bytes data) {
    constexpr std::uint8_t indefinite = 0x80;
    if (data.empty()) {
        return {Length::no_data, 0, 0};
    }
    if (data[0] < indefinite) {
        return {Length::good, 1, 0};
    }
    if (data[0] == indefinite) {
        return {Length::bad, 0, 0};
    }
    const auto size = static_cast<std::uint8_t>((data[0] & 0x7F) + 1);
    return {size > data.size() ? Length::bad : Length::good, size, 0};
}

// The length field and its value, checked against the bytes that follow.
//
// Deliberate: the value is kept in 16 bits, all that a card answer needs. Of more than two length
// bytes only the last two count, whatever stands before them.
constexpr Length read_length(Bytes data) {
    Length length = read_length_field(data);
    if (length.result != Length::good) {
        return length;
    }
    if (length.field_size == 1) {
        length.value = data[0];
    } else {
        for (std::size_t i = 1; i < length.field_size; ++i) {
            length.value = static_cast<std::uint16_t>(length.value << 8 | data[i]);
        }
    }
    if (data.size() < std::size_t{length.field_size} + length.value) {
        length.result = Length::value_too_long;
    }
    return length;
}

// Inlined by force: a call in the middle of a walk makes it twice as long.
[[gnu::always_inline]] constexpr Object read_object(Bytes data) {
    if (data.empty()) {
        return {Object::no_data, 0, 0, 0};
    }
    const Tag tag = read_tag(data);
    if (tag.result < 0) {
        return {Object::bad_tag, tag.length, 0, 0};
    }
    const Bytes after_tag = data.subspan(tag.length);
    // Nearly every object in a card's answer has a one-byte length: it is read without further ado.
    if (!after_tag.empty() && after_tag[0] < 0x80) {
        const bool fits = after_tag.size() > after_tag[0];
        return {fits ? tag.result : Object::bad_length, tag.length, 1, after_tag[0]};
    }
    const Length length = read_length(after_tag);
    const std::int8_t result = length.result == Length::good ? tag.result : Object::bad_length;
    return {result, tag.length, length.field_size, length.value};
}

// A position in a TLV string. Every step moves it forward, none beyond the end, so that every walk
// ends; what a walk tolerates is stated by the walk that uses it.
class Cursor {
  public:
    explicit constexpr Cursor(Bytes data) : rest_(data) {}

    constexpr bool at_end() const { return rest_.empty(); }
    constexpr Bytes rest() const { return rest_; }

    // Steps over padding bytes between objects (EMV book 3, annex B).
    constexpr void skip_padding() {
        while (!rest_.empty() && is_padding(rest_[0])) {
            rest_ = rest_.subspan(1);
        }
    }

    constexpr Object object() const { return read_object(rest_); }
    constexpr Bytes tag(const Object& object) const { return rest_.first(object.tag_length); }
    constexpr Bytes value(const Object& object) const {
        return rest_.subspan(object.header_size(), object.value_length);
    }
    constexpr bool has_tag(const Object& object, std::uint8_t one_byte_tag) const {
        return is_tag(tag(object), one_byte_tag);
    }
    constexpr bool has_tag(const Object& object, std::uint8_t first, std::uint8_t second) const {
        return is_tag(tag(object), first, second);
    }
    constexpr bool has_tag(const Object& object, const std::uint8_t (&two_byte_tag)[2]) const {
        return is_tag(tag(object), two_byte_tag[0], two_byte_tag[1]);
    }

    // Into a template: its contents come next.
    constexpr void enter(const Object& object) { advance(object.header_size()); }
    constexpr void step_over(const Object& object) { advance(object.size()); }
    // Searches look into every template: a template is entered, anything else stepped over.
    // Deliberate: where a template ends is not kept, so that an object inside one that is too short
    // for it is still found whole.
    constexpr void advance_flat(const Object& object) {
        object.is_constructed() ? enter(object) : step_over(object);
    }
    // What has no size cannot be stepped over: it ends the walk. So does what exceeds the bytes.
    constexpr void advance(std::size_t count) {
        const bool stays_inside = count > 0 && count < rest_.size();
        rest_ = rest_.subspan(stays_inside ? count : rest_.size());
    }

  private:
    Bytes rest_;
};

// The issuer script identifier, of which a search finds the first alone.
inline constexpr std::uint8_t issuer_script_identifier_tag[] = {0x9F, 0x18};

// One tag anywhere in a TLV string, inside templates too.
struct Search {
    static constexpr std::int8_t found = QUORRIN_SUCCESS;
    static constexpr std::int8_t not_found = QUORRIN_SEARCH_NOT_FOUND;
    static constexpr std::int8_t malformed = QUORRIN_SEARCH_MALFORMED;
    static constexpr std::int8_t found_twice = QUORRIN_SEARCH_FOUND_TWICE;

    std::int8_t result;
    bool has_value;  // a value was met, also when the result is an error that came after it
    Bytes value;     // that value, inside the searched string
};

// Strings above this are refused as malformed.
inline constexpr std::size_t max_search_size = 256;

Search find_tag(Bytes string, Bytes tag) noexcept;

// Whether a TLV string is well formed, templates included.
bool is_well_formed(Bytes string) noexcept;

}  // namespace quorrin::tlv
