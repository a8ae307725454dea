#include "hosts/command/output.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "hosts/command/progress.hpp"
#include "hosts/command/subcommand.hpp"
#include "hosts/command/wrapping.hpp"

namespace quorrin::command {
namespace {

constexpr const char* log_variable = "QT_LOGGING_RULES";
constexpr const char* silent = "default.debug=false";
std::optional<std::string> log_rules;
bool result_is_written = false;

}  // namespace

void survive_closed_pipes() {
    std::signal(SIGPIPE, SIG_IGN);
}

void put_result(std::string_view text) {
    const auto pause = pause_progress();
    result_is_written = true;
    while (!text.empty()) {
        const ssize_t count = write(STDOUT_FILENO, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EPIPE) {
            return;
        } else if (errno != EINTR) {
            throw Failed(std::string("the result cannot be written: ") + std::strerror(errno));
        }
    }
}

void put_text(std::string_view text) {
    put_result(wrapped(text, terminal_width()));
}

bool has_results() {
    return result_is_written;
}

bool wants_colour() {
    const char* no_colour = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool is_dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    return isatty(STDOUT_FILENO) != 0 && (no_colour == nullptr || *no_colour == '\0') && !is_dumb;
}

std::size_t terminal_width(int stream) {
    constexpr std::size_t narrowest = 40;
    winsize size = {};
    if (isatty(stream) == 0 || ioctl(stream, TIOCGWINSZ, &size) != 0 || size.ws_col < narrowest) {
        return unlimited;
    }
    return size.ws_col;
}

std::size_t output_width() {
    constexpr std::size_t of_a_file = 100;
    const std::size_t width = terminal_width();
    return width == unlimited ? of_a_file : width;
}

std::string in_red(const std::string& text) {
    return wants_colour() ? "\033[31m" + text + "\033[0m" : text;
}

std::string in_green(const std::string& text) {
    return wants_colour() ? "\033[32m" + text + "\033[0m" : text;
}

void keep_log_from_view(bool in_clear) {
    const char* const rules = std::getenv(log_variable);
    log_rules = rules != nullptr ? std::optional<std::string>(rules) : std::nullopt;
    if (in_clear && log_rules) {
        return;
    }
    // The last rule that fits counts.
    setenv(log_variable, log_rules ? (*log_rules + ";" + silent).c_str() : silent, 1);
}

void restore_log_rules() {
    if (log_rules) {
        setenv(log_variable, log_rules->c_str(), 1);
    } else {
        unsetenv(log_variable);
    }
}

}  // namespace quorrin::command
