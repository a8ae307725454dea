// The profiles that are shipped, and the one of the documentation, each through a purchase.
#include <fstream>
#include <sstream>

#include "bank/test_bank.hpp"
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

using cryptography::Algorithm;
using cryptography::ArpcMethod;
using cryptography::SessionKeyScheme;

struct ShippedCard {
    const char* file;
    const char* aid;
    const char* pan;
    Algorithm algorithm = Algorithm::TripleDes;
    SessionKeyScheme session_keys = SessionKeyScheme::Pboc;
    ArpcMethod arpc_method = ArpcMethod::Method1;
};

bank::CardProduct product_of(const ShippedCard& card) {
    auto product = test_bank();
    product.algorithm = card.algorithm;
    product.session_keys = card.session_keys;
    product.arpc_method = card.arpc_method;
    return product;
}

std::unique_ptr<simulator::CardDevice> shipped(const std::string& file) {
    return simulator::load_card_file(std::string(QUORRIN_PROFILES) + "/" + file);
}

class ShippedProfile : public testing::TestWithParam<ShippedCard> {};

TEST_P(ShippedProfile, MakesAPurchaseFromSelectionToScript) {
    const ShippedCard& card = GetParam();
    const auto product = product_of(card);
    Terminal terminal(shipped(card.file));
    terminal.purchase(hex(card.aid));
    ASSERT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("80"));
    auto request = terminal.online_request();
    EXPECT_EQ(request.pan, card.pan);

    bank::Decision decision;
    decision.authorisation_code = {'1', '2', '3', '4', '5', '6'};
    decision.scripts.push_back({bank::ScriptPhase::AfterFinalCryptogram,
                                bank::ScriptIdentifier{1, 2, 3, 4},
                                {bank::application_block()}});
    const auto answer = bank::answer_online(product, request, decision);
    ASSERT_TRUE(answer.cryptogram_right) << answer.reason;
    EXPECT_EQ(terminal.authenticate(answer).status, 0x9000U);
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("40"));
    EXPECT_TRUE(bank::answer_online(product, terminal.online_request()).cryptogram_right);

    // The newest log record holds the transaction.
    const ByteString entry = expect_element(terminal.fci, "9F4D");
    const auto record = terminal.send(
        join(hex("00B201"), ByteString{static_cast<std::uint8_t>(entry.at(0) << 3 | 4), 0x00}));
    EXPECT_EQ(record.status, 0x9000U);
    terminal.values["9F36"] = expect_element(terminal.cryptogram_answer, "9F36");
    EXPECT_EQ(record.data, terminal.list_data(terminal.data_value("9F4F")));

    EXPECT_EQ(terminal.data_value("9F13"), terminal.values["9F36"]);
    EXPECT_EQ(terminal.run_scripts(answer).at(0).status, 0x9000U);
    EXPECT_EQ(terminal.select(hex(card.aid)).status, 0x6283U);
}

TEST_P(ShippedProfile, RefusesAFlippedArpcAndScriptMac) {
    const ShippedCard& card = GetParam();
    Terminal terminal(shipped(card.file));
    terminal.purchase(hex(card.aid));
    bank::Decision decision;
    decision.scripts.push_back(
        {bank::ScriptPhase::AfterFinalCryptogram, {}, {bank::application_block()}});
    const auto answer = bank::answer_online(product_of(card), terminal.online_request(), decision);
    ByteString command = expect_element(answer.issuer_data, "86");
    command.back() ^= 0x01;
    EXPECT_EQ(terminal.send(join(command, hex("00"))).status, 0x6988U);
    ByteString data = expect_element(answer.issuer_data, "91");
    data.front() ^= 0x80;
    EXPECT_EQ(
        terminal
            .send(join(hex("00820000"), ByteString{static_cast<std::uint8_t>(data.size())}, data))
            .status,
        0x6300U);
    auto request = terminal.online_request();
    request.arqc[7] ^= 0x01;
    EXPECT_FALSE(bank::answer_online(product_of(card), request).cryptogram_right);
}

INSTANTIATE_TEST_SUITE_P(
    All, ShippedProfile,
    testing::Values(ShippedCard{"debit.toml", "A000000333010101", "9999010000000011"},
                    ShippedCard{"credit.toml", "A000000333010102", "9999020000000028",
                                Algorithm::TripleDes, SessionKeyScheme::EmvCommon,
                                ArpcMethod::Method2},
                    ShippedCard{"gm.toml", "A000000333010101", "9999030000000035", Algorithm::Sm4},
                    ShippedCard{"two_applications.toml", "A000000333010102", "9999040000000042"},
                    ShippedCard{"two_applications.toml", "A000000333010101", "9999040000000059"},
                    ShippedCard{"old.toml", "A0000003330101060001020304", "9999050000000000060"},
                    ShippedCard{"load_log.toml", "A000000333010101", "9999080000000097"},
                    ShippedCard{"full.toml", "A000000333010101", "9999090000000104"},
                    ShippedCard{"expired.toml", "A000000333010101", "9999110000000126"},
                    ShippedCard{"old_valid.toml", "A000000333010101", "9999050000000000078"},
                    ShippedCard{"quick.toml", "A000000333010101", "9999060000000073"}));

// 9F7A is in the PDOL, 9F74 in the records.
class ElectronicCash : public testing::TestWithParam<const char*> {};

TEST_P(ElectronicCash, IsPaidInContact) {
    Terminal terminal(shipped(std::string(GetParam()) + ".toml"));
    const ByteString amount = hex("000000000050");
    terminal.values["9F7A"] = hex("01");
    terminal.values["9F02"] = amount;
    terminal.select(first_aid);
    const auto balance = std::stoul(to_hex(terminal.data_value("9F79")));
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    terminal.read_records();
    EXPECT_EQ(expect_element(terminal.records, "9F74").size(), 6U);
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("40"));
    EXPECT_EQ(std::stoul(to_hex(terminal.data_value("9F79"))), balance - 50);
}

INSTANTIATE_TEST_SUITE_P(Cards, ElectronicCash,
                         testing::Values("debit", "gm", "two_applications", "load_log", "full"));

TEST(DecliningCard, GivesAnAacWhateverItIsAskedFor) {
    for (const std::uint8_t request : hex("004080")) {
        Terminal terminal(shipped("declines.toml"));
        terminal.select(hex("A000000333010101"));
        terminal.get_options();
        terminal.read_records();
        EXPECT_EQ(terminal.generate_ac(request).status, 0x9000U);
        EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("00"));
    }
}

TEST(BlockedCard, IsFreedUnderItsAac) {
    Terminal terminal(shipped("blocked.toml"));
    const ByteString aid = hex("A000000333010101");
    EXPECT_EQ(terminal.select(aid).status, 0x6283U);
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    terminal.read_records();
    EXPECT_EQ(terminal.generate_ac(0x80).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F27"), hex("00"));
    bank::Decision decision;
    decision.scripts.push_back(
        {bank::ScriptPhase::AfterFinalCryptogram, {}, {bank::application_unblock()}});
    const auto answer = bank::answer_online(test_bank(), terminal.online_request(), decision);
    EXPECT_EQ(terminal.run_scripts(answer).at(0).status, 0x9000U);
    EXPECT_EQ(terminal.select(aid).status, 0x9000U);
}

TEST(InternationalCard, HasBothDirectoriesAndAnswersItsBank) {
    Terminal terminal(shipped("international.toml"));
    EXPECT_EQ(terminal.select(text_bytes("1PAY.SYS.DDF01")).status, 0x9000U);
    const auto ppse = terminal.select(text_bytes("2PAY.SYS.DDF01"));
    terminal.purchase(expect_element(ppse.data, "4F"));
    EXPECT_EQ(expect_element(terminal.cryptogram_answer, "9F10"), hex("06011203A00000"));
    const auto product = bank::test_international_product();
    for (const auto command_class :
         {bank::CommandClass::SecureProprietary, bank::CommandClass::SecureObjects}) {
        terminal.purchase(hex("A000000333010101"));
        bank::Decision decision;
        auto pin = bank::pin_change("975318");
        pin.command_class = command_class;
        auto put = bank::put_data(0x9F58, hex("07"), command_class);
        decision.scripts.push_back({bank::ScriptPhase::AfterFinalCryptogram, {}, {pin, put}});
        const auto answer = bank::answer_online(product, terminal.online_request(), decision);
        ASSERT_TRUE(answer.cryptogram_right) << answer.reason;
        EXPECT_EQ(terminal.authenticate(answer).status, 0x9000U);
        for (const auto& reply : terminal.run_scripts(answer)) {
            EXPECT_EQ(reply.status, 0x9000U);
        }
        EXPECT_EQ(terminal.data_value("9F58"), hex("07"));
        EXPECT_EQ(terminal.send("0020008008 26975318FFFFFFFF").status, 0x9000U);
    }
}

TEST(DefaultCard, IsTheDebitCard) {
    Terminal built_in(simulator::default_card());
    Terminal debit(shipped("debit.toml"));
    EXPECT_EQ(built_in.card().power_on(), debit.card().power_on());
    const ByteString aid = hex("A000000333010101");
    EXPECT_EQ(built_in.select(aid).data, debit.select(aid).data);
    built_in.purchase(aid);
    EXPECT_TRUE(bank::answer_online(test_bank(), built_in.online_request()).cryptogram_right);
}

TEST(DebitCard, ShowsItsFilledLogs) {
    Terminal terminal(shipped("debit.toml"));
    terminal.select(hex("A000000333010101"));
    EXPECT_EQ(expect_element(terminal.fci, "9F4D"), hex("0B0A"));
    EXPECT_EQ(expect_element(terminal.fci, "DF4D"), hex("0C05"));
    EXPECT_EQ(terminal.send("00B20A5C00").data,
              join(hex("250101 093010 000000000880 000000000000 0156 0156"),
                   text_bytes("TEST TEA HOUSE      "), hex("00 0001")));
    EXPECT_EQ(terminal.send("00B20B5C00").status, 0x6A83U);
    EXPECT_EQ(terminal.send("00B2016400").status, 0x9000U);
}

TEST(CreditCard, HasNoDirectoryAndAnswersInFormat1) {
    Terminal terminal(shipped("credit.toml"));
    EXPECT_EQ(terminal.select(text_bytes("1PAY.SYS.DDF01")).status, 0x6A82U);
    EXPECT_EQ(terminal.select(hex("A000000333")).status, 0x9000U);
    EXPECT_EQ(terminal.get_options().data.at(0), 0x80);
    terminal.read_records();
    EXPECT_EQ(terminal.generate_ac(0x80).data.at(0), 0x80);
}

TEST(CardWithTwoApplications, ListsCreditFirstAndFindsBothByTheirCommonPart) {
    Terminal terminal(shipped("two_applications.toml"));
    EXPECT_EQ(terminal.select(text_bytes("1PAY.SYS.DDF01")).status, 0x9000U);
    EXPECT_EQ(expect_element(terminal.send("00B2010C00").data, "4F"), hex("A000000333010102"));
    EXPECT_EQ(expect_element(terminal.send("00B2020C00").data, "4F"), hex("A000000333010101"));
    const ByteString part = hex("A00000033301");
    EXPECT_EQ(expect_element(terminal.select(part).data, "84"), hex("A000000333010102"));
    EXPECT_EQ(expect_element(terminal.select(part, 2).data, "84"), hex("A000000333010101"));
}

TEST(OldCard, HasTheOddLayoutThatItIsFor) {
    Terminal terminal(shipped("old.toml"));
    terminal.select(hex("A000000333"));
    terminal.get_options();
    terminal.read_records();
    EXPECT_EQ(to_hex(terminal.send("00B2020C00").data),
              "7082001B5F2081085445"
              "53542F4F4C4400E005DF010212349F428200020156");
    EXPECT_EQ(expect_element(terminal.records, "9F1F").size(), 128U);
    EXPECT_EQ(terminal.send("00B2032C00").status, 0x6A83U);
}

class QuickCard : public testing::Test {
  protected:
    Terminal terminal{shipped("quick.toml")};
    const ByteString aid = hex("A000000333010101");

    void SetUp() override {
        const auto ppse = terminal.select(text_bytes("2PAY.SYS.DDF01"));
        EXPECT_EQ(expect_element(ppse.data, "4F"), aid);
        terminal.values["9F66"] = hex("26000000");  // quick PBOC only
        terminal.select(aid);
    }
    // 9F10 tells the type of a cryptogram that has no 9F27 beside it.
    std::uint8_t type_bits() { return expect_element(terminal.options, "9F10").at(4); }
};

TEST_F(QuickCard, PaysFromElectronicCashInOneCommand) {
    terminal.values["9F02"] = hex("000000001250");
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    EXPECT_EQ(type_bits(), 0x90);
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000001750"));
    terminal.read_records();
    terminal.cryptogram_answer = terminal.options;
    EXPECT_TRUE(bank::answer_online(test_bank(), terminal.online_request()).cryptogram_right);
    EXPECT_EQ(terminal.generate_ac(0x80).status, 0x6985U);
    EXPECT_EQ(to_hex(terminal.send("00B2015C00").data).substr(12, 12), "000000001250");
}

TEST_F(QuickCard, GoesOnlineAboveItsLimits) {
    terminal.values["9F02"] = hex("000000002001");
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    EXPECT_EQ(type_bits(), 0xA0);
    EXPECT_EQ(terminal.data_value("9F79"), hex("000000003000"));
    terminal.read_records();
    terminal.cryptogram_answer = terminal.options;
    const auto answer = bank::answer_online(test_bank(), terminal.online_request());
    EXPECT_TRUE(answer.cryptogram_right) << answer.reason;
    EXPECT_EQ(terminal.authenticate(answer).status, 0x6985U) << "the card's part has ended";
    EXPECT_EQ(terminal.generate_ac(0x40).status, 0x6985U);
}

TEST_F(QuickCard, ObeysTheTerminalsQualifiers) {
    struct Row {
        const char* qualifiers;
        const char* amount;
        const char* currency;
        std::uint8_t type;        // of the cryptogram, in byte 2 of the verification results
        const char* of_the_card;  // 9F6C
    };
    constexpr Row rows[] = {
        {"20000000", "000000000100", "0156", 0x90, "0000"},
        {"F4000000", "000000000100", "0156", 0x90,
         "0000"},  // quick comes before what else is offered
        {"20800000", "000000000100", "0156", 0xA0, "0000"},  // an online cryptogram is required
        {"28800000", "000000000100", "0156", 0x80,
         "0000"},  // which an offline terminal cannot have
        {"28000000", "000000900000", "0156", 0x80, "0000"},  // offline only
        {"20000000", "000000000100", "0840", 0xA0, "0000"},  // another currency
        {"28000000", "000000000100", "0840", 0x80, "0000"},
        {"20000000", "000000000000", "0156", 0xA0, "0000"},  // nothing to pay
        {"22400000", "000000000100", "0156", 0x90, "4000"},  // holder verification: signature
        {"26400000", "000000000100", "0156", 0xA0, "8000"},  // or the PIN, online
        {"20400000", "000000000100", "0156", 0x80, "0000"},  // and neither
        {"36C00000", "000000000100", "0156", 0xA0,
         "8000"},  // both are required: an online cryptogram
        {"32C00000", "000000000100", "0156", 0xA0, "4000"},
        {"30C00000", "000000000100", "0156", 0x80, "0000"},
        {"2C400000", "000000000100", "0156", 0x80,
         "0000"},  // the PIN online, of an offline terminal
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.qualifiers) + " " + row.amount + " " + row.currency);
        terminal.values["9F66"] = hex(row.qualifiers);
        terminal.values["9F02"] = hex(row.amount);
        terminal.values["5F2A"] = hex(row.currency);
        terminal.select(aid);
        EXPECT_EQ(terminal.get_options().status, 0x9000U);
        EXPECT_EQ(type_bits(), row.type);
        EXPECT_EQ(expect_element(terminal.options, "9F6C"), hex(row.of_the_card));
    }
}

std::string quick_profile() {
    std::ifstream file(QUORRIN_PROFILES "/quick.toml");
    return {std::istreambuf_iterator<char>(file), {}};
}

// What a quick card decides beside its limits: each change of the profile, with what a payment gets.
TEST(QuickCards, DecideByTheirOwnStateAndDefaultActionToo) {
    struct Row {
        const char* from;
        const char* to;
        const char* qualifiers;
        std::uint8_t type;
    };
    constexpr Row rows[] = {
        {"atc = 99", "atc = 99", "20000000", 0x90},
        {"atc = 99", "atc = 99\ndeclines = true", "20000000", 0x80},
        {"atc = 99", "atc = 99\nblocked = true", "20000000", 0x80},
        {"last_online_atc = 90", "last_online_atc = 0", "20000000", 0x90},
        {"last_online_atc = 90\ndata = [", "last_online_atc = 0\ndata = [ \"9F52 0200\",",
         "20000000", 0xA0},  // a new card goes online
        {"last_online_atc = 90\ndata = [", "last_online_atc = 0\ndata = [ \"9F52 0200\",",
         "28000000", 0x80},  // or declines
        {"last_online_atc = 90\ndata = [", "last_online_atc = 0\ndata = [ \"9F52 0100\",",
         "20000000", 0x90},
        {"last_online_atc = 90\ndata = [", "last_online_atc = 0\ndata = [ \"9F52 0100\",",
         "28000000", 0x80},  // declines unless it goes online
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.to) + " " + row.qualifiers);
        std::string profile = quick_profile();
        if (std::string(row.to).find("9F52") != std::string::npos) {
            profile = changed(profile, "  \"9F52 C0000000\",\n", "");
        }
        Terminal terminal(card_of(changed(profile, row.from, row.to)));
        terminal.values["9F66"] = hex(row.qualifiers);
        terminal.values["9F02"] = hex("000000000100");
        terminal.select(first_aid);
        EXPECT_EQ(terminal.get_options().status, 0x9000U);
        EXPECT_EQ(expect_element(terminal.options, "9F10").at(4), row.type);
    }
}

TEST(QuickCards, DeclineOrGoOnlineWhenNoPinTryIsLeft) {
    for (const auto& [action, type] : {std::pair{"0000", 0x90}, {"0020", 0xA0}, {"0040", 0x80}}) {
        std::string profile =
            changed(quick_profile(), "9F52 C0000000", std::string("9F52 ") + action);
        profile = changed(profile, "8E 00000000 00000000 1F00", "8E 00000000 00000000 4103 1F00");
        Terminal terminal(card_of(changed(profile, "atc = 99", "pin = \"1234\"\natc = 99")));
        terminal.values["9F66"] = hex("20000000");
        terminal.values["9F02"] = hex("000000000100");
        terminal.select(first_aid);
        for (int i = 0; i < 3; ++i) {
            terminal.send("0020008008 241111FFFFFFFFFF");
        }
        terminal.select(first_aid);
        terminal.get_options();
        EXPECT_EQ(expect_element(terminal.options, "9F10").at(4), type) << action;
    }
}

TEST(QuickCards, TellOfTheLastTransactionOnline) {
    Terminal terminal(shipped("quick.toml"));
    terminal.purchase(first_aid);  // in contact, and not completed
    EXPECT_EQ(terminal.send(join(hex("008200000A"), filled(10, 0))).status, 0x6300U);
    terminal.values["9F66"] = hex("28000000");
    terminal.values["9F02"] = hex("000000000100");
    terminal.select(first_aid);
    terminal.get_options();
    const ByteString results = expect_element(terminal.options, "9F10");
    EXPECT_EQ(to_hex(ByteString(results.begin() + 4, results.begin() + 7)), "808800")
        << "declined: C0 in the default action wants it online after the wrong ARPC";
}

TEST(QuickCards, LogDeclinedPaymentsWhereTheProfileSaysSo) {
    for (const bool declined : {false, true}) {
        Terminal terminal(card_of(
            changed(quick_profile(), "[application.log]",
                    declined ? "[application.log]\ndeclined = true" : "[application.log]")));
        terminal.values["9F66"] = hex("28000000");
        terminal.values["9F02"] = hex("000000900000");
        terminal.select(first_aid);
        terminal.get_options();
        EXPECT_EQ(terminal.send("00B2015C00").status, declined ? 0x9000U : 0x6A83U);
    }
}

// ---- the page on profiles ----

TEST(DocumentedProfile, MakesAPurchase) {
    const std::string example = documented_example();
    ASSERT_NE(example, "");
    Terminal terminal(card_of(example));
    EXPECT_EQ(terminal.select(text_bytes("1PAY.SYS.DDF01")).status, 0x9000U);
    const ByteString aid = expect_element(terminal.send("00B2010C00").data, "4F");
    terminal.purchase(aid);
    const auto answer = bank::answer_online(test_bank(), terminal.online_request());
    EXPECT_TRUE(answer.cryptogram_right) << answer.reason;
    EXPECT_EQ(terminal.authenticate(answer).status, 0x9000U);
}

}  // namespace
}  // namespace quorrin::test
