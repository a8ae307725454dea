#include "cryptography/block_cipher.hpp"

#include <gtest/gtest.h>

#include "tests/cryptography/fixed_bytes.hpp"

namespace quorrin::cryptography {
namespace {

using test::fixed_hex;
using test::hex;
using test::text_bytes;
using test::to_hex;

// Two equal halves turn two-key Triple DES into the single DES of the published examples.
const Key fips_key = fixed_hex<16>("0123456789ABCDEF 0123456789ABCDEF");
const Key test_key = fixed_hex<16>("0123456789ABCDEFFEDCBA9876543210");

TEST(BlockCipher, EnciphersTheEcbExampleOfFipsPub81) {
    EXPECT_EQ(
        to_hex(encrypt_ecb(Algorithm::TripleDes, fips_key, text_bytes("Now is the time for all "))),
        "3FA40E8A984D48156A271787AB8883F9893D51EC4B563B53");
}

TEST(BlockCipher, EnciphersTheCbcExampleOfFipsPub81) {
    EXPECT_EQ(to_hex(encrypt_cbc(Algorithm::TripleDes, fips_key, hex("1234567890ABCDEF"),
                                 text_bytes("Now is the time for all "))),
              "E5C7CDDE872BF27C43E934008C389C0F683788499A7C05F6");
}

TEST(BlockCipher, EnciphersTheFirstExampleOfGbt32907) {
    EXPECT_EQ(to_hex(encrypt_ecb(Algorithm::Sm4, test_key, test_key)),
              "681EDF34D206965E86B3E94F536E4246");
}

TEST(BlockCipher, UsesBothHalvesOfATripleDesKey) {
    const auto plain = hex("0000000000000000");
    const auto with_both = encrypt_ecb(Algorithm::TripleDes, test_key, plain);
    EXPECT_NE(with_both, encrypt_ecb(Algorithm::TripleDes, fips_key, plain));
}

TEST(BlockCipher, DeciphersWhatItEnciphered) {
    const auto plain = hex("00112233445566778899AABBCCDDEEFF 102132435465768798A9BACBDCEDFE0F");
    for (const auto algorithm : {Algorithm::TripleDes, Algorithm::Sm4}) {
        SCOPED_TRACE(static_cast<int>(algorithm));
        const test::ByteString initial_vector(block_size(algorithm), 0x5A);

        const auto by_ecb = encrypt_ecb(algorithm, test_key, plain);
        EXPECT_NE(by_ecb, plain);
        EXPECT_EQ(decrypt_ecb(algorithm, test_key, by_ecb), plain);

        const auto by_cbc = encrypt_cbc(algorithm, test_key, initial_vector, plain);
        EXPECT_NE(by_cbc, by_ecb);
        EXPECT_EQ(decrypt_cbc(algorithm, test_key, initial_vector, by_cbc), plain);
    }
}

TEST(BlockCipher, TakesNothingButWholeBlocks) {
    EXPECT_THROW(encrypt_ecb(Algorithm::TripleDes, test_key, hex("00112233445566")),
                 std::invalid_argument);
    EXPECT_THROW(decrypt_ecb(Algorithm::Sm4, test_key, hex("0011223344556677")),
                 std::invalid_argument);
    EXPECT_EQ(encrypt_ecb(Algorithm::Sm4, test_key, {}), test::ByteString());
}

TEST(BlockCipher, TakesNoInitialVectorOfAnotherSize) {
    EXPECT_THROW(encrypt_cbc(Algorithm::Sm4, test_key, hex("0011223344556677"), test_key),
                 std::invalid_argument);
    EXPECT_THROW(decrypt_cbc(Algorithm::TripleDes, test_key, {}, test_key), std::invalid_argument);
}

}  // namespace
}  // namespace quorrin::cryptography
