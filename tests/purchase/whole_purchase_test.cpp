// A purchase with each of the shipped cards, from the first contact to the log record.

#include "quorrin/quorrin.h"
#include "tests/purchase/purchase_test.hpp"

namespace quorrin::test {
namespace {

std::string four_hex_digits(std::uint16_t number) {
    return to_hex(
        ByteString{static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)});
}

class WholePurchase : public PurchaseTest, public testing::WithParamInterface<ShippedCard> {
  protected:
    WholePurchase() { insert(GetParam()); }
};

TEST_P(WholePurchase, StartsWithTheCardHoldersData) {
    const auto data = terminal->card_holder_data(card.aid, "ABJ");
    // The number is packed; an odd last digit is filled up with F (EMV book 3, annex A).
    EXPECT_EQ(data.at('A'), card.pan.size() % 2 == 0 ? card.pan : card.pan + "F");
    EXPECT_EQ(data.at('B'), card.holder);
    EXPECT_EQ(data.at('J'), card.name == "credit" ? "00" : "01");
}

TEST_P(WholePurchase, IsAuthorisedByTheBankAndTakenByTheCard) {
    const Purchase purchase{.amount = "000000023456",
                            .date = "260314",
                            .time = "151617",
                            .merchant = "TEST CORNER SHOP    "};
    const std::string cryptogram = terminal->request_cryptogram(card.aid, purchase);
    const auto request = terminal->online_request();
    EXPECT_EQ(stored_element(0x9F27), hex("80")) << "the card asks to go online";
    EXPECT_EQ(cryptogram, to_hex(request.arqc));
    EXPECT_EQ(request.pan, card.pan);
    EXPECT_EQ(request.covered.atc, card.atc + 1);
    EXPECT_EQ(to_hex(request.covered.amount_authorised), purchase.amount);
    EXPECT_EQ(to_hex(request.covered.date), purchase.date);

    bank::Decision decision;
    decision.authorisation_code = {'1', '2', '3', 'A', 'B', 'C'};
    const auto bank = answer(request, decision);
    EXPECT_TRUE(bank.approved);
    EXPECT_EQ(last_online_atc(), card.last_online_atc);
    deliver(bank.issuer_data);
    EXPECT_EQ(stored_element(0x8A), hex("3030"));
    EXPECT_EQ(stored_element(0x89), hex("313233414243"));
    EXPECT_TRUE(terminal->card_accepted_issuer());
    EXPECT_EQ(last_online_atc(), request.covered.atc);
    EXPECT_TRUE(terminal->script_results().empty());

    const auto logged = terminal->latest_log_record(card.aid);
    EXPECT_EQ(logged.amount, purchase.amount);
    EXPECT_EQ(logged.date, "20" + purchase.date);
    EXPECT_EQ(logged.time, card.log_names_merchant ? purchase.time : "000000");
    EXPECT_EQ(logged.merchant, card.log_names_merchant ? purchase.merchant : "");
    EXPECT_EQ(logged.atc, four_hex_digits(request.covered.atc));
    terminal->close();
}

TEST_P(WholePurchase, HasACounterAndACryptogramOfItsOwn) {
    const auto first = buy();
    const auto second = buy();
    power_again();
    const auto third = buy();
    EXPECT_EQ(first.covered.atc, card.atc + 1);
    EXPECT_EQ(second.covered.atc, card.atc + 2);
    EXPECT_EQ(third.covered.atc, card.atc + 3);
    EXPECT_NE(first.arqc, second.arqc);
    EXPECT_NE(second.arqc, third.arqc);
    EXPECT_NE(first.arqc, third.arqc);
    EXPECT_EQ(last_online_atc(), third.covered.atc);
}

TEST_P(WholePurchase, IsNotAuthenticatedWhenTheBankDeclinesAWrongCryptogram) {
    auto request = request_authorisation();
    const std::string before = card_contents();
    request.arqc[0] ^= 0x01;
    const auto refusal = bank::answer_online(
        card.product(), request,
        approval_with(ScriptPhase::BeforeFinalCryptogram, {bank::application_block()}));
    EXPECT_FALSE(refusal.cryptogram_right);
    EXPECT_FALSE(refusal.approved);
    EXPECT_EQ(refusal.issuer_data, hex("8A02 3035"));
    deliver(refusal.issuer_data);
    EXPECT_EQ(stored_element(0x8A), hex("3035"));
    EXPECT_FALSE(terminal->card_accepted_issuer());
    EXPECT_EQ(last_online_atc(), card.last_online_atc);
    EXPECT_EQ(card_contents(), before);

    buy();
    EXPECT_TRUE(terminal->card_accepted_issuer()) << "the next one is taken";
}

TEST_P(WholePurchase, IsAuthenticatedWhenTheBankDeclinesTheRightCryptogram) {
    bank::Decision decision;
    decision.response_code = {'5', '1'};
    const auto bank = answer(request_authorisation(), decision);
    EXPECT_FALSE(bank.approved);
    deliver(bank.issuer_data);
    EXPECT_EQ(stored_element(0x8A), hex("3531"));
    EXPECT_TRUE(terminal->card_accepted_issuer());
}

INSTANTIATE_TEST_SUITE_P(Cards, WholePurchase, testing::ValuesIn(shipped_cards()), CardName());

// Where ICRT_GetICPanName looks for the user's card, and where it finds it.
struct Search {
    const char* name;
    std::int32_t where;
    int card_kind;
};

std::ostream& operator<<(std::ostream& out, const Search& search) {
    return out << search.name;
}

constexpr Search searches[] = {
    {"contact", 0, 11},
    {"contactless", 1, 12},
    {"contactless_first", 2, 12},
};

class BuiltInReader : public PurchaseTest, public testing::WithParamInterface<Search> {};

TEST_P(BuiltInReader, TellsNumberAndNameOfTheDebitCard) {
    const Search& search = GetParam();
    constexpr std::int32_t preset = -7;
    char pan[21] = {};
    std::int32_t pan_length = preset;
    ByteString name(32);
    std::uint8_t name_length = 0;
    ASSERT_EQ(ICRT_GetICPanName(search.where, 0, pan, &pan_length, name.data(), &name_length), 0);
    EXPECT_EQ(EG_nUserCardType, search.card_kind);
    EXPECT_STREQ(pan, "9999010000000011");
    EXPECT_EQ(pan_length, preset) << "a number without filler leaves the length alone";
    name.resize(name_length);
    EXPECT_EQ(name, text_bytes("TEST/CARD HOLDER"));
    EXPECT_EQ(ReaderHandle, 0) << "the reader is closed again";
}

INSTANTIATE_TEST_SUITE_P(Slots, BuiltInReader, testing::ValuesIn(searches), CardName());

}  // namespace
}  // namespace quorrin::test
