#include "explain/masking.hpp"

#include <algorithm>
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

void hide_masked(decode::Node& node, const trace::MaskedBytes& data, std::string_view words) {
    const std::size_t first = std::min(node.offset + node.header_size, data.size());
    const std::size_t end = std::min(node.offset + node.size, data.size());
    const auto is_masked = [&data](std::size_t from, std::size_t to) {
        return from < to && std::any_of(data.mask.begin() + static_cast<std::ptrdiff_t>(from),
                                        data.mask.begin() + static_cast<std::ptrdiff_t>(to),
                                        [](std::uint8_t mask) { return mask != 0; });
    };
    if (!is_masked(first, end)) {
        return;
    }
    // Bits of what is hidden, and parts told by a text without a place of their own, as those of tracks.
    const bool holds_objects =
        node.kind == decode::NodeKind::Root || node.kind == decode::NodeKind::Template;
    std::erase_if(node.children, [&](const decode::Node& child) {
        const bool is_text = !holds_objects && child.size == 0 && child.tag.empty();
        return is_text ||
               (child.kind == decode::NodeKind::Flag &&
                is_masked(child.offset, std::min(child.offset + child.size, data.size())));
    });
    for (decode::Node& child : node.children) {
        hide_masked(child, data, words);
    }
    if (holds_objects) {
        return;
    }
    if (node.value.size() == 2 * (end - first)) {
        for (std::size_t i = first; i < end; ++i) {
            const std::size_t at = 2 * (i - first);
            node.value[at] = (data.mask[i] & 0xF0) != 0 ? '*' : node.value[at];
            node.value[at + 1] = (data.mask[i] & 0x0F) != 0 ? '*' : node.value[at + 1];
        }
    }
    node.text = node.children.empty() ? words : "";
    node.text_says_all = node.children.empty();
    node.problems.clear();
}

}  // namespace quorrin::explain
