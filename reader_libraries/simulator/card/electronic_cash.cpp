#include "reader_libraries/simulator/card/electronic_cash.hpp"

#include <algorithm>

namespace quorrin::simulator {
namespace {

constexpr Tag amount_authorised = 0x9F02;
constexpr Tag single_transaction_limit = 0x9F78;
constexpr std::size_t amount_bytes = 6;

// Amounts have twelve decimal digits; digits beyond 9 count as they stand.
std::uint64_t decimal(std::span<const std::uint8_t> bcd) {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bcd) {
        number = number * 100 + (byte >> 4) * 10U + (byte & 0x0FU);
    }
    return number;
}

Bytes packed(std::uint64_t number, std::size_t size) {
    Bytes bcd(size, 0);
    for (auto byte = bcd.rbegin(); byte != bcd.rend(); ++byte) {
        *byte = static_cast<std::uint8_t>((number / 10 % 10) << 4 | number % 10);
        number /= 100;
    }
    return bcd;
}

}  // namespace

bool pay_electronic_cash(ApplicationSession& session) {
    auto& data = session.state.data;
    const auto balance = data.find(electronic_cash_balance);
    if (balance == data.end()) {
        return false;
    }
    const auto amount = decimal(fitted_value(session.terminal, amount_authorised, amount_bytes));
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
