// A terminal as a host program builds it on the library: one online purchase, step by step, through the
// exported functions alone.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "bank/online_answer.hpp"

namespace quorrin::test {

// A step of the library failed; the text names it, with its code and message.
struct StepFailed : std::runtime_error {
    explicit StepFailed(const std::string& text, std::int64_t result = 0)
        : std::runtime_error(text), code(result) {}
    std::int64_t code;  // the step's result, 0 when it was not a result that failed
};

struct Purchase {
    std::string amount = "000000001000";  // 12 digits, in cents
    std::string date = "260101";          // YYMMDD
    std::string time = "120000";          // HHMMSS
    std::string merchant = "TEST MERCHANT       ";
    std::string unpredictable_number{};  // 8 hex digits; empty: a random one, as terminals take it
};

// One record of the card's transaction log.
struct LogRecord {
    std::string amount;
    std::string date;
    std::string time;
    std::string merchant;
    std::string atc;
};

// One entry of the issuer script results (EMV book 4, A5).
struct ScriptResult {
    unsigned result;  // 0 not performed, 1 failed, 2 successful
    unsigned failed_command;
    std::string identifier;  // hex text
};

class PurchaseTerminal {
  public:
    // Opens the reader and powers the card of this kind (see quorrin.h).
    explicit PurchaseTerminal(int card_kind);
    // Powers the card down and closes the reader, if `close` has not.
    ~PurchaseTerminal();
    PurchaseTerminal(const PurchaseTerminal&) = delete;
    PurchaseTerminal& operator=(const PurchaseTerminal&) = delete;

    // Transaction qualifiers (9F66) as 8 hex digits; empty leaves them to the library.
    std::string qualifiers{};

    [[nodiscard]] std::string serial() const;
    [[nodiscard]] const std::string& answer_to_reset() const { return answer_to_reset_; }

    // An empty AID takes the first application of the card's directory, here and below.
    // The values of these keys (see TagMapgetIccInfo) that the card has.
    std::map<char, std::string> card_holder_data(const std::string& aid, const std::string& keys);

    // Runs the purchase up to the cryptogram, which it returns as hex text.
    std::string request_cryptogram(const std::string& aid, const Purchase& purchase);

    // What goes online after that.
    [[nodiscard]] bank::OnlineRequest online_request() const;

    // Takes the issuer's answer to the card.
    void take_answer(const std::string& issuer_data_text);
    [[nodiscard]] std::vector<ScriptResult> script_results() const;

    // Whether the card has taken the issuer's authentication of this transaction for right: its last
    // online ATC register (9F13) has moved to this transaction's ATC.
    [[nodiscard]] bool card_accepted_issuer() const;

    [[nodiscard]] LogRecord latest_log_record(const std::string& aid) const;

    void close();

  private:
    std::string answer_to_reset_;
};

// The value of an element that the store holds now, empty when it is absent.
std::vector<std::uint8_t> stored_element(std::uint16_t tag);

std::string hex_text(const std::vector<std::uint8_t>& bytes);

}  // namespace quorrin::test
