#include "reader_libraries/simulator/card/verification_results.hpp"

#include <algorithm>

namespace quorrin::simulator {
namespace {

using cryptography::CardVerificationResults;

// Byte by byte behind the length.
namespace results {
// Byte 2: the second cryptogram's type in bits 8 and 7, the first one's in 6 and 5.
constexpr std::uint8_t second_not_requested = 0x80;
constexpr std::uint8_t second_is_tc = 0x40;
constexpr std::uint8_t first_is_arqc = 0x20;
constexpr std::uint8_t first_is_tc = 0x10;
constexpr std::uint8_t issuer_authentication_failed = 0x08;
constexpr std::uint8_t pin_checked = 0x04;
constexpr std::uint8_t pin_wrong = 0x02;
constexpr std::uint8_t unable_to_go_online = 0x01;
// Byte 3.
constexpr std::uint8_t last_online_incomplete = 0x80;
constexpr std::uint8_t pin_tries_used_up = 0x40;
constexpr std::uint8_t limits_passed = 0x20;
constexpr std::uint8_t never_online = 0x10;
constexpr std::uint8_t last_issuer_authentication_failed = 0x08;
constexpr std::uint8_t last_issuer_authentication_missing = 0x04;
constexpr std::uint8_t blocked_for_pin_tries = 0x02;
constexpr std::uint8_t static_authentication_failed = 0x01;
// Byte 4: the count of script commands in the left nibble.
constexpr std::uint8_t script_failed = 0x08;
constexpr std::uint8_t dynamic_authentication_failed = 0x04;
constexpr std::uint8_t dynamic_authentication_performed = 0x02;
constexpr std::uint8_t most_scripts = 15;
}  // namespace results

struct Bit {
    bool holds;
    std::uint8_t bit;
};

std::uint8_t with_bits(unsigned value, std::initializer_list<Bit> bits) {
    for (const auto& [holds, bit] : bits) {
        value |= holds ? bit : 0U;
    }
    return static_cast<std::uint8_t>(value);
}

// `type_bits` are those of byte 2 that tell both cryptograms' types.
CardVerificationResults verification_results(const ApplicationSession& session,
                                             std::uint8_t type_bits) {
    const auto& state = session.state;
    const std::uint8_t transaction = with_bits(
        type_bits, {{session.issuer_authentication == CheckResult::Wrong,
                     results::issuer_authentication_failed},
                    {session.pin_check != CheckResult::NotPerformed, results::pin_checked},
                    {session.pin_check == CheckResult::Wrong, results::pin_wrong},
                    {session.unable_to_go_online, results::unable_to_go_online}});
    const std::uint8_t card = with_bits(
        0, {{session.last_online_incomplete, results::last_online_incomplete},
            {session.application.pin_try_limit != 0 && state.pin_tries == 0,
             results::pin_tries_used_up},
            {session.limits_passed, results::limits_passed},
            {state.last_online_atc == 0, results::never_online},
            {session.last_issuer_authentication_failed, results::last_issuer_authentication_failed},
            {state.issuer_authentication_missing, results::last_issuer_authentication_missing},
            {state.blocked_for_pin_tries, results::blocked_for_pin_tries},
            {state.static_authentication_failed, results::static_authentication_failed}});
    const unsigned scripts =
        static_cast<unsigned>(std::min(state.script_commands, results::most_scripts)) << 4;
    return {
        0x03, transaction, card,
        with_bits(scripts,
                  {{state.script_failed, results::script_failed},
                   {state.dynamic_authentication_failed, results::dynamic_authentication_failed},
                   {session.dynamic_authentication, results::dynamic_authentication_performed}})};
}

}  // namespace

CardVerificationResults first_verification_results(const ApplicationSession& session,
                                                   CryptogramType first) {
    unsigned type_bits = results::second_not_requested;
    if (first == CryptogramType::Arqc) {
        type_bits |= results::first_is_arqc;
    } else if (first == CryptogramType::Tc) {
        type_bits |= results::first_is_tc;
    }
    return verification_results(session, static_cast<std::uint8_t>(type_bits));
}

CardVerificationResults second_verification_results(const ApplicationSession& session,
                                                    CryptogramType second) {
    const unsigned type_bits =
        results::first_is_arqc | (second == CryptogramType::Tc ? results::second_is_tc : 0U);
    return verification_results(session, static_cast<std::uint8_t>(type_bits));
}

void count_scripts_afresh(ApplicationSession& session) {
    if (!session.scripts_counted_afresh) {
        session.scripts_counted_afresh = true;
        session.state.script_commands = 0;
        session.state.script_failed = false;
    }
}

}  // namespace quorrin::simulator
