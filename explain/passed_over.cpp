#include "explain/passed_over.hpp"

#include <algorithm>
#include <map>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"

namespace quorrin::explain {
namespace {

constexpr unsigned not_found = 0x6A82;

std::string times_text(std::size_t times) {
    return times > 1 ? " (asked " + std::to_string(times) + " times)" : std::string();
}

std::string refused_names_text(unsigned status, std::size_t count) {
    if (status == not_found) {
        return std::to_string(count) + (count == 1 ? " application name" : " application names") +
               " unknown to this card";
    }
    const auto high = static_cast<std::uint8_t>(status >> 8);
    const auto low = static_cast<std::uint8_t>(status);
    const std::uint8_t word[] = {high, low};
    return (count == 1 ? "one name" : std::to_string(count) + " names") + " refused with " +
           decode::hex(word) + " (" + decode::status_word(high, low).meaning + "), went on";
}

}  // namespace

bool ended_something(const Visit& visit, const ToldCall& told) {
    const std::size_t line = told.call.lines.front();
    switch (told.kind) {
        case StepKind::ProcessingOptions:
        case StepKind::FirstCryptogram:
        case StepKind::IssuerAuthentication:
        case StepKind::SecondCryptogram:
            return true;           // nothing is meant to follow, whatever the host does
        case StepKind::Selection:  // the last name that was tried
            return visit.last_selected_line < line &&
                   visit.last(StepKind::Selection)->call.lines.front() == line;
        default:
            return visit.last_answered_line < line;
    }
}

bool finds_no_card(const Call& call) {
    constexpr std::int64_t no_card = -2;
    return call.entry->action == trace::Action::PowerOn && !call.entry->success &&
           call.result == no_card;
}

bool is_search(const ToldCall& told) {
    return told.call.is_exchange()
               ? told.kind == StepKind::Selection || told.kind == StepKind::Directory
               : finds_no_card(told.call);
}

std::vector<std::string> passed_over(const Visit& visit, std::span<const ToldCall> step) {
    std::vector<std::string> empty_slots;
    std::size_t times = 0;
    std::map<unsigned, std::size_t> refused;  // by status word
    for (const ToldCall& told : step) {
        if (!is_search(told) || ended_something(visit, told)) {
            continue;
        }
        if (!told.call.is_exchange()) {
            const std::string slot = slot_text(told.call);
            if (std::ranges::find(empty_slots, slot) == empty_slots.end()) {
                empty_slots.push_back(slot);
            }
            ++times;
        } else if (told.kind == StepKind::Selection && told.call.has_status() &&
                   told.call.status() != 0x9000 && told.call.status() != 0x6283) {
            ++refused[told.call.status()];
        }
    }
    std::vector<std::string> lines;
    if (!empty_slots.empty()) {
        lines.push_back("no card in the " + listed(empty_slots) +
                        (empty_slots.size() == 1 ? " slot" : " slots") +
                        times_text(times / empty_slots.size()) + ", went on");
    }
    for (const auto& [status, count] : refused) {
        lines.push_back(refused_names_text(status, count));
    }
    return lines;
}

std::string slot_text(const Call& call) {
    if (!call.entry->slot_name.empty()) {
        return call.entry->slot_name;
    }
    return call.entry->slot_code ? std::to_string(*call.entry->slot_code) : "reader's";
}

std::string listed(const std::vector<std::string>& things) {
    std::string text;
    for (std::size_t i = 0; i < things.size(); ++i) {
        text += i == 0 ? "" : i + 1 == things.size() ? " and " : ", ";
        text += things[i];
    }
    return text;
}

}  // namespace quorrin::explain
