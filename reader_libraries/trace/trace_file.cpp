#include "reader_libraries/trace/trace_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace quorrin::trace {
namespace {

// Deliberate: a pipe without a reader, or with a slow one, loses lines; the terminal never waits.
constexpr int open_flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr mode_t owner_only = 0600;

// Keeps the signals of a failing write (a pipe without reader, the limit of file sizes) from the
// host, which would die of them.
class WithoutWriteSignals {
  public:
    explicit WithoutWriteSignals(bool wanted) : wanted_(wanted) {
        if (wanted_) {
            sigemptyset(&signals_);
            sigaddset(&signals_, SIGPIPE);
            sigaddset(&signals_, SIGXFSZ);
            sigset_t pending;
            sigpending(&pending);
            was_pending_ =
                sigismember(&pending, SIGPIPE) == 1 || sigismember(&pending, SIGXFSZ) == 1;
            pthread_sigmask(SIG_BLOCK, &signals_, &before_);
        }
    }
    ~WithoutWriteSignals() {
        if (wanted_) {
            const int error = errno;
            const timespec at_once{};
            while (!was_pending_ && sigtimedwait(&signals_, nullptr, &at_once) > 0) {
            }
            pthread_sigmask(SIG_SETMASK, &before_, nullptr);
            errno = error;
        }
    }
    WithoutWriteSignals(const WithoutWriteSignals&) = delete;
    WithoutWriteSignals& operator=(const WithoutWriteSignals&) = delete;

  private:
    bool wanted_;
    bool was_pending_ = false;
    sigset_t signals_;
    sigset_t before_;
};

bool ends_without_newline(const char* path, const struct stat& status) {
    char last = '\n';
    if (S_ISREG(status.st_mode) && status.st_size > 0) {
        const int reading = open(path, O_RDONLY | O_CLOEXEC);
        if (reading >= 0) {
            if (pread(reading, &last, 1, status.st_size - 1) != 1) {
                last = '\n';
            }
            close(reading);
        }
    }
    return last != '\n';
}

}  // namespace

void TraceFile::open(const TraceFileSettings& settings) {
    if (file_ >= 0 || settings.path.empty()) {
        return;
    }
    rotate_at_ = settings.rotate_at;
    kept_ = settings.kept;
    const std::size_t size = std::min(settings.path.size(), path_.size() - 1);
    std::copy_n(settings.path.begin(), size, path_.begin());
    path_[size] = '\0';
    if (size > path_.size() - 16) {  // a number may follow
        complain("the trace cannot be written", ENAMETOOLONG);
        return;
    }
    open_now();
}

bool TraceFile::open_now() {
    file_ = ::open(path_.data(), open_flags, owner_only);
    struct stat status {};
    if (file_ < 0 || fstat(file_, &status) != 0) {
        complain("the trace cannot be written", errno);
        close();
        return false;
    }
    device_ = status.st_dev;
    inode_ = status.st_ino;
    rlimit limit{};
    can_raise_ = S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ||
                 getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
    // A line that a crash or a full disk cut short must not run into the first one written now.
    is_torn_ = ends_without_newline(path_.data(), status);
    return true;
}

void TraceFile::close() {
    if (file_ >= 0) {
        ::close(file_);
        file_ = -1;
    }
}

// A host that becomes a daemon may have closed our file, and opened another in its place.
bool TraceFile::is_still_ours(struct stat& now) const {
    return fstat(file_, &now) == 0 && now.st_dev == device_ && now.st_ino == inode_;
}

// FILE becomes FILE.1, FILE.1 becomes FILE.2 and so on. The lock is for other processes that rotate
// the same file; who does not get it goes on writing and tries again with the next line.
bool TraceFile::rotate(const struct stat& now) {
    if (!S_ISREG(now.st_mode) || flock(file_, LOCK_EX | LOCK_NB) != 0) {
        return true;
    }
    struct stat named {};
    const bool is_named =
        stat(path_.data(), &named) == 0 && named.st_dev == now.st_dev && named.st_ino == now.st_ino;
    for (unsigned number = is_named ? kept_ : 0; number > 0; --number) {
        char from[path_room + 16];
        char to[path_room + 16];
        std::snprintf(to, sizeof to, "%s.%u", path_.data(), number);
        std::snprintf(from, sizeof from, number > 1 ? "%s.%u" : "%s", path_.data(), number - 1);
        if (rename(from, to) != 0 && errno != ENOENT) {
            complain("the trace cannot be rotated and grows on", errno);
            rotate_at_ = 0;
            flock(file_, LOCK_UN);
            return true;
        }
    }
    close();  // and with it the lock
    return open_now();
}

void TraceFile::append(std::string_view line) {
    if (file_ < 0) {
        return;
    }
    struct stat now {};
    if (!is_still_ours(now)) {
        file_ = -1;
        if (!open_now()) {
            return;
        }
    }
    const auto is_full = [&] {
        return rotate_at_ != 0 && fstat(file_, &now) == 0 && now.st_size > 0 &&
               static_cast<std::uint64_t>(now.st_size) + line.size() > rotate_at_;
    };
    // Another process may have rotated already, and filled the new file.
    for (int attempt = 0; attempt < 2 && is_full(); ++attempt) {
        if (!rotate(now)) {
            return;
        }
    }
    write_line(line);
}

void TraceFile::write_line(std::string_view line) {
    char newline = '\n';
    iovec parts[] = {{&newline, 1}, {const_cast<char*>(line.data()), line.size()}};
    const std::size_t size = line.size() + (is_torn_ ? 1 : 0);
    const WithoutWriteSignals quiet(can_raise_);
    ssize_t written = 0;
    do {
        written = is_torn_ ? writev(file_, parts, 2) : write(file_, line.data(), line.size());
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        complain("lines of the trace are lost", errno);
    } else if (static_cast<std::size_t>(written) < size) {
        is_torn_ = is_torn_ || written > 0;
        complain("lines of the trace are lost", ENOSPC);
    } else {
        is_torn_ = false;
    }
}

void TraceFile::complain(const char* what, int error) {
    if (complained_) {
        return;
    }
    complained_ = true;
    char text[path_room + 256];
    char reason[128];
    const int size = std::snprintf(text, sizeof text, "libquorrin-trace: %s: %s: %s\n",
                                   path_.data(), what, strerror_r(error, reason, sizeof reason));
    if (size > 0) {
        const WithoutWriteSignals quiet(true);
        const ssize_t ignored =
            write(STDERR_FILENO, text, std::min(static_cast<std::size_t>(size), sizeof text - 1));
        static_cast<void>(ignored);
    }
}

}  // namespace quorrin::trace
