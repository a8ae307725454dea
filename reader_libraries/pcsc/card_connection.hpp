// The card in one reader: power, and exchange of commands.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "reader_libraries/pcsc/service.hpp"

namespace quorrin::pcsc {

// Of an endless chain of 61xx answers without a byte of data this many are taken; then the card counts
// as one that does not answer (the library above follows such a chain without a limit).
inline constexpr unsigned longest_empty_chain = 64;

class CardConnection {
  public:
    static constexpr std::size_t atr_room = 512;
    static constexpr std::size_t response_room = 1024;

    // How power is given.
    struct PowerOn {
        bool shared;                // other programs may use the card too
        std::chrono::seconds wait;  // the most to wait for a program that holds the card
    };

    explicit CardConnection(const Service& service) : service_(service) {}

    // Powers the card up from cold (ISO 7816-3, 6.2.2). The length of the answer to reset where it
    // succeeds, which is at least 1.
    LONG power_on(const std::string& reader, const PowerOn& how,
                  std::span<std::uint8_t, atr_room> atr, std::size_t& length);

    // Powers the card down. What is not connected has no power.
    LONG power_off();

    // One command APDU. Allocates nothing.
    std::int64_t exchange(std::span<const std::uint8_t> command,
                          std::span<std::uint8_t, response_room> response);

    // An attribute of the reader, with or without a card; what a reader does not have is unsupported.
    LONG read_attribute(const std::string& reader, DWORD attribute, std::span<char> room,
                        std::size_t& length) const;

    // Whether a card is in the reader: the result is SCARD_S_SUCCESS or SCARD_E_NO_SMARTCARD, or why
    // nobody knows.
    LONG presence(const std::string& reader) const;

    [[nodiscard]] bool connected() const { return card_.has_value(); }

    // Lets go without a word to the service, which has forgotten the card.
    void forget() { card_.reset(); }

  private:
    LONG read_state(const std::string& reader, DWORD& state) const;
    LONG wait_for_card(const std::string& reader, const PowerOn& how) const;
    LONG connect_cold(const std::string& reader, const PowerOn& how);
    LONG restart(const PowerOn& how);
    std::int64_t failed_exchange(LONG result);
    void leave();

    const Service& service_;
    std::optional<SCARDHANDLE> card_;
    SCARD_IO_REQUEST protocol_{};
    std::string reader_;  // of the card
    unsigned empty_chain_ = 0;
};

}  // namespace quorrin::pcsc
