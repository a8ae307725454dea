#include "cryptography/card_keys.hpp"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string>

#include "cryptography/block_cipher.hpp"
#include "cryptography/byte_string.hpp"
#include "cryptography/rsa.hpp"

namespace quorrin::cryptography {
namespace {

using Half = std::array<std::uint8_t, 8>;

// Triple DES makes the two key halves in two blocks, SM4 both in its one: the same call. DES keys get
// odd parity (EMV book 2 annex A1.4), which the cipher ignores and PIN blocks do not; SM4 keys have
// none.
Key diversified(Algorithm algorithm, const Key& master, const Half& left, const Half& right) {
    Key halves{};
    std::ranges::copy(left, halves.begin());
    std::ranges::copy(right, halves.begin() + 8);
    const auto enciphered = encrypt_ecb(algorithm, master, halves);
    Key key{};
    std::ranges::copy(enciphered, key.begin());
    return algorithm == Algorithm::TripleDes ? with_odd_parity(key) : key;
}

Half complement(const Half& value) {
    Half inverted{};
    std::ranges::transform(value, inverted.begin(),
                           [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
    return inverted;
}

Half right_justified(std::uint16_t atc) {
    Half value{};
    std::ranges::copy(big_endian(atc), value.end() - 2);
    return value;
}

Half left_justified(std::uint16_t atc) {
    Half value{};
    std::ranges::copy(big_endian(atc), value.begin());
    return value;
}

bool all_decimal(std::string_view digits) {
    return std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; });
}

std::vector<std::uint8_t> packed(std::string_view digits) {
    std::vector<std::uint8_t> bytes(digits.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] =
            static_cast<std::uint8_t>((digits[2 * i] - '0') << 4 | (digits[2 * i + 1] - '0'));
    }
    return bytes;
}

// The first 16 decimal digits of the hash; where it has fewer, its letters count from 0 (A) to 5 (F)
// behind them.
std::string decimalised(const std::array<std::uint8_t, 20>& hash) {
    std::string decimal;
    std::string from_letters;
    for (std::size_t i = 0; i < 2 * hash.size(); ++i) {
        const int nibble = i % 2 == 0 ? hash[i / 2] >> 4 : hash[i / 2] & 0x0F;
        (nibble < 10 ? decimal : from_letters) += static_cast<char>('0' + nibble % 10);
    }
    return (decimal + from_letters).substr(0, 16);
}

Half diversifier(KeyDerivation derivation, std::string_view pan, std::uint8_t pan_sequence_number) {
    constexpr std::size_t longest_of_option_a = 16;
    std::string digits(pan);
    digits += static_cast<char>('0' + (pan_sequence_number >> 4));
    digits += static_cast<char>('0' + (pan_sequence_number & 0x0F));
    if (pan.empty() || !all_decimal(digits)) {
        throw std::invalid_argument("PAN or PAN sequence number is not decimal");
    }
    if (derivation == KeyDerivation::OptionB && pan.size() > longest_of_option_a) {
        digits = decimalised(sha1(packed(digits.size() % 2 == 0 ? digits : '0' + digits)));
    }
    digits.insert(0, 16, '0');
    Half value{};
    std::ranges::copy(packed(std::string_view(digits).substr(digits.size() - 16)), value.begin());
    return value;
}

}  // namespace

Key derive_card_key(Algorithm algorithm, const Key& issuer_master_key, std::string_view pan,
                    std::uint8_t pan_sequence_number, KeyDerivation derivation) {
    const Half left = diversifier(derivation, pan, pan_sequence_number);
    return diversified(algorithm, issuer_master_key, left, complement(left));
}

KeySet derive_card_keys(Algorithm algorithm, const KeySet& issuer_master_keys, std::string_view pan,
                        std::uint8_t pan_sequence_number, KeyDerivation derivation) {
    const auto derive = [&](const Key& master) {
        return derive_card_key(algorithm, master, pan, pan_sequence_number, derivation);
    };
    return {derive(issuer_master_keys.cryptogram), derive(issuer_master_keys.mac),
            derive(issuer_master_keys.encipherment)};
}

Key emv_common_session_key(Algorithm algorithm, const Key& card_key,
                           const std::array<std::uint8_t, 8>& diversifier) {
    Half left = diversifier;
    Half right = diversifier;
    left[2] = 0xF0;
    right[2] = 0x0F;
    return diversified(algorithm, card_key, left, right);
}

Key pboc_session_key(Algorithm algorithm, const Key& card_key, std::uint16_t atc) {
    return diversified(algorithm, card_key, right_justified(atc),
                       right_justified(static_cast<std::uint16_t>(~atc)));
}

Key cryptogram_session_key(SessionKeyScheme scheme, Algorithm algorithm, const Key& card_key,
                           std::uint16_t atc) {
    switch (scheme) {
        case SessionKeyScheme::EmvCommon:
            return emv_common_session_key(algorithm, card_key, left_justified(atc));
        case SessionKeyScheme::None:
            return card_key;
        case SessionKeyScheme::Pboc:
            break;
    }
    return pboc_session_key(algorithm, card_key, atc);
}

Key script_session_key(SessionKeyScheme scheme, Algorithm algorithm, const Key& card_key,
                       std::uint16_t atc, const Cryptogram& arqc) {
    return scheme == SessionKeyScheme::EmvCommon ? emv_common_session_key(algorithm, card_key, arqc)
                                                 : pboc_session_key(algorithm, card_key, atc);
}

Key with_odd_parity(const Key& key) {
    Key adjusted = key;
    for (std::uint8_t& byte : adjusted) {
        if (std::popcount(byte) % 2 == 0) {
            byte ^= 0x01;
        }
    }
    return adjusted;
}

}  // namespace quorrin::cryptography
