// quorrin purchase: the whole online purchase, with the test bank or with a bank's answer from
// elsewhere.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <memory>

#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "hosts/command/applications.hpp"
#include "hosts/command/card_reading.hpp"
#include "hosts/command/json_output.hpp"
#include "quorrin/testbank.hpp"

namespace quorrin::command {
namespace {

struct PurchaseOptions : CardOptions {
    std::string amount = "128.50";
    std::string currency = "156";
    std::string country = "156";
    std::string date;
    std::string time;
    std::string qualifiers = "D4000000";
    std::string type = "00";
    std::string merchant = "TEST TEA HOUSE";
    std::string unpredictable_number;
    bool cryptogram_only = false;
    std::string answer;
    std::string bank;
    std::string response_code;
    std::string arpc = "right";
    std::vector<std::string> wishes;
};

// Numbers of ISO 3166 and 4217, or the currency's letters.
unsigned number_of(const std::string& text, const char* option) {
    unsigned number = 0;
    const char* end = text.data() + text.size();
    if (std::from_chars(text.data(), end, number).ptr == end && number <= 999 && !text.empty()) {
        return number;
    }
    for (unsigned candidate = 1; candidate <= 999; ++candidate) {
        if (decode::currency_code(static_cast<std::uint16_t>(candidate)) == text) {
            return candidate;
        }
    }
    throw Failed(std::string(option) + ": a number of three digits, or a currency such as CNY");
}

host::ByteString hex_of_size(const std::string& text, std::size_t size, const char* otherwise) {
    host::ByteString bytes = host::from_hex(text);
    if (bytes.size() != size) {
        throw std::invalid_argument(otherwise);
    }
    return bytes;
}

host::PurchaseTerms terms_of(const PurchaseOptions& options) {
    host::PurchaseTerms terms;
    terms.currency = number_of(options.currency, "--currency");
    terms.country = number_of(options.country, "--country");
    const auto exponent = decode::currency_exponent(static_cast<std::uint16_t>(terms.currency));
    try {
        terms.amount =
            host::Amount::parse(options.amount, exponent ? static_cast<unsigned>(*exponent) : 2);
        if (!options.date.empty()) {
            terms.date = parse_date(options.date, "--date");
        }
        if (!options.time.empty()) {
            terms.elements[0x9F21] = hex_of_size(options.time, 3, "a time is HHMMSS");
        }
        terms.type = hex_of_size(options.type, 1, "a type has two digits").front();
        terms.elements[0x9F66] =
            hex_of_size(options.qualifiers, 4, "transaction qualifiers have four bytes");
        if (!options.unpredictable_number.empty()) {
            terms.elements[0x9F37] = hex_of_size(options.unpredictable_number, 4,
                                                 "an unpredictable number has four bytes");
        }
    } catch (const std::invalid_argument& error) {
        throw Failed(std::string("wrong terms: ") + error.what());
    }
    terms.merchant = options.merchant;
    return terms;
}

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

// Says the purchase line by line for a person, and collects it for programs.
class Report {
  public:
    explicit Report(const Common& common)
        : common_(common), colour_(wants_colour()), json_(result_of("purchase")) {}

    void heading(const char* text) {
        if (!common_.json) {
            put_result((first_ ? "" : "\n") + std::string(colour_ ? "\033[1m" : "") + text +
                       (colour_ ? "\033[0m" : "") + "\n");
        }
        first_ = false;
    }
    void say(const char* what, const std::string& text) const {
        if (common_.json || text.empty()) {
            return;
        }
        char name[32];
        std::snprintf(name, sizeof name, "  %-22s ", what);
        put_result(name + text + "\n");
    }
    // One line each, named once.
    void say_all(const char* what, const std::vector<std::string>& texts) const {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            say(i == 0 ? what : "", texts[i]);
        }
    }
    Json& json() { return json_; }
    void end() const {
        if (common_.json) {
            put_json(json_);
        }
    }

  private:
    const Common& common_;
    bool colour_;
    bool first_ = true;
    Json json_;
};

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

void say_request(Report& report, const host::Purchase& purchase, const host::PurchaseTerms& terms,
                 const CardFacts& facts, const Common& common) {
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

std::string response_meaning(const std::string& code) {
    const decode::Node node = decode::element(0x8A, host::ByteString(code.begin(), code.end()), {});
    // After the code itself, which is quoted.
    const std::size_t quote = node.text.rfind("\" ");
    return quote == std::string::npos ? std::string() : node.text.substr(quote + 2);
}

host::BankAnswer ask_bank(Report& report, const PurchaseOptions& options,
                          const host::OnlineRequest& online) {
    const host::TestBank bank(options.bank);
    host::BankDecision decision;
    decision.response_code = options.response_code;
    decision.arpc = options.arpc == "wrong"  ? QUORRIN_BANK_ARPC_WRONG
                    : options.arpc == "none" ? QUORRIN_BANK_ARPC_NONE
                                             : QUORRIN_BANK_ARPC_RIGHT;
    host::BankAnswer answer = bank.answer(online, options.wishes, decision);
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
    return answer;
}

bool say_outcome(Report& report, const host::Outcome& outcome) {
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
        report.say("script", identifier + " " + script.name());
        scripts.push_back({{"identifier", identifier},
                           {"result", script.name()},
                           {"failed_command", script.failed_command}});
    }
    report.say("terminal's TVR", host::to_hex(outcome.tvr.bytes()) + ": " +
                                     (outcome.tvr.none() ? "nothing amiss" : outcome.tvr.text()));
    report.say("terminal's TSI", host::to_hex(outcome.tsi.bytes()) +
                                     (outcome.tsi.none() ? "" : ": " + outcome.tsi.text()));
    report.json()["outcome"] = {{"approved", outcome.approved()},
                                {"response_code", outcome.response_code},
                                {"authentication", authentication_text(outcome.authentication)},
                                {"authentication_status", outcome.authentication_status.text()},
                                {"scripts", scripts},
                                {"tvr", host::to_hex(outcome.tvr.bytes())},
                                {"tsi", host::to_hex(outcome.tsi.bytes())}};
    return outcome.approved();
}

// Why a purchase is not approved, in a sentence.
std::string why_not(const host::Purchase& purchase, const host::Outcome& outcome) {
    if (outcome.authentication == host::IssuerAuthentication::Refused) {
        return "the card takes the bank's answer for wrong: its authentication (ARPC) was not made "
               "with this card's key for this purchase";
    }
    if (outcome.authentication == host::IssuerAuthentication::NoAnswer) {
        return "the card did not answer any more";
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

// What the purchase has left on the card: electronic cash, the newest record of its log.
void say_traces(Report& report, host::Card& card, const std::string& aid, const Common& common) {
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

int run_purchase(const PurchaseOptions& options, const Common& common) {
    host::PurchaseTerms terms = terms_of(options);
    Report report(common);
    CardSession session(options, common);
    host::Card& card = session.card();
    report.heading("Card and reader");
    report.say("card found",
               slot_name(card.kind()) + " slot, answer to reset " + host::to_hex(card.atr()));
    const std::string aid = chosen_application(card, options.aid);
    CardFacts facts;
    // The terminal's own check here: the dates (EMV book 3, 10.4.3).
    terms.assess = [&](host::Tvr& tvr, host::Tsi& /*tsi*/) {
        facts = card_facts(card, aid);
        if (has_expired(facts, terms.date)) {
            tvr.set(host::TvrBit::ExpiredApplication);
        }
        if (is_not_yet_valid(facts, terms.date)) {
            tvr.set(host::TvrBit::ApplicationNotYetEffective);
        }
    };
    host::Purchase purchase = card.start_purchase(terms, aid);
    say_request(report, purchase, terms, facts, common);
    const auto end = [&report](const char* how, const std::string& why, bool good) {
        report.heading("End");
        report.say("purchase", how);
        report.say("because", why);
        report.json()["ended"] = how;
        report.json()["why"] = why;
        report.end();
        return good ? success : failure;
    };
    if (purchase.decision() == host::CardDecision::Approved) {
        return end("approved offline by the card", "", true);
    }
    if (purchase.decision() != host::CardDecision::AsksOnline) {
        return end("declined by the card",
                   "the card itself said no (AAC): the bank was not asked" +
                       std::string(words_of(purchase.online().cryptogram).findings.empty()
                                       ? ", and the card gives no reason"
                                       : ""),
                   false);
    }
    if (options.cryptogram_only) {
        report.heading("Goes online");
        // Field 55 carries no card number.
        report.say("field 55", host::to_hex(purchase.online().field_55));
        report.say("CDOL2", purchase.online().cdol2);
        return end("stopped after the cryptogram", "", true);
    }
    const std::string answer = options.answer.empty()
                                   ? ask_bank(report, options, purchase.online()).issuer_text
                                   : options.answer;
    host::Outcome outcome;
    try {
        outcome = purchase.finish(answer);
    } catch (const std::invalid_argument& error) {
        throw Failed(std::string("--answer: ") + error.what());
    }
    const bool approved = say_outcome(report, outcome);
    const std::string why = approved ? std::string() : why_not(purchase, outcome);
    try {
        say_traces(report, card, aid, common);
    } catch (const host::Failure&) {  // the purchase is over, however the card goes
        report.say("afterwards", "the card did not answer any more");
    }
    return end(approved ? "approved"
               : outcome.authentication == host::IssuerAuthentication::Refused
                   ? "not approved: the card takes the bank's answer for wrong"
                   : "declined by the bank",
               why, approved);
}

}  // namespace

void add_purchase(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<PurchaseOptions>();
    CLI::App* command =
        app.add_subcommand("purchase", "Buy online with the card and the test bank");
    command->add_option("--amount", options->amount, "As people write it")->capture_default_str();
    command->add_option("--currency", options->currency, "ISO 4217: 156 or CNY")
        ->capture_default_str();
    command->add_option("--country", options->country, "The terminal's, ISO 3166")
        ->capture_default_str();
    command->add_option("--date", options->date, "YYMMDD; without it today");
    command->add_option("--time", options->time, "HHMMSS; without it now");
    command
        ->add_option("--qualifiers", options->qualifiers,
                     "Terminal transaction qualifiers (9F66); the default asks contactless cards "
                     "for the whole transaction")
        ->capture_default_str();
    command->add_option("--type", options->type, "00 goods, 01 cash, 20 refund")
        ->capture_default_str();
    command->add_option("--merchant", options->merchant, "At most 20 characters")
        ->capture_default_str();
    command->add_option("--unpredictable-number", options->unpredictable_number,
                        "Four bytes in hex; without it random");
    command->add_flag("--cryptogram-only", options->cryptogram_only,
                      "Stop after the card's cryptogram and show what goes online");
    command->add_option("--answer", options->answer,
                        "Go on with this answer of a bank (hex: 8A, 89, 91, 71, 72) instead of the "
                        "test bank's");
    command->add_option("--bank", options->bank, "Rules of the test bank (TOML)")
        ->check(CLI::ExistingFile);
    command->add_option("--response-code", options->response_code,
                        "What the test bank decides, such as 05");
    command->add_option("--arpc", options->arpc, "right, wrong or none")
        ->check(CLI::IsMember({"right", "wrong", "none"}))
        ->capture_default_str();
    command->add_option("--wish", options->wishes,
                        "What the bank changes on the card: \"put 9F79 000000030000\", \"block "
                        "application\"; may be given several times");
    add_application_options(*command, *options);
    command->footer(examples(R"(  quorrin purchase --reader simulator
  quorrin purchase --amount 12.80 --wish "put 9F79 000000030000" --trace purchase.jsonl
  quorrin purchase --cryptogram-only --json
  quorrin purchase --arpc wrong)"));
    command->callback([=, &common, &action] {
        action = [=, &common] { return run_purchase(*options, common); };
    });
}

}  // namespace quorrin::command
