#include <algorithm>
#include <string>

#include "cryptography/rsa.hpp"
#include "reader_libraries/simulator/card/card_data_commands.hpp"
#include "reader_libraries/simulator/card/card_risk_management.hpp"

namespace quorrin::simulator {
namespace {

// P2: EMV book 3 section 6.5.12.
constexpr std::uint8_t plain_pin = 0x80;
constexpr std::uint8_t enciphered_pin = 0x88;

constexpr std::size_t block_size = 8;

// ISO 9564 format 2: 2, the count of digits, the digits, filled with F. Empty for anything else.
std::optional<std::string> pin_of(std::span<const std::uint8_t> block) {
    const std::size_t count = block[0] & 0x0FU;
    if (block[0] >> 4 != 2 || count < 4 || count > 12) {
        return std::nullopt;
    }
    std::string digits;
    for (std::size_t i = 0; i < 14; ++i) {
        const std::uint8_t byte = block[1 + i / 2];
        const int digit = i % 2 == 0 ? byte >> 4 : byte & 0x0F;
        if (i < count ? digit > 9 : digit != 0x0F) {
            return std::nullopt;
        }
        if (i < count) {
            digits += static_cast<char>('0' + digit);
        }
    }
    return digits;
}

// EMV book 2 section 7.2: 7F, the PIN block, the card's challenge and random filling under the card's
// key. Empty where header or challenge is wrong.
std::optional<ByteString> deciphered_block(const cryptography::RsaPrivateKey& key,
                                           const ByteString& challenge,
                                           std::span<const std::uint8_t> data) {
    constexpr std::uint8_t header = 0x7F;
    ByteString clear;
    try {
        clear = cryptography::rsa_private(key, data);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
    const auto block = clear.begin() + 1;
    if (clear[0] != header || !std::equal(challenge.begin(), challenge.end(), block + block_size)) {
        return std::nullopt;
    }
    return ByteString(block, block + block_size);
}

CardAnswer tries_left(std::uint8_t count) {
    return static_cast<StatusWord>(static_cast<std::uint16_t>(StatusWord::TriesLeft) | count);
}

}  // namespace

CardAnswer verify(ApplicationSession& session, const CardCommand& command) {
    const auto& application = session.application;
    const auto& key = application.pin_key ? application.pin_key : application.card_key;
    const bool enciphered = command.p2 == enciphered_pin && key;
    if (command.p1 != 0 || (command.p2 != plain_pin && !enciphered)) {
        return StatusWord::WrongParameters;
    }
    auto& state = session.state;
    if (session.application.pin_try_limit == 0) {
        return StatusWord::ReferenceDataUnusable;
    }
    const auto challenge = std::exchange(session.challenge, std::nullopt);
    if (command.data.size() != (enciphered ? key->modulus.size() : block_size)) {
        return StatusWord::WrongLength;
    }
    if (enciphered && !challenge) {
        return StatusWord::ConditionsNotSatisfied;
    }
    if (state.pin_tries == 0) {
        return StatusWord::AuthenticationMethodBlocked;
    }
    const auto block = enciphered
                           ? deciphered_block(*key, *challenge, command.data)
                           : std::optional(ByteString(command.data.begin(), command.data.end()));
    if (!block) {
        return StatusWord::ReferenceDataUnusable;
    }
    const auto pin = pin_of(*block);
    if (!pin) {
        return StatusWord::WrongData;
    }
    if (*pin != state.pin) {
        session.pin_check = CheckResult::Wrong;
        if (--state.pin_tries == 0) {
            note_last_pin_try(session);
        }
        return tries_left(state.pin_tries);
    }
    session.pin_check = CheckResult::Right;
    state.pin_tries = session.application.pin_try_limit;
    return StatusWord::Success;
}

}  // namespace quorrin::simulator
