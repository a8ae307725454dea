#include "hosts/command/progress.hpp"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace quorrin::command {
namespace {

constexpr std::chrono::seconds patience{1};
constexpr std::chrono::milliseconds between_lines{200};

std::atomic<unsigned> exchanges = 0;
std::mutex mutex;  // for what follows, and for the line on the terminal
std::condition_variable ended;
bool is_over = true;
bool is_shown = false;
std::string task;
std::thread writer;

bool wants_progress() {
    const char* terminal = std::getenv("TERM");
    const bool is_dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    return isatty(STDERR_FILENO) != 0 && !is_dumb;
}

// A terminal that takes nothing is no reason to fail.
void put(const std::string& text) {
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text.data(), text.size());
}

void take_away() {
    if (is_shown) {
        put("\r\033[K");
        is_shown = false;
    }
}

void show_until_it_is_over() {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(mutex);
    auto wait = std::chrono::milliseconds(patience);
    while (!ended.wait_for(lock, wait, [] { return is_over; })) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
                                 std::chrono::steady_clock::now() - start)
                                 .count();
        std::string line = "\r" + task + ", " + std::to_string(seconds) + " s";
        if (const unsigned count = exchanges; count > 0) {
            line += ", " + std::to_string(count) + " exchanges";
        }
        put(line + " \033[K");
        is_shown = true;
        wait = between_lines;
    }
    take_away();
}

}  // namespace

Progress::Progress(std::string_view doing) {
    const std::lock_guard lock(mutex);
    if (!is_over || !wants_progress()) {
        return;
    }
    shows_ = true;
    is_over = false;
    exchanges = 0;
    task = doing;
    // Ctrl-C is the command's, not this thread's.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    writer = std::thread(show_until_it_is_over);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Progress::~Progress() {
    if (!shows_) {
        return;
    }
    {
        const std::lock_guard lock(mutex);
        is_over = true;
    }
    ended.notify_all();
    writer.join();
}

void count_exchange() {
    ++exchanges;
}

std::unique_lock<std::mutex> pause_progress() {
    std::unique_lock lock(mutex);
    take_away();
    return lock;
}

}  // namespace quorrin::command
