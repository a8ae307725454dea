// After an issuer script the card is as the script asked for, whenever the terminal runs it and
// whichever class of command it uses.

#include <algorithm>
#include <map>

#include "tests/purchase/purchase_test.hpp"

namespace quorrin::test {
namespace {

using bank::CommandClass;

const ByteString pin_blocked{0x69, 0x83};

// ---- PUT DATA and UPDATE RECORD, which are in use under two classes ----

using CardPhaseClass = std::tuple<ShippedCard, ScriptPhase, CommandClass>;

struct CardPhaseClassName {
    template <typename Info>
    std::string operator()(const Info& info) const {
        const auto command_class = static_cast<std::uint8_t>(std::get<CommandClass>(info.param));
        return CardAndPhaseName()(info) + "_class_" + to_hex({&command_class, 1});
    }
};

auto both_classes() {
    return testing::Values(CommandClass::SecureIso, CommandClass::SecureProprietary);
}

class DataScript : public PurchaseTest, public testing::WithParamInterface<CardPhaseClass> {
  protected:
    DataScript() { insert(std::get<ShippedCard>(GetParam())); }
    ScriptPhase phase() const { return std::get<ScriptPhase>(GetParam()); }
    CommandClass command_class() const { return std::get<CommandClass>(GetParam()); }
};

class PutData : public DataScript {};

TEST_P(PutData, ChangesTheAmountsThatTheHostReads) {
    struct Amount {
        std::uint16_t tag;
        char key;
        const char* value;
    };
    const Amount amounts[] = {{0x9F79, 'E', "000000012345"},
                              {0x9F77, 'F', "000000234567"},
                              {0x9F78, 'G', "000000045678"}};
    std::vector<bank::ScriptCommand> commands;
    std::map<char, std::string> expected;
    for (const Amount& amount : amounts) {
        if (std::ranges::find(card.amounts, amount.tag) != card.amounts.end()) {
            commands.push_back(bank::put_data(amount.tag, hex(amount.value), command_class()));
            expected[amount.key] = amount.value;
        }
    }
    const auto before = terminal->card_holder_data(card.aid, "EFG");
    run_script(phase(), commands);
    EXPECT_NE(before, expected);
    EXPECT_EQ(terminal->card_holder_data(card.aid, "EFG"), expected);
    power_again();
    EXPECT_EQ(terminal->card_holder_data(card.aid, "EFG"), expected);
}

INSTANTIATE_TEST_SUITE_P(Cards, PutData,
                         testing::Combine(testing::ValuesIn(shipped_cards(has_amounts)),
                                          both_phases(), both_classes()),
                         CardPhaseClassName());

class UpdateRecord : public DataScript {};

TEST_P(UpdateRecord, ChangesTheNameThatTheHostReads) {
    request_authorisation();
    const ByteString renamed = holder_record_renamed();
    ASSERT_NE(holder_record(), join(renamed, done));
    run_script(phase(), {bank::update_record(card.holder_file, card.holder_record, renamed,
                                             command_class())});
    EXPECT_EQ(holder_record(), join(renamed, done));
    EXPECT_EQ(stored_element(0x5F20), text_bytes(card.holder)) << "as read before the script";
    EXPECT_EQ(terminal->card_holder_data(card.aid, "B").at('B'), other_holder());
    buy();
    EXPECT_TRUE(terminal->card_accepted_issuer());
    EXPECT_EQ(stored_element(0x5F20), text_bytes(other_holder()));
}

INSTANTIATE_TEST_SUITE_P(Cards, UpdateRecord,
                         testing::Combine(testing::ValuesIn(shipped_cards()), both_phases(),
                                          both_classes()),
                         CardPhaseClassName());

// ---- the PIN and the blocks ----

using CardAndPhase = std::tuple<ShippedCard, ScriptPhase>;

class CardScript : public PurchaseTest, public testing::WithParamInterface<CardAndPhase> {
  protected:
    CardScript() { insert(std::get<ShippedCard>(GetParam())); }
    ScriptPhase phase() const { return std::get<ScriptPhase>(GetParam()); }

    unsigned pin_tries() const { return card_data(0x9F17).at(3); }
};

class PinScript : public CardScript {
  protected:
    // Within a transaction.
    void use_up_the_pin_tries() const {
        for (unsigned left = card.pin_tries; left > 0; --left) {
            EXPECT_EQ(verify(wrong_pin),
                      (ByteString{0x63, static_cast<std::uint8_t>(0xBF + left)}));
        }
        EXPECT_EQ(verify(card.pin), pin_blocked);
        EXPECT_EQ(pin_tries(), 0U);
    }

    static constexpr const char* wrong_pin = "987654321098";
};

TEST_P(PinScript, ChangesThePinAndGivesBackTheTries) {
    const std::string next_pin = "86420864";
    request_authorisation();
    EXPECT_EQ(verify(card.pin), done);
    use_up_the_pin_tries();
    run_script(phase(), {bank::pin_change(next_pin)});
    EXPECT_EQ(pin_tries(), card.pin_tries);
    EXPECT_EQ(verify(card.pin),
              (ByteString{0x63, static_cast<std::uint8_t>(0xBF + card.pin_tries)}));
    EXPECT_EQ(verify(next_pin), done);
    EXPECT_EQ(pin_tries(), card.pin_tries);
    power_again();
    request_authorisation();
    EXPECT_EQ(verify(next_pin), done);
}

TEST_P(PinScript, ChangesThePinWhereTheBankKnowsTheCurrentOne) {
    const std::string next_pin = "1357";
    run_script(phase(), {bank::pin_change(next_pin, card.pin)});
    EXPECT_EQ(verify(card.pin),
              (ByteString{0x63, static_cast<std::uint8_t>(0xBF + card.pin_tries)}));
    EXPECT_EQ(verify(next_pin), done);
}

TEST_P(PinScript, KeepsThePinWhereTheBankIsWrongAboutTheCurrentOne) {
    request_authorisation();
    EXPECT_EQ(verify(wrong_pin).at(0), 0x63);
    run_script(phase(), {bank::pin_change("1357", wrong_pin)});
    EXPECT_EQ(pin_tries(), card.pin_tries - 1) << "the failed change gives no try back";
    EXPECT_EQ(verify("1357").at(0), 0x63);
    EXPECT_EQ(verify(card.pin), done);
}

TEST_P(PinScript, UnblocksThePinAndKeepsIt) {
    request_authorisation();
    use_up_the_pin_tries();
    run_script(phase(), {bank::pin_unblock()});
    EXPECT_EQ(pin_tries(), card.pin_tries);
    EXPECT_EQ(verify(card.pin), done);
}

INSTANTIATE_TEST_SUITE_P(Cards, PinScript,
                         testing::Combine(testing::ValuesIn(shipped_cards(has_pin)), both_phases()),
                         CardAndPhaseName());

class BlockScript : public CardScript {
  protected:
    // What the host gets from everything that it can ask the card for.
    void expect_refusals(std::int64_t code) {
        EXPECT_EQ(failure_of([&] { request_authorisation(); }), code);
        EXPECT_EQ(failure_of([&] { terminal->card_holder_data(card.aid, "AB"); }), code);
        EXPECT_EQ(failure_of([&] { (void)terminal->latest_log_record(card.aid); }), code);
    }
};

TEST_P(BlockScript, BlocksTheApplicationUntilAnotherUnblocksIt) {
    constexpr std::int64_t selected_file_invalidated = -26881;  // 6283
    const auto request = buy(approval_with(phase(), {bank::application_block()}));
    EXPECT_TRUE(terminal->card_accepted_issuer());
    expect_refusals(selected_file_invalidated);
    power_again();
    expect_refusals(selected_file_invalidated);

    // Under the old cryptogram it is not unblocked, under the AAC of a blocked application it is.
    deliver(answer(request, approval_with(phase(), {bank::application_unblock()})).issuer_data);
    expect_refusals(selected_file_invalidated);
    const auto declined = request_of_blocked_application();
    deliver(answer(declined, approval_with(phase(), {bank::application_unblock()})).issuer_data);
    EXPECT_EQ(buy().covered.atc, request.covered.atc + 2);
    EXPECT_TRUE(terminal->card_accepted_issuer());
}

TEST_P(BlockScript, BlocksTheCardForGood) {
    constexpr std::int64_t function_not_supported = -27265;  // 6A81
    const auto request = buy(approval_with(phase(), {bank::card_block()}));
    expect_refusals(function_not_supported);
    power_again();
    expect_refusals(function_not_supported);
    EXPECT_EQ(send("0084 0000"), hex("6A81"));

    deliver(answer(request, approval_with(phase(), {bank::application_unblock()})).issuer_data);
    expect_refusals(function_not_supported);
}

INSTANTIATE_TEST_SUITE_P(Cards, BlockScript,
                         testing::Combine(testing::ValuesIn(shipped_cards()), both_phases()),
                         CardAndPhaseName());

// ---- several ----

class ScriptsOfBothPhases : public PurchaseTest, public testing::WithParamInterface<ShippedCard> {};

TEST_P(ScriptsOfBothPhases, AreCarriedOutInTheirOrder) {
    insert(GetParam());
    const std::uint16_t tag = card.amounts.at(0);
    bank::Decision decision;
    decision.scripts = {{.phase = ScriptPhase::AfterFinalCryptogram,
                         .identifier = bank::ScriptIdentifier{7, 2, 7, 2},
                         .commands = {bank::put_data(tag, hex("000000000333"))}},
                        {.phase = ScriptPhase::BeforeFinalCryptogram,
                         .identifier = bank::ScriptIdentifier{7, 1, 7, 1},
                         .commands = {bank::put_data(tag, hex("000000000111")),
                                      bank::put_data(tag, hex("000000000222"))}}};
    const auto request = buy(decision);
    EXPECT_TRUE(terminal->card_accepted_issuer());
    const auto results = terminal->script_results();
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[0].identifier, "07010701");
    EXPECT_EQ(results[0].result, 2U);
    EXPECT_EQ(results[1].identifier, "07020702");
    EXPECT_EQ(results[1].result, 2U);
    EXPECT_EQ(verification_and_status(), hex("0000000000 0400")) << "scripts run, none failed";
    const ByteString value = card_data(tag);
    EXPECT_EQ(to_hex(value).substr(6), "0000000003339000");
}

INSTANTIATE_TEST_SUITE_P(Cards, ScriptsOfBothPhases, testing::ValuesIn(shipped_cards(has_amounts)),
                         CardName());

TEST_F(PurchaseTest, BlockedApplicationLeavesTheOtherOneOfTheCardInUse) {
    insert(shipped_card("two_applications"));
    run_script(ScriptPhase::AfterFinalCryptogram, {bank::application_block()});
    EXPECT_EQ(failure_of([&] { request_authorisation(); }), -26881);
    card = shipped_card("two_applications_debit");
    buy();
    EXPECT_TRUE(terminal->card_accepted_issuer());
}

}  // namespace
}  // namespace quorrin::test
