// The slots of a reader: how reader files and traces call them and how hosts address them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "quorrin/reader_library.h"

namespace quorrin::slots {

struct SlotRow {
    std::string_view name;
    int code;            // power-on and exchange
    int power_off_code;  // power-off
};

// clang-format off
inline constexpr std::array slot_rows = {
    SlotRow{"contact",     QUORRIN_SLOT_CONTACT, QUORRIN_SLOT_CONTACT},
    // Deliberate: the contactless slot is powered down under a code of its own, as hosts send it.
    SlotRow{"contactless", QUORRIN_SLOT_CONTACTLESS, QUORRIN_SLOT_CONTACTLESS_OFF},
    SlotRow{"further",     QUORRIN_SLOT_FURTHER, QUORRIN_SLOT_FURTHER},
    SlotRow{"sam1",        QUORRIN_SLOT_SAM1, QUORRIN_SLOT_SAM1},
    SlotRow{"sam2",        QUORRIN_SLOT_SAM2, QUORRIN_SLOT_SAM2},
    SlotRow{"sam3",        QUORRIN_SLOT_SAM3, QUORRIN_SLOT_SAM3},
    SlotRow{"sam4",        QUORRIN_SLOT_SAM4, QUORRIN_SLOT_SAM4},
};
// clang-format on

inline constexpr std::size_t slot_count = slot_rows.size();

// The index of the row whose `field` has the value; nothing when there is none.
template <typename Value>
constexpr std::optional<std::size_t> find_slot(Value SlotRow::*field, const Value& value) {
    for (std::size_t i = 0; i < slot_count; ++i) {
        if (slot_rows[i].*field == value) {
            return i;
        }
    }
    return std::nullopt;
}

}  // namespace quorrin::slots
