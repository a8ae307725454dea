// What is wrong with the bank's answer.

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

constexpr Rule rules[] = {
    {Severity::Warning, Party::Bank, "EMV book 3, 10.10", scripts_refused},
};

}  // namespace

std::span<const Rule> bank_rules() {
    return rules;
}

}  // namespace quorrin::explain
