// The diagnostic log: Qt's debug logger, category "default", without file, line or function.
// Nothing is formatted while that category's debug output is off.
#pragma once

#include <cstdint>

namespace quorrin::log {

// Logs a line formatted printf-style, at most 511 bytes of UTF-8. The finished text is data, never
// a format of its own: device names come from outside.
[[gnu::format(printf, 1, 2)]] void write_formatted(const char* format, ...) noexcept;

// Logs items separated by single spaces. An empty item still takes its separator.
void write_items(const char* first, const char* second) noexcept;
void write_items(const char* first, const char* second, std::int64_t third) noexcept;

}  // namespace quorrin::log
