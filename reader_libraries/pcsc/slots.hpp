// The slots that hosts address, and how the configuration calls them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "quorrin/reader_library.h"

namespace quorrin::pcsc {

struct SlotRow {
    std::string_view key;  // in the configuration file
    const char* variable;  // in the environment
    int code;              // power-on and exchange
    int power_off_code;    // power-off
};

// clang-format off
inline constexpr std::array slot_rows = {
    SlotRow{"contact",     "QUORRIN_PCSC_CONTACT",     QUORRIN_SLOT_CONTACT, QUORRIN_SLOT_CONTACT},
    // Deliberate: the contactless slot is powered down under a code of its own, as hosts send it.
    SlotRow{"contactless", "QUORRIN_PCSC_CONTACTLESS", QUORRIN_SLOT_CONTACTLESS,
            QUORRIN_SLOT_CONTACTLESS_OFF},
    SlotRow{"mas",         "QUORRIN_PCSC_MAS",         QUORRIN_SLOT_FURTHER, QUORRIN_SLOT_FURTHER},
    SlotRow{"sam1",        "QUORRIN_PCSC_SAM1",        QUORRIN_SLOT_SAM1, QUORRIN_SLOT_SAM1},
    SlotRow{"sam2",        "QUORRIN_PCSC_SAM2",        QUORRIN_SLOT_SAM2, QUORRIN_SLOT_SAM2},
    SlotRow{"sam3",        "QUORRIN_PCSC_SAM3",        QUORRIN_SLOT_SAM3, QUORRIN_SLOT_SAM3},
    SlotRow{"sam4",        "QUORRIN_PCSC_SAM4",        QUORRIN_SLOT_SAM4, QUORRIN_SLOT_SAM4},
};
// clang-format on

inline constexpr std::size_t slot_count = slot_rows.size();

// Places in the table.
inline constexpr std::size_t contact_slot = 0;
inline constexpr std::size_t contactless_slot = 1;
inline constexpr std::size_t first_sam_slot = 3;
static_assert(slot_rows[contact_slot].key == "contact" &&
              slot_rows[contactless_slot].key == "contactless" &&
              slot_rows[first_sam_slot].key == "sam1");

constexpr std::optional<std::size_t> slot_of_code(int code) {
    for (std::size_t i = 0; i < slot_count; ++i) {
        if (slot_rows[i].code == code) {
            return i;
        }
    }
    return std::nullopt;
}

// A slot can be powered down under the code of its exchanges too.
constexpr std::optional<std::size_t> slot_of_power_off_code(int code) {
    for (std::size_t i = 0; i < slot_count; ++i) {
        if (slot_rows[i].power_off_code == code) {
            return i;
        }
    }
    return slot_of_code(code);
}

}  // namespace quorrin::pcsc
