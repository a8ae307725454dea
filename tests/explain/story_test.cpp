// Stories of written traces: how they begin and end, what they are called, what stands in the summary.

#include <gmock/gmock.h>

#include <algorithm>

#include "explain/render.hpp"
#include "tests/explain/trace_notation.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> titles(const explain::Transaction& transaction) {
    std::vector<std::string> titles;
    for (const explain::Step& step : transaction.steps) {
        titles.push_back(step.title);
    }
    return titles;
}

std::string fact(const std::vector<explain::Fact>& facts, std::string_view name) {
    const auto found = std::ranges::find(facts, name, &explain::Fact::name);
    return found != facts.end() ? found->value : "(none)";
}

std::string findings(const explain::Story& story) {
    std::string text;
    for (const explain::Transaction& transaction : story.transactions) {
        for (const explain::Step& step : transaction.steps) {
            for (const explain::Finding& finding : step.findings) {
                text += std::string(name_of(finding.severity)) + " " +
                        std::string(name_of(finding.party)) + ": " + finding.text + "\n";
            }
        }
    }
    return text;
}

const char* const select = "00A4040008A00000033301010100";

TEST(Story, OfAPurchaseTellsCardRequestEndAndTime) {
    const explain::Story story = purchase({}).story();
    ASSERT_EQ(story.transactions.size(), 1u);
    const explain::Transaction& told = story.transactions[0];
    EXPECT_EQ(told.title, "Purchase");
    EXPECT_EQ(told.ended, "online: the card took the bank's answer for right");
    EXPECT_TRUE(told.complete);
    EXPECT_FALSE(told.failed);
    EXPECT_EQ(told.slot, "contact");
    EXPECT_EQ(told.first_line, 1u);
    EXPECT_EQ(told.last_line, 9u);
    EXPECT_THAT(titles(told), ElementsAre("Reader", "Power on", "Application selection",
                                          "Processing options", "Records", "First cryptogram",
                                          "Issuer authentication", "Power off", "Reader"));
    EXPECT_EQ(fact(told.card, "Card number"), "****************");
    EXPECT_EQ(fact(told.card, "Valid to"), "2030-12-31");
    EXPECT_THAT(fact(told.card, "Application"), StartsWith("A000000333010101, DEBIT"));
    EXPECT_EQ(fact(told.asked, "Amount"), "CNY 128.50");
    EXPECT_EQ(fact(told.asked, "Date"), "2026-11-21");
    EXPECT_EQ(fact(told.time, "In all"), "842.0 ms");
    EXPECT_EQ(fact(told.time, "Reader and card"), "18.0 ms, 5 exchanges, 186 bytes");
    EXPECT_EQ(fact(told.time, "Waiting for the bank"), "803.0 ms");
    EXPECT_EQ(fact(told.time, "Host"), "21.0 ms");
    EXPECT_EQ(findings(story), "");
}

TEST(Story, TellsWhatTheTerminalSentForEachEntryOfAList) {
    const explain::Story story = purchase({}).story();
    const decode::Node& sent = story.transactions.at(0).steps.at(5).exchanges.at(0).sent;
    const decode::Node* amount = find_object(sent, "9F02");
    ASSERT_NE(amount, nullptr);
    EXPECT_EQ(amount->value, "000000012850");
    const decode::Node* number = find_object(sent, "9F37");
    ASSERT_NE(number, nullptr);
    EXPECT_EQ(number->value, "A1B2C3D4");
}

TEST(Story, ShowsTheCardNumberWhenAsked) {
    const explain::Story story = purchase({}).story({.show_sensitive = true});
    EXPECT_EQ(fact(story.transactions.at(0).card, "Card number"), "6228000100001117");
    for (const std::string& text : {to_text(purchase({}).story(), {.details = true}),
                                    to_json(purchase({}).story()), to_html(purchase({}).story())}) {
        EXPECT_THAT(text, Not(HasSubstr("6228000100001117")));
    }
}

struct EndingRow {
    const char* name;
    CardWords card;
    const char* ended;
    bool failed;
};

class StoryEnding : public testing::TestWithParam<EndingRow> {};

TEST_P(StoryEnding, IsToldInTheSummary) {
    const explain::Story story = purchase(GetParam().card).story();
    ASSERT_EQ(story.transactions.size(), 1u);
    EXPECT_EQ(story.transactions[0].ended, GetParam().ended);
    EXPECT_EQ(story.transactions[0].failed, GetParam().failed);
}

INSTANTIATE_TEST_SUITE_P(
    Purchases, StoryEnding,
    testing::Values(EndingRow{"WrongArpc",
                              {.authentication = "6300"},
                              "online: the card took the bank's answer for wrong",
                              true},
                    EndingRow{"Declined",
                              {.cryptogram = "80 13 00 0012 1122334455667788 0701010390000001 9000",
                               .authentication = "6985"},
                              "declined by the card (AAC)",
                              true},
                    EndingRow{"ApprovedOffline",
                              {.cryptogram = "80 13 40 0012 1122334455667788 0701010394000001 9000",
                               .authentication = "6985"},
                              "approved offline by the card (TC)",
                              false}),
    [](const auto& row) { return row.param.name; });

TEST(Story, StopsWhereTheCardWasPulled) {
    TraceNotation trace;
    trace.open()
        .power_on()
        .exchange(select, CardWords{}.fci)
        .failure("80A80000068304F400000000", -2);
    const explain::Story story = trace.story();
    const explain::Transaction& told = story.transactions.at(0);
    EXPECT_FALSE(told.complete);
    EXPECT_TRUE(told.failed);
    EXPECT_THAT(told.ended, StartsWith("stops at Processing options: "));
    EXPECT_THAT(told.ended, HasSubstr("(-2)"));
    EXPECT_THAT(findings(story), HasSubstr("fault reader: the reader got no answer: -2"));
}

TEST(Story, OfAnUnfinishedRecordingSaysWhereItStops) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, CardWords{}.fci);
    const explain::Transaction told = trace.story().transactions.at(0);
    EXPECT_FALSE(told.complete);
    EXPECT_EQ(told.ended, "stops after selection");
}

TEST(Story, OfARefusedSelectionSaysWhy) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, "6A82").power_off();
    const explain::Story story = trace.story();
    EXPECT_THAT(story.transactions.at(0).ended, StartsWith("refused at selection: 6A82, "));
    EXPECT_TRUE(story.transactions.at(0).failed);
    EXPECT_THAT(findings(story), HasSubstr("refusal card: the card refuses: 6A82"));
}

TEST(Story, WithoutACardSaysSo) {
    TraceNotation trace;
    trace.open().power_on(-2).close();
    EXPECT_EQ(trace.story().transactions.at(0).ended, "no_card (-2)");
}

TEST(Story, CountsEachSelectionAfterATransactionAsANewOne) {
    TraceNotation trace;
    trace.open().power_on();
    for (int i = 0; i < 2; ++i) {
        trace.exchange(select, CardWords{}.fci)
            .exchange("80A80000068304F400000000", CardWords{}.options)
            .exchange("00B2010C00", CardWords{}.record);
    }
    trace.exchange(select, CardWords{}.fci).exchange("80CA9F4F00", "9F4F039A039F 9000");
    const explain::Story story = trace.story();
    ASSERT_EQ(story.transactions.size(), 3u);
    EXPECT_EQ(story.transactions[0].title, "Card data reading");
    EXPECT_EQ(story.transactions[1].title, "Card data reading");
    EXPECT_EQ(story.transactions[2].title, "Log reading");
}

TEST(Story, KeepsSlotsAndSessionsApart) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, CardWords{}.fci);
    trace.slot(0x31).power_on().exchange(select, CardWords{}.fci);
    trace.slot(1).exchange("80A80000068304F400000000", CardWords{}.options);
    trace.slot(0x31).power_off();
    trace.session("s2").slot(1).open().power_on();
    const explain::Story story = trace.story();
    ASSERT_EQ(story.transactions.size(), 3u);
    EXPECT_THAT(titles(story.transactions[0]),
                ElementsAre("Reader", "Power on", "Application selection", "Processing options"));
    EXPECT_EQ(story.transactions[1].slot, "contactless");
    EXPECT_THAT(titles(story.transactions[1]),
                ElementsAre("Power on", "Application selection", "Power off"));
    EXPECT_EQ(story.transactions[2].session, "s2");
}

TEST(Story, TakesGetResponseAndRepetitionsForPartsOfTheirCommand) {
    TraceNotation trace;
    trace.open().power_on();
    trace.exchange("00A4040008A000000333010101", "6110");
    trace.exchange("00C0000010", "6F1C8408A000000333010101A5105005 610C");
    trace.exchange("00C000000C", "44454249549F38039F6604870101 9000");
    trace.exchange("00B2010C00", "6C05").exchange("00B2010C05", "7003 9F0800 9000");
    const explain::Transaction told = trace.story().transactions.at(0);
    ASSERT_EQ(told.steps.size(), 4u);
    const explain::Exchange& selection = told.steps[2].exchanges.at(0);
    EXPECT_THAT(selection.lines, ElementsAre(3u, 4u, 5u));
    EXPECT_EQ(selection.answer, "6F1C8408A000000333010101A510500544454249549F38039F66048701019000");
    EXPECT_EQ(told.steps[3].exchanges.at(0).answer, "70039F08009000");
    EXPECT_EQ(told.exchange_count(), 2u);
}

TEST(Story, OfAnEmptyTraceIsEmpty) {
    EXPECT_THAT(TraceNotation().story().transactions, IsEmpty());
}

TEST(Story, TellsScriptsAndTheSecondCryptogram) {
    TraceNotation trace = purchase({});
    trace.exchange("84DA9F790A 000000030000 11223344", "9000");
    trace.exchange("841E000004 11223344", "6985");
    const explain::Story story = trace.story();
    EXPECT_THAT(findings(story),
                HasSubstr("warning bank: an issuer script command is refused: 6985"));
    EXPECT_THAT(story.transactions.at(0).ended, HasSubstr("1 of 2 issuer script commands taken"));
}

// Recordings come from anywhere: their names and times are what somebody has written there.
trace::Trace lines(std::initializer_list<std::string_view> texts) {
    trace::Trace trace;
    for (const std::string_view text : texts) {
        trace::ParsedLine parsed = trace::parse_line(text, trace.entries.size() + 1);
        EXPECT_TRUE(parsed.entry) << text;
        trace.entries.push_back(*std::move(parsed.entry));
    }
    return trace;
}

TEST(Story, KeepsTimesThatAreTooLongAtTheEndOfTheirRange) {
    const explain::Story story = explain::tell(lines(
        {R"({"@timestamp":"0001-01-01T00:00:00.000000Z","trace.version":1,"event.action":"power_on",)"
         R"("event.duration":9223372036854775807,"slot.code":1,"reader.result":2,"card.atr":"3B00"})",
         R"({"@timestamp":"9999-12-31T23:59:59.999999Z","trace.version":1,"event.action":"exchange",)"
         R"("event.duration":9223372036854775807,"slot.code":1,"reader.result":2,)"
         R"("apdu.command":"80AE8000","apdu.answer":"9000"})"}));
    ASSERT_EQ(story.transactions.size(), 1u);
    EXPECT_EQ(story.transactions[0].at_card, INT64_MAX);
    EXPECT_EQ(fact(story.transactions[0].time, "In all"), "9223372036854.8 ms");
    EXPECT_EQ(fact(story.transactions[0].time, "Host"), "0.0 \u00b5s");
}

TEST(StoryText, ShowsNoControlCharactersOfNames) {
    const explain::Story story = explain::tell(lines(
        {R"({"trace.version":1,"event.action":"open","reader.result":1,"device.id":"T\u001B[2J",)"
         R"("reader.name":"Desk\u009B\u007F\u00A0"})"}));
    const std::string text = to_text(story, {.details = true});
    EXPECT_THAT(text, HasSubstr("terminal T.[2J"));
    EXPECT_THAT(text, HasSubstr("Desk..\u00A0"));
    EXPECT_THAT(text, Not(HasSubstr("\u001B")));
}

TEST(StoryText, MarksFailedStepsAndListsFindingsBelowThem) {
    const std::string text = to_text(purchase({.authentication = "6300"}).story());
    EXPECT_THAT(text,
                HasSubstr("1  Purchase  2026-11-21 09:30:00 UTC, contact slot, terminal desk-4"));
    EXPECT_THAT(text, HasSubstr("\n x"));
    EXPECT_THAT(text,
                HasSubstr("refusal, bank: the bank's cryptogram (ARPC) is wrong for this card"));
    EXPECT_THAT(text, Not(HasSubstr("\033[")));
    EXPECT_THAT(to_text(purchase({}).story(), {.colour = true}), HasSubstr("\033["));
}

}  // namespace
}  // namespace quorrin::test
