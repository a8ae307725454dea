// An output buffer of an exact size on the heap (so that the sanitizers see any step outside it),
// filled with a pattern that shows what was written.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/bytes.hpp"

namespace quorrin::test {

class GuardedBuffer {
  public:
    static constexpr std::uint8_t pattern = 0xA5;

    explicit GuardedBuffer(std::size_t size)
        : size_(size), bytes_(std::make_unique<std::uint8_t[]>(size)) {
        std::fill_n(bytes_.get(), size_, pattern);
    }

    std::uint8_t* data() { return bytes_.get(); }
    char* text() { return reinterpret_cast<char*>(bytes_.get()); }
    std::size_t size() const { return size_; }
    ByteString first(std::size_t count) const { return {bytes_.get(), bytes_.get() + count}; }

    // Exactly these bytes were written at the start, and nothing beyond them.
    testing::AssertionResult holds(const ByteString& expected) const {
        ByteString whole = expected;
        if (whole.size() > size_) {
            return testing::AssertionFailure() << "expected more than the buffer holds";
        }
        whole.resize(size_, pattern);
        const ByteString actual = first(size_);
        if (actual == whole) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure()
               << "buffer holds " << to_hex(actual) << "\n    expected " << to_hex(whole);
    }
    testing::AssertionResult holds_text(std::string_view expected) const {
        return holds(text_bytes(expected));
    }
    testing::AssertionResult untouched() const { return holds({}); }

  private:
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

}  // namespace quorrin::test
