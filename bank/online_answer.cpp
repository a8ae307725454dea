#include "bank/online_answer.hpp"

#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "bank/data_object.hpp"
#include "cryptography/secure_messaging.hpp"

namespace quorrin::bank {
namespace {

using cryptography::ArpcMethod;
using cryptography::concatenated;
using cryptography::Key;
using cryptography::KeySet;
using cryptography::ResponseCode;

constexpr std::uint8_t authorisation_code_tag = 0x89;
constexpr std::uint8_t issuer_authentication_tag = 0x91;

constexpr ResponseCode do_not_honour{'0', '5'};

OnlineAnswer declined(std::string reason) {
    OnlineAnswer answer;
    answer.response_code = do_not_honour;
    answer.reason = std::move(reason);
    answer.issuer_data = data_object(response_code_tag, do_not_honour);
    return answer;
}

// What the card says of itself outside the cryptogram's reach has to fit its product.
std::optional<std::string> mismatch(const CardProduct& product,
                                    const cryptography::IssuerApplicationData& card_says) {
    if (card_says.algorithm != product.algorithm) {
        return "the card names another algorithm than its product has";
    }
    if (card_says.key_derivation_index != product.key_derivation_index) {
        return "the card names master keys that its product does not have";
    }
    if (card_says.cryptogram_version != product.cryptogram_version) {
        return "the card's cryptogram is of an unknown version";
    }
    return std::nullopt;
}

// The card status update as EMV's common core definitions code it.
cryptography::CardStatusUpdate status_update(const Decision& decision) {
    constexpr std::uint8_t proprietary_data_included = 0x80;  // byte 1
    constexpr std::uint8_t issuer_approves = 0x80;            // byte 2
    auto update = decision.status_update;
    if (!decision.proprietary_data.empty()) {
        update[0] |= proprietary_data_included;
    }
    if (approves(decision.response_code)) {
        update[1] |= issuer_approves;
    }
    return update;
}

std::vector<std::uint8_t> right_authentication(const CardProduct& product, const Key& session_key,
                                               const OnlineRequest& request,
                                               const Decision& decision) {
    return product.arpc_method == ArpcMethod::Method1
               ? cryptography::issuer_authentication_1(product.algorithm, session_key, request.arqc,
                                                       decision.response_code)
               : cryptography::issuer_authentication_2(product.algorithm, session_key, request.arqc,
                                                       status_update(decision),
                                                       decision.proprietary_data);
}

std::vector<std::uint8_t> issuer_authentication(const CardProduct& product, const Key& session_key,
                                                const OnlineRequest& request,
                                                const Decision& decision) {
    if (decision.authentication == IssuerAuthentication::None) {
        return {};
    }
    auto authentication = right_authentication(product, session_key, request, decision);
    if (decision.authentication == IssuerAuthentication::Wrong) {
        authentication[0] ^= 0xFF;
    }
    return authentication;
}

// 8A and 89 stand first and in this order: terminals look for them nowhere else.
std::vector<std::uint8_t> issuer_data(const CardProduct& product, const KeySet& card_keys,
                                      Bytes authentication, const OnlineRequest& request,
                                      const Decision& decision) {
    auto data = data_object(response_code_tag, decision.response_code);
    if (decision.authorisation_code) {
        data =
            concatenated({data, data_object(authorisation_code_tag, *decision.authorisation_code)});
    }
    if (!authentication.empty()) {
        data = concatenated({data, data_object(issuer_authentication_tag, authentication)});
    }
    const cryptography::ScriptContext context{product.session_keys, product.algorithm,
                                              request.covered.atc, request.arqc,
                                              product.script_encipherment};
    return concatenated({data, sealed_scripts(decision.scripts, context, card_keys)});
}

}  // namespace

bool approves(const ResponseCode& code) {
    return code == ResponseCode{'0', '0'} || code == ResponseCode{'1', '0'} ||
           code == ResponseCode{'1', '1'};
}

std::string OnlineAnswer::issuer_data_text() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : issuer_data) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

OnlineAnswer answer_online(const CardProduct& product, const OnlineRequest& request,
                           const Decision& decision) {
    const auto card_says =
        cryptography::decode_issuer_application_data(request.issuer_application_data);
    if (!card_says) {
        return declined("the issuer application data (9F10) are of no layout that is known");
    }
    if (const auto reason = mismatch(product, *card_says)) {
        return declined(*reason);
    }
    KeySet card_keys;
    try {
        card_keys =
            cryptography::derive_card_keys(product.algorithm, product.master_keys, request.pan,
                                           request.pan_sequence_number, product.key_derivation);
    } catch (const std::invalid_argument& error) {
        return declined(error.what());
    }
    const Key session_key = cryptography::cryptogram_session_key(
        product.session_keys, product.algorithm, card_keys.cryptogram, request.covered.atc);

    auto covered = request.covered;
    covered.card_verification = card_says->card_verification;
    covered.version = card_says->cryptogram_version;
    covered.key_derivation_index = card_says->key_derivation_index;
    if (cryptography::application_cryptogram(product.algorithm, session_key, covered) !=
        request.arqc) {
        return declined("the cryptogram is not the card's over these data");
    }

    OnlineAnswer answer;
    answer.cryptogram_right = true;
    answer.approved = approves(decision.response_code);
    answer.response_code = decision.response_code;
    answer.reason = answer.approved ? "the cryptogram is right, approved"
                                    : "the cryptogram is right, declined by the bank";
    answer.authentication = issuer_authentication(product, session_key, request, decision);
    answer.issuer_data = issuer_data(product, card_keys, answer.authentication, request, decision);
    return answer;
}

}  // namespace quorrin::bank
