#include "reader/diagnostic_log.hpp"

#include <QLoggingCategory>
#include <QMessageLogger>
#include <cstdarg>
#include <cstdio>

namespace quorrin::log {
namespace {

constexpr std::size_t line_size = 512;

bool enabled() noexcept {
    const QLoggingCategory* category = QLoggingCategory::defaultCategory();
    return category != nullptr && category->isDebugEnabled();
}

// Texts are arguments of these few formats, which Qt reads as UTF-8 one by one. Nothing may cross
// the exported functions, not even what a host's message handler throws. (A QDebug stream would
// hand its line over in a destructor, where an exception ends the process.)
template <typename... Arguments>
void hand_over(const char* format, Arguments... arguments) noexcept {
    try {
        QMessageLogger(nullptr, 0, nullptr).debug(format, arguments...);
    } catch (...) {
    }
}

}  // namespace

void write_formatted(const char* format, ...) noexcept {
    if (!enabled()) {
        return;
    }
    char line[line_size];
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started just above
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    hand_over("%s", line);
}

void write_items(const char* first, const char* second) noexcept {
    if (enabled()) {
        hand_over("%s %s", first, second);
    }
}

void write_items(const char* first, const char* second, std::int64_t third) noexcept {
    if (enabled()) {
        hand_over("%s %s %lld", first, second, static_cast<long long>(third));
    }
}

}  // namespace quorrin::log
