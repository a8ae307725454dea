// The diagnostic log: Qt's debug logger, category "default", without file, line or function.
// Nothing is formatted while that category's debug output is off.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace quorrin::log {

bool enabled() noexcept;

// Logs a finished text. It is data, never a format of its own: device names come from outside.
void write(const char* text) noexcept;

// Logs items separated by single spaces. An empty item still takes its separator.
void write_items(const char* first, const char* second) noexcept;
void write_items(const char* first, const char* second, std::int64_t third) noexcept;

// Logs a line formatted printf-style into a buffer of Size bytes.
template <std::size_t Size, typename... Arguments>
void formatted(const char* format, Arguments... arguments) noexcept {
    if (!enabled()) {
        return;
    }
    char line[Size];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(line, sizeof line, format, arguments...);
#pragma GCC diagnostic pop
    write(line);
}

}  // namespace quorrin::log
