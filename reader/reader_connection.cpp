// The connection to the reader: opening, closing, serial number.

#include <cstring>

#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"
#include "reader/diagnostic_log.hpp"

std::int64_t ReaderHandle = 0;
char EG_szDev_Name[10] = "AUTO";
std::int32_t EG_port = 0;

using namespace quorrin;

namespace {

constexpr std::size_t device_name_size = 32;
constexpr std::size_t serial_buffer_size = 100;
constexpr std::size_t serial_size = 32;

}  // namespace

// Deliberate: the name is not used. The reader library picks the device, so that a host opens the
// same reader whatever it names.
std::int64_t OpenDevice(const char* /*name*/, std::int64_t* handle) {
    if (handle == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    char device_name[device_name_size] = {};
    const std::int64_t result = ICC_Reader_Open(device_name);
    const int name_length = static_cast<int>(strnlen(device_name, sizeof device_name));
    if (result > 0) {
        log::write_formatted("OpenDevice(%.*s) = %d", name_length, device_name,
                             static_cast<int>(result));
        *handle = result;
        return QUORRIN_SUCCESS;
    }
    log::write_formatted("OpenDevice(%.*s)", name_length, device_name);
    // Deliberate: a result of exactly 0 reports success with no handle stored; the host goes on
    // with the handle that it had.
    return result;
}

std::int64_t CloseDevice(std::int64_t* handle) {
    if (handle == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    if (*handle == 0) {
        return QUORRIN_SUCCESS;
    }
    const int closed_handle = static_cast<int>(*handle);
    const std::int64_t result = ICC_Reader_Close();
    log::write_formatted("CloseDevice(%d)", closed_handle);
    if (result < 0) {
        return result;
    }
    *handle = 0;
    return QUORRIN_SUCCESS;
}

std::int64_t GetDevSerial(std::int64_t handle, char* serial) {
    if (serial == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    char buffer[serial_buffer_size] = {};
    const std::int64_t result = ICC_Reader_GetSerial(handle, buffer);
    if (result != 0) {
        return result;
    }
    std::memcpy(serial, buffer, strnlen(buffer, serial_size));
    return QUORRIN_SUCCESS;
}
