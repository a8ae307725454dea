// One wrong bit in what goes between card and bank: the side that has to refuse it does, and nothing
// else changes.

#include <span>
#include <stdexcept>

#include "tests/purchase/purchase_test.hpp"

namespace quorrin::test {
namespace {

// ---- what the card sends to the bank ----

struct RequestField {
    const char* name;
    std::span<std::uint8_t> bytes;
};

class FlippedBitForTheBank : public PurchaseTest,
                             public testing::WithParamInterface<ShippedCard> {};

TEST_P(FlippedBitForTheBank, IsDeclinedWithNothingForTheCardToTrust) {
    insert(GetParam());
    auto request = request_authorisation({.amount = "000000012345", .time = "235959"});
    auto& covered = request.covered;
    ASSERT_TRUE(answer(request).approved);
    const RequestField fields[] = {
        {"9F26", request.arqc},
        {"9F10", request.issuer_application_data},
        {"9F02", covered.amount_authorised},
        {"9F03", covered.amount_other},
        {"9F1A", covered.terminal_country},
        {"95", covered.terminal_verification},
        {"5F2A", covered.currency},
        {"9A", covered.date},
        {"9C", {&covered.type, 1}},
        {"9F37", covered.unpredictable_number},
        {"82", covered.interchange_profile},
        {"5F34", {&request.pan_sequence_number, 1}},
    };
    const auto expect_refusal = [&](const char* name, std::size_t bit) {
        const auto refusal = bank::answer_online(card.product(), request);
        EXPECT_FALSE(refusal.cryptogram_right) << name << ", bit " << bit;
        EXPECT_EQ(refusal.issuer_data, hex("8A02 3035")) << name << ", bit " << bit;
        EXPECT_FALSE(refusal.reason.empty()) << name << ", bit " << bit;
    };
    for (const RequestField& field : fields) {
        ASSERT_FALSE(field.bytes.empty()) << field.name;
        for (std::size_t bit = 0; bit < 8 * field.bytes.size(); ++bit) {
            const auto mask = static_cast<std::uint8_t>(0x80 >> bit % 8);
            field.bytes[bit / 8] ^= mask;
            expect_refusal(field.name, bit);
            field.bytes[bit / 8] ^= mask;
        }
    }
    for (std::size_t bit = 0; bit < 16; ++bit) {
        const auto mask = static_cast<std::uint16_t>(0x8000 >> bit);
        covered.atc ^= mask;
        expect_refusal("9F36", bit);
        covered.atc ^= mask;
    }
    EXPECT_TRUE(answer(request).approved);
}

INSTANTIATE_TEST_SUITE_P(Cards, FlippedBitForTheBank, testing::ValuesIn(shipped_cards()),
                         CardName());

// ---- the bank's proof of itself ----

class FlippedBitOfIssuerAuthentication : public PurchaseTest,
                                         public testing::WithParamInterface<ShippedCard> {};

TEST_P(FlippedBitOfIssuerAuthentication, IsRefusedByTheCard) {
    insert(GetParam());
    // 8A 02 xx xx 91 L value; nothing follows.
    constexpr std::size_t value_position = 6;
    auto request = request_authorisation();
    const std::string before = card_contents();
    const std::size_t bits = 8 * (answer(request).issuer_data.size() - value_position);
    ASSERT_GE(bits, 64U);
    for (std::size_t bit = 0; bit < bits; ++bit) {
        SCOPED_TRACE("bit " + std::to_string(bit));
        request = request_authorisation();
        const ByteString right = answer(request).issuer_data;
        deliver(with_flipped_bit(right, 8 * value_position + bit));
        EXPECT_FALSE(terminal->card_accepted_issuer());
        EXPECT_EQ(last_online_atc(), card.last_online_atc);
        EXPECT_EQ(verification_and_status(), filled(7, 0));
        EXPECT_TRUE(terminal->script_results().empty());
        // One attempt in a transaction, so the right one comes too late (EMV book 3, 6.5.4).
        deliver(right);
        EXPECT_FALSE(terminal->card_accepted_issuer());
    }
    EXPECT_EQ(card_contents(), before);

    request = buy();
    EXPECT_TRUE(terminal->card_accepted_issuer()) << "the next one is taken";
    EXPECT_EQ(last_online_atc(), request.covered.atc);
}

INSTANTIATE_TEST_SUITE_P(Cards, FlippedBitOfIssuerAuthentication,
                         testing::ValuesIn(shipped_cards()), CardName());

// ---- script commands ----

enum class Script {
    PutData,
    UpdateRecord,
    PinChange,
    PinChangeUnderCurrent,
    PinUnblock,
    ApplicationBlock,
    CardBlock,
};

struct ScriptKind {
    Script script;
    const char* name;
    bool (*fits)(const ShippedCard&);
};

bool fits_all(const ShippedCard&) {
    return true;
}

constexpr ScriptKind script_kinds[] = {
    {Script::PutData, "put_data", has_amounts},
    {Script::UpdateRecord, "update_record", fits_all},
    {Script::PinChange, "pin_change", has_pin},
    {Script::PinChangeUnderCurrent, "pin_change_under_current", has_pin},
    {Script::PinUnblock, "pin_unblock", has_pin},
    {Script::ApplicationBlock, "application_block", fits_all},
    {Script::CardBlock, "card_block", fits_all},
};

struct ScriptOfCard {
    std::string name;
    ShippedCard card;
    Script script;
};

std::ostream& operator<<(std::ostream& out, const ScriptOfCard& script) {
    return out << script.name;
}

std::vector<ScriptOfCard> scripts_of_all_cards() {
    std::vector<ScriptOfCard> all;
    for (const ScriptKind& kind : script_kinds) {
        for (const ShippedCard& card : shipped_cards(kind.fits)) {
            all.push_back({card.name + "_" + kind.name, card, kind.script});
        }
    }
    return all;
}

class FlippedBitOfScriptCommand : public PurchaseTest,
                                  public testing::WithParamInterface<ScriptOfCard> {
  protected:
    // Within a transaction: the record is read from the card.
    bank::ScriptCommand command() const {
        switch (GetParam().script) {
            case Script::PutData:
                return bank::put_data(card.amounts.at(0), hex("000000054321"));
            case Script::UpdateRecord:
                return bank::update_record(card.holder_file, card.holder_record,
                                           holder_record_renamed());
            case Script::PinChange:
                return bank::pin_change("97531");
            case Script::PinChangeUnderCurrent:
                return bank::pin_change("97531", card.pin);
            case Script::PinUnblock:
                return bank::pin_unblock();
            case Script::ApplicationBlock:
                return bank::application_block();
            case Script::CardBlock:
                return bank::card_block();
        }
        throw std::logic_error("a script without a command");
    }

    // One PIN try less than the card starts with, so that a try counter set back shows.
    void use_up_a_pin_try() const {
        if (has_pin(card)) {
            ASSERT_EQ(verify("999999999999").at(0), 0x63);
        }
    }
};

TEST_P(FlippedBitOfScriptCommand, LeavesTheCardAsItWas) {
    insert(GetParam().card);
    auto request = request_authorisation();
    const auto decision = approval_with(ScriptPhase::AfterFinalCryptogram, {command()});
    use_up_a_pin_try();
    const std::string before = card_contents();

    // The script ends the answer: 72 L 86 L, then the command with its MAC.
    const std::size_t position = answer(request).issuer_data.size() + 4;
    const std::size_t bits = 8 * (answer(request, decision).issuer_data.size() - position);
    ASSERT_GE(bits, 8U * (5 + 4));
    for (std::size_t bit = 0; bit < bits; ++bit) {
        SCOPED_TRACE("bit " + std::to_string(bit));
        request = request_authorisation();
        deliver(with_flipped_bit(answer(request, decision).issuer_data, 8 * position + bit));
        EXPECT_TRUE(terminal->card_accepted_issuer());
        EXPECT_EQ(terminal->script_results().size(), 1U);
        ASSERT_EQ(card_contents(), before);
    }
    if (has_pin(card)) {
        EXPECT_EQ(verify(card.pin), done);
        use_up_a_pin_try();
    }

    // As the bank sent it, the command does something.
    buy(decision);
    const bool changed = card_contents() != before;
    const bool refused = failure_of([&] { request_authorisation(); }) != 0;
    EXPECT_TRUE(changed || refused);
}

INSTANTIATE_TEST_SUITE_P(Cards, FlippedBitOfScriptCommand,
                         testing::ValuesIn(scripts_of_all_cards()), CardName());

// Each MAC covers the one before, so a script is carried out up to its first damaged command.
class DamagedCommandAmongOthers : public PurchaseTest,
                                  public testing::WithParamInterface<ShippedCard> {};

TEST_P(DamagedCommandAmongOthers, TakesThoseAfterItWithIt) {
    insert(GetParam());
    const std::uint16_t tag = card.amounts.at(0);
    const auto request = request_authorisation();
    const auto decision = approval_with(
        ScriptPhase::BeforeFinalCryptogram,
        {bank::put_data(tag, hex("000000000111")), bank::put_data(tag, hex("000000000222")),
         bank::put_data(tag, hex("000000000333"))});
    const ByteString right = answer(request, decision).issuer_data;
    constexpr std::size_t command_object = 2 + 5 + 6 + 4;
    deliver(with_flipped_bit(right, 8 * (right.size() - command_object) - 1));
    const ByteString name{static_cast<std::uint8_t>(tag >> 8), static_cast<std::uint8_t>(tag)};
    EXPECT_EQ(to_hex(card_data(tag)), to_hex(name) + "060000000001119000");
}

INSTANTIATE_TEST_SUITE_P(Cards, DamagedCommandAmongOthers,
                         testing::ValuesIn(shipped_cards(has_amounts)), CardName());

}  // namespace
}  // namespace quorrin::test
