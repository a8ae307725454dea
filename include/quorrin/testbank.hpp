// The test bank for hosts in C++17, above testbank.h. Link libquorrin-testbank.
//
//     quorrin::host::TestBank bank;
//     auto answer = bank.answer(purchase.online(), {"put 9F79 000000030000"});
//     auto outcome = purchase.finish(answer.issuer_text);
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <quorrin/testbank.h>
#include <quorrin/host/purchase.hpp>

namespace quorrin::host {

/// The test bank refused a call; the text says why.
class BankFailure : public std::runtime_error {
  public:
    /// A result of the C interface, with its reason.
    explicit BankFailure(std::int32_t code)
        : std::runtime_error(quorrin_bank_error()), code_(code) {}
    /// A QuorrinBankResult.
    std::int32_t code() const { return code_; }

  private:
    std::int32_t code_;
};

/// What the bank is to decide, where its rules do not.
struct BankDecision {
    std::string response_code;                       ///< "51"; empty: by the rules
    std::string authorisation_code;                  ///< six characters; empty: by the rules
    QuorrinBankArpc arpc = QUORRIN_BANK_ARPC_RIGHT;  ///< right, wrong on purpose, or none
    int arpc_method = 0;                             ///< 1, 2; 0: by rules or product
    std::array<std::uint8_t, 4> status_update{};     ///< method 2
};

/// The bank's verdict and answer.
struct BankAnswer {
    bool cryptogram_right = false;   ///< the card made it, over these data
    bool approved = false;           ///< response code 00, 10 or 11
    int arpc_method = 0;             ///< 1 or 2; 0 without authentication
    ByteString authentication;       ///< 91
    std::string response_code;       ///< 8A
    std::string authorisation_code;  ///< 89
    std::string product;             ///< the card product's name
    std::string rule;                ///< the rule that decided, empty for none
    std::string reason;              ///< the verdict in words
    std::string issuer_text;         ///< the whole answer as hex text, for Purchase::finish
};

/// A bank with test keys.
class TestBank {
  public:
    /// The bank of the simulator's cards, or that of a rules file (docs/test-bank.md).
    explicit TestBank(const std::string& rules_file = "") {
        QuorrinBank* bank = nullptr;
        check(quorrin_bank_open(rules_file.empty() ? nullptr : rules_file.c_str(), &bank));
        bank_.reset(bank);
    }

    /// A bank whose rules are the TOML text itself.
    static TestBank with_rules(const std::string& rules) {
        QuorrinBank* bank = nullptr;
        check(quorrin_bank_open_text(rules.c_str(), &bank));
        return TestBank(bank);
    }

    /// Answers a purchase that went online. `wishes` are changes on the card in words:
    /// "put 9F79 000000030000", "71: block application".
    BankAnswer answer(const OnlineRequest& online, const std::vector<std::string>& wishes = {},
                      const BankDecision& decision = {}) const {
        QuorrinBankRequest request = {};
        copy(online.pan.reveal(), request.pan, "the card number is too long");
        request.pan_sequence_number = online.pan_sequence_number.value_or(0);
        check(quorrin_bank_read_field55(online.field_55.data(), online.field_55.size(), &request));

        QuorrinBankDecision decided = {};
        copy(decision.response_code, decided.response_code, "a response code has two characters");
        copy(decision.authorisation_code, decided.authorisation_code,
             "an authorisation code has six characters");
        decided.arpc = static_cast<std::uint8_t>(decision.arpc);
        decided.arpc_method = static_cast<std::uint8_t>(decision.arpc_method);
        std::copy(decision.status_update.begin(), decision.status_update.end(),
                  decided.status_update);

        std::vector<QuorrinBankWish> changes(wishes.size());
        for (std::size_t i = 0; i < wishes.size(); ++i) {
            check(quorrin_bank_read_wish(wishes[i].c_str(), &changes[i]));
        }
        QuorrinBankAnswer made = {};
        check(quorrin_bank_answer(bank_.get(), &request, &decided, changes.data(), changes.size(),
                                  &made));
        return {made.cryptogram_right != 0,
                made.approved != 0,
                made.arpc_method,
                ByteString(made.authentication, made.authentication + made.authentication_size),
                made.response_code,
                made.authorisation_code,
                made.product,
                made.rule,
                made.reason,
                made.issuer_text};
    }

  private:
    struct Close {
        void operator()(QuorrinBank* bank) const { quorrin_bank_close(bank); }
    };

    explicit TestBank(QuorrinBank* bank) : bank_(bank) {}

    static void check(std::int32_t result) {
        if (result != QUORRIN_BANK_OK) {
            throw BankFailure(result);
        }
    }

    template <std::size_t Size>
    static void copy(const std::string& text, char (&field)[Size], const char* too_long) {
        if (text.size() >= Size) {
            throw std::invalid_argument(too_long);
        }
        std::copy(text.begin(), text.end(), field);
    }

    std::unique_ptr<QuorrinBank, Close> bank_;
};

}  // namespace quorrin::host
