// Results on standard output: whole or not at all, and without a word when nobody reads them.
#pragma once

#include <cstddef>
#include <string_view>

namespace quorrin::command {

// Writes all of it. A reader that has gone ends the output quietly; a write that fails otherwise (a
// full disk) throws Failed.
void put_result(std::string_view text);
// Whether any have been written.
bool has_results();

// Whether results go to a terminal that shows colours: never with NO_COLOR (no-color.org).
bool wants_colour();

// Columns of the terminal, or what suits a file.
std::size_t output_width();

// From now on a closed pipe is a write that fails, not the end of the process.
void survive_closed_pipes();

// The library's log shows card data as they are. Without `in_clear` it is silent whatever the
// environment says of it; with it the environment decides, and without a word there it is silent.
// Before the library is used.
void keep_log_from_view(bool in_clear);
// For a program that takes this one's place: the log as the environment had it.
void restore_log_rules();

}  // namespace quorrin::command
