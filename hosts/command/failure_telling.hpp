// How a failure is told: in sentences on standard error, and with --json as an object on standard
// output beside them.
#pragma once

#include <exception>
#include <string>

#include "hosts/command/subcommand.hpp"
#include "quorrin/host.hpp"

namespace quorrin::command {

// Tells what an action threw and returns the exit status. `command` is the name of what was run.
int tell_failure(const std::exception& error, const std::string& command, const Common& common);

// The object of a failure (docs/schemas/command.schema.json), where no result has been written.
void put_error(const std::string& command, const std::string& text, const std::string& advice);

// What a card or reader did, all of it: plain words; step, code and its meaning; the library's message;
// the card's status word; what to do.
std::string describe(const host::Failure& error);
// The first line of that, and what to do; the latter empty where nothing helps.
std::string plain_words(const host::Failure& error);
std::string advice_for(const host::Failure& error);

// What to do about a status word of the card; empty where nothing helps.
std::string advice_for(unsigned status_word);

}  // namespace quorrin::command
