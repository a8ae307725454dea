// The reader as hosts see it: one connection, seven slots, each served by a PC/SC reader or by none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "reader_libraries/pcsc/card_connection.hpp"
#include "reader_libraries/pcsc/service.hpp"
#include "reader_libraries/pcsc/settings.hpp"

namespace quorrin::pcsc {

class PcscReader {
  public:
    static constexpr std::size_t name_room = 32;
    static constexpr std::size_t serial_room = 100;
    static constexpr std::size_t shortest_command = 4;
    static constexpr std::size_t longest_command = 261;

    explicit PcscReader(const PcscFunctions& functions) : service_(functions) {}

    // Throws ConfigurationError.
    std::int64_t open(std::span<char, name_room> name);
    std::int64_t close();
    std::int64_t power_on(std::int64_t handle, int code,
                          std::span<std::uint8_t, CardConnection::atr_room> atr);
    std::int64_t power_off(std::int64_t handle, int code);
    std::int64_t exchange(std::int64_t handle, int code, std::span<const std::uint8_t> command,
                          std::span<std::uint8_t, CardConnection::response_room> response);
    std::int64_t serial(std::int64_t handle, std::span<char, serial_room> serial);

  private:
    struct Slot {
        CardConnection card;
        std::string reader = {};  // empty: none
        SlotChoice choice = SlotChoice::NoReader;
    };

    std::int64_t find_slot(std::int64_t handle, std::optional<std::size_t> index, Slot*& slot);
    std::optional<FailedStep> update_readers();
    template <typename Call>
    LONG with_recovery(Call&& call);
    LONG power_on(Slot& slot, std::span<std::uint8_t, CardConnection::atr_room> atr,
                  std::size_t& length);
    [[nodiscard]] bool any_card_connected() const;
    [[nodiscard]] const std::string* main_reader() const;

    Service service_;
    Settings settings_;
    std::vector<Slot> slots_{slot_count, Slot{CardConnection(service_)}};
    std::int64_t handle_ = 0;  // of the open reader; 0 while it is closed
    std::int64_t last_handle_ = 0;
};

}  // namespace quorrin::pcsc
