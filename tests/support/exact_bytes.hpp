// Bytes without room to spare, for what is handed to the library.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "tests/support/bytes.hpp"

namespace quorrin::test {

// Bytes in a heap block of exactly their size, so that the sanitizers see any read beyond them.
class ExactBytes {
  public:
    explicit ExactBytes(const ByteString& bytes)
        : size_(bytes.size()), bytes_(std::make_unique<std::uint8_t[]>(bytes.size())) {
        std::copy(bytes.begin(), bytes.end(), bytes_.get());
    }
    std::uint8_t* data() const { return bytes_.get(); }
    std::size_t size() const { return size_; }
    std::uint8_t size8() const { return static_cast<std::uint8_t>(size_); }
    std::uint16_t size16() const { return static_cast<std::uint16_t>(size_); }

  private:
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

}  // namespace quorrin::test
