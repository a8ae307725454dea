#include "explain/calls.hpp"

#include "explain/elements_seen.hpp"
#include "explain/times.hpp"

namespace quorrin::explain {
namespace {

constexpr std::uint8_t get_response = 0xC0;

Call call_of(const trace::Entry& entry) {
    Call call;
    call.entry = &entry;
    call.lines = {entry.line};
    call.began = entry.began;
    call.ended = entry.began + entry.duration / 1000;
    call.duration = entry.duration;
    call.command = entry.command;
    call.answer = entry.answer;
    call.result = entry.result;
    call.result_name = entry.result_name;
    return call;
}

// ISO 7816-3, 10.3.1: what a T=0 host has to send to get the rest of an answer.
bool continues(const Call& before, const trace::Entry& entry) {
    if (!before.is_exchange() || entry.action != trace::Action::Exchange ||
        before.entry->slot_code != entry.slot_code || entry.command.size() < 4) {
        return false;
    }
    const unsigned sw1 = before.status() >> 8;
    if (sw1 == 0x61) {
        return entry.command.bytes[1] == get_response;
    }
    if (sw1 != 0x6C) {
        return false;
    }
    const auto& first = before.command.bytes;
    const auto& again = entry.command.bytes;
    return first.size() >= 4 && std::equal(first.begin(), first.begin() + 4, again.begin());
}

void extend(Call& call, const trace::Entry& entry) {
    const bool wrong_le = call.status() >> 8 == 0x6C;
    ++(wrong_le ? call.wrong_le : call.announced);
    trace::MaskedBytes whole = wrong_le ? trace::MaskedBytes{} : call.data();
    whole.bytes.insert(whole.bytes.end(), entry.answer.bytes.begin(), entry.answer.bytes.end());
    whole.mask.insert(whole.mask.end(), entry.answer.mask.begin(), entry.answer.mask.end());
    call.answer = std::move(whole);
    call.lines.push_back(entry.line);
    call.ended = entry.began + entry.duration / 1000;
    call.duration = sum(call.duration, entry.duration);
    call.result = entry.result;
    call.result_name = entry.result_name;
}

}  // namespace

unsigned Call::status() const {
    return has_status()
               ? static_cast<unsigned>(answer.bytes[answer.size() - 2] << 8 | answer.bytes.back())
               : 0;
}

trace::MaskedBytes Call::data() const {
    return part_of(answer, 0, has_status() ? answer.size() - 2 : answer.size());
}

trace::MaskedBytes Call::command_data() const {
    constexpr std::size_t header_and_count = 5;
    if (command.size() <= header_and_count) {
        return {};
    }
    return part_of(command, header_and_count, command.bytes[4]);
}

std::uint8_t Call::header(std::size_t index) const {
    return index < command.size() ? command.bytes[index] : std::uint8_t{0};
}

std::vector<Call> calls_of(const std::vector<const trace::Entry*>& entries) {
    std::vector<Call> calls;
    for (const trace::Entry* entry : entries) {
        if (!calls.empty() && continues(calls.back(), *entry)) {
            extend(calls.back(), *entry);
        } else {
            calls.push_back(call_of(*entry));
        }
    }
    return calls;
}

}  // namespace quorrin::explain
