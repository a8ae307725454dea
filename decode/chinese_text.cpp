// Chinese names and places as cards and terminals in China write them: GB 18030, by some UTF-8.
#include <iconv.h>

#include <algorithm>

#include "decode/reading.hpp"

namespace quorrin::decode {
namespace {

bool is_ascii(Bytes bytes) {
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte < 0x80; });
}

// Nothing where the bytes are not of this encoding.
std::optional<std::string> converted(Bytes bytes, const char* encoding) {
    const iconv_t conversion = iconv_open("UTF-8", encoding);
    if (conversion == reinterpret_cast<iconv_t>(-1)) {
        return {};
    }
    std::string in(bytes.begin(), bytes.end());
    std::string out(4 * in.size() + 4, '\0');
    char* from = in.data();
    char* to = out.data();
    std::size_t in_left = in.size();
    std::size_t out_left = out.size();
    const bool failed =
        iconv(conversion, &from, &in_left, &to, &out_left) == static_cast<std::size_t>(-1);
    iconv_close(conversion);
    if (failed || in_left != 0) {
        return {};
    }
    out.resize(out.size() - out_left);
    return out;
}

// The common Chinese characters, U+4E00 to U+9FFF, in UTF-8: E4 B8 80 to E9 BF BF. At least two, and
// nothing else beside ASCII and full-width forms.
bool is_chinese(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<std::uint8_t>(text[i]);
        if (byte < 0x80) {
            ++i;
            continue;
        }
        const bool is_character = byte >= 0xE4 && byte <= 0xE9;
        const bool is_full_width = byte == 0xEF || byte == 0xE3;
        if (!is_character && !is_full_width) {
            return false;
        }
        count += is_character ? 1 : 0;
        i += 3;
    }
    return count >= 2;
}

}  // namespace

std::optional<ChineseText> chinese_text(Bytes bytes) {
    if (is_ascii(bytes)) {
        return {};
    }
    // Fillers at the end are no text.
    while (!bytes.empty() && (bytes.back() == 0x00 || bytes.back() == 0xFF)) {
        bytes = bytes.first(bytes.size() - 1);
    }
    for (const char* encoding : {"UTF-8", "GB18030"}) {
        auto text = converted(bytes, encoding);
        const bool has_controls = text && std::ranges::any_of(*text, [](unsigned char c) {
                                      return c < 0x20 || c == 0x7F;
                                  });
        if (text && !has_controls && is_chinese(*text)) {
            return ChineseText{std::move(*text),
                               encoding[0] == 'U' ? std::string_view("UTF-8") : "GB 18030"};
        }
    }
    return {};
}

}  // namespace quorrin::decode
