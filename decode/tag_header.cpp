// Headers of data objects (EMV book 3, annex B; ISO/IEC 8825-1), with the reason where one cannot be
// read. The library's own codec tolerates and refuses what hosts rely on; a person who looks at data
// wants the standard's view.
#include "decode/reading.hpp"

namespace quorrin::decode {
namespace {

constexpr std::size_t longest_tag = 4;
constexpr std::size_t longest_length_field = 5;

Header failed(Header header, std::size_t position, std::string why) {
    header.error = std::move(why);
    header.error_position = position;
    return header;
}

}  // namespace

Header read_tag_only(Bytes data) {
    Header header;
    if (data.empty()) {
        return failed(header, 0, "a tag is missing");
    }
    header.constructed = (data[0] & 0x20) != 0;
    header.tag = data[0];
    header.tag_size = 1;
    if ((data[0] & 0x1F) != 0x1F) {
        return header;
    }
    for (;;) {
        if (header.tag_size == data.size()) {
            return failed(header, header.tag_size,
                          "the tag " + hex(data) + " is not finished: the data end");
        }
        const std::uint8_t byte = data[header.tag_size++];
        header.tag = header.tag << 8 | byte;
        if ((byte & 0x80) == 0) {
            return header;
        }
        if (header.tag_size == longest_tag) {
            return failed(header, 0,
                          "a tag " + hex(data.first(longest_tag)) + "... of more than four bytes");
        }
    }
}

Header read_header(Bytes data) {
    Header header = read_tag_only(data);
    if (!header.error.empty()) {
        return header;
    }
    const std::string name = tag_text(header.tag);
    const Bytes rest = data.subspan(header.tag_size);
    if (rest.empty()) {
        return failed(header, header.tag_size, "the tag " + name + " has no length field");
    }
    header.length_size = 1;
    if (rest[0] < 0x80) {
        header.value_size = rest[0];
        return header;
    }
    const std::size_t count = rest[0] & 0x7F;
    if (count == 0) {
        return failed(
            header, header.tag_size,
            "the length 80 of " + name + " is the indefinite one, which card data do not have");
    }
    if (count + 1 > longest_length_field) {
        return failed(
            header, header.tag_size,
            "the length field of " + name + " says that it has " + byte_count(count) + " more");
    }
    if (count + 1 > rest.size()) {
        return failed(header, header.tag_size,
                      "the length field of " + name + " is not finished: the data end");
    }
    header.length_size = count + 1;
    header.value_size = static_cast<std::size_t>(big_endian(rest.subspan(1, count)));
    return header;
}

}  // namespace quorrin::decode
