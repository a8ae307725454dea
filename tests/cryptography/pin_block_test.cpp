#include "cryptography/pin_block.hpp"

#include <gtest/gtest.h>

#include "tests/cryptography/test_card.hpp"

namespace quorrin::cryptography {
namespace {

using test::fixed_hex;
using test::to_hex;

const Key card_key = fixed_hex<16>("014C986ECD8F4915 7CC8B59E3BCDFD98");

TEST(PinBlock, HidesTheNewPinUnderTheCardKey) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        EXPECT_EQ(to_hex(pin_change_block(test::card_keys_of(card).cryptogram, "1234")),
                  card.pin_block);
    }
}

// 06123456FFFFFFFF xor 00000000CD8F4915 xor 5678900000000000
TEST(PinBlock, HidesTheNewPinUnderTheCurrentOneToo) {
    EXPECT_EQ(to_hex(pin_change_block(card_key, "123456", "567890")), "506AA4563270B6EA");
}

TEST(PinBlock, GivesTheNewPinBack) {
    for (const char* pin : {"0000", "1234", "98765", "123456789012"}) {
        EXPECT_EQ(new_pin_of(pin_change_block(card_key, pin), card_key), pin);
        EXPECT_EQ(new_pin_of(pin_change_block(card_key, pin, "4321"), card_key, "4321"), pin);
    }
}

TEST(PinBlock, GivesNoPinWhereNoneIs) {
    const auto block_of = [](const char* clear) {
        PinBlock block = fixed_hex<8>(clear);
        for (std::size_t i = 4; i < block.size(); ++i) {
            block[i] ^= card_key[i];
        }
        return block;
    };
    ASSERT_EQ(new_pin_of(block_of("041234FFFFFFFFFF"), card_key), "1234");
    const char* const none[] = {
        "241234FFFFFFFFFF",  // another block format
        "03123FFFFFFFFFFF",  // too short a PIN
        "0D1234567890123F",  // too long a PIN
        "04123AFFFFFFFFFF",  // a digit that is none
        "0412345FFFFFFFFF",  // more digits than counted
        "041234FFFFFFFFF0",  // filling
        "0512FFFFFFFFFFFF",  // fewer digits than counted
        "FFFFFFFFFFFFFFFF", "0000000000000000",
    };
    for (const char* clear : none) {
        EXPECT_EQ(new_pin_of(block_of(clear), card_key), std::nullopt) << clear;
    }
    EXPECT_EQ(new_pin_of(pin_change_block(card_key, "1234", "5678"), card_key), std::nullopt);
}

TEST(PinBlock, TakesNothingButPins) {
    for (const char* pin : {"", "123", "1234567890123", "12a4", "12 4"}) {
        EXPECT_THROW(pin_change_block(card_key, pin), std::invalid_argument) << pin;
        EXPECT_THROW(pin_change_block(card_key, "1234", pin), std::invalid_argument) << pin;
    }
}

}  // namespace
}  // namespace quorrin::cryptography
