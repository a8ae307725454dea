// The summary on top: which card, what was asked of it, how it ended, where the time went.

#include <algorithm>
#include <cstdio>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "explain/endings.hpp"
#include "explain/times.hpp"
#include "explain/visit.hpp"

namespace quorrin::explain {
namespace {

std::string time_text(std::int64_t nanoseconds) {
    char text[32];
    if (nanoseconds < 1'000'000) {
        std::snprintf(text, sizeof text, "%.1f \u00b5s", static_cast<double>(nanoseconds) / 1e3);
    } else {
        std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(nanoseconds) / 1e6);
    }
    return text;
}

constexpr std::string_view masked_text = "masked";

std::string date_text(const SeenElement* date) {
    if (date == nullptr || date->value.is_masked()) {
        return std::string(date != nullptr ? masked_text : "");
    }
    const std::string digits = decode::hex(date->value.bytes);
    return digits.size() == 6
               ? "20" + digits.substr(0, 2) + "-" + digits.substr(2, 2) + "-" + digits.substr(4, 2)
               : digits;
}

// The text that the decoder has for an element, as it may be shown.
std::string told(const Visit& visit, const ElementsSeen& seen, std::uint32_t tag,
                 const Options& options) {
    const SeenElement* element = seen.find(tag);
    if (element == nullptr || element->value.empty()) {
        return {};
    }
    if (element->value.is_masked()) {
        return std::string(masked_text);
    }
    decode::Options decoding;
    decoding.show_sensitive = options.show_sensitive;
    decoding.kernel = visit.kernel;
    const decode::Node node = decode::element(tag, element->value.bytes, decoding);
    return !node.text.empty() ? node.text : node.value;
}

void add(std::vector<Fact>& facts, std::string name, std::string value) {
    if (!value.empty()) {
        facts.push_back({std::move(name), std::move(value)});
    }
}

std::string card_number(const Visit& visit, const Options& options) {
    const SeenElement* number = visit.card.find(0x5A);
    if (number == nullptr) {
        return {};
    }
    std::string text = number->value.is_masked() || options.show_sensitive
                           ? number->value.text()
                           : decode::masked_hex(0x5A, number->value.bytes);
    while (text.ends_with('F')) {
        text.pop_back();
    }
    return text;
}

std::vector<Fact> card_facts(const Visit& visit, const Options& options) {
    std::vector<Fact> facts;
    if (!visit.application.empty()) {
        const std::string_view name = decode::application_name(visit.application);
        const std::string label = decode::characters(visit.card.bytes(0x50));
        add(facts, "Application",
            decode::hex(visit.application) + (label.empty() ? "" : ", " + label) +
                (name.empty() ? "" : ", " + std::string(name)));
    }
    add(facts, "Card number", card_number(visit, options));
    add(facts, "Sequence number", told(visit, visit.card, 0x5F34, options));
    add(facts, "Valid to", date_text(visit.card.find(0x5F24)));
    add(facts, "Issuer's country", told(visit, visit.card, 0x5F28, options));
    return facts;
}

std::optional<std::uint16_t> currency_of(const Visit& visit) {
    const auto bytes = visit.terminal.bytes(0x5F2A);
    if (bytes.size() != 2 || (bytes[0] == 0 && bytes[1] == 0)) {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(decode::bcd_number(bytes));
}

std::vector<Fact> asked_facts(const Visit& visit, const Options& options) {
    std::vector<Fact> facts;
    if (!visit.has(StepKind::FirstCryptogram) && !visit.quick) {
        return facts;
    }
    if (const auto amount = visit.terminal.clear_bytes(0x9F02); amount.size() == 6) {
        add(facts, "Amount", decode::amount_text(decode::bcd_number(amount), currency_of(visit)));
    } else if (visit.terminal.has(0x9F02)) {
        add(facts, "Amount", std::string(masked_text));
    }
    add(facts, "Type", told(visit, visit.terminal, 0x9C, options));
    add(facts, "Date", date_text(visit.terminal.find(0x9A)));
    add(facts, "Terminal's country", told(visit, visit.terminal, 0x9F1A, options));
    add(facts, "Merchant", told(visit, visit.terminal, 0x9F4E, options));
    return facts;
}

std::string title_of_visit(const Visit& visit) {
    if (visit.quick) {
        return "Quick payment";
    }
    if (visit.has(StepKind::FirstCryptogram)) {
        const auto type = visit.terminal.bytes(0x9C);
        if (type.size() != 1 || type[0] == 0x00) {
            return "Purchase";
        }
        decode::Options plain;
        const std::string text = decode::element(0x9C, type, plain).text;
        return text.empty() ? "Transaction" : text;
    }
    constexpr std::pair<StepKind, const char*> titles[] = {
        {StepKind::Log, "Log reading"},
        {StepKind::Records, "Card data reading"},
        {StepKind::CardData, "Card data reading"},
        {StepKind::ProcessingOptions, "Card data reading"},
        {StepKind::Selection, "Application selection"},
        {StepKind::Directory, "Directory reading"},
        {StepKind::OtherCommands, "Commands"},
        {StepKind::IssuerScripts, "Commands"},
        {StepKind::PowerOn, "Card powered"},
    };
    for (const auto& [kind, title] : titles) {
        if (visit.has(kind)) {
            return title;
        }
    }
    return "Reader";
}

// Where the time went: in the card, at the bank (the pause before its answer comes to the card), else at
// the host.
std::vector<Fact> time_facts(const Visit& visit) {
    std::int64_t at_card = 0;
    std::int64_t bank = 0;
    std::size_t bytes = 0;
    std::size_t exchanges = 0;
    const ToldCall* slowest = nullptr;
    const ToldCall* before = nullptr;
    for (const ToldCall& told : visit.calls) {
        at_card = sum(at_card, told.call.duration);
        if (told.call.is_exchange()) {
            ++exchanges;
            bytes += told.call.command.size() + told.call.answer.size();
            if (slowest == nullptr || told.call.duration > slowest->call.duration) {
                slowest = &told;
            }
        }
        if (before != nullptr && before->kind == StepKind::FirstCryptogram &&
            told.kind != StepKind::FirstCryptogram) {
            bank = nanoseconds(told.call.began - before->call.ended);
        }
        before = &told;
    }
    const std::int64_t span =
        nanoseconds(visit.calls.back().call.ended - visit.calls.front().call.began);
    const std::int64_t host =
        std::max<std::int64_t>(0, difference(difference(span, at_card), bank));
    std::vector<Fact> facts;
    add(facts, "In all", time_text(span));
    add(facts, "Reader and card",
        time_text(at_card) + ", " + std::to_string(exchanges) + " exchanges, " +
            std::to_string(bytes) + " bytes");
    if (visit.has(StepKind::IssuerAuthentication) || visit.has(StepKind::IssuerScripts)) {
        add(facts, "Waiting for the bank", time_text(bank));
    }
    add(facts, "Host", time_text(host));
    if (slowest != nullptr) {
        const Step& step = visit.steps[slowest->step];
        add(facts, "Slowest",
            time_text(slowest->call.duration) + ", line " +
                std::to_string(slowest->call.lines.front()) + ", " + step.title);
    }
    return facts;
}

}  // namespace

std::size_t Transaction::exchange_count() const {
    std::size_t count = 0;
    for (const Step& step : steps) {
        count += static_cast<std::size_t>(std::ranges::count_if(
            step.exchanges, [](const Exchange& exchange) { return !exchange.command.empty(); }));
    }
    return count;
}

std::size_t Transaction::finding_count(Finding::Severity least) const {
    std::size_t count = 0;
    for (const Step& step : steps) {
        count += static_cast<std::size_t>(std::ranges::count_if(
            step.findings, [least](const Finding& finding) { return finding.severity >= least; }));
    }
    return count;
}

Transaction summarise(Visit visit, const Options& options) {
    Transaction transaction;
    const trace::Entry& first = *visit.calls.front().call.entry;
    transaction.title = title_of_visit(visit);
    transaction.timestamp = first.timestamp;
    transaction.terminal = first.terminal;
    transaction.session = first.session;
    transaction.process = first.process;
    bool slot_is_found = false;
    for (const ToldCall& told : visit.calls) {
        // The slot of the card, where a search for it came by others.
        if (transaction.slot.empty() || (told.call.is_exchange() && !slot_is_found)) {
            transaction.slot = told.call.entry->slot_name;
            slot_is_found = told.call.is_exchange();
        }
        transaction.last_line = std::max(transaction.last_line, told.call.lines.back());
        transaction.at_card = sum(transaction.at_card, told.call.duration);
    }
    transaction.first_line = first.line;
    transaction.began = visit.calls.front().call.began;
    transaction.span = visit.calls.back().call.ended - transaction.began;
    Ending ending = ending_of(visit);
    transaction.ended = std::move(ending.text);
    transaction.complete = ending.complete;
    transaction.failed = ending.failed;
    transaction.decision = std::move(ending.decision);
    transaction.card = card_facts(visit, options);
    transaction.asked = asked_facts(visit, options);
    transaction.time = time_facts(visit);
    transaction.steps = std::move(visit.steps);
    return transaction;
}

}  // namespace quorrin::explain
