// The real PC/SC service with virtual readers, started, stopped and killed as a test wants it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace quorrin::test {

// A pair of virtual readers, "NAME 00 00" and "NAME 00 01", at two ports in sequence.
struct ReaderPair {
    std::string name;
    std::uint16_t port;
};

class VirtualReaders {
  public:
    // Files go to the folder.
    explicit VirtualReaders(std::filesystem::path folder) : folder_(std::move(folder)) {}
    ~VirtualReaders() { stop(); }
    VirtualReaders(const VirtualReaders&) = delete;
    VirtualReaders& operator=(const VirtualReaders&) = delete;

    // What is missing on this machine, empty when nothing is.
    static std::string missing();

    // Starts the service and waits until it answers with all readers.
    bool start(const std::vector<ReaderPair>& pairs);

    void stop();  // as a machine does that shuts down
    void kill();  // as a crash does

    // What the service has said, to standard output.
    void print_log() const;

  private:
    void end_with(int signal);

    std::filesystem::path folder_;
    pid_t process_ = -1;
};

// Waits until the reader says that a card is in it, or none. False after the limit.
bool wait_for_card(const std::string& reader, bool present);

}  // namespace quorrin::test
