#include "hosts/command/help_layout.hpp"

#include <algorithm>
#include <cctype>

#include "hosts/command/wrapping.hpp"

namespace quorrin::command {
namespace {

constexpr std::size_t help_width = 80;
constexpr std::size_t longest_name = 24;  // that has its description beside it

// A name, and what is to be said of it beside or below it.
std::string help_entry(const std::string& name, const std::string& text) {
    std::string out = "  " + name;
    const std::size_t column = longest_name + 4;
    if (name.size() > longest_name) {
        out += "\n" + std::string(column, ' ');
    } else {
        out.resize(column, ' ');
    }
    bool is_first = true;
    for (const std::string& line : cell_lines(text, help_width - column)) {
        out += (is_first ? "" : std::string(column, ' ')) + line + "\n";
        is_first = false;
    }
    return out;
}

// "{right,wrong,none}" as "right|wrong|none".
std::string listed_words(const std::string& type) {
    const std::size_t open = type.find('{');
    const std::size_t close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) {
        return {};
    }
    std::string words = type.substr(open + 1, close - open - 1);
    std::ranges::replace(words, ',', '|');
    return words;
}

std::string last_word_of_name(const CLI::Option& option) {
    const std::string name = option.get_lnames().empty() ? "value" : option.get_lnames().front();
    std::string word = name.substr(name.rfind('-') + 1);
    std::ranges::transform(word, word.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return word;
}

}  // namespace

std::string value_name(const CLI::Option& option) {
    if (option.get_items_expected_max() == 0) {
        return {};
    }
    // "TEXT", "READER", "TEXT:FILE", "SLOT:{contact,...}", "INT:INT in [1 - 2]".
    const std::string type = option.get_type_name();
    const std::string named = type.substr(0, type.find(':'));
    if (type.ends_with(":FILE")) {
        return "FILE";
    }
    if (named != "TEXT" && named != "INT") {
        return named;
    }
    const std::string words = listed_words(type);
    return !words.empty() && words.size() < longest_name ? words
           : named == "INT"                              ? "NUMBER"
                                                         : last_word_of_name(option);
}

std::string description_of(const CLI::Option& option) {
    const std::string usual = option.get_default_str();
    return option.get_description() + (usual.empty() ? "" : " (default: " + usual + ")");
}

std::string HelpLayout::make_option(const CLI::Option* option, bool is_positional) const {
    std::string name = is_positional ? option->get_name(true) : option->get_name(false, true);
    if (const std::string value = value_name(*option); !is_positional && !value.empty()) {
        name += " " + value;
    }
    return help_entry(name, description_of(*option));
}

std::string HelpLayout::make_subcommand(const CLI::App* command) const {
    return help_entry(command->get_name(), command->get_description());
}

}  // namespace quorrin::command
