// What the tables know of data elements: the rows of the library's store and of elements.def in one,
// by tag.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "decode/decode.hpp"

namespace quorrin::decode {

// EMV book 3, annex A.
enum class Format : std::uint8_t { n, cn, an, ans, a, b };

struct Element {
    std::uint32_t tag = 0;
    Kernel kernel = Kernel::Unknown;  // Unknown: whatever the kernel
    std::uint32_t within = 0;         // the template in which the tag means this; 0: any
    Format format = Format::b;
    std::uint16_t shortest = 0;  // both 0: any length
    std::uint16_t longest = 0;
    std::string_view name;
    std::string_view name_zh;

    bool fits(std::size_t length) const {
        return longest == 0 || (shortest <= length && length <= longest);
    }
};

// All rows, by tag; rows of the same tag in the order of the tables.
std::span<const Element> all_elements();

// The rows of a tag.
std::span<const Element> rows_of(std::uint32_t tag);

// The meanings of a tag, the likeliest first: by the template that it stands in, by the kernel, by the
// length of the value. Empty when the tables do not know the tag.
struct Place {
    std::uint32_t parent = 0;
    Kernel kernel = Kernel::Unknown;
};
std::vector<const Element*> meanings_of(std::uint32_t tag, Place place, std::size_t length);

// Tags that every issuer and scheme may use in its own way.
bool is_proprietary(std::uint32_t tag);

// "kernel C-2"; empty for Unknown.
std::string_view kernel_name(Kernel kernel);

}  // namespace quorrin::decode
