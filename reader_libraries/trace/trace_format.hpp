// Reading of traces (docs/traces.md): line by line, from files of any size and any content. What is not
// a line of a trace is reported with its line number and the reason, and reading goes on behind it.
// Nothing is thrown for what a file holds; memory that runs out is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reader_libraries/trace/call.hpp"

namespace quorrin::trace {

// Hex of a line as bytes. A masked digit is 0 in `bytes` and F in `mask`, which has as many.
struct MaskedBytes {
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint8_t> mask;

    bool empty() const { return bytes.empty(); }
    std::size_t size() const { return bytes.size(); }
    bool is_masked() const;  // any digit
    // Upper-case hex, with * for a masked digit: as in the file.
    std::string text() const;
    bool operator==(const MaskedBytes&) const = default;
};

// Pairs of hex digits or *; nothing for other text.
std::optional<MaskedBytes> masked_bytes(std::string_view text);

// One line: one call of a reader function. Texts are empty where the line has no such field.
struct Entry {
    std::size_t line = 0;  // in its file, from 1
    std::string timestamp;
    std::int64_t began = 0;  // the same, microseconds since 1970, UTC
    bool masked = true;
    Action action = Action::Open;
    std::int64_t sequence = 0;
    std::int64_t duration = 0;  // nanoseconds
    bool success = false;       // event.outcome
    std::string terminal;
    std::string session;
    std::int64_t process = 0;
    std::optional<std::int64_t> handle;
    std::int64_t result = 0;
    std::string result_name;
    std::string reader_name;
    std::string reader_serial;
    std::optional<int> slot_code;
    std::string slot_name;
    std::vector<std::uint8_t> atr;
    std::vector<std::uint8_t> application;
    std::string instruction;
    MaskedBytes command;
    std::optional<std::int64_t> command_length;  // where the command's bytes were not recorded
    MaskedBytes answer;                          // SW1 SW2 included

    // SW1 SW2 as a number, the last two bytes of the answer; nothing without one.
    std::optional<std::uint16_t> status() const;
};

struct Problem {
    enum class Kind {
        Truncated,  // the file ends within this line, as after a crash
        Malformed,  // not the JSON of a line, or longer than any line is
        Foreign,    // JSON, but no line of a trace, or of a version that is not known
    };
    std::size_t line = 0;  // 0 where the file itself cannot be read
    Kind kind = Kind::Malformed;
    std::string reason;
};

// One line without its newline. The problem's line is the given number.
struct ParsedLine {
    std::optional<Entry> entry;
    std::optional<Problem> problem;  // exactly one of the two
};
ParsedLine parse_line(std::string_view text, std::size_t line);

// Reads entry after entry. Blank lines count but say nothing.
class TraceReader {
  public:
    explicit TraceReader(std::istream& stream) : stream_(stream) {}

    // The next entry; nothing at the end of the stream. Lines that are none are passed over and added
    // to the problems.
    std::optional<Entry> next();

    // In the order of the lines, at most `most_problems`; `problem_count` counts all.
    const std::vector<Problem>& problems() const { return problems_; }
    std::size_t problem_count() const { return problem_count_; }
    std::size_t lines() const { return line_; }  // read so far

    static constexpr std::size_t most_problems = 100;
    static constexpr std::size_t longest_line = 65'536;

  private:
    enum class LineEnd { Newline, EndOfStream, Nothing };
    LineEnd read_line();
    void add(Problem problem);

    std::istream& stream_;
    std::size_t line_ = 0;
    std::string text_;
    bool too_long_ = false;
    std::vector<Problem> problems_;
    std::size_t problem_count_ = 0;
};

// A whole file. Of a file that is no recording at all the first three problems, and one of no line that
// says so.
struct Trace {
    std::vector<Entry> entries;
    std::vector<Problem> problems;
};
Trace read_trace(const std::filesystem::path& file);

// "FILE: line 3: REASON"
std::string describe(const std::filesystem::path& file, const Problem& problem);

}  // namespace quorrin::trace
