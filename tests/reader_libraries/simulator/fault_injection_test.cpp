// Faults in front of a card: when they strike, what they do, and what the card sees of it.

#include "reader_libraries/simulator/fault_injection.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reader_libraries/simulator/recorded_card.hpp"

namespace quorrin::test {
namespace {

using simulator::CommandPattern;
using simulator::CutAnswer;
using simulator::FaultInjection;
using simulator::FaultTrigger;
using simulator::OtherAnswer;
using simulator::ReaderFailure;
using simulator::ReaderResult;
using simulator::SlotFaults;
using testing::ElementsAre;

constexpr const char* first = "00A4040000";
constexpr const char* second = "80CA9F3600";

FaultTrigger at_exchange(std::uint64_t number, bool always = false) {
    return {FaultTrigger::Event::Exchange, {}, number, always};
}

FaultTrigger at_command(const CommandPattern& pattern, std::uint64_t number, bool always = false) {
    return {FaultTrigger::Event::Command, pattern, number, always};
}

FaultTrigger at_power_on(std::uint64_t number, bool always = false) {
    return {FaultTrigger::Event::PowerOn, {}, number, always};
}

class FaultInjectionTest : public testing::Test {
  protected:
    FaultInjectionTest() {
        card.answers[first] = hex("6F 00 90 00");
        card.answers[second] = hex("9F 36 02 00 01 90 00");
    }

    // What each command in turn got: hex text, or "result n".
    static std::vector<std::string> send(FaultInjection& faults,
                                         const std::vector<const char*>& commands) {
        std::vector<std::string> got;
        for (const char* command : commands) {
            try {
                got.push_back(to_hex(faults.transmit(hex(command))));
            } catch (const ReaderFailure& failure) {
                got.push_back("result " + std::to_string(failure.result()));
            }
        }
        return got;
    }

    RecordedCard card;
};

TEST_F(FaultInjectionTest, WithoutFaultsEverythingPasses) {
    const SlotFaults none;
    FaultInjection faults(card, none);
    EXPECT_EQ(faults.power_on(), hex("3B 00"));
    EXPECT_THAT(send(faults, {first, second}), ElementsAre("6F009000", "9F360200019000"));
    faults.power_off();
    EXPECT_THAT(card.asked, ElementsAre("on", first, second, "off"));
    EXPECT_TRUE(faults.card_present());
}

TEST_F(FaultInjectionTest, StrikesAtTheNthExchangeOnly) {
    const SlotFaults list{.list = {{at_exchange(2), ReaderResult{-11}, false}}};
    FaultInjection faults(card, list);
    EXPECT_THAT(send(faults, {first, first, first}),
                ElementsAre("6F009000", "result -11", "6F009000"));
    EXPECT_THAT(card.asked, ElementsAre(first, first));
}

TEST_F(FaultInjectionTest, StrikesFromTheNthExchangeOn) {
    const SlotFaults list{.list = {{at_exchange(2, true), OtherAnswer{hex("69 85")}, false}}};
    FaultInjection faults(card, list);
    EXPECT_THAT(send(faults, {first, first, first}), ElementsAre("6F009000", "6985", "6985"));
}

TEST_F(FaultInjectionTest, StrikesAtTheNthMatchingCommand) {
    const CommandPattern get_data{{0x80, 0xCA, 0x00, 0x00}, {0xFF, 0xFF, 0x00, 0x00}};
    const SlotFaults list{.list = {{at_command(get_data, 2), OtherAnswer{hex("6A 88")}, false}}};
    FaultInjection faults(card, list);
    EXPECT_THAT(send(faults, {first, second, first, second, second}),
                ElementsAre("6F009000", "9F360200019000", "6F009000", "6A88", "9F360200019000"));
}

TEST_F(FaultInjectionTest, APatternLooksAtTheDigitsUnderItsMaskOnly) {
    const CommandPattern pattern{{0x80, 0xA0, 0x00, 0x01}, {0xFF, 0xF0, 0x00, 0x0F}};
    EXPECT_TRUE(pattern.matches(hex("80 AE 40 F1 00")));
    EXPECT_TRUE(pattern.matches(hex("80 A0 00 01")));
    EXPECT_FALSE(pattern.matches(hex("84 AE 40 F1 00")));
    EXPECT_FALSE(pattern.matches(hex("80 BE 40 F1 00")));
    EXPECT_FALSE(pattern.matches(hex("80 AE 40 F2 00")));
    EXPECT_FALSE(pattern.matches(hex("80 AE 40")));
}

TEST_F(FaultInjectionTest, CutsTheAnswerOfACardThatActed) {
    const SlotFaults list{.list = {{at_exchange(1), CutAnswer{3}, false},
                                   {at_exchange(2), CutAnswer{0}, false},
                                   {at_exchange(3), CutAnswer{100}, false}}};
    FaultInjection faults(card, list);
    EXPECT_THAT(send(faults, {second, second, second}),
                ElementsAre("9F3602", "", "9F360200019000"));
    EXPECT_THAT(card.asked, ElementsAre(second, second, second));
}

TEST_F(FaultInjectionTest, AnExecutedCommandReachesTheCardThoughItsAnswerIsLost) {
    const SlotFaults list{.list = {{at_exchange(1), ReaderResult{-15}, true},
                                   {at_exchange(2), OtherAnswer{hex("6F 00")}, true}}};
    FaultInjection faults(card, list);
    EXPECT_THAT(send(faults, {first, second}), ElementsAre("result -15", "6F00"));
    EXPECT_THAT(card.asked, ElementsAre(first, second));
}

TEST_F(FaultInjectionTest, TheFirstOfTheListWinsAndTheOthersCountAllTheSame) {
    const CommandPattern any{};
    const SlotFaults list{.list = {{at_exchange(1), OtherAnswer{hex("61 01")}, false},
                                   {at_command(any, 1), OtherAnswer{hex("61 02")}, false},
                                   {at_command(any, 2), OtherAnswer{hex("61 03")}, false}}};
    FaultInjection faults(card, list);
    EXPECT_THAT(send(faults, {first, first, first}), ElementsAre("6101", "6103", "6F009000"));
}

TEST_F(FaultInjectionTest, PowerOnFailsOrGivesAnotherAnswerToReset) {
    const SlotFaults list{.list = {{at_power_on(1), ReaderResult{-4}, false},
                                   {at_power_on(2), OtherAnswer{hex("3F 01")}, false},
                                   {at_power_on(4), CutAnswer{1}, false},
                                   {at_exchange(1), OtherAnswer{hex("69 85")}, false}}};
    FaultInjection faults(card, list);
    try {
        faults.power_on();
        ADD_FAILURE() << "powered";
    } catch (const ReaderFailure& failure) {
        EXPECT_EQ(failure.result(), -4);
    }
    EXPECT_EQ(faults.power_on(), hex("3F 01"));
    EXPECT_EQ(faults.power_on(), hex("3B 00"));
    EXPECT_EQ(faults.power_on(), hex("3B"));
    // Powering is no exchange.
    EXPECT_THAT(send(faults, {first}), ElementsAre("6985"));
    EXPECT_THAT(card.asked, ElementsAre("on", "on", "on"));
}

TEST_F(FaultInjectionTest, ACardIsGoneAfterItsLastExchange) {
    const SlotFaults list{.removed_after = 2};
    FaultInjection faults(card, list);
    EXPECT_TRUE(faults.card_present());
    send(faults, {first});
    EXPECT_TRUE(faults.card_present());
    EXPECT_THAT(send(faults, {first}), ElementsAre("6F009000"));
    EXPECT_FALSE(faults.card_present());
}

TEST_F(FaultInjectionTest, AnAbsentCardWasNeverThere) {
    const SlotFaults list{.absent = true};
    const FaultInjection faults(card, list);
    EXPECT_FALSE(faults.card_present());
}

}  // namespace
}  // namespace quorrin::test
