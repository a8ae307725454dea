// Results on standard output: whole or not at all, and without a word when nobody reads them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quorrin::command {

// Writes all of it. A reader that has gone ends the output quietly; a write that fails otherwise (a
// full disk) throws Failed.
void put_result(std::string_view text);
// The same for people, who may have a narrow terminal: long lines are broken there.
void put_text(std::string_view text);
// Whether any have been written.
bool has_results();

// Whether results go to a terminal that shows colours: never with NO_COLOR (no-color.org).
bool wants_colour();

// Columns of the terminal, without limit where standard output (or another stream) is none.
std::size_t terminal_width(int stream = 1);
// The same for long values: in files they are broken, too.
std::size_t output_width();

// Words that warn, and those that reassure: red or green where there is colour.
std::string in_red(const std::string& text);
std::string in_green(const std::string& text);

// From now on a closed pipe is a write that fails, not the end of the process.
void survive_closed_pipes();

// The library's log shows card data as they are. Without `in_clear` it is silent whatever the
// environment says of it; with it the environment decides, and without a word there it is silent.
// Before the library is used.
void keep_log_from_view(bool in_clear);
// For a program that takes this one's place: the log as the environment had it.
void restore_log_rules();

}  // namespace quorrin::command
