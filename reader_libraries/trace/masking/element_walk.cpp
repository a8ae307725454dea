#include "reader_libraries/trace/masking/element_walk.hpp"

#include <algorithm>

#include "reader_libraries/trace/masking/element_rules.hpp"

namespace quorrin::trace {
namespace {

constexpr std::size_t longest_tag = 3;

struct Header {
    std::uint32_t tag = 0;
    std::size_t size = 0;    // of tag and length; 0 when broken or cut
    std::size_t length = 0;  // of the value
    bool is_cut = false;     // the data end before it does
};
constexpr Header broken{};
constexpr Header cut{.is_cut = true};

Header read_header(std::span<const std::uint8_t> data) {
    Header header;
    std::size_t at = 0;
    header.tag = data[at++];
    if ((header.tag & 0x1F) == 0x1F) {
        do {
            if (at == data.size()) {
                return cut;
            }
            if (at == longest_tag) {
                return broken;
            }
            header.tag = header.tag << 8 | data[at];
        } while ((data[at++] & 0x80) != 0);
    }
    if (at == data.size()) {
        return cut;
    }
    const std::uint8_t first = data[at++];
    header.length = first;
    if (first >= 0x80) {
        const std::size_t further = first & 0x7F;
        if (further == 0 || further > 2) {
            return broken;
        }
        if (data.size() - at < further) {
            return cut;
        }
        header.length = 0;
        for (std::size_t i = 0; i < further; ++i) {
            header.length = header.length << 8 | data[at++];
        }
    }
    header.size = at;
    return header;
}

constexpr std::uint32_t first_byte(std::uint32_t tag) {
    return tag > 0xFFFF ? tag >> 16 : tag > 0xFF ? tag >> 8 : tag;
}

// Templates are looked into, unless all that stands in them is secret.
bool is_template(std::uint32_t tag) {
    if ((first_byte(tag) & 0x20) == 0) {
        return false;
    }
    const ElementRule* row = find_rule(tag);
    return row == nullptr || row->rule != Rule::Secret;
}

}  // namespace

bool ElementWalk::next(Element& element) {
    while (position_ < data_.size()) {
        while (depth_ > 0 && position_ == ends_[depth_ - 1]) {
            --depth_;
        }
        if (data_[position_] == 0x00 || data_[position_] == 0xFF) {  // padding
            ++position_;
            continue;
        }
        const Header header = read_header(data_.subspan(position_));
        if (header.size == 0) {
            ends_in_header_ = header.is_cut;
            return false;
        }
        const std::size_t value = position_ + header.size;
        const std::size_t end = value + header.length;
        if (depth_ > 0 && (value > ends_[depth_ - 1] || end > ends_[depth_ - 1])) {
            return false;
        }
        if (is_template(header.tag)) {
            if (depth_ == deepest) {
                return false;
            }
            ends_[depth_++] = end;
            position_ = value;
            continue;
        }
        element = {header.tag, value, header.length, end > data_.size()};
        position_ = std::min(end, data_.size());
        return true;
    }
    return false;
}

}  // namespace quorrin::trace
