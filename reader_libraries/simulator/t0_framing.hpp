// A card as it looks over T=0 (EMV Book 1, 9.3.1; ISO 7816-3): response data are announced with 61xx
// and fetched with GET RESPONSE, a wrong Le is answered with 6Cxx.
#pragma once

#include <cstddef>

#include "reader_libraries/simulator/card_device.hpp"

namespace quorrin::simulator {

struct T0Settings {
    bool get_response = true;   // data are announced with 61xx
    std::size_t portion = 256;  // the most data that one GET RESPONSE gives, 1 to 256
    bool wrong_le = true;       // a command without data and with a wrong Le is answered with 6Cxx
};

class T0Framing final : public CardDevice {
  public:
    T0Framing(CardDevice& card, const T0Settings& settings) : card_(card), settings_(settings) {}

    ByteString power_on() override;
    void power_off() override;
    ByteString transmit(std::span<const std::uint8_t> command) override;

  private:
    ByteString with_full_le(std::span<const std::uint8_t> command) const;
    ByteString announce() const;
    ByteString next_portion(std::size_t wanted);
    void forget();

    CardDevice& card_;
    T0Settings settings_;
    ByteString waiting_;  // an answer, status word included, that the host has yet to fetch
    ByteString repeat_;  // header of the command that must come again with the right Le; else empty
};

}  // namespace quorrin::simulator
