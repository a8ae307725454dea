// Exchanges that fail, and commands that the card refuses.

#include "explain/fault_rules.hpp"
#include "explain/passed_over.hpp"

namespace quorrin::explain {
namespace {

std::string failure_text(const Call& call) {
    if (!call.is_exchange()) {
        return "the reader reports " + std::to_string(call.result) + ", " + call.result_name;
    }
    const std::string meaning(decode::result_code(call.result).meaning);
    return "the reader got no answer: " + std::to_string(call.result) +
           (meaning.empty() ? "" : ", " + meaning);
}

void reader_failures(const Context& context, const Report& report, bool ended) {
    for (const ToldCall& told : context.visit.calls) {
        const bool failed =
            told.call.is_exchange() ? !told.call.has_status() : !told.call.entry->success;
        const bool is_told_elsewhere = !ended && is_search(told) && !told.call.is_exchange();
        if (failed && !is_told_elsewhere && ended_something(context.visit, told) == ended) {
            report.at(told, failure_text(told.call));
        }
    }
}

void failures_that_ended(const Context& context, const Report& report) {
    reader_failures(context, report, true);
}

void failures_passed_over(const Context& context, const Report& report) {
    reader_failures(context, report, false);
}

// Refusals that are told by a rule of their own, or are an answer like any other where they stand.
bool has_other_words(const ToldCall& told) {
    const unsigned status = told.call.status();
    switch (told.kind) {
        case StepKind::Directory:
            return status == 0x6A83 || status == 0x6A82;
        case StepKind::Log:
            return status == 0x6A83;
        case StepKind::Selection:
            return status == 0x6283;
        case StepKind::CardData:
        case StepKind::Records:
        case StepKind::IssuerAuthentication:
        case StepKind::IssuerScripts:
            return true;
        default:
            return false;
    }
}

void refusals(const Context& context, const Report& report, bool ended) {
    for (const ToldCall& told : context.visit.calls) {
        const unsigned status = told.call.status();
        const bool is_told_elsewhere = has_other_words(told) || (!ended && is_search(told));
        if (!told.call.is_exchange() || !told.call.has_status() || status == 0x9000 ||
            is_told_elsewhere || ended_something(context.visit, told) != ended) {
            continue;
        }
        const auto word = decode::status_word(static_cast<std::uint8_t>(status >> 8),
                                              static_cast<std::uint8_t>(status));
        report.at(told,
                  "the card refuses: " + decode::hex(told.call.answer.bytes) + ", " + word.meaning);
    }
}

void refusals_that_ended(const Context& context, const Report& report) {
    refusals(context, report, true);
}

void refusals_passed_over(const Context& context, const Report& report) {
    refusals(context, report, false);
}

constexpr Rule exchange_rule_table[] = {
    {Severity::Fault, Party::Reader, "", failures_that_ended},
    {Severity::Warning, Party::Reader, "", failures_passed_over},
    {Severity::Refusal, Party::Card, "", refusals_that_ended},
    {Severity::Warning, Party::Card, "", refusals_passed_over},
};

}  // namespace

std::span<const Rule> exchange_rules() {
    return exchange_rule_table;
}

}  // namespace quorrin::explain
