// What the results of PC/SC mean to a host.
#pragma once

#include <winscard.h>

#include <cstdint>

namespace quorrin::pcsc {

// The device code of a PC/SC result; of one that the table does not have, that of a reader that
// cannot be reached.
std::int64_t device_code(LONG result);

// "SCARD_E_NO_SERVICE", or "unknown".
const char* name_of(LONG result);

// The connection with the service is gone, and every card handle with it.
bool is_service_lost(LONG result);

// The reader is not there under this name any more.
bool is_reader_lost(LONG result);

// The card's handle is of no more use: the card has to be powered on again.
bool is_card_lost(LONG result);

}  // namespace quorrin::pcsc
