// The frame of the `quorrin` command. A subcommand lives in a file of its own:
//
//     void add_decode(CLI::App& app, const Common& common, Action& action) {
//         auto options = std::make_shared<DecodeOptions>();
//         CLI::App* command = app.add_subcommand("decode", "Tell what card data mean");
//         command->add_option("DATA", options->data, "...");
//         command->footer(examples(R"(  quorrin decode 9F3602004B)"));
//         command->callback([=, &common, &action] { action = [=, &common] { return decode(...); }; });
//     }
//
// and in the list of main.cpp. Options of all subcommands (Common) may stand before or after its name.
// The action runs when the whole command line is understood; what it returns is the exit status.
// Results go to `Output`, all else to standard error through `tell`.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>

namespace quorrin::command {

// Exit statuses.
inline constexpr int success = 0;
inline constexpr int failure = 1;  // the operation failed
inline constexpr int usage = 2;    // the command line was not understood

// Options of every subcommand.
struct Common {
    bool json = false;
    bool show_sensitive = false;
};

using Action = std::function<int()>;
using AddSubcommand = void (*)(CLI::App& app, const Common& common, Action& action);

// What is known of a failure besides its sentence.
struct FailureDetails {
    std::string status_word = {};  // the card's, as four hex digits
    std::string meaning = {};      // of the status word
    std::string advice = {};       // what to do
};

// Thrown by actions: the message goes to standard error, the exit status is `failure`.
class Failed : public std::runtime_error {
  public:
    explicit Failed(const std::string& text, FailureDetails details = {})
        : std::runtime_error(text), details_(std::move(details)) {}
    const FailureDetails& details() const { return details_; }

  private:
    FailureDetails details_;
};

// What only shows when the whole command line is looked at: the exit status is `usage`.
class WrongUsage : public Failed {
  public:
    using Failed::Failed;
};

// A line on standard error, "quorrin: " before it.
void tell(std::string_view line);

// The end of a subcommand's help.
std::string examples(std::string_view lines);

// Subcommands, one file each.
void add_readers(CLI::App& app, const Common& common, Action& action);
void add_info(CLI::App& app, const Common& common, Action& action);
void add_aids(CLI::App& app, const Common& common, Action& action);
void add_pan(CLI::App& app, const Common& common, Action& action);
void add_log(CLI::App& app, const Common& common, Action& action);
void add_dump(CLI::App& app, const Common& common, Action& action);
void add_apdu(CLI::App& app, const Common& common, Action& action);
void add_purchase(CLI::App& app, const Common& common, Action& action);
void add_bank(CLI::App& app, const Common& common, Action& action);
void add_decode(CLI::App& app, const Common& common, Action& action);
void add_explain(CLI::App& app, const Common& common, Action& action);
void add_replay(CLI::App& app, const Common& common, Action& action);
void add_profile(CLI::App& app, const Common& common, Action& action);
void add_doctor(CLI::App& app, const Common& common, Action& action);

}  // namespace quorrin::command
