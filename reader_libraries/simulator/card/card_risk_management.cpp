#include "reader_libraries/simulator/card/card_risk_management.hpp"

#include <algorithm>
#include <array>

#include "reader_libraries/simulator/card/card_amounts.hpp"
#include "reader_libraries/simulator/card/electronic_cash.hpp"

namespace quorrin::simulator {
namespace {

// Application default action, 9F52 (PBOC book 5). A card without it acts as if it were C0 00.
struct DefaultAction {
    std::uint8_t first = 0xC0;
    std::uint8_t second = 0x00;
};
namespace action {
// Byte 1.
constexpr std::uint8_t go_online_after_failed_issuer = 0x80;
constexpr std::uint8_t decline_failed_issuer = 0x40;
constexpr std::uint8_t decline_without_mandatory_issuer = 0x20;
constexpr std::uint8_t new_card_goes_online = 0x02;
constexpr std::uint8_t new_card_declines_unless_online = 0x01;
// Byte 2.
constexpr std::uint8_t last_pin_try_blocks = 0x80;
constexpr std::uint8_t pin_tries_decline = 0x40;
constexpr std::uint8_t pin_tries_go_online = 0x20;
constexpr std::uint8_t pin_tries_decline_unless_online = 0x10;
constexpr std::uint8_t failed_script_goes_online = 0x08;
constexpr std::uint8_t pin_tries_decline_and_block = 0x04;
}  // namespace action

namespace limit {
constexpr Tag consecutive_lower = 0x9F58;
constexpr Tag consecutive_upper = 0x9F59;
constexpr Tag terminal_consecutive_lower = 0x9F14;  // where the card has no limit of its own
constexpr Tag terminal_consecutive_upper = 0x9F23;
constexpr Tag international_currency = 0x9F53;
constexpr Tag international_country = 0x9F72;
constexpr Tag amount_lower = 0x9F54;
constexpr Tag amount_upper = 0x9F5C;
constexpr Tag both_currencies_amount = 0x9F75;
}  // namespace limit

DefaultAction default_action(const ApplicationSession& session) {
    const auto value = card_element(session, 0x9F52);
    if (!value || value->size() < 2) {
        return {};
    }
    return {(*value)[0], (*value)[1]};
}

std::optional<std::uint64_t> count_limit(const ApplicationSession& session, Tag own, Tag other) {
    auto value = card_element(session, own);
    if (!value && other != 0) {
        value = card_element(session, other);
    }
    if (!value || value->empty()) {
        return std::nullopt;
    }
    return value->front();
}

std::optional<std::uint64_t> amount_limit(const ApplicationSession& session, Tag tag) {
    const auto value = card_element(session, tag);
    return value ? std::optional(decimal(*value)) : std::nullopt;
}

// 9F73: the digit of decimal places, then seven digits. Empty unless the transaction is in the card's
// second currency (9F76).
std::optional<std::uint64_t> converted_amount(const ApplicationSession& session) {
    const auto currency = card_element(session, 0x9F76);
    const auto factor = card_element(session, 0x9F73);
    if (!currency || !factor || factor->size() != 4 ||
        fitted_value(session.terminal, 0x5F2A, 2) != *currency) {
        return std::nullopt;
    }
    const std::uint64_t whole = decimal(*factor) % 10'000'000;
    std::uint64_t divisor = 1;
    for (int places = (*factor)[0] >> 4; places > 0; --places) {
        divisor *= 10;
    }
    return transaction_amount(session) * whole / divisor;
}

bool abroad(const ApplicationSession& session) {
    auto country = card_element(session, 0x9F57);
    if (!country) {
        country = card_element(session, 0x5F28);
    }
    return country && fitted_value(session.terminal, 0x9F1A, 2) != *country;
}

bool new_card(const ApplicationSession& session) {
    return session.state.last_online_atc == 0;
}

bool pin_tries_used_up(const ApplicationSession& session) {
    return session.application.pin_try_limit != 0 && session.state.pin_tries == 0;
}

bool passes(std::uint64_t value, const std::optional<std::uint64_t>& limit) {
    return limit && value > *limit;
}

bool has_limits(const ApplicationSession& session) {
    return count_limit(session, limit::consecutive_lower, limit::terminal_consecutive_lower) ||
           amount_limit(session, limit::amount_lower);
}

unsigned since_last_online(const ApplicationState& state) {
    return static_cast<std::uint16_t>(state.atc - state.last_online_atc);
}

// This transaction counted in. `own_currency` is the limit of amounts in the card's currency. Where the
// card has no way to count a foreign one, that alone passes the limits.
bool currency_limits_passed(const ApplicationSession& session, Tag own_currency) {
    const auto& state = session.state;
    if (in_card_currency(session)) {
        return passes(state.offline_amount + transaction_amount(session),
                      amount_limit(session, own_currency));
    }
    if (const auto converted = converted_amount(session)) {
        return passes(state.offline_amount + state.offline_converted_amount + *converted,
                      amount_limit(session, limit::both_currencies_amount));
    }
    const auto foreign = count_limit(session, limit::international_currency, 0);
    return !foreign || passes(state.offline_foreign + 1U, foreign);
}

bool lower_limits_passed(const ApplicationSession& session) {
    const auto& state = session.state;
    const auto consecutive =
        count_limit(session, limit::consecutive_lower, limit::terminal_consecutive_lower);
    return passes(since_last_online(state), consecutive) ||
           (abroad(session) && passes(state.offline_abroad + 1U,
                                      count_limit(session, limit::international_country, 0))) ||
           currency_limits_passed(session, limit::amount_lower);
}

bool upper_limits_passed(const ApplicationSession& session) {
    const auto consecutive =
        count_limit(session, limit::consecutive_upper, limit::terminal_consecutive_upper);
    return passes(since_last_online(session.state), consecutive) ||
           currency_limits_passed(session, limit::amount_upper);
}

bool goes_online(ApplicationSession& session) {
    session.limits_passed = lower_limits_passed(session);
    return session.limits_passed || !has_limits(session) || session.state.online_incomplete ||
           has_reason_to_go_online(session);
}

// A transaction that its terminal could not take online (8A is Y3 or Z3).
bool declined_offline(ApplicationSession& session) {
    session.limits_passed = upper_limits_passed(session);
    return session.limits_passed || !has_limits(session) || declines_unless_online(session);
}

bool declined_online(const ApplicationSession& session) {
    const DefaultAction wanted = default_action(session);
    switch (session.issuer_authentication) {
        case CheckResult::Wrong:
            if ((wanted.first & action::decline_failed_issuer) != 0) {
                return true;
            }
            break;
        case CheckResult::NotPerformed:
            if (issuer_authentication_is_mandatory(session) &&
                (wanted.first & action::decline_without_mandatory_issuer) != 0) {
                return true;
            }
            break;
        case CheckResult::Right:
            break;
    }
    return session.issuer_refuses;
}

void block_for_pin_tries(ApplicationState& state) {
    state.blocked = true;
    state.blocked_for_pin_tries = true;
}

}  // namespace

void note_last_pin_try(ApplicationSession& session) {
    if ((default_action(session).second & action::last_pin_try_blocks) != 0) {
        block_for_pin_tries(session.state);
    }
}

bool declines_every_request(ApplicationSession& session) {
    if (session.state.blocked || session.application.declines) {
        return true;
    }
    if (!pin_tries_used_up(session)) {
        return false;
    }
    const DefaultAction wanted = default_action(session);
    if ((wanted.second & action::pin_tries_decline_and_block) != 0) {
        block_for_pin_tries(session.state);
        return true;
    }
    return (wanted.second & action::pin_tries_decline) != 0;
}

bool has_reason_to_go_online(const ApplicationSession& session) {
    const auto& state = session.state;
    const DefaultAction wanted = default_action(session);
    return state.go_online_next ||
           (state.issuer_authentication_failed &&
            (wanted.first & action::go_online_after_failed_issuer) != 0) ||
           (new_card(session) && (wanted.first & action::new_card_goes_online) != 0) ||
           (pin_tries_used_up(session) && (wanted.second & action::pin_tries_go_online) != 0) ||
           (state.script_failed && (wanted.second & action::failed_script_goes_online) != 0);
}

bool declines_unless_online(const ApplicationSession& session) {
    const DefaultAction wanted = default_action(session);
    return (new_card(session) && (wanted.first & action::new_card_declines_unless_online) != 0) ||
           (pin_tries_used_up(session) &&
            (wanted.second & action::pin_tries_decline_unless_online) != 0);
}

bool issuer_authentication_is_mandatory(const ApplicationSession& session) {
    const auto indicator = card_element(session, 0x9F56);
    return indicator && !indicator->empty() && (indicator->front() & 0x80) != 0;
}

CryptogramType first_type(ApplicationSession& session, CryptogramType requested) {
    constexpr Tag electronic_cash_indicator = 0x9F7A;
    if (requested == CryptogramType::Aac || declines_every_request(session)) {
        return CryptogramType::Aac;
    }
    if (requested == CryptogramType::Arqc) {
        session.limits_passed = lower_limits_passed(session) && has_limits(session);
        return CryptogramType::Arqc;
    }
    if (fitted_value(session.terminal, electronic_cash_indicator, 1)[0] == 0x01 &&
        has_electronic_cash(session)) {
        session.paid_electronically = pay_electronic_cash(session);
        return session.paid_electronically ? CryptogramType::Tc : CryptogramType::Arqc;
    }
    return goes_online(session) ? CryptogramType::Arqc : CryptogramType::Tc;
}

CryptogramType second_type(ApplicationSession& session, CryptogramType requested) {
    const bool refused =
        session.state.blocked || session.card_state.blocked || requested == CryptogramType::Aac ||
        (session.unable_to_go_online ? declined_offline(session) : declined_online(session));
    return refused ? CryptogramType::Aac : CryptogramType::Tc;
}

bool approves(const cryptography::ResponseCode& code) {
    constexpr std::array<cryptography::ResponseCode, 3> approvals{
        {{'0', '0'}, {'1', '0'}, {'1', '1'}}};
    return std::ranges::find(approvals, code) != approvals.end();
}

void count_offline(ApplicationSession& session) {
    auto& state = session.state;
    if (abroad(session) && state.offline_abroad < 0xFF) {
        ++state.offline_abroad;
    }
    if (in_card_currency(session)) {
        state.offline_amount += transaction_amount(session);
    } else if (const auto converted = converted_amount(session)) {
        state.offline_converted_amount += *converted;
    } else if (state.offline_foreign < 0xFF) {
        ++state.offline_foreign;
    }
}

void reset_offline_counters(ApplicationState& state) {
    state.offline_abroad = 0;
    state.offline_foreign = 0;
    state.offline_amount = 0;
    state.offline_converted_amount = 0;
}

void exhaust_offline_counters(ApplicationSession& session) {
    const auto count = [&](Tag tag) {
        return static_cast<std::uint8_t>(count_limit(session, tag, 0).value_or(0));
    };
    auto& state = session.state;
    state.offline_abroad = count(limit::international_country);
    state.offline_foreign = count(limit::international_currency);
    state.offline_amount = amount_limit(session, limit::amount_upper).value_or(0);
    state.offline_converted_amount =
        amount_limit(session, limit::both_currencies_amount).value_or(0);
}

}  // namespace quorrin::simulator
