// Fixture of the tests of whole purchases: a reader file with a card of a shipped profile, fresh for
// every test, a terminal on the exported functions, and the bank that answers for the card.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "bank/online_answer.hpp"
#include "tests/purchase/purchase_terminal.hpp"
#include "tests/purchase/shipped_cards.hpp"
#include "tests/support/bytes.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::test {

using bank::ScriptPhase;

class PurchaseTest : public testing::Test {
  protected:
    PurchaseTest();
    ~PurchaseTest() override;

    // Puts a new card into the reader and powers it. `more` goes to the end of the reader file.
    void insert(const ShippedCard& inserted, const std::string& more = "");
    // The same card powered again, after the reader was closed.
    void power_again();

    // A purchase up to what goes online.
    bank::OnlineRequest request_authorisation(const Purchase& purchase = {});
    // The same with the application blocked, which the library's selection refuses: a host that
    // wants its
    // AAC takes the steps itself.
    bank::OnlineRequest request_of_blocked_application();
    // The bank's answer to it; a wrong cryptogram fails the test.
    bank::OnlineAnswer answer(const bank::OnlineRequest& request,
                              const bank::Decision& decision = {}) const;
    // The answer's bytes, changed or not, to the card.
    void deliver(const ByteString& issuer_data) { terminal->take_answer(to_hex(issuer_data)); }

    // A whole purchase; the card must take the bank's answer.
    bank::OnlineRequest buy(const bank::Decision& decision = {}, const Purchase& what = {});
    // The same with one script.
    void run_script(ScriptPhase phase, const std::vector<bank::ScriptCommand>& commands);

    // A command to the card by the host itself: response data and status word.
    ByteString send(std::string_view header, const ByteString& data = {}) const;
    // What GET DATA answers, the status word alone where the card has no such element.
    ByteString card_data(std::uint16_t tag) const;
    ByteString card_record(std::uint8_t file, std::uint8_t number) const;
    ByteString verify(const std::string& pin) const;  // the status word

    // All that a script can change on the card and that can be read from it, within a transaction.
    std::string card_contents() const;
    // The last transaction that the card knows to have been online (9F13).
    std::uint16_t last_online_atc() const;

    // TVR and TSI in one: 5 bytes and 2.
    static ByteString verification_and_status();

    // The record with the holder's name, and the same with another name.
    ByteString holder_record() const { return card_record(card.holder_file, card.holder_record); }
    std::string other_holder() const { return "NEXT" + card.holder.substr(4); }
    ByteString holder_record_renamed() const;

    TemporaryDirectory directory;
    ShippedCard card;
    std::optional<test::PurchaseTerminal> terminal;
};

// The code of the step of the library that fails in `call`, 0 when none does.
template <typename Call>
std::int64_t failure_of(Call&& call) {
    try {
        call();
        return 0;
    } catch (const test::StepFailed& failure) {
        return failure.code;
    }
}

bank::Decision approval_with(ScriptPhase phase, const std::vector<bank::ScriptCommand>& commands);

// The bytes with one bit of them changed, counted from the first byte's most significant one.
ByteString with_flipped_bit(ByteString bytes, std::size_t bit);

// The status word of a command carried out.
inline const ByteString done{0x90, 0x00};

struct CardName {
    template <typename Info>
    std::string operator()(const Info& info) const {
        return info.param.name;
    }
};

// Names of a card and a phase: debit_71.
struct CardAndPhaseName {
    template <typename Info>
    std::string operator()(const Info& info) const {
        const auto phase = static_cast<std::uint8_t>(std::get<ScriptPhase>(info.param));
        return std::get<ShippedCard>(info.param).name + "_" + to_hex({&phase, 1});
    }
};

inline auto both_phases() {
    return testing::Values(ScriptPhase::BeforeFinalCryptogram, ScriptPhase::AfterFinalCryptogram);
}

}  // namespace quorrin::test
