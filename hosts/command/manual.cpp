#include "hosts/command/manual.hpp"

#include <vector>

#include "hosts/command/help_layout.hpp"

namespace quorrin::command {
namespace {

// Backslashes, hyphens and leading dots mean something in troff.
std::string troff(const std::string& text) {
    std::string out;
    bool at_start = true;
    for (const char c : text) {
        if (at_start && (c == '.' || c == '\'')) {
            out += "\\&";
        }
        out += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
        at_start = c == '\n';
    }
    return out;
}

std::vector<const CLI::App*> subcommands_of(const CLI::App& app) {
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_name().empty(); });
}

// Options that are described; those without a group are hidden.
std::vector<const CLI::Option*> options_of(const CLI::App& app) {
    std::vector<const CLI::Option*> options;
    for (const CLI::Option* option : app.get_options({})) {
        if (!option->get_group().empty() && option != app.get_help_ptr()) {
            options.push_back(option);
        }
    }
    return options;
}

// A thing outside of the command line and what it is for.
struct PageRow {
    const char* name;
    const char* text;
};

constexpr PageRow files_of_the_command[] = {
    {"/usr/share/quorrin/profiles",
     "the shipped cards: --reader simulator:NAME puts one in, quorrin-card-profile(5)"},
    {"/usr/share/quorrin/schemas", "what is written with --json, as JSON schemas"},
    {"~/.config/quorrin/pcsc.toml", "which PC/SC reader serves which slot"},
};

constexpr PageRow variables[] = {
    {"QUORRIN_SIMULATOR", "the simulated reader's file, quorrin-reader(5); --reader goes above it"},
    {"QUORRIN_PROFILES", "the folder of the shipped cards"},
    {"QUORRIN_PCSC_CONFIG", "another file than ~/.config/quorrin/pcsc.toml"},
    {"QUORRIN_PCSC_CONTACT, QUORRIN_PCSC_CONTACTLESS, QUORRIN_PCSC_MAS, QUORRIN_PCSC_SAM1 ... SAM4",
     "the PC/SC reader of a slot, above that file; none for no reader"},
    {"QUORRIN_PCSC_ACCESS, QUORRIN_PCSC_WAIT, QUORRIN_PCSC_VERBOSE",
     "how PC/SC readers are shared, how long they are waited for, and whether a failed opening is "
     "explained"},
    {"QUORRIN_TRACE_TERMINAL, QUORRIN_TRACE_ROTATE, QUORRIN_TRACE_KEEP",
     "with --trace: the terminal's name, the size of a file and the number of older files, "
     "quorrin-trace(5)"},
    {"QT_LOGGING_RULES", "with --show-sensitive: the library's log, such as default.debug=true"},
    {"NO_COLOR", "no colours"},
    {"XDG_CONFIG_HOME", "another folder than ~/.config"},
};

std::string row_entry(const PageRow& row) {
    return std::string(".TP\n.B ") + troff(row.name) + "\n" + troff(row.text) + "\n";
}

std::string long_name(const CLI::Option& option) {
    return option.get_lnames().empty() ? "" : "--" + option.get_lnames().front();
}

void describe_options(const CLI::App& app, std::string& page) {
    for (const CLI::Option* option : options_of(app)) {
        const std::string value = value_name(*option);
        const std::string name = option->get_positional() ? option->get_name(true)
                                                          : option->get_name(false, true) +
                                                                (value.empty() ? "" : " " + value);
        page += ".TP\n.B " + troff(name) + "\n" + troff(description_of(*option)) + "\n";
    }
}

void describe_command(const CLI::App& command, const std::string& before, std::string& page) {
    const std::string name = before + command.get_name();
    page += ".SS " + troff(name) + "\n" + troff(command.get_description()) + ".\n";
    describe_options(command, page);
    if (const std::string footer = command.get_footer(); !footer.empty()) {
        // Lines to be typed stay whole: from the left edge on they fit.
        page += ".PP\n.in 0\n.nf\n" + troff(footer) + "\n.fi\n.in\n";
    }
    for (const CLI::App* below : subcommands_of(command)) {
        describe_command(*below, name + " ", page);
    }
}

// The words that an option may take, where its check names them: "{a,b}".
std::string words_of(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t open = type.find('{');
    const std::size_t close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) {
        return {};
    }
    std::string words = type.substr(open + 1, close - open - 1);
    for (char& c : words) {
        c = c == ',' ? ' ' : c;
    }
    return words;
}

std::string names_of(const std::vector<const CLI::App*>& commands) {
    std::string names;
    for (const CLI::App* command : commands) {
        names += (names.empty() ? "" : " ") + command->get_name();
    }
    return names;
}

std::string option_names(const CLI::App& app) {
    std::string names;
    for (const CLI::Option* option : options_of(app)) {
        if (!option->get_lnames().empty()) {
            names += " " + long_name(*option);
        }
    }
    return names;
}

}  // namespace

std::string manual_page(CLI::App& app, const std::string& version) {
    std::string page =
        ".TH QUORRIN 1 \"\" \"Quorrin " + version +
        "\" \"Payment cards\"\n"
        // Names are to be typed as they stand: no hyphens of the page's own.
        ".nh\n.ad l\n"
        ".SH NAME\nquorrin \\- card data, cards and readers from the shell\n"
        ".SH SYNOPSIS\n.B quorrin\n[\\fIoptions\\fR] \\fIcommand\\fR [\\fIarguments\\fR]\n"
        ".SH DESCRIPTION\n"
        "Reads payment cards in real and simulated readers, tells what card data mean, "
        "records and explains what went on, and buys with a test bank. Card numbers, "
        "tracks, names and numbers of papers are masked unless they are asked for.\n"
        ".SH OPTIONS\nBefore or after the command:\n";
    describe_options(app, page);
    page += ".SH COMMANDS\n";
    for (const CLI::App* command : subcommands_of(app)) {
        describe_command(*command, "", page);
    }
    page +=
        ".SH EXIT STATUS\n0 done, 1 the operation failed, 2 wrong usage.\n"
        ".SH FILES\n";
    for (const PageRow& row : files_of_the_command) {
        page += row_entry(row);
    }
    page += ".SH ENVIRONMENT\n";
    for (const PageRow& row : variables) {
        page += row_entry(row);
    }
    page +=
        ".SH SEE ALSO\n.BR quorrin\\-card\\-profile (5),\n.BR quorrin\\-reader (5),\n"
        ".BR quorrin\\-trace (5),\n"
        ".BR pcscd (8)\n";
    return page;
}

std::string bash_completion(CLI::App& app) {
    const auto commands = subcommands_of(app);
    std::string script =
        "# bash completion for quorrin\n_quorrin()\n{\n"
        "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= "
        "word\n"
        "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
        "        [[ $word != -* ]] && { command=$word; break; }\n    done\n"
        "    local words=\"" +
        names_of(commands) + option_names(app) + "\"\n    case $command in\n";
    for (const CLI::App* command : commands) {
        script += "        " + command->get_name() + ")\n            words=\"" +
                  names_of(subcommands_of(*command)) + option_names(*command) + option_names(app) +
                  "\"\n            case $before in\n";
        for (const CLI::Option* option : options_of(*command)) {
            const std::string words = words_of(*option);
            if (!option->get_lnames().empty() && option->get_items_expected_max() > 0) {
                script += "                " + long_name(*option) + ") " +
                          (words.empty() ? "COMPREPLY=($(compgen -f -- \"$current\")); return"
                                         : "words=\"" + words + "\"") +
                          " ;;\n";
            }
        }
        script += "            esac ;;\n";
    }
    return script +
           "    esac\n    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "    [[ ${#COMPREPLY[@]} -gt 0 || $current == -* ]] || COMPREPLY=($(compgen -f -- "
           "\"$current\"))\n"
           "}\ncomplete -o filenames -F _quorrin quorrin\n";
}

// What bash knows serves zsh too.
std::string zsh_completion(CLI::App& app) {
    return "#compdef quorrin\nautoload -U +X bashcompinit && bashcompinit\n" + bash_completion(app);
}

}  // namespace quorrin::command
