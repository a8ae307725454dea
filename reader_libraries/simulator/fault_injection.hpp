// Faults between the reader and a card, as the reader file scripts them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "reader_libraries/simulator/card_device.hpp"

namespace quorrin::simulator {

// CLA INS P1 P2 with wildcards: a byte of the command matches when it agrees under the mask.
struct CommandPattern {
    std::array<std::uint8_t, 4> value{};
    std::array<std::uint8_t, 4> mask{};

    bool matches(std::span<const std::uint8_t> command) const;
};

// When a fault strikes. Occurrences count from 1, from the moment the reader is opened.
struct FaultTrigger {
    enum class Event { PowerOn, Exchange, Command };
    Event event = Event::Exchange;
    CommandPattern pattern;  // of Event::Command
    std::uint64_t occurrence = 1;
    bool always = false;  // from that occurrence on, not at it alone
};

struct ReaderResult {
    std::int64_t result;
};
// In place of the card's answer: a status word, any bytes, or an answer to reset.
struct OtherAnswer {
    ByteString bytes;
};
// The first bytes of the card's answer only, its status word counted.
struct CutAnswer {
    std::size_t kept;
};

struct Fault {
    FaultTrigger trigger;
    std::variant<ReaderResult, OtherAnswer, CutAnswer> effect;
    bool executed = false;  // the card carries the command out although its answer is lost
};

// What is wrong with one slot.
struct SlotFaults {
    bool absent = false;
    std::optional<std::uint64_t> removed_after = std::nullopt;  // exchanges
    bool endless_chains = false;   // the reader lets a card announce data for ever (61xx)
    std::vector<Fault> list = {};  // the first that strikes wins
};

class FaultInjection final : public CardDevice {
  public:
    FaultInjection(CardDevice& card, const SlotFaults& faults);

    // Whether the reader still sees a card; the reader asks before it does anything with the slot.
    bool card_present() const;

    ByteString power_on() override;
    void power_off() override;
    ByteString transmit(std::span<const std::uint8_t> command) override;

  private:
    const Fault* strike(FaultTrigger::Event event, std::span<const std::uint8_t> command);

    CardDevice& card_;
    const SlotFaults& faults_;
    std::vector<std::uint64_t> seen_;  // occurrences by fault
    std::uint64_t exchanges_ = 0;
};

}  // namespace quorrin::simulator
