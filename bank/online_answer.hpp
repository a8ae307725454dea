// The bank's side of an online authorisation: checks the cryptogram and answers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bank/issuer_scripts.hpp"
#include "cryptography/application_cryptogram.hpp"
#include "cryptography/card_keys.hpp"
#include "cryptography/issuer_authentication.hpp"

namespace quorrin::bank {

// What the issuer knows of the cards that it made.
struct CardProduct {
    cryptography::Algorithm algorithm = cryptography::Algorithm::TripleDes;
    cryptography::SessionKeyScheme session_keys = cryptography::SessionKeyScheme::Pboc;
    cryptography::ArpcMethod arpc_method = cryptography::ArpcMethod::Method1;
    cryptography::KeyDerivation key_derivation = cryptography::KeyDerivation::OptionA;
    std::uint8_t cryptogram_version = cryptography::pboc_cryptogram_version;
    cryptography::ScriptEncipherment script_encipherment = cryptography::ScriptEncipherment::Pboc;
    std::uint8_t key_derivation_index = 1;  // names these master keys in 9F10
    cryptography::KeySet master_keys;
};

// What the host sends.
struct OnlineRequest {
    std::string pan;                        // 5A, digits without filler
    std::uint8_t pan_sequence_number = 0;   // 5F34, BCD
    cryptography::Cryptogram arqc{};        // 9F26
    cryptography::TransactionData covered;  // its card verification results are read from 9F10
    std::vector<std::uint8_t> issuer_application_data;  // 9F10
};

// 89: six characters.
using AuthorisationCode = std::array<std::uint8_t, 6>;

// What the bank does about 91. A wrong one is for tests: cards must refuse it.
enum class IssuerAuthentication : std::uint8_t { Right, Wrong, None };

// What the bank makes of a request with the right cryptogram; as it stands, a plain approval.
struct Decision {
    cryptography::ResponseCode response_code{'0', '0'};
    std::optional<AuthorisationCode> authorisation_code;  // 89
    IssuerAuthentication authentication = IssuerAuthentication::Right;

    // ARPC method 2 only. The bits for approval and for proprietary data present are set besides.
    cryptography::CardStatusUpdate status_update{};
    std::vector<std::uint8_t> proprietary_data;  // at most 8 bytes

    std::vector<Script> scripts;  // at most max_script_bytes in all, else std::length_error
};

struct OnlineAnswer {
    bool cryptogram_right = false;
    bool approved = false;
    cryptography::ResponseCode response_code{};
    std::string reason;                        // for a person
    std::vector<std::uint8_t> authentication;  // 91, empty when there is none
    std::vector<std::uint8_t> issuer_data;  // 8A, 89, 91, 71, 72 in the order that terminals take

    // As ARPCExeScript takes it.
    [[nodiscard]] std::string issuer_data_text() const;
};

// Whether a terminal completes the transaction under this code.
bool approves(const cryptography::ResponseCode& code);

// A request whose cryptogram is not right is declined with 05, and without ARPC or scripts: nothing
// that the card would trust goes out.
OnlineAnswer answer_online(const CardProduct& product, const OnlineRequest& request,
                           const Decision& decision = {});

}  // namespace quorrin::bank
