#include "hosts/command/suggestions.hpp"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

namespace quorrin::command {
namespace {

// Letters to put in, take out, exchange or swap with the next one to make one word of another.
std::size_t edit_distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> before_last;
    std::vector<std::size_t> last(to.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row(to.size() + 1, i);
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t exchanged = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            row[j] = std::min({exchanged, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
                row[j] = std::min(row[j], before_last[j - 2] + 1);
            }
        }
        before_last = std::exchange(last, std::move(row));
    }
    return last.back();
}

// The nearest of some words; nothing where none is near.
std::string nearest(const std::string& word, const std::vector<std::string>& words) {
    constexpr std::size_t letters_a_mistake = 3;
    std::size_t least = std::max<std::size_t>(1, word.size() / letters_a_mistake) + 1;
    std::string found;
    for (const std::string& candidate : words) {
        const std::size_t distance = edit_distance(word, candidate);
        if (distance < least) {
            least = distance;
            found = candidate;
        }
    }
    return found;
}

// The commands that the line names, the program's own first.
std::vector<const CLI::App*> named_commands(const CLI::App& app) {
    std::vector<const CLI::App*> commands = {&app};
    while (!commands.back()->get_subcommands().empty()) {
        commands.push_back(commands.back()->get_subcommands().front());
    }
    return commands;
}

std::vector<std::string> option_names(const std::vector<const CLI::App*>& commands) {
    std::vector<std::string> names;
    for (const CLI::App* command : commands) {
        for (const CLI::Option* option : command->get_options({})) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

std::vector<std::string> subcommand_names(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* below : command.get_subcommands({})) {
        names.push_back(below->get_name());
    }
    return names;
}

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

std::string did_you_mean(const std::string& found) {
    return found.empty() ? std::string() : ": did you mean " + found + "?";
}

}  // namespace

std::string command_name(const CLI::App& app) {
    std::string name;
    for (const CLI::App* command : named_commands(app)) {
        if (command != &app) {
            name += (name.empty() ? "" : " ") + command->get_name();
        }
    }
    return name;
}

UsageComplaint complaint_of(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<const CLI::App*> commands = named_commands(app);
    const std::string name = command_name(app);
    const std::string help = (name.empty() ? "quorrin" : "quorrin " + name) + " --help tells more";
    const std::vector<std::string> below = subcommand_names(*commands.back());
    const std::vector<std::string> left = app.remaining(true);
    const auto option =
        std::ranges::find_if(left, [](const std::string& word) { return word.starts_with('-'); });
    if (option != left.end()) {
        // "--amout=3": up to the value.
        const std::string word = option->substr(0, option->find('='));
        return {"there is no option " + word + did_you_mean(nearest(word, option_names(commands))),
                help};
    }
    if (!left.empty() && !below.empty()) {
        return {"there is no command " + (name.empty() ? "" : name + " ") + left.front() +
                    did_you_mean(nearest(left.front(), below)),
                help};
    }
    if (!left.empty()) {
        return {"one argument too many: " + left.front(), help};
    }
    if (!below.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return {(name.empty() ? "no command; there are "
                              : "no command after " + name + "; there are ") +
                    listed(below),
                help};
    }
    return {error.what(), help};
}

}  // namespace quorrin::command
