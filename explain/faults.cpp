// What the standards forbid, and what commonly goes wrong: one rule a row, in a file for each party.

#include "explain/fault_rules.hpp"

namespace quorrin::explain {
namespace {

void slow_exchanges(const Context& context, const Report& report) {
    constexpr std::int64_t slow = 1'000'000'000;  // nanoseconds
    for (const ToldCall& told : context.visit.calls) {
        if (told.call.is_exchange() && told.call.duration >= slow) {
            report.at(told, "took " + std::to_string(told.call.duration / 1'000'000) + " ms");
        }
    }
}

constexpr Rule any_time[] = {
    {Severity::Note, Party::Card, "", slow_exchanges},
};

}  // namespace

void find_faults(Visit& visit, const std::vector<const Visit*>& before) {
    if (visit.calls.empty()) {
        return;
    }
    const Context context{visit, before};
    for (const auto rules : {exchange_rules(), card_rules(), host_rules(), bank_rules(),
                             std::span<const Rule>(any_time)}) {
        for (const Rule& rule : rules) {
            rule.look(context, Report(visit, rule.severity, rule.party, rule.source));
        }
    }
    // Bad data in an answer, wherever the decoder met it.
    for (const ToldCall& told : visit.calls) {
        if (!told.call.is_exchange()) {
            continue;
        }
        Step& step = visit.steps[told.step];
        for (const decode::Problem& problem :
             decode::all_problems(step.exchanges[told.exchange].received)) {
            // A masked value cannot be judged.
            if (problem.kind == decode::Problem::Kind::Malformed && !told.call.answer.is_masked()) {
                step.findings.push_back(
                    {Severity::Fault, Party::Card,
                     problem.text + " (byte " + std::to_string(problem.offset) + " of the answer)",
                     "", told.call.lines.front()});
            }
        }
    }
    for (Step& step : visit.steps) {
        std::ranges::stable_sort(step.findings, {}, &Finding::line);
    }
}

}  // namespace quorrin::explain
