// The table of the system's own PC/SC library.

#include "reader_libraries/pcsc/pcsc_functions.hpp"

namespace quorrin::pcsc {

const PcscFunctions& pcsc_functions() {
    static constexpr PcscFunctions functions{
        .establish_context = SCardEstablishContext,
        .release_context = SCardReleaseContext,
        .list_readers = SCardListReaders,
        .get_status_change = SCardGetStatusChange,
        .connect = SCardConnect,
        .reconnect = SCardReconnect,
        .disconnect = SCardDisconnect,
        .status = SCardStatus,
        .transmit = SCardTransmit,
        .get_attribute = SCardGetAttrib,
        .now = std::chrono::steady_clock::now,
    };
    return functions;
}

}  // namespace quorrin::pcsc
