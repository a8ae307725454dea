// An input as the targets read it: numbers and pieces from the front. Reading beyond the end gives
// zeros, so that every input is a valid one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace quorrin::fuzz {

using Bytes = std::span<const std::uint8_t>;

class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    std::uint8_t byte() {
        const Bytes taken = take(1);
        return taken.empty() ? std::uint8_t{0} : taken[0];
    }
    std::uint16_t number() {
        const std::uint8_t high = byte();
        return static_cast<std::uint16_t>(high << 8 | byte());
    }
    // At most this many bytes, fewer at the end of the input.
    Bytes take(std::size_t count) {
        const Bytes taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    // A piece behind its length in one byte.
    Bytes piece() { return take(byte()); }
    // The same as text without zero bytes.
    std::string text() {
        const Bytes taken = piece();
        return {taken.begin(), std::ranges::find(taken, 0)};
    }
    Bytes rest() { return take(rest_.size()); }
    bool at_end() const { return rest_.empty(); }

  private:
    Bytes rest_;
};

}  // namespace quorrin::fuzz
