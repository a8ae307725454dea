// Card kinds: the library's names for the reader's slots, with everything that differs between
// them.
#pragma once

#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"

namespace quorrin {

struct CardKind {
    QuorrinCardKind number;
    QuorrinSlotCode slot;            // slot code for power-on and exchange
    QuorrinSlotCode power_off_slot;  // slot code for power-off
    const char* power_up_label;
    const char* power_down_label;
    const char* outgoing_label;
    const char* incoming_label;
};

// clang-format off
inline constexpr CardKind card_kinds[] = {
    {QUORRIN_CONTACT_CARD, QUORRIN_SLOT_CONTACT, QUORRIN_SLOT_CONTACT,
     "PowerUp(CPU)",  "PowerDown(CPU)",  "DEV->CPU:", "CPU->DEV:"},
    {QUORRIN_FURTHER_CARD, QUORRIN_SLOT_FURTHER, QUORRIN_SLOT_FURTHER,
     "PowerUp(MAS)",  "PowerDown(MAS)",  "DEV->MAS:", "MAS->DEV:"},
    // Deliberate: readers power the contactless slot down under a code of its own.
    {QUORRIN_CONTACTLESS_CARD, QUORRIN_SLOT_CONTACTLESS, QUORRIN_SLOT_CONTACTLESS_OFF,
     "PowerUp(MIF)",  "PowerDown(MIF)",  "DEV->MIF:", "MIF->DEV:"},
    {QUORRIN_SAM1, QUORRIN_SLOT_SAM1, QUORRIN_SLOT_SAM1,
     "PowerUp(SAM1)", "PowerDown(SAM1)", "DEV->SAM:", "SAM->DEV:"},
    {QUORRIN_SAM2, QUORRIN_SLOT_SAM2, QUORRIN_SLOT_SAM2,
     "PowerUp(SAM2)", "PowerDown(SAM2)", "DEV->SAM:", "SAM->DEV:"},
    {QUORRIN_SAM3, QUORRIN_SLOT_SAM3, QUORRIN_SLOT_SAM3,
     "PowerUp(SAM3)", "PowerDown(SAM3)", "DEV->SAM:", "SAM->DEV:"},
    {QUORRIN_SAM4, QUORRIN_SLOT_SAM4, QUORRIN_SLOT_SAM4,
     "PowerUp(SAM4)", "PowerDown(SAM4)", "DEV->SAM:", "SAM->DEV:"},
};
// clang-format on

// The row of a card kind, or null for a number that names none.
constexpr const CardKind* find_card_kind(int number) noexcept {
    for (const CardKind& kind : card_kinds) {
        if (kind.number == number) {
            return &kind;
        }
    }
    return nullptr;
}

}  // namespace quorrin
