// Stories in a terminal: the summary, then a line for each step, warnings below it.

#include <algorithm>
#include <cstdio>

#include "decode/render.hpp"
#include "explain/render.hpp"

namespace quorrin::explain {
namespace {

using Severity = Finding::Severity;

struct Colours {
    const char* bold = "";
    const char* dim = "";
    const char* good = "";
    const char* warning = "";
    const char* bad = "";
    const char* off = "";
};

Colours colours_of(const TextStyle& style) {
    return style.colour
               ? Colours{"\033[1m", "\033[2m", "\033[32m", "\033[33m", "\033[31m", "\033[0m"}
               : Colours{};
}

std::string number(double value, int width, int decimals) {
    char text[48];
    std::snprintf(text, sizeof text, "%*.*f", width, decimals, value);
    return text;
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// Breaks at blanks; later lines begin at `indent`.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t width) {
    std::string out;
    std::size_t column = indent;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (column > indent && column + 1 + end > width) {
            out += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            out += ' ';
            ++column;
        }
        out += text.substr(0, end);
        column += end;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

std::string lines_text(const std::vector<std::size_t>& lines) {
    return lines.size() == 1
               ? "line " + std::to_string(lines.front())
               : "lines " + std::to_string(lines.front()) + "-" + std::to_string(lines.back());
}

bool has_warning(const Step& step) {
    return std::ranges::any_of(step.findings, [](const Finding& finding) {
        return finding.severity >= Severity::Warning;
    });
}

// What the marks before the steps mean, where there are any.
std::string legend(const std::vector<Step>& steps) {
    const bool ended = std::ranges::any_of(steps, &Step::failed);
    const bool amiss = std::ranges::any_of(
        steps, [](const Step& step) { return !step.failed && has_warning(step); });
    std::string text = ended ? "x: ended here" : "";
    text += amiss ? (ended ? ", !: not as it should be" : "!: not as it should be") : "";
    return text.empty() ? text : std::string(20, ' ') + text;
}

class Writer {
  public:
    explicit Writer(const TextStyle& style) : style_(style), colours_(colours_of(style)) {}

    std::string whole(const Story& story) {
        text_ += std::string(colours_.bold) + (story.file.empty() ? "trace" : story.file) +
                 colours_.off + ": " + std::to_string(story.lines) +
                 (story.lines == 1 ? " line, " : " lines, ") +
                 std::to_string(story.transactions.size()) +
                 (story.transactions.size() == 1 ? " transaction\n" : " transactions\n");
        problems(story.problems);
        for (std::size_t i = 0; i < story.transactions.size(); ++i) {
            transaction(i + 1, story.transactions[i]);
        }
        return std::move(text_);
    }

  private:
    void problems(const std::vector<trace::Problem>& problems) {
        constexpr std::size_t most = 3;
        for (std::size_t i = 0; i < std::min(most, problems.size()); ++i) {
            text_ += std::string(colours_.bad) + "  line " + std::to_string(problems[i].line) +
                     ": " + problems[i].reason + colours_.off + "\n";
        }
        if (problems.size() > most) {
            text_ += std::string(colours_.bad) + "  and " + std::to_string(problems.size() - most) +
                     (problems.size() == most + 1 ? " more line" : " more lines") +
                     " that cannot be read" + colours_.off + "\n";
        }
    }

    void facts(const char* heading, const std::vector<Fact>& facts) {
        constexpr std::size_t heading_width = 8;
        constexpr std::size_t name_width = 22;
        for (const Fact& fact : facts) {
            text_ += "   " + padded(&fact == &facts.front() ? heading : "", heading_width) +
                     colours_.dim + padded(fact.name, name_width) + colours_.off +
                     wrapped(fact.value, 3 + heading_width + name_width, style_.width) + "\n";
        }
    }

    void transaction(std::size_t index, const Transaction& told) {
        const char* colour = told.failed     ? colours_.bad
                             : told.complete ? colours_.good
                                             : colours_.warning;
        std::string place = told.slot.empty() ? "" : told.slot + " slot";
        if (!told.terminal.empty()) {
            place += (place.empty() ? "terminal " : ", terminal ") + told.terminal;
        }
        text_ += "\n" + std::string(colours_.bold) + std::to_string(index) + "  " + told.title +
                 colours_.off + "  " + colours_.dim + told.timestamp.substr(0, 10) + " " +
                 (told.timestamp.size() > 19 ? told.timestamp.substr(11, 8) + " UTC, " : "") +
                 place + ", lines " + std::to_string(told.first_line) + "-" +
                 std::to_string(told.last_line) + colours_.off + "\n   " + colour +
                 wrapped(told.ended, 3, style_.width) + colours_.off + "\n";
        if (!told.complete) {
            text_ += std::string("   ") + colours_.warning +
                     "incomplete: the recording or the visit stops here" + colours_.off + "\n";
        }
        text_ += "\n";
        facts("Card", told.card);
        facts("Asked", told.asked);
        facts("Time", told.time);
        text_ += std::string("\n") + colours_.dim + "      at ms    took ms  step" +
                 legend(told.steps) + colours_.off + "\n";
        for (const Step& step : told.steps) {
            this->step(told, step);
        }
    }

    void step(const Transaction& told, const Step& step) {
        constexpr std::size_t title_width = 24;
        constexpr std::size_t text_column = 24;
        const bool is_amiss = has_warning(step);
        const char* mark_colour = step.failed ? colours_.bad : is_amiss ? colours_.warning : "";
        text_ += " " + std::string(mark_colour) +
                 (step.failed ? "x"
                  : is_amiss  ? "!"
                              : " ") +
                 colours_.off + number(static_cast<double>(step.began - told.began) / 1e3, 9, 1) +
                 number(static_cast<double>(step.duration) / 1e6, 11, 3) + "  " + colours_.bold +
                 padded(step.title, title_width) + colours_.off +
                 wrapped(step.outcome, text_column + title_width, style_.width) + "\n";
        for (const std::string& words : step.passed_over) {
            text_ += std::string(text_column, ' ') + wrapped(words, text_column + 2, style_.width) +
                     "\n";
        }
        for (const Finding& finding : step.findings) {
            const char* colour = finding.severity >= Severity::Refusal   ? colours_.bad
                                 : finding.severity == Severity::Warning ? colours_.warning
                                                                         : colours_.dim;
            std::string line = std::string(name_of(finding.severity)) + ", " +
                               std::string(name_of(finding.party)) + ": " + finding.text;
            if (!finding.source.empty()) {
                line += " [" + finding.source + "]";
            }
            if (finding.line != 0) {
                line += " (line " + std::to_string(finding.line) + ")";
            }
            text_ += std::string(text_column, ' ') + colour +
                     wrapped(line, text_column + 2, style_.width) + colours_.off + "\n";
        }
        if (style_.details) {
            for (const Exchange& exchange : step.exchanges) {
                details(exchange);
            }
        }
    }

    void details(const Exchange& exchange) {
        constexpr std::size_t indent = 10;
        text_ += std::string(indent - 2, ' ') + colours_.bold + exchange.name + colours_.off +
                 "  " + colours_.dim + lines_text(exchange.lines) + ", " +
                 number(static_cast<double>(exchange.duration) / 1e6, 0, 1) + " ms" + colours_.off +
                 "\n";
        const decode::TextStyle style{style_.colour, style_.width, indent};
        if (!exchange.command.empty()) {
            text_ += decode::to_text(exchange.sent, style);
        }
        if (!exchange.answer.empty()) {
            text_ += decode::to_text(exchange.received, style);
        } else if (!exchange.status_meaning.empty()) {
            text_ += std::string(indent, ' ') + std::to_string(exchange.result) + " " +
                     exchange.status_meaning + " " + exchange.status_message + "\n";
        }
    }

    TextStyle style_;
    Colours colours_;
    std::string text_;
};

}  // namespace

std::string to_text(const Story& story, const TextStyle& style) {
    return Writer(style).whole(story);
}

}  // namespace quorrin::explain
