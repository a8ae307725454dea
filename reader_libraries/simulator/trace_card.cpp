#include "reader_libraries/simulator/trace_card.hpp"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/simulator/test_digits.hpp"
#include "reader_libraries/slots.hpp"
#include "reader_libraries/trace/call_names.hpp"
#include "reader_libraries/trace/masking/command_rules.hpp"
#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::simulator {
namespace {

using trace::Action;
using trace::Entry;

const ByteString no_precise_diagnosis = {0x6F, 0x00};
const ByteString smallest_atr = {0x3B, 0x00};

// A masked digit of the recording stands for any.
bool is_recorded(std::span<const std::uint8_t> command, const trace::MaskedBytes& recorded) {
    if (command.size() != recorded.size()) {
        return false;
    }
    for (std::size_t i = 0; i < command.size(); ++i) {
        if (((command[i] ^ recorded.bytes[i]) & ~recorded.mask[i]) != 0) {
            return false;
        }
    }
    return true;
}

// A command in a complaint: its name and header. Its data stay out, they may be a PIN.
std::string shown(std::span<const std::uint8_t> command) {
    std::string text;
    if (const auto* rule = trace::find_command_rule(command)) {
        text = std::string(rule->name) + " ";
    }
    for (const std::uint8_t byte : command.first(std::min<std::size_t>(command.size(), 4))) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text + " of " + std::to_string(command.size()) + " bytes";
}

class TraceCard final : public CardDevice {
  public:
    TraceCard(std::filesystem::path file, std::string_view slot, std::vector<Entry> entries)
        : file_(std::move(file)), slot_(slot), entries_(std::move(entries)) {
        is_masked_ = std::ranges::any_of(
            entries_, [](const Entry& entry) { return entry.answer.is_masked(); });
        replace_masked_digits(entries_);
    }

    ByteString power_on() override {
        if (!is_next(Action::PowerOn)) {
            depart("the card was powered on");
            if (!go_to([](const Entry& entry) { return entry.action == Action::PowerOn; })) {
                return smallest_atr;
            }
        }
        const Entry& entry = entries_[next_++];
        if (entry.atr.empty()) {
            throw ReaderFailure(entry.result);
        }
        return entry.atr;
    }

    // Hosts may close the reader without it, and be recorded so.
    void power_off() override {
        if (is_next(Action::PowerOff)) {
            ++next_;
        } else if (is_next(Action::Exchange)) {
            depart("the card was powered down");
            go_to([](const Entry& entry) { return entry.action == Action::PowerOff; });
            next_ += is_next(Action::PowerOff) ? 1 : 0;
        }
    }

    ByteString transmit(std::span<const std::uint8_t> command) override {
        const auto is_it = [command](const Entry& entry) {
            return entry.action == Action::Exchange && is_recorded(command, entry.command);
        };
        if (next_ == entries_.size() || !is_it(entries_[next_])) {
            depart("the host sent " + shown(command) + first_difference(command));
            if (!go_to(is_it)) {
                return no_precise_diagnosis;
            }
        }
        const Entry& entry = entries_[next_++];
        if (entry.answer.empty()) {
            throw ReaderFailure(entry.result);
        }
        return entry.answer.bytes;
    }

  private:
    bool is_next(Action action) const {
        return next_ < entries_.size() && entries_[next_].action == action;
    }

    // The next entry of that kind, else the first one; false when there is none.
    template <typename Wanted>
    bool go_to(Wanted&& wanted) {
        const auto here = entries_.begin() + static_cast<std::ptrdiff_t>(next_);
        auto found = std::find_if(here, entries_.end(), wanted);
        if (found == entries_.end()) {
            found = std::find_if(entries_.begin(), here, wanted);
            if (found == here) {
                return false;
            }
        }
        next_ = static_cast<std::size_t>(found - entries_.begin());
        return true;
    }

    std::string first_difference(std::span<const std::uint8_t> command) const {
        if (!is_next(Action::Exchange)) {
            return {};
        }
        const trace::MaskedBytes& recorded = entries_[next_].command;
        const std::size_t common = std::min(command.size(), recorded.size());
        for (std::size_t i = 0; i < common; ++i) {
            if (((command[i] ^ recorded.bytes[i]) & ~recorded.mask[i]) != 0) {
                return ", other from byte " + std::to_string(i + 1) + " on";
            }
        }
        return ", other from byte " + std::to_string(common + 1) + " on";
    }

    std::string recorded_here() const {
        if (next_ == entries_.size()) {
            return "at its end";
        }
        const Entry& entry = entries_[next_];
        const std::string line = "at line " + std::to_string(entry.line) + ": recorded was ";
        switch (entry.action) {
            case Action::PowerOn:
                return line + "power-on";
            case Action::PowerOff:
                return line + "power-off";
            default:
                return line + shown(entry.command.bytes);
        }
    }

    // Only the first departure is said: what follows, follows from it.
    void depart(const std::string& what) {
        if (departed_) {
            return;
        }
        departed_ = true;
        std::fprintf(stderr, "libquorrin-simulator: %s: the host departs from %s %s; %s%s\n",
                     slot_.c_str(), file_.c_str(), recorded_here().c_str(), what.c_str(),
                     is_masked_ ? " (masked digits are answered as test digits)" : "");
    }

    std::filesystem::path file_;
    std::string slot_;
    std::vector<Entry> entries_;
    std::size_t next_ = 0;
    bool is_masked_ = false;
    bool departed_ = false;
};

// Calls that the simulated reader answers itself never come to a card.
bool reaches_card(const Entry& entry, std::size_t slot) {
    const bool is_of_cards = entry.action == Action::PowerOn || entry.action == Action::PowerOff ||
                             entry.action == Action::Exchange;
    if (!is_of_cards || !entry.slot_code ||
        trace::find_slot_row(entry.action, *entry.slot_code) != slot) {
        return false;
    }
    return entry.action != Action::Exchange || entry.command.size() >= 4;
}

}  // namespace

std::unique_ptr<CardDevice> load_trace_card(const std::filesystem::path& file, std::size_t slot) {
    trace::Trace trace = trace::read_trace(file);
    for (const trace::Problem& problem : trace.problems) {
        if (problem.line == 0) {
            throw ConfigurationMissing(file, 0, "", problem.reason);
        }
        if (problem.kind != trace::Problem::Kind::Truncated) {  // the host died there
            throw ConfigurationError(file, problem.line, "", problem.reason);
        }
    }
    std::erase_if(trace.entries, [slot](const Entry& entry) { return !reaches_card(entry, slot); });
    if (trace.entries.empty()) {
        throw ConfigurationError(
            file, 0, "", "shows nothing of the slot " + std::string(slots::slot_rows[slot].name));
    }
    return std::make_unique<TraceCard>(file, slots::slot_rows[slot].name, std::move(trace.entries));
}

}  // namespace quorrin::simulator
