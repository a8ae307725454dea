// Byte strings for tests: hex literals that refuse bad digits, and readable failures.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quorrin::test {

using ByteString = std::vector<std::uint8_t>;

// "9F02 06" and the like; spaces are ignored, anything but pairs of hex digits throws.
inline ByteString hex(std::string_view text) {
    const auto digit = [&](char c) -> std::uint8_t {
        const std::string_view digits = "0123456789ABCDEF";
        const auto value = digits.find(c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c);
        if (value == std::string_view::npos) {
            throw std::invalid_argument("not hex: " + std::string(text));
        }
        return static_cast<std::uint8_t>(value);
    };
    ByteString bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ') {
            continue;
        }
        if (high < 0) {
            high = digit(c);
        } else {
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit(c)));
            high = -1;
        }
    }
    if (high >= 0) {
        throw std::invalid_argument("odd number of hex digits: " + std::string(text));
    }
    return bytes;
}

inline std::string to_hex(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 0x0F];
    }
    return text;
}

inline ByteString text_bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

inline ByteString filled(std::size_t count, std::uint8_t value) {
    return ByteString(count, value);
}

template <typename... Parts>
ByteString join(const Parts&... parts) {
    ByteString joined;
    (joined.insert(joined.end(), parts.begin(), parts.end()), ...);
    return joined;
}

// Text and terminator, as a host's buffer holds them.
inline ByteString terminated(std::string_view text) {
    return join(text_bytes(text), ByteString{0});
}

}  // namespace quorrin::test
