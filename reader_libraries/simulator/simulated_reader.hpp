// The reader: its connection, its slots and what it reports about them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "reader_libraries/simulator/reader_file.hpp"

namespace quorrin::simulator {

// A file that cards were made from, as it was then.
struct SourceFile {
    std::filesystem::path path;  // absolute
    std::optional<std::string> content;
};

class SimulatedReader {
  public:
    static constexpr std::size_t name_room = 32;
    static constexpr std::size_t serial_room = 100;
    static constexpr std::size_t atr_room = 512;
    static constexpr std::size_t response_room = 1024;
    static constexpr std::size_t shortest_command = 4;
    static constexpr std::size_t longest_command = 261;

    // So many bare 61xx in a row, none with data, are a card that does not answer: hosts fetch for as
    // long as a card announces.
    static constexpr unsigned most_bare_announcements = 64;

    // The reader as the file says, or the built-in one. The cards stay as they are, with all that
    // happened to them, while the files say the same as at the last open. Throws ConfigurationError.
    std::int64_t open(const std::optional<std::filesystem::path>& file,
                      std::span<char, name_room> name);
    std::int64_t close();
    std::int64_t power_on(std::int64_t handle, int code, std::span<std::uint8_t, atr_room> atr);
    std::int64_t power_off(std::int64_t handle, int code);
    std::int64_t exchange(std::int64_t handle, int code, std::span<const std::uint8_t> command,
                          std::span<std::uint8_t, response_room> response);
    std::int64_t serial(std::int64_t handle, std::span<char, serial_room> serial) const;

  private:
    // A slot while the reader is open: what stands in front of its card, and whether it has power.
    struct Slot {
        std::unique_ptr<T0Framing> framing;
        std::unique_ptr<FaultInjection> front;  // null: the slot is empty
        bool powered = false;
        bool endless_chains = false;
        unsigned bare_announcements = 0;  // 61xx without data, since the chain's first command
    };
    // Throws ReaderFailure at the announcement that is one too many.
    static void end_endless_chain(Slot& slot, std::span<const std::uint8_t> command,
                                  std::span<const std::uint8_t> answer);
    bool setup_is_current(const std::optional<std::filesystem::path>& file) const;
    void load(const std::optional<std::filesystem::path>& file);
    std::int64_t check_handle(std::int64_t handle) const;
    std::int64_t find_card(std::int64_t handle, std::optional<std::size_t> index, Slot*& slot);
    static void cut_power(Slot& slot);

    std::optional<ReaderSetup> setup_;
    std::vector<SourceFile> sources_;  // what the setup was read from; none: the built-in one
    std::array<Slot, slot_count> slots_;
    std::int64_t handle_ = 0;  // of the open reader; 0 while it is closed
    std::int64_t last_handle_ = 0;
};

}  // namespace quorrin::simulator
