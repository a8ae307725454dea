#include "reader_libraries/pcsc/result_codes.hpp"

#include <algorithm>
#include <array>

#include "quorrin/device_codes.h"

namespace quorrin::pcsc {
namespace {

// What becomes of a connection with this result.
enum class Loss { nothing, card, reader, service };

struct ResultRow {
    LONG result;
    const char* name;
    std::int64_t code;
    Loss loss;
};

#define RESULT(name, code, loss)      \
    ResultRow {                       \
        name, #name, code, Loss::loss \
    }

// clang-format off
constexpr std::array rows = {
    RESULT(SCARD_S_SUCCESS,              QUORRIN_SUCCESS,          nothing),
    RESULT(SCARD_E_PROTO_MISMATCH,       QUORRIN_WRONG_CARD_TYPE,       card),
    RESULT(SCARD_W_UNSUPPORTED_CARD,     QUORRIN_WRONG_CARD_TYPE,       card),
    RESULT(SCARD_E_CARD_UNSUPPORTED,     QUORRIN_WRONG_CARD_TYPE,       card),
    RESULT(SCARD_E_NO_SMARTCARD,         QUORRIN_NO_CARD,          card),
    RESULT(SCARD_W_REMOVED_CARD,         QUORRIN_NO_CARD,          card),
    RESULT(SCARD_W_UNPOWERED_CARD,       QUORRIN_NOT_POWERED,      card),
    RESULT(SCARD_W_RESET_CARD,           QUORRIN_NOT_POWERED,      card),
    RESULT(SCARD_W_UNRESPONSIVE_CARD,    QUORRIN_CARD_MUTE,             nothing),
    RESULT(SCARD_E_NOT_TRANSACTED,       QUORRIN_CARD_MUTE,             nothing),
    RESULT(SCARD_E_TIMEOUT,              QUORRIN_CARD_MUTE,             nothing),
    RESULT(SCARD_E_NO_SERVICE,           QUORRIN_CONNECTION_ERROR, service),
    RESULT(SCARD_E_SERVICE_STOPPED,      QUORRIN_CONNECTION_ERROR, service),
    RESULT(SCARD_E_NO_READERS_AVAILABLE, QUORRIN_CONNECTION_ERROR, reader),
    RESULT(SCARD_E_UNKNOWN_READER,       QUORRIN_CONNECTION_ERROR, reader),
    RESULT(SCARD_E_READER_UNAVAILABLE,   QUORRIN_CONNECTION_ERROR, reader),
    RESULT(SCARD_E_SHARING_VIOLATION,    QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_F_COMM_ERROR,           QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_F_INTERNAL_ERROR,       QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_F_UNKNOWN_ERROR,        QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_E_NO_MEMORY,            QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_E_NOT_READY,            QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_E_SERVER_TOO_BUSY,      QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_W_SECURITY_VIOLATION,   QUORRIN_CONNECTION_ERROR, nothing),
    RESULT(SCARD_E_INVALID_HANDLE,       QUORRIN_NOT_CONNECTED,    service),
    RESULT(SCARD_E_UNSUPPORTED_FEATURE,  QUORRIN_NOT_SUPPORTED,      nothing),
    RESULT(SCARD_E_READER_UNSUPPORTED,   QUORRIN_NOT_SUPPORTED,      nothing),
    RESULT(SCARD_E_INVALID_PARAMETER,    QUORRIN_BAD_PARAMETER,    nothing),
    RESULT(SCARD_E_INVALID_VALUE,        QUORRIN_BAD_PARAMETER,    nothing),
    RESULT(SCARD_E_INSUFFICIENT_BUFFER,  QUORRIN_CHECK_ERROR,      nothing),
    RESULT(SCARD_E_COMM_DATA_LOST,       QUORRIN_CHECK_ERROR,      nothing),
};
// clang-format on

#undef RESULT

constexpr bool each_result_once() {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = i + 1; j < rows.size(); ++j) {
            if (rows[i].result == rows[j].result) {
                return false;
            }
        }
    }
    return true;
}
static_assert(each_result_once());

constexpr ResultRow unknown{0, "unknown", QUORRIN_CONNECTION_ERROR, Loss::nothing};

const ResultRow& row_of(LONG result) {
    const auto* found = std::ranges::find(rows, result, &ResultRow::result);
    return found == rows.end() ? unknown : *found;
}

}  // namespace

std::int64_t device_code(LONG result) {
    return row_of(result).code;
}

const char* name_of(LONG result) {
    return row_of(result).name;
}

bool is_service_lost(LONG result) {
    return row_of(result).loss == Loss::service;
}

bool is_reader_lost(LONG result) {
    return row_of(result).loss == Loss::reader;
}

bool is_card_lost(LONG result) {
    return row_of(result).loss != Loss::nothing;
}

}  // namespace quorrin::pcsc
