#include <algorithm>

#include "cryptography/issuer_authentication.hpp"
#include "reader_libraries/simulator/card/card_risk_management.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"
#include "reader_libraries/simulator/card/transaction_log.hpp"
#include "reader_libraries/simulator/card/verification_results.hpp"

namespace quorrin::simulator {
namespace {

// 91: EMV book 2 section 8.2.
constexpr std::size_t shortest_authentication = 8;
constexpr std::size_t longest_authentication = 16;

// Card status update of method 2, EMV common core definitions.
constexpr std::uint8_t pin_tries_mask = 0x0F;     // byte 1
constexpr std::uint8_t block_card = 0x40;         // byte 2
constexpr std::uint8_t block_application = 0x20;  // byte 2
constexpr std::uint8_t issuer_approves = 0x80;    // byte 2
constexpr std::uint8_t update_pin_tries = 0x10;   // byte 2
constexpr std::uint8_t go_online_next = 0x08;     // byte 2
constexpr std::uint8_t counters_mask = 0x03;      // byte 2; 0 leaves them as they are
constexpr std::uint8_t exhaust_counters = 0x01;
constexpr std::uint8_t reset_counters = 0x02;
constexpr std::uint8_t count_transaction = 0x03;

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
    session.issuer_rules_counters = true;
    switch (update[1] & counters_mask) {
        case exhaust_counters:
            exhaust_offline_counters(session);
            break;
        case reset_counters:
            reset_offline_counters(session.state);
            break;
        case count_transaction:
            count_offline(session);
            break;
        default:
            break;
    }
    session.state.go_online_next = (update[1] & go_online_next) != 0;
    session.issuer_refuses = (update[1] & issuer_approves) == 0;
}

// What method 1 covers beside the ARQC is the response code at the end.
void take_response_code(ApplicationSession& session, std::span<const std::uint8_t> code) {
    session.issuer_refuses = !approves({code[0], code[1]});
    if (!session.issuer_refuses) {
        reset_offline_counters(session.state);
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
    if (command.data.size() < shortest_authentication ||
        command.data.size() > longest_authentication) {
        return StatusWord::WrongLength;
    }
    const auto method = session.card.arpc_method;
    if (!cryptography::issuer_authentication_holds(method, session.card.algorithm,
                                                   session.cryptogram_key(),
                                                   session.state.last_arqc, command.data)) {
        session.issuer_authentication = CheckResult::Wrong;
        session.state.issuer_authentication_failed = true;
        return StatusWord::AuthenticationFailed;
    }
    session.issuer_authentication = CheckResult::Right;
    // Not every terminal asks for a second cryptogram, so what the issuer has proved counts from here.
    count_scripts_afresh(session);
    session.state.last_online_atc = session.state.atc;
    session.state.online_incomplete = false;
    session.state.issuer_authentication_failed = false;
    session.state.issuer_authentication_missing = false;
    session.state.go_online_next = false;
    if (method == cryptography::ArpcMethod::Method2) {
        apply_status_update(session, command.data.subspan(sizeof(cryptography::ShortMac)));
    } else {
        take_response_code(session, command.data.last(2));
    }
    if (session.issuer_refuses) {
        take_back_log(session);
    }
    return StatusWord::Success;
}

}  // namespace quorrin::simulator
