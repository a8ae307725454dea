// A scripted reader library: it provides the six functions that libQuorrin.so.1 imports, answers as
// the test says and keeps a trace of every call.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/bytes.hpp"

namespace quorrin::test {

// What the reader returns and what it writes into the buffer it was given.
struct Answer {
    std::int64_t result;
    ByteString bytes;
};

// A complete card answer, status word included: the result is its length.
inline Answer answer(std::string_view hex_text) {
    const ByteString bytes = hex(hex_text);
    return {static_cast<std::int64_t>(bytes.size()), bytes};
}
inline Answer answer(ByteString bytes) {
    const auto size = static_cast<std::int64_t>(bytes.size());
    return {size, std::move(bytes)};
}
// A reader failure: nothing is written.
inline Answer failure(std::int64_t result) {
    return {result, {}};
}

struct ScriptedReader {
    Answer open{7, text_bytes("SCRIPTED")};
    std::int64_t close = 0;
    Answer serial{0, text_bytes("0123456789")};
    std::map<int, Answer> power_on;  // by slot code; a slot that is not named holds no card (-2)
    std::map<int, std::int64_t> power_off;  // by slot code; 0 where not named

    // Exchanges: `card` when it is set, else the answers in turn.
    std::function<Answer(const ByteString& command)> card;
    std::deque<Answer> answers;

    // Every call in order: "Open", "Close", "PowerOn 7 11", "PowerOff 7 11", "GetSerial 7",
    // "Send 7 01: 00A4040000" (handle, slot code, command).
    std::vector<std::string> calls;

    // For each of them, how many lines the log held when it was made.
    std::vector<std::size_t> lines_logged_before;

    // The commands among the calls, as hex text.
    std::vector<std::string> commands() const;

    // The whole output buffer of the last call that has one (name 32, ATR 512, response 1024,
    // serial 100 bytes), as the library handed it over.
    ByteString handed_buffer;
};

// The reader of this process; `reset_reader` makes it a fresh one.
ScriptedReader& reader();
void reset_reader();

}  // namespace quorrin::test
