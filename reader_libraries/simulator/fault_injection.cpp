#include "reader_libraries/simulator/fault_injection.hpp"

#include <algorithm>

namespace quorrin::simulator {

bool CommandPattern::matches(std::span<const std::uint8_t> command) const {
    if (command.size() < value.size()) {
        return false;
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
        if ((command[i] & mask[i]) != value[i]) {
            return false;
        }
    }
    return true;
}

FaultInjection::FaultInjection(CardDevice& card, const SlotFaults& faults)
    : card_(card), faults_(faults), seen_(faults.list.size(), 0) {}

bool FaultInjection::card_present() const {
    return !faults_.absent && (!faults_.removed_after || exchanges_ < *faults_.removed_after);
}

ByteString FaultInjection::power_on() {
    const Fault* fault = strike(FaultTrigger::Event::PowerOn, {});
    if (fault == nullptr) {
        return card_.power_on();
    }
    if (const auto* failure = std::get_if<ReaderResult>(&fault->effect)) {
        throw ReaderFailure(failure->result);
    }
    ByteString atr = card_.power_on();
    if (const auto* other = std::get_if<OtherAnswer>(&fault->effect)) {
        return other->bytes;
    }
    atr.resize(std::min(atr.size(), std::get<CutAnswer>(fault->effect).kept));
    return atr;
}

void FaultInjection::power_off() {
    card_.power_off();
}

ByteString FaultInjection::transmit(std::span<const std::uint8_t> command) {
    ++exchanges_;
    const Fault* fault = strike(FaultTrigger::Event::Exchange, command);
    if (fault == nullptr) {
        return card_.transmit(command);
    }
    if (const auto* cut = std::get_if<CutAnswer>(&fault->effect)) {
        ByteString answer = card_.transmit(command);
        answer.resize(std::min(answer.size(), cut->kept));
        return answer;
    }
    if (fault->executed) {
        card_.transmit(command);
    }
    if (const auto* failure = std::get_if<ReaderResult>(&fault->effect)) {
        throw ReaderFailure(failure->result);
    }
    return std::get<OtherAnswer>(fault->effect).bytes;
}

// Every fault counts what concerns it, also where an earlier one of the list strikes.
const Fault* FaultInjection::strike(FaultTrigger::Event event,
                                    std::span<const std::uint8_t> command) {
    const Fault* first = nullptr;
    for (std::size_t i = 0; i < faults_.list.size(); ++i) {
        const FaultTrigger& trigger = faults_.list[i].trigger;
        const bool powering = event == FaultTrigger::Event::PowerOn;
        if (powering != (trigger.event == FaultTrigger::Event::PowerOn) ||
            (trigger.event == FaultTrigger::Event::Command && !trigger.pattern.matches(command))) {
            continue;
        }
        const std::uint64_t number = ++seen_[i];
        const bool strikes =
            trigger.always ? number >= trigger.occurrence : number == trigger.occurrence;
        if (strikes && first == nullptr) {
            first = &faults_.list[i];
        }
    }
    return first;
}

}  // namespace quorrin::simulator
