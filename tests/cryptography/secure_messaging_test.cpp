#include "cryptography/secure_messaging.hpp"

#include <gtest/gtest.h>

#include <numeric>

#include "cryptography/block_cipher.hpp"
#include "tests/cryptography/test_card.hpp"

namespace quorrin::cryptography {
namespace {

using test::fixed_hex;
using test::hex;
using test::to_hex;

constexpr CommandHeader block_header{0x84, 0x1E, 0x00, 0x00, 0x04};
constexpr CommandHeader put_header{0x04, 0xDA, 0x9F, 0x79, 0x0A};
const auto put_value = hex("000000100000");

ScriptMacChain chain_of(const test::TestCard& card) {
    return {test::script_context_of(card), test::card_keys_of(card).mac};
}

TEST(ScriptMac, CoversTheCommandBefore) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        ScriptMacChain chain = chain_of(card);
        EXPECT_EQ(to_hex(chain.seal(block_header, {})), card.block_mac);
        EXPECT_EQ(to_hex(chain.seal(put_header, put_value)), card.put_mac);
    }
}

TEST(ScriptMac, IsAcceptedByTheCardInTheOrderOfSealing) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        ScriptMacChain chain = chain_of(card);
        EXPECT_TRUE(chain.accept(block_header, {}, hex(card.block_mac)));
        EXPECT_TRUE(chain.accept(put_header, put_value, hex(card.put_mac)));
    }
}

TEST(ScriptMac, IsRefusedOutOfOrder) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        ScriptMacChain chain = chain_of(card);
        EXPECT_FALSE(chain.accept(put_header, put_value, hex(card.put_mac)));
        EXPECT_TRUE(chain.accept(block_header, {}, hex(card.block_mac)));
        EXPECT_FALSE(chain.accept(block_header, {}, hex(card.block_mac)));
        EXPECT_TRUE(chain.accept(put_header, put_value, hex(card.put_mac)));
    }
}

TEST(ScriptMac, IsRefusedWithAnyBitFlipped) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        ScriptMacChain chain = chain_of(card);
        ASSERT_TRUE(chain.accept(block_header, {}, hex(card.block_mac)));
        const auto mac = hex(card.put_mac);
        test::for_each_flipped_bit(mac, [&](const auto& changed, std::size_t bit) {
            EXPECT_FALSE(chain.accept(put_header, put_value, changed)) << "MAC bit " << bit;
        });
        test::for_each_flipped_bit(put_header, [&](const auto& changed, std::size_t bit) {
            EXPECT_FALSE(chain.accept(changed, put_value, mac)) << "header bit " << bit;
        });
        test::for_each_flipped_bit(put_value, [&](const auto& changed, std::size_t bit) {
            EXPECT_FALSE(chain.accept(put_header, changed, mac)) << "data bit " << bit;
        });
        EXPECT_TRUE(chain.accept(put_header, put_value, mac)) << "after all the wrong ones";
    }
}

TEST(ScriptMac, IsRefusedInAnotherSize) {
    const test::TestCard& card = test::test_cards[0];
    ScriptMacChain chain = chain_of(card);
    EXPECT_FALSE(chain.accept(block_header, {}, {}));
    auto mac = hex(card.block_mac);
    mac.pop_back();
    EXPECT_FALSE(chain.accept(block_header, {}, mac));
    mac = hex(std::string(card.block_mac) + "02");
    EXPECT_FALSE(chain.accept(block_header, {}, mac));
}

TEST(ScriptMac, IsRefusedInAnotherTransaction) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const Key key = test::card_keys_of(card).mac;
        test::for_each_flipped_bit(fixed_hex<8>(card.arqc), [&](const auto& other, std::size_t) {
            auto context = test::script_context_of(card);
            context.arqc = other;
            EXPECT_FALSE(
                ScriptMacChain(context, key).accept(block_header, {}, hex(card.block_mac)));
        });
    }
}

TEST(ScriptMac, IsRefusedWithTheNextAtc) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        auto context = test::script_context_of(card);
        ++context.atc;
        EXPECT_FALSE(ScriptMacChain(context, test::card_keys_of(card).mac)
                         .accept(block_header, {}, hex(card.block_mac)));
    }
}

TEST(EncipheredScriptData, HideThePinBlockOfEveryKindOfCard) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto enciphered =
            encipher_script_data(test::script_context_of(card),
                                 test::card_keys_of(card).encipherment, hex(card.pin_block));
        EXPECT_EQ(to_hex(enciphered), card.enciphered_pin);
        const CommandHeader header{0x84, 0x24, 0x00, 0x02,
                                   static_cast<std::uint8_t>(enciphered.size() + 4)};
        EXPECT_EQ(to_hex(chain_of(card).seal(header, enciphered)), card.pin_mac);
    }
}

TEST(EncipheredScriptData, ComeBackInEveryLength) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto context = test::script_context_of(card);
        const Key key = test::card_keys_of(card).encipherment;
        const std::size_t block = block_size(card.algorithm);
        for (std::size_t length = 0; length <= 255; ++length) {
            test::ByteString plain(length);
            std::iota(plain.begin(), plain.end(), std::uint8_t{0x80});
            const auto enciphered = encipher_script_data(context, key, plain);
            // The length byte, and no more filling than the block needs.
            EXPECT_EQ(enciphered.size(), (length + 1 + block - 1) / block * block) << length;
            EXPECT_EQ(decipher_script_data(context, key, enciphered), plain) << length;
        }
    }
}

TEST(EncipheredScriptData, ExceedNoLengthByte) {
    EXPECT_THROW(encipher_script_data({}, {}, test::ByteString(256)), std::invalid_argument);
}

// The clear block of each row, enciphered as it stands.
TEST(EncipheredScriptData, AreRefusedWithAWrongLengthOrFilling) {
    const test::TestCard& card = test::test_cards[0];
    const auto context = test::script_context_of(card);
    const Key key = test::card_keys_of(card).encipherment;
    const auto decipher = [&](const char* clear) {
        return decipher_script_data(
            context, key,
            encrypt_ecb(card.algorithm, fixed_hex<16>(card.encipherment_session_key), hex(clear)));
    };
    ASSERT_EQ(decipher("0311223380000000"), hex("112233"));
    ASSERT_EQ(decipher("0711223344556677"), hex("11223344556677"));
    const char* const wrong[] = {
        "0811223344556677",                  // longer than the block
        "FF11223344556677",                  //
        "0311223300000000",                  // no 80
        "0311223380000001",                  // something after the 80
        "0211223380000000",                  // shorter than the filling says
        "03112233800000000000000000000000",  // a block too many
    };
    for (const char* clear : wrong) {
        EXPECT_EQ(decipher(clear), std::nullopt) << clear;
    }
    EXPECT_EQ(decipher_script_data(context, key, {}), std::nullopt);
    EXPECT_EQ(decipher_script_data(context, key, hex("11223344556677")), std::nullopt);
}

// EMV book 2 section 9.3: always filled, CBC. Computed with a separate program.
TEST(ScriptData, AreEncipheredAsEmvHasItWhereTheContextSaysSo) {
    const test::TestCard& card = test::test_cards[1];
    auto context = test::script_context_of(card);
    context.encipherment = ScriptEncipherment::Emv;
    const Key key = test::card_keys_of(card).encipherment;
    const auto block = hex(card.pin_block);
    const auto enciphered = encipher_script_data(context, key, block);
    EXPECT_EQ(to_hex(enciphered), "86ACD49FCFDC087076156F5EF3475CEE");
    for (std::size_t size = 0; size < 40; ++size) {
        const std::vector<std::uint8_t> plain(size, 0x00);
        const auto sent = encipher_script_data(context, key, plain);
        EXPECT_EQ(sent.size(), (size / 8 + 1) * 8);
        EXPECT_EQ(decipher_script_data(context, key, sent), plain) << size;
    }
    EXPECT_EQ(decipher_script_data(context, key, hex("")), std::nullopt);
    EXPECT_EQ(decipher_script_data(context, key, hex("0000000000000000")), std::nullopt);
}

}  // namespace
}  // namespace quorrin::cryptography
