#include "explain/masking.hpp"

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "reader_libraries/trace/masking/card_masking.hpp"

namespace quorrin::explain {
namespace {

void hide(trace::MaskedBytes& data, const trace::DigitMask& mask) {
    for (std::size_t i = 0; i < data.size() && i < mask.size(); ++i) {
        data.mask[i] = static_cast<std::uint8_t>(data.mask[i] | mask[i]);
        data.bytes[i] = static_cast<std::uint8_t>(data.bytes[i] & ~data.mask[i]);
    }
}

}  // namespace

trace::Trace masked(trace::Trace trace) {
    // The cards of a reader share what they have shown, each slot has its own conversation.
    std::map<std::string, trace::KnownSecrets> secrets;
    std::map<std::pair<std::string, int>, std::unique_ptr<trace::CardMasking>> cards;
    trace::DigitMask command_mask;
    trace::DigitMask answer_mask;
    for (trace::Entry& entry : trace.entries) {
        if (entry.masked) {
            continue;
        }
        const std::string reader = entry.terminal + '\n' + std::to_string(entry.process);
        auto& card = cards[{reader, entry.slot_code.value_or(0)}];
        if (card == nullptr) {
            card = std::make_unique<trace::CardMasking>();
        }
        if (entry.action == trace::Action::PowerOn) {
            card->power_on();
        } else if (entry.action == trace::Action::Exchange) {
            card->exchange(entry.command.bytes, entry.answer.bytes, secrets[reader], command_mask,
                           answer_mask);
            hide(entry.command, command_mask);
            hide(entry.answer, answer_mask);
        }
    }
    return trace;
}

}  // namespace quorrin::explain
