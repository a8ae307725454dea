// quorrin purchase: the whole online purchase, with the test bank or with a bank's answer from
// elsewhere.
#include <charconv>
#include <cstdio>
#include <memory>

#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "hosts/command/card_session.hpp"
#include "hosts/command/json_output.hpp"
#include "quorrin/testbank.hpp"

namespace quorrin::command {
namespace {

struct PurchaseOptions : CardOptions {
    std::string amount = "128.50";
    std::string currency = "156";
    std::string country = "156";
    std::string date;
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

host::PurchaseTerms terms_of(const PurchaseOptions& options) {
    host::PurchaseTerms terms;
    terms.currency = number_of(options.currency, "--currency");
    terms.country = number_of(options.country, "--country");
    const auto exponent = decode::currency_exponent(static_cast<std::uint16_t>(terms.currency));
    try {
        terms.amount =
            host::Amount::parse(options.amount, exponent ? static_cast<unsigned>(*exponent) : 2);
        if (!options.date.empty()) {
            const host::ByteString date = host::from_hex(options.date);
            if (date.size() != 3) {
                throw std::invalid_argument("a date is YYMMDD");
            }
            terms.elements[0x9A] = date;
        }
        const host::ByteString type = host::from_hex(options.type);
        if (type.size() != 1) {
            throw std::invalid_argument("a type has two digits");
        }
        terms.type = type.front();
        if (!options.unpredictable_number.empty()) {
            const host::ByteString number = host::from_hex(options.unpredictable_number);
            if (number.size() != 4) {
                throw std::invalid_argument("an unpredictable number has four bytes");
            }
            terms.elements[0x9F37] = number;
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

void say_request(Report& report, const host::Purchase& purchase, const host::PurchaseTerms& terms,
                 const Common& common) {
    const host::OnlineRequest& online = purchase.online();
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    decoding.currency = static_cast<std::uint16_t>(terms.currency);
    report.heading("Purchase");
    report.say("application",
               element_text(purchase, 0x50, decoding) + ", AID " +
                   host::to_hex(purchase.element(0x84).value_or(host::ByteString())));
    report.say("card number", common.show_sensitive ? online.pan.reveal() : online.pan.masked());
    report.say("valid to", element_text(purchase, 0x5F24, decoding));
    report.say("amount", element_text(purchase, 0x9F02, decoding));
    report.say("type", element_text(purchase, 0x9C, decoding));
    report.say("random number", element_text(purchase, 0x9F37, decoding));
    report.say("cryptogram", host::to_hex(online.cryptogram.value) + ", transaction " +
                                 std::to_string(online.cryptogram.atc));
    report.say("decision", decision_text(purchase.decision()));
    Json& json = report.json();
    json["pan"] = common.show_sensitive ? online.pan.reveal() : online.pan.masked();
    if (online.pan_sequence_number) {
        json["pan_sequence_number"] = *online.pan_sequence_number;
    }
    json["decision"] = purchase.decision() == host::CardDecision::AsksOnline ? "ARQC"
                       : purchase.decision() == host::CardDecision::Approved ? "TC"
                       : purchase.decision() == host::CardDecision::Declined ? "AAC"
                                                                             : "AAR";
    json["cryptogram"] = host::to_hex(online.cryptogram.value);
    json["transaction_counter"] = online.cryptogram.atc;
    json["field_55"] = host::to_hex(online.field_55);
    json["cdol2"] = online.cdol2;
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
    report.say("verdict", (answer.approved ? "approved, " : "declined, ") + answer.response_code +
                              ": " + answer.reason);
    report.say("ARPC", host::to_hex(answer.authentication));
    report.json()["bank"] = {{"cryptogram_right", answer.cryptogram_right},
                             {"approved", answer.approved},
                             {"response_code", answer.response_code},
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
    report.say("TVR", host::to_hex(outcome.tvr.bytes()) +
                          (outcome.tvr.none() ? "" : ": " + outcome.tvr.text()));
    report.say("TSI", host::to_hex(outcome.tsi.bytes()) +
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

int run_purchase(const PurchaseOptions& options, const Common& common) {
    const host::PurchaseTerms terms = terms_of(options);
    Report report(common);
    CardSession session(options, common);
    report.heading("Card and reader");
    report.say("card found", slot_name(session.card().kind()) + " slot, answer to reset " +
                                 host::to_hex(session.card().atr()));
    host::Purchase purchase = session.card().start_purchase(terms, options.aid);
    say_request(report, purchase, terms, common);
    const auto end = [&report](const char* how, bool good) {
        report.heading("End");
        report.say("purchase", how);
        report.json()["ended"] = how;
        report.end();
        return good ? success : failure;
    };
    if (purchase.decision() != host::CardDecision::AsksOnline) {
        const bool approved = purchase.decision() == host::CardDecision::Approved;
        return end(approved ? "approved offline by the card" : "declined by the card", approved);
    }
    if (options.cryptogram_only) {
        report.heading("Goes online");
        // Field 55 carries no card number.
        report.say("field 55", host::to_hex(purchase.online().field_55));
        report.say("CDOL2", purchase.online().cdol2);
        return end("stopped after the cryptogram", true);
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
    return end(approved ? "approved"
               : outcome.authentication == host::IssuerAuthentication::Refused
                   ? "not approved: the card takes the bank's answer for wrong"
                   : "declined by the bank",
               approved);
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
