#include "reader_libraries/trace/settings.hpp"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

namespace quorrin::trace {
namespace {

std::string_view variable(const char* name) {
    const char* value = secure_getenv(name);  // a privileged host does not write where others say
    return value == nullptr ? std::string_view{} : std::string_view{value};
}

// "500000", "64K", "10M", "1G"
std::optional<std::uint64_t> size_in_bytes(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
    const int shift = unit.empty()  ? 0
                      : unit == "K" ? 10
                      : unit == "M" ? 20
                      : unit == "G" ? 30
                                    : -1;
    if (error != std::errc{} || shift < 0 || value == 0 || value > (UINT64_MAX >> 31)) {
        return std::nullopt;
    }
    return value << shift;
}

}  // namespace

void say(const char* text, const char* about) {
    char line[512];
    const int size = std::snprintf(line, sizeof line, "libquorrin-trace: %s%s%s\n", about,
                                   *about == '\0' ? "" : ": ", text);
    if (size > 0) {
        const ssize_t ignored =
            write(STDERR_FILENO, line, std::min(static_cast<std::size_t>(size), sizeof line - 1));
        static_cast<void>(ignored);
    }
}

Settings read_settings() {
    Settings settings;
    settings.file.path = variable(file_variable);
    if (settings.file.path.empty()) {
        say("names no file, nothing is recorded", file_variable);
    }

    const std::string_view named = variable(terminal_variable);
    settings.terminal_size = std::min(named.size(), settings.terminal.size());
    std::copy_n(named.begin(), settings.terminal_size, settings.terminal.begin());
    if (named.empty()) {
        char host[256] = {};
        if (gethostname(host, sizeof host - 1) != 0 || host[0] == '\0') {
            std::strcpy(host, "unknown");
        }
        settings.terminal_size = std::min(std::strlen(host), settings.terminal.size());
        std::copy_n(host, settings.terminal_size, settings.terminal.begin());
    }

    const std::string_view clear = variable(clear_variable);
    settings.clear = clear == "1";
    if (!clear.empty() && clear != "0" && clear != "1") {
        say("is neither 0 nor 1, card data are masked", clear_variable);
    }

    const std::string_view rotate = variable(rotate_variable);
    if (!rotate.empty() && rotate != "0") {
        if (const auto size = size_in_bytes(rotate)) {
            settings.file.rotate_at = *size;
        } else {
            say("is no size such as 500000, 64K, 10M or 1G, the file is not rotated",
                rotate_variable);
        }
    }
    const std::string_view keep = variable(keep_variable);
    if (!keep.empty()) {
        unsigned kept = 0;
        const auto [end, error] = std::from_chars(keep.data(), keep.data() + keep.size(), kept);
        if (error == std::errc{} && end == keep.data() + keep.size() && kept >= 1 && kept <= 999) {
            settings.file.kept = kept;
        } else {
            say("is no number from 1 to 999, 9 files are kept", keep_variable);
        }
    }
    return settings;
}

}  // namespace quorrin::trace
