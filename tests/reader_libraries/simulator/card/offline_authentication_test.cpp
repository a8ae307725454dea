// Certificates and signatures of the cards that claim them, taken apart as terminals do it: EMV book 2
// sections 5 to 7. The arithmetic is OpenSSL's, not the cards' own.
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

struct PublicKey {
    ByteString modulus;
    ByteString exponent = hex("03");
};

ByteString power(const PublicKey& key, const ByteString& block) {
    BN_CTX* context = BN_CTX_new();
    BIGNUM* base = BN_bin2bn(block.data(), static_cast<int>(block.size()), nullptr);
    BIGNUM* n = BN_bin2bn(key.modulus.data(), static_cast<int>(key.modulus.size()), nullptr);
    BIGNUM* e = BN_bin2bn(key.exponent.data(), static_cast<int>(key.exponent.size()), nullptr);
    BN_mod_exp(base, base, e, n, context);
    ByteString result(key.modulus.size());
    BN_bn2binpad(base, result.data(), static_cast<int>(result.size()));
    BN_free(base);
    BN_free(n);
    BN_free(e);
    BN_CTX_free(context);
    return result;
}

ByteString sha1_of(const ByteString& data) {
    ByteString hash(20);
    EVP_Digest(data.data(), data.size(), hash.data(), nullptr, EVP_sha1(), nullptr);
    return hash;
}

PublicKey test_ca() {
    PublicKey ca;
    std::FILE* file = std::fopen(QUORRIN_PROFILES "/keys/test-ca.pem", "r");
    EVP_PKEY* key =
        file == nullptr ? nullptr : PEM_read_PrivateKey(file, nullptr, nullptr, nullptr);
    if (file != nullptr) {
        std::fclose(file);
    }
    BIGNUM* n = nullptr;
    if (key != nullptr && EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_N, &n) == 1) {
        ca.modulus.resize(static_cast<std::size_t>(BN_num_bytes(n)));
        BN_bn2bin(n, ca.modulus.data());
    }
    BN_free(n);
    EVP_PKEY_free(key);
    return ca;
}

ByteString part(const ByteString& bytes, std::size_t from, std::size_t count) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

// What a signature covers, header, trailer and hash taken off and checked. `more` goes into the hash.
ByteString recovered(const PublicKey& key, const ByteString& signature, const ByteString& more) {
    EXPECT_EQ(signature.size(), key.modulus.size());
    const ByteString clear = power(key, signature);
    EXPECT_EQ(clear.front(), 0x6A);
    EXPECT_EQ(clear.back(), 0xBC);
    const ByteString content = part(clear, 1, clear.size() - 22);
    EXPECT_EQ(part(clear, clear.size() - 21, 20), sha1_of(join(content, more)));
    return content;
}

// The key in a certificate: `fixed` bytes stand before its digits, the last two of them its sizes.
PublicKey certified(const PublicKey& by, const ByteString& certificate, std::size_t fixed,
                    const ByteString& remainder, const ByteString& exponent,
                    const ByteString& covered) {
    const ByteString content = recovered(by, certificate, join(remainder, exponent, covered));
    const std::size_t size = content.at(fixed - 2);
    ByteString modulus = join(part(content, fixed, content.size() - fixed), remainder);
    modulus.resize(size);
    return {modulus, exponent};
}

class SigningCard : public Terminal {
  public:
    explicit SigningCard(const std::string& profile)
        : Terminal(simulator::load_card_file(QUORRIN_PROFILES "/" + profile)) {}
    explicit SigningCard(std::unique_ptr<simulator::CardDevice> card) : Terminal(std::move(card)) {}

    void begin() {
        select(aid);
        EXPECT_EQ(get_options().status, 0x9000U);
        read_records();
    }

    // EMV book 3 section 10.3.
    ByteString static_data() {
        ByteString data;
        const ByteString locator = expect_element(options, "94");
        for (std::size_t at = 0; at < locator.size(); at += 4) {
            for (unsigned i = 0; i < locator[at + 3]; ++i) {
                const auto record = static_cast<std::uint8_t>(locator[at + 1] + i);
                const auto reply = send(join(
                    hex("00B2"), ByteString{record, static_cast<std::uint8_t>(locator[at] | 4)},
                    hex("00")));
                data = join(data, expect_element(reply.data, "70"));
            }
        }
        EXPECT_FALSE(data.empty());
        return join(data, expect_element(options, "82"));
    }
    PublicKey issuer() {
        EXPECT_EQ(expect_element(records, "8F"), hex("01"));
        return certified(test_ca(), expect_element(records, "90"), 14,
                         expect_element(records, "92"), expect_element(records, "9F32"), {});
    }
    PublicKey card_key() {
        return certified(issuer(), expect_element(records, "9F46"), 20,
                         expect_element(records, "9F48"), expect_element(records, "9F47"),
                         static_data());
    }

    PublicKey pin_key() {
        return certified(issuer(), expect_element(records, "9F2D"), 20,
                         expect_element(records, "9F2F"), expect_element(records, "9F2E"), {});
    }

    const ByteString aid = hex("A000000333010101");
};

class OfflineAuthentication : public testing::TestWithParam<const char*> {};

TEST_P(OfflineAuthentication, OfStaticDataHolds) {
    SigningCard card(GetParam());
    card.begin();
    EXPECT_NE(expect_element(card.options, "82").at(0) & 0x40, 0);
    const ByteString content =
        recovered(card.issuer(), expect_element(card.records, "93"), card.static_data());
    EXPECT_EQ(to_hex(part(content, 0, 4)), "0301DAC1");
}

INSTANTIATE_TEST_SUITE_P(Cards, OfflineAuthentication,
                         testing::Values("full.toml", "quick.toml", "expired.toml"));

TEST(DynamicAuthentication, HoldsAndIsToldInTheVerificationResults) {
    for (const char* profile : {"full.toml", "quick.toml"}) {
        SigningCard card(profile);
        card.begin();
        const ByteString number = hex("11223344");
        const auto reply = card.send(join(hex("0088000004"), number, hex("00")));
        ASSERT_EQ(reply.status, 0x9000U) << profile;
        const ByteString content =
            recovered(card.card_key(), expect_element(reply.data, "9F4B"), number);
        EXPECT_EQ(to_hex(part(content, 0, 4)), "05010908") << profile;
        EXPECT_EQ(card.send("0088000003 112233 00").status, 0x6700U);
        EXPECT_EQ(card.generate_ac(0x80).status, 0x9000U);
        EXPECT_EQ(expect_element(card.cryptogram_answer, "9F10").at(6), 0x02);
        EXPECT_EQ(card.send(join(hex("0088000004"), number, hex("00"))).status, 0x6985U);
    }
}

TEST(CombinedAuthentication, HoldsInBothCryptograms) {
    SigningCard card("full.toml");
    card.begin();
    const PublicKey key = card.card_key();
    ByteString lists = card.list_data(expect_element(card.fci, "9F38"));
    const auto check = [&](std::uint8_t request, const char* list, const char* information) {
        lists = join(lists, card.list_data(expect_element(card.records, list)));
        EXPECT_EQ(card.generate_ac(request).status, 0x9000U);
        const ByteString& answer = card.cryptogram_answer;
        EXPECT_FALSE(element(answer, "9F26"));
        EXPECT_EQ(to_hex(expect_element(answer, "9F27")), information);
        const ByteString content =
            recovered(key, expect_element(answer, "9F4B"), card.values.at("9F37"));
        EXPECT_EQ(to_hex(part(content, 0, 4)), "05012608");
        EXPECT_EQ(to_hex(part(content, 12, 1)), information);
        const ByteString covered =
            join(hex("9F2701"), expect_element(answer, "9F27"), hex("9F3602"),
                 expect_element(answer, "9F36"), hex("9F1008"), expect_element(answer, "9F10"));
        EXPECT_EQ(part(content, 21, 20), sha1_of(join(lists, covered)));
        return part(content, 13, 8);
    };
    const ByteString arqc = check(0x90, "8C", "80");
    card.cryptogram_answer = join(card.cryptogram_answer, hex("9F2608"), arqc);
    const auto answer = bank::answer_online(test_bank(), card.online_request());
    EXPECT_TRUE(answer.cryptogram_right) << answer.reason;
    EXPECT_EQ(card.authenticate(answer).status, 0x9000U);
    check(0x50, "8D", "40");
}

TEST(CombinedAuthentication, LeavesAnAacUnsigned) {
    SigningCard card("full.toml");
    card.begin();
    EXPECT_EQ(card.generate_ac(0x10).status, 0x9000U);
    EXPECT_FALSE(element(card.cryptogram_answer, "9F4B"));
    EXPECT_TRUE(element(card.cryptogram_answer, "9F26"));
    SigningCard without("debit.toml");
    without.begin();
    EXPECT_EQ(without.generate_ac(0x90).status, 0x6A86U);
}

TEST(FastDynamicAuthentication, CoversTheQualifiersThatTheCardGives) {
    for (const auto& [terminals, cards] :
         {std::pair{"20000080", "0000"}, {"22400080", "4000"}}) {  // a signature of the holder
        SigningCard card("quick.toml");
        card.values["9F02"] = hex("000000000100");
        card.values["9F66"] = hex(terminals);
        card.begin();
        const ByteString added = expect_element(card.options, "9F69");
        ASSERT_EQ(added.size(), 7U);
        EXPECT_EQ(to_hex(part(added, 0, 1)), "01");
        EXPECT_EQ(to_hex(part(added, 5, 2)), cards);
        EXPECT_EQ(expect_element(card.options, "9F6C"), hex(cards));
        recovered(card.card_key(), expect_element(card.options, "9F4B"),
                  join(card.values["9F37"], card.values["9F02"], card.values["5F2A"], added));
    }
}

TEST(FastDynamicAuthentication, OfVersion0IsForTerminalsThatKnowNoOther) {
    SigningCard card("quick.toml");
    card.values["9F02"] = hex("000000000100");
    card.values["9F66"] = hex("36000000");
    card.begin();
    EXPECT_FALSE(element(card.options, "9F69"));
    recovered(card.card_key(), expect_element(card.options, "9F4B"), card.values["9F37"]);
    card.values["9F66"] = hex("28800000");
    card.begin();
    EXPECT_FALSE(element(card.options, "9F4B")) << "an AAC is not signed";
}

TEST(EncipheredPin, GoesUnderTheCardsKeyWhereItHasNoneForPins) {
    std::ifstream file(QUORRIN_PROFILES "/full.toml");
    std::string profile(std::istreambuf_iterator<char>(file), {});
    const auto line = profile.find("pin_key = ");
    profile.erase(line, profile.find('\n', line) - line);
    SigningCard card(card_of(profile));
    card.begin();
    const PublicKey key = card.card_key();
    const ByteString challenge = card.send("0084000000").data;
    const ByteString block =
        join(hex("7F26246810FFFFFFFF"), challenge, filled(key.modulus.size() - 17, 0x5A));
    EXPECT_EQ(
        card.send(join(hex("00200088"), ByteString{static_cast<std::uint8_t>(key.modulus.size())},
                       power(key, block)))
            .status,
        0x9000U);
}

TEST(EncipheredPin, IsTakenWithTheCardsChallengeOnce) {
    SigningCard card("full.toml");
    card.begin();
    const PublicKey key = card.pin_key();
    EXPECT_NE(key.modulus, card.card_key().modulus);
    const auto verify = [&](const char* pin_block, const ByteString& challenge) {
        const ByteString block =
            join(hex("7F"), hex(pin_block), challenge, filled(key.modulus.size() - 17, 0x5A));
        return card
            .send(join(hex("00200088"), ByteString{static_cast<std::uint8_t>(key.modulus.size())},
                       power(key, block)))
            .status;
    };
    constexpr const char* right = "26246810FFFFFFFF";
    const auto challenge = [&] { return card.send("0084000000").data; };
    ByteString number = challenge();
    EXPECT_EQ(verify(right, number), 0x9000U);
    EXPECT_EQ(verify(right, number), 0x6985U) << "no challenge left";
    number = challenge();
    card.send("80CA9F3600");
    EXPECT_EQ(verify(right, number), 0x6985U) << "another command came between";
    EXPECT_EQ(verify("26246811FFFFFFFF", challenge()), 0x63C2U);
    number = challenge();
    number[0] ^= 0x01;
    EXPECT_EQ(verify(right, number), 0x6984U);
    EXPECT_EQ(card.data_value("9F17"), hex("02")) << "that was no try";
    EXPECT_EQ(verify(right, challenge()), 0x9000U);
    EXPECT_EQ(card.data_value("9F17"), hex("03"));
    EXPECT_EQ(card.send("0020008808 26246810FFFFFFFF").status, 0x6700U);
}

TEST(Certificates, ClaimedInAnAipNeedAKey) {
    EXPECT_THROW(card_of(changed(test_profile(), "aip = \"1C00\"", "aip = \"3C00\"")),
                 ConfigurationError);
    EXPECT_THROW(card_of(changed(test_profile(), "aip = \"1C00\"", "aip = \"1D00\"")),
                 ConfigurationError);
}

}  // namespace
}  // namespace quorrin::test
