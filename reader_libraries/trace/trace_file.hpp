// The file that lines are appended to. Each line is one write(2) with O_APPEND: what was written stays
// when the process dies, and several processes can share a file. No failure here is the terminal's.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quorrin::trace {

struct TraceFileSettings {
    std::string_view path;        // empty: nothing is written
    std::uint64_t rotate_at = 0;  // bytes; 0: never
    unsigned kept = 9;            // FILE.1 (the latest) to FILE.n beside FILE
};

class TraceFile {
  public:
    TraceFile() = default;
    ~TraceFile() { close(); }
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    // Opens the file when it is not open. The first failure to record is said on standard error.
    void open(const TraceFileSettings& settings);
    void append(std::string_view line);
    void close();

  private:
    static constexpr std::size_t path_room = 4096;

    bool open_now();
    bool is_still_ours(struct stat& now) const;
    bool rotate(const struct stat& now);
    void write_line(std::string_view line);
    void complain(const char* what, int error);

    std::array<char, path_room> path_{};
    std::uint64_t rotate_at_ = 0;
    unsigned kept_ = 0;
    int file_ = -1;
    dev_t device_ = 0;  // of the open file, with the next
    ino_t inode_ = 0;
    bool is_torn_ =
        false;  // the last line was written in part: the next starts on a line of its own
    bool can_raise_ = false;  // writing can raise a signal
    bool complained_ = false;
};

}  // namespace quorrin::trace
