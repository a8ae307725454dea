// What the simulated reader is given besides a reader file of the person's own: one card, in one slot.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quorrin::command {

// The reader file with one card; key says what stands in the file: "profile" or "trace".
std::string one_card(std::string_view slot, std::string_view key,
                     const std::filesystem::path& file);

// A reader file in memory: it goes with the program, or with the host that takes its place, however that
// ends.
class MemoryFile {
  public:
    explicit MemoryFile(std::string_view text);  // throws Failed
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile();
    std::string path() const;

  private:
    int file_;
};

// The reader file for what a person names after "simulator:". That is a reader file; or, put into the
// slot alone, a card profile, a recording, or a shipped card by its name ("credit"). Throws Failed where
// there is no such file nor card.
std::string reader_file_for(const std::string& named, std::string_view slot);

}  // namespace quorrin::command
