// Writes the lines of a trace (docs/traces.md) into a buffer of fixed size; allocates nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "reader_libraries/trace/call.hpp"
#include "reader_libraries/trace/masking/digit_mask.hpp"

namespace quorrin::trace {

inline constexpr std::size_t longest_identifier = 64;  // of terminals and sessions

// Longer than any line can become: the answer's digits, the command's, escaped texts, all else.
inline constexpr std::size_t line_room = 8192;

// Where calls are recorded.
struct Origin {
    std::string_view terminal;
    std::string_view session;
    std::int64_t process = 0;
};

struct Shown {
    bool masked = true;
    const DigitMask* command = nullptr;  // null: all digits are shown
    const DigitMask* answer = nullptr;
    std::span<const std::uint8_t> application = {};
};

class LineWriter {
  public:
    // One line with its newline; stays valid until the next.
    std::string_view line(const Call& call, const Origin& origin, std::uint64_t sequence,
                          const Shown& shown);

  private:
    void raw(std::string_view text);
    void name(std::string_view field);
    void text(std::string_view field, std::string_view value);
    void plain_text(std::string_view field, std::string_view value);  // needs no escapes
    void number(std::string_view field, std::int64_t value);
    void hex(std::string_view field, std::span<const std::uint8_t> bytes, const DigitMask* mask);
    void time(std::string_view field, std::int64_t microseconds);
    void slot(const Call& call);
    void exchange(const Call& call, const Shown& shown);

    std::array<char, line_room> buffer_;
    std::size_t size_ = 0;
};

}  // namespace quorrin::trace
