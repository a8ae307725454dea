// What the recorder makes of the calls of a reader that answers anything: lines that can be read, with
// what was called and nothing that has to be masked; then the story that is told of them: of those in
// clear where the input has an even number of bytes, as text where half of that number is even. The
// input is a row of calls: an action and slot, a pause, then
//
//   exchange   the command behind its length, and the answer as a block (hostile_reader.hpp)
//   power-on   the answer to reset as a block
//   open, serial number   the text behind its length

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "explain/masking.hpp"
#include "explain/render.hpp"
#include "explain/story.hpp"
#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/memory_file.hpp"
#include "fuzz/support/shown_text.hpp"
#include "reader_libraries/trace/recorder.hpp"
#include "reader_libraries/trace/trace_format.hpp"

namespace {

using namespace quorrin;
using trace::Action;
using trace::Call;

// A call as the reader library in front of the reader sees it: bytes only where the lengths hold.
Call read_call(fuzz::FuzzInput& input, std::int64_t& clock) {
    constexpr Action actions[] = {Action::Exchange, Action::PowerOn,  Action::PowerOff,
                                  Action::Open,     Action::Exchange, Action::Serial,
                                  Action::Exchange, Action::Close};
    constexpr int slots[] = {0x01, 0x31, 0x11, 0x77};
    const std::uint8_t what = input.byte();
    constexpr std::int64_t unit = 1000;  // a pause of milliseconds
    clock += unit * input.byte();

    Call call;
    call.action = actions[what & 0x07];
    call.slot = slots[what >> 3 & 0x03];
    call.began = clock;
    call.duration = unit * what;
    call.handle = 1;
    const auto take_block = [&](std::size_t least, std::size_t most) {
        call.result = static_cast<std::int16_t>(input.number());
        if (call.result <= 0) {
            return;
        }
        const fuzz::Bytes bytes = input.take(static_cast<std::size_t>(call.result));
        call.answer = bytes.size() >= least && bytes.size() <= most ? bytes : fuzz::Bytes();
        if (bytes.size() <= most) {  // else a reader that reports what no buffer holds
            call.result = static_cast<std::int64_t>(bytes.size());
        }
    };
    if (call.action == Action::Exchange) {
        const fuzz::Bytes command = input.piece();
        call.command_length = static_cast<std::int64_t>(command.size());
        constexpr std::size_t header = 4;
        call.command = command.size() >= header ? command : fuzz::Bytes();
        take_block(trace::status_word_size, trace::response_room);
    } else if (call.action == Action::PowerOn) {
        take_block(1, trace::atr_room);
    } else if (call.action == Action::Open || call.action == Action::Serial) {
        const fuzz::Bytes text = input.piece();
        call.text = {reinterpret_cast<const char*>(text.data()), text.size()};
        call.result = call.action == Action::Open ? 1 : 0;
    }
    return call;
}

std::vector<Call> read_calls(fuzz::FuzzInput input) {
    std::int64_t clock = 1'795'253'400'000'000;  // 2026-11-21
    std::vector<Call> calls;
    constexpr std::size_t most_calls = 32;  // a purchase with all around it
    while (!input.at_end() && calls.size() < most_calls) {
        calls.push_back(read_call(input, clock));
    }
    return calls;
}

// Recorded into a file, and read from it.
trace::Trace recorded(const std::vector<Call>& calls, const fuzz::MemoryFile& file, bool clear) {
    file.hold({});
    const std::string path = file.path().string();
    trace::Settings settings;
    settings.file.path = path;
    settings.terminal[0] = 'T';
    settings.terminal_size = 1;
    settings.clear = clear;
    const auto recorder = std::make_unique<trace::Recorder>(settings);
    for (const Call& call : calls) {
        recorder->record(call);
    }
    trace::Trace trace = trace::read_trace(path);
    fuzz::expect(trace.problems.empty() && trace.entries.size() == calls.size(),
                 "every call leaves a line that can be read");
    return trace;
}

void check_bytes(const trace::MaskedBytes& shown, fuzz::Bytes bytes) {
    fuzz::expect(shown.size() == bytes.size(), "a line has all bytes");
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        fuzz::expect((bytes[i] & ~shown.mask[i]) == shown.bytes[i],
                     "a line shows a digit as it was or not at all");
    }
}

// VERIFY and PIN CHANGE/UNBLOCK (EMV book 3, 6.5.12; ISO 7816-4) carry nothing else than PIN data.
bool carries_pin(fuzz::Bytes command) {
    constexpr std::uint8_t verify = 0x20;
    constexpr std::uint8_t pin_change = 0x24;
    constexpr std::size_t header_and_count = 5;
    return command.size() > header_and_count && command[4] <= command.size() - header_and_count &&
           (command[1] == verify || command[1] == pin_change);
}

void check_line(const trace::Entry& entry, const Call& call, bool clear) {
    fuzz::expect(entry.action == call.action && entry.result == call.result &&
                     entry.began == call.began && entry.duration == call.duration,
                 "a line tells its call");
    check_bytes(entry.command, call.command);
    check_bytes(entry.answer, call.action == Action::Exchange ? call.answer : fuzz::Bytes());
    if (clear) {
        fuzz::expect(!entry.command.is_masked() && !entry.answer.is_masked(),
                     "nothing is masked where that is asked for");
    } else if (call.action == Action::Exchange && carries_pin(call.command)) {
        constexpr std::size_t header_and_count = 5;
        const auto data = std::span(entry.command.mask).subspan(header_and_count, call.command[4]);
        fuzz::expect(std::ranges::all_of(data, [](std::uint8_t mask) { return mask == 0xFF; }),
                     "PIN data are masked");
    }
}

void check_story(const trace::Trace& trace, bool as_text) {
    const explain::Story story = explain::tell(trace);
    if (as_text) {
        fuzz::expect_plain_text(explain::to_text(story, {.details = true}));
    } else {
        fuzz::expect_json(explain::to_json(story, -1));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<Call> calls = read_calls({data, size});
    static const fuzz::MemoryFile file;
    const trace::Trace clear = recorded(calls, file, true);
    const trace::Trace masked = recorded(calls, file, false);
    const trace::Trace masked_later = explain::masked(clear);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        check_line(clear.entries[i], calls[i], true);
        check_line(masked.entries[i], calls[i], false);
        fuzz::expect(masked_later.entries[i].command == masked.entries[i].command &&
                         masked_later.entries[i].answer == masked.entries[i].answer,
                     "masking later hides what masking at once hides");
    }
    check_story(size % 2 == 0 ? clear : masked, size / 2 % 2 == 0);
    return 0;
}
