#include "reader_libraries/pcsc/result_codes.hpp"

#include <algorithm>
#include <array>

#include "reader_libraries/pcsc/device_codes.hpp"

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
    RESULT(SCARD_S_SUCCESS,              device::success,          nothing),
    RESULT(SCARD_E_PROTO_MISMATCH,       device::wrong_card,       card),
    RESULT(SCARD_W_UNSUPPORTED_CARD,     device::wrong_card,       card),
    RESULT(SCARD_E_CARD_UNSUPPORTED,     device::wrong_card,       card),
    RESULT(SCARD_E_NO_SMARTCARD,         device::no_card,          card),
    RESULT(SCARD_W_REMOVED_CARD,         device::no_card,          card),
    RESULT(SCARD_W_UNPOWERED_CARD,       device::not_powered,      card),
    RESULT(SCARD_W_RESET_CARD,           device::not_powered,      card),
    RESULT(SCARD_W_UNRESPONSIVE_CARD,    device::mute,             nothing),
    RESULT(SCARD_E_NOT_TRANSACTED,       device::mute,             nothing),
    RESULT(SCARD_E_TIMEOUT,              device::mute,             nothing),
    RESULT(SCARD_E_NO_SERVICE,           device::connection_error, service),
    RESULT(SCARD_E_SERVICE_STOPPED,      device::connection_error, service),
    RESULT(SCARD_E_NO_READERS_AVAILABLE, device::connection_error, reader),
    RESULT(SCARD_E_UNKNOWN_READER,       device::connection_error, reader),
    RESULT(SCARD_E_READER_UNAVAILABLE,   device::connection_error, reader),
    RESULT(SCARD_E_SHARING_VIOLATION,    device::connection_error, nothing),
    RESULT(SCARD_F_COMM_ERROR,           device::connection_error, nothing),
    RESULT(SCARD_F_INTERNAL_ERROR,       device::connection_error, nothing),
    RESULT(SCARD_F_UNKNOWN_ERROR,        device::connection_error, nothing),
    RESULT(SCARD_E_NO_MEMORY,            device::connection_error, nothing),
    RESULT(SCARD_E_NOT_READY,            device::connection_error, nothing),
    RESULT(SCARD_E_SERVER_TOO_BUSY,      device::connection_error, nothing),
    RESULT(SCARD_W_SECURITY_VIOLATION,   device::connection_error, nothing),
    RESULT(SCARD_E_INVALID_HANDLE,       device::not_connected,    service),
    RESULT(SCARD_E_UNSUPPORTED_FEATURE,  device::unsupported,      nothing),
    RESULT(SCARD_E_READER_UNSUPPORTED,   device::unsupported,      nothing),
    RESULT(SCARD_E_INVALID_PARAMETER,    device::bad_parameter,    nothing),
    RESULT(SCARD_E_INVALID_VALUE,        device::bad_parameter,    nothing),
    RESULT(SCARD_E_INSUFFICIENT_BUFFER,  device::check_error,      nothing),
    RESULT(SCARD_E_COMM_DATA_LOST,       device::check_error,      nothing),
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

constexpr ResultRow unknown{0, "unknown", device::connection_error, Loss::nothing};

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
