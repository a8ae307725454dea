// Card kinds: the library's names for the reader's slots, with everything that differs between
// them.
#pragma once

#include <cstdint>

namespace quorrin {

struct CardKind {
    int number;
    int slot;            // slot code for power-on and exchange
    int power_off_slot;  // slot code for power-off
    const char* power_up_label;
    const char* power_down_label;
    const char* outgoing_label;
    const char* incoming_label;
};

// clang-format off
inline constexpr CardKind card_kinds[] = {
    {11, 0x01, 0x01, "PowerUp(CPU)",  "PowerDown(CPU)",  "DEV->CPU:", "CPU->DEV:"},
    {13, 0x02, 0x02, "PowerUp(MAS)",  "PowerDown(MAS)",  "DEV->MAS:", "MAS->DEV:"},
    // Deliberate: readers power the contactless slot down under a code of its own.
    {12, 0x31, 0x03, "PowerUp(MIF)",  "PowerDown(MIF)",  "DEV->MIF:", "MIF->DEV:"},
    { 1, 0x11, 0x11, "PowerUp(SAM1)", "PowerDown(SAM1)", "DEV->SAM:", "SAM->DEV:"},
    { 2, 0x12, 0x12, "PowerUp(SAM2)", "PowerDown(SAM2)", "DEV->SAM:", "SAM->DEV:"},
    { 3, 0x13, 0x13, "PowerUp(SAM3)", "PowerDown(SAM3)", "DEV->SAM:", "SAM->DEV:"},
    { 4, 0x14, 0x14, "PowerUp(SAM4)", "PowerDown(SAM4)", "DEV->SAM:", "SAM->DEV:"},
};
// clang-format on

inline constexpr int contact_card = 11;
inline constexpr int contactless_card = 12;

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
