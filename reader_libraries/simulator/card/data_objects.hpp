// BER-TLV objects and data object lists, as the card makes and reads them: EMV book 3 annex B and
// section 5.4.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <vector>

#include "reader_libraries/simulator/card_device.hpp"

namespace quorrin::simulator {

// A tag as its bytes read from left to right: 0x9F26.
using Tag = std::uint32_t;

using ElementValues = std::map<Tag, ByteString>;

struct DataObject {
    Tag tag = 0;
    bool constructed = false;
    std::span<const std::uint8_t> value;
};

void append(ByteString& bytes, std::span<const std::uint8_t> more);
ByteString tag_bytes(Tag tag);
ByteString data_object(Tag tag, std::span<const std::uint8_t> value);

// The tag at the start of `rest`, which moves behind it. Empty for none of one to four bytes.
std::optional<Tag> take_tag(std::span<const std::uint8_t>& rest);

// The object at the start of `rest`, which moves behind it. Bytes 00 and FF before it are padding.
// Empty at the end, and at anything malformed.
std::optional<DataObject> take_object(std::span<const std::uint8_t>& rest);

// The first object with this tag, in templates too. Looks no further than the first malformed one.
std::optional<ByteString> find_object(std::span<const std::uint8_t> objects, Tag tag);

// One entry of a data object list.
struct ListEntry {
    Tag tag = 0;
    std::size_t length = 0;

    bool operator==(const ListEntry&) const = default;
};

// Empty for anything but tags each with a length of one byte.
std::optional<std::vector<ListEntry>> parse_object_list(std::span<const std::uint8_t> list);

std::size_t data_length(const std::vector<ListEntry>& list);

// What a terminal delivered for a list. `data` has the list's length.
void take_values(const std::vector<ListEntry>& list, std::span<const std::uint8_t> data,
                 ElementValues& values);

// The value in `size` bytes, zeros for an element that is not there. As terminals fit values to
// lists (EMV book 3 section 5.4), numbers keep their right end, all else its left end.
ByteString fitted_value(const ElementValues& values, Tag tag, std::size_t size);

}  // namespace quorrin::simulator
