// How profiles write bytes and data elements, for people to read.
//
//   bytes    62 280 001 'TEST/CARD' 00*12   hex digits in any groups, quoted text, a byte with a count
//   element  5F20 'TEST/CARD'               a tag and its value
//   element  pad 00 00                      bytes that stand between the objects as they are
#pragma once

#include <string_view>

#include "reader_libraries/simulator/card/data_objects.hpp"

namespace quorrin::simulator {

// All throw std::invalid_argument with a reason that fits behind "field: ".
ByteString parse_bytes(std::string_view text);
Tag parse_tag(std::string_view text);

struct Element {
    Tag tag = 0;
    ByteString value;
};

// A tag with its value, no padding.
Element parse_element(std::string_view text);

// An element encoded, or the padding as it is.
ByteString parse_encoded_element(std::string_view text);

std::string hex_text(std::span<const std::uint8_t> bytes);

}  // namespace quorrin::simulator
