// Exchanges that fail, and commands that the card refuses.

#include "explain/fault_rules.hpp"

namespace quorrin::explain {
namespace {

void reader_failures(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.call.is_exchange() && !told.call.has_status()) {
            const std::string meaning(decode::result_code(told.call.result).meaning);
            report.at(told, "the reader got no answer: " + std::to_string(told.call.result) +
                                (meaning.empty() ? "" : ", " + meaning));
        } else if (!told.call.is_exchange() && !told.call.entry->success) {
            report.at(told, "the reader reports " + std::to_string(told.call.result) + ", " +
                                told.call.result_name);
        }
    }
}

void refusals(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        const unsigned status = told.call.status();
        const bool ends_a_file =
            status == 0x6A83 && (told.kind == StepKind::Directory || told.kind == StepKind::Log);
        const bool no_directory = told.kind == StepKind::Directory && status == 0x6A82;
        const bool other_rule = told.kind == StepKind::Records ||
                                told.kind == StepKind::IssuerAuthentication ||
                                (told.kind == StepKind::Selection && status == 0x6283) ||
                                told.kind == StepKind::CardData;
        if (told.call.is_exchange() && told.call.has_status() && status != 0x9000 && !ends_a_file &&
            !no_directory && !other_rule) {
            const auto word = decode::status_word(static_cast<std::uint8_t>(status >> 8),
                                                  static_cast<std::uint8_t>(status));
            report.at(told, "the card refuses: " + decode::hex(told.call.answer.bytes) + ", " +
                                word.meaning);
        }
    }
}

constexpr Rule rules[] = {
    {Severity::Fault, Party::Reader, "", reader_failures},
    {Severity::Refusal, Party::Card, "", refusals},
};

}  // namespace

std::span<const Rule> exchange_rules() {
    return rules;
}

}  // namespace quorrin::explain
