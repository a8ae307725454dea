// What a card keeps over many purchases: its balance, its counters and its cyclic logs.

#include <cstdio>

#include "quorrin/quorrin.h"
#include "tests/purchase/purchase_test.hpp"

namespace quorrin::test {
namespace {

std::string decimal(unsigned number, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*u", digits, number);
    return text;
}

std::string load_log_of(const ShippedCard& card, int selector, std::int64_t result = 0) {
    constexpr int load_log = 2;
    char text[2048] = {};
    EXPECT_EQ(GetIcBankCardTrDetail(load_log, ReaderHandle, selector, card.aid.c_str(), text),
              result);
    return text;
}

std::string load_record(const std::string& amount, const std::string& date, const std::string& type,
                        const std::string& time, const char* merchant, const std::string& atc) {
    return "P012" + amount + "Q012000000000000R0040156S00620" + date + "T001" + type + "U003" +
           time + "V0040156W020" + to_hex(text_bytes(merchant)) + "X002" + atc;
}

TEST_F(PurchaseTest, LoadLogThatReadsLikeTheTransactionLogIsGivenToTheHost) {
    constexpr std::int64_t record_not_found = -27267;  // 6A83: the log is not full
    insert(shipped_card("load_log"));
    const std::string second =
        load_record("000000020000", "250106", "63", "104500", "TEST CASH MACHINE   ", "0002");
    const std::string first =
        load_record("000000010000", "250102", "63", "120000", "TEST BANK BRANCH    ", "0001");
    EXPECT_EQ(load_log_of(card, 1), "128" + second);
    EXPECT_EQ(load_log_of(card, 0, record_not_found), "128" + second + first);

    buy(approval_with(ScriptPhase::AfterFinalCryptogram,
                      {bank::put_data(0x9F79, hex("000000035000"))}),
        {.amount = "000000005000", .date = "260708", .time = "101112"});
    EXPECT_EQ(load_log_of(card, 1), "128" + load_record("000000005000", "260708", "00", "101112",
                                                        "TEST MERCHANT       ", "0003"));
    EXPECT_EQ(load_log_of(card, 0, record_not_found).size(), 3U + 3 * 128);
}

TEST_F(PurchaseTest, LoadLogOfTheDebitCardIsRefusedForItsFormatsTag) {
    insert(shipped_card("debit"));
    EXPECT_EQ(load_log_of(card, 1, -107), "");
}

class TwelvePurchases : public PurchaseTest {
  protected:
    static constexpr unsigned purchases = 12;

    // The n-th purchase is of n yuan, and the bank loads the card with 100 n.
    static std::string amount(unsigned n) { return decimal(100 * n, 12); }
    static std::string balance(unsigned n) { return decimal(10000 * n, 12); }
    static std::string time(unsigned n) { return "1005" + decimal(n, 2); }

    void buy_and_load(unsigned n) {
        buy(approval_with(ScriptPhase::AfterFinalCryptogram,
                          {bank::put_data(0x9F79, hex(balance(n)))}),
            {.amount = amount(n), .date = "260708", .time = time(n)});
    }

    std::string balance_of_card() { return terminal->card_holder_data(card.aid, "E").at('E'); }
};

TEST_F(TwelvePurchases, LeaveTheBalanceThatTheBankLoadsEachTime) {
    insert(shipped_card("debit"));
    EXPECT_EQ(balance_of_card(), "000000010000");
    for (unsigned n = 1; n <= purchases; ++n) {
        buy_and_load(n);
        EXPECT_EQ(balance_of_card(), balance(n));
        buy({}, {.amount = amount(n)});
        EXPECT_EQ(balance_of_card(), balance(n)) << "what is paid online is not taken from it";
    }
}

TEST_F(TwelvePurchases, LeaveTheTenNewestInTheFullLog) {
    insert(shipped_card("debit"));
    for (unsigned n = 1; n <= purchases; ++n) {
        buy_and_load(n);
        EXPECT_EQ(last_online_atc(), card.atc + n);
    }
    power_again();

    constexpr int transaction_log = 1;
    constexpr int all = 0;
    char text[2048] = {};
    ASSERT_EQ(GetIcBankCardTrDetail(transaction_log, ReaderHandle, all, card.aid.c_str(), text), 0);
    // Ten records of 128 characters each, newest first, after the length of one.
    const std::string log = text;
    ASSERT_EQ(log.size(), 3U + 10 * 128);
    EXPECT_EQ(log.substr(0, 3), "128");
    for (unsigned i = 0; i < 10; ++i) {
        const unsigned n = purchases - i;
        EXPECT_EQ(log.substr(3 + 128 * i, 128),
                  "P012" + amount(n) + "Q012000000000000R0040156S00620260708T00100U003" + time(n) +
                      "V0040156W020" + to_hex(text_bytes("TEST MERCHANT       ")) + "X002" +
                      to_hex(ByteString{0x00, static_cast<std::uint8_t>(card.atc + n)}));
    }
}

// GetIcBankCardTrDetail does not read the load log of this card: its format comes under a tag of its
// own.
TEST_F(TwelvePurchases, LeaveTheFiveNewestInTheFullLoadLog) {
    insert(shipped_card("debit"));
    for (unsigned n = 1; n <= purchases; ++n) {
        buy_and_load(n);
    }
    constexpr std::uint8_t load_log_file = 12;
    for (std::uint8_t number = 1; number <= 5; ++number) {
        const unsigned n = purchases + 1U - number;
        // The changed element with its value before and after, then 9A 9F21 9F1A 9F4E 9F36.
        EXPECT_EQ(to_hex(card_record(load_log_file, number)),
                  "9F79" + balance(n - 1) + balance(n) + "260708" + time(n) + "0156" +
                      to_hex(text_bytes("TEST MERCHANT       ")) +
                      to_hex(ByteString{0x00, static_cast<std::uint8_t>(card.atc + n)}) + "9000");
    }
    EXPECT_EQ(card_record(load_log_file, 6), hex("6A83"));
}

TEST_F(TwelvePurchases, LeaveTheTwoNewestInTheLogOfTheOldCard) {
    insert(shipped_card("old"));
    for (unsigned n = 1; n <= purchases; ++n) {
        buy({}, {.amount = amount(n), .date = "260708"});
    }
    // 9F36 9F02 9F03 9A 9C
    EXPECT_EQ(card_record(20, 1), hex("000C 000000001200 000000000000 260708 00 9000"));
    EXPECT_EQ(card_record(20, 2), hex("000B 000000001100 000000000000 260708 00 9000"));
    EXPECT_EQ(card_record(20, 3), hex("6A83"));
}

// ---- quick PBOC: paid from the balance, without the bank ----

class QuickPayment : public PurchaseTest {
  protected:
    // Offers quick PBOC and no whole contactless transaction. True when the card has paid.
    bool pay(const std::string& amount) {
        constexpr std::uint8_t quick_only[] = {0x20, 0x00, 0x00, 0x00};
        EXPECT_EQ(emvSelectAid(ReaderHandle, card.aid.c_str()), 0);
        emvSetTermTranCapa(quick_only);
        EXPECT_EQ(emvGPO(ReaderHandle, ("P012" + amount + "R0040156").c_str(), TagMapPDolTerData),
                  0);
        // Card verification results in 9F10: the type of the first cryptogram in byte 2, bits 6, 5.
        const ByteString issuer_data = stored_element(0x9F10);
        return issuer_data.size() == 8 && (issuer_data[4] & 0x30) == 0x10;
    }
    ByteString balance() const { return card_data(0x9F79); }
};

TEST_F(QuickPayment, IsTakenFromTheBalanceWhileThatAndTheLimitAllowIt) {
    insert(shipped_card("quick"));
    EXPECT_FALSE(pay("000000002001")) << "above the limit of one payment";
    EXPECT_EQ(balance(), hex("9F79 06 000000003000 9000"));
    EXPECT_TRUE(pay("000000002000"));
    EXPECT_EQ(balance(), hex("9F79 06 000000001000 9000"));
    EXPECT_FALSE(pay("000000001001")) << "more than is left";
    EXPECT_TRUE(pay("000000000999"));
    EXPECT_EQ(balance(), hex("9F79 06 000000000001 9000"));
    EXPECT_EQ(last_online_atc(), card.last_online_atc);
    EXPECT_EQ(terminal->latest_log_record(card.aid).amount, "000000000999");
}

}  // namespace
}  // namespace quorrin::test
