// host.hpp on the simulated reader: what a host in C++ sees.
#include <quorrin/host.hpp>
#include <quorrin/testbank.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <thread>

#include "tests/support/temporary_directory.hpp"

namespace quorrin::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* debit_aid = "A000000333010101";

// Each test has a reader file of its own.
class Host : public testing::Test {
  protected:
    Host() { use(slot("contact", "debit")); }
    ~Host() override { unsetenv("QUORRIN_SIMULATOR"); }

    static std::string slot(const std::string& name, const std::string& profile) {
        return "[" + name + "]\nprofile = \"" QUORRIN_PROFILES "/" + profile + ".toml\"\n";
    }

    void use(const std::string& reader_file) {
        directory_.write("reader.toml", reader_file);
        setenv("QUORRIN_SIMULATOR", (directory_.path() / "reader.toml").c_str(), 1);
    }

  private:
    test::TemporaryDirectory directory_;
};

PurchaseTerms terms_of(const std::string& amount) {
    PurchaseTerms terms;
    terms.amount = Amount::parse(amount);
    terms.merchant = "TEST TEA HOUSE";
    terms.date = {26, 2, 28};
    terms.time = {13, 14, 15};
    return terms;
}

template <typename Call>
Failure failure_of(const Call& call) {
    try {
        call();
    } catch (const Failure& failure) {
        return failure;
    }
    ADD_FAILURE() << "nothing failed";
    return Failure("nothing", 0);
}

TEST_F(Host, OpensAndClosesTheReaderWithTheScope) {
    {
        const Reader reader;
        EXPECT_EQ(reader.serial(), "SIM00000001");
        EXPECT_GT(ReaderHandle, 0);
    }
    EXPECT_EQ(ReaderHandle, 0);
    Reader again;
    again.close();
    EXPECT_EQ(ReaderHandle, 0);
    EXPECT_THROW(again.serial(), Misuse);
}

TEST_F(Host, PowersTheCardDownWithTheScope) {
    const Reader reader;
    std::optional<Card> card = reader.find_card();
    EXPECT_EQ(to_hex(card->atr()), "3B6D000053494D20544553542043415244");
    EXPECT_EQ(card->kind(), QUORRIN_CONTACT_CARD);
    Card moved = std::move(*card);
    card.reset();  // the card that was moved away is not powered down
    EXPECT_EQ(moved.holder().name, "TEST/CARD HOLDER");
}

struct SearchRow {
    Search search;
    const char* occupied;
    std::int64_t result;  // a card kind, or a failure
};

TEST_F(Host, FindsTheCardByOrderOfPreference) {
    const SearchRow rows[] = {
        {Search::Contact, "contact", 11},          {Search::Contact, "contactless", -2},
        {Search::Contactless, "contactless", 12},  {Search::Contactless, "contact", -2},
        {Search::ContactFirst, "contact", 11},     {Search::ContactFirst, "contactless", 12},
        {Search::ContactlessFirst, "contact", 11}, {Search::ContactlessFirst, "contactless", 12},
        {Search::ContactFirst, "further", -2},     {Search::ContactlessFirst, "further", -2},
    };
    for (const SearchRow& row : rows) {
        SCOPED_TRACE(std::string(row.occupied) + " " +
                     std::to_string(static_cast<int>(row.search)));
        use(slot(row.occupied, "debit"));
        const Reader reader;
        if (row.result > 0) {
            EXPECT_EQ(reader.find_card(row.search).kind(), row.result);
        } else {
            EXPECT_EQ(failure_of([&] { reader.find_card(row.search); }).code(), row.result);
        }
    }
}

TEST_F(Host, LooksInTheContactSlotForAMuteContactlessCardOnly) {
    use(slot("contact", "debit") + slot("contactless", "debit") +
        "[[fault]]\nslot = \"contactless\"\nmute = true\n");
    {
        const Reader reader;
        EXPECT_EQ(reader.find_card(Search::ContactlessFirst).kind(), 11);
    }
    use(slot("contact", "debit") + slot("contactless", "debit") +
        "[[fault]]\nslot = \"contactless\"\npower_on = 1\nalways = true\nresult = -11\n");
    const Reader reader;
    const Failure failure = failure_of([&] { reader.find_card(Search::ContactlessFirst); });
    EXPECT_EQ(failure.code(), QUORRIN_CONNECTION_ERROR);
    EXPECT_STREQ(failure.step(), "PowerUp");
}

TEST_F(Host, ReadsTheHolderWithTheCardNumberMasked) {
    const Reader reader;
    Card card = reader.find_card();
    const HolderInformation holder = card.holder();
    EXPECT_EQ(holder.name, "TEST/CARD HOLDER");
    EXPECT_EQ(holder.pan.masked(), "999901******0011");
    EXPECT_EQ(holder.pan.reveal(), "9999010000000011");
    EXPECT_EQ(holder.track2.pan(), holder.pan);
    EXPECT_EQ(holder.track2.masked(), "999901******0011" + std::string(21, '*'));
    ASSERT_TRUE(holder.expires.has_value());
    EXPECT_EQ(holder.expires->text(), "2030-12-31");
    EXPECT_EQ(holder.balance, Amount::parse("100.00"));
    EXPECT_EQ(holder.sequence, 0x01);
    std::ostringstream printed;
    printed << holder.pan << ' ' << holder.track2 << ' ' << *holder.balance;
    EXPECT_EQ(printed.str(),
              "999901******0011 999901******0011" + std::string(21, '*') + " 100.00");
}

TEST_F(Host, ReadsACardNumberOfAnOddNumberOfDigitsWithoutItsFiller) {
    use(slot("contact", "old"));
    const Reader reader;
    Card card = reader.find_card();
    const std::string aid = card.applications().at(0);
    EXPECT_EQ(card.holder(aid).pan.reveal(), "9999050000000000060");
    EXPECT_EQ(card.start_purchase(terms_of("1.00"), aid).online().pan.reveal(),
              "9999050000000000060");
}

TEST_F(Host, ListsTheApplicationsOfEitherDirectory) {
    use(slot("contact", "two_applications") + slot("contactless", "quick"));
    const Reader reader;
    EXPECT_THAT(reader.find_card(Search::Contact).applications(),
                ElementsAre("A000000333010102", "A000000333010101"));
    EXPECT_THAT(reader.find_card(Search::Contactless).applications(), ElementsAre(debit_aid));
}

TEST_F(Host, TellsWhatTheCInterfaceTellsOfAFailure) {
    const Reader reader;
    Card card = reader.find_card();
    const Failure failure = failure_of([&] { card.holder("A0000099990101"); });
    EXPECT_EQ(failure.code(), QUORRIN_FILE_NOT_FOUND);
    EXPECT_STREQ(failure.name(), "QUORRIN_FILE_NOT_FOUND");
    EXPECT_STREQ(failure.step(), "getIccInfo");
    EXPECT_EQ(failure.status_word().text(), "6A82");
    EXPECT_THAT(failure.meaning(), HasSubstr("no such file or application"));
    EXPECT_THAT(failure.next(), testing::StartsWith("Go on with another"));
    char text[128] = {};
    TransRetCode(QUORRIN_FILE_NOT_FOUND, text);
    EXPECT_EQ(failure.message(), text);
    EXPECT_STREQ(failure.what(),
                 (std::string("getIccInfo: QUORRIN_FILE_NOT_FOUND (-27266), status word 6A82: ") +
                  failure.meaning() + " " + failure.next())
                     .c_str());
}

TEST_F(Host, KnowsCodesWithoutAMessageByNameToo) {
    const Failure failure("getARQC", QUORRIN_NO_CDOL1, {0x90, 0x00});
    EXPECT_STREQ(failure.name(), "QUORRIN_NO_CDOL1");
    EXPECT_EQ(failure.message(), "");
    EXPECT_STREQ(Failure("x", -12345).name(), "QUORRIN_UNKNOWN");
}

TEST_F(Host, SellsOnlineWithEveryKindOfCard) {
    const TestBank bank;
    const std::pair<const char*, const char*> rows[] = {{"debit", ""},
                                                        {"credit", "A000000333010102"},
                                                        {"gm", ""},
                                                        {"two_applications", ""},
                                                        {"two_applications", debit_aid}};
    for (const auto& [profile, aid] : rows) {
        SCOPED_TRACE(profile);
        use(slot("contact", profile));
        const Reader reader;
        Card card = reader.find_card();
        Purchase purchase = card.start_purchase(terms_of("128.50"), aid);
        EXPECT_EQ(purchase.decision(), CardDecision::AsksOnline);
        const BankAnswer answer = bank.answer(purchase.online());
        EXPECT_TRUE(answer.cryptogram_right) << answer.reason;
        const Outcome outcome = purchase.finish(answer.issuer_text);
        EXPECT_TRUE(outcome.approved());
        EXPECT_EQ(outcome.response_code, "00");
        EXPECT_EQ(outcome.authorisation_code, "Q00001");
        EXPECT_EQ(outcome.authentication, IssuerAuthentication::Accepted);
        EXPECT_EQ(outcome.authentication_status.text(), "9000");
        EXPECT_EQ(outcome.last_status.text(), "9000");
        EXPECT_TRUE(outcome.tvr.none());
        EXPECT_TRUE(outcome.scripts.empty());
        EXPECT_TRUE(outcome.not_taken.empty());
        const std::uint16_t atc = purchase.online().cryptogram.atc;
        EXPECT_EQ(card.get_data(0x9F13), (ByteString{static_cast<std::uint8_t>(atc >> 8),
                                                     static_cast<std::uint8_t>(atc)}));
    }
}

TEST_F(Host, SendsTheTermsToTheCardAndTheBank) {
    const Reader reader;
    Card card = reader.find_card();
    PurchaseTerms terms = terms_of("1.23");
    terms.other = Amount(45);
    terms.currency = 978;
    terms.country = 276;
    terms.type = 0x20;
    terms.unpredictable_number = {{0xDE, 0xAD, 0xBE, 0xEF}};
    terms.elements = {{0x9F1E, ByteString(8, '7')}, {0x9F35, {0x21}}};
    const Purchase purchase = card.start_purchase(terms, debit_aid);
    EXPECT_EQ(purchase.element(0x9F02), from_hex("000000000123"));
    EXPECT_EQ(purchase.element("amount, other (numeric)"), from_hex("000000000045"));
    const std::string field = to_hex(purchase.online().field_55);
    for (const char* const object :
         {"9F3704DEADBEEF", "9A03260228", "9C0120", "9F0206000000000123", "5F2A020978",
          "9F1A020276", "9F0306000000000045", "95050000000000", "9F350121",
          "9F1E083737373737373737", "9F2701", "8408A000000333010101"}) {
        EXPECT_THAT(field, HasSubstr(object));
    }
    EXPECT_EQ(field.substr(0, 6), "9F2608");
    EXPECT_TRUE(TestBank().answer(purchase.online()).cryptogram_right);
}

TEST_F(Host, MakesAnotherUnpredictableNumberForEachPurchase) {
    const Reader reader;
    Card card = reader.find_card();
    const auto first = card.start_purchase(terms_of("1.00")).element(0x9F37);
    const auto second = card.start_purchase(terms_of("1.00")).element(0x9F37);
    EXPECT_NE(first, second);
}

TEST_F(Host, LetsTheTerminalSetItsFindingsBeforeTheCryptogram) {
    const Reader reader;
    Card card = reader.find_card();
    PurchaseTerms terms = terms_of("1.00");
    std::optional<ByteString> expires;
    terms.assess = [&](Tvr& tvr, Tsi& tsi) {
        expires = card.element("application expiration date");
        tvr.set(TvrBit::FloorLimitExceeded);
        tvr.set(TvrBit::NewCard);
        tsi.set(TsiBit::TerminalRiskManagementPerformed);
    };
    Purchase purchase = card.start_purchase(terms);
    EXPECT_EQ(expires, from_hex("301231"));
    EXPECT_EQ(to_hex(purchase.tvr().bytes()), "0008008000");
    EXPECT_THAT(to_hex(purchase.online().field_55), HasSubstr("95050008008000"));
    const BankAnswer answer = TestBank().answer(purchase.online());
    EXPECT_TRUE(answer.cryptogram_right) << answer.reason;
    const Outcome outcome = purchase.finish(answer.issuer_text);
    EXPECT_EQ(outcome.tvr.text(), "New card; Transaction exceeds floor limit");
    EXPECT_EQ(outcome.tsi.text(), "Terminal risk management was performed");
}

TEST_F(Host, TellsThatTheCardRefusedTheBanksAuthentication) {
    const Reader reader;
    Card card = reader.find_card();
    Purchase purchase = card.start_purchase(terms_of("1.00"));
    BankDecision decision;
    decision.arpc = QUORRIN_BANK_ARPC_WRONG;
    const Outcome outcome =
        purchase.finish(TestBank().answer(purchase.online(), {}, decision).issuer_text);
    EXPECT_EQ(outcome.authentication, IssuerAuthentication::Refused);
    EXPECT_EQ(outcome.authentication_status.text(), "6300");
    EXPECT_EQ(outcome.authentication_code, QUORRIN_AUTHENTICATION_FAILED);
    EXPECT_EQ(outcome.response_code, "00");
    EXPECT_FALSE(outcome.approved());
    EXPECT_NE(card.get_data(0x9F13), card.get_data(0x9F36));
}

TEST_F(Host, TellsAnExternalAuthenticateThatWasLostFromOneThatWasRefused) {
    use(slot("contact", "debit") +
        "[[fault]]\nslot = \"contact\"\ncommand = \"00 82 xx xx\"\nresult = -4\n");
    const Reader reader;
    Card card = reader.find_card();
    Purchase purchase = card.start_purchase(terms_of("1.00"));
    const Outcome outcome = purchase.finish(TestBank().answer(purchase.online()).issuer_text);
    EXPECT_EQ(outcome.authentication, IssuerAuthentication::NoAnswer);
    EXPECT_EQ(outcome.authentication_code, QUORRIN_CARD_MUTE);
    EXPECT_FALSE(outcome.approved());
}

TEST_F(Host, SendsNoAuthenticationThatTheBankDidNotGive) {
    const Reader reader;
    Card card = reader.find_card();
    Purchase purchase = card.start_purchase(terms_of("1.00"));
    const Outcome outcome = purchase.finish("8A023531");
    EXPECT_EQ(outcome.authentication, IssuerAuthentication::NotSent);
    EXPECT_EQ(outcome.response_code, "51");
    EXPECT_FALSE(outcome.approved());
    EXPECT_EQ(outcome.last_status.text(), "9000");  // still that of GENERATE AC
}

TEST_F(Host, NamesWhatBecameOfEachScript) {
    const Reader reader;
    Card card = reader.find_card();
    Purchase purchase = card.start_purchase(terms_of("1.00"));
    const BankAnswer answer = TestBank().answer(
        purchase.online(),
        {"71/00000001: put 9F78 000000080000", "72/00000002: put 9F79 000000030000"});
    // A third script, with a command of three bytes.
    const Outcome outcome = purchase.finish(answer.issuer_text + "720C9F180400000003860304DA9F");
    ASSERT_EQ(outcome.scripts.size(), 3U);
    EXPECT_STREQ(outcome.scripts[0].name(), "successful");
    EXPECT_EQ(to_hex(outcome.scripts[0].identifier), "00000001");
    EXPECT_STREQ(outcome.scripts[1].name(), "successful");
    EXPECT_STREQ(outcome.scripts[2].name(), "failed");
    EXPECT_EQ(outcome.scripts[2].failed_command, 1U);
    EXPECT_TRUE(outcome.tvr.has(TvrBit::ScriptFailedAfterFinalAc));
    EXPECT_FALSE(outcome.tvr.has(TvrBit::ScriptFailedBeforeFinalAc));
    EXPECT_TRUE(outcome.tsi.has(TsiBit::ScriptProcessingPerformed));
    const HolderInformation holder = card.holder();
    EXPECT_EQ(holder.balance, Amount::parse("300.00"));
    EXPECT_EQ(holder.single_payment_limit, Amount::parse("800.00"));
}

TEST_F(Host, NamesTheObjectsThatTheLibraryPassedOver) {
    const std::pair<const char*, std::vector<Tag>> rows[] = {
        {"8A0230308906303030303030", {}},
        {"89063030303030308A023030", {0x8A}},  // 8A stands first or nowhere
        {"8A03303030", {0x8A}},                // a wrong length
        {"8A023030910401020304", {0x91}},      // too short
        {"8A0230309F3602000191080102030405060708", {0x9F36}},
        {"8A0230308A", {0x8A}},  // cut off
    };
    const Reader reader;
    Card card = reader.find_card();
    for (const auto& [answer, expected] : rows) {
        SCOPED_TRACE(answer);
        EXPECT_EQ(card.start_purchase(terms_of("1.00")).finish(answer).not_taken, expected);
    }
    const std::string many_scripts = [] {
        std::string text = "8A023030";
        for (int i = 0; i < 8; ++i) {
            text +=
                "7224"
                "8622" +
                std::string(2 * 0x22, '0');
        }
        return text;
    }();
    EXPECT_EQ(card.start_purchase(terms_of("1.00")).finish(many_scripts).not_taken,
              std::vector<Tag>(8, 0x72));
}

TEST_F(Host, ReadsTheLogAsRecords) {
    use(slot("contact", "gm"));
    const Reader reader;
    Card card = reader.find_card();
    EXPECT_TRUE(card.log().empty());  // room for ten records, and none is written yet
    PurchaseTerms terms = terms_of("128.50");
    const Purchase first = card.start_purchase(terms);
    terms.amount = Amount::parse("0.07");
    const Purchase second = card.start_purchase(terms);
    const std::vector<LogRecord> log = card.log();
    ASSERT_EQ(log.size(), 2U);
    EXPECT_EQ(log[0].amount.text(), "0.07");
    EXPECT_EQ(log[0].atc, second.online().cryptogram.atc);
    const LogRecord& record = log[1];
    EXPECT_EQ(record.amount.text(), "128.50");
    EXPECT_EQ(record.other, Amount());
    EXPECT_EQ(record.currency, "0156");
    EXPECT_EQ(record.country, "0156");
    EXPECT_EQ(record.date, (Date{26, 2, 28}));
    EXPECT_EQ(record.time, (Time{13, 14, 15}));
    EXPECT_EQ(record.type, 0x00);
    EXPECT_EQ(record.merchant, "TEST TEA HOUSE");
    EXPECT_EQ(record.atc, first.online().cryptogram.atc);
}

TEST_F(Host, ReadsALogThatIsFull) {
    const Reader reader;
    const std::vector<LogRecord> log = reader.find_card().log();
    ASSERT_EQ(log.size(), 10U);
    EXPECT_EQ(log[0].merchant, "TEST SUPERMARKET");
    EXPECT_EQ(log[0].amount.text(), "39.80");
    EXPECT_EQ(log[0].atc, 10U);
    EXPECT_EQ(log[1].merchant, "TEST METRO");
}

TEST_F(Host, SaysThatAnApplicationHasNoLog) {
    use(slot("contact", "two_applications"));
    const Reader reader;
    Card card = reader.find_card();
    const Failure failure = failure_of([&] { card.load_log(); });
    EXPECT_STREQ(failure.step(), "GetIcBankCardTrDetail");
    EXPECT_NE(failure.code(), 0);
}

TEST_F(Host, SendsRawCommands) {
    const Reader reader;
    Card card = reader.find_card();
    const Response selected = card.transmit(Command::parse("00A4040008 A000000333010101 00"));
    EXPECT_TRUE(selected.status_word.success());
    EXPECT_EQ(selected.data.at(0), 0x6F);
    const Response refused = card.transmit({0x00, 0xB2, 0x63, 0x0C, {}, 0});
    EXPECT_EQ(refused.status_word.text(), "6A83");
    EXPECT_TRUE(refused.data.empty());
    EXPECT_THROW(card.transmit({0, 0, 0, 0, ByteString(256), {}}), Misuse);
}

TEST_F(Host, ReadsCommandsInAllTheirForms) {
    const Command header = Command::parse("00 82 00 00");
    EXPECT_TRUE(header.data.empty());
    EXPECT_FALSE(header.le.has_value());
    EXPECT_EQ(Command::parse("80CA9F3600").le, 0x00);
    const Command with_data = Command::parse("0082000002 0102");
    EXPECT_EQ(with_data.data, (ByteString{1, 2}));
    EXPECT_FALSE(with_data.le.has_value());
    EXPECT_EQ(Command::parse("0082000002 0102 10").le, 0x10);
    for (const char* const bad : {"", "0082", "00820000020", "0082000002 01", "0082000001 0102 03",
                                  "0082000000 01", "GG820000"}) {
        EXPECT_THROW(Command::parse(bad), std::invalid_argument) << bad;
    }
}

// The library passes over a record that is lost on the way; a host must not.
TEST_F(Host, FailsAtWhateverStepTheCardIsTakenOut) {
    const std::map<int, std::string> steps = {{1, "emvSelectAid"},  {3, "emvSelectAid"},
                                              {4, "emvGPO"},        {5, "emvReadICCard"},
                                              {6, "emvReadICCard"}, {8, "emvGACFrist"}};
    for (const auto& [exchanges, step] : steps) {
        SCOPED_TRACE(exchanges);
        use(slot("contact", "debit") +
            "[[fault]]\nslot = \"contact\"\nremoved_after = " + std::to_string(exchanges) + "\n");
        const Reader reader;
        Card card = reader.find_card();
        const Failure failure = failure_of([&] { card.start_purchase(terms_of("1.00")); });
        EXPECT_EQ(failure.code(), QUORRIN_NO_CARD);
        EXPECT_EQ(failure.step(), step);
        EXPECT_EQ(failure.status_word().text(), "0000");
    }
}

TEST_F(Host, FailsWhereTheCardIsTakenOutWhileTheHolderIsRead) {
    use(slot("contact", "debit") + "[[fault]]\nslot = \"contact\"\nremoved_after = 6\n");
    const Reader reader;
    Card card = reader.find_card();
    EXPECT_EQ(failure_of([&] { card.holder(); }).code(), QUORRIN_NO_CARD);
}

TEST_F(Host, DoesNotTakeALostDirectoryForASelection) {
    use(slot("contact", "debit") +
        "[[fault]]\nslot = \"contact\"\ncommand = \"00 B2 xx xx\"\nresult = -4\nalways = true\n");
    const Reader reader;
    Card card = reader.find_card();
    EXPECT_EQ(failure_of([&] { card.start_purchase(terms_of("1.00")); }).code(), QUORRIN_CARD_MUTE);
    EXPECT_EQ(failure_of([&] { card.applications(); }).code(), QUORRIN_CARD_MUTE);
}

TEST_F(Host, ReportsTheReaderThatCannotBeOpened) {
    use("[contact]\nprofile = \"none.toml\"\n");
    const Failure failure = failure_of([] { const Reader reader; });
    EXPECT_STREQ(failure.step(), "OpenDevice");
    EXPECT_LT(failure.code(), 0);
    use(slot("contact", "debit"));
    EXPECT_NO_THROW(Reader());
}

TEST_F(Host, FindsMisuseOut) {
    Reader reader;
    EXPECT_THROW(Reader(), Misuse);

    std::optional<Card> card = reader.find_card();
    std::thread([&] { EXPECT_THROW(card->holder(), Misuse); }).join();

    Purchase old = card->start_purchase(terms_of("1.00"));
    Purchase purchase = card->start_purchase(terms_of("1.00"));
    EXPECT_THROW(old.finish("8A023030"), Misuse);
    EXPECT_THROW(static_cast<void>(old.element(0x5A)), Misuse);
    purchase.finish("8A023030");
    EXPECT_THROW(purchase.finish("8A023030"), Misuse);

    PurchaseTerms terms;
    terms.merchant = "A NAME OF MORE THAN TWENTY";
    EXPECT_THROW(card->start_purchase(terms), Misuse);
    terms = {};
    terms.elements = {{0x9F02, {0x01}}};
    EXPECT_THROW(card->start_purchase(terms), Misuse);
    terms = {};
    terms.currency = 1000;
    EXPECT_THROW(card->start_purchase(terms), Misuse);

    reader.close();
    EXPECT_THROW(card->holder(), Misuse);
    card.reset();
    const Reader next;
    EXPECT_EQ(next.find_card().kind(), QUORRIN_CONTACT_CARD);
}

TEST_F(Host, KeepsAnAnswerFromContinuingAnOlderTransaction) {
    const Reader reader;
    Card card = reader.find_card();
    card.start_purchase(terms_of("1.00"));
    EXPECT_EQ(gucGetArqcFlag, 1);
    card.holder();
    EXPECT_EQ(ARPCExeScript(ReaderHandle, 0, "8A023030"), QUORRIN_NO_ARQC);
}

TEST_F(Host, LeavesTheSameTransactionToTheCInterface) {
    const Reader reader;
    Card card = reader.find_card();
    Purchase purchase = card.start_purchase(terms_of("1.00"));
    const BankAnswer answer = TestBank().answer(purchase.online());
    EXPECT_EQ(ARPCExeScript(ReaderHandle, 0, answer.issuer_text.c_str()), 0);
    EXPECT_EQ(card.get_data(0x9F13), card.get_data(0x9F36));
}

TEST(HostValues, ReadAndWriteAmounts) {
    EXPECT_EQ(Amount::parse("128.50").minor(), 12850U);
    EXPECT_EQ(Amount::parse("128").minor(), 12800U);
    EXPECT_EQ(Amount::parse("0.5").minor(), 50U);
    EXPECT_EQ(Amount::parse("7", 0).minor(), 7U);
    EXPECT_EQ(Amount::parse("1.234", 3).minor(), 1234U);
    EXPECT_EQ(Amount::parse("9999999999.99").minor(), 999999999999U);
    EXPECT_EQ(Amount(5).text(), "0.05");
    EXPECT_EQ(Amount(12850).text(), "128.50");
    EXPECT_EQ(Amount(12850).text(0), "12850");
    for (const char* const bad :
         {"", ".5", "1.", "1.234", "-1", "1,5", "10000000000.00", "1.2.3"}) {
        EXPECT_THROW(Amount::parse(bad), std::invalid_argument) << bad;
    }
    EXPECT_THROW(Amount(1000000000000U), std::invalid_argument);
}

TEST(HostValues, MaskCardNumbersOfEveryLength) {
    EXPECT_EQ(Pan("9999010000000011").masked(), "999901******0011");
    EXPECT_EQ(Pan("9999050000000000060").masked(), "999905*********0060");
    EXPECT_EQ(Pan("1234567890").masked(), "******7890");
    EXPECT_EQ(Pan("1234").masked(), "****");
    EXPECT_EQ(Pan("").masked(), "");
    EXPECT_EQ(Track2("1234567890D3012F").masked(), "******7890*****");
    EXPECT_EQ(Track2("").masked(), "");
}

TEST(HostValues, KnowElementsByName) {
    EXPECT_EQ(tag_of("Application label"), 0x50);
    EXPECT_EQ(tag_of("APPLICATION TRANSACTION COUNTER (ATC)"), 0x9F36);
    EXPECT_EQ(name_of(0x9F36), "Application transaction counter (ATC)");
    EXPECT_EQ(name_of(0xDFEE), "");
    EXPECT_THROW(tag_of("nonsense"), std::invalid_argument);
    EXPECT_THROW(tag_of(""), std::invalid_argument);
}

TEST(HostValues, KeepBitsWithoutANameToo) {
    Tvr tvr(std::array<std::uint8_t, 5>{0x08, 0x04, 0, 0, 0x40});
    EXPECT_EQ(tvr.text(), "Dynamic data authentication failed; Issuer authentication failed");
    EXPECT_EQ(to_hex(tvr.bytes()), "0804000040");
    EXPECT_TRUE(tvr.has(TvrBit::IssuerAuthenticationFailed));
    EXPECT_EQ(tvr.rows().at(0).name, "DdaFailed");
    EXPECT_FALSE(tvr.none());
}

TEST(HostBank, TellsWhyItRefuses) {
    try {
        TestBank::with_rules("nonsense");
        ADD_FAILURE();
    } catch (const BankFailure& failure) {
        EXPECT_EQ(failure.code(), QUORRIN_BANK_BAD_RULES);
        EXPECT_THAT(failure.what(), HasSubstr("line 1"));
    }
    const OnlineRequest empty;
    EXPECT_THROW(TestBank().answer(empty), BankFailure);
}

}  // namespace
}  // namespace quorrin::host
