#include "reader_libraries/simulator/card/cryptogram_generation.hpp"

#include <algorithm>

#include "cryptography/byte_string.hpp"
#include "reader_libraries/simulator/card/card_risk_management.hpp"
#include "reader_libraries/simulator/card/transaction_log.hpp"
#include "reader_libraries/simulator/card/verification_results.hpp"

namespace quorrin::simulator {
namespace {

using cryptography::CardVerificationResults;
using cryptography::Cryptogram;
using cryptography::TransactionData;

template <std::size_t Size>
std::array<std::uint8_t, Size> element(const ApplicationSession& session, Tag tag) {
    std::array<std::uint8_t, Size> value{};
    std::ranges::copy(fitted_value(session.terminal, tag, Size), value.begin());
    return value;
}

TransactionData covered_data(const ApplicationSession& session,
                             const CardVerificationResults& verification) {
    TransactionData data;
    data.amount_authorised = element<6>(session, 0x9F02);
    data.amount_other = element<6>(session, 0x9F03);
    data.terminal_country = element<2>(session, 0x9F1A);
    data.terminal_verification = element<5>(session, 0x95);
    data.currency = element<2>(session, 0x5F2A);
    data.date = element<3>(session, 0x9A);
    data.type = element<1>(session, 0x9C)[0];
    data.unpredictable_number = element<4>(session, 0x9F37);
    std::ranges::copy(session.application.interchange_profile, data.interchange_profile.begin());
    data.atc = session.state.atc;
    data.card_verification = verification;
    data.version = session.card.cryptogram_version;
    data.key_derivation_index = session.card.key_index;
    return data;
}

IssuedCryptogram issue(const ApplicationSession& session, CryptogramType type,
                       const CardVerificationResults& verification, Cryptogram& made) {
    made = cryptography::application_cryptogram(session.card.algorithm, session.cryptogram_key(),
                                                covered_data(session, verification));
    const auto atc = cryptography::big_endian(session.state.atc);
    cryptography::IssuerApplicationData issuer_data;
    issuer_data.key_derivation_index = session.card.key_index;
    issuer_data.cryptogram_version = session.card.cryptogram_version;
    issuer_data.card_verification = verification;
    issuer_data.algorithm = session.card.algorithm;
    return {static_cast<std::uint8_t>(type),
            {atc.begin(), atc.end()},
            {made.begin(), made.end()},
            cryptography::encode(issuer_data)};
}

// Scripts are sealed under this cryptogram from now on.
void open_scripts(ApplicationSession& session, const Cryptogram& cryptogram) {
    session.state.last_arqc = cryptogram;
    session.script_macs.emplace(session.script_context(), session.application.keys.mac);
    session.unblocked = false;
}

void go_online(ApplicationSession& session, const Cryptogram& arqc) {
    session.stage = TransactionStage::Online;
    session.state.online_incomplete = true;
    open_scripts(session, arqc);
}

// What a declined transaction leaves for the next one to report: EMV book 3 annex C5, byte 1.
void note_failed_authentication(ApplicationSession& session) {
    const std::uint8_t results = fitted_value(session.terminal, 0x95, 5)[0];
    constexpr std::uint8_t static_failed = 0x40;
    constexpr std::uint8_t dynamic_failed = 0x08;
    constexpr std::uint8_t combined_failed = 0x04;
    if ((results & static_failed) != 0) {
        session.state.static_authentication_failed = true;
    }
    if ((results & (dynamic_failed | combined_failed)) != 0) {
        session.state.dynamic_authentication_failed = true;
    }
}

// Online and answered, whatever the issuer said: EMV book 3 section 10.9.
void complete_online(ApplicationSession& session) {
    constexpr std::uint8_t issuer_authentication_supported = 0x04;  // AIP byte 1
    auto& state = session.state;
    state.issuer_authentication_missing =
        session.issuer_authentication == CheckResult::NotPerformed &&
        (session.application.interchange_profile[0] & issuer_authentication_supported) != 0;
    const bool unproved = session.issuer_authentication == CheckResult::Wrong ||
                          (session.issuer_authentication == CheckResult::NotPerformed &&
                           issuer_authentication_is_mandatory(session));
    if (unproved) {
        return;
    }
    count_scripts_afresh(session);
    state.online_incomplete = false;
    if (session.issuer_authentication == CheckResult::NotPerformed) {
        state.go_online_next = false;  // else as the issuer has said
    }
    state.static_authentication_failed = false;
    state.dynamic_authentication_failed = false;
    state.last_online_atc = state.atc;
    if (!session.issuer_rules_counters) {
        reset_offline_counters(state);
    }
}

}  // namespace

IssuedCryptogram issue_first_cryptogram(ApplicationSession& session, CryptogramType type) {
    Cryptogram made{};
    auto issued = issue(session, type, first_verification_results(session, type), made);
    session.stage = TransactionStage::Completed;
    switch (type) {
        case CryptogramType::Arqc:
            go_online(session, made);
            break;
        case CryptogramType::Tc:
            if (!session.paid_electronically) {
                count_offline(session);
            }
            break;
        case CryptogramType::Aac:
            note_failed_authentication(session);
            if (session.state.blocked) {
                open_scripts(session, made);
            }
            break;
    }
    log_transaction(session, type == CryptogramType::Aac);
    return issued;
}

IssuedCryptogram issue_quick_cryptogram(ApplicationSession& session, CryptogramType type) {
    Cryptogram made{};
    auto issued = issue(session, type, first_verification_results(session, type), made);
    session.stage = TransactionStage::Completed;
    if (session.state.blocked) {
        open_scripts(session, made);
    }
    // An ARQC is not followed by a word of what became of it.
    if (type != CryptogramType::Arqc) {
        log_transaction(session, type == CryptogramType::Aac);
    }
    return issued;
}

IssuedCryptogram issue_second_cryptogram(ApplicationSession& session, CryptogramType type) {
    Cryptogram made{};
    auto issued = issue(session, type, second_verification_results(session, type), made);
    session.stage = TransactionStage::Completed;
    if (!session.unable_to_go_online) {
        complete_online(session);
    } else if (type == CryptogramType::Tc) {
        count_offline(session);
    } else {
        note_failed_authentication(session);
    }
    if (type == CryptogramType::Aac) {
        take_back_log(session);
    }
    return issued;
}

}  // namespace quorrin::simulator
