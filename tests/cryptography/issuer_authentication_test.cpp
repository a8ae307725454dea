#include "cryptography/issuer_authentication.hpp"

#include <gtest/gtest.h>

#include "tests/cryptography/test_card.hpp"

namespace quorrin::cryptography {
namespace {

using test::fixed_hex;
using test::hex;
using test::to_hex;

constexpr ResponseCode approved{'0', '0'};

struct Keys {
    Key session;
    Cryptogram arqc;
};

Keys keys_of(const test::TestCard& card) {
    return {fixed_hex<16>(card.cryptogram_session_key), fixed_hex<8>(card.arqc)};
}

// Element 91 of every method and length.
std::vector<std::pair<ArpcMethod, std::vector<std::uint8_t>>> all_values(
    const test::TestCard& card) {
    const auto [session_key, arqc] = keys_of(card);
    return {
        {ArpcMethod::Method1, issuer_authentication_1(card.algorithm, session_key, arqc, approved)},
        {ArpcMethod::Method2,
         issuer_authentication_2(card.algorithm, session_key, arqc, fixed_hex<4>("00800000"), {})},
        {ArpcMethod::Method2,
         issuer_authentication_2(card.algorithm, session_key, arqc, fixed_hex<4>("80800000"),
                                 hex("0102030405060708"))},
    };
}

TEST(IssuerAuthentication, HoldsArpcAndResponseCodeByMethod1) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto [session_key, arqc] = keys_of(card);
        EXPECT_EQ(to_hex(issuer_authentication_1(card.algorithm, session_key, arqc, approved)),
                  std::string(card.arpc_method_1) + "3030");
    }
}

TEST(IssuerAuthentication, HoldsArpcStatusUpdateAndProprietaryDataByMethod2) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto [session_key, arqc] = keys_of(card);
        EXPECT_EQ(to_hex(issuer_authentication_2(card.algorithm, session_key, arqc,
                                                 fixed_hex<4>("00800000"), {})),
                  std::string(card.arpc_method_2) + "00800000");
        EXPECT_EQ(
            to_hex(issuer_authentication_2(card.algorithm, session_key, arqc,
                                           fixed_hex<4>("80800000"), hex("0102030405060708"))),
            std::string(card.arpc_method_2_extended) + "808000000102030405060708");
    }
}

TEST(IssuerAuthentication, TakesNoMoreThanEightProprietaryBytes) {
    EXPECT_THROW(
        issuer_authentication_2(Algorithm::TripleDes, {}, {}, {}, hex("010203040506070809")),
        std::invalid_argument);
}

TEST(IssuerAuthentication, HoldsForTheCardThatAsked) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto [session_key, arqc] = keys_of(card);
        for (const auto& [method, value] : all_values(card)) {
            EXPECT_TRUE(
                issuer_authentication_holds(method, card.algorithm, session_key, arqc, value))
                << to_hex(value);
        }
    }
}

TEST(IssuerAuthentication, FailsWithAnyBitOfItFlipped) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto [session_key, arqc] = keys_of(card);
        for (const auto& [method, value] : all_values(card)) {
            test::for_each_flipped_bit(
                value, [&, method = method, value = value, session_key = session_key, arqc = arqc](
                           const auto& changed, std::size_t bit) {
                    EXPECT_FALSE(issuer_authentication_holds(method, card.algorithm, session_key,
                                                             arqc, changed))
                        << "bit " << bit << " of " << to_hex(value);
                });
        }
    }
}

TEST(IssuerAuthentication, FailsForAnotherCryptogram) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const auto [session_key, arqc] = keys_of(card);
        for (const auto& [method, value] : all_values(card)) {
            test::for_each_flipped_bit(
                arqc, [&, method = method, value = value, session_key = session_key](
                          const Cryptogram& other, std::size_t bit) {
                    EXPECT_FALSE(issuer_authentication_holds(method, card.algorithm, session_key,
                                                             other, value))
                        << "bit " << bit << " of the cryptogram";
                });
        }
    }
}

TEST(IssuerAuthentication, FailsInAnotherSizeThanItsMethodHas) {
    const test::TestCard& card = test::test_cards[0];
    const auto [session_key, arqc] = keys_of(card);
    for (const auto method : {ArpcMethod::Method1, ArpcMethod::Method2}) {
        for (const auto& [of_method, value] : all_values(card)) {
            auto shorter = value;
            shorter.pop_back();
            auto longer = value;
            longer.resize(17);
            const bool same = method == of_method;
            EXPECT_EQ(issuer_authentication_holds(method, card.algorithm, session_key, arqc, value),
                      same);
            EXPECT_FALSE(
                issuer_authentication_holds(method, card.algorithm, session_key, arqc, shorter));
            EXPECT_FALSE(
                issuer_authentication_holds(method, card.algorithm, session_key, arqc, longer));
        }
        EXPECT_FALSE(issuer_authentication_holds(method, card.algorithm, session_key, arqc, {}));
    }
}

}  // namespace
}  // namespace quorrin::cryptography
