#include "reader_libraries/simulator/card/element_notation.hpp"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>

namespace quorrin::simulator {
namespace {

constexpr std::string_view hex_digits = "0123456789ABCDEF";
constexpr std::size_t longest_value = 1024;  // far more than any card answers at once

std::uint8_t nibble(char c) {
    const char upper = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    const auto value = hex_digits.find(upper);
    if (value == std::string_view::npos) {
        throw std::invalid_argument(std::string("'") + c + "' is no hex digit");
    }
    return static_cast<std::uint8_t>(value);
}

void append_hex(ByteString& bytes, std::string_view text) {
    if (text.size() % 2 != 0) {
        throw std::invalid_argument("odd number of hex digits in " + std::string(text));
    }
    for (std::size_t i = 0; i < text.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(nibble(text[i]) << 4 | nibble(text[i + 1])));
    }
}

void append_repeated(ByteString& bytes, std::string_view byte, std::string_view count_text) {
    ByteString repeated;
    append_hex(repeated, byte);
    std::size_t count = 0;
    const auto* const end = count_text.data() + count_text.size();
    const auto [stop, error] = std::from_chars(count_text.data(), end, count);
    if (repeated.size() != 1 || error != std::errc{} || stop != end || count > longest_value) {
        throw std::invalid_argument("a repetition is a byte, * and a count: 00*12");
    }
    bytes.insert(bytes.end(), count, repeated[0]);
}

// Joins the groups of hex digits up to the next text or repetition.
class ByteReader {
  public:
    void group(std::string_view word) { digits_ += word; }
    void repetition(std::string_view byte, std::string_view count) {
        finish_digits();
        append_repeated(bytes_, byte, count);
    }
    void text(std::string_view characters) {
        finish_digits();
        bytes_.insert(bytes_.end(), characters.begin(), characters.end());
    }
    ByteString finished() {
        finish_digits();
        if (bytes_.size() > longest_value) {
            throw std::invalid_argument("more than 1024 bytes");
        }
        return std::move(bytes_);
    }

  private:
    void finish_digits() {
        append_hex(bytes_, digits_);
        digits_.clear();
    }

    ByteString bytes_;
    std::string digits_;
};

// What stands before the next space, which goes too.
std::string_view take_word(std::string_view& text) {
    const auto end = std::min(text.find(' '), text.size());
    const auto word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

std::string_view take_first_word(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return take_word(text);
}

}  // namespace

ByteString parse_bytes(std::string_view text) {
    ByteReader reader;
    while (!text.empty()) {
        if (text.front() == '\'') {
            const auto end = text.find('\'', 1);
            if (end == std::string_view::npos) {
                throw std::invalid_argument("a quoted text without its closing quote");
            }
            reader.text(text.substr(1, end - 1));
            text.remove_prefix(end + 1);
            continue;
        }
        const auto word = take_word(text);
        const auto star = word.find('*');
        if (star == std::string_view::npos) {
            reader.group(word);
        } else {
            reader.repetition(word.substr(0, star), word.substr(star + 1));
        }
    }
    return reader.finished();
}

Tag parse_tag(std::string_view text) {
    ByteString bytes;
    append_hex(bytes, text);
    std::span<const std::uint8_t> rest = bytes;
    const auto tag = take_tag(rest);
    if (!tag || !rest.empty() || *tag == 0) {
        throw std::invalid_argument("'" + std::string(text) + "' is no tag");
    }
    return *tag;
}

Element parse_element(std::string_view text) {
    const auto tag = take_first_word(text);
    return {parse_tag(tag), parse_bytes(text)};
}

ByteString parse_encoded_element(std::string_view text) {
    std::string_view rest = text;
    if (take_first_word(rest) == "pad") {
        return parse_bytes(rest);
    }
    const Element element = parse_element(text);
    return data_object(element.tag, element.value);
}

std::string hex_text(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += hex_digits[byte >> 4];
        text += hex_digits[byte & 0x0F];
    }
    return text;
}

}  // namespace quorrin::simulator
