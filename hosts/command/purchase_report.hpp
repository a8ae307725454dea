// What quorrin purchase says, line by line for a person, or collected for programs.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "hosts/command/applications.hpp"
#include "hosts/command/bank_options.hpp"
#include "hosts/command/json_output.hpp"

namespace quorrin::command {

class PurchaseReport {
  public:
    explicit PurchaseReport(const Common& common)
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
        put_text(name + text + "\n");
    }
    // One line each, named once.
    void say_all(const char* what, const std::vector<std::string>& texts) const {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            say(i == 0 ? what : "", texts[i]);
        }
    }
    Json& json() { return json_; }
    // What else a person should know at the end.
    void note(const std::string& text) { notes_.push_back(text); }
    // The exit status.
    int end(const std::string& how, const std::string& why, bool good) {
        heading("End");
        say("purchase", good ? in_green(how) : in_red(how));
        say("because", why);
        say_all("note", notes_);
        json_["ended"] = how;
        json_["why"] = why;
        json_["notes"] = notes_;
        if (common_.json) {
            put_json(json_);
        }
        return good ? success : failure;
    }

  private:
    const Common& common_;
    bool colour_;
    bool first_ = true;
    Json json_;
    std::vector<std::string> notes_;
};

// The purchase and the card's decision.
void say_request(PurchaseReport& report, const host::Purchase& purchase,
                 const host::PurchaseTerms& terms, const CardFacts& facts, const Common& common);
void say_bank(PurchaseReport& report, const host::BankAnswer& answer);
// What card and terminal made of the bank's answer.
void say_outcome(PurchaseReport& report, const host::Outcome& outcome);
// What the purchase has left on the card: electronic cash, the newest record of its log.
void say_traces(PurchaseReport& report, host::Card& card, const std::string& aid,
                const Common& common);

// Whether the card says why it has decided as it has.
bool gives_reason(const host::Cryptogram& cryptogram);
// Why a purchase is not approved, in a sentence.
std::string why_not(const host::Purchase& purchase, const host::Outcome& outcome);

}  // namespace quorrin::command
