// What hosts and their terminals do wrong.

#include "explain/fault_rules.hpp"

namespace quorrin::explain {
namespace {

bool card_was_powered_down(const Visit& visit) {
    return visit.has(StepKind::PowerOff);
}

void wrong_length_asked(const Context& context, const Report& report) {
    std::size_t repeated = 0;
    for (const ToldCall& told : context.visit.calls) {
        repeated += told.call.wrong_le;
    }
    if (repeated > 0) {
        report.at(context.visit.calls.front(),
                  std::to_string(repeated) +
                      " commands had to be repeated with the length that the card "
                      "named (6Cxx)");
    }
}

void without_processing_options(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::FirstCryptogram &&
            !context.visit.has(StepKind::ProcessingOptions)) {
            report.at(told, "GENERATE AC without GET PROCESSING OPTIONS before it");
        }
    }
}

void goes_on_after_refused_selection(const Context& context, const Report& report) {
    for (std::size_t i = 0; i + 1 < context.visit.calls.size(); ++i) {
        const ToldCall& told = context.visit.calls[i];
        const ToldCall& next = context.visit.calls[i + 1];
        if (told.kind == StepKind::Selection && told.call.has_status() &&
            told.call.status() != 0x9000 && told.call.status() != 0x6283 &&
            next.kind == StepKind::ProcessingOptions) {
            report.at(next, "the host goes on although nothing is selected");
        }
    }
}

void selection_without_name(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::Selection && told.call.command_data().empty()) {
            report.at(told, "SELECT by name without a name: the directory gave no application");
        }
    }
}

void wrong_list_data(const Context& context, const Report& report) {
    struct Row {
        StepKind kind;
        std::uint32_t list;
        std::size_t header;
    };
    constexpr Row rows[] = {{StepKind::ProcessingOptions, 0x9F38, 2},
                            {StepKind::FirstCryptogram, 0x8C, 0},
                            {StepKind::SecondCryptogram, 0x8D, 0}};
    for (const Row& row : rows) {
        const ToldCall* told = context.visit.first(row.kind);
        const Bytes list = context.visit.card.bytes(row.list);
        if (told == nullptr || list.empty()) {
            continue;
        }
        const std::size_t asked = list_data_size(list) + row.header;
        if (const std::size_t sent = told->call.command_data().size(); sent != asked) {
            report.at(*told, named(row.list) + " asks for " + std::to_string(asked - row.header) +
                                 " bytes, but " +
                                 std::to_string(sent - std::min(sent, row.header)) + " were sent");
        }
    }
}

void empty_terminal_data(const Context& context, const Report& report) {
    const StepKind kind = context.visit.has(StepKind::FirstCryptogram)
                              ? StepKind::FirstCryptogram
                              : StepKind::ProcessingOptions;
    // Without a purchase an amount of zero is what a reading host sends.
    if (!context.visit.has(StepKind::FirstCryptogram) && !context.visit.quick) {
        return;
    }
    for (const std::uint32_t tag : {0x9F37u, 0x9F02u, 0x9F1Au, 0x5F2Au, 0x9Au}) {
        if (all_are(context.visit.terminal.clear_bytes(tag), 0x00)) {
            report.at(kind, "the card asked for " + named(tag) + " and got zeros");
        }
    }
}

void repeated_random_number(const Context& context, const Report& report) {
    const Bytes number = context.visit.terminal.bytes(0x9F37);
    if (number.empty() || all_are(number, 0) || !context.visit.has(StepKind::FirstCryptogram)) {
        return;
    }
    for (const Visit* earlier : context.before) {
        if (std::ranges::equal(earlier->terminal.bytes(0x9F37), number)) {
            report.at(StepKind::FirstCryptogram,
                      "the unpredictable number (9F37) is that of an earlier transaction");
            return;
        }
    }
}

void records_not_named(const Context& context, const Report& report) {
    const Bytes locator = context.visit.card.bytes(0x94);
    if (locator.empty()) {
        return;
    }
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind != StepKind::Records) {
            continue;
        }
        const RecordPlace place = record_place(told.call);
        bool is_named = false;
        for (std::size_t at = 0; at + 4 <= locator.size(); at += 4) {
            is_named =
                is_named || (locator[at] >> 3 == place.file && locator[at + 1] <= place.record &&
                             place.record <= locator[at + 2]);
        }
        if (!is_named) {
            report.at(told, "record " + std::to_string(place.record) + " of file " +
                                std::to_string(place.file) + " is not named by the file locator");
        }
    }
}

void authenticated_twice(const Context& context, const Report& report) {
    if (context.visit.count(StepKind::IssuerAuthentication) > 1) {
        report.at(*context.visit.last(StepKind::IssuerAuthentication),
                  "EXTERNAL AUTHENTICATE a second time in one transaction");
    }
}

void authenticated_without_data(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::IssuerAuthentication && told.call.command_data().empty()) {
            report.at(told, "EXTERNAL AUTHENTICATE without data: the bank's answer had no 91");
        }
    }
}

void authenticated_unasked(const Context& context, const Report& report) {
    const Bytes profile = context.visit.card.bytes(0x82);
    constexpr std::uint8_t issuer_authentication = 0x04;
    if (profile.size() == 2 && (profile[0] & issuer_authentication) == 0 &&
        context.visit.has(StepKind::IssuerAuthentication)) {
        report.at(
            StepKind::IssuerAuthentication,
            "EXTERNAL AUTHENTICATE although the application's abilities (82) do not offer it");
    }
}

void left_powered(const Context& context, const Report& report) {
    const ToldCall& last = context.visit.calls.back();
    const bool card_is_gone = last.call.is_exchange() && !last.call.has_status();
    if (context.visit.has(StepKind::PowerOn) && !card_was_powered_down(context.visit) &&
        last.kind == StepKind::Connection && !card_is_gone) {
        report.at(last, "the reader is closed with the card still powered");
    }
}

constexpr Rule host_rule_table[] = {
    {Severity::Note, Party::Host, "ISO 7816-3, 10.3", wrong_length_asked},
    {Severity::Fault, Party::Host, "EMV book 3, 10.1", without_processing_options},
    {Severity::Fault, Party::Host, "EMV book 1, 12.4", goes_on_after_refused_selection},
    {Severity::Fault, Party::Host, "EMV book 1, 11.3.2", selection_without_name},
    {Severity::Fault, Party::Host, "EMV book 3, 5.4", wrong_list_data},
    {Severity::Warning, Party::Host, "EMV book 3, annex A", empty_terminal_data},
    {Severity::Warning, Party::Host, "EMV book 4, 6.5.6", repeated_random_number},
    {Severity::Warning, Party::Host, "EMV book 3, 10.2", records_not_named},
    {Severity::Warning, Party::Host, "EMV book 3, 6.5.4", authenticated_twice},
    {Severity::Warning, Party::Host, "EMV book 3, 10.9", authenticated_without_data},
    {Severity::Warning, Party::Host, "EMV book 3, 10.9", authenticated_unasked},
    {Severity::Warning, Party::Host, "EMV book 1, 6.1.5", left_powered},
};

}  // namespace

std::span<const Rule> host_rules() {
    return host_rule_table;
}

}  // namespace quorrin::explain
