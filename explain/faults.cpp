// What the standards forbid, and what commonly goes wrong: one rule a row.

#include <algorithm>
#include <array>
#include <set>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "explain/visit.hpp"

namespace quorrin::explain {
namespace {

using Severity = Finding::Severity;
using Party = Finding::Party;

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

struct Context {
    const Visit& visit;
    const std::vector<const Visit*>& before;
};

using Bytes = std::span<const std::uint8_t>;

bool all_are(Bytes bytes, std::uint8_t value) {
    return !bytes.empty() &&
           std::ranges::all_of(bytes, [value](std::uint8_t byte) { return byte == value; });
}

std::string named(std::uint32_t tag) {
    const std::string_view name = decode::element_name(tag);
    return decode::tag_text(tag) + (name.empty() ? "" : " (" + std::string(name) + ")");
}

bool card_was_powered_down(const Visit& visit) {
    return visit.has(StepKind::PowerOff);
}

// --- What ended a step

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
            report.at(told, "the file control information has no DF name (84)");
        } else {
            const Bytes name = objects.bytes(0x84);
            const trace::MaskedBytes asked = told.call.command_data();
            if (name.size() < asked.size() ||
                !std::equal(asked.bytes.begin(), asked.bytes.end(), name.begin())) {
                report.at(told, "the DF name (84) does not begin with what was selected");
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
    for (const std::uint32_t tag : {0x5A, 0x5F24, 0x8C, 0x8D}) {
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
                report.at(StepKind::Records, std::string("the profile (82) claims ") +
                                                 claim.method + ", but " + named(tag) +
                                                 " is missing");
                break;
            }
        }
    }
}

// Dates are YYMMDD in BCD, all of this century.
void validity(const Context& context, const Report& report) {
    Bytes today = context.visit.terminal.bytes(0x9A);
    const Bytes expires = context.visit.card.bytes(0x5F24);
    const Bytes begins = context.visit.card.bytes(0x5F25);
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
            report.at(told, "the card answers with a " + std::string(cryptogram_name(*cid >> 6)) +
                                " where a " +
                                std::string(cryptogram_name(told.call.header(2) >> 6)) +
                                " was asked for");
        }
    }
}

void empty_cryptogram(const Context& context, const Report& report) {
    const Bytes cryptogram = context.visit.card.bytes(0x9F26);
    if (cryptogram.size() == 8 && (all_are(cryptogram, 0x00) || all_are(cryptogram, 0xFF))) {
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

// --- Host

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
    for (const std::uint32_t tag : {0x9F37, 0x9F02, 0x9F1A, 0x5F2A, 0x9A}) {
        if (all_are(context.visit.terminal.bytes(tag), 0x00)) {
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
        report.at(StepKind::IssuerAuthentication,
                  "EXTERNAL AUTHENTICATE although the profile (82) does not offer it");
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

// --- Bank

void scripts_refused(const Context& context, const Report& report) {
    for (const ToldCall& told : context.visit.calls) {
        if (told.kind == StepKind::IssuerScripts && told.call.has_status() &&
            told.call.status() != 0x9000) {
            report.at(told, "an issuer script command is refused: " +
                                decode::hex(Bytes(told.call.answer.bytes).last(2)));
        }
    }
}

// --- Time

void slow_exchanges(const Context& context, const Report& report) {
    constexpr std::int64_t slow = 1'000'000'000;  // nanoseconds
    for (const ToldCall& told : context.visit.calls) {
        if (told.call.is_exchange() && told.call.duration >= slow) {
            report.at(told, "took " + std::to_string(told.call.duration / 1'000'000) + " ms");
        }
    }
}

struct Rule {
    Severity severity;
    Party party;
    std::string_view source;
    void (*look)(const Context&, const Report&);
};

constexpr Rule rules[] = {
    {Severity::Fault, Party::Reader, "", reader_failures},
    {Severity::Refusal, Party::Card, "", refusals},
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
    {Severity::Warning, Party::Bank, "EMV book 3, 10.10", scripts_refused},
    {Severity::Note, Party::Card, "", slow_exchanges},
};

}  // namespace

void find_faults(Visit& visit, const std::vector<const Visit*>& before) {
    if (visit.calls.empty()) {
        return;
    }
    const Context context{visit, before};
    for (const Rule& rule : rules) {
        rule.look(context, Report(visit, rule.severity, rule.party, rule.source));
    }
    // Bad data in an answer, wherever the decoder met it.
    for (const ToldCall& told : visit.calls) {
        if (!told.call.is_exchange()) {
            continue;
        }
        Step& step = visit.steps[told.step];
        const auto exchange = std::ranges::find_if(
            step.exchanges,
            [&told](const Exchange& candidate) { return candidate.lines == told.call.lines; });
        for (const decode::Problem& problem : decode::all_problems(exchange->received)) {
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
