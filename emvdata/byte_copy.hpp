// Copying and filling the few bytes that most data elements have, without a call: with memmove and
// memset alone a walk takes half as long again. Both look at the given bytes alone; a copy may
// overlap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quorrin {

namespace detail {

// Copies Size to 2 * Size bytes as two words that may overlap.
template <typename Word>
[[gnu::always_inline]] inline void copy_as_two_words(std::uint8_t* to, const std::uint8_t* from,
                                                     std::size_t count) {
    Word head;
    Word tail;
    std::memcpy(&head, from, sizeof head);
    std::memcpy(&tail, from + count - sizeof tail, sizeof tail);
    std::memcpy(to, &head, sizeof head);
    std::memcpy(to + count - sizeof tail, &tail, sizeof tail);
}

template <typename Word>
[[gnu::always_inline]] inline void fill_as_two_words(std::uint8_t* to, std::uint8_t byte,
                                                     std::size_t count) {
    Word word;
    std::memset(&word, byte, sizeof word);
    std::memcpy(to, &word, sizeof word);
    std::memcpy(to + count - sizeof word, &word, sizeof word);
}

// Longer runs leave to the C library what it does best. Not inline: told that a size is small, the
// compiler would write out a slow loop.
[[gnu::noinline]] inline void copy_run(std::uint8_t* to, const std::uint8_t* from,
                                       std::size_t count) {
    std::memmove(to, from, count);
}
[[gnu::noinline]] inline void fill_run(std::uint8_t* to, std::uint8_t byte, std::size_t count) {
    std::memset(to, byte, count);
}

inline constexpr std::size_t longest_short_run = 16;

}  // namespace detail

[[gnu::always_inline]] inline void copy_bytes(std::uint8_t* to, const std::uint8_t* from,
                                              std::size_t count) {
    if (count > detail::longest_short_run) {
        detail::copy_run(to, from, count);
    } else if (count >= 8) {
        detail::copy_as_two_words<std::uint64_t>(to, from, count);
    } else if (count >= 4) {
        detail::copy_as_two_words<std::uint32_t>(to, from, count);
    } else if (count >= 2) {
        detail::copy_as_two_words<std::uint16_t>(to, from, count);
    } else if (count == 1) {
        *to = *from;
    }
}

[[gnu::always_inline]] inline void fill_bytes(std::uint8_t* to, std::uint8_t byte,
                                              std::size_t count) {
    if (count > detail::longest_short_run) {
        detail::fill_run(to, byte, count);
    } else if (count >= 8) {
        detail::fill_as_two_words<std::uint64_t>(to, byte, count);
    } else if (count >= 4) {
        detail::fill_as_two_words<std::uint32_t>(to, byte, count);
    } else if (count >= 2) {
        detail::fill_as_two_words<std::uint16_t>(to, byte, count);
    } else if (count == 1) {
        *to = byte;
    }
}

}  // namespace quorrin
