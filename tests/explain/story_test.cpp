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
    EXPECT_EQ(told.ended, "approved by the bank: 00; the card took the answer for right");
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
    const char* ended;
    const char* decision;  // WHO RESULT CODE MEANING; empty where none is told
    bool failed;
    CardWords card = {};
    BankWords bank = {};
};

void PrintTo(const EndingRow& row, std::ostream* out) {
    *out << row.name;
}

std::string decision(const explain::Transaction& told) {
    if (!told.decision) {
        return {};
    }
    std::string text = std::string(name_of(told.decision->party)) + " " +
                       std::string(name_of(told.decision->result));
    for (const std::string& part : {told.decision->code, told.decision->meaning}) {
        text += part.empty() ? "" : " " + part;
    }
    return text;
}

class StoryEnding : public testing::TestWithParam<EndingRow> {};

TEST_P(StoryEnding, IsToldInTheSummary) {
    const explain::Story story =
        purchase(GetParam().card, "000000012850 0156 261121 A1B2C3D4 0000008000", GetParam().bank)
            .story();
    ASSERT_EQ(story.transactions.size(), 1u);
    const explain::Transaction& told = story.transactions[0];
    EXPECT_EQ(told.ended, GetParam().ended);
    EXPECT_EQ(decision(told), GetParam().decision);
    EXPECT_EQ(told.failed, GetParam().failed);
    for (const std::string& text : {to_text(story, {.width = 1000}), to_html(story)}) {
        EXPECT_THAT(text, HasSubstr(GetParam().ended));
    }
}

const char* const tc = "80 13 40 0012 1122334455667788 0701010394000001 9000";
const char* const aac = "80 13 00 0012 1122334455667788 0701010390000001 9000";
const char* const arpc = "0102030405060708";

BankWords second(const char* asked, const std::string& code, const char* cryptogram) {
    return {.authentication = "",
            .asked = asked,
            .data = code + " " + arpc + " 3030",
            .cryptogram = cryptogram};
}

const EndingRow ending_rows[] = {
    {.name = "DeclinedByTheBank",
     .ended = "declined by the bank: 51, Not sufficient funds; the card took the answer for right",
     .decision = "bank declined 51 Not sufficient funds",
     .failed = true,
     .bank = {.authentication = "0102030405060708 3531"}},
    {.name = "ReferredByTheBank",
     .ended = "referred by the bank: 01, Refer to card issuer; the card took the answer for right",
     .decision = "bank referred 01 Refer to card issuer",
     .failed = true,
     .bank = {.authentication = "0102030405060708 3031"}},
    {.name = "ApprovedForAPart",
     .ended = "approved by the bank: 10, Approved for a partial amount; the card took the answer "
              "for right",
     .decision = "bank approved 10 Approved for a partial amount",
     .failed = false,
     .bank = {.authentication = "0102030405060708 3130"}},
    {.name = "CodeOfTheNetwork",
     .ended = "declined by the bank: 7Q; the card took the answer for right",
     .decision = "bank declined 7Q",
     .failed = true,
     .bank = {.authentication = "0102030405060708 3751"}},
    {.name = "StatusUpdateApproves",
     .ended = "approved by the bank: its card status update says so; the card took the answer for "
              "right",
     .decision = "bank approved",
     .failed = false,
     .bank = {.authentication = "01020304 00800000"}},
    {.name = "StatusUpdateDeclines",
     .ended = "declined by the bank: its card status update says so; the card took the answer for "
              "right",
     .decision = "bank declined",
     .failed = true,
     .bank = {.authentication = "01020304 80000000 1122"}},
    {.name = "CryptogramWithoutACode",
     .ended = "online: the card took the bank's answer for right; what the bank decided is not in "
              "the recording",
     .decision = "",
     .failed = false,
     .bank = {.authentication = "01020304 55667788"}},
    {.name = "MaskedCode",
     .ended = "online: the card took the bank's answer for right; what the bank decided is not in "
              "the recording",
     .decision = "",
     .failed = false,
     .bank = {.authentication = "0102030405060708 ****"}},
    {.name = "WrongArpc",
     .ended = "refused by the card: it took the bank's answer (00, Approved) for wrong",
     .decision = "card declined",
     .failed = true,
     .card = {.authentication = "6300"}},
    {.name = "AnswerNotTaken",
     .ended = "refused by the card: it did not take the bank's answer (00, Approved), 6985, "
              "Conditions of use not satisfied",
     .decision = "card declined",
     .failed = true,
     .card = {.authentication = "6985"}},
    {.name = "NoAnswerOfTheBank",
     .ended = "the card asked for online authorisation; no answer of the bank came to it",
     .decision = "",
     .failed = false,
     .bank = {.authentication = ""}},
    {.name = "DeclinedByTheCard",
     .ended = "declined by the card (AAC)",
     .decision = "card declined",
     .failed = true,
     .card = {.cryptogram = aac},
     .bank = {.authentication = ""}},
    {.name = "ApprovedOffline",
     .ended = "approved offline by the card (TC)",
     .decision = "card approved",
     .failed = false,
     .card = {.cryptogram = tc},
     .bank = {.authentication = ""}},
    {.name = "ApprovedWithASecondCryptogram",
     .ended = "approved by the bank: 00; the card gave a TC",
     .decision = "bank approved 00 Approved",
     .failed = false,
     .bank = second("40", "3030", tc)},
    {.name = "DeclinedWithASecondCryptogram",
     .ended = "declined by the bank: 54, Expired card; the card gave an AAC",
     .decision = "bank declined 54 Expired card",
     .failed = true,
     .bank = second("00", "3534", aac)},
    {.name = "BankNotReachedApproved",
     .ended =
         "approved by the terminal: Y3, Unable to go online, offline approved; the card gave a "
         "TC",
     .decision = "terminal approved Y3 Unable to go online, offline approved",
     .failed = false,
     .bank = second("40", "5933", tc)},
    {.name = "BankNotReachedDeclined",
     .ended = "declined by the terminal: Z3, Unable to go online, offline declined; the card gave "
              "an AAC",
     .decision = "terminal declined Z3 Unable to go online, offline declined",
     .failed = true,
     .bank = second("00", "5A33", aac)},
    {.name = "CardDeclinesWhatTheBankApproved",
     .ended = "declined by the card: asked for a TC, it gave an AAC (approved by the bank: 00)",
     .decision = "card declined",
     .failed = true,
     .bank = second("40", "3030", aac)},
    {.name = "TerminalDeclinesWhatTheBankApproved",
     .ended = "declined by the terminal: it asked for an AAC (approved by the bank: 00)",
     .decision = "terminal declined",
     .failed = true,
     .bank = second("00", "3030", aac)},
    {.name = "ApprovedAgainstTheBank",
     .ended = "declined by the bank: 05, Do not honour; a TC was asked for all the same, and given",
     .decision = "bank declined 05 Do not honour",
     .failed = true,
     .bank = second("40", "3035", tc)},
    {.name = "SecondCryptogramAfterAuthentication",
     .ended = "declined by the bank: 51, Not sufficient funds; the card gave an AAC",
     .decision = "bank declined 51 Not sufficient funds",
     .failed = true,
     .bank = {.authentication = "0102030405060708 3531",
              .asked = "00",
              .data = "0000 0102030405060708 3531",
              .cryptogram = aac}},
    {.name = "SecondCryptogramWithoutACode",
     .ended = "declined by the bank or the terminal: an AAC was asked for, and why is not in the "
              "recording",
     .decision = "",
     .failed = true,
     .bank = {.authentication = "",
              .asked = "00",
              .data = "**** 0102030405060708 ****",
              .cryptogram = aac}},
    {.name = "NoSecondCryptogram",
     .ended = "the card gave no second cryptogram: 6985, Conditions of use not satisfied",
     .decision = "",
     .failed = true,
     .bank = second("40", "3030", "6985")},
};

INSTANTIATE_TEST_SUITE_P(Purchases, StoryEnding, testing::ValuesIn(ending_rows),
                         [](const auto& row) { return row.param.name; });

TEST(Story, SaysWhenTheTerminalAskedTheCardToDecline) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, CardWords{}.fci);
    trace.exchange("80A80000068304F400000000", CardWords{}.options);
    trace.exchange("80AE00000400000000", aac);
    const explain::Transaction told = trace.story().transactions.at(0);
    EXPECT_EQ(told.ended, "declined by the terminal: it asked the card for an AAC");
    EXPECT_EQ(decision(told), "terminal declined");
    EXPECT_THAT(told.steps.back().outcome, StartsWith("AAC: declined, as the terminal asked"));
}

TEST(Story, MarksTheStepInWhichTheBankDeclined) {
    const explain::Story story = purchase({}, "000000012850 0156 261121 A1B2C3D4 0000008000",
                                          {.authentication = "0102030405060708 3531"})
                                     .story();
    const explain::Step& step = story.transactions.at(0).steps.at(6);
    EXPECT_TRUE(step.failed);
    EXPECT_EQ(step.outcome,
              "the card takes the bank's answer (51, Not sufficient funds) for right");
    EXPECT_EQ(findings(story), "refusal bank: declined: 51, Not sufficient funds\n");
}

TEST(StoryJson, TellsWhoDecided) {
    const std::string text = to_json(purchase({}, "000000012850 0156 261121 A1B2C3D4 0000008000",
                                              {.authentication = "0102030405060708 3531"})
                                         .story(),
                                     -1);
    EXPECT_THAT(text, HasSubstr(R"("decision":{"by":"bank","result":"declined","code":"51",)"
                                R"("meaning":"Not sufficient funds"})"));
}

// --- What a search meets on its way

TEST(Story, PassesOverSlotsWithoutACard) {
    TraceNotation trace;
    trace.open().power_on(-2).power_on(-2).slot(0x31).power_on(-2).slot(1).power_on();
    trace.exchange(select, CardWords{}.fci);
    const explain::Story story = trace.story();
    ASSERT_EQ(story.transactions.size(), 1u);
    const explain::Transaction& told = story.transactions[0];
    EXPECT_EQ(told.slot, "contact");
    EXPECT_THAT(titles(told), ElementsAre("Reader", "Power on", "Application selection"));
    EXPECT_FALSE(told.steps[1].failed);
    EXPECT_THAT(told.steps[1].passed_over,
                ElementsAre("no card in the contact and contactless slots, went on"));
    EXPECT_EQ(findings(story), "");
}

TEST(Story, CallsTheSlotOfTheCardThatWasFound) {
    TraceNotation trace;
    trace.open().power_on(-2).power_off().slot(0x31).power_on().exchange(select, CardWords{}.fci);
    const explain::Story story = trace.story();
    ASSERT_EQ(story.transactions.size(), 1u);
    EXPECT_EQ(story.transactions[0].slot, "contactless");
    EXPECT_THAT(to_text(story),
                HasSubstr("\n                        no card in the contact slot, went on\n"));
}

TEST(Story, WarnsOfACardThatIsMuteOnTheWay) {
    TraceNotation trace;
    trace.open().power_on(-4).slot(0x31).power_on().exchange(select, CardWords{}.fci);
    const explain::Story story = trace.story();
    EXPECT_EQ(findings(story), "warning reader: the reader reports -4, card_mute\n");
    EXPECT_FALSE(story.transactions.at(0).steps.at(1).failed);
}

TEST(Story, CountsApplicationNamesThatTheCardDoesNotKnow) {
    TraceNotation trace;
    trace.open().power_on().exchange("00A404000E315041592E5359532E4444463031", "6A82");
    for (const char* name : {"A00000033301010200", "A00000033301010300", "A00000033301010600"}) {
        trace.exchange("00A4040008" + std::string(name), "6A82");
    }
    trace.exchange("00A4040007A000000003101000", "6A81").exchange(select, CardWords{}.fci);
    const explain::Story story = trace.story();
    const explain::Transaction& told = story.transactions.at(0);
    EXPECT_EQ(told.steps.at(2).outcome, "none on this card (6A82)");
    EXPECT_FALSE(told.steps.at(2).failed);
    EXPECT_THAT(told.steps.at(3).passed_over,
                ElementsAre("one name refused with 6A81 (Function not supported, or card or "
                            "application blocked), went on",
                            "3 application names unknown to this card"));
    EXPECT_FALSE(told.steps.at(3).failed);
    EXPECT_EQ(findings(story), "");
    EXPECT_THAT(
        to_json(story, -1),
        HasSubstr(
            R"("passed_over":["one name refused with 6A81 (Function not supported, or card or )"
            R"(application blocked), )"
            R"(went on","3 application names unknown to this card"])"));
}

TEST(Story, KeepsTheRefusalThatEndedASelection) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, "6A82").exchange(select, "6A82").power_off();
    const explain::Story story = trace.story();
    const explain::Step& step = story.transactions.at(0).steps.at(2);
    EXPECT_TRUE(step.failed);
    EXPECT_THAT(step.passed_over, ElementsAre("1 application name unknown to this card"));
    EXPECT_EQ(findings(story),
              "refusal card: the card refuses: 6A82, File or application not found\n");
}

TEST(Story, WarnsOfARefusalAfterWhichTheHostWentOn) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, CardWords{}.fci);
    trace.exchange("00200080 08 24****FFFFFFFFFF", "63C2");
    trace.exchange("00200080 08 24****FFFFFFFFFF", "9000");
    const explain::Story story = trace.story();
    EXPECT_EQ(findings(story),
              "warning card: the card refuses: 63C2, Verification failed, 2 tries left\n");
    EXPECT_FALSE(story.transactions.at(0).steps.at(3).failed);
    EXPECT_THAT(to_text(story), HasSubstr("step                    !: not as it should be\n"));
    EXPECT_THAT(to_text(story), HasSubstr("\n !"));
}

TEST(Story, NamesElementsThatTheCardDoesNotHave) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, CardWords{}.fci);
    trace.exchange("80CA9F3600", "9F3602001290 00").exchange("80CA9F7900", "6A88");
    const explain::Story story = trace.story();
    EXPECT_EQ(story.transactions.at(0).steps.at(3).outcome,
              "1 element read; not on this card: 9F79, Electronic cash balance");
    EXPECT_EQ(findings(story), "");
}

TEST(Story, SaysWhatTheApplicationCanDo) {
    const explain::Story story = purchase({}).story();
    EXPECT_EQ(story.transactions.at(0).steps.at(3).outcome,
              "1 record to read; application's abilities 1C00: cardholder verification, terminal "
              "risk management, issuer authentication");
}

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
    EXPECT_EQ(trace.story().transactions.at(0).ended, "no card in the contact slot");
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

// What a masked recording keeps is told; what it hides is said to be hidden, and no digit made up.
std::string of_length(std::string_view elements) {
    const auto digits = std::ranges::count_if(elements, [](char c) { return c != ' '; });
    return "70" + to_hex(ByteString{static_cast<std::uint8_t>(digits / 2)}) +
           std::string(elements) + "9000";
}

std::string told_record(const std::string& record, const explain::Options& options = {}) {
    trace::Trace trace = purchase({.record = record}).trace();
    if (record.find('*') != std::string::npos) {
        for (trace::Entry& entry : trace.entries) {
            entry.masked = true;
        }
    }
    return to_text(explain::tell(trace, options), {.width = 200, .details = true});
}

TEST(StoryText, SaysWhatTheRecordingHides) {
    const std::string record = of_length(
        "5A 08 **************** 57 10 *******************************F 5F20 04 ******** "
        "5F24 03 301231 5F28 02 0156 8C 0D 9F0206 5F2A02 9A03 9F3704 9505 8D 04 8A02 910A");
    for (const bool show_sensitive : {false, true}) {
        const std::string text = told_record(record, {.show_sensitive = show_sensitive});
        EXPECT_THAT(text, HasSubstr("5A Application PAN: masked in the recording\n"));
        EXPECT_THAT(text, HasSubstr("57 Track 2 equivalent data: masked in the recording\n"));
        EXPECT_THAT(text, HasSubstr("5F20 Cardholder name: masked in the recording\n"));
        EXPECT_THAT(text, HasSubstr("5F24 Application expiration date: 2030-12-31\n"));
        EXPECT_THAT(text, HasSubstr("5F28 Issuer country code: China (0156)\n"));
        EXPECT_THAT(text, Not(HasSubstr("000000******0000")));
        EXPECT_THAT(text, Not(HasSubstr("0000000000000000")));
        EXPECT_THAT(text, Not(HasSubstr("!")));
    }
}

TEST(Story, MakesUpNoAmountAndNoDateWhereTheyAreMasked) {
    TraceNotation notation = purchase({}, "************ 0156 ****** A1B2C3D4 0000008000");
    trace::Trace trace = notation.trace();
    for (trace::Entry& entry : trace.entries) {
        entry.masked = true;
    }
    const explain::Story story = explain::tell(trace);
    const explain::Transaction& told = story.transactions.at(0);
    EXPECT_EQ(findings(story), "");
    EXPECT_EQ(fact(told.asked, "Amount"), "masked");
    EXPECT_EQ(fact(told.asked, "Date"), "masked");
}

TEST(StoryText, SaysWhatItMasksItself) {
    EXPECT_THAT(told_record(CardWords{}.record), HasSubstr("5A Application PAN: masked\n"));
    EXPECT_THAT(told_record(CardWords{}.record, {.show_sensitive = true}),
                HasSubstr("5A Application PAN: 6228000100001117"));
}

TEST(StoryJson, KeepsMaskedDigitsInTheTree) {
    const explain::Story story =
        purchase({.record = of_length("5A 08 **************** 5F24 03 301231")}).story();
    const decode::Node& record = story.transactions.at(0).steps.at(4).exchanges.at(0).received;
    EXPECT_EQ(find_object(record, "5A")->value, "****************");
    EXPECT_EQ(find_object(record, "5A")->text, "masked in the recording");
    EXPECT_EQ(find_object(record, "5F24")->value, "301231");
}

TEST(StoryText, KnowsTheCurrencyThatTheCardTellsAfterAnAmount) {
    TraceNotation trace;
    trace.open().power_on().exchange(select, CardWords{}.fci);
    trace.exchange("80CA9F7900", "9F7906000000030000 9000");
    trace.exchange("80CA9F5100", "9F51020156 9000");
    EXPECT_THAT(to_text(trace.story(), {.details = true}),
                HasSubstr("9F79 Electronic cash balance: CNY 300.00"));
}

TEST(StoryText, KeepsTheCurrencyOfTheCardApartFromThatOfTheTransaction) {
    TraceNotation trace = purchase({}, "000000012850 0840 261121 A1B2C3D4 0000008000");
    trace.exchange("80CA9F7900", "9F7906000000030000 9000");
    trace.exchange("80CA9F5100", "9F51020156 9000");
    const std::string text = to_text(trace.story(), {.details = true});
    EXPECT_THAT(text, HasSubstr("9F79 Electronic cash balance: CNY 300.00"));
    EXPECT_THAT(text, HasSubstr("9F02 Amount, authorised (numeric): USD 128.50"));
}

TEST(StoryText, MarksFailedStepsAndListsFindingsBelowThem) {
    const std::string text = to_text(purchase({.authentication = "6300"}).story());
    EXPECT_THAT(text,
                HasSubstr("1  Purchase  2026-11-21 09:30:00 UTC, contact slot, terminal desk-4"));
    EXPECT_THAT(text, HasSubstr("  step                    x: ended here\n"));
    EXPECT_THAT(text, HasSubstr("\n x"));
    EXPECT_THAT(text,
                HasSubstr("refusal, bank: the bank's cryptogram (ARPC) is wrong for this card"));
    EXPECT_THAT(text, Not(HasSubstr("\033[")));
    EXPECT_THAT(to_text(purchase({}).story(), {.colour = true}), HasSubstr("\033["));
}

}  // namespace
}  // namespace quorrin::test
