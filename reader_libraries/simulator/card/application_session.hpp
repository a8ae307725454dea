// One selected application between two SELECTs: what a transaction has reached so far.
#pragma once

#include <optional>

#include "cryptography/secure_messaging.hpp"
#include "reader_libraries/simulator/card/card_state.hpp"

namespace quorrin::simulator {

enum class TransactionStage : std::uint8_t {
    Selected,
    OptionsGiven,  // GET PROCESSING OPTIONS done: the first GENERATE AC may come
    Online,        // an ARQC was given: EXTERNAL AUTHENTICATE and the second GENERATE AC may come
    Completed,
};

enum class CheckResult : std::uint8_t { NotPerformed, Right, Wrong };

struct ApplicationSession {
    const CardProfile& card;
    const ApplicationProfile& application;
    CardState& card_state;
    ApplicationState& state;

    TransactionStage stage = TransactionStage::Selected;
    ElementValues terminal{};  // what PDOL and CDOLs delivered
    CheckResult issuer_authentication = CheckResult::NotPerformed;
    CheckResult pin_check = CheckResult::NotPerformed;
    std::optional<cryptography::ScriptMacChain> script_macs{};

    // What the state said when the transaction began, before it became the last one itself.
    bool last_online_incomplete = false;
    bool last_issuer_authentication_failed = false;

    bool limits_passed = false;
    bool paid_electronically = false;
    bool unable_to_go_online = false;
    bool issuer_refuses = false;          // by response code or card status update
    bool issuer_rules_counters = false;   // by card status update, even where it leaves them
    bool dynamic_authentication = false;  // performed in this transaction
    bool unblocked = false;               // APPLICATION UNBLOCK is taken once under a cryptogram
    bool scripts_counted_afresh = false;  // the counts of the CVR are those of this transaction
    unsigned wrong_script_macs = 0;
    std::optional<ByteString> challenge{};  // of GET CHALLENGE, for the next command alone
    ByteString dol_data{};                  // values of PDOL, CDOL1 and CDOL2 as they came
    struct LoggedRecord {
        std::optional<ByteString> displaced;  // the oldest record, which made room
    };
    std::optional<LoggedRecord> logged{};  // this transaction's, taken back if it is declined

    // What keys of this transaction are made from.
    [[nodiscard]] cryptography::ScriptContext script_context() const {
        return {card.session_keys, card.algorithm, state.atc, state.last_arqc,
                card.script_encipherment};
    }
    [[nodiscard]] cryptography::Key cryptogram_key() const {
        return cryptography::cryptogram_session_key(card.session_keys, card.algorithm,
                                                    application.keys.cryptogram, state.atc);
    }
};

}  // namespace quorrin::simulator
