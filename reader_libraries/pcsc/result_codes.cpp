#include "reader_libraries/pcsc/result_codes.hpp"

#include <algorithm>
#include <array>

#include "quorrin/device_codes.h"

namespace quorrin::pcsc {
namespace {

// What becomes of a connection with this result.
enum class Loss { Nothing, Card, Reader, Service };

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
    RESULT(SCARD_S_SUCCESS,              QUORRIN_SUCCESS,          Nothing),
    RESULT(SCARD_E_PROTO_MISMATCH,       QUORRIN_WRONG_CARD_TYPE,  Card),
    RESULT(SCARD_W_UNSUPPORTED_CARD,     QUORRIN_WRONG_CARD_TYPE,  Card),
    RESULT(SCARD_E_CARD_UNSUPPORTED,     QUORRIN_WRONG_CARD_TYPE,  Card),
    RESULT(SCARD_E_NO_SMARTCARD,         QUORRIN_NO_CARD,          Card),
    RESULT(SCARD_W_REMOVED_CARD,         QUORRIN_NO_CARD,          Card),
    RESULT(SCARD_W_UNPOWERED_CARD,       QUORRIN_NOT_POWERED,      Card),
    RESULT(SCARD_W_RESET_CARD,           QUORRIN_NOT_POWERED,      Card),
    RESULT(SCARD_W_UNRESPONSIVE_CARD,    QUORRIN_CARD_MUTE,        Nothing),
    RESULT(SCARD_E_NOT_TRANSACTED,       QUORRIN_CARD_MUTE,        Nothing),
    RESULT(SCARD_E_TIMEOUT,              QUORRIN_CARD_MUTE,        Nothing),
    RESULT(SCARD_E_NO_SERVICE,           QUORRIN_CONNECTION_ERROR, Service),
    RESULT(SCARD_E_SERVICE_STOPPED,      QUORRIN_CONNECTION_ERROR, Service),
    RESULT(SCARD_E_NO_READERS_AVAILABLE, QUORRIN_CONNECTION_ERROR, Reader),
    RESULT(SCARD_E_UNKNOWN_READER,       QUORRIN_CONNECTION_ERROR, Reader),
    RESULT(SCARD_E_READER_UNAVAILABLE,   QUORRIN_CONNECTION_ERROR, Reader),
    RESULT(SCARD_E_SHARING_VIOLATION,    QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_F_COMM_ERROR,           QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_F_INTERNAL_ERROR,       QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_F_UNKNOWN_ERROR,        QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_E_NO_MEMORY,            QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_E_NOT_READY,            QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_E_SERVER_TOO_BUSY,      QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_W_SECURITY_VIOLATION,   QUORRIN_CONNECTION_ERROR, Nothing),
    RESULT(SCARD_E_INVALID_HANDLE,       QUORRIN_NOT_CONNECTED,    Service),
    RESULT(SCARD_E_UNSUPPORTED_FEATURE,  QUORRIN_NOT_SUPPORTED,    Nothing),
    RESULT(SCARD_E_READER_UNSUPPORTED,   QUORRIN_NOT_SUPPORTED,    Nothing),
    RESULT(SCARD_E_INVALID_PARAMETER,    QUORRIN_BAD_PARAMETER,    Nothing),
    RESULT(SCARD_E_INVALID_VALUE,        QUORRIN_BAD_PARAMETER,    Nothing),
    RESULT(SCARD_E_INSUFFICIENT_BUFFER,  QUORRIN_CHECK_ERROR,      Nothing),
    RESULT(SCARD_E_COMM_DATA_LOST,       QUORRIN_CHECK_ERROR,      Nothing),
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

constexpr ResultRow unknown{0, "unknown", QUORRIN_CONNECTION_ERROR, Loss::Nothing};

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
    return row_of(result).loss == Loss::Service;
}

bool is_reader_lost(LONG result) {
    return row_of(result).loss == Loss::Reader;
}

bool is_card_lost(LONG result) {
    return row_of(result).loss != Loss::Nothing;
}

}  // namespace quorrin::pcsc
