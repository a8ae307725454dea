// The electronic cash that a PBOC card pays from without asking its bank: PBOC book 13.
#pragma once

#include "reader_libraries/simulator/card/application_session.hpp"

namespace quorrin::simulator {

inline constexpr Tag electronic_cash_balance = 0x9F79;

bool has_electronic_cash(const ApplicationSession& session);

// Takes the amount (9F02) off the balance. False, and nothing taken, on a card without electronic
// cash, in another currency than the card's, above the single transaction limit (9F78) and above the
// balance.
bool pay_electronic_cash(ApplicationSession& session);

}  // namespace quorrin::simulator
