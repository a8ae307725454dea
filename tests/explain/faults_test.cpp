// One row for each way in which a card, host, reader or bank goes wrong: what is said of it, and nothing
// else beyond what a good purchase says.

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <ostream>

#include "tests/explain/trace_notation.hpp"

namespace quorrin::test {
namespace {

struct FaultRow {
    const char* name;
    const char* expected;  // "SEVERITY PARTY: TEXT"
    CardWords card = {};
    const char* terminal_data = "000000012850 0156 261121 A1B2C3D4 0000008000";
    std::function<void(TraceNotation&)> afterwards = {};
};

void PrintTo(const FaultRow& row, std::ostream* out) {
    *out << row.name;
}

class Fault : public testing::TestWithParam<FaultRow> {};

TEST_P(Fault, IsFound) {
    const FaultRow& row = GetParam();
    TraceNotation trace = purchase(row.card, row.terminal_data);
    if (row.afterwards) {
        row.afterwards(trace);
    }
    std::vector<std::string> found;
    for (const explain::Transaction& transaction : trace.story().transactions) {
        for (const explain::Step& step : transaction.steps) {
            for (const explain::Finding& finding : step.findings) {
                found.push_back(std::string(name_of(finding.severity)) + " " +
                                std::string(name_of(finding.party)) + ": " + finding.text);
            }
        }
    }
    EXPECT_THAT(found, testing::Contains(testing::StartsWith(row.expected)));
}

std::string record(std::string_view elements) {
    const ByteString bytes = hex(elements);
    return "70" + to_hex(ByteString{static_cast<std::uint8_t>(bytes.size())}) + to_hex(bytes) +
           "9000";
}

const char* const lists = "8C0D 9F0206 5F2A02 9A03 9F3704 9505 8D04 8A02 910A";

const FaultRow rows[] = {
    {.name = "BlockedApplication",
     .expected = "refusal card: the application is blocked",
     .card = {.fci = "6F1C8408A000000333010101A510500544454249549F38039F66048701016283"}},
    {.name = "NoFci",
     .expected = "fault card: the answer to SELECT is no file control information",
     .card = {.fci = "9000"}},
    {.name = "FciWithoutName",
     .expected = "fault card: the file control information has no application name",
     .card = {.fci = "6F06A5045002 4142 9000"}},
    {.name = "FciOfAnotherName",
     .expected = "fault card: the application name (DF name, 84) does not begin with",
     .card = {.fci = "6F0A8408A000000003101001 9000"}},
    {.name = "FileOutOfRange",
     .expected = "fault card: entry 1 of the file locator names no file",
     .card = {.options = "80061C00 F8010100 9000"}},
    {.name = "RecordZero",
     .expected = "fault card: entry 1 of the file locator names records 0 to 1",
     .card = {.options = "80061C00 08000100 9000"}},
    {.name = "MoreAuthenticatedThanNamed",
     .expected = "fault card: entry 1 of the file locator authenticates more",
     .card = {.options = "80061C00 08010102 9000"}},
    {.name = "LocatorOfOddLength",
     .expected = "fault card: the application file locator (94) is not",
     .card = {.options = "80071C00 0801010009 9000"}},
    {.name = "RecordNotThere",
     .expected = "warning card: record 1 of file 1, named by the file locator",
     .card = {.record = "6A83"}},
    {.name = "RecordWithoutTemplate",
     .expected = "fault card: a record of files 1 to 10 is not in",
     .card = {.record = "5F2403301231 9000"}},
    {.name = "ElementTwice",
     .expected = "fault card: 5F24",
     .card = {.record =
                  record(std::string("5A086228000100001117 5F2403301231 5F2403301231") + lists)}},
    {.name = "NoCardNumber",
     .expected = "fault card: the mandatory element 5A",
     .card = {.record = record(std::string("5F2403301231") + lists)}},
    {.name = "ClaimsDynamicAuthentication",
     .expected =
         "warning card: the application's abilities (82) claim dynamic data authentication, but 8F",
     .card = {.options = "80063C00 08010100 9000"}},
    {.name = "Expired",
     .expected = "warning card: the application expired",
     .card = {.record = record(std::string("5A086228000100001117 5F2403251231") + lists)}},
    {.name = "NotYetValid",
     .expected = "warning card: the application is not yet valid",
     .card = {.record =
                  record(std::string("5A086228000100001117 5F2403301231 5F2503270101") + lists)}},
    {.name = "OtherTrack",
     .expected = "fault card: track 2 (57) and the card number (5A) differ",
     .card = {.record = record(std::string("5A086228000100001117 5F2403301231"
                                           "57106228000100001125D30122010000000F") +
                               lists)}},
    {.name = "MoreThanAsked",
     .expected = "fault card: the card answers with TC (approves) where it was asked for ARQC "
                 "(asks the bank)",
     .card = {.cryptogram = "801340 0012 1122334455667788 07010103A0000001 9000"}},
    {.name = "EmptyCryptogram",
     .expected = "fault card: the application cryptogram is empty",
     .card = {.cryptogram = "801380 0012 0000000000000000 07010103A0000001 9000"}},
    {.name = "NoInformation",
     .expected = "fault card: the answer to GENERATE AC has no cryptogram information",
     .card = {.cryptogram = "7705 9F36020012 9000"}},
    {.name = "CryptogramRefused",
     .expected = "refusal card: the card refuses: 6985",
     .card = {.cryptogram = "6985"}},
    {.name = "WrongArpc",
     .expected = "refusal bank: the bank's cryptogram (ARPC) is wrong",
     .card = {.authentication = "6300"}},
    {.name = "AuthenticationNotOffered",
     .expected = "warning host: EXTERNAL AUTHENTICATE although the application's abilities",
     .card = {.options = "80061800 08010100 9000"}},
    {.name = "ListDataTooShort",
     .expected = "fault host: 8C",
     .terminal_data = "000000012850 0156 261121 A1B2C3D4"},
    {.name = "NoRandomNumber",
     .expected = "warning host: the card asked for 9F37 (Unpredictable number) and got zeros",
     .terminal_data = "000000012850 0156 261121 00000000 0000008000"},
    {.name = "CounterStands",
     .expected = "fault card: the transaction counter (9F36) did not rise",
     .afterwards =
         [](TraceNotation& trace) {
             const trace::Trace again = purchase({}).trace();
             trace.session("s2").open().power_on();
             for (const trace::Entry& entry : again.entries) {
                 if (!entry.command.empty()) {
                     trace.exchange(entry.command.text(), entry.answer.text());
                 }
             }
         }},
    {.name = "RandomNumberAgain",
     .expected = "warning host: the unpredictable number (9F37) is that of an earlier",
     .afterwards =
         [](TraceNotation& trace) {
             const trace::Trace again = purchase({}).trace();
             trace.session("s2").open().power_on();
             for (const trace::Entry& entry : again.entries) {
                 if (!entry.command.empty()) {
                     trace.exchange(entry.command.text(), entry.answer.text());
                 }
             }
         }},
    {.name = "AuthenticatedTwice",
     .expected = "warning host: EXTERNAL AUTHENTICATE a second time",
     .afterwards =
         [](TraceNotation& trace) { trace.exchange("008200000A01020304050607083030", "6985"); }},
    {.name = "AuthenticatedWithoutData",
     .expected = "warning host: EXTERNAL AUTHENTICATE without data",
     .afterwards = [](TraceNotation& trace) { trace.exchange("0082000000", "6700"); }},
    {.name = "RecordNotNamed",
     .expected = "warning host: record 5 of file 2 is not named",
     .afterwards = [](TraceNotation& trace) { trace.exchange("00B2051400", "6A83"); }},
    {.name = "SelectsNothing",
     .expected = "fault host: SELECT by name without a name",
     .afterwards = [](TraceNotation& trace) { trace.exchange("00A404000000", "6700"); }},
    {.name = "GoesOnAfterRefusal",
     .expected = "fault host: the host goes on although nothing is selected",
     .afterwards =
         [](TraceNotation& trace) {
             trace.exchange("00A4040008A00000033301010100", "6A82")
                 .exchange("80A8000002830000", "6985");
         }},
    {.name = "CryptogramWithoutOptions",
     .expected = "fault host: GENERATE AC without GET PROCESSING OPTIONS",
     .afterwards =
         [](TraceNotation& trace) {
             trace.exchange("00A4040008A00000033301010100", CardWords{}.fci)
                 .exchange("80AE80000000", "6985");
         }},
    {.name = "LengthRepeated",
     .expected = "note host: 1 commands had to be repeated",
     .afterwards =
         [](TraceNotation& trace) {
             trace.exchange("80CA9F3600", "6C05").exchange("80CA9F3605", "9F360200129000");
         }},
    {.name = "Slow",
     .expected = "note card: took 1500 ms",
     .afterwards =
         [](TraceNotation& trace) {
             trace.exchange("80CA9F3600", "9F360200129000").last_took(1500);
         }},
    {.name = "LeftPowered",
     .expected = "warning host: the reader is closed with the card still powered",
     .afterwards =
         [](TraceNotation& trace) {
             trace.session("s2").open().power_on().exchange("80CA9F3600", "6A88").close();
         }},
    {.name = "MalformedRecord",
     .expected = "fault card: ",
     .card = {.record = "7005 5F240330 9000"}},
    {.name = "ScriptRefused",
     .expected = "warning bank: an issuer script command is refused: 6988",
     .afterwards = [](TraceNotation& trace) { trace.exchange("841E00000411223344", "6988"); }},
    {.name = "CardMute",
     .expected = "fault reader: the reader got no answer: -4",
     .afterwards = [](TraceNotation& trace) { trace.failure("80CA9F3600", -4); }},
};

INSTANTIATE_TEST_SUITE_P(Rules, Fault, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace quorrin::test
