// The functions of PC/SC that the reader library uses, as a table: the one seam between it and the
// service, so that a test can play what no virtual reader can.
#pragma once

#include <winscard.h>

#include <chrono>

namespace quorrin::pcsc {

struct PcscFunctions {
    decltype(&SCardEstablishContext) establish_context;
    decltype(&SCardReleaseContext) release_context;
    decltype(&SCardListReaders) list_readers;
    decltype(&SCardGetStatusChange) get_status_change;
    decltype(&SCardConnect) connect;
    decltype(&SCardReconnect) reconnect;
    decltype(&SCardDisconnect) disconnect;
    decltype(&SCardStatus) status;
    decltype(&SCardTransmit) transmit;
    decltype(&SCardGetAttrib) get_attribute;

    // The clock by which waits end.
    std::chrono::steady_clock::time_point (*now)();
};

// Those that the reader functions work on: of the system's library, or of a test.
const PcscFunctions& pcsc_functions();

}  // namespace quorrin::pcsc
