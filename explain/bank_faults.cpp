// What is wrong with the bank's answer.

#include "explain/endings.hpp"
#include "explain/fault_rules.hpp"

namespace quorrin::explain {
namespace {

void scripts_refused(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::IssuerScripts && told.call.has_status() &&
            told.call.status() != 0x9000) {
            report.at(told, "an issuer script command is refused: " +
                                decode::hex(Bytes(told.call.answer.bytes).last(2)));
        }
    }
}

void declined(const Context& context, const Report& report, bool by_code) {
    for (const StepKind kind : {StepKind::IssuerAuthentication, StepKind::SecondCryptogram}) {
        const auto told =
            declines_at(context.visit, kind) ? authorisation_of(context.visit) : std::nullopt;
        if (told && told->party == Decision::Party::Bank && by_code != told->code.empty()) {
            report.at(kind, by_code ? std::string(name_of(told->result)) + ": " + told->words()
                                    : told->words());
        }
    }
}

void declined_by_code(const Context& context, const Report& report) {
    declined(context, report, true);
}

void declined_by_status_update(const Context& context, const Report& report) {
    declined(context, report, false);
}

constexpr Rule bank_rule_table[] = {
    {Severity::Refusal, Party::Bank, "EMV book 4, annex A6", declined_by_code},
    {Severity::Refusal, Party::Bank, "EMV book 3, annex C10", declined_by_status_update},
    {Severity::Warning, Party::Bank, "EMV book 3, 10.10", scripts_refused},
};

}  // namespace

std::span<const Rule> bank_rules() {
    return bank_rule_table;
}

}  // namespace quorrin::explain
