#include "bank/online_answer.hpp"

#include <gtest/gtest.h>

#include "tests/cryptography/test_card.hpp"

namespace quorrin::bank {
namespace {

using cryptography::ArpcMethod;
using test::fixed_hex;
using test::hex;
using test::to_hex;

CardProduct product_of(const test::TestCard& card, ArpcMethod method = ArpcMethod::Method1) {
    CardProduct product;
    product.algorithm = card.algorithm;
    product.session_keys = card.scheme;
    product.arpc_method = method;
    product.master_keys = test::test_issuer_master_keys();
    return product;
}

OnlineRequest request_of(const test::TestCard& card) {
    OnlineRequest request;
    request.pan = test::test_pan;
    request.pan_sequence_number = test::test_pan_sequence_number;
    request.arqc = fixed_hex<8>(card.arqc);
    request.covered = test::test_transaction();
    request.covered.card_verification = {};  // the issuer reads them from 9F10
    request.issuer_application_data = card.algorithm == cryptography::Algorithm::TripleDes
                                          ? hex("07010103A0400201")
                                          : hex("07010103A0400204");
    return request;
}

void expect_declined(const OnlineAnswer& answer) {
    EXPECT_FALSE(answer.cryptogram_right);
    EXPECT_FALSE(answer.approved);
    EXPECT_EQ(to_hex(answer.response_code), "3035");
    EXPECT_FALSE(answer.reason.empty());
    EXPECT_EQ(answer.issuer_data_text(), "8A023035");
}

// A bank that would have much to tell the card.
Decision generous_decision() {
    Decision decision;
    decision.authorisation_code = fixed_hex<6>("313233343536");
    decision.scripts = {{ScriptPhase::BeforeFinalCryptogram, {}, {application_unblock()}}};
    return decision;
}

TEST(OnlineAnswer, ApprovesTheRightCryptogramWithAnArpcOfMethod1) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const OnlineAnswer answer = answer_online(product_of(card), request_of(card));
        EXPECT_TRUE(answer.cryptogram_right);
        EXPECT_TRUE(answer.approved);
        EXPECT_EQ(to_hex(answer.response_code), "3030");
        EXPECT_EQ(answer.reason, "the cryptogram is right, approved");
        EXPECT_EQ(answer.issuer_data_text(),
                  std::string("8A023030910A") + card.arpc_method_1 + "3030");
    }
}

TEST(OnlineAnswer, ApprovesTheRightCryptogramWithAnArpcOfMethod2) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        const CardProduct product = product_of(card, ArpcMethod::Method2);
        EXPECT_EQ(answer_online(product, request_of(card)).issuer_data_text(),
                  std::string("8A0230309108") + card.arpc_method_2 + "00800000");

        Decision extended;
        extended.proprietary_data = hex("0102030405060708");
        EXPECT_EQ(
            answer_online(product, request_of(card), extended).issuer_data_text(),
            std::string("8A0230309110") + card.arpc_method_2_extended + "808000000102030405060708");
    }
}

TEST(OnlineAnswer, StandsInTheOrderThatTerminalsRead) {
    const test::TestCard& card = test::test_cards[0];
    Decision decision;
    decision.authorisation_code = fixed_hex<6>("313233343536");
    decision.scripts = {
        {ScriptPhase::AfterFinalCryptogram, {}, {put_data(0x9F79, hex("000000100000"))}},
        {ScriptPhase::BeforeFinalCryptogram, fixed_hex<4>("11223344"), {application_block()}}};
    EXPECT_EQ(answer_online(product_of(card), request_of(card), decision).issuer_data_text(),
              std::string("8A023030"
                          "8906313233343536"
                          "910A") +
                  card.arpc_method_1 + "3030" + "7112" + "9F180411223344" + "8609841E000004" +
                  card.block_mac + "7211" + "860F04DA9F790A000000100000" + card.put_mac);
}

TEST(OnlineAnswer, DeclinesForTheBankWithAnArpcThatSaysSo) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        Decision decision;
        decision.response_code = {'5', '1'};
        for (const ArpcMethod method : {ArpcMethod::Method1, ArpcMethod::Method2}) {
            const OnlineAnswer answer =
                answer_online(product_of(card, method), request_of(card), decision);
            EXPECT_TRUE(answer.cryptogram_right);
            EXPECT_FALSE(answer.approved);
            EXPECT_EQ(answer.reason, "the cryptogram is right, declined by the bank");
            const auto value = std::span(answer.issuer_data).subspan(6);
            EXPECT_EQ(to_hex(value.last(method == ArpcMethod::Method1 ? 2 : 4)),
                      method == ArpcMethod::Method1 ? "3531" : "00000000");
            EXPECT_TRUE(cryptography::issuer_authentication_holds(
                method, card.algorithm, fixed_hex<16>(card.cryptogram_session_key),
                fixed_hex<8>(card.arqc), value));
        }
    }
}

TEST(OnlineAnswer, DeclinesACryptogramWithAnyBitFlipped) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        OnlineRequest request = request_of(card);
        test::for_each_flipped_bit(fixed_hex<8>(card.arqc), [&](const auto& arqc, std::size_t bit) {
            SCOPED_TRACE(bit);
            request.arqc = arqc;
            expect_declined(answer_online(product_of(card), request, generous_decision()));
        });
    }
}

TEST(OnlineAnswer, DeclinesCoveredDataWithAnyBitFlipped) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        OnlineRequest request = request_of(card);
        auto& covered = request.covered;
        std::uint16_t& atc = covered.atc;
        const struct {
            const char* tag;
            std::span<std::uint8_t> value;
        } elements[] = {
            {"9F02", covered.amount_authorised},
            {"9F03", covered.amount_other},
            {"9F1A", covered.terminal_country},
            {"95", covered.terminal_verification},
            {"5F2A", covered.currency},
            {"9A", covered.date},
            {"9C", {&covered.type, 1}},
            {"9F37", covered.unpredictable_number},
            {"82", covered.interchange_profile},
            {"9F36", {reinterpret_cast<std::uint8_t*>(&atc), sizeof(atc)}},
            {"9F10", request.issuer_application_data},
        };
        for (const auto& element : elements) {
            SCOPED_TRACE(element.tag);
            const test::ByteString original(element.value.begin(), element.value.end());
            test::for_each_flipped_bit(original, [&](const auto& changed, std::size_t bit) {
                SCOPED_TRACE(bit);
                std::ranges::copy(changed, element.value.begin());
                expect_declined(answer_online(product_of(card), request, generous_decision()));
            });
            std::ranges::copy(original, element.value.begin());
        }
        EXPECT_TRUE(answer_online(product_of(card), request).approved) << "all put back";
    }
}

TEST(OnlineAnswer, DeclinesTheCryptogramOfAnotherCard) {
    for (const test::TestCard& card : test::test_cards) {
        SCOPED_TRACE(card.name);
        OnlineRequest request = request_of(card);
        request.pan = "6228000100002";
        expect_declined(answer_online(product_of(card), request));

        request = request_of(card);
        request.pan_sequence_number = 0x02;
        expect_declined(answer_online(product_of(card), request));
    }
}

TEST(OnlineAnswer, DeclinesWithTheReason) {
    const test::TestCard& card = test::test_cards[0];
    struct Case {
        void (*spoil)(OnlineRequest&);
        const char* reason;
    };
    constexpr Case cases[] = {
        {[](OnlineRequest& request) { request.arqc[7] ^= 1; },
         "the cryptogram is not the card's over these data"},
        {[](OnlineRequest& request) { request.issuer_application_data.clear(); },
         "the issuer application data (9F10) are of no layout that is known"},
        {[](OnlineRequest& request) { request.issuer_application_data[7] = 0x04; },
         "the card names another algorithm than its product has"},
        {[](OnlineRequest& request) { request.issuer_application_data[1] = 0x02; },
         "the card names master keys that its product does not have"},
        {[](OnlineRequest& request) { request.issuer_application_data[2] = 0x11; },
         "the card's cryptogram is of an unknown version"},
        {[](OnlineRequest& request) { request.pan += 'F'; },
         "PAN or PAN sequence number is not decimal"},
        {[](OnlineRequest& request) { request.pan_sequence_number = 0x0A; },
         "PAN or PAN sequence number is not decimal"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reason);
        OnlineRequest request = request_of(card);
        c.spoil(request);
        const OnlineAnswer answer = answer_online(product_of(card), request, generous_decision());
        EXPECT_EQ(answer.reason, c.reason);
        expect_declined(answer);
    }
}

TEST(OnlineAnswer, IsRefusedToABankThatAsksTooMuch) {
    const test::TestCard& card = test::test_cards[0];
    Decision decision;
    decision.scripts = {
        {ScriptPhase::AfterFinalCryptogram, {}, {update_record(1, 1, test::filled(116, 0xAA))}}};
    EXPECT_THROW(answer_online(product_of(card), request_of(card), decision), std::length_error);

    decision = {};
    decision.proprietary_data = test::filled(9, 0x01);
    EXPECT_THROW(answer_online(product_of(card, ArpcMethod::Method2), request_of(card), decision),
                 std::invalid_argument);
}

}  // namespace
}  // namespace quorrin::bank
