// The application cryptogram: what it covers, and the issuer application data that carry its
// version.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cryptography/algorithm.hpp"
#include "cryptography/card_keys.hpp"

namespace quorrin::cryptography {

// Card verification results with their leading length byte 03, as they stand in 9F10.
using CardVerificationResults = std::array<std::uint8_t, 4>;

// How a cryptogram is made. All but the first are those of international cards.
inline constexpr std::uint8_t pboc_cryptogram_version = 0x01;  // TransactionData, padding method 2
inline constexpr std::uint8_t cryptogram_version_10 = 0x0A;    // the same, padding method 1
inline constexpr std::uint8_t cryptogram_version_17 =
    0x11;  // 9F02, 9F37, 9F36, byte 2 of the results
inline constexpr std::uint8_t cryptogram_version_18 = 0x12;  // all of 9F10 in place of the results

bool is_known_cryptogram_version(std::uint8_t version);

// Whether the version is defined for this algorithm and these session keys: those of international cards
// are for Triple DES and one scheme each, 10 and 17 for none, 18 for EMV's common one.
bool version_fits(std::uint8_t version, Algorithm algorithm, SessionKeyScheme scheme);

// What a PBOC application cryptogram covers, in this order.
struct TransactionData {
    std::array<std::uint8_t, 6> amount_authorised{};           // 9F02
    std::array<std::uint8_t, 6> amount_other{};                // 9F03
    std::array<std::uint8_t, 2> terminal_country{};            // 9F1A
    std::array<std::uint8_t, 5> terminal_verification{};       // 95
    std::array<std::uint8_t, 2> currency{};                    // 5F2A
    std::array<std::uint8_t, 3> date{};                        // 9A
    std::uint8_t type = 0;                                     // 9C
    std::array<std::uint8_t, 4> unpredictable_number{};        // 9F37
    std::array<std::uint8_t, 2> interchange_profile{};         // 82
    std::uint16_t atc = 0;                                     // 9F36
    CardVerificationResults card_verification{0x03, 0, 0, 0};  // in 9F10
    std::uint8_t version = pboc_cryptogram_version;            // the same
    std::uint8_t key_derivation_index = 1;                     // the same
};

std::vector<std::uint8_t> covered_bytes(const TransactionData& data);

// ARQC, TC and AAC alike: they differ in the card verification results only.
Cryptogram application_cryptogram(Algorithm algorithm, const Key& session_key,
                                  const TransactionData& data);

// 9F10 of a PBOC card: 07 || key index || version || card verification results || algorithm; of an
// international one: 06 || key index || version || card verification results, Triple DES throughout.
struct IssuerApplicationData {
    std::uint8_t key_derivation_index = 1;
    std::uint8_t cryptogram_version = pboc_cryptogram_version;
    CardVerificationResults card_verification{0x03, 0, 0, 0};
    Algorithm algorithm = Algorithm::TripleDes;
};

std::vector<std::uint8_t> encode(const IssuerApplicationData& data);

// Discretionary data after the algorithm is passed over; empty for any other layout.
std::optional<IssuerApplicationData> decode_issuer_application_data(Bytes value);

}  // namespace quorrin::cryptography
