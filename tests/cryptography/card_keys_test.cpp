#include "cryptography/card_keys.hpp"

#include <gtest/gtest.h>

#include "tests/cryptography/test_card.hpp"

namespace quorrin::cryptography {
namespace {

using test::fixed_hex;
using test::to_hex;

constexpr auto triple_des = Algorithm::TripleDes;
const Key emv_master_key = fixed_hex<16>("0123456789ABCDEFFEDCBA9876543210");

// The worked examples in the documentation of pyemv, module kd: derive_icc_mk_a and, below,
// derive_common_sk. Both with odd parity.
TEST(CardKeys, DerivesThePublishedOptionAKey) {
    const Key card_key = derive_card_key(triple_des, emv_master_key, "99012345678901234", 0x45);
    EXPECT_EQ(to_hex(card_key), "67F8292358083E5EA7AB7FDA58D53B6B");
}

TEST(CardKeys, DerivesThePublishedEmvCommonSessionKey) {
    const Key card_key = derive_card_key(triple_des, emv_master_key, "99012345678901234", 0x45);
    const Key session_key =
        emv_common_session_key(triple_des, card_key, fixed_hex<8>("1234567890123456"));
    EXPECT_EQ(to_hex(session_key), "29B33180E567CE38EA4CBC9D753B0E61");
}

// EMV book 2 annex A1.4.2. No example is published here: computed with a separate program from the text.
TEST(CardKeys, AreDerivedByOptionBFromNumbersOfMoreThanSixteenDigits) {
    const auto option_b = [](const char* pan) {
        return to_hex(
            derive_card_key(triple_des, emv_master_key, pan, 0x45, KeyDerivation::OptionB));
    };
    EXPECT_EQ(option_b("99012345678901234"), "985EC4FD3EDF6162E31AF1C7D0543416");
    EXPECT_EQ(option_b("9999131234567890125"), "F14F910E6DF261E36E92D5C2F1BF6843");
    EXPECT_EQ(option_b("1234567890123456"), "25011ACE8F3D7698259BE6B615403EB3") << "as option A";
    EXPECT_EQ(option_b("1234567890123456"),
              to_hex(derive_card_key(triple_des, emv_master_key, "1234567890123456", 0x45)));
}

TEST(CardKeys, MakeCryptogramsThemselvesWithoutSessionKeys) {
    const Key key = derive_card_key(triple_des, emv_master_key, "99012345678901234", 0x45);
    EXPECT_EQ(cryptogram_session_key(SessionKeyScheme::None, triple_des, key, 7), key);
    EXPECT_EQ(script_session_key(SessionKeyScheme::None, triple_des, key, 7, {}),
              pboc_session_key(triple_des, key, 7));
}

TEST(CardKeys, HaveOddParityWhereTheyAreDesKeysAndNoneWhereTheyAreSm4Keys) {
    for (const char* pan : {"99012345678901234", "6228000100001", "9999010000000011"}) {
        const Key des = derive_card_key(triple_des, emv_master_key, pan, 0x01);
        const Key sm4 = derive_card_key(Algorithm::Sm4, emv_master_key, pan, 0x01);
        const auto diversifier = fixed_hex<8>("0123456789ABCDEF");
        for (const Key& key : {des, pboc_session_key(triple_des, des, 0x1234),
                               emv_common_session_key(triple_des, des, diversifier)}) {
            EXPECT_EQ(key, with_odd_parity(key)) << pan;
        }
        for (const Key& key : {sm4, pboc_session_key(Algorithm::Sm4, sm4, 0x1234),
                               emv_common_session_key(Algorithm::Sm4, sm4, diversifier)}) {
            EXPECT_NE(key, with_odd_parity(key)) << pan;
        }
    }
}

// The cipher does not look at parity bits, so a key without them makes the same session keys.
TEST(CardKeys, DerivesTheSameSessionKeyFromAKeyWithoutParity) {
    const Key card_key = derive_card_key(triple_des, emv_master_key, "99012345678901234", 0x45);
    Key other = card_key;
    other[5] ^= 0x01;
    EXPECT_EQ(pboc_session_key(triple_des, card_key, 0x1234),
              pboc_session_key(triple_des, other, 0x1234));
}

TEST(CardKeys, DerivesAllKeysOfEveryKindOfCard) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const KeySet keys = derive_card_keys(card.algorithm, test::test_issuer_master_keys(),
                                             test::test_pan, test::test_pan_sequence_number);
        const KeySet expected = test::card_keys_of(card);
        EXPECT_EQ(to_hex(keys.cryptogram), to_hex(expected.cryptogram));
        EXPECT_EQ(to_hex(keys.mac), to_hex(expected.mac));
        EXPECT_EQ(to_hex(keys.encipherment), to_hex(expected.encipherment));
    }
}

TEST(CardKeys, DerivesTheSessionKeysOfEveryKindOfCard) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const KeySet keys = test::card_keys_of(card);
        const auto arqc = fixed_hex<8>(card.arqc);
        EXPECT_EQ(to_hex(cryptogram_session_key(card.scheme, card.algorithm, keys.cryptogram,
                                                test::test_atc)),
                  card.cryptogram_session_key);
        EXPECT_EQ(
            to_hex(script_session_key(card.scheme, card.algorithm, keys.mac, test::test_atc, arqc)),
            card.mac_session_key);
        EXPECT_EQ(to_hex(script_session_key(card.scheme, card.algorithm, keys.encipherment,
                                            test::test_atc, arqc)),
                  card.encipherment_session_key);
    }
}

TEST(CardKeys, PadsAShortPanWithZerosOnTheLeft) {
    EXPECT_EQ(derive_card_key(triple_des, emv_master_key, "6228000100001", 0x01),
              derive_card_key(triple_des, emv_master_key, "06228000100001", 0x01));
}

TEST(CardKeys, TakesTheRightmostDigitsOfALongPan) {
    const Key sixteen = derive_card_key(triple_des, emv_master_key, "12345678901234", 0x01);
    EXPECT_EQ(derive_card_key(triple_des, emv_master_key, "9999912345678901234", 0x01), sixteen);
    EXPECT_NE(derive_card_key(triple_des, emv_master_key, "22345678901234", 0x01), sixteen);
    EXPECT_NE(derive_card_key(triple_des, emv_master_key, "12345678901234", 0x02), sixteen);
}

TEST(CardKeys, RefusesWhatIsNotDecimal) {
    EXPECT_THROW(derive_card_key(triple_des, emv_master_key, "622800010000F", 0x01),
                 std::invalid_argument);
    EXPECT_THROW(derive_card_key(triple_des, emv_master_key, "", 0x01), std::invalid_argument);
    EXPECT_THROW(derive_card_key(triple_des, emv_master_key, "6228000100001", 0x0A),
                 std::invalid_argument);
    EXPECT_THROW(derive_card_key(triple_des, emv_master_key, "6228000100001", 0xA0),
                 std::invalid_argument);
}

}  // namespace
}  // namespace quorrin::cryptography
