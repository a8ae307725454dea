#include "decode/input.hpp"

#include <algorithm>
#include <array>

namespace quorrin::decode {
namespace {

bool is_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

int hex_value(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

int base64_value(char c) {
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    // Both alphabets of RFC 4648.
    if (c == '+' || c == '-') {
        return 62;
    }
    return c == '/' || c == '_' ? 63 : -1;
}

Input failed(Encoding encoding, std::string why) {
    return {.bytes = {}, .encoding = encoding, .error = std::move(why)};
}

constexpr std::string_view odd_digits = "an odd number of hex digits";

std::string at(std::size_t position) {
    return " at character " + std::to_string(position + 1);
}

}  // namespace

Input read_hex(std::string_view text) {
    Input input{.bytes = {}, .encoding = Encoding::Hex, .error = {}};
    int high = -1;
    bool at_start_of_group = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (is_space(text[i])) {
            at_start_of_group = true;
            continue;
        }
        const bool prefix = at_start_of_group && high < 0 && text[i] == '0' &&
                            i + 1 < text.size() && (text[i + 1] | 0x20) == 'x';
        if (prefix) {
            ++i;
            at_start_of_group = false;
            continue;
        }
        // "0x6F,0x1A": as programs write arrays.
        if ((text[i] == ',' || text[i] == ':') && high < 0) {
            at_start_of_group = true;
            continue;
        }
        at_start_of_group = false;
        const int value = hex_value(text[i]);
        if (value < 0) {
            return failed(Encoding::Hex, "no hex digit" + at(i));
        }
        if (high < 0) {
            high = value;
        } else {
            input.bytes.push_back(static_cast<std::uint8_t>(high << 4 | value));
            high = -1;
        }
    }
    if (high >= 0) {
        return failed(Encoding::Hex, std::string(odd_digits));
    }
    return input;
}

Input read_base64(std::string_view text) {
    Input input{.bytes = {}, .encoding = Encoding::Base64, .error = {}};
    std::uint32_t bits = 0;
    unsigned count = 0;
    std::size_t padding = 0;
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (is_space(text[i])) {
            continue;
        }
        ++characters;
        if (text[i] == '=') {
            ++padding;
            continue;
        }
        const int value = base64_value(text[i]);
        if (value < 0 || padding > 0) {
            return failed(Encoding::Base64, "no base64 character" + at(i));
        }
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            input.bytes.push_back(static_cast<std::uint8_t>(bits >> count));
        }
    }
    const bool padded_wrong = padding > 2 || (padding > 0 && characters % 4 != 0);
    const bool has_rest = count >= 6 || (bits & ((1u << count) - 1)) != 0;
    if (padded_wrong || has_rest) {
        return failed(Encoding::Base64, "base64 that is not finished");
    }
    return input;
}

Input read_any(std::string_view data) {
    Input input = read_hex(data);
    // Hex of which a digit is missing may well be base64, but hardly anybody means that.
    if (input.error.empty() || input.error == odd_digits) {
        return input;
    }
    const bool is_text =
        std::ranges::all_of(data, [](char c) { return is_space(c) || (c >= 0x20 && c < 0x7F); });
    if (!is_text) {
        return {.bytes = {data.begin(), data.end()}, .encoding = Encoding::Binary, .error = {}};
    }
    Input base64 = read_base64(data);
    return base64.error.empty() ? base64 : input;
}

std::string_view encoding_name(Encoding encoding) {
    constexpr std::array<std::string_view, 3> names = {"hex", "base64", "binary"};
    return names[static_cast<std::size_t>(encoding)];
}

}  // namespace quorrin::decode
