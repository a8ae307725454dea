// Purchases under what readers and lines do: T=0 cards, and cards that are pulled out.

#include "quorrin/quorrin.h"
#include "tests/purchase/purchase_test.hpp"

namespace quorrin::test {
namespace {

// ---- T=0 ----

// All that a host and a bank see of a purchase with a script.
struct Outcome {
    std::map<char, std::string> holder;
    std::string cryptogram;
    ByteString issuer_data;
    bool accepted = false;
    std::string contents;
    std::string logged_amount;
    std::string logged_atc;

    bool operator==(const Outcome&) const = default;
};

class CardThatSpeaksT0 : public PurchaseTest, public testing::WithParamInterface<ShippedCard> {
  protected:
    Outcome outcome_with(const std::string& line) {
        insert(GetParam(), line.empty() ? "" : "[" + GetParam().slot + ".t0]\n" + line);
        Outcome outcome;
        outcome.holder = terminal->card_holder_data(card.aid, "ABCDEFGHIJKL");
        const auto request =
            request_authorisation({.amount = "000000007654", .unpredictable_number = "12345678"});
        outcome.cryptogram = to_hex(request.arqc);
        const ByteString renamed = holder_record_renamed();
        outcome.issuer_data =
            answer(
                request,
                approval_with(ScriptPhase::BeforeFinalCryptogram,
                              {bank::update_record(card.holder_file, card.holder_record, renamed)}))
                .issuer_data;
        deliver(outcome.issuer_data);
        outcome.accepted = terminal->card_accepted_issuer();
        outcome.contents = card_contents();
        EXPECT_EQ(holder_record(), join(renamed, done));
        const auto logged = terminal->latest_log_record(card.aid);
        outcome.logged_amount = logged.amount;
        outcome.logged_atc = logged.atc;
        return outcome;
    }
};

TEST_P(CardThatSpeaksT0, MakesTheSamePurchase) {
    const Outcome whole_answers = outcome_with("");
    EXPECT_TRUE(whole_answers.accepted);
    EXPECT_EQ(whole_answers.logged_amount, "000000007654");
    for (const char* line : {"portion = 16\n", "portion = 1\nwrong_le = false\n", "portion = 256\n",
                             "get_response = false\n"}) {
        SCOPED_TRACE(line);
        const Outcome split = outcome_with(line);
        EXPECT_EQ(split.holder, whole_answers.holder);
        EXPECT_EQ(split.cryptogram, whole_answers.cryptogram);
        EXPECT_EQ(split.issuer_data, whole_answers.issuer_data);
        EXPECT_EQ(split.contents, whole_answers.contents);
        EXPECT_TRUE(split == whole_answers);
    }
}

TEST_P(CardThatSpeaksT0, GivesNoAnswerWhereGetResponseFails) {
    constexpr std::int64_t file_not_found = -27266;  // 6A82
    const std::string slot = GetParam().slot;
    const std::string fault = "[[fault]]\nslot = \"" + slot +
                              "\"\ncommand = \"00 C0 xx xx\"\nalways = true\nstatus = \"6A 82\"\n";
    insert(GetParam(), "[" + slot + ".t0]\n" + fault);
    EXPECT_EQ(failure_of([&] { request_authorisation(); }), file_not_found);
    insert(GetParam(), fault);
    EXPECT_EQ(failure_of([&] { request_authorisation(); }), 0) << "whole answers need none";
}

INSTANTIATE_TEST_SUITE_P(Cards, CardThatSpeaksT0, testing::ValuesIn(shipped_cards()), CardName());

// ---- a card pulled out ----

struct Removal {
    const char* name;
    const char* card;
    int exchanges;  // that still take place
    std::int64_t code;
};

std::ostream& operator<<(std::ostream& out, const Removal& removal) {
    return out << removal.name;
}

constexpr std::int64_t no_card = -2;
constexpr std::int64_t no_options = -107;  // GET PROCESSING OPTIONS without an answer
constexpr std::int64_t no_cdol1 = 238;

// The credit card is named by its AID; the debit card is found in its directory of one record.
constexpr Removal removals[] = {
    {"BeforeTheOptions", "credit", 1, no_options},
    {"BeforeTheRecords", "credit", 2, no_cdol1},
    {"BeforeTheRecordWithTheCdol", "credit", 3, no_cdol1},
    {"BeforeTheCryptogram", "credit", 4, no_card},
    {"WithinTheDirectory", "debit", 1, no_options},
    {"AfterTheDirectory", "debit", 3, no_card},
    {"BeforeTheOptionsOfTheDebitCard", "debit", 4, no_options},
    {"BeforeTheCryptogramOfTheDebitCard", "debit", 8, no_card},
};

class CardPulledOut : public PurchaseTest, public testing::WithParamInterface<Removal> {};

TEST_P(CardPulledOut, EndsThePurchaseAndTheNextCardMakesOne) {
    const Removal& removal = GetParam();
    insert(shipped_card(removal.card), "[[fault]]\nslot = \"contact\"\nremoved_after = " +
                                           std::to_string(removal.exchanges) + "\n");
    EXPECT_EQ(failure_of([&] { request_authorisation(); }), removal.code);
    EXPECT_EQ(CARD_STATUS, no_card);
    EXPECT_EQ(gucGetArqcFlag, 0);
    EXPECT_EQ(failure_of([&] { terminal->close(); }), no_card) << "nothing to power down";

    insert(shipped_card(removal.card));
    buy();
    EXPECT_TRUE(terminal->card_accepted_issuer());
    EXPECT_EQ(last_online_atc(), card.atc + 1) << "a card of its own";
}

INSTANTIATE_TEST_SUITE_P(Moments, CardPulledOut, testing::ValuesIn(removals), CardName());

// The library reports no failure of the answer's delivery; the card's own data tell.
TEST_F(PurchaseTest, CardPulledOutBeforeTheAnswerHasNotTakenIt) {
    insert(shipped_card("debit"), "[[fault]]\nslot = \"contact\"\nremoved_after = 9\n");
    const auto request = request_authorisation();
    deliver(answer(request).issuer_data);
    EXPECT_EQ(CARD_STATUS, no_card);
    EXPECT_FALSE(terminal->card_accepted_issuer());

    insert(shipped_card("debit"));
    buy();
    EXPECT_TRUE(terminal->card_accepted_issuer());
}

}  // namespace
}  // namespace quorrin::test
