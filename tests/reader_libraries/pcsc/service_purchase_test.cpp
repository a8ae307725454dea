// Whole purchases by way of the real service: the library, the reader library, the service, a virtual
// reader and a simulated card in it, with the test bank behind the host.

#include <quorrin/host.hpp>
#include <quorrin/testbank.hpp>

#include "reader_libraries/simulator/card/profile_card.hpp"
#include "tests/reader_libraries/pcsc/real_service_test.hpp"

namespace quorrin::test {
namespace {

using host::Amount;
using host::CardDecision;
using host::IssuerAuthentication;
using host::Search;

// A debit card that announces its answers, as over T=0.
class T0Card final : public simulator::CardDevice {
  public:
    explicit T0Card(std::unique_ptr<simulator::CardDevice> card)
        : card_(std::move(card)), framing_(*card_, {.portion = 64}) {}
    ByteString power_on() override { return framing_.power_on(); }
    void power_off() override { framing_.power_off(); }
    ByteString transmit(std::span<const std::uint8_t> command) override {
        return framing_.transmit(command);
    }

  private:
    std::unique_ptr<simulator::CardDevice> card_;
    simulator::T0Framing framing_;
};

struct Way {
    const char* name;
    Place place;
    Search search;
    int kind;
    bool t0;
};

std::ostream& operator<<(std::ostream& out, const Way& way) {
    return out << way.name;
}

constexpr Way ways[] = {
    {"ContactT0", contact_place, Search::Contact, QUORRIN_CONTACT_CARD, true},
    {"ContactT1", contact_place, Search::Contact, QUORRIN_CONTACT_CARD, false},
    {"ContactlessT0", contactless_place, Search::ContactlessFirst, QUORRIN_CONTACTLESS_CARD, true},
    {"ContactlessT1", contactless_place, Search::ContactlessFirst, QUORRIN_CONTACTLESS_CARD, false},
    {"ContactAfterAnEmptyContactlessReader", contact_place, Search::ContactlessFirst,
     QUORRIN_CONTACT_CARD, true},
};

host::PurchaseTerms terms_of(const std::string& amount) {
    host::PurchaseTerms terms;
    terms.amount = Amount::parse(amount);
    terms.merchant = "TEST TEA HOUSE";
    return terms;
}

class RealPurchase : public RealService, public testing::WithParamInterface<Way> {};

TEST_P(RealPurchase, IsMadeTwiceAndTheCardKeepsItsState) {
    const Way& way = GetParam();
    auto debit = simulator::load_card_file(QUORRIN_PROFILES "/debit.toml");
    const std::shared_ptr<simulator::CardDevice> card =
        way.t0 ? std::make_unique<T0Card>(std::move(debit)) : std::move(debit);
    const ByteString& atr = way.t0 ? t0_answer_to_reset : t1_answer_to_reset;
    const CardInReader in_reader(way.place, card, atr);
    const host::TestBank bank;

    std::uint16_t last_atc = 0;
    for (const char* amount : {"128.50", "7.05"}) {
        const host::Reader reader;
        host::Card found = reader.find_card(way.search);
        EXPECT_EQ(found.kind(), way.kind);
        EXPECT_EQ(found.atr(), atr);
        const auto balance = found.holder().balance;
        ASSERT_TRUE(balance.has_value());
        EXPECT_EQ(*balance, Amount::parse(last_atc == 0 ? "100.00" : "300.00"));

        host::Purchase purchase = found.start_purchase(terms_of(amount));
        EXPECT_EQ(purchase.decision(), CardDecision::AsksOnline);
        const std::uint16_t atc = purchase.online().cryptogram.atc;
        if (last_atc != 0) {
            EXPECT_EQ(atc, last_atc + 2) << "one for the holder's data, one for the purchase";
        }
        last_atc = atc;
        const auto answer = bank.answer(purchase.online(), {"put 9F79 000000030000"});
        EXPECT_TRUE(answer.cryptogram_right) << answer.reason;
        const host::Outcome outcome = purchase.finish(answer.issuer_text);
        EXPECT_TRUE(outcome.approved());
        EXPECT_EQ(outcome.authentication, IssuerAuthentication::Accepted);
        ASSERT_EQ(outcome.scripts.size(), 1U);
        EXPECT_EQ(outcome.scripts[0].result, host::ScriptResult::Result::Successful);

        const auto log = found.log();
        ASSERT_FALSE(log.empty());
        EXPECT_EQ(log[0].amount, Amount::parse(amount));
        EXPECT_EQ(log[0].merchant, "TEST TEA HOUSE");
        EXPECT_EQ(log[0].atc, atc);
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, RealPurchase, testing::ValuesIn(ways),
                         [](const auto& row) { return std::string(row.param.name); });

class RealHost : public RealService {};

TEST_F(RealHost, IsToldWhereTheCardWasPulledOut) {
    const auto card = std::shared_ptr<simulator::CardDevice>(
        simulator::load_card_file(QUORRIN_PROFILES "/debit.toml"));
    insert(card, t1_answer_to_reset);
    {
        const host::Reader reader;
        host::Card found = reader.find_card(Search::Contact);
        host::Purchase purchase = found.start_purchase(terms_of("1.00"));
        pull();
        EXPECT_THROW(found.holder(), host::Failure);
        EXPECT_THROW(reader.find_card(Search::Contact), host::Failure);
    }
    insert(card, t1_answer_to_reset);
    const host::Reader reader;
    EXPECT_EQ(reader.find_card(Search::Contact).holder().name, "TEST/CARD HOLDER");
}

TEST_F(RealHost, GetsAnEndOfAnEndlessChain) {
    insert(std::make_shared<PlayedCard>(t0_answer_to_reset, [](const ByteString&) {
        return ByteString{0x61, 0x10};
    }));
    const host::Reader reader;
    const host::Card found = reader.find_card(Search::Contact);
    std::uint8_t response[1024];
    std::uint32_t length = 0;
    // The chain has given no byte: the library reports that.
    EXPECT_EQ(IccComm(ReaderHandle, QUORRIN_CONTACT_CARD, 0x80, 0xCA, 0x9F, 0x36, 0, nullptr, 0, 1,
                      response, &length),
              0);
    EXPECT_EQ(CARD_SW1, 0x00);
    EXPECT_EQ(inserted->heard().size(), 2U + 64U) << "off, on, and the commands";
}

}  // namespace
}  // namespace quorrin::test
