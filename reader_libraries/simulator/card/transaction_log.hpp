// The logs that a card writes of itself: EMV book 3 annex D, PBOC for electronic cash loads.
#pragma once

#include "reader_libraries/simulator/card/application_session.hpp"

namespace quorrin::simulator {

// The transaction as the terminal described it, as record 1. The oldest record makes room. A
// declined one
// is logged where the profile says so.
void log_transaction(ApplicationSession& session, bool declined);

// The same undone: a transaction that goes online is logged with its ARQC, because not every terminal
// asks for a second cryptogram, and taken back when it turns out declined.
void take_back_log(ApplicationSession& session);

// A changed electronic cash balance: its tag, the balances before and after, then the format's
// fields. Does nothing on a card without a load log.
void log_load(ApplicationSession& session, Tag tag, const ByteString& before,
              const ByteString& after);

}  // namespace quorrin::simulator
