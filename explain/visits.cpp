// Where one visit to a card ends and the next begins, and what step each command belongs to.

#include <algorithm>
#include <map>
#include <string_view>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "explain/masking.hpp"
#include "explain/times.hpp"
#include "explain/visit.hpp"

namespace quorrin::explain {
namespace {

constexpr std::uint8_t select = 0xA4;
constexpr std::uint8_t read_record = 0xB2;
constexpr std::uint8_t get_data = 0xCA;
constexpr std::uint8_t generate_ac = 0xAE;

struct InstructionRow {
    std::uint8_t instruction;
    StepKind kind;
};

// Commands whose step does not depend on what went before.
constexpr InstructionRow instruction_rows[] = {
    {0xA8, StepKind::ProcessingOptions},  {0x82, StepKind::IssuerAuthentication},
    {0x88, StepKind::CardAuthentication}, {0x84, StepKind::HolderVerification},
    {0x20, StepKind::HolderVerification}, {0x16, StepKind::IssuerScripts},
    {0x18, StepKind::IssuerScripts},      {0x1E, StepKind::IssuerScripts},
    {0x24, StepKind::IssuerScripts},      {0xDA, StepKind::IssuerScripts},
    {0xDC, StepKind::IssuerScripts},      {0xD6, StepKind::IssuerScripts},
    {0xE2, StepKind::IssuerScripts},
};

constexpr std::string_view directories[] = {"1PAY.SYS.DDF01", "2PAY.SYS.DDF01"};

bool names_directory(const trace::MaskedBytes& name) {
    return std::ranges::any_of(directories, [&name](std::string_view directory) {
        return std::ranges::equal(name.bytes, directory, [](std::uint8_t byte, char c) {
            return byte == static_cast<std::uint8_t>(c);
        });
    });
}

bool is_log_file(const Visit& visit, unsigned file) {
    constexpr std::uint32_t log_entries[] = {0x9F4D, 0xDF4D};
    return std::ranges::any_of(log_entries, [&](std::uint32_t tag) {
        const auto entry = visit.card.bytes(tag);
        return !entry.empty() && entry[0] == file;
    });
}

StepKind kind_of_exchange(const Visit& visit, const Call& call) {
    const std::uint8_t instruction = call.header(1);
    switch (instruction) {
        case select:
            return call.header(2) != 0x04                 ? StepKind::OtherCommands
                   : names_directory(call.command_data()) ? StepKind::Directory
                                                          : StepKind::Selection;
        case read_record: {
            const bool in_directory =
                visit.has(StepKind::Directory) && !visit.has(StepKind::Selection);
            return in_directory                                  ? StepKind::Directory
                   : is_log_file(visit, record_place(call).file) ? StepKind::Log
                                                                 : StepKind::Records;
        }
        case get_data:
            return call.header(3) == 0x4F && (call.header(2) == 0x9F || call.header(2) == 0xDF)
                       ? StepKind::Log
                       : StepKind::CardData;
        case generate_ac:
            return visit.has(StepKind::FirstCryptogram) ? StepKind::SecondCryptogram
                                                        : StepKind::FirstCryptogram;
        default:
            break;
    }
    const auto* const row =
        std::ranges::find(instruction_rows, instruction, &InstructionRow::instruction);
    if (row == std::end(instruction_rows)) {
        // Secure messaging (ISO 7816-4, 5.4.1) is how an issuer's own commands come.
        return (call.header(0) & 0x0C) != 0 && visit.has(StepKind::FirstCryptogram)
                   ? StepKind::IssuerScripts
                   : StepKind::OtherCommands;
    }
    // An offline PIN may be blocked and unblocked by commands that only come from an issuer after the
    // cryptogram; before it they are just commands.
    const bool before_cryptogram = !visit.has(StepKind::FirstCryptogram);
    return row->kind == StepKind::IssuerScripts && before_cryptogram &&
                   !visit.application.empty() && !visit.has(StepKind::ProcessingOptions)
               ? StepKind::OtherCommands
               : row->kind;
}

StepKind kind_of(const Visit& visit, const Call& call) {
    switch (call.entry->action) {
        case trace::Action::Open:
        case trace::Action::Close:
        case trace::Action::Serial:
            return StepKind::Connection;
        case trace::Action::PowerOn:
            return StepKind::PowerOn;
        case trace::Action::PowerOff:
            return StepKind::PowerOff;
        case trace::Action::Exchange:
            break;
    }
    return kind_of_exchange(visit, call);
}

// A host that looks for a card has met none yet: only slots that it powered in vain.
bool still_searches(const Visit& visit) {
    return visit.has(StepKind::PowerOn) && visit.last_answered_line == 0 && !visit.exchanged;
}

// A new application selection after the card went beyond selection is a new transaction of the host, and
// so is a card that is powered anew or gone back to.
bool begins_anew(const Visit& visit, const Call& call) {
    if (call.entry->action == trace::Action::Open) {
        return visit.has(StepKind::PowerOn) || visit.exchanged;
    }
    if (call.entry->action == trace::Action::PowerOn) {
        return visit.exchanged || visit.has(StepKind::PowerOff);
    }
    if (!call.is_exchange() || call.header(1) != select || call.header(2) != 0x04) {
        return false;
    }
    constexpr StepKind beyond[] = {StepKind::ProcessingOptions, StepKind::Log,
                                   StepKind::FirstCryptogram, StepKind::Records};
    return std::ranges::any_of(beyond, [&visit](StepKind kind) { return visit.has(kind); });
}

// EMV book 3, 6.5.5.4: format 1 of GENERATE AC is cryptogram information, counter, cryptogram and issuer
// application data without tags.
void take_cryptogram(ElementsSeen& card, const trace::MaskedBytes& data, std::size_t line) {
    if (data.size() < 2 || data.bytes[0] != 0x80) {
        card.add_objects(data, line);
        return;
    }
    std::size_t at = data.bytes[1] == 0x81 ? 3 : 2;
    struct Part {
        std::uint32_t tag;
        std::size_t size;
    };
    constexpr Part parts[] = {{0x9F27, 1}, {0x9F36, 2}, {0x9F26, 8}, {0x9F10, 32}};
    for (const Part& part : parts) {
        if (at < data.size()) {
            card.set(part.tag, part_of(data, at, part.size), line);
        }
        at += part.size;
    }
}

// What the answer of a call tells about the card.
void take_answer(Visit& visit, const ToldCall& told) {
    const Call& call = told.call;
    if (!call.is_exchange()) {
        return;
    }
    const std::size_t line = call.lines.front();
    const bool ok = call.status() == 0x9000;
    const trace::MaskedBytes data = call.data();
    switch (told.kind) {
        case StepKind::Selection:
            if (ok || call.status() == 0x6283) {
                visit.application = call.command_data().bytes;
                visit.kernel = decode::kernel_of(visit.application);
            }
            visit.card.add_objects(data, line);
            break;
        case StepKind::ProcessingOptions: {
            if (const auto pdol = visit.card.bytes(0x9F38); !pdol.empty()) {
                trace::MaskedBytes list_data = call.command_data();
                if (list_data.size() >= 2 && list_data.bytes[0] == 0x83) {
                    const std::size_t header = list_data.bytes[1] == 0x81 ? 3 : 2;
                    list_data = part_of(list_data, header, list_data.size());
                }
                add_list_data(visit.terminal, pdol, list_data, line);
            }
            // EMV book 3, 6.5.8.4: format 1 is AIP and AFL without tags.
            if (ok && data.size() >= 4 && data.bytes[0] == 0x80) {
                visit.card.set(0x82, part_of(data, 2, 2), line);
                visit.card.set(0x94, part_of(data, 4, data.size()), line);
            } else {
                visit.card.add_objects(data, line);
            }
            if (ok && visit.card.has(0x9F26)) {
                visit.quick = true;
                if (const auto type = decode::quick_cryptogram_type(cryptogram_information(call),
                                                                    visit.card.bytes(0x9F10))) {
                    visit.first_cryptogram = *type;
                }
            }
            break;
        }
        case StepKind::Records:
            visit.records.add_objects(data, line);
            visit.card.add_objects(data, line);
            break;
        case StepKind::FirstCryptogram:
        case StepKind::SecondCryptogram: {
            const bool is_first = told.kind == StepKind::FirstCryptogram;
            add_list_data(visit.terminal, visit.card.bytes(is_first ? 0x8C : 0x8D),
                          call.command_data(), line);
            if (!ok) {
                break;
            }
            take_cryptogram(visit.card, data, line);
            if (const auto cid = cryptogram_information(call)) {
                (is_first ? visit.first_cryptogram : visit.second_cryptogram) =
                    static_cast<unsigned>(*cid >> 6);
            }
            break;
        }
        default:
            visit.card.add_objects(data, line);
            break;
    }
}

decode::Options decoding(const Visit& visit, const ToldCall& told, const Options& options) {
    decode::Options decoding;
    decoding.show_sensitive = options.show_sensitive;
    decoding.kernel = visit.kernel;
    if (told.call.command.size() >= 2) {
        decoding.instruction = told.call.header(1);
    }
    const auto list_of = [&](std::uint32_t tag) {
        const auto bytes = visit.card.bytes(tag);
        return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
    };
    switch (told.kind) {
        case StepKind::ProcessingOptions:
            decoding.list = list_of(0x9F38);
            break;
        case StepKind::FirstCryptogram:
            decoding.list = list_of(0x8C);
            break;
        case StepKind::SecondCryptogram:
            decoding.list = list_of(0x8D);
            break;
        case StepKind::Log:
            decoding.list = list_of(visit.card.has(0x9F4F) ? 0x9F4F : 0xDF4F);
            break;
        default:
            break;
    }
    return decoding;
}

std::optional<std::uint16_t> currency_in(std::span<const std::uint8_t> value) {
    const bool is_one =
        value.size() == 2 && decode::is_digits(value) && decode::bcd_number(value) != 0;
    return is_one ? std::optional(static_cast<std::uint16_t>(decode::bcd_number(value)))
                  : std::nullopt;
}

// A card tells its currency whenever it is asked, before its amounts or after them.
struct Currencies {
    std::optional<std::uint16_t> transaction;
    std::optional<std::uint16_t> card;
};

Currencies currencies_of(const Visit& visit) {
    Currencies found{currency_in(visit.terminal.bytes(0x5F2A)), {}};
    for (const std::uint32_t tag : {0x9F51u, 0x9F42u}) {
        const bool is_list = tag == 0x9F51 && visit.kernel == decode::Kernel::C2;
        if (!found.card && !is_list) {
            found.card = currency_in(visit.card.bytes(tag));
        }
    }
    if (!found.transaction) {
        found.transaction = found.card;
    }
    return found;
}

std::string instruction_name(const Call& call) {
    if (!call.entry->instruction.empty()) {
        return call.entry->instruction;
    }
    const std::string told = decode::command(call.command.bytes).text;
    return told.empty() ? "Command " + decode::hex(std::span(call.command.bytes).first(4))
                        : told.substr(0, told.find(','));
}

std::string name_of_call(const ToldCall& told) {
    const Call& call = told.call;
    switch (call.entry->action) {
        case trace::Action::Open:
            return "Open the reader";
        case trace::Action::Close:
            return "Close the reader";
        case trace::Action::Serial:
            return "Read the reader's serial number";
        case trace::Action::PowerOn:
            return "Power on";
        case trace::Action::PowerOff:
            return "Power off";
        case trace::Action::Exchange:
            break;
    }
    if (call.command.size() < 4) {
        return "No command";
    }
    const std::string instruction = instruction_name(call);
    switch (call.header(1)) {
        case select: {
            const trace::MaskedBytes name = call.command_data();
            const bool is_text = names_directory(name);
            return instruction + " " +
                   (is_text        ? std::string(name.bytes.begin(), name.bytes.end())
                    : name.empty() ? std::string("without a name")
                                   : name.text());
        }
        case read_record: {
            const RecordPlace place = record_place(call);
            return instruction + " " + std::to_string(place.record) + " of file " +
                   std::to_string(place.file);
        }
        case get_data: {
            const auto tag = static_cast<std::uint32_t>(call.header(2) << 8 | call.header(3));
            const std::string_view element = decode::element_name(tag, told.decoding.kernel);
            return instruction + " " + decode::tag_text(tag) +
                   (element.empty() ? "" : ", " + std::string(element));
        }
        default:
            return instruction;
    }
}

Exchange exchange_of(const ToldCall& told, const Currencies& currencies) {
    const Call& call = told.call;
    Exchange exchange;
    exchange.lines = call.lines;
    exchange.began = call.began;
    exchange.duration = call.duration;
    exchange.result = call.result;
    exchange.name = name_of_call(told);
    if (!call.is_exchange()) {
        exchange.ok = call.entry->success;
        if (!exchange.ok) {
            exchange.status_meaning = std::string(decode::result_code(call.result).meaning);
            exchange.status_message = std::string(decode::result_code(call.result).message);
        }
        if (!call.entry->atr.empty()) {
            exchange.answer = decode::hex(call.entry->atr);
            exchange.received = decode::find_data_kind("atr")->decode(call.entry->atr, {});
        }
        return exchange;
    }
    exchange.command = call.command.text();
    exchange.answer = call.answer.text();
    decode::Options decoding_options = told.decoding;
    decoding_options.currency = currencies.transaction;
    decoding_options.card_currency = currencies.card;
    const std::string_view hidden = call.entry->masked ? "masked in the recording" : "masked";
    if (!call.command.empty()) {
        exchange.sent = decode::command(call.command.bytes, decoding_options);
        hide_masked(exchange.sent, call.command, hidden);
    }
    if (!call.has_status()) {
        exchange.status_meaning = std::string(decode::result_code(call.result).meaning);
        exchange.status_message = std::string(decode::result_code(call.result).message);
        return exchange;
    }
    const decode::StatusWord word = decode::status_word(
        static_cast<std::uint8_t>(call.status() >> 8), static_cast<std::uint8_t>(call.status()));
    exchange.status = exchange.answer.substr(exchange.answer.size() - 4);
    exchange.status_meaning = word.meaning;
    exchange.status_message = std::string(word.message);
    exchange.ok = call.status() == 0x9000;
    exchange.received =
        told.kind == StepKind::Log && call.header(1) == read_record && exchange.ok
            ? decode::log_record(call.data().bytes, decoding_options)
            : decode::answer(call.answer.bytes, call.command.bytes, decoding_options);
    hide_masked(exchange.received, call.answer, hidden);
    return exchange;
}

void note_success(Visit& visit, const ToldCall& told) {
    const std::size_t line = told.call.lines.front();
    visit.exchanged = visit.exchanged || told.call.is_exchange();
    const bool selected = told.kind == StepKind::Selection &&
                          (told.call.status() == 0x9000 || told.call.status() == 0x6283);
    if (selected) {
        visit.last_selected_line = line;
    }
    if (selected ||
        (told.call.is_exchange() ? told.call.status() == 0x9000
                                 : told.kind == StepKind::PowerOn && told.call.entry->success)) {
        visit.last_answered_line = line;
    }
}

void add_call(Visit& visit, Call call, const Options& options) {
    ToldCall told{std::move(call)};
    told.kind = kind_of(visit, told.call);
    if (visit.steps.empty() || visit.steps.back().kind != told.kind) {
        Step step;
        step.kind = told.kind;
        step.title = title_of(told.kind);
        step.line = told.call.lines.front();
        step.began = told.call.began;
        visit.steps.push_back(std::move(step));
    }
    told.step = visit.steps.size() - 1;
    Step& step = visit.steps.back();
    step.ended = told.call.ended;
    step.duration = sum(step.duration, told.call.duration);
    take_answer(visit, told);
    note_success(visit, told);
    told.decoding = decoding(visit, told, options);
    visit.add(std::move(told));
}

// Calls of one process, opening of the reader and slot belong together; those without a slot to the
// visit that goes on.
std::string thread_of(const trace::Entry& entry) {
    return entry.terminal + '\n' + std::to_string(entry.process) + '\n' + entry.session;
}

}  // namespace

void Visit::add(ToldCall told) {
    CallsOfKind& same = by_kind[static_cast<std::size_t>(told.kind)];
    same.last = calls.size();
    same.first = same.count == 0 ? same.last : same.first;
    ++same.count;
    calls.push_back(std::move(told));
}

const ToldCall* Visit::first(StepKind kind) const {
    return of_kind(kind).count != 0 ? &calls[of_kind(kind).first] : nullptr;
}

const ToldCall* Visit::last(StepKind kind) const {
    return of_kind(kind).count != 0 ? &calls[of_kind(kind).last] : nullptr;
}

// ISO 7816-4, table 49: the short file identifier stands in the upper five bits of P2.
RecordPlace record_place(const Call& call) {
    return {static_cast<unsigned>(call.header(3) >> 3), call.header(2)};
}

std::string_view cryptogram_name(unsigned type) {
    constexpr std::string_view names[] = {"AAC", "TC", "ARQC", "AAR"};
    return names[type & 0x03];
}

std::string cryptogram_words(unsigned type) {
    constexpr std::string_view words[] = {" (declines)", " (approves)", " (asks the bank)",
                                          " (asks for a referral)"};
    return std::string(cryptogram_name(type)) + std::string(words[type & 0x03]);
}

std::optional<std::uint8_t> cryptogram_information(const Call& call) {
    const trace::MaskedBytes data = call.data();
    if (data.size() >= 3 && data.bytes[0] == 0x80) {
        const std::size_t header = data.bytes[1] == 0x81 ? 3 : 2;
        return header < data.size() ? std::optional(data.bytes[header]) : std::nullopt;
    }
    ElementsSeen objects;
    objects.add_objects(data, 0);
    const auto value = objects.bytes(0x9F27);
    return value.size() == 1 ? std::optional(value[0]) : std::nullopt;
}

std::vector<Visit> visits_of(const trace::Trace& trace, const Options& options) {
    // By thread of calls, in the order in which each began.
    std::vector<std::string> order;
    std::map<std::string, std::vector<const trace::Entry*>> threads;
    for (const trace::Entry& entry : trace.entries) {
        const std::string thread = thread_of(entry);
        if (!threads.contains(thread)) {
            order.push_back(thread);
        }
        threads[thread].push_back(&entry);
    }
    std::vector<Visit> visits;
    for (const std::string& thread : order) {
        std::map<int, std::size_t> visit_of_slot;  // slot -> its visit that goes on
        std::optional<std::size_t> latest;
        for (Call& call : calls_of(threads[thread])) {
            // Power-off has a code of its own for the contactless slot.
            constexpr int contactless = 0x31;
            constexpr int contactless_power_off = 0x03;
            std::optional<int> slot = call.entry->slot_code;
            if (slot == contactless_power_off) {
                slot = contactless;
            }
            std::optional<std::size_t> at = latest;
            if (slot) {
                const auto known = visit_of_slot.find(*slot);
                const bool may_join =
                    latest && !visits[*latest].has(StepKind::PowerOn) &&
                    visits[*latest].count(StepKind::Connection) == visits[*latest].calls.size();
                at = known != visit_of_slot.end() ? std::optional(known->second)
                     : may_join                   ? latest
                                                  : std::nullopt;
            }
            // The card that a search finds, in whichever slot, belongs to it.
            const bool searches = latest && call.entry->action == trace::Action::PowerOn &&
                                  still_searches(visits[*latest]);
            if (searches) {
                at = latest;
            } else if (!at || begins_anew(visits[*at], call)) {
                at = visits.size();
                visits.emplace_back();
            }
            if (slot) {
                visit_of_slot[*slot] = *at;
            }
            latest = at;
            add_call(visits[*at], std::move(call), options);
        }
    }
    for (Visit& visit : visits) {
        const Currencies currencies = currencies_of(visit);
        for (ToldCall& told : visit.calls) {
            std::vector<Exchange>& exchanges = visit.steps[told.step].exchanges;
            told.exchange = exchanges.size();
            exchanges.push_back(exchange_of(told, currencies));
        }
    }
    return visits;
}

}  // namespace quorrin::explain
