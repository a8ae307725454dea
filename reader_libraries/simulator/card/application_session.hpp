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

    // What keys of this transaction are made from.
    [[nodiscard]] cryptography::ScriptContext script_context() const {
        return {card.session_keys, card.algorithm, state.atc, state.last_arqc};
    }
    [[nodiscard]] cryptography::Key cryptogram_key() const {
        return cryptography::cryptogram_session_key(card.session_keys, card.algorithm,
                                                    application.keys.cryptogram, state.atc);
    }
};

}  // namespace quorrin::simulator
