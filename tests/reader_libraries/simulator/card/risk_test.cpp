// Card risk management: what the card makes of a terminal's request, and what it reports of the last
// transactions.
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

constexpr std::uint8_t aac = 0x00;
constexpr std::uint8_t tc = 0x40;
constexpr std::uint8_t arqc = 0x80;

// The test profile with these elements beside its own; an element that stands there already is replaced.
std::string profile_with(const std::string& elements, const std::string& lines = "") {
    std::string text =
        changed(test_profile(), "\"9F58 1E\", \"9F59 28\", \"9F54 000001000000\",", elements);
    return changed(text, "pin = \"1234\"", lines + "pin = \"1234\"");
}

class RiskTerminal : public Terminal {
  public:
    explicit RiskTerminal(const std::string& profile) : Terminal(card_of(profile)) {}

    // The type of the first cryptogram.
    std::uint8_t first(std::uint8_t request) {
        select(first_aid);
        EXPECT_EQ(get_options().status, 0x9000U);
        read_records();
        EXPECT_EQ(generate_ac(request).status, 0x9000U);
        return type();
    }
    std::uint8_t second(std::uint8_t request, const char* response_code) {
        values["8A"] = text_bytes(response_code);
        EXPECT_EQ(generate_ac(request).status, 0x9000U);
        return type();
    }
    std::uint8_t type() const { return expect_element(cryptogram_answer, "9F27").at(0); }
    // Byte 2 to 4 of the card verification results.
    std::string results() const {
        const ByteString data = expect_element(cryptogram_answer, "9F10");
        return to_hex(ByteString(data.begin() + 4, data.begin() + 7));
    }
    bank::OnlineAnswer answer(const bank::Decision& decision = {}) const {
        return bank::answer_online(test_bank(), online_request(), decision);
    }
    void complete_online() {
        EXPECT_EQ(first(arqc), arqc);
        EXPECT_EQ(authenticate(answer()).status, 0x9000U);
        EXPECT_EQ(second(tc, "00"), tc);
    }
};

// atc = 16, last_online_atc = 12: the next transaction is the fifth since the last one online.
struct Decision {
    const char* name;
    const char* elements;
    const char* amount;
    const char* currency;
    const char* country;
    std::uint8_t request;
    std::uint8_t given;
    const char* results;
};

std::ostream& operator<<(std::ostream& out, const Decision& row) {
    return out << row.name;
}

class FirstCryptogram : public testing::TestWithParam<Decision> {};

TEST_P(FirstCryptogram, IsDecidedByTheCard) {
    const Decision& row = GetParam();
    RiskTerminal terminal(profile_with(row.elements));
    terminal.values["9F02"] = hex(row.amount);
    terminal.values["5F2A"] = hex(row.currency);
    terminal.values["9F1A"] = hex(row.country);
    EXPECT_EQ(terminal.first(row.request), row.given);
    EXPECT_EQ(terminal.results(), row.results);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, FirstCryptogram, testing::Values(
    Decision{"no_limits_is_an_online_card", "", "000000000100", "0156", "0156", tc, arqc, "A00000"},
    Decision{"within_the_limits", "\"9F58 05\", \"9F54 000000000100\", \"9F51 0156\",", "000000000100", "0156", "0156", tc, tc, "900000"},
    Decision{"asked_for_an_arqc", "\"9F58 05\",", "000000000100", "0156", "0156", arqc, arqc, "A00000"},
    Decision{"asked_for_an_aac", "\"9F58 04\",", "000000000100", "0156", "0156", aac, aac, "800000"},
    Decision{"consecutive_limit", "\"9F58 04\",", "000000000100", "0156", "0156", tc, arqc, "A02000"},
    Decision{"consecutive_limit_of_the_terminals", "\"9F14 04\",", "000000000100", "0156", "0156", tc, arqc, "A02000"},
    Decision{"amount_limit", "\"9F54 000000000100\", \"9F51 0156\",", "000000000101", "0156", "0156", tc, arqc, "A02000"},
    Decision{"all_the_money_of_the_world", "\"9F58 FF\", \"9F54 000001000000\",", "999999999999", "0156", "0156", tc, arqc, "A02000"},
    Decision{"foreign_currency_that_nothing_counts", "\"9F58 05\", \"9F51 0156\",", "000000000100", "0840", "0156", tc, arqc, "A02000"},
    Decision{"foreign_currency_counted", "\"9F58 05\", \"9F51 0156\", \"9F53 01\",", "000000000100", "0840", "0156", tc, tc, "900000"},
    Decision{"foreign_currency_too_often", "\"9F58 05\", \"9F51 0156\", \"9F53 00\",", "000000000100", "0840", "0156", tc, arqc, "A02000"},
    Decision{"converted_within_the_limit", "\"9F58 05\", \"9F51 0156\", \"9F76 0840\", \"9F73 20000715\", \"9F75 000000000715\",", "000000000100", "0840", "0156", tc, tc, "900000"},
    Decision{"converted_beyond_the_limit", "\"9F58 05\", \"9F51 0156\", \"9F76 0840\", \"9F73 20000716\", \"9F75 000000000715\",", "000000000100", "0840", "0156", tc, arqc, "A02000"},
    Decision{"abroad_too_often", "\"9F58 05\", \"9F57 0156\", \"9F72 00\",", "000000000100", "0156", "0840", tc, arqc, "A02000"},
    Decision{"abroad_within_the_limit", "\"9F58 05\", \"9F57 0156\", \"9F72 01\",", "000000000100", "0156", "0840", tc, tc, "900000"}),
    [](const auto& row) { return std::string(row.param.name); });
// clang-format on

TEST(OfflineLimits, AddUpAndStartAfreshAfterATransactionOnline) {
    RiskTerminal terminal(profile_with("\"9F58 FF\", \"9F54 000000030000\", \"9F51 0156\","));
    terminal.values["9F02"] = hex("000000010000");
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.first(tc), arqc) << "the fourth passes 300.00";
    EXPECT_EQ(terminal.results(), "A02000");
    EXPECT_EQ(terminal.authenticate(terminal.answer()).status, 0x9000U);
    EXPECT_EQ(terminal.second(tc, "00"), tc);
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.results(), "900000");
}

TEST(UnableToGoOnline, IsToldAndDecidedByTheUpperLimits) {
    struct Row {
        const char* elements;
        const char* code;
        std::uint8_t request;
        std::uint8_t given;
        const char* results;
    };
    const Row rows[] = {
        {"\"9F58 04\", \"9F59 05\",", "Y3", tc, tc, "610000"},
        {"\"9F58 04\", \"9F59 04\",", "Y3", tc, aac, "212000"},
        {"\"9F58 04\", \"9F59 05\",", "Z3", aac, aac, "212000"},
        {"", "Y3", tc, aac, "210000"},
        {"\"9F58 04\", \"9F5C 000000012299\", \"9F51 0156\",", "Y3", tc, aac, "212000"},
        {"\"9F58 04\", \"9F5C 000000012300\", \"9F51 0156\",", "Y3", tc, tc, "610000"},
        // In a foreign currency the lower limit of transactions is not asked again.
        {"\"9F58 04\", \"9F59 05\", \"9F51 0840\", \"9F53 01\",", "Y3", tc, tc, "610000"},
        {"\"9F58 04\", \"9F59 05\", \"9F51 0840\", \"9F53 00\",", "Y3", tc, aac, "212000"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.elements) + row.code);
        RiskTerminal terminal(profile_with(row.elements));
        EXPECT_EQ(terminal.first(tc), arqc);
        EXPECT_EQ(terminal.second(row.request, row.code), row.given);
        EXPECT_EQ(terminal.results(), row.results);
        // It was not online: the next one says so and goes there.
        EXPECT_EQ(terminal.first(tc), arqc);
        EXPECT_THAT(terminal.results().at(2), testing::AnyOf('8', 'A'));
        EXPECT_EQ(terminal.data_value("9F13"), hex("000C"));
    }
}

TEST(IssuersRefusal, LeavesNothingButAnAac) {
    for (const char* code : {"05", "51", "54"}) {
        RiskTerminal terminal(test_profile());
        terminal.first(arqc);
        EXPECT_EQ(terminal.second(tc, code), aac) << code << " in CDOL2";
    }
    for (const char* code : {"00", "10", "11"}) {
        RiskTerminal terminal(test_profile());
        terminal.first(arqc);
        EXPECT_EQ(terminal.second(tc, code), tc) << code;
    }
    RiskTerminal terminal(test_profile());
    terminal.first(arqc);
    bank::Decision refusal;
    refusal.response_code = {'0', '5'};
    EXPECT_EQ(terminal.authenticate(terminal.answer(refusal)).status, 0x9000U);
    EXPECT_EQ(terminal.second(tc, "00"), aac) << "what the ARPC covers counts";
    EXPECT_EQ(terminal.data_value("9F13"), hex("0011"));
}

TEST(IssuersRefusal, ByTheCardStatusUpdateCountsAsWell) {
    RiskTerminal terminal(changed(test_profile(), "[keys]", "arpc_method = 2\n[keys]"));
    auto product = test_bank();
    product.arpc_method = cryptography::ArpcMethod::Method2;
    terminal.first(arqc);
    bank::Decision refusal;
    refusal.response_code = {'0', '5'};
    EXPECT_EQ(
        terminal.authenticate(bank::answer_online(product, terminal.online_request(), refusal))
            .status,
        0x9000U);
    EXPECT_EQ(terminal.second(tc, "00"), aac);
    // "Go online next" in the update of an approval.
    terminal.first(arqc);
    bank::Decision approval;
    approval.status_update = {0x00, 0x08, 0x00, 0x00};
    terminal.authenticate(bank::answer_online(product, terminal.online_request(), approval));
    EXPECT_EQ(terminal.second(tc, "00"), tc);
    EXPECT_EQ(terminal.first(tc), arqc);
}

// Two transactions of 100.00 offline and one online with this update, then what the next two get; the
// limit is 300.00.
struct CounterUpdate {
    const char* name;
    std::uint8_t bits;
    std::uint8_t next;
    std::uint8_t one_after;
};
class IssuersCounterUpdate : public testing::TestWithParam<CounterUpdate> {};

TEST_P(IssuersCounterUpdate, DecidesWhetherTheNextTransactionIsWithinTheLimits) {
    RiskTerminal terminal(
        changed(profile_with("\"9F58 FF\", \"9F54 000000030000\", \"9F51 0156\", \"9F5C "
                             "000000050000\","),
                "[keys]", "arpc_method = 2\n[keys]"));
    auto product = test_bank();
    product.arpc_method = cryptography::ArpcMethod::Method2;
    terminal.values["9F02"] = hex("000000010000");
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.first(arqc), arqc);
    bank::Decision approval;
    approval.status_update = {0x00, GetParam().bits, 0x00, 0x00};
    EXPECT_EQ(
        terminal.authenticate(bank::answer_online(product, terminal.online_request(), approval))
            .status,
        0x9000U);
    EXPECT_EQ(terminal.second(tc, "00"), tc);
    EXPECT_EQ(terminal.first(tc), GetParam().next);
    EXPECT_EQ(terminal.first(tc), GetParam().one_after);
}

INSTANTIATE_TEST_SUITE_P(Rows, IssuersCounterUpdate,
                         testing::Values(CounterUpdate{"left_as_they_are", 0x00, tc, arqc},
                                         CounterUpdate{"to_the_limits", 0x01, arqc, arqc},
                                         CounterUpdate{"to_zero", 0x02, tc, tc},
                                         CounterUpdate{"this_one_added", 0x03, arqc, arqc}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(DefaultAction, SaysWhatFollowsFailuresAndNewCards) {
    RiskTerminal new_card(changed(profile_with("\"9F58 FF\", \"9F52 0200\","),
                                  "last_online_atc = 12", "last_online_atc = 0"));
    EXPECT_EQ(new_card.first(tc), arqc);
    EXPECT_EQ(new_card.results(), "A01000");
    RiskTerminal lenient(profile_with("\"9F58 FF\", \"9F52 0000\","));
    lenient.first(arqc);
    EXPECT_EQ(lenient.send(join(hex("008200000A"), filled(10, 0))).status, 0x6300U);
    EXPECT_EQ(lenient.second(tc, "00"), tc);
    RiskTerminal mandatory(profile_with("\"9F58 FF\", \"9F52 2000\", \"9F56 80\","));
    mandatory.first(arqc);
    EXPECT_EQ(mandatory.second(tc, "00"), aac);
}

TEST(MandatoryIssuerAuthentication, MissingLeavesTheTransactionOnlineIncomplete) {
    const std::string elements =
        "\"9F58 FF\", \"9F54 000000030000\", \"9F51 0156\", \"9F52 0000\",";
    for (const bool mandatory : {false, true}) {
        RiskTerminal terminal(profile_with(elements + (mandatory ? "\"9F56 80\"," : "")));
        terminal.values["9F02"] = hex("000000010000");
        EXPECT_EQ(terminal.first(tc), tc);
        EXPECT_EQ(terminal.first(arqc), arqc);
        EXPECT_EQ(terminal.second(tc, "00"), tc);
        EXPECT_EQ(terminal.data_value("9F13"), mandatory ? hex("000C") : hex("0012"));
        EXPECT_EQ(terminal.first(tc), mandatory ? arqc : tc);
        EXPECT_EQ(terminal.results(), mandatory ? "A08400" : "900400");
    }
}

TEST(DefaultAction, SaysWhatFollowsUsedUpPinTries) {
    const auto with_action = [](const char* action) {
        RiskTerminal terminal(profile_with("\"9F58 FF\", \"9F52 " + std::string(action) + "\","));
        terminal.select(first_aid);
        for (int i = 0; i < 3; ++i) {
            terminal.send("0020008008 241111FFFFFFFFFF");
        }
        return terminal;
    };
    EXPECT_EQ(with_action("0000").first(tc), tc);
    EXPECT_EQ(with_action("0020").first(tc), arqc);
    EXPECT_EQ(with_action("0040").first(arqc), aac);
    auto blocking = with_action("0004");
    EXPECT_EQ(blocking.first(tc), aac);
    EXPECT_EQ(blocking.results(), "804200");
    EXPECT_EQ(blocking.select(first_aid).status, 0x6283U);
}

TEST(DefaultAction, BlocksAtTheLastWrongPinAndTellsSoUntilTheIssuerUnblocks) {
    RiskTerminal terminal(profile_with("\"9F58 FF\", \"9F52 0080\","));
    terminal.select(first_aid);
    for (const unsigned answer : {0x63C2U, 0x63C1U, 0x63C0U}) {
        EXPECT_EQ(terminal.send("0020008008 241111FFFFFFFFFF").status, answer);
    }
    EXPECT_EQ(terminal.select(first_aid).status, 0x6283U);
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    terminal.read_records();
    EXPECT_EQ(terminal.generate_ac(tc).status, 0x9000U);
    EXPECT_EQ(terminal.type(), aac);
    EXPECT_EQ(terminal.results(), "804200");
    bank::Decision unblocking;
    unblocking.scripts.emplace_back().commands = {bank::application_unblock()};
    EXPECT_EQ(terminal.run_scripts(terminal.answer(unblocking)).at(0).status, 0x9000U);
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.results(), "904010") << "not blocked any more, no tries left, one script";
}

// ---- the life of the verification results ----

TEST(VerificationResults, TellUntilTheNextOneOnlineThatTheLastWasNotCompleted) {
    RiskTerminal terminal(test_profile());
    terminal.first(arqc);
    terminal.first(tc);
    EXPECT_EQ(terminal.type(), arqc) << "such a card goes online again";
    EXPECT_EQ(terminal.results(), "A08000");
    EXPECT_EQ(terminal.second(tc, "00"), tc) << "without 91, complete all the same";
    EXPECT_EQ(terminal.results(), "608000");
    EXPECT_EQ(terminal.first(arqc), arqc);
    EXPECT_EQ(terminal.results(), "A00400") << "complete, without the issuer's authentication";
    terminal.complete_online();
    terminal.first(arqc);
    EXPECT_EQ(terminal.results(), "A00000");
}

TEST(VerificationResults, TellOfAFailedIssuerAuthenticationUntilOneSucceeds) {
    RiskTerminal terminal(test_profile());
    terminal.first(arqc);
    EXPECT_EQ(terminal.send(join(hex("008200000A"), filled(10, 0))).status, 0x6300U);
    EXPECT_EQ(terminal.second(tc, "00"), aac);
    EXPECT_EQ(terminal.results(), "280000");
    EXPECT_EQ(terminal.first(tc), arqc) << "C0 in the default action";
    EXPECT_EQ(terminal.results(), "A08800");
    EXPECT_EQ(terminal.authenticate(terminal.answer()).status, 0x9000U);
    EXPECT_EQ(terminal.second(tc, "00"), tc);
    EXPECT_EQ(terminal.first(tc), tc);
    EXPECT_EQ(terminal.results(), "900000");
}

TEST(VerificationResults, TellOfDataAuthenticationThatFailedAndWasDeclinedOffline) {
    RiskTerminal terminal(test_profile());
    terminal.values["95"] = hex("4800000000");
    EXPECT_EQ(terminal.first(aac), aac);
    terminal.values["95"] = hex("0000000000");
    terminal.first(tc);
    EXPECT_EQ(terminal.results(), "900104");
    terminal.complete_online();
    terminal.first(tc);
    EXPECT_EQ(terminal.results(), "900000");
    // Declined by the second cryptogram, because the terminal could not go online.
    RiskTerminal unable(profile_with("\"9F58 04\", \"9F59 FF\","));
    unable.values["95"] = hex("4800000000");
    EXPECT_EQ(unable.first(tc), arqc);
    EXPECT_EQ(unable.second(aac, "Z3"), aac);
    unable.first(tc);
    EXPECT_EQ(unable.results(), "A0A104");
}

// ---- the log ----

TEST(DeclinedTransaction, LeavesNoRecordUnlessTheProfileSaysSo) {
    const auto newest = [](RiskTerminal& terminal) {
        return to_hex(terminal.send("00B2015C00").data).substr(18, 4);
    };
    const auto oldest = [](RiskTerminal& terminal) {
        return to_hex(terminal.send("00B2025C00").data).substr(18, 4);
    };
    RiskTerminal terminal(test_profile());
    terminal.first(tc);  // fills the log of two
    terminal.first(arqc);
    EXPECT_EQ(newest(terminal), "0012");
    EXPECT_EQ(terminal.second(aac, "05"), aac);
    EXPECT_EQ(newest(terminal), "0011");
    EXPECT_EQ(oldest(terminal), "0010") << "the record that had made room is back";
    terminal.first(aac);
    EXPECT_EQ(newest(terminal), "0011");
    terminal.first(arqc);
    bank::Decision refusal;
    refusal.response_code = {'0', '5'};
    terminal.authenticate(terminal.answer(refusal));
    EXPECT_EQ(newest(terminal), "0011");

    RiskTerminal all(changed(test_profile(), "records = 2\nformat = \"9A 03 9F02",
                             "declined = true\nrecords = 2\nformat = \"9A 03 9F02"));
    all.first(aac);
    EXPECT_EQ(newest(all), "0011");
    all.first(arqc);
    all.second(aac, "05");
    EXPECT_EQ(newest(all), "0012");
}

}  // namespace
}  // namespace quorrin::test
