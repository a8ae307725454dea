#include "hosts/command/output.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

#include "hosts/command/subcommand.hpp"

namespace quorrin::command {

void survive_closed_pipes() {
    std::signal(SIGPIPE, SIG_IGN);
}

void put_result(std::string_view text) {
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

bool wants_colour() {
    const char* no_colour = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool is_dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    return isatty(STDOUT_FILENO) != 0 && (no_colour == nullptr || *no_colour == '\0') && !is_dumb;
}

std::size_t output_width() {
    constexpr std::size_t of_a_file = 100;
    constexpr std::size_t narrowest = 40;
    winsize size = {};
    if (isatty(STDOUT_FILENO) == 0 || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 ||
        size.ws_col < narrowest) {
        return of_a_file;
    }
    return size.ws_col;
}

}  // namespace quorrin::command
