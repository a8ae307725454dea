// Text in columns: how wide it is, and lines that fit.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quorrin::command {

// A width that everything fits into.
inline constexpr std::size_t unlimited = static_cast<std::size_t>(-1);

// Columns that a text takes in a terminal: a Chinese character takes two, colours none.
std::size_t columns_of(std::string_view text);

// Lines broken at blanks where they are too wide. What follows of a line stands under its text: behind
// the gap after its first words, where it has one, else a little further in.
std::string wrapped(std::string_view text, std::size_t width);

// The same for a cell of a table: without indentation, and words that are too wide are broken.
std::vector<std::string> cell_lines(std::string_view text, std::size_t width);

}  // namespace quorrin::command
