// The card in the tests must not pass by accident: its notation and its rows.

#include <gtest/gtest-spi.h>

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

TEST(CardNotation, BuildsObjectsWithTheirLengths) {
    EXPECT_EQ(card_bytes("6F[ 84['AB'] A5[] ] 9000"), hex("6F06 84024142 A500 9000"));
    EXPECT_EQ(card_bytes("5A*3 # a comment ]"), hex("5A5A5A"));
    EXPECT_EQ(card_bytes("90[11*127]"), join(hex("907F"), filled(127, 0x11)));
    EXPECT_EQ(card_bytes("90[11*128]"), join(hex("908180"), filled(128, 0x11)));
    EXPECT_EQ(card_bytes("90[11*256]"), join(hex("90820100"), filled(256, 0x11)));
    EXPECT_EQ(object("9F10", filled(200, 0)), join(hex("9F1081C8"), filled(200, 0)));
}

TEST(CardNotation, RefusesWhatItCannotRead) {
    for (const char* text :
         {"9", "9G", "90 0", "6F[", "6F]", "6F[ 84[ ]", "'AB", "*3", "90*", "90*0"}) {
        EXPECT_THROW(card_bytes(text), std::invalid_argument) << text;
    }
}

class ScriptedCardTest : public BankCardTest {};

ByteString respond(ScriptedCard& card, std::string_view command) {
    return card.exchange(hex(command)).bytes;
}

constexpr char card_of_two_applications[] = R"(
80CA9F1700
    9F17[03] 9000
00A40400 [A1] 00
    6F[] 9000
00B2010C00
    70[01] 9000
00A40400 [A2] 00
    6283
00B2010C00
    70[02] 9000
00A40400 [A3] 00
    6F[] 9000
00B2 *
    6A83
80A8 *
    !-11
)";

TEST_F(ScriptedCardTest, AnswersByTheSelectedApplication) {
    ScriptedCard card(card_of_two_applications);
    EXPECT_EQ(respond(card, "80CA9F1700"), hex("9F1701039000"));
    EXPECT_EQ(respond(card, "00A4040001A100"), hex("6F009000"));
    EXPECT_EQ(respond(card, "00B2010C00"), hex("7001019000"));
    EXPECT_EQ(respond(card, "00A4040001A200"), hex("6283"));
    EXPECT_EQ(respond(card, "00B2010C00"), hex("7001019000")) << "a refused SELECT changes nothing";
    EXPECT_EQ(respond(card, "00A4040001A300"), hex("6F009000"));
    EXPECT_EQ(respond(card, "00B2010C00"), hex("6A83"));
    EXPECT_EQ(card.exchange(hex("80A80000")).result, -11);
}

TEST_F(ScriptedCardTest, OverridesRowsAndSteps) {
    ScriptedCard card(card_of_two_applications);
    card.with("80CA9F1700\n    6A88").once("80CA9F1700\n    6985").at_step(2, failure(-4));
    EXPECT_EQ(respond(card, "80CA9F1700"), hex("6985"));
    EXPECT_EQ(respond(card, "80CA9F1700"), hex("6A88"));
    EXPECT_EQ(card.exchange(hex("80CA9F1700")).result, -4);
    EXPECT_EQ(respond(card, "80CA9F1700"), hex("6A88"));
}

TEST_F(ScriptedCardTest, SelectsByTheAnswerThatIsGiven) {
    const std::string select = "00A4040001A100";
    const std::string row = "00A40400 [A1] 00\n    ";
    const std::tuple<const char*, std::function<void(ScriptedCard&)>, const char*> cases[] = {
        {"its own", [](ScriptedCard&) {}, "7001019000"},
        {"step, accepted", [](ScriptedCard& card) { card.at_step(1, answer("9000")); },
         "7001019000"},
        {"step, refused", [](ScriptedCard& card) { card.at_step(1, answer("6283")); }, "6A83"},
        {"step, failed", [](ScriptedCard& card) { card.at_step(1, failure(-4)); }, "6A83"},
        {"once, accepted", [&](ScriptedCard& card) { card.once(row + "840101 9000"); },
         "7001019000"},
        {"once, refused", [&](ScriptedCard& card) { card.once(row + "6A81"); }, "6A83"},
        {"with, accepted", [&](ScriptedCard& card) { card.with(row + "840101 9000"); },
         "7001019000"},
        {"with, refused", [&](ScriptedCard& card) { card.with(row + "6A81"); }, "6A83"},
    };
    for (const auto& [what, change, record] : cases) {
        ScriptedCard card(card_of_two_applications);
        change(card);
        EXPECT_EQ(respond(card, "00A4040001A300"), hex("6F009000")) << what;
        card.exchange(hex(select));
        EXPECT_EQ(respond(card, "00B2010C00"), hex(record)) << what;
    }
    // A SELECT that the card itself refuses.
    ScriptedCard card(card_of_two_applications);
    card.at_step(0, answer("9000"));
    respond(card, "00A4040001A200");
    EXPECT_EQ(respond(card, "00B2010C00"), hex("7001029000"));
}

TEST_F(ScriptedCardTest, FailsTheTestOnACommandWithoutARow) {
    EXPECT_NONFATAL_FAILURE(
        {
            ScriptedCard card(card_of_two_applications);
            respond(card, "0084000008");
        },
        "the card has no row for 0084000008");
}

}  // namespace
}  // namespace quorrin::test
