// BER-TLV and its walks spelled out step by step, byte index by byte index, to hold the library
// against on data that no table of cases would think of. Nothing here is shared with the library.
#pragma once

#include <algorithm>
#include <optional>
#include <span>
#include <stdexcept>

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {

using View = std::span<const std::uint8_t>;

struct ReferenceTag {
    int result;
    std::uint8_t length;
};

inline ReferenceTag reference_tag(View data) {
    if (data.empty()) {
        return {-31, 0};
    }
    const int kind = (data[0] & 0x20) != 0 ? 1 : 0;
    std::size_t read = 1;
    if ((data[0] & 0x1F) == 0x1F) {
        std::uint8_t last = 0x80;
        while ((last & 0x80) != 0) {
            if (read == data.size()) {
                return {-30, static_cast<std::uint8_t>(read)};
            }
            last = data[read];
            read += 1;
            if (last == 0x00 || last == 0x80) {
                return {-30, static_cast<std::uint8_t>(read)};
            }
        }
    }
    return {kind, static_cast<std::uint8_t>(read)};
}

struct ReferenceLength {
    int result;
    std::optional<std::uint8_t> size;  // not written when it could not be told
    std::uint16_t value;
};

inline ReferenceLength reference_length(View data) {
    if (data.empty()) {
        return {-31, {}, 0};
    }
    if (data[0] == 0x80) {
        return {-30, {}, 0};
    }
    const std::size_t size = data[0] < 0x80 ? 1u : data[0] - 0x80u + 1u;
    if (size > data.size()) {
        return {-30, static_cast<std::uint8_t>(size), 0};
    }
    std::size_t value = data[0];
    if (size > 1) {
        value = data[size - 1];
        if (size > 2) {
            value += 256u * data[size - 2];
        }
    }
    const bool fits = size + value <= data.size();
    return {fits ? 0 : -29, static_cast<std::uint8_t>(size), static_cast<std::uint16_t>(value)};
}

struct ReferenceObject {
    int result;
    std::uint8_t tag;
    std::uint8_t length;
    std::uint16_t value;
    bool operator==(const ReferenceObject&) const = default;

    std::size_t header() const { return std::size_t{tag} + length; }
    std::size_t size() const { return header() + value; }
};
inline std::ostream& operator<<(std::ostream& out, const ReferenceObject& object) {
    return out << "result " << object.result << ", tag " << +object.tag << ", length field "
               << +object.length << ", value " << object.value;
}

// Both throw on bytes that are not there.
inline View slice(View data, std::size_t from, std::size_t count) {
    if (from > data.size() || count > data.size() - from) {
        throw std::out_of_range("the reference left its data");
    }
    return data.subspan(from, count);
}
inline View rest_of(View data, std::size_t from) {
    return slice(data, from, data.size() - from);
}
inline bool same(View a, View b) {
    return std::ranges::equal(a, b);
}
inline ByteString copied(View bytes) {
    return {bytes.begin(), bytes.end()};
}

inline ReferenceObject reference_object(View data) {
    if (data.empty()) {
        return {-32, 0, 0, 0};
    }
    const ReferenceTag tag = reference_tag(data);
    if (tag.result < 0) {
        return {-31, tag.length, 0, 0};
    }
    const ReferenceLength length = reference_length(rest_of(data, tag.length));
    return {length.result == 0 ? tag.result : -30, tag.length, length.size.value_or(0),
            length.value};
}

inline bool is_padding(std::uint8_t byte) {
    return byte == 0x00 || byte == 0xFF;
}

inline int reference_check(View string) {
    for (std::size_t position = 0; position < string.size();) {
        if (is_padding(string[position])) {
            position += 1;
            continue;
        }
        const ReferenceObject object = reference_object(rest_of(string, position));
        if (object.result < 0) {
            return -30;
        }
        position += object.result == 1 ? object.header() : object.size();
    }
    return 0;
}

struct ReferenceSearch {
    int result;
    ByteString value;
    bool operator==(const ReferenceSearch&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const ReferenceSearch& search) {
    return out << "result " << search.result << ", " << to_hex(search.value);
}

inline ReferenceSearch reference_search(View string, View tag) {
    if (string.size() > 256) {
        return {-31, {}};
    }
    std::optional<ByteString> value;
    for (std::size_t position = 0; position < string.size();) {
        if (is_padding(string[position])) {
            position += 1;
            continue;
        }
        const ReferenceObject object = reference_object(rest_of(string, position));
        if (object.result < 0) {
            return {-31, value.value_or(ByteString{})};
        }
        if (same(slice(string, position, object.tag), tag)) {
            if (value) {
                return {-30, *value};
            }
            value = copied(slice(string, position + object.header(), object.value));
            if (same(tag, ByteString{0x9F, 0x18})) {
                return {0, *value};
            }
        }
        position += object.result == 1 ? object.header() : object.size();
    }
    return {value ? 0 : 1, value.value_or(ByteString{})};
}

// The walk of a card response, template by template; stores through the library, whose store has
// tests of its own.
inline int reference_walk(View parent, View data) {
    if (parent.size() > 5) {
        return -30;
    }
    for (std::size_t position = 0; position < data.size();) {
        if (is_padding(data[position])) {
            position += 1;
            continue;
        }
        const ReferenceObject object = reference_object(rest_of(data, position));
        if (object.result < 0) {
            return -30;
        }
        const View tag = slice(data, position, object.tag);
        const View value = slice(data, position + object.header(), object.value);
        position += object.size();
        if (value.empty()) {
            continue;
        }
        if (object.result == 1) {
            const int inner = reference_walk(tag, value);
            if (inner != 0) {
                return inner;
            }
            continue;
        }
        std::uint16_t row = 0;
        if (emvFindDataElement(tag.data(), object.tag, &row) == 2) {
            continue;
        }
        const std::int32_t stored = store(to_hex(tag), copied(value), to_hex(parent));
        const std::string name = to_hex(tag).substr(0, 4);
        const bool for_display =
            name == "9F11" || name == "9F12" || name == "5F2D" || name.starts_with("50");
        if (stored != 0 && stored != -31 && !(stored == -22 && for_display)) {
            return -31;
        }
    }
    return 0;
}

struct ReferenceBuilt {
    int result;
    ByteString data;
    bool operator==(const ReferenceBuilt&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const ReferenceBuilt& built) {
    return out << "result " << built.result << ", " << to_hex(built.data);
}

inline ReferenceBuilt reference_dol(View list, bool for_pdol) {
    ReferenceBuilt built{0, {}};
    for (std::size_t position = 0; position < list.size();) {
        const ReferenceTag tag = reference_tag(rest_of(list, position));
        if (tag.result < 0) {
            return {-30, built.data};
        }
        const ReferenceLength length = reference_length(rest_of(list, position + tag.length));
        if (length.result != 0 && length.result != -29) {
            return {-31, built.data};
        }
        const std::string name = to_hex(slice(list, position, tag.length));
        ByteString entry(length.value, 0x00);
        if (tag.result == 0 && length.value != 0) {
            const Read stored = read(name, length.value);
            if (stored.result < 0 && stored.result != -30) {
                return {-29, built.data};
            }
            if (stored.result == 2 || (stored.result == 1 && !for_pdol)) {
                entry = hex(stored.bytes);
            }
            if (name == "9F22" && !for_pdol && state_of("9F22") == 0 && state_of("8F") == 1 &&
                length_of("8F") != 0) {
                entry[0] = hex(read("8F", 1).bytes)[0];
            }
        }
        built.data.insert(built.data.end(), entry.begin(), entry.end());
        position += std::size_t{tag.length} + *length.size;
    }
    return built;
}

inline int reference_tag_in_dol(View tag, View list) {
    for (std::size_t position = 0; position < list.size();) {
        const ReferenceTag entry = reference_tag(rest_of(list, position));
        if (entry.result < 0) {
            return -31;
        }
        if (same(slice(list, position, entry.length), tag)) {
            return 1;
        }
        const ReferenceLength length = reference_length(rest_of(list, position + entry.length));
        if (length.result == -31 || length.result == -30) {
            return -30;
        }
        position += std::size_t{entry.length} + *length.size;
    }
    return 0;
}

}  // namespace quorrin::test
