#include "cryptography/application_cryptogram.hpp"

#include <gtest/gtest.h>

#include "tests/cryptography/test_card.hpp"

namespace quorrin::cryptography {
namespace {

using test::fixed_hex;
using test::hex;
using test::to_hex;

TEST(ApplicationCryptogram, MatchesTheWorkedExampleOfPboc) {
    const Key master_key = fixed_hex<16>("F0C34A8124CEE0A91A0B034AA97D6EAC");
    const Key card_key = derive_card_key(Algorithm::TripleDes, master_key, "6228000100001", 0x01);
    const Key session_key = pboc_session_key(Algorithm::TripleDes, card_key, 0x0240);
    EXPECT_EQ(
        to_hex(application_cryptogram(Algorithm::TripleDes, session_key, test::test_transaction())),
        "5D016C91005E7CC2");
}

TEST(ApplicationCryptogram, CoversTheElementsInTheOrderOfPboc) {
    TransactionData data;
    data.amount_authorised = fixed_hex<6>("010203040506");
    data.amount_other = fixed_hex<6>("111213141516");
    data.terminal_country = fixed_hex<2>("2122");
    data.terminal_verification = fixed_hex<5>("3132333435");
    data.currency = fixed_hex<2>("4142");
    data.date = fixed_hex<3>("515253");
    data.type = 0x61;
    data.unpredictable_number = fixed_hex<4>("71727374");
    data.interchange_profile = fixed_hex<2>("8182");
    data.atc = 0x9192;
    data.card_verification = fixed_hex<4>("03A1A2A3");
    EXPECT_EQ(to_hex(covered_bytes(data)),
              "010203040506"
              "111213141516"
              "2122"
              "3132333435"
              "4142"
              "515253"
              "61"
              "71727374"
              "8182"
              "9192"
              "03A1A2A3");
}

TEST(ApplicationCryptogram, IsRightForEveryKindOfCard) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const Key session_key = fixed_hex<16>(card.cryptogram_session_key);
        EXPECT_EQ(
            to_hex(application_cryptogram(card.algorithm, session_key, test::test_transaction())),
            card.arqc);
    }
}

TEST(IssuerApplicationData, IsEncodedAsPbocLaysItOut) {
    IssuerApplicationData data;
    data.key_derivation_index = 0x02;
    data.card_verification = fixed_hex<4>("03A04002");
    EXPECT_EQ(to_hex(encode(data)), "07020103A0400201");
    data.algorithm = Algorithm::Sm4;
    EXPECT_EQ(to_hex(encode(data)), "07020103A0400204");
}

TEST(IssuerApplicationData, IsDecodedWithOrWithoutDiscretionaryData) {
    for (const char* value : {"07020103A0400204", "07020103A0400204 0A010000005000C4DD84D7"}) {
        SCOPED_TRACE(value);
        const auto data = decode_issuer_application_data(hex(value));
        ASSERT_TRUE(data.has_value());
        EXPECT_EQ(data->key_derivation_index, 0x02);
        EXPECT_EQ(data->cryptogram_version, 0x01);
        EXPECT_EQ(to_hex(data->card_verification), "03A04002");
        EXPECT_EQ(data->algorithm, Algorithm::Sm4);
    }
}

TEST(IssuerApplicationData, IsRefusedInAnyOtherLayout) {
    for (const char* value : {"", "07", "07010103A04002", "06010103A0400201", "08010103A0400201",
                              "07010103A0400200", "07010103A0400202"}) {
        EXPECT_FALSE(decode_issuer_application_data(hex(value)).has_value()) << value;
    }
}

// No example of these versions is published: computed with a separate program from their definitions.
TEST(ApplicationCryptogram, OfInternationalVersionsCoversWhatTheySay) {
    const test::TestCard& card = test::test_cards[0];
    const Key card_key = test::card_keys_of(card).cryptogram;
    struct Row {
        std::uint8_t version;
        SessionKeyScheme scheme;
        const char* cryptogram;
    };
    constexpr Row rows[] = {
        {cryptogram_version_10, SessionKeyScheme::None, "E9EC6EFAA187BD50"},
        {cryptogram_version_17, SessionKeyScheme::None, "301AF8A5B67C9CA5"},
        {cryptogram_version_18, SessionKeyScheme::EmvCommon, "338993622153F925"},
    };
    for (const Row& row : rows) {
        auto data = test::test_transaction();
        data.version = row.version;
        const Key key =
            cryptogram_session_key(row.scheme, card.algorithm, card_key, test::test_atc);
        EXPECT_EQ(test::to_hex(application_cryptogram(card.algorithm, key, data)), row.cryptogram)
            << int{row.version};
    }
}

TEST(IssuerApplicationData, OfInternationalCardsAreReadAsTheyAreWritten) {
    for (const std::uint8_t version :
         {cryptogram_version_10, cryptogram_version_17, cryptogram_version_18}) {
        const auto value = encode({.key_derivation_index = 2,
                                   .cryptogram_version = version,
                                   .card_verification = {0x03, 0xA0, 0x40, 0x02},
                                   .algorithm = Algorithm::TripleDes});
        ASSERT_EQ(value.size(), 7U);
        const auto read = decode_issuer_application_data(value);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->key_derivation_index, 2);
        EXPECT_EQ(read->cryptogram_version, version);
        EXPECT_EQ(encode(*read), value);
        EXPECT_FALSE(decode_issuer_application_data(Bytes(value).first(6)));
    }
    EXPECT_FALSE(is_known_cryptogram_version(0x02));
}

}  // namespace
}  // namespace quorrin::cryptography
