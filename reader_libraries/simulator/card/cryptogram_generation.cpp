#include "reader_libraries/simulator/card/cryptogram_generation.hpp"

#include <algorithm>

#include "cryptography/byte_string.hpp"
#include "reader_libraries/simulator/card/transaction_log.hpp"

namespace quorrin::simulator {
namespace {

using cryptography::CardVerificationResults;
using cryptography::Cryptogram;
using cryptography::TransactionData;

// Card verification results of PBOC, byte by byte behind the length.
namespace results {
// Byte 2: the second cryptogram's type in bits 8 and 7, the first one's in 6 and 5.
constexpr std::uint8_t second_not_requested = 0x80;
constexpr std::uint8_t second_is_tc = 0x40;
constexpr std::uint8_t first_is_arqc = 0x20;
constexpr std::uint8_t first_is_tc = 0x10;
constexpr std::uint8_t issuer_authentication_failed = 0x08;
constexpr std::uint8_t pin_checked = 0x04;
constexpr std::uint8_t pin_wrong = 0x02;
// Byte 3.
constexpr std::uint8_t last_online_incomplete = 0x80;
constexpr std::uint8_t pin_tries_used_up = 0x40;
constexpr std::uint8_t never_online = 0x10;
// Byte 4: the count of script commands in the left nibble.
constexpr std::uint8_t script_failed = 0x08;
constexpr std::uint8_t most_scripts = 15;
}  // namespace results

std::uint8_t first_type_bits(CryptogramType first) {
    switch (first) {
        case CryptogramType::Arqc:
            return results::first_is_arqc;
        case CryptogramType::Tc:
            return results::first_is_tc;
        case CryptogramType::Aac:
            break;
    }
    return 0;
}

// `type_bits` are those of byte 2 that tell both cryptograms' types.
CardVerificationResults verification_results(const ApplicationSession& session,
                                             std::uint8_t type_bits) {
    const auto& state = session.state;
    unsigned transaction = type_bits;
    if (session.issuer_authentication == CheckResult::Wrong) {
        transaction |= results::issuer_authentication_failed;
    }
    if (session.pin_check != CheckResult::NotPerformed) {
        transaction |= results::pin_checked;
    }
    if (session.pin_check == CheckResult::Wrong) {
        transaction |= results::pin_wrong;
    }
    unsigned card = 0;
    if (state.online_incomplete) {
        card |= results::last_online_incomplete;
    }
    if (session.application.pin_try_limit != 0 && state.pin_tries == 0) {
        card |= results::pin_tries_used_up;
    }
    if (state.last_online_atc == 0) {
        card |= results::never_online;
    }
    unsigned scripts = static_cast<unsigned>(std::min(state.script_commands, results::most_scripts))
                       << 4;
    if (state.script_failed) {
        scripts |= results::script_failed;
    }
    return {0x03, static_cast<std::uint8_t>(transaction), static_cast<std::uint8_t>(card),
            static_cast<std::uint8_t>(scripts)};
}

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
    return data;
}

IssuedCryptogram issue(const ApplicationSession& session, CryptogramType type,
                       const CardVerificationResults& verification, Cryptogram& made) {
    made = cryptography::application_cryptogram(session.card.algorithm, session.cryptogram_key(),
                                                covered_data(session, verification));
    const auto atc = cryptography::big_endian(session.state.atc);
    cryptography::IssuerApplicationData issuer_data;
    issuer_data.key_derivation_index = session.card.key_index;
    issuer_data.card_verification = verification;
    issuer_data.algorithm = session.card.algorithm;
    return {static_cast<std::uint8_t>(type),
            {atc.begin(), atc.end()},
            {made.begin(), made.end()},
            cryptography::encode(issuer_data)};
}

void go_online(ApplicationSession& session, const Cryptogram& arqc) {
    session.stage = TransactionStage::Online;
    session.state.last_arqc = arqc;
    session.state.online_incomplete = true;
    session.state.script_commands = 0;
    session.state.script_failed = false;
    session.script_macs.emplace(session.script_context(), session.application.keys.mac);
}

}  // namespace

IssuedCryptogram issue_first_cryptogram(ApplicationSession& session, CryptogramType type) {
    Cryptogram made{};
    const auto type_bits =
        static_cast<std::uint8_t>(results::second_not_requested | first_type_bits(type));
    auto issued = issue(session, type, verification_results(session, type_bits), made);
    session.stage = TransactionStage::Completed;
    if (type == CryptogramType::Arqc) {
        go_online(session, made);
    }
    if (type != CryptogramType::Aac) {
        log_transaction(session);
    }
    return issued;
}

IssuedCryptogram issue_second_cryptogram(ApplicationSession& session, CryptogramType type) {
    Cryptogram made{};
    const std::uint8_t second = type == CryptogramType::Tc ? results::second_is_tc : 0;
    const auto type_bits = static_cast<std::uint8_t>(second | results::first_is_arqc);
    session.stage = TransactionStage::Completed;
    return issue(session, type, verification_results(session, type_bits), made);
}

}  // namespace quorrin::simulator
