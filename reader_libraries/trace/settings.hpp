// What the environment says about the recording (docs/traces.md).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "reader_libraries/trace/line_writing.hpp"
#include "reader_libraries/trace/trace_file.hpp"

namespace quorrin::trace {

inline constexpr const char* file_variable = "QUORRIN_TRACE_FILE";
inline constexpr const char* reader_variable = "QUORRIN_TRACE_READER";
inline constexpr const char* terminal_variable = "QUORRIN_TRACE_TERMINAL";
inline constexpr const char* clear_variable = "QUORRIN_TRACE_CLEAR";
inline constexpr const char* rotate_variable = "QUORRIN_TRACE_ROTATE";
inline constexpr const char* keep_variable = "QUORRIN_TRACE_KEEP";

struct Settings {
    TraceFileSettings file;
    std::array<char, longest_identifier> terminal{};
    std::size_t terminal_size = 0;
    bool clear = false;
};

// Looks once; what is wrong is said on standard error, a line each, and left out.
Settings read_settings();

// One line on standard error.
void say(const char* text, const char* about);

}  // namespace quorrin::trace
