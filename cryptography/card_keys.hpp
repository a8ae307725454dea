// From an issuer's master keys to the keys of one card, and from those to one transaction's.
#pragma once

#include <cstdint>
#include <string_view>

#include "cryptography/algorithm.hpp"

namespace quorrin::cryptography {

// How a card makes the key of one transaction from its own.
enum class SessionKeyScheme : std::uint8_t {
    Pboc,       // from the ATC, for cryptograms and scripts alike
    EmvCommon,  // EMV book 2 annex A1.3: from the ATC for cryptograms, from the ARQC for scripts
    None,       // the card's own key makes cryptograms; scripts have keys as in PBOC
};

// EMV book 2 annex A1.4: how card keys come from the issuer's.
enum class KeyDerivation : std::uint8_t {
    OptionA,  // from the right 16 digits of PAN and sequence number
    OptionB,  // for PANs of more than 16 digits: from 16 digits of their SHA-1; shorter ones as in A
};

// The three keys that a card holds, and that an issuer holds as masters of all its cards.
struct KeySet {
    Key cryptogram{};    // application cryptogram and ARPC
    Key mac{};           // script MAC
    Key encipherment{};  // enciphered script data
};

// EMV book 2 annex A1.4. `pan` holds decimal digits only, `pan_sequence_number` the
// BCD byte of 5F34 (00 when the card has none); anything else throws std::invalid_argument.
Key derive_card_key(Algorithm algorithm, const Key& issuer_master_key, std::string_view pan,
                    std::uint8_t pan_sequence_number,
                    KeyDerivation derivation = KeyDerivation::OptionA);

// All three at once.
KeySet derive_card_keys(Algorithm algorithm, const KeySet& issuer_master_keys, std::string_view pan,
                        std::uint8_t pan_sequence_number,
                        KeyDerivation derivation = KeyDerivation::OptionA);

// EMV book 2 annex A1.3: the card key over the diversifier with its third byte F0, then 0F.
Key emv_common_session_key(Algorithm algorithm, const Key& card_key,
                           const std::array<std::uint8_t, 8>& diversifier);

// PBOC: the card key over the ATC, then over its complement, each right-justified in 8 bytes.
Key pboc_session_key(Algorithm algorithm, const Key& card_key, std::uint16_t atc);

// The key of one transaction's application cryptogram and ARPC.
Key cryptogram_session_key(SessionKeyScheme scheme, Algorithm algorithm, const Key& card_key,
                           std::uint16_t atc);

// The key of one transaction's script MACs or enciphered script data.
Key script_session_key(SessionKeyScheme scheme, Algorithm algorithm, const Key& card_key,
                       std::uint16_t atc, const Cryptogram& arqc);

// A key with odd parity in every byte, as all DES keys that are derived here have it. The cipher
// ignores these bits; what takes bytes of the key as data (pin_block.hpp) does not.
Key with_odd_parity(const Key& key);

}  // namespace quorrin::cryptography
