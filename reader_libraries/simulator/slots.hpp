// The slots of the simulated reader: how the reader file calls them and how hosts address them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace quorrin::simulator {

struct SlotRow {
    std::string_view name;
    int code;            // power-on and exchange
    int power_off_code;  // power-off
};

// clang-format off
inline constexpr std::array slot_rows = {
    SlotRow{"contact",     0x01, 0x01},
    // Deliberate: the contactless slot is powered down under a code of its own, as hosts send it.
    SlotRow{"contactless", 0x31, 0x03},
    SlotRow{"further",     0x02, 0x02},
    SlotRow{"sam1",        0x11, 0x11},
    SlotRow{"sam2",        0x12, 0x12},
    SlotRow{"sam3",        0x13, 0x13},
    SlotRow{"sam4",        0x14, 0x14},
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

}  // namespace quorrin::simulator
