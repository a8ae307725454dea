// A card for tests of what stands in front of one: it answers as it is told and remembers what it
// was asked.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "reader_libraries/simulator/card_device.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::test {

class RecordedCard final : public simulator::CardDevice {
  public:
    ByteString atr = hex("3B 00");
    std::map<std::string, ByteString> answers;  // by command as hex text; 6D00 for any other
    std::vector<std::string> asked;             // commands as hex text, "on", "off"

    ByteString power_on() override {
        asked.emplace_back("on");
        return atr;
    }
    void power_off() override { asked.emplace_back("off"); }
    ByteString transmit(std::span<const std::uint8_t> command) override {
        asked.push_back(to_hex(command));
        const auto found = answers.find(asked.back());
        return found == answers.end() ? hex("6D 00") : found->second;
    }
};

inline ByteString numbered(std::size_t count) {
    ByteString bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    }
    return bytes;
}

}  // namespace quorrin::test
