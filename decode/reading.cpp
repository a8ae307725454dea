#include "decode/reading.hpp"

#include <algorithm>

#include "decode/secrets.hpp"

namespace quorrin::decode {

Node& add(const Reading& reading, Node& parent, NodeKind kind, std::string label, Value value) {
    Node node;
    node.kind = kind;
    node.label = std::move(label);
    node.offset = value.offset;
    node.size = value.size();
    node.value =
        open_hex(reading, value.bytes,
                 kind == NodeKind::Unreadable ? Suspicion::LooksLikeOne : Suspicion::KnownNumbers);
    return parent.children.emplace_back(std::move(node));
}

Node& add_field(const Reading& reading, Node& parent, std::string label, Value value,
                std::string text) {
    Node& node = add(reading, parent, NodeKind::Field, std::move(label), value);
    node.text = std::move(text);
    return node;
}

void add_problem(Node& node, std::size_t offset, std::string text, Problem::Kind kind) {
    // Row and teller may find the same fault.
    const bool is_told = std::ranges::any_of(node.problems, [&](const Problem& problem) {
        return problem.offset == offset && problem.text == text;
    });
    if (!is_told) {
        node.problems.push_back({offset, std::move(text), kind});
    }
}

Node& add_unreadable(const Reading& reading, Node& parent, Value value, std::string why) {
    Node& node = add(reading, parent, NodeKind::Unreadable, "Not understood", value);
    add_problem(node, value.offset, std::move(why));
    return node;
}

namespace {

std::string bit_position(std::uint8_t byte, std::uint8_t mask, std::size_t bytes) {
    unsigned low = 1;
    while (((mask >> (low - 1)) & 1) == 0) {
        ++low;
    }
    unsigned high = 8;
    while (((mask >> (high - 1)) & 1) == 0) {
        --high;
    }
    std::string text = bytes > 1 ? "byte " + decimal(byte) + " " : "";
    if (low == high) {
        return text + "bit " + decimal(low);
    }
    return text + "bits " + decimal(high) + "-" + decimal(low);
}

void add_flag(std::uint8_t byte, std::uint8_t mask, Value value, std::string_view text,
              Node& node) {
    Node flag;
    flag.kind = NodeKind::Flag;
    flag.label = bit_position(byte, mask, value.size());
    flag.offset = value.offset + byte - 1;
    flag.size = 1;
    flag.text = text;
    node.children.push_back(std::move(flag));
}

}  // namespace

void add_flags(std::span<const BitRow> rows, Value value, Node& node) {
    for (std::size_t i = 0; i < value.size(); ++i) {
        const auto byte = static_cast<std::uint8_t>(i + 1);
        const std::uint8_t bits = value[i];
        std::uint8_t told = 0;
        for (const BitRow& row : rows) {
            if (row.byte == byte && (bits & row.mask) == row.value) {
                told = static_cast<std::uint8_t>(told | row.mask);
                add_flag(byte, row.mask, value, row.text, node);
            }
        }
        for (unsigned number = 8; number >= 1; --number) {
            const auto mask = static_cast<std::uint8_t>(1u << (number - 1));
            if ((bits & mask) != 0 && (told & mask) == 0) {
                add_flag(byte, mask, value, "reserved", node);
            }
        }
    }
    if (node.children.empty() && !value.empty() && node.text.empty()) {
        node.text = "none set";
    }
}

std::string_view code_meaning(std::span<const CodeRow> rows, std::uint8_t code) {
    const auto row = std::ranges::find(rows, code, &CodeRow::code);
    return row != rows.end() ? row->text : std::string_view();
}

bool expect_size(Value value, std::size_t size, Node& node) {
    if (value.size() == size) {
        return true;
    }
    add_problem(node, value.offset,
                "has " + byte_count(value.size()) + ", should have " + decimal(size));
    return false;
}

std::string hex(Bytes bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 0x0F];
    }
    return text;
}

std::string tag_text(std::uint32_t tag) {
    std::uint8_t bytes[4];
    std::size_t first = 3;
    for (std::size_t i = 4; i-- > 0;) {
        bytes[i] = static_cast<std::uint8_t>(tag >> (8 * (3 - i)));
        first = bytes[i] != 0 ? i : first;
    }
    return hex(Bytes(bytes).subspan(first));
}

bool tag_is_constructed(std::uint32_t tag) {
    while (tag > 0xFF) {
        tag >>= 8;
    }
    return (tag & 0x20) != 0;
}

std::string decimal(std::uint64_t number) {
    return std::to_string(number);
}

std::string byte_count(std::size_t count) {
    return decimal(count) + (count == 1 ? " byte" : " bytes");
}

std::uint64_t big_endian(Bytes bytes) {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bytes) {
        number = number << 8 | byte;
    }
    return number;
}

bool is_digits(Bytes bytes) {
    return std::ranges::all_of(
        bytes, [](std::uint8_t byte) { return (byte >> 4) < 10 && (byte & 0x0F) < 10; });
}

std::uint64_t bcd_number(Bytes bytes) {
    constexpr std::size_t most = 9;
    if (bytes.size() > most) {
        return 0;
    }
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bytes) {
        number = 100 * number + 10u * (byte >> 4) + (byte & 0x0Fu);
    }
    return number;
}

bool is_printable(Bytes bytes) {
    return !bytes.empty() && std::ranges::all_of(bytes, [](std::uint8_t byte) {
        return byte >= 0x20 && byte < 0x7F;
    });
}

std::string characters(Bytes bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (byte < 0x20 || (byte >= 0x7F && byte < 0xA0)) {
            text += '.';
        } else if (byte < 0x80) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

std::string quoted(Bytes bytes) {
    return "\"" + characters(bytes) + "\"";
}

}  // namespace quorrin::decode
