#include "cryptography/application_cryptogram.hpp"

#include <algorithm>

#include "cryptography/byte_string.hpp"
#include "cryptography/message_authentication.hpp"

namespace quorrin::cryptography {
namespace {

// PBOC: the algorithm byte that ends the fixed part of 9F10.
constexpr std::uint8_t triple_des_mark = 0x01;
constexpr std::uint8_t sm4_mark = 0x04;

constexpr std::size_t fixed_part = 8;  // length byte to algorithm

}  // namespace

std::vector<std::uint8_t> covered_bytes(const TransactionData& data) {
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
                         data.card_verification});
}

Cryptogram application_cryptogram(Algorithm algorithm, const Key& session_key,
                                  const TransactionData& data) {
    return mac(algorithm, session_key, covered_bytes(data));
}

std::vector<std::uint8_t> encode(const IssuerApplicationData& data) {
    const std::array<std::uint8_t, 3> head{fixed_part - 1, data.key_derivation_index,
                                           data.cryptogram_version};
    const std::uint8_t mark = data.algorithm == Algorithm::TripleDes ? triple_des_mark : sm4_mark;
    return concatenated({head, data.card_verification, {&mark, 1}});
}

std::optional<IssuerApplicationData> decode_issuer_application_data(Bytes value) {
    if (value.size() < fixed_part || value[0] != fixed_part - 1) {
        return std::nullopt;
    }
    IssuerApplicationData data;
    data.key_derivation_index = value[1];
    data.cryptogram_version = value[2];
    std::ranges::copy(value.subspan(3, data.card_verification.size()),
                      data.card_verification.begin());
    switch (value[fixed_part - 1]) {
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
