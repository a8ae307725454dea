// How options are written for people: in the help and in the manual page.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace quorrin::command {

// What an option takes: "FILE", "right|wrong|none", or the last word of its name. Empty for flags.
std::string value_name(const CLI::Option& option);

// What it does, and what it does without being given.
std::string description_of(const CLI::Option& option);

// The help of every command, 80 columns wide.
class HelpLayout : public CLI::Formatter {
  public:
    std::string make_option(const CLI::Option* option, bool is_positional) const override;
    std::string make_subcommand(const CLI::App* command) const override;
};

}  // namespace quorrin::command
