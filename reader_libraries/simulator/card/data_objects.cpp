#include "reader_libraries/simulator/card/data_objects.hpp"

#include <algorithm>
#include <array>

namespace quorrin::simulator {
namespace {

constexpr std::uint8_t constructed_bit = 0x20;
constexpr std::uint8_t long_tag = 0x1F;
constexpr std::uint8_t more_tag_bytes = 0x80;

// Those that a transaction's lists ask for; the ATC counts as a number too.
constexpr std::array<Tag, 9> numeric_elements{0x9F02, 0x9F03, 0x9F1A, 0x5F2A, 0x9A,
                                              0x9C,   0x9F21, 0x9F7A, 0x9F36};

std::uint8_t first_byte(Tag tag) {
    while (tag > 0xFF) {
        tag >>= 8;
    }
    return static_cast<std::uint8_t>(tag);
}

std::optional<std::size_t> take_length(std::span<const std::uint8_t>& rest) {
    if (rest.empty()) {
        return std::nullopt;
    }
    const std::uint8_t first = rest[0];
    if (first < 0x80) {
        rest = rest.subspan(1);
        return first;
    }
    const std::size_t count = first & 0x7FU;
    if (count == 0 || count > 2 || rest.size() < 1 + count) {
        return std::nullopt;
    }
    std::size_t length = 0;
    for (const std::uint8_t byte : rest.subspan(1, count)) {
        length = length << 8 | byte;
    }
    rest = rest.subspan(1 + count);
    return length;
}

}  // namespace

void append(ByteString& bytes, std::span<const std::uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

ByteString tag_bytes(Tag tag) {
    ByteString bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (tag >> shift != 0 || shift == 0) {
            bytes.push_back(static_cast<std::uint8_t>(tag >> shift));
        }
    }
    return bytes;
}

ByteString data_object(Tag tag, std::span<const std::uint8_t> value) {
    ByteString bytes = tag_bytes(tag);
    const std::size_t length = value.size();
    if (length > 0xFF) {
        bytes.push_back(0x82);
        bytes.push_back(static_cast<std::uint8_t>(length >> 8));
    } else if (length >= 0x80) {
        bytes.push_back(0x81);
    }
    bytes.push_back(static_cast<std::uint8_t>(length));
    append(bytes, value);
    return bytes;
}

std::optional<Tag> take_tag(std::span<const std::uint8_t>& rest) {
    if (rest.empty()) {
        return std::nullopt;
    }
    Tag tag = rest[0];
    std::size_t size = 1;
    if ((rest[0] & long_tag) == long_tag) {
        do {
            if (size == rest.size() || size == sizeof(Tag)) {
                return std::nullopt;
            }
            tag = tag << 8 | rest[size];
        } while ((rest[size++] & more_tag_bytes) != 0);
    }
    rest = rest.subspan(size);
    return tag;
}

std::optional<DataObject> take_object(std::span<const std::uint8_t>& rest) {
    while (!rest.empty() && (rest[0] == 0x00 || rest[0] == 0xFF)) {
        rest = rest.subspan(1);
    }
    const auto tag = take_tag(rest);
    if (!tag) {
        return std::nullopt;
    }
    const auto length = take_length(rest);
    if (!length || *length > rest.size()) {
        return std::nullopt;
    }
    const DataObject object{*tag, (first_byte(*tag) & constructed_bit) != 0, rest.first(*length)};
    rest = rest.subspan(*length);
    return object;
}

std::optional<ByteString> find_object(std::span<const std::uint8_t> objects, Tag tag) {
    while (const auto object = take_object(objects)) {
        if (object->tag == tag) {
            return ByteString(object->value.begin(), object->value.end());
        }
        if (object->constructed) {
            if (auto inside = find_object(object->value, tag)) {
                return inside;
            }
        }
    }
    return std::nullopt;
}

std::optional<std::vector<ListEntry>> parse_object_list(std::span<const std::uint8_t> list) {
    std::vector<ListEntry> entries;
    while (!list.empty()) {
        const auto tag = take_tag(list);
        if (!tag || list.empty() || list[0] >= 0x80) {
            return std::nullopt;
        }
        entries.push_back({*tag, list[0]});
        list = list.subspan(1);
    }
    return entries;
}

std::size_t data_length(const std::vector<ListEntry>& list) {
    std::size_t length = 0;
    for (const ListEntry& entry : list) {
        length += entry.length;
    }
    return length;
}

void take_values(const std::vector<ListEntry>& list, std::span<const std::uint8_t> data,
                 ElementValues& values) {
    for (const ListEntry& entry : list) {
        const auto value = data.first(entry.length);
        values[entry.tag] = ByteString(value.begin(), value.end());
        data = data.subspan(entry.length);
    }
}

ByteString fitted_value(const ElementValues& values, Tag tag, std::size_t size) {
    ByteString fitted(size, 0);
    const auto found = values.find(tag);
    if (found == values.end()) {
        return fitted;
    }
    const ByteString& value = found->second;
    const std::size_t count = std::min(size, value.size());
    if (std::ranges::find(numeric_elements, tag) != numeric_elements.end()) {
        std::copy_n(value.rbegin(), count, fitted.rbegin());
    } else {
        std::copy_n(value.begin(), count, fitted.begin());
    }
    return fitted;
}

}  // namespace quorrin::simulator
