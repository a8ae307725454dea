#include "bank/issuer_scripts.hpp"

#include <gtest/gtest.h>

#include "cryptography/pin_block.hpp"
#include "tests/cryptography/test_card.hpp"

namespace quorrin::bank {
namespace {

using test::fixed_hex;
using test::hex;
using test::to_hex;

std::vector<std::uint8_t> sealed_for(const test::TestCard& card,
                                     const std::vector<Script>& scripts) {
    return sealed_scripts(scripts, test::script_context_of(card), test::card_keys_of(card));
}

Script script_of(ScriptPhase phase, std::vector<ScriptCommand> commands) {
    return {phase, std::nullopt, std::move(commands)};
}

// A record whose UPDATE RECORD makes one template of 13 bytes more.
Script script_with_record(std::size_t size) {
    return script_of(ScriptPhase::AfterFinalCryptogram,
                     {update_record(1, 1, test::filled(size, 0xAA))});
}

TEST(IssuerScripts, HoldIdentifierAndCommandsWithTheirMacs) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const Script script{ScriptPhase::BeforeFinalCryptogram,
                            fixed_hex<4>("11223344"),
                            {application_block(), put_data(0x9F79, hex("000000100000"))}};
        EXPECT_EQ(to_hex(sealed_for(card, {script})),
                  std::string("71239F1804112233448609841E000004") + card.block_mac +
                      "860F04DA9F790A000000100000" + card.put_mac);
    }
}

TEST(IssuerScripts, StandAndChainInTheOrderOfTheirPhases) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const std::vector<Script> scripts{
            script_of(ScriptPhase::AfterFinalCryptogram, {put_data(0x9F79, hex("000000100000"))}),
            script_of(ScriptPhase::BeforeFinalCryptogram, {application_block()})};
        EXPECT_EQ(to_hex(sealed_for(card, scripts)),
                  std::string("710B8609841E000004") + card.block_mac +
                      "7211860F04DA9F790A000000100000" + card.put_mac);
    }
}

TEST(IssuerScripts, HideANewPin) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        EXPECT_EQ(to_hex(sealed_for(
                      card, {script_of(ScriptPhase::AfterFinalCryptogram, {pin_change("1234")})})),
                  std::string("721B86198424000214") + card.enciphered_pin + card.pin_mac);
    }
}

TEST(IssuerScripts, GiveTheCardANewPinUnderItsCurrentOne) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto sealed = sealed_for(
            card, {script_of(ScriptPhase::AfterFinalCryptogram, {pin_change("123456", "5678")})});
        ASSERT_EQ(sealed.size(), 29U);
        const auto command = std::span(sealed).subspan(4);
        const auto header = test::fixed<5>(command.first(5));
        EXPECT_EQ(to_hex(header), "8424000114");

        // The card's side.
        const auto context = test::script_context_of(card);
        const auto keys = test::card_keys_of(card);
        cryptography::ScriptMacChain macs(context, keys.mac);
        EXPECT_TRUE(macs.accept(header, command.subspan(5, 16), command.last(4)));
        const auto plain =
            cryptography::decipher_script_data(context, keys.encipherment, command.subspan(5, 16));
        ASSERT_TRUE(plain.has_value());
        EXPECT_EQ(cryptography::new_pin_of(test::fixed<8>(*plain), keys.cryptogram, "5678"),
                  "123456");
    }
}

TEST(IssuerScripts, KeepToWhatTerminalsRun) {
    const test::TestCard& card = test::test_cards[0];
    EXPECT_EQ(sealed_for(card, {}).size(), 0U);
    EXPECT_EQ(sealed_for(card, {script_with_record(115)}).size(), max_script_bytes);
    EXPECT_EQ(sealed_for(card, {script_with_record(51), script_with_record(51)}).size(),
              max_script_bytes);
}

TEST(IssuerScripts, AreRefusedBeyondWhatTerminalsRun) {
    const test::TestCard& card = test::test_cards[0];
    for (const std::size_t size : {116U, 117U, 123U, 124U, 125U, 255U, 300U}) {
        EXPECT_THROW(sealed_for(card, {script_with_record(size)}), std::length_error) << size;
    }
    EXPECT_THROW(sealed_for(card, {script_with_record(51), script_with_record(52)}),
                 std::length_error);
    // Terminals may count the templates of both phases together.
    EXPECT_THROW(sealed_for(card, {script_of(ScriptPhase::BeforeFinalCryptogram,
                                             {update_record(1, 1, test::filled(52, 0xAA))}),
                                   script_with_record(51)}),
                 std::length_error);
}

TEST(IssuerScripts, CarryNoImpossiblePin) {
    EXPECT_THROW(sealed_for(test::test_cards[0],
                            {script_of(ScriptPhase::AfterFinalCryptogram, {pin_change("12")})}),
                 std::invalid_argument);
}

}  // namespace
}  // namespace quorrin::bank
