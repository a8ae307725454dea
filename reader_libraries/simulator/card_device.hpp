// The seam between the simulated reader and what sits in its slots. A card implements it; what
// disturbs the conversation (faults, T=0 framing) implements it too and is put in front of the
// card.
#pragma once

#include <cstdint>
#include <exception>
#include <span>
#include <vector>

namespace quorrin::simulator {

using ByteString = std::vector<std::uint8_t>;

class CardDevice {
  public:
    virtual ~CardDevice() = default;

    // Answer to reset (ISO 7816-3). The card starts a new session; an empty answer is a mute card.
    virtual ByteString power_on() = 0;
    virtual void power_off() = 0;

    // One command APDU (header; Lc and data, Le where present) and its whole answer: response data
    // and SW1 SW2. A card sees it as over T=1; 61xx and 6Cxx are made in front of it.
    virtual ByteString transmit(std::span<const std::uint8_t> command) = 0;
};

// Thrown by a device in place of an answer: what the reader reports, one of the device codes.
class ReaderFailure : public std::exception {
  public:
    explicit ReaderFailure(std::int64_t result) : result_(result) {}
    std::int64_t result() const noexcept { return result_; }
    const char* what() const noexcept override { return "reader failure"; }

  private:
    std::int64_t result_;
};

}  // namespace quorrin::simulator
