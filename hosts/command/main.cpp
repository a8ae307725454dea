// The `quorrin` command: one program, a subcommand for each thing that a person does with card data,
// cards and readers.
#include <unistd.h>

#include <exception>
#include <iostream>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

#include "hosts/command/failure_telling.hpp"
#include "hosts/command/help_layout.hpp"
#include "hosts/command/manual.hpp"
#include "hosts/command/output.hpp"
#include "hosts/command/progress.hpp"
#include "hosts/command/reader_backend.hpp"
#include "hosts/command/subcommand.hpp"
#include "hosts/command/suggestions.hpp"
#include "hosts/command/wrapping.hpp"

namespace quorrin::command {
namespace {

// In the order of the help.
constexpr AddSubcommand subcommands[] = {
    add_readers,  add_info, add_aids,   add_pan,     add_log,    add_dump,    add_apdu,
    add_purchase, add_bank, add_decode, add_explain, add_replay, add_profile, add_doctor,
};

bool names_json(std::span<char* const> arguments) {
    for (const std::string_view argument : arguments) {
        if (argument == "--json" || argument == "--") {
            return argument == "--json";
        }
    }
    return false;
}

int run(int argc, char** argv) {
    CLI::App app("Card data, cards and readers from the shell.", "quorrin");
    app.formatter(std::make_shared<HelpLayout>());
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", "quorrin " QUORRIN_VERSION);

    Common common;
    app.add_flag("--json", common.json, "Results as JSON");
    app.add_flag("--show-sensitive", common.show_sensitive,
                 "Show account numbers, tracks, names and numbers of papers in clear");
    Action action;
    for (const AddSubcommand add : subcommands) {
        add(app, common, action);
    }
    for (CLI::App* command : app.get_subcommands({})) {
        command->fallthrough();
    }
    app.footer("Exit status: 0 done, 1 failed, 2 wrong usage.");

    // For the build: the manual page and the completion are made from what stands above.
    if (argc == 2) {
        const std::string wanted = argv[1];
        if (wanted == "--man" || wanted == "--bash-completion" || wanted == "--zsh-completion") {
            put_result(wanted == "--man"               ? manual_page(app, QUORRIN_VERSION)
                       : wanted == "--bash-completion" ? bash_completion(app)
                                                       : zsh_completion(app));
            return success;
        }
    }

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {  // a result like any other
        std::ostringstream results;
        app.exit(help, results, results);
        put_result(results.str());
        return success;
    } catch (const CLI::ParseError& error) {
        const UsageComplaint complaint = complaint_of(app, error);
        tell(complaint.text + "\n  " + complaint.advice);
        // Where the line goes wrong before it, the option has not been seen.
        if (common.json || names_json({argv, static_cast<std::size_t>(argc)})) {
            put_error(command_name(app), complaint.text, complaint.advice);
        }
        return usage;
    }
    keep_log_from_view(common.show_sensitive);
    try {
        const int status = action();
        if (!was_interrupted()) {
            return status;
        }
        throw Failed(interrupted_text);
    } catch (const std::exception& error) {
        return tell_failure(error, command_name(app), common);
    }
}

}  // namespace

void tell(std::string_view line) {
    const auto pause = pause_progress();
    std::cerr << wrapped("quorrin: " + std::string(line), terminal_width(STDERR_FILENO)) << '\n';
}

std::string examples(std::string_view lines) {
    return "Examples:\n" + std::string(lines);
}

}  // namespace quorrin::command

int main(int argc, char** argv) {
    using namespace quorrin::command;
    survive_closed_pipes();
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {  // standard output does not take the result
        tell(error.what());
        return failure;
    }
}
