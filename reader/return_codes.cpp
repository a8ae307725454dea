// Translation of results and card status words into return codes and messages.

#include <cstdio>
#include <cstring>

#include "quorrin/quorrin.h"
#include "reader/diagnostic_log.hpp"
#include "reader/message_table.hpp"

namespace quorrin {
namespace {

constexpr std::uint8_t remaining_tries_mask = 0x0F;  // 63Cx: x tries left (ISO 7816-4)

bool last_command_succeeded() noexcept {
    return CARD_SW1 == 0x90 && CARD_SW2 == 0x00;
}

// The row of a code; code 0 stands for the last status word.
const MessageRow* find_row(std::int64_t result) noexcept {
    return result == QUORRIN_SUCCESS ? find_by_status_word(CARD_SW1, CARD_SW2)
                                     : find_by_code(result);
}

void report(std::int64_t logged_code, const char* message, char* text) noexcept {
    if (text != nullptr) {
        std::memcpy(text, message, std::strlen(message) + 1);
    }
    log::write_formatted("%d,返回信息:%s", static_cast<int>(logged_code), message);
}

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int64_t TransRetCode(std::int64_t code, char* text) {
    if (code == QUORRIN_SUCCESS && last_command_succeeded()) {
        return QUORRIN_SUCCESS;
    }
    if (code == QUORRIN_PIN_CHECK_FAILED) {
        char message[64];
        std::snprintf(message, sizeof message, "PIN校验失败，剩余次数%d次",
                      CARD_SW2 & remaining_tries_mask);
        report(code, message, text);
        return code;
    }
    const MessageRow* row = find_row(code);
    if (row == nullptr) {
        // Deliberate: the log shows 0 where the host gets -40000, which sets an unknown code apart
        // from an explicit -40000 in a host's log.
        report(0, "未知错误", text);
        return QUORRIN_UNKNOWN;
    }
    report(row->code, row->message, text);
    return row->code;
}

std::int64_t TransRetCodeNoMsg(std::int64_t code) {
    if (code == QUORRIN_SUCCESS && last_command_succeeded()) {
        return QUORRIN_SUCCESS;
    }
    const MessageRow* row = find_row(code);
    return row != nullptr ? row->code : std::int64_t{QUORRIN_UNKNOWN};
}
