#include "hosts/command/card_session.hpp"

#include <algorithm>
#include <array>

namespace quorrin::command {
namespace {

constexpr std::array slots = {
    SlotName{"contact", QUORRIN_CONTACT_CARD},
    SlotName{"contactless", QUORRIN_CONTACTLESS_CARD},
    SlotName{"further", QUORRIN_FURTHER_CARD},
    SlotName{"sam1", QUORRIN_SAM1},
    SlotName{"sam2", QUORRIN_SAM2},
    SlotName{"sam3", QUORRIN_SAM3},
    SlotName{"sam4", QUORRIN_SAM4},
};

}  // namespace

std::span<const SlotName> slot_names() {
    return slots;
}

std::string slot_name(int kind) {
    const auto* const row = std::ranges::find(slots, kind, &SlotName::kind);
    return row != slots.end() ? row->name : "?";
}

void add_card_options(CLI::App& command, CardOptions& options) {
    command
        .add_option(
            "--reader", options.reader,
            "Reader library: simulator[:FILE], pcsc[:NAME] or a path; without it PC/SC when a "
            "reader is there, else the simulator. FILE is a reader file, a card profile, a "
            "recording, or the name of a shipped card (credit, quick ...)")
        ->type_name("READER");
    std::vector<std::string> names;
    for (const SlotName& slot : slots) {
        names.emplace_back(slot.name);
    }
    command
        .add_option("--slot", options.slot,
                    "Slot: contact, contactless, further, sam1 to sam4; without it contact, then "
                    "contactless")
        ->check(CLI::IsMember(names))
        ->type_name("SLOT");
    command
        .add_option(
            "--trace", options.trace,
            "Record what goes on in this file, card data masked unless they are shown; what is "
            "there already stays, quorrin explain numbers the transactions")
        ->type_name("FILE");
}

void add_application_options(CLI::App& command, CardOptions& options) {
    add_card_options(command, options);
    command
        .add_option("--aid", options.aid,
                    "Application to select; without it the first of the card's directory")
        ->check([](const std::string& aid) {
            const bool is_hex =
                aid.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
            return is_hex && aid.size() % 2 == 0 && aid.size() >= 10 && aid.size() <= 32
                       ? std::string()
                       : "an AID has 5 to 16 bytes, in hex";
        })
        ->type_name("AID");
}

CardSession::Loaded::Loaded(const CardOptions& options, const Common& common) {
    load_backend({options.reader, options.slot, options.trace, common.show_sensitive});
    catch_interrupts();
}

CardSession::CardSession(const CardOptions& options, const Common& common)
    : loaded_(options, common) {
    const auto* const slot =
        std::ranges::find_if(slots, [&](const SlotName& row) { return options.slot == row.name; });
    card_.emplace(slot != slots.end() ? reader_.power_up(slot->kind)
                                      : reader_.find_card(host::Search::ContactFirst));
}

}  // namespace quorrin::command
