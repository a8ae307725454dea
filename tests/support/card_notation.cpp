#include "tests/support/card_notation.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace quorrin::test {
namespace {

ByteString length_field(std::size_t length) {
    const auto byte = [](std::size_t value) { return static_cast<std::uint8_t>(value); };
    if (length < 0x80) {
        return {byte(length)};
    }
    if (length < 0x100) {
        return {0x81, byte(length)};
    }
    if (length < 0x10000) {
        return {0x82, byte(length >> 8), byte(length & 0xFF)};
    }
    throw std::invalid_argument("value too long for a card");
}

class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    ByteString read() {
        ByteString bytes = sequence();
        if (!at_end()) {
            fail("']' without '['");
        }
        return bytes;
    }

  private:
    // Up to the end or a closing bracket.
    ByteString sequence() {
        ByteString bytes;
        for (; !at_end() && text_[at_] != ']';) {
            const char c = text_[at_];
            if (std::isspace(static_cast<unsigned char>(c)) != 0) {
                ++at_;
            } else if (c == '#') {
                at_ = std::min(text_.find('\n', at_), text_.size());
            } else if (c == '\'') {
                append(bytes, quoted());
            } else if (c == '[') {
                ++at_;
                const ByteString value = sequence();
                if (at_end()) {
                    fail("'[' without ']'");
                }
                ++at_;
                append(bytes, length_field(value.size()));
                append(bytes, value);
            } else if (c == '*') {
                ++at_;
                repeat_last(bytes);
            } else {
                append(bytes, hex(text_.substr(at_, 2)));
                at_ += 2;
            }
        }
        return bytes;
    }

    ByteString quoted() {
        const std::size_t start = at_ + 1;
        const std::size_t end = text_.find('\'', start);
        if (end == std::string_view::npos) {
            fail("text without an end");
        }
        at_ = end + 1;
        return text_bytes(text_.substr(start, end - start));
    }

    void repeat_last(ByteString& bytes) {
        std::size_t count = 0;
        const char* end = text_.data() + text_.size();
        const auto [stop, error] = std::from_chars(text_.data() + at_, end, count);
        if (error != std::errc{} || count == 0 || bytes.empty()) {
            fail("'*' needs a byte before it and a count after it");
        }
        at_ = static_cast<std::size_t>(stop - text_.data());
        bytes.insert(bytes.end(), count - 1, bytes.back());
    }

    static void append(ByteString& bytes, const ByteString& more) {
        bytes.insert(bytes.end(), more.begin(), more.end());
    }

    bool at_end() const { return at_ >= text_.size(); }

    [[noreturn]] void fail(const char* what) const {
        throw std::invalid_argument(std::string(what) + " in: " + std::string(text_));
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace

ByteString card_bytes(std::string_view text) {
    return Reader(text).read();
}

ByteString object(std::string_view tag, const ByteString& value) {
    return join(hex(tag), length_field(value.size()), value);
}

}  // namespace quorrin::test
