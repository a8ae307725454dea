#include "tests/support/scripted_reader.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "quorrin/reader_library.h"
#include "tests/support/log_capture.hpp"

namespace quorrin::test {
namespace {

std::string number(std::int64_t value) {
    return std::to_string(value);
}

std::string slot_code(int slot) {
    return to_hex(ByteString{static_cast<std::uint8_t>(slot)});
}

void record(std::string call) {
    reader().calls.push_back(std::move(call));
    reader().lines_logged_before.push_back(LogCapture::line_count());
}

// The reader library's side of an output buffer: the room is part of the interface.
void put(const ByteString& bytes, void* buffer, std::size_t room) {
    auto* output = static_cast<std::uint8_t*>(buffer);
    reader().handed_buffer.assign(output, output + room);
    std::copy_n(bytes.begin(), std::min(bytes.size(), room), output);
}

}  // namespace

ScriptedReader& reader() {
    static ScriptedReader instance;
    return instance;
}

void reset_reader() {
    reader() = ScriptedReader{};
}

std::vector<std::string> ScriptedReader::commands() const {
    std::vector<std::string> commands;
    for (const std::string& call : calls) {
        if (call.starts_with("Send ")) {
            commands.push_back(call.substr(call.find(": ") + 2));
        }
    }
    return commands;
}

}  // namespace quorrin::test

using namespace quorrin::test;

// Looked up by the library, which imports them by name.
#pragma GCC visibility push(default)

int64_t ICC_Reader_Open(char* name) {
    record("Open");
    put(reader().open.bytes, name, 32);
    return reader().open.result;
}

int64_t ICC_Reader_Close(void) {
    record("Close");
    return reader().close;
}

int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    record("PowerOn " + number(handle) + " " + slot_code(slot));
    const auto found = reader().power_on.find(slot);
    const Answer given = found == reader().power_on.end() ? failure(-2) : found->second;
    put(given.bytes, atr, 512);
    return given.result;
}

int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    record("PowerOff " + number(handle) + " " + slot_code(slot));
    const auto found = reader().power_off.find(slot);
    return found == reader().power_off.end() ? 0 : found->second;
}

int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    const ByteString sent(command, command + length);
    record("Send " + number(handle) + " " + slot_code(slot) + ": " + to_hex(sent));
    Answer given = failure(-11);
    if (reader().card) {
        given = reader().card(sent);
    } else if (!reader().answers.empty()) {
        given = reader().answers.front();
        reader().answers.pop_front();
    } else {
        ADD_FAILURE() << "no answer scripted for " << to_hex(sent);
    }
    put(given.bytes, response, 1024);
    return given.result;
}

int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    record("GetSerial " + number(handle));
    put(reader().serial.bytes, serial, 100);
    return reader().serial.result;
}

#pragma GCC visibility pop
