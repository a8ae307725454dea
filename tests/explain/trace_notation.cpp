#include "tests/explain/trace_notation.hpp"

#include <stdexcept>

namespace quorrin::test {
namespace {

constexpr std::int64_t pause_between = 3'000;  // microseconds
constexpr std::int64_t took = 2'000;

trace::MaskedBytes masked(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (c != ' ') {
            digits += c;
        }
    }
    const auto bytes = trace::masked_bytes(digits);
    if (!bytes) {
        throw std::invalid_argument("not hex: " + digits);
    }
    return *bytes;
}

// Lc before the data; masked digits in it stay.
std::string command_of_length(std::string_view header, std::string_view data) {
    const std::size_t size = masked(data).size();
    return std::string(header) + to_hex(ByteString{static_cast<std::uint8_t>(size)}) +
           std::string(data);
}

// Le after it.
std::string command(std::string_view header, std::string_view data) {
    return command_of_length(header, data) + "00";
}

}  // namespace

trace::Entry& TraceNotation::add(trace::Action action) {
    now_ += pause_between;
    trace::Entry entry;
    entry.line = trace_.entries.size() + 1;
    entry.timestamp = "2026-11-21T09:30:00.000000Z";
    entry.began = now_;
    entry.duration = took * 1000;
    entry.action = action;
    entry.sequence = static_cast<std::int64_t>(entry.line);
    entry.success = true;
    entry.masked = false;
    entry.terminal = "desk-4";
    entry.session = session_;
    entry.process = 4711;
    entry.result_name = "ok";
    now_ += took;
    trace_.entries.push_back(entry);
    return trace_.entries.back();
}

TraceNotation& TraceNotation::open() {
    trace::Entry& entry = add(trace::Action::Open);
    entry.result = 1;
    entry.reader_name = "A reader";
    return *this;
}

TraceNotation& TraceNotation::close() {
    add(trace::Action::Close);
    return *this;
}

TraceNotation& TraceNotation::power_on(std::int64_t result) {
    trace::Entry& entry = add(trace::Action::PowerOn);
    entry.slot_code = slot_;
    entry.slot_name = slot_ == 1 ? "contact" : "contactless";
    entry.result = result;
    entry.success = result > 0;
    entry.result_name = result > 0 ? "ok" : result == -2 ? "no_card" : "card_mute";
    if (result > 0) {
        entry.atr = hex("3B 65 00 00 31 32 33 34 35");
    }
    return *this;
}

TraceNotation& TraceNotation::power_off() {
    trace::Entry& entry = add(trace::Action::PowerOff);
    entry.slot_code = slot_ == 0x31 ? 0x03 : slot_;
    return *this;
}

TraceNotation& TraceNotation::exchange(std::string_view command, std::string_view answer) {
    trace::Entry& entry = add(trace::Action::Exchange);
    entry.slot_code = slot_;
    entry.slot_name = slot_ == 1 ? "contact" : "contactless";
    entry.command = masked(command);
    entry.answer = masked(answer);
    entry.masked = entry.command.is_masked() || entry.answer.is_masked();
    entry.result = static_cast<std::int64_t>(entry.answer.size());
    entry.success = entry.status() == 0x9000;
    return *this;
}

TraceNotation& TraceNotation::failure(std::string_view command, std::int64_t result) {
    exchange(command, "");
    trace::Entry& entry = trace_.entries.back();
    entry.result = result;
    entry.result_name = result == -2 ? "no_card" : "card_mute";
    entry.success = false;
    return *this;
}

TraceNotation& TraceNotation::slot(int code) {
    slot_ = code;
    return *this;
}

TraceNotation& TraceNotation::session(std::string_view name) {
    session_ = name;
    return *this;
}

TraceNotation& TraceNotation::pause(std::int64_t milliseconds) {
    now_ += milliseconds * 1000;
    return *this;
}

TraceNotation& TraceNotation::last_took(std::int64_t milliseconds) {
    trace_.entries.back().duration = milliseconds * 1'000'000;
    now_ += milliseconds * 1000 - took;
    return *this;
}

TraceNotation purchase(const CardWords& card, std::string_view terminal_data,
                       const BankWords& bank) {
    TraceNotation notation;
    notation.open().power_on();
    notation.exchange(command("00A40400", "A000000333010101"), card.fci);
    notation.exchange("80A80000 06 8304 F4000000 00", card.options);
    notation.exchange("00B2010C00", card.record);
    notation.exchange(command("80AE8000", terminal_data), card.cryptogram);
    notation.pause(800);
    if (!bank.authentication.empty()) {
        notation.exchange(command_of_length("00820000", bank.authentication), card.authentication);
    }
    if (!bank.asked.empty()) {
        notation.exchange(command("80AE" + bank.asked + "00", bank.data), bank.cryptogram);
    }
    notation.power_off().close();
    return notation;
}

}  // namespace quorrin::test
