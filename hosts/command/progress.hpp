// How far a command is that takes longer than a second: one line on the terminal, which goes again.
#pragma once

#include <mutex>
#include <string_view>

namespace quorrin::command {

// While it lives, the line shows on standard error, where that is a terminal. One at a time: within
// the life of another it does nothing.
class Progress {
  public:
    // What is being done: "reading the trace".
    explicit Progress(std::string_view doing);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

  private:
    bool shows_ = false;
};

// One more exchange with the card: the line counts them.
void count_exchange();

// Takes the line away for something else that is written; it stays away as long as the lock is held.
std::unique_lock<std::mutex> pause_progress();

}  // namespace quorrin::command
