// The `quorrin` command: one program, a subcommand for each thing that a person does with card data,
// cards and readers.
#include <unistd.h>

#include <exception>
#include <iostream>
#include <string>

#include "hosts/command/card_session.hpp"
#include "hosts/command/manual.hpp"
#include "hosts/command/output.hpp"
#include "hosts/command/progress.hpp"
#include "hosts/command/subcommand.hpp"

namespace quorrin::command {
namespace {

// In the order of the help.
constexpr AddSubcommand subcommands[] = {
    add_readers,  add_info, add_aids,   add_pan,     add_log,    add_dump,    add_apdu,
    add_purchase, add_bank, add_decode, add_explain, add_replay, add_profile, add_doctor,
};

int run(int argc, char** argv) {
    CLI::App app("Card data, cards and readers from the shell.", "quorrin");
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
    } catch (const CLI::ParseError& error) {
        // Help is a result, wrong usage is not.
        std::ostringstream results;
        std::ostringstream messages;
        const int status = app.exit(error, results, messages);
        put_result(results.str());
        std::cerr << messages.str();
        return status == 0 ? success : usage;
    }
    keep_log_from_view(common.show_sensitive);
    const int status = action();
    if (was_interrupted()) {
        tell(interrupted_text);
        return failure;
    }
    return status;
}

}  // namespace

void tell(std::string_view line) {
    const auto pause = pause_progress();
    std::cerr << "quorrin: " << line << '\n';
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
    } catch (const quorrin::host::Failure& error) {
        tell(describe(error));
        return failure;
    } catch (const WrongUsage& error) {
        tell(error.what());
        return usage;
    } catch (const std::exception& error) {
        tell(error.what());
        return failure;
    }
}
