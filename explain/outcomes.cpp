// What each step came to, in a line.

#include <algorithm>
#include <span>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "explain/endings.hpp"
#include "explain/passed_over.hpp"
#include "explain/visit.hpp"

namespace quorrin::explain {
namespace {

std::string counted(std::size_t count, std::string_view thing) {
    return std::to_string(count) + " " + std::string(thing) + (count == 1 ? "" : "s");
}

std::string refusal(const Exchange& exchange) {
    return exchange.status.empty()
               ? "no answer (" + std::to_string(exchange.result) + "): " + exchange.status_meaning
               : "refused with " + exchange.status + ": " + exchange.status_meaning;
}

// Steps follow each other: the calls of one stand together.
std::span<const ToldCall> calls_of_step(const Visit& visit, std::size_t step) {
    const auto first = std::ranges::lower_bound(visit.calls, step, {}, &ToldCall::step);
    const auto last = std::ranges::upper_bound(visit.calls, step, {}, &ToldCall::step);
    return {first, last};
}

std::string label_of(const Visit& visit) {
    const auto label = visit.card.bytes(0x50);
    return decode::characters(label);
}

std::string directory_outcome(const Step& step) {
    if (step.exchanges.front().status == "6A82") {
        return "none on this card (6A82)";
    }
    if (!step.exchanges.front().ok) {
        return refusal(step.exchanges.front());
    }
    // The record after the last is refused: that is how a directory ends.
    const auto records = static_cast<std::size_t>(
        std::count_if(step.exchanges.begin() + 1, step.exchanges.end(),
                      [](const Exchange& exchange) { return exchange.ok; }));
    return step.exchanges.front().name.find("2PAY") != std::string::npos
               ? "contactless directory"
               : counted(records, "record") + " read";
}

std::string selection_outcome(const Visit& visit, const Step& step) {
    const Exchange& last = step.exchanges.back();
    if (!last.ok && last.status != "6283") {
        return refusal(last);
    }
    const std::string label = label_of(visit);
    const std::string_view application = decode::application_name(visit.application);
    std::string outcome = label.empty() ? decode::hex(visit.application) : label;
    if (!application.empty()) {
        outcome += " (" + std::string(application) + ")";
    }
    return last.ok ? outcome : outcome + ", blocked (6283)";
}

std::string records_outcome(const Step& step) {
    const auto read = static_cast<std::size_t>(std::ranges::count_if(
        step.exchanges, [](const Exchange& exchange) { return exchange.ok; }));
    std::string outcome = counted(read, "record") + " read";
    if (const std::size_t refused = step.exchanges.size() - read; refused > 0) {
        outcome += ", " + std::to_string(refused) + " " +
                   refusal(*std::ranges::find_if(
                       step.exchanges, [](const Exchange& exchange) { return !exchange.ok; }));
    }
    return outcome;
}

// "cardholder verification, terminal risk management", as the decoder has it.
std::string abilities_text(std::span<const std::uint8_t> profile) {
    std::string text;
    for (const decode::Node& flag : decode::element(0x82, profile).children) {
        std::string ability = flag.text;
        for (const std::string_view end : {" supported", " to be performed"}) {
            ability.resize(std::min(ability.find(end), ability.size()));
        }
        if (flag.kind != decode::NodeKind::Flag || ability == "reserved" || ability.empty()) {
            continue;
        }
        const bool begins_a_word = ability.size() > 1 && ability[1] >= 'a';
        if (begins_a_word) {
            ability[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(ability[0])));
        }
        text += (text.empty() ? "" : ", ") + ability;
    }
    return text.empty() ? "none" : text;
}

std::string processing_options_outcome(const Visit& visit, const Step& step) {
    const Exchange& last = step.exchanges.back();
    if (!last.ok) {
        return refusal(last);
    }
    if (visit.quick && visit.first_cryptogram) {
        return "answered with its cryptogram: " + cryptogram_words(*visit.first_cryptogram);
    }
    const auto locator = visit.card.bytes(0x94);
    std::size_t records = 0;
    for (std::size_t at = 0; at + 4 <= locator.size(); at += 4) {
        if (locator[at + 2] >= locator[at + 1]) {
            records += static_cast<std::size_t>(locator[at + 2] - locator[at + 1] + 1);
        }
    }
    const auto profile = visit.card.bytes(0x82);
    return counted(records, "record") + " to read; application's abilities " +
           decode::hex(profile) + ": " + abilities_text(profile);
}

std::string cryptogram_outcome(const Visit& visit, const Step& step, const ToldCall& told,
                               std::optional<unsigned> type) {
    const Exchange& last = step.exchanges.back();
    if (!last.ok) {
        return refusal(last);
    }
    if (!type) {
        return "answered without cryptogram information";
    }
    constexpr std::string_view meaning[] = {"declined by the card", "approved by the card",
                                            "the card asks for online authorisation",
                                            "the card asks for a referral"};
    const bool as_asked = *type == Aac && asked_cryptogram(told.call) == Aac;
    std::string outcome =
        std::string(cryptogram_name(*type)) + ": " +
        (as_asked ? "declined, as the terminal asked" : std::string(meaning[*type & 0x03]));
    if (const auto counter = visit.card.bytes(0x9F36); counter.size() == 2) {
        outcome += ", transaction " + std::to_string(counter[0] << 8 | counter[1]);
    }
    return outcome;
}

std::string issuer_authentication_outcome(const Visit& visit, const Step& step) {
    const Exchange& last = step.exchanges.back();
    const auto told = authorisation_of(visit);
    const std::string said = told ? " (" + told->words() + ")" : std::string();
    return last.ok                 ? "the card takes the bank's answer" + said + " for right"
           : last.status == "6300" ? "the card takes the bank's answer" + said + " for wrong (6300)"
                                   : refusal(last);
}

std::string scripts_outcome(const Step& step) {
    const auto done = static_cast<std::size_t>(std::ranges::count_if(
        step.exchanges, [](const Exchange& exchange) { return exchange.ok; }));
    return std::to_string(done) + " of " + counted(step.exchanges.size(), "command") + " taken";
}

// GET DATA: elements that the card does not have are no failure of it.
std::string card_data_outcome(const Step& step) {
    constexpr std::string_view read = "GET DATA ";
    std::vector<std::string> missing;
    for (const Exchange& exchange : step.exchanges) {
        if (exchange.status == "6A88" && exchange.name.starts_with(read)) {
            missing.push_back(exchange.name.substr(read.size()));
        } else if (!exchange.ok) {
            return exchange.name + " " + refusal(exchange);
        }
    }
    if (missing.empty()) {
        return step.exchanges.size() == 1 ? step.exchanges.front().name
                                          : counted(step.exchanges.size(), "element") + " read";
    }
    const std::size_t done = step.exchanges.size() - missing.size();
    std::string outcome = done > 0 ? counted(done, "element") + " read; " : std::string();
    outcome += "not on this card: ";
    for (const std::string& name : missing) {
        outcome += (&name == &missing.front() ? "" : "; ") + name;
    }
    return outcome;
}

std::string plain_outcome(const Step& step) {
    const auto refused =
        std::ranges::find_if(step.exchanges, [](const Exchange& exchange) { return !exchange.ok; });
    if (refused == step.exchanges.end()) {
        return step.exchanges.size() == 1 ? step.exchanges.front().name
                                          : counted(step.exchanges.size(), "command") + " answered";
    }
    return refused->name + " " + refusal(*refused);
}

std::string log_outcome(const Step& step) {
    std::size_t records = 0;
    for (const Exchange& exchange : step.exchanges) {
        records += exchange.ok && exchange.name.starts_with("READ RECORD") ? 1 : 0;
    }
    const Exchange& last = step.exchanges.back();
    std::string outcome =
        std::to_string(records) + (records == 1 ? " entry read" : " entries read");
    if (!last.ok && last.status == "6A83") {
        outcome += ", then the log ends";
    } else if (!last.ok) {
        outcome += "; " + last.name + " " + refusal(last);
    }
    return outcome;
}

// Refusals that are an answer like any other where they stand.
bool is_expected_refusal(StepKind kind, const Exchange& exchange) {
    if (exchange.status.empty()) {
        return false;
    }
    switch (kind) {
        case StepKind::Directory:
            return exchange.status == "6A83" || exchange.status == "6A82";
        case StepKind::Log:
            return exchange.status == "6A83";
        case StepKind::CardData:
            return true;  // an element that the card does not have
        default:
            return false;
    }
}

}  // namespace

void tell_outcomes(Visit& visit) {
    for (std::size_t index = 0; index < visit.steps.size(); ++index) {
        Step& step = visit.steps[index];
        const std::span<const ToldCall> calls = calls_of_step(visit, index);
        for (std::size_t i = 0; i < calls.size(); ++i) {
            const Exchange& exchange = step.exchanges[i];
            step.failed =
                step.failed || (!exchange.ok && !is_expected_refusal(step.kind, exchange) &&
                                ended_something(visit, calls[i]));
        }
        step.passed_over = passed_over(visit, calls);
        switch (step.kind) {
            case StepKind::Connection: {
                const trace::Entry& entry = *calls.front().call.entry;
                step.outcome = !entry.reader_name.empty() ? entry.reader_name : plain_outcome(step);
                break;
            }
            case StepKind::PowerOn:
                step.outcome = step.exchanges.back().ok
                                   ? "answer to reset " + step.exchanges.back().answer
                                   : refusal(step.exchanges.back());
                break;
            case StepKind::Directory:
                step.outcome = directory_outcome(step);
                break;
            case StepKind::Selection:
                step.outcome = selection_outcome(visit, step);
                step.failed = !step.exchanges.back().ok;
                break;
            case StepKind::ProcessingOptions:
                step.outcome = processing_options_outcome(visit, step);
                break;
            case StepKind::Records:
                step.outcome = records_outcome(step);
                break;
            case StepKind::FirstCryptogram:
                step.outcome =
                    cryptogram_outcome(visit, step, calls.back(), visit.first_cryptogram);
                step.failed = step.failed || visit.first_cryptogram == Aac;
                break;
            case StepKind::SecondCryptogram:
                step.outcome =
                    cryptogram_outcome(visit, step, calls.back(), visit.second_cryptogram);
                step.failed =
                    step.failed || visit.second_cryptogram == Aac || declines_at(visit, step.kind);
                break;
            case StepKind::IssuerAuthentication:
                step.outcome = issuer_authentication_outcome(visit, step);
                step.failed = step.failed || declines_at(visit, step.kind);
                break;
            case StepKind::IssuerScripts:
                step.outcome = scripts_outcome(step);
                break;
            case StepKind::Log:
                step.outcome = log_outcome(step);
                break;
            case StepKind::CardData:
                step.outcome = card_data_outcome(step);
                break;
            case StepKind::HolderVerification:
            case StepKind::CardAuthentication:
            case StepKind::OtherCommands:
                step.outcome = plain_outcome(step);
                break;
            case StepKind::PowerOff:
                step.outcome = step.failed ? plain_outcome(step) : "";
                break;
        }
    }
}

}  // namespace quorrin::explain
