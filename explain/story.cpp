#include "explain/story.hpp"

#include <algorithm>
#include <array>

#include "explain/masking.hpp"
#include "explain/visit.hpp"

namespace quorrin::explain {

std::string_view title_of(StepKind kind) {
    constexpr std::array<std::string_view, 16> titles = {
        "Reader",
        "Power on",
        "Directory",
        "Application selection",
        "Processing options",
        "Records",
        "Card data",
        "Holder verification",
        "Card authentication",
        "First cryptogram",
        "Issuer authentication",
        "Issuer scripts",
        "Second cryptogram",
        "Log",
        "Other commands",
        "Power off",
    };
    static_assert(static_cast<std::size_t>(StepKind::PowerOff) + 1 == titles.size());
    return titles[static_cast<std::size_t>(kind)];
}

std::string_view name_of(Finding::Severity severity) {
    constexpr std::array<std::string_view, 4> names = {"note", "warning", "refusal", "fault"};
    return names[static_cast<std::size_t>(severity)];
}

std::string_view name_of(Finding::Party party) {
    constexpr std::array<std::string_view, 4> names = {"card", "host", "reader", "bank"};
    return names[static_cast<std::size_t>(party)];
}

namespace {

// Names in a recording are whatever its writer says. Control characters, those of two bytes as well,
// would speak to the terminal that shows them.
void clean(std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
        if (byte < 0x20 || byte == 0x7F) {
            text[i] = '.';
        } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
            text.replace(i, 2, ".");
        }
    }
}

trace::Trace readable(trace::Trace trace) {
    for (trace::Entry& entry : trace.entries) {
        for (std::string* text :
             {&entry.terminal, &entry.session, &entry.result_name, &entry.reader_name,
              &entry.reader_serial, &entry.slot_name, &entry.instruction}) {
            clean(*text);
        }
    }
    return trace;
}

}  // namespace

Story tell(const trace::Trace& recording, const Options& options) {
    const trace::Trace trace = readable(recording);
    Story story;
    story.problems = trace.problems;
    for (const trace::Entry& entry : trace.entries) {
        story.lines = std::max(story.lines, entry.line);
    }
    // What is wrong is looked for in all that was recorded, and told with what may be shown of it.
    std::vector<Visit> visits = visits_of(trace, options);
    std::vector<const Visit*> before;
    for (Visit& visit : visits) {
        find_faults(visit, before);
        before.push_back(&visit);
    }
    const bool hides =
        !options.show_sensitive &&
        std::ranges::any_of(trace.entries, [](const trace::Entry& entry) { return !entry.masked; });
    const trace::Trace hidden = hides ? masked(trace) : trace::Trace();  // visits point into it
    if (hides) {
        std::vector<Visit> shown = visits_of(hidden, options);
        for (std::size_t i = 0; i < shown.size(); ++i) {
            for (std::size_t step = 0; step < shown[i].steps.size(); ++step) {
                shown[i].steps[step].findings = std::move(visits[i].steps[step].findings);
            }
        }
        visits = std::move(shown);
    }
    for (Visit& visit : visits) {
        tell_outcomes(visit);
        story.transactions.push_back(summarise(std::move(visit), options));
    }
    return story;
}

}  // namespace quorrin::explain
