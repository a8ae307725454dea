// Which digits of a command or an answer are masked.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "reader_libraries/trace/call.hpp"

namespace quorrin::trace {

class DigitMask {
  public:
    // Nothing masked, for that many bytes.
    void start(std::size_t size) {
        size_ = std::min(size, bits_.size());
        std::fill_n(bits_.begin(), size_, std::uint8_t{0});
    }

    // Whole bytes, both digits. What lies outside is passed over.
    void hide(std::size_t from, std::size_t to) {
        to = std::min(to, size_);
        for (std::size_t i = from; i < to; ++i) {
            bits_[i] = 0xFF;
        }
    }
    // Digit `index` counts from 0, two a byte.
    void hide_digit(std::size_t index) {
        if (index / 2 < size_) {
            bits_[index / 2] =
                static_cast<std::uint8_t>(bits_[index / 2] | (index % 2 == 0 ? 0xF0 : 0x0F));
        }
    }

    std::size_t size() const { return size_; }
    bool is_hidden(std::size_t index) const {
        return (bits_[index / 2] & (index % 2 == 0 ? 0xF0 : 0x0F)) != 0;
    }
    // A byte for each: F where a digit is masked.
    std::uint8_t operator[](std::size_t byte) const { return bits_[byte]; }
    const std::uint8_t* data() const { return bits_.data(); }

  private:
    std::array<std::uint8_t, response_room> bits_;
    std::size_t size_ = 0;
};

}  // namespace quorrin::trace
