// What cards do wrong, and what personalisation forgets.

#include <array>

#include "explain/fault_rules.hpp"

namespace quorrin::explain {
namespace {

// --- Card: selection

void blocked_application(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::Selection && told.call.status() == 0x6283) {
            report.at(told, "the application is blocked");
        }
    }
}

void fci_without_name(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind != StepKind::Selection || told.call.status() != 0x9000) {
            continue;
        }
        const trace::MaskedBytes data = told.call.data();
        ElementsSeen objects;
        objects.add_objects(data, 0);
        if (data.empty() || data.bytes[0] != 0x6F) {
            report.at(told, "the answer to SELECT is no file control information template (6F)");
        } else if (!objects.has(0x84)) {
            report.at(told, "the file control information has no application name (DF name, 84)");
        } else {
            const Bytes name = objects.bytes(0x84);
            const trace::MaskedBytes asked = told.call.command_data();
            if (name.size() < asked.size() ||
                !std::equal(asked.bytes.begin(), asked.bytes.end(), name.begin())) {
                report.at(
                    told,
                    "the application name (DF name, 84) does not begin with what was selected");
            }
        }
    }
}

// --- Card: processing options and records

void locator_entries(const Context& context, const Report& report) {
    const Bytes locator = context.visit.card.bytes(0x94);
    const ToldCall* told = context.visit.last(StepKind::ProcessingOptions);
    if (told == nullptr || locator.empty()) {
        return;
    }
    if (locator.size() % 4 != 0) {
        report.at(*told, "the application file locator (94) is not made of entries of 4 bytes");
    }
    for (std::size_t at = 0; at + 4 <= locator.size(); at += 4) {
        const unsigned file = locator[at] >> 3;
        const unsigned first = locator[at + 1];
        const unsigned last = locator[at + 2];
        const std::string entry = "entry " + std::to_string(at / 4 + 1) + " of the file locator ";
        if (file == 0 || file == 31 || (locator[at] & 0x07) != 0) {
            report.at(*told, entry + "names no file of 1 to 30");
        }
        if (first == 0 || last < first) {
            report.at(*told, entry + "names records " + std::to_string(first) + " to " +
                                 std::to_string(last));
        } else if (locator[at + 3] > last - first + 1) {
            report.at(*told, entry + "authenticates more records than it names");
        }
    }
}

void records_refused(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::Records && told.call.has_status() &&
            told.call.status() != 0x9000) {
            const RecordPlace place = record_place(told.call);
            report.at(told, "record " + std::to_string(place.record) + " of file " +
                                std::to_string(place.file) +
                                ", named by the file locator, is refused: " +
                                decode::hex(Bytes(told.call.answer.bytes).last(2)));
        }
    }
}

void records_without_template(const Context& context, const Report& report) {
    constexpr unsigned last_emv_file = 10;
    for (const ToldCall& told : context.visit.calls) {
        const trace::MaskedBytes data = told.call.data();
        if (told.kind == StepKind::Records && told.call.status() == 0x9000 &&
            record_place(told.call).file <= last_emv_file &&
            (data.empty() || data.bytes[0] != 0x70)) {
            report.at(told, "a record of files 1 to 10 is not in a template 70");
        }
    }
}

void doubled_elements(const Context& context, const Report& report) {
    for (const auto& [tag, element] : context.visit.records.all()) {
        if (element.times > 1) {
            report.at(StepKind::Records, named(tag) + " stands in the records " +
                                             std::to_string(element.times) + " times");
        }
    }
}

bool read_all_records(const Visit& visit) {
    return visit.has(StepKind::Records) && visit.has(StepKind::FirstCryptogram);
}

void missing_mandatory(const Context& context, const Report& report) {
    if (!read_all_records(context.visit)) {
        return;
    }
    for (const std::uint32_t tag : {0x5Au, 0x5F24u, 0x8Cu, 0x8Du}) {
        if (!context.visit.records.has(tag)) {
            report.at(StepKind::Records,
                      "the mandatory element " + named(tag) + " is in no record");
        }
    }
}

void missing_authentication_data(const Context& context, const Report& report) {
    const Bytes profile = context.visit.card.bytes(0x82);
    if (profile.size() != 2 || !read_all_records(context.visit)) {
        return;
    }
    struct Claim {
        std::uint8_t bit;
        const char* method;
        std::array<std::uint32_t, 4> needs;
    };
    constexpr Claim claims[] = {
        {0x40, "static data authentication", {0x8F, 0x90, 0x9F32, 0x93}},
        {0x20, "dynamic data authentication", {0x8F, 0x90, 0x9F32, 0x9F46}},
        {0x01, "combined authentication", {0x8F, 0x90, 0x9F32, 0x9F46}},
    };
    for (const Claim& claim : claims) {
        if ((profile[0] & claim.bit) == 0) {
            continue;
        }
        for (const std::uint32_t tag : claim.needs) {
            if (!context.visit.card.has(tag)) {
                report.at(StepKind::Records,
                          std::string("the application's abilities (82) claim ") + claim.method +
                              ", but " + named(tag) + " is missing");
                break;
            }
        }
    }
}

// Dates are YYMMDD in BCD, all of this century.
void validity(const Context& context, const Report& report) {
    const Bytes today = context.visit.terminal.clear_bytes(0x9A);
    const Bytes expires = context.visit.card.clear_bytes(0x5F24);
    const Bytes begins = context.visit.card.clear_bytes(0x5F25);
    if (today.size() != 3 || all_are(today, 0)) {
        return;
    }
    if (expires.size() == 3 && std::ranges::lexicographical_compare(expires, today)) {
        report.at(StepKind::Records, "the application expired before the day of the transaction");
    }
    if (begins.size() == 3 && std::ranges::lexicographical_compare(today, begins)) {
        report.at(StepKind::Records,
                  "the application is not yet valid on the day of the transaction");
    }
}

void track_against_number(const Context& context, const Report& report) {
    const SeenElement* number = context.visit.records.find(0x5A);
    const SeenElement* track = context.visit.records.find(0x57);
    if (number == nullptr || track == nullptr || number->value.is_masked() ||
        track->value.is_masked()) {
        return;
    }
    std::string digits = number->value.text();
    digits.erase(std::min(digits.find('F'), digits.size()));
    const std::string whole = track->value.text();
    if (whole.substr(0, whole.find('D')) != digits) {
        report.at(StepKind::Records, "track 2 (57) and the card number (5A) differ");
    }
}

// --- Card: cryptograms

void more_than_asked(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind != StepKind::FirstCryptogram && told.kind != StepKind::SecondCryptogram) {
            continue;
        }
        const auto cid = cryptogram_information(told.call);
        if (told.call.status() != 0x9000 || !cid) {
            continue;
        }
        // P1 asks for 00 AAC, 40 TC, 80 ARQC; the order of decisions is AAC, ARQC, TC.
        constexpr std::array<unsigned, 4> rank = {0, 2, 1, 1};
        if (rank[*cid >> 6] > rank[told.call.header(2) >> 6]) {
            report.at(told, "the card answers with " + cryptogram_words(*cid >> 6) +
                                " where it was asked for " +
                                cryptogram_words(asked_cryptogram(told.call)));
        }
    }
}

void empty_cryptogram(const Context& context, const Report& report) {
    const Bytes cryptogram = context.visit.card.bytes(0x9F26);
    const Bytes seen = context.visit.card.clear_bytes(0x9F26);
    if (seen.size() == 8 && (all_are(seen, 0x00) || all_are(seen, 0xFF))) {
        report.at(StepKind::FirstCryptogram, "the application cryptogram is empty");
    } else if (context.visit.card.has(0x9F26) && cryptogram.size() != 8) {
        report.at(StepKind::FirstCryptogram, "the application cryptogram is not 8 bytes long");
    }
}

void answer_without_information(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::FirstCryptogram && told.call.status() == 0x9000 &&
            !cryptogram_information(told.call)) {
            report.at(told, "the answer to GENERATE AC has no cryptogram information data (9F27)");
        }
    }
}

unsigned counter_of(const Visit& visit) {
    const Bytes counter = visit.card.bytes(0x9F36);
    return counter.size() == 2 ? static_cast<unsigned>(counter[0] << 8 | counter[1]) : 0;
}

void counter_that_stands(const Context& context, const Report& report) {
    if (!context.visit.has(StepKind::FirstCryptogram) || counter_of(context.visit) == 0) {
        return;
    }
    for (const Visit* earlier : context.before) {
        const bool same_card =
            earlier->has(StepKind::FirstCryptogram) &&
            earlier->application == context.visit.application &&
            earlier->card.find(0x5A) != nullptr && context.visit.card.find(0x5A) != nullptr &&
            earlier->card.find(0x5A)->value == context.visit.card.find(0x5A)->value &&
            !context.visit.card.find(0x5A)->value.empty();
        if (same_card && counter_of(*earlier) >= counter_of(context.visit)) {
            report.at(StepKind::FirstCryptogram,
                      "the transaction counter (9F36) did not rise since an earlier transaction");
            return;
        }
    }
}

void issuer_authentication_refused(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::IssuerAuthentication && told.call.has_status() &&
            told.call.status() != 0x9000) {
            report.at(told, told.call.status() == 0x6300
                                ? std::string("the bank's cryptogram (ARPC) is wrong for this card")
                                : "EXTERNAL AUTHENTICATE is refused: " +
                                      decode::hex(Bytes(told.call.answer.bytes).last(2)));
        }
    }
}

constexpr Rule card_rule_table[] = {
    {Severity::Refusal, Party::Card, "EMV book 1, 11.3", blocked_application},
    {Severity::Fault, Party::Card, "EMV book 1, 11.3.4", fci_without_name},
    {Severity::Fault, Party::Card, "EMV book 3, 10.2", locator_entries},
    {Severity::Warning, Party::Card, "EMV book 3, 10.2", records_refused},
    {Severity::Fault, Party::Card, "EMV book 3, 6.5.11", records_without_template},
    {Severity::Fault, Party::Card, "EMV book 3, 7.3", doubled_elements},
    {Severity::Fault, Party::Card, "EMV book 3, 7.2", missing_mandatory},
    {Severity::Warning, Party::Card, "EMV book 3, 7.5", missing_authentication_data},
    {Severity::Warning, Party::Card, "EMV book 3, 10.4", validity},
    {Severity::Fault, Party::Card, "EMV book 3, annex A", track_against_number},
    {Severity::Fault, Party::Card, "EMV book 3, 9.2", more_than_asked},
    {Severity::Fault, Party::Card, "EMV book 2, 8.1", empty_cryptogram},
    {Severity::Fault, Party::Card, "EMV book 3, 6.5.5", answer_without_information},
    {Severity::Fault, Party::Card, "EMV book 3, annex A", counter_that_stands},
    {Severity::Refusal, Party::Bank, "EMV book 2, 8.2", issuer_authentication_refused},
};

}  // namespace

std::span<const Rule> card_rules() {
    return card_rule_table;
}

}  // namespace quorrin::explain
