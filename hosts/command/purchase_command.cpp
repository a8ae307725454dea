// quorrin purchase: the whole online purchase, with the test bank or with a bank's answer from
// elsewhere.
#include <memory>

#include "hosts/command/exchange_watch.hpp"
#include "hosts/command/purchase_options.hpp"
#include "hosts/command/purchase_report.hpp"
#include "hosts/command/reader_backend.hpp"

namespace quorrin::command {
namespace {

// A quick card gives its cryptogram ahead of GENERATE AC, which it then refuses.
int end_quick(PurchaseReport& report, host::CardDecision decision) {
    const std::string where =
        " in its answer to GET PROCESSING OPTIONS (quick PBOC), as the "
        "terminal's qualifiers (--qualifiers) let it; here that is the end";
    switch (decision) {
        case host::CardDecision::Approved:
            return report.end("approved offline by the card, the quick way",
                              "it gave its TC" + where, true);
        case host::CardDecision::AsksOnline:
            return report.end("not completed: the card asks its bank, the quick way",
                              "it gave its ARQC" + where + ", and the bank was not asked", false);
        default:
            return report.end("declined by the card, the quick way", "it gave an AAC" + where,
                              false);
    }
}

int end_incomplete(PurchaseReport& report, const host::Failure& error, bool answered) {
    std::string why = plain_words(error);
    if (why.empty()) {
        why = error.meaning();
    }
    const int status =
        report.end("not completed",
                   why + (answered ? "; the bank had answered, and has to be told (a reversal) "
                                     "when that was a yes"
                                   : "; the bank was not asked"),
                   false);
    tell(describe(error));
    return status;
}

// The card has been told what its bank says.
int end_answered(PurchaseReport& report, const host::Purchase& purchase,
                 const host::Outcome& outcome, bool expired) {
    using enum host::IssuerAuthentication;
    if (!outcome.approved()) {
        return report.end(
            outcome.authentication == Refused
                ? "not approved: the card takes the bank's answer for wrong"
            : outcome.authentication == NoAnswer ? "not completed: the card fell silent"
            : outcome.response_code.empty()      ? "not approved: the answer is no bank's verdict"
                                                 : "declined by the bank",
            why_not(purchase, outcome), false);
    }
    if (expired) {
        report.note(
            "the card is out of date; the terminal told the bank so (TVR), which approved "
            "all the same");
    }
    if (outcome.authentication == NotSent) {
        report.note("the bank's answer had no ARPC: the card could not see whose answer it was");
    }
    return report.end("approved", "", true);
}

// One purchase with one card, as far as it has come.
struct Attempt {
    PurchaseReport& report;
    host::Card& card;
    const Common& common;
    std::string aid;
    bool answered = false;  // the bank's answer is here
};

// The purchase is over, however the card goes.
void say_what_is_left(Attempt& attempt) {
    try {
        say_traces(attempt.report, attempt.card, attempt.aid, attempt.common);
    } catch (const host::Failure&) {
        attempt.report.say("afterwards", "the card did not answer any more");
    }
}

int buy(Attempt& attempt, host::PurchaseTerms terms, const PurchaseOptions& options,
        const host::TestBank& bank) {
    PurchaseReport& report = attempt.report;
    CardFacts facts;
    // The terminal's own check here: the dates (EMV book 3, 10.4.3).
    terms.assess = [&](host::Tvr& tvr, host::Tsi& /*tsi*/) {
        facts = card_facts(attempt.card, attempt.aid);
        if (has_expired(facts, terms.date)) {
            tvr.set(host::TvrBit::ExpiredApplication);
        }
        if (is_not_yet_valid(facts, terms.date)) {
            tvr.set(host::TvrBit::ApplicationNotYetEffective);
        }
    };
    host::Purchase purchase = attempt.card.start_purchase(terms, attempt.aid);
    say_request(report, purchase, terms, facts, attempt.common);
    if (purchase.decision() == host::CardDecision::Approved) {
        return report.end("approved offline by the card", "", true);
    }
    if (purchase.decision() != host::CardDecision::AsksOnline) {
        return report.end(
            "declined by the card",
            std::string("the card itself said no (AAC): the bank was not asked") +
                (gives_reason(purchase.online().cryptogram) ? ""
                                                            : ", and the card gives no reason"),
            false);
    }
    if (options.cryptogram_only) {
        report.heading("Goes online");
        // Field 55 carries no card number.
        report.say("field 55", host::to_hex(purchase.online().field_55));
        report.say("CDOL2", purchase.online().cdol2);
        return report.end("stopped after the cryptogram", "", true);
    }
    std::string answer = options.answer;
    if (answer.empty()) {
        const host::BankAnswer made =
            bank.answer(purchase.online(), options.bank.wishes, decision_of(options.bank));
        say_bank(report, made);
        answer = made.issuer_text;
    }
    attempt.answered = true;
    const host::Outcome outcome = purchase.finish(answer);
    say_outcome(report, outcome);
    say_what_is_left(attempt);
    return end_answered(report, purchase, outcome, has_expired(facts, terms.date));
}

int run_purchase(const PurchaseOptions& options, const Common& common) {
    // All that can be wrong with them, before a card's transaction counter moves.
    const host::PurchaseTerms terms = terms_of(options);
    decision_of(options.bank);
    const host::TestBank bank(options.bank.rules);
    PurchaseReport report(common);
    CardSession session(options, common);
    Attempt attempt = {report, session.card(), common, {}};
    report.heading("Card and reader");
    report.say("card found", slot_name(attempt.card.kind()) + " slot, answer to reset " +
                                 host::to_hex(attempt.card.atr()));
    try {
        attempt.aid = chosen_application(attempt.card, options.aid);
        return buy(attempt, terms, options, bank);
    } catch (const host::Failure& error) {
        if (was_interrupted()) {
            throw;
        }
        const auto decision = quick_decision();
        if (!decision || attempt.answered) {
            return end_incomplete(report, error, attempt.answered);
        }
        if (decision == host::CardDecision::Approved) {
            report.heading("Card");
            say_what_is_left(attempt);
        }
        return end_quick(report, *decision);
    }
}

}  // namespace

void add_purchase(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<PurchaseOptions>();
    CLI::App* command = app.add_subcommand(
        "purchase", "Buy with the card and the test bank, online (not from electronic cash)");
    add_purchase_options(*command, *options);
    command->footer(examples(R"(  quorrin purchase --reader simulator
  quorrin purchase --amount 12.80 --trace purchase.jsonl \
      --wish "put 9F79 000000030000"
  quorrin purchase --reader simulator:credit --response-code 51
  quorrin purchase --cryptogram-only --json
  quorrin purchase --arpc wrong)"));
    command->callback([=, &common, &action] {
        action = [=, &common] { return run_purchase(*options, common); };
    });
}

}  // namespace quorrin::command
