#include "reader/card_step.hpp"

#include "quorrin/quorrin.h"

namespace quorrin {

std::int64_t send_to_card(std::int64_t handle, const CardCommand& command, CardAnswer& answer) {
    return IccComm(handle, EG_nUserCardType, command.cla, command.ins, command.p1, command.p2,
                   static_cast<std::int32_t>(command.data.size()), command.data.data(), command.le,
                   command.apdu_case, answer.bytes, &answer.length);
}

bool step_succeeded(std::int64_t result) {
    return result == CARD_STATUS && CARD_SW1 == 0x90 && CARD_SW2 == 0x00;
}

std::int64_t step_code(std::int64_t result) {
    return step_succeeded(result) ? 0 : TransRetCodeNoMsg(result);
}

std::int64_t card_step(std::int64_t handle, const CardCommand& command, CardAnswer& answer) {
    return step_code(send_to_card(handle, command, answer));
}

}  // namespace quorrin
