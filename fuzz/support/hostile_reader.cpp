#include "fuzz/support/hostile_reader.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"

namespace quorrin::fuzz {
namespace {

constexpr std::int64_t open_handle = 7;
constexpr std::int64_t connection_lost = -11;
constexpr std::size_t atr_room = 512;
constexpr std::size_t response_room = 1024;

FuzzInput& blocks() {
    static FuzzInput input(nullptr, 0);
    return input;
}

// Writes the next block's bytes, as far as the interface gives room, and returns what it reports.
std::int64_t next_block(std::uint8_t* out, std::size_t room) {
    if (blocks().at_end()) {
        return connection_lost;
    }
    const auto result = static_cast<std::int16_t>(blocks().number());
    if (result > 0) {
        const Bytes bytes = blocks().take(static_cast<std::size_t>(result));
        std::copy_n(bytes.begin(), std::min(bytes.size(), room), out);
    }
    return result;
}

}  // namespace

void insert_card(std::span<const std::uint8_t> data) {
    blocks() = FuzzInput(data.data(), data.size());
}

void power_card() {
    OpenDevice(EG_szDev_Name, &ReaderHandle);
    std::vector<std::uint8_t> atr(atr_room);
    std::uint32_t length = 0;
    PowerUp(ReaderHandle, EG_nUserCardType, atr.data(), &length);
    expect(length <= atr_room, "an answer to reset stays within its buffer");
}

}  // namespace quorrin::fuzz

using namespace quorrin::fuzz;

// Looked up by the library, which imports them by name.
#pragma GCC visibility push(default)

int64_t ICC_Reader_Open(char* name) {
    // A name that fills its buffer: nothing ends it.
    std::memset(name, '%', 32);
    return open_handle;
}

int64_t ICC_Reader_Close(void) {
    return 0;
}

int64_t ICC_Reader_PowerOn(int64_t /*handle*/, int /*slot*/, uint8_t* atr) {
    return next_block(atr, atr_room);
}

int64_t ICC_Reader_PowerOff(int64_t /*handle*/, int /*slot*/) {
    return 0;
}

int64_t ICC_Reader_Application(int64_t /*handle*/, int /*slot*/, int64_t length, uint8_t* command,
                               uint8_t* response) {
    expect(length >= 4 && length <= 261, "a command has 4 to 261 bytes");
    // The library owns the command: reading it whole lets the sanitizer see a length that lies.
    expect(std::vector<std::uint8_t>(command, command + length).size() ==
               static_cast<std::size_t>(length),
           "a command can be read");
    return next_block(response, response_room);
}

int64_t ICC_Reader_GetSerial(int64_t /*handle*/, char* /*serial*/) {
    return 0;
}

#pragma GCC visibility pop
