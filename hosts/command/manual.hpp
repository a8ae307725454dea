// What is made from the command line's own description: the manual page and shell completion.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace quorrin::command {

// quorrin(1), as troff.
std::string manual_page(CLI::App& app, const std::string& version);

// Completion for bash or zsh: names of commands, options and of what an option takes.
std::string bash_completion(CLI::App& app);
std::string zsh_completion(CLI::App& app);

}  // namespace quorrin::command
