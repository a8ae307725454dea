// A command line that was not understood, told: what is wrong with it, and what was probably meant.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace quorrin::command {

struct UsageComplaint {
    std::string text;
    std::string advice;
};

// After app.parse() threw.
UsageComplaint complaint_of(const CLI::App& app, const CLI::ParseError& error);

// What was run, as far as the command line names it: "profile check".
std::string command_name(const CLI::App& app);

}  // namespace quorrin::command
