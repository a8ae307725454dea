#include "cryptography/application_cryptogram.hpp"

#include <algorithm>

#include "cryptography/byte_string.hpp"
#include "cryptography/message_authentication.hpp"

namespace quorrin::cryptography {
namespace {

// PBOC: the algorithm byte that ends the fixed part of 9F10.
constexpr std::uint8_t triple_des_mark = 0x01;
constexpr std::uint8_t sm4_mark = 0x04;

// What the length byte counts.
constexpr std::uint8_t pboc_size = 7;           // key index to algorithm
constexpr std::uint8_t international_size = 6;  // key index to card verification results

}  // namespace

bool is_known_cryptogram_version(std::uint8_t version) {
    return version == pboc_cryptogram_version || version == cryptogram_version_10 ||
           version == cryptogram_version_17 || version == cryptogram_version_18;
}

bool version_fits(std::uint8_t version, Algorithm algorithm, SessionKeyScheme scheme) {
    if (version == pboc_cryptogram_version) {
        return true;
    }
    const auto wanted =
        version == cryptogram_version_18 ? SessionKeyScheme::EmvCommon : SessionKeyScheme::None;
    return algorithm == Algorithm::TripleDes && scheme == wanted;
}

std::vector<std::uint8_t> covered_bytes(const TransactionData& data) {
    if (data.version == cryptogram_version_17) {
        return concatenated({data.amount_authorised,
                             data.unpredictable_number,
                             big_endian(data.atc),
                             {&data.card_verification[1], 1}});
    }
    const auto issuer_data = encode({.key_derivation_index = data.key_derivation_index,
                                     .cryptogram_version = data.version,
                                     .card_verification = data.card_verification,
                                     .algorithm = Algorithm::TripleDes});
    return concatenated({data.amount_authorised,
                         data.amount_other,
                         data.terminal_country,
                         data.terminal_verification,
                         data.currency,
                         data.date,
                         {&data.type, 1},
                         data.unpredictable_number,
                         data.interchange_profile,
                         big_endian(data.atc),
                         data.version == cryptogram_version_18 ? Bytes(issuer_data)
                                                               : Bytes(data.card_verification)});
}

Cryptogram application_cryptogram(Algorithm algorithm, const Key& session_key,
                                  const TransactionData& data) {
    const auto covered = covered_bytes(data);
    const bool zeros =
        data.version == cryptogram_version_10 || data.version == cryptogram_version_17;
    return zeros ? retail_mac(session_key, covered, Padding::Method1)
                 : mac(algorithm, session_key, covered);
}

std::vector<std::uint8_t> encode(const IssuerApplicationData& data) {
    const bool pboc = data.cryptogram_version == pboc_cryptogram_version;
    const std::array<std::uint8_t, 3> head{
        static_cast<std::uint8_t>(pboc ? pboc_size : international_size), data.key_derivation_index,
        data.cryptogram_version};
    auto encoded = concatenated({head, data.card_verification});
    if (pboc) {
        encoded.push_back(data.algorithm == Algorithm::TripleDes ? triple_des_mark : sm4_mark);
    }
    return encoded;
}

std::optional<IssuerApplicationData> decode_issuer_application_data(Bytes value) {
    if (value.empty() || value.size() < 1U + value[0]) {
        return std::nullopt;
    }
    IssuerApplicationData data;
    const auto take_common_part = [&] {
        data.key_derivation_index = value[1];
        data.cryptogram_version = value[2];
        std::ranges::copy(value.subspan(3, data.card_verification.size()),
                          data.card_verification.begin());
    };
    if (value[0] == international_size) {
        take_common_part();
        const bool international = data.cryptogram_version != pboc_cryptogram_version &&
                                   is_known_cryptogram_version(data.cryptogram_version);
        return international ? std::optional(data) : std::nullopt;
    }
    if (value[0] != pboc_size) {
        return std::nullopt;
    }
    take_common_part();
    switch (value[pboc_size]) {
        case triple_des_mark:
            data.algorithm = Algorithm::TripleDes;
            return data;
        case sm4_mark:
            data.algorithm = Algorithm::Sm4;
            return data;
        default:
            return std::nullopt;
    }
}

}  // namespace quorrin::cryptography
