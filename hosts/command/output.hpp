// Results on standard output: whole or not at all, and without a word when nobody reads them.
#pragma once

#include <cstddef>
#include <string_view>

namespace quorrin::command {

// Writes all of it. A reader that has gone ends the output quietly; a write that fails otherwise (a
// full disk) throws Failed.
void put_result(std::string_view text);

// Whether results go to a terminal that shows colours: never with NO_COLOR (no-color.org).
bool wants_colour();

// Columns of the terminal, or what suits a file.
std::size_t output_width();

// From now on a closed pipe is a write that fails, not the end of the process.
void survive_closed_pipes();

}  // namespace quorrin::command
