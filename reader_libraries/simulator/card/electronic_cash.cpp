#include "reader_libraries/simulator/card/electronic_cash.hpp"

#include "reader_libraries/simulator/card/card_amounts.hpp"

namespace quorrin::simulator {

bool has_electronic_cash(const ApplicationSession& session) {
    return session.state.data.contains(electronic_cash_balance);
}

bool pay_electronic_cash(ApplicationSession& session) {
    constexpr Tag single_transaction_limit = 0x9F78;
    auto& data = session.state.data;
    const auto balance = data.find(electronic_cash_balance);
    if (balance == data.end() || !in_card_currency(session)) {
        return false;
    }
    const auto amount = transaction_amount(session);
    const auto limit = data.find(single_transaction_limit);
    if (limit != data.end() && amount > decimal(limit->second)) {
        return false;
    }
    const auto held = decimal(balance->second);
    if (amount > held) {
        return false;
    }
    balance->second = packed(held - amount, balance->second.size());
    return true;
}

}  // namespace quorrin::simulator
