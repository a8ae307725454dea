#include "hosts/command/purchase_report.hpp"

#include <algorithm>
#include <cctype>

#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "hosts/command/card_reading.hpp"
#include "hosts/command/exchange_watch.hpp"

namespace quorrin::command {
namespace {

const char* decision_text(host::CardDecision decision) {
    switch (decision) {
        case host::CardDecision::Declined:
            return "AAC: the card declines";
        case host::CardDecision::Approved:
            return "TC: the card approves offline";
        case host::CardDecision::AsksOnline:
            return "ARQC: the card asks its bank";
        case host::CardDecision::Reserved:
            break;
    }
    return "a cryptogram of no meaning";
}

const char* authentication_text(host::IssuerAuthentication authentication) {
    switch (authentication) {
        case host::IssuerAuthentication::NotSent:
            return "the bank's answer has none";
        case host::IssuerAuthentication::Accepted:
            return "accepted by the card";
        case host::IssuerAuthentication::Refused:
            return "refused by the card";
        case host::IssuerAuthentication::NoAnswer:
            break;
    }
    return "the card did not answer";
}

// The library looks at the sending only; what the card answered stands beside it.
std::string script_text(const host::ScriptResult& script) {
    switch (script.result) {
        case host::ScriptResult::Result::Successful:
            return "all commands sent";
        case host::ScriptResult::Result::Failed:
            return "failed: malformed, or the card fell silent";
        case host::ScriptResult::Result::NotPerformed:
            break;
    }
    return "not performed";
}

std::string element_text(const host::Purchase& purchase, host::Tag tag,
                         const decode::Options& decoding) {
    const auto value = purchase.element(tag);
    if (!value) {
        return {};
    }
    const decode::Node node = decode::element(tag, *value, decoding);
    return node.text.empty() ? node.value : node.text;
}

// What the card says of its decision in the issuer application data (9F10).
struct CardWords {
    std::vector<std::string> findings;  // card verification results, but for what the decision says
    std::string algorithm;
};

void collect_words(const decode::Node& node, bool in_results, CardWords& words) {
    const bool is_results = node.label.starts_with("Card verification results");
    if (node.label == "Algorithm") {
        words.algorithm = node.text;
    }
    const bool tells_decision = node.text.find("GENERATE AC") != std::string::npos;
    if (in_results && node.kind == decode::NodeKind::Flag && !tells_decision) {
        words.findings.push_back(node.text);
    }
    for (const decode::Node& child : node.children) {
        collect_words(child, in_results || is_results, words);
    }
}

CardWords words_of(const host::Cryptogram& cryptogram) {
    CardWords words;
    collect_words(decode::element(0x9F10, cryptogram.issuer_application_data, {}), false, words);
    return words;
}

void say_bank_commands(PurchaseReport& report) {
    std::size_t taken = 0;
    Json commands = Json::array();
    std::vector<std::string> refusals;
    for (const WatchedExchange& sent : bank_commands()) {
        const std::string command =
            host::to_hex(host::ByteString(sent.command.begin(), sent.command.begin() + 4));
        const bool is_answered = sent.status.value() != 0;
        const std::string meaning =
            is_answered ? decode::status_word(sent.status.sw1, sent.status.sw2).meaning
                        : "no answer";
        commands.push_back({{"command", command},
                            {"status", is_answered ? sent.status.text() : ""},
                            {"meaning", meaning},
                            {"taken", sent.is_taken()}});
        if (sent.is_taken()) {
            ++taken;
        } else {
            refusals.push_back("command " + command +
                               (is_answered ? " refused with " + sent.status.text() + ": " : ": ") +
                               meaning);
        }
    }
    report.json()["script_commands"] = commands;
    if (commands.empty()) {
        return;
    }
    const std::string count = std::to_string(taken) + " of " + std::to_string(commands.size());
    report.say("the card", "took " + count + " of the bank's commands");
    report.say_all("", refusals);
    if (!refusals.empty()) {
        report.note("the card took " + count +
                    " of the bank's commands: what they were to change, has not changed");
    }
}

}  // namespace

void say_request(PurchaseReport& report, const host::Purchase& purchase,
                 const host::PurchaseTerms& terms, const CardFacts& facts, const Common& common) {
    const host::OnlineRequest& online = purchase.online();
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    decoding.currency = static_cast<std::uint16_t>(terms.currency);
    const CardWords words = words_of(online.cryptogram);
    report.heading("Purchase");
    report.say("application", facts.name +
                                  (facts.label.empty() ? "" : ", \"" + facts.label + "\"") +
                                  ", AID " + facts.aid);
    report.say("card number", common.show_sensitive ? online.pan.reveal() : online.pan.masked());
    report.say("valid", validity_text(facts, terms.date));
    report.say("amount", element_text(purchase, 0x9F02, decoding));
    report.say("type", element_text(purchase, 0x9C, decoding));
    report.say("merchant", terms.merchant);
    report.say("terminal found", purchase.tvr().none() ? "nothing amiss" : purchase.tvr().text());
    report.say("random number", element_text(purchase, 0x9F37, decoding));
    report.say("cryptogram", host::to_hex(online.cryptogram.value) +
                                 (words.algorithm.empty() ? "" : ", by " + words.algorithm));
    report.say("counter", "transaction " + std::to_string(online.cryptogram.atc) + " of the card");
    report.say("decision", decision_text(purchase.decision()));
    report.say_all("the card remarks", words.findings);
    Json& json = report.json();
    json["application"] = {{"aid", facts.aid}, {"name", facts.name}, {"label", facts.label}};
    json["pan"] = common.show_sensitive ? online.pan.reveal() : online.pan.masked();
    if (online.pan_sequence_number) {
        json["pan_sequence_number"] = *online.pan_sequence_number;
    }
    json["expired"] = has_expired(facts, terms.date);
    json["decision"] = purchase.decision() == host::CardDecision::AsksOnline ? "ARQC"
                       : purchase.decision() == host::CardDecision::Approved ? "TC"
                       : purchase.decision() == host::CardDecision::Declined ? "AAC"
                                                                             : "AAR";
    json["remarks"] = words.findings;
    json["cryptogram"] = host::to_hex(online.cryptogram.value);
    json["transaction_counter"] = online.cryptogram.atc;
    json["field_55"] = host::to_hex(online.field_55);
    json["cdol2"] = online.cdol2;
}

void say_bank(PurchaseReport& report, const host::BankAnswer& answer) {
    report.heading("Bank");
    report.say("card product", answer.product.empty() ? "none of this bank" : answer.product);
    report.say("cryptogram", answer.cryptogram_right ? "right" : "wrong");
    const std::string meaning = response_meaning(answer.response_code);
    report.say("verdict", (answer.approved ? "approved, " : "declined, ") + answer.response_code +
                              (meaning.empty() ? "" : ": " + meaning));
    report.say("because", answer.reason);
    report.say("ARPC", host::to_hex(answer.authentication));
    report.json()["bank"] = {{"cryptogram_right", answer.cryptogram_right},
                             {"approved", answer.approved},
                             {"response_code", answer.response_code},
                             {"response_meaning", meaning},
                             {"reason", answer.reason},
                             {"issuer_text", answer.issuer_text}};
}

void say_outcome(PurchaseReport& report, const host::Outcome& outcome) {
    report.heading("Card");
    report.say("bank's answer",
               std::string(authentication_text(outcome.authentication)) +
                   (outcome.authentication == host::IssuerAuthentication::Refused
                        ? " with " + outcome.authentication_status.text() + ": " +
                              decode::status_word(outcome.authentication_status.sw1,
                                                  outcome.authentication_status.sw2)
                                  .meaning
                        : ""));
    Json scripts = Json::array();
    for (const host::ScriptResult& script : outcome.scripts) {
        const std::string identifier = host::to_hex(script.identifier);
        report.say("script", identifier + " " + script_text(script));
        scripts.push_back({{"identifier", identifier},
                           {"result", script.name()},
                           {"failed_command", script.failed_command}});
    }
    say_bank_commands(report);
    report.say("terminal's TVR", host::to_hex(outcome.tvr.bytes()) + ": " +
                                     (outcome.tvr.none() ? "nothing amiss" : outcome.tvr.text()));
    if (outcome.authentication == host::IssuerAuthentication::Refused &&
        !outcome.tvr.has(host::TvrBit::IssuerAuthenticationFailed)) {
        report.say("", "(that issuer authentication failed is the host's to set in it)");
    }
    report.say("terminal's TSI", host::to_hex(outcome.tsi.bytes()) +
                                     (outcome.tsi.none() ? "" : ": " + outcome.tsi.text()));
    report.json()["outcome"] = {{"approved", outcome.approved()},
                                {"response_code", outcome.response_code},
                                {"authentication", authentication_text(outcome.authentication)},
                                {"authentication_status", outcome.authentication_status.text()},
                                {"scripts", scripts},
                                {"tvr", host::to_hex(outcome.tvr.bytes())},
                                {"tsi", host::to_hex(outcome.tsi.bytes())}};
}

bool gives_reason(const host::Cryptogram& cryptogram) {
    return !words_of(cryptogram).findings.empty();
}

std::string why_not(const host::Purchase& purchase, const host::Outcome& outcome) {
    if (outcome.authentication == host::IssuerAuthentication::Refused) {
        return "the answer's authentication (ARPC) was not made with this card's key for this "
               "purchase";
    }
    if (outcome.authentication == host::IssuerAuthentication::NoAnswer) {
        return "the card did not answer any more; when the bank said yes, it has to be told (a "
               "reversal)";
    }
    if (outcome.response_code.empty()) {
        return "the bank's answer has no response code";
    }
    const std::string meaning = response_meaning(outcome.response_code);
    const bool is_readable = std::ranges::all_of(
        outcome.response_code, [](unsigned char c) { return std::isalnum(c) != 0; });
    return "the bank declined with " +
           (is_readable ? outcome.response_code
                        : host::to_hex(host::ByteString(outcome.response_code.begin(),
                                                        outcome.response_code.end()))) +
           (meaning.empty() ? "" : ", " + meaning) +
           (purchase.tvr().none() ? "" : "; the terminal had told it: " + purchase.tvr().text());
}

void say_traces(PurchaseReport& report, host::Card& card, const std::string& aid,
                const Common& common) {
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    const ReadAnswer fci = select_by_name(card, host::from_hex(aid));
    const ReadAnswer balance = read_data(card, 0x9F79);
    if (const auto value = find_value(balance.data(), 0x9F79); balance.ok() && value) {
        const auto currency = find_value(read_data(card, 0x9F51).data(), 0x9F51);
        decoding.currency = iso_number(currency);
        report.say("electronic cash", decode::element(0x9F79, *value, decoding).text);
    }
    const auto entry = find_value(fci.data(), 0x9F4D);
    const auto format = find_value(read_data(card, 0x9F4F).data(), 0x9F4F);
    if (!entry || entry->empty() || !format) {
        return;
    }
    const ReadAnswer record = read_record(card, entry->front(), 1);
    if (!record.ok()) {
        return;
    }
    const LogRecord read = read_log_record(record.data(), *format, transaction_log, decoding);
    decoding.currency = currency_of(read);
    std::string text;
    for (const std::uint32_t tag : {0x9AU, 0x9F21U, 0x9F02U, 0x9F4EU, 0x9F36U}) {
        const std::string field = field_text(read, tag, decoding);
        if (!field.empty()) {
            text += (text.empty() ? "" : ", ") + (tag == 0x9F36 ? "transaction " + field : field);
        }
    }
    report.say("newest log record", text);
    report.json()["log_record"] = tree_of(read.tree);
}

}  // namespace quorrin::command
