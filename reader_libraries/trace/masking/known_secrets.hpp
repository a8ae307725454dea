// What a card has shown of its account and holder, to find it again where no tag announces it.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>

#include "reader_libraries/trace/masking/digit_mask.hpp"

namespace quorrin::trace {

class KnownSecrets {
  public:
    // An account number in BCD, up to its end or to the first digit that is none (separator, filler).
    void learn_account(std::span<const std::uint8_t> packed);
    // A name or a number in text; trailing spaces do not count.
    void learn_text(std::span<const std::uint8_t> text);

    // Masks every appearance: an account number in BCD, at either digit of a byte, and in text; also
    // a long enough part of one, as in the data that keys are derived from.
    void hide_in(std::span<const std::uint8_t> data, DigitMask& mask) const;

  private:
    static constexpr std::size_t longest_account = 19;
    static constexpr std::size_t shortest_account = 12;
    static constexpr std::size_t part = 12;  // digits that are sought, from the start and the end
    static constexpr std::size_t longest_text = 45;
    static constexpr std::size_t shortest_text = 4;

    struct Text {
        std::array<std::uint8_t, longest_text> bytes{};
        std::size_t size = 0;
    };

    void hide_part(std::span<const std::uint8_t> data, std::size_t at, std::size_t from,
                   DigitMask& mask) const;
    template <typename DigitAt, typename Hide>
    void hide_around(std::size_t start, std::size_t from, std::size_t size,
                     DigitAt&& digit_at_place, Hide&& hide) const;
    void mark_starts();

    std::array<std::uint8_t, longest_account> account_{};  // a digit each
    std::size_t account_size_ = 0;
    std::array<Text, 3> texts_{};  // the latest
    std::size_t next_text_ = 0;
    std::bitset<65536> starts_;  // pairs of bytes that anything sought can start with
    bool any_ = false;
};

}  // namespace quorrin::trace
