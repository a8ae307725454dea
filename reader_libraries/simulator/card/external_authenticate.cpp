#include <algorithm>

#include "cryptography/issuer_authentication.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

// 91: EMV book 2 section 8.2.
constexpr std::size_t shortest = 8;
constexpr std::size_t longest = 16;

// Card status update of method 2, EMV common core definitions.
constexpr std::uint8_t pin_tries_mask = 0x0F;     // byte 1
constexpr std::uint8_t block_card = 0x40;         // byte 2
constexpr std::uint8_t block_application = 0x20;  // byte 2
constexpr std::uint8_t update_pin_tries = 0x10;   // byte 2

void apply_status_update(ApplicationSession& session, std::span<const std::uint8_t> update) {
    if ((update[1] & block_card) != 0) {
        session.card_state.blocked = true;
    }
    if ((update[1] & block_application) != 0) {
        session.state.blocked = true;
    }
    if ((update[1] & update_pin_tries) != 0) {
        session.state.pin_tries =
            std::min<std::uint8_t>(update[0] & pin_tries_mask, session.application.pin_try_limit);
    }
}

}  // namespace

CardAnswer external_authenticate(ApplicationSession& session, const CardCommand& command) {
    if (command.parameters() != 0) {
        return StatusWord::WrongParameters;
    }
    if (session.stage != TransactionStage::Online ||
        session.issuer_authentication != CheckResult::NotPerformed) {
        return StatusWord::ConditionsNotSatisfied;
    }
    if (command.data.size() < shortest || command.data.size() > longest) {
        return StatusWord::WrongLength;
    }
    const auto method = session.card.arpc_method;
    if (!cryptography::issuer_authentication_holds(method, session.card.algorithm,
                                                   session.cryptogram_key(),
                                                   session.state.last_arqc, command.data)) {
        session.issuer_authentication = CheckResult::Wrong;
        return StatusWord::AuthenticationFailed;
    }
    session.issuer_authentication = CheckResult::Right;
    session.state.last_online_atc = session.state.atc;
    session.state.online_incomplete = false;
    if (method == cryptography::ArpcMethod::Method2) {
        apply_status_update(session, command.data.subspan(sizeof(cryptography::ShortMac)));
    }
    return StatusWord::Success;
}

}  // namespace quorrin::simulator
