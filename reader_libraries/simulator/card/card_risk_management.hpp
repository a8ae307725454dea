// What the card itself decides about a transaction: EMV book 3 section 10.8, PBOC book 5 on card risk
// management and completion.
#pragma once

#include "reader_libraries/simulator/card/application_session.hpp"
#include "reader_libraries/simulator/card/cryptogram_generation.hpp"

namespace quorrin::simulator {

// A terminal may be refused more than it asks for, never less: TC, then ARQC, then AAC. Both note in
// the session what they have found.
CryptogramType first_type(ApplicationSession& session, CryptogramType requested);
CryptogramType second_type(ApplicationSession& session, CryptogramType requested);

// Whatever a terminal asks for: the application is blocked, or made to decline, or no PIN try is left
// and the default action declines then (and may block the application, too).
bool declines_every_request(ApplicationSession& session);

// Within its limits all the same: the issuer's wish in its card status update, or the default action for
// a failed issuer authentication or script, a new card, PIN tries used up.
bool has_reason_to_go_online(const ApplicationSession& session);

// The default action declines transactions of a new card, or without PIN tries, that do not go online.
bool declines_unless_online(const ApplicationSession& session);

bool issuer_authentication_is_mandatory(const ApplicationSession& session);  // 9F56

// The last try of the PIN was wrong: the card may block its application then.
void note_last_pin_try(ApplicationSession& session);

// Whether a response code (8A) completes the transaction: ISO 8583 codes 00, 10 and 11.
bool approves(const cryptography::ResponseCode& code);

// A transaction that is approved offline counts against the limits until one is completed online.
void count_offline(ApplicationSession& session);
void reset_offline_counters(ApplicationState& state);
// To their limits, so that the next transaction passes them. Transactions in a row are no counter of
// their own: they are 9F36 less 9F13.
void exhaust_offline_counters(ApplicationSession& session);

}  // namespace quorrin::simulator
