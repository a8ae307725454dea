// What a trace calls things: actions and functions, results, slots.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "quorrin/device_codes.h"
#include "reader_libraries/slots.hpp"
#include "reader_libraries/trace/call.hpp"

namespace quorrin::trace {

struct ActionRow {
    std::string_view action;
    std::string_view function;
};

// In the order of the enumeration.
inline constexpr std::array action_rows = {
    ActionRow{"open", "ICC_Reader_Open"},
    ActionRow{"close", "ICC_Reader_Close"},
    ActionRow{"power_on", "ICC_Reader_PowerOn"},
    ActionRow{"power_off", "ICC_Reader_PowerOff"},
    ActionRow{"exchange", "ICC_Reader_Application"},
    ActionRow{"serial", "ICC_Reader_GetSerial"},
};
static_assert(action_rows[static_cast<std::size_t>(Action::Serial)].action == "serial");

constexpr const ActionRow& row_of(Action action) {
    return action_rows[static_cast<std::size_t>(action)];
}

constexpr std::optional<Action> find_action(std::string_view name) {
    for (std::size_t i = 0; i < action_rows.size(); ++i) {
        if (action_rows[i].action == name) {
            return static_cast<Action>(i);
        }
    }
    return std::nullopt;
}

struct ResultRow {
    std::int64_t result;
    std::string_view name;
};

inline constexpr std::array result_rows = {
    ResultRow{QUORRIN_WRONG_CARD_TYPE, "wrong_card_type"},
    ResultRow{QUORRIN_NO_CARD, "no_card"},
    ResultRow{QUORRIN_NOT_POWERED, "card_not_powered"},
    ResultRow{QUORRIN_CARD_MUTE, "card_mute"},
    ResultRow{QUORRIN_NO_READER_LIBRARY, "library_not_loaded"},
    ResultRow{QUORRIN_CONNECTION_ERROR, "connection_error"},
    ResultRow{QUORRIN_NOT_CONNECTED, "not_connected"},
    ResultRow{QUORRIN_NOT_SUPPORTED, "not_supported"},
    ResultRow{QUORRIN_BAD_PARAMETER, "bad_parameter"},
    ResultRow{QUORRIN_CHECK_ERROR, "check_error"},
};

// What a result means depends on what was asked: a handle, a length or plain success.
constexpr std::string_view result_name(Action action, std::int64_t result) {
    for (const ResultRow& row : result_rows) {
        if (row.result == result) {
            return row.name;
        }
    }
    const auto length = [result](std::int64_t least, std::size_t most) {
        return result < least                             ? "no_answer"
               : result > static_cast<std::int64_t>(most) ? "too_long"
                                                          : "ok";
    };
    if (result < 0) {
        return "other";
    }
    switch (action) {
        case Action::Open:
            return result > 0 ? "ok" : "no_answer";
        case Action::Close:
            return "ok";  // 0 or positive
        case Action::PowerOn:
            return length(1, atr_room);
        case Action::Exchange:
            return length(static_cast<std::int64_t>(status_word_size), response_room);
        case Action::PowerOff:
        case Action::Serial:
            break;
    }
    return result == 0 ? "ok" : "other";
}

// Nothing for a code that is none of a slot's.
constexpr std::optional<std::size_t> find_slot_row(Action action, int code) {
    using slots::SlotRow;
    return slots::find_slot(action == Action::PowerOff ? &SlotRow::power_off_code : &SlotRow::code,
                            code);
}

}  // namespace quorrin::trace
