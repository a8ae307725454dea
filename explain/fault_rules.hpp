// The rules by which a visit is judged: what each looks for, whose fault it is, which clause says so.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "explain/visit.hpp"

namespace quorrin::explain {

using Severity = Finding::Severity;
using Party = Finding::Party;
using Bytes = std::span<const std::uint8_t>;

// Collects what a rule finds, at the step and line where it shows.
class Report {
  public:
    Report(Visit& visit, Severity severity, Party party, std::string_view source)
        : visit_(visit), severity_(severity), party_(party), source_(source) {}

    void at(const ToldCall& told, std::string text) const {
        add(told.step, told.call.lines.front(), std::move(text));
    }
    // At the step where an element was seen, else at the last of a kind.
    void at(StepKind kind, std::string text) const {
        if (const ToldCall* told = visit_.last(kind)) {
            at(*told, std::move(text));
        }
    }

  private:
    void add(std::size_t step, std::size_t line, std::string text) const {
        visit_.steps[step].findings.push_back(
            {severity_, party_, std::move(text), std::string(source_), line});
    }

    Visit& visit_;
    Severity severity_;
    Party party_;
    std::string_view source_;
};

// The visit, and those to the same card before it.
struct Context {
    const Visit& visit;
    const std::vector<const Visit*>& before;
};

struct Rule {
    Severity severity;
    Party party;
    std::string_view source;
    void (*look)(const Context&, const Report&);
};

// By who is to mend it.
std::span<const Rule> exchange_rules();
std::span<const Rule> card_rules();
std::span<const Rule> host_rules();
std::span<const Rule> bank_rules();

inline bool all_are(Bytes bytes, std::uint8_t value) {
    return !bytes.empty() &&
           std::ranges::all_of(bytes, [value](std::uint8_t byte) { return byte == value; });
}

// Names that say nothing to a newcomer get a few words more.
inline std::string named(std::uint32_t tag) {
    struct Words {
        std::uint32_t tag;
        std::string_view text;
    };
    constexpr Words words[] = {
        {0x9F38, ", the data that the card asks for first"},
        {0x8C, ", the data that the card asks for with its first cryptogram"},
        {0x8D, ", the data that the card asks for with its second cryptogram"},
        {0x95, ", what the terminal found amiss"},
        {0x9B, ", what the terminal has done"},
    };
    const auto* const row = std::ranges::find(words, tag, &Words::tag);
    const std::string_view name = decode::element_name(tag);
    return decode::tag_text(tag) + (name.empty() ? "" : " (" + std::string(name)) +
           (row != std::end(words) ? std::string(row->text) : "") + (name.empty() ? "" : ")");
}

}  // namespace quorrin::explain
