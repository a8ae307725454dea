// Reading of traces: whole entries, and where and why a file is broken.

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>

#include "reader_libraries/trace/trace_format.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::trace {
namespace {

constexpr char exchange_line[] =
    R"({"@timestamp":"2026-11-21T09:30:00.123456Z","trace.version":1,"trace.masked":true,)"
    R"("event.action":"exchange","event.sequence":9,"event.duration":1062,"event.outcome":"success",)"
    R"("device.id":"T 0042","session.id":"502cc1821c2d0da9-1","process.pid":24816,)"
    R"("reader.function":"ICC_Reader_Application","reader.handle":-7,"reader.result":6,)"
    R"("reader.result_name":"ok","slot.code":49,"slot.name":"contactless",)"
    R"("card.application":"A000000333010101","apdu.instruction":"READ RECORD",)"
    R"("apdu.command":"00B2010C00","apdu.answer":"5A02*2D*9000","apdu.status":"9000"})";

constexpr char smallest_line[] = R"({"trace.version":1,"event.action":"close","reader.result":0})";

// All entries and problems of a text, a line each.
std::string listing(const std::string& text) {
    std::istringstream stream(text);
    TraceReader reader(stream);
    std::string list;
    while (const auto entry = reader.next()) {
        list += std::to_string(entry->line) + " read\n";
    }
    for (const Problem& problem : reader.problems()) {
        constexpr const char* kinds[] = {"truncated", "malformed", "foreign"};
        list += std::to_string(problem.line) + " " + kinds[static_cast<int>(problem.kind)] + ": " +
                problem.reason + "\n";
    }
    return list;
}

TEST(TraceFormat, ReadsEveryFieldOfAnExchange) {
    const ParsedLine parsed = parse_line(exchange_line, 3);
    ASSERT_TRUE(parsed.entry);
    EXPECT_FALSE(parsed.problem);
    const Entry& entry = *parsed.entry;
    EXPECT_EQ(entry.line, 3U);
    EXPECT_EQ(entry.timestamp, "2026-11-21T09:30:00.123456Z");
    EXPECT_EQ(entry.began, 1795253400123456);
    EXPECT_TRUE(entry.masked);
    EXPECT_EQ(entry.action, Action::Exchange);
    EXPECT_EQ(entry.sequence, 9);
    EXPECT_EQ(entry.duration, 1062);
    EXPECT_TRUE(entry.success);
    EXPECT_EQ(entry.terminal, "T 0042");
    EXPECT_EQ(entry.session, "502cc1821c2d0da9-1");
    EXPECT_EQ(entry.process, 24816);
    EXPECT_EQ(entry.handle, -7);
    EXPECT_EQ(entry.result, 6);
    EXPECT_EQ(entry.result_name, "ok");
    EXPECT_EQ(entry.slot_code, 49);
    EXPECT_EQ(entry.slot_name, "contactless");
    EXPECT_EQ(entry.application,
              (std::vector<std::uint8_t>{0xA0, 0x00, 0x00, 0x03, 0x33, 0x01, 0x01, 0x01}));
    EXPECT_EQ(entry.instruction, "READ RECORD");
    EXPECT_EQ(entry.command.text(), "00B2010C00");
    EXPECT_FALSE(entry.command.is_masked());
    EXPECT_FALSE(entry.command_length);
    EXPECT_EQ(entry.answer.bytes, (std::vector<std::uint8_t>{0x5A, 0x02, 0x02, 0xD0, 0x90, 0x00}));
    EXPECT_EQ(entry.answer.mask, (std::vector<std::uint8_t>{0, 0, 0xF0, 0x0F, 0, 0}));
    EXPECT_EQ(entry.answer.text(), "5A02*2D*9000");
    EXPECT_TRUE(entry.answer.is_masked());
    EXPECT_EQ(entry.status(), 0x9000);
}

TEST(TraceFormat, ReadsTheFieldsOfOtherCalls) {
    const auto read = [](const std::string& fields) {
        auto parsed = parse_line(R"({"trace.version":1,"reader.result":2,)" + fields + "}", 1);
        EXPECT_TRUE(parsed.entry) << parsed.problem->reason;
        return std::move(parsed.entry).value_or(Entry{});
    };
    EXPECT_EQ(read(R"("event.action":"open","reader.name":"Tisch \u00e4")").reader_name, "Tisch ä");
    EXPECT_EQ(read(R"("event.action":"serial","reader.serial":"\"1\"")").reader_serial, "\"1\"");
    EXPECT_EQ(read(R"("event.action":"power_on","card.atr":"3B00")").atr,
              (std::vector<std::uint8_t>{0x3B, 0x00}));
    EXPECT_EQ(read(R"("event.action":"exchange","apdu.command_length":-1)").command_length, -1);
    EXPECT_FALSE(read(R"("event.action":"open","trace.masked":false)").masked);
    EXPECT_FALSE(read(R"("event.action":"open")").handle);
    EXPECT_FALSE(read(R"("event.action":"power_on","card.atr":"3B00")").status());
}

TEST(TraceFormat, PassesOverFieldsOfOthers) {
    EXPECT_TRUE(parse_line(R"({"host":{"name":"x","event.action":7},"tags":[1,{"a":null}],"x":1.5,)"
                           R"("trace.version":1,"event.action":"close","y":null,"z":true,)"
                           R"("reader.result":0})",
                           1)
                    .entry);
}

struct RefusedLine {
    const char* line;
    const char* reason;
};

TEST(TraceFormat, SaysWhatIsWrongWithALine) {
    const RefusedLine rows[] = {
        {"", "not JSON from column 1 on"},
        {"{", "not JSON from column 2 on"},
        {R"({"trace.version":1,})", "not JSON from column 20 on"},
        {"{\"a\":\"\xFF\"}", "not JSON from column 7 on"},
        {"{} {}", "not JSON from column 4 on"},
        {R"({"a":1e999})", "not JSON from column 10 on"},
        {"[]", "no line of a trace: not an object"},
        {"7", "no line of a trace: not an object"},
        {"{}", "no line of a trace: it has no trace.version"},
        {R"({"trace.version":1})", "no line of a trace: it has no event.action"},
        {R"({"trace.version":1,"event.action":"open"})",
         "no line of a trace: it has no reader.result"},
        {R"({"trace.version":2})", "trace.version is 2, only 1 is known here"},
        {R"({"trace.version":"1"})", "trace.version must be a whole number"},
        {R"({"event.action":"opened"})",
         "event.action must be one of open, close, power_on, power_off, exchange, serial"},
        {R"({"event.action":7})",
         "event.action must be one of open, close, power_on, power_off, exchange, serial"},
        {R"({"event.outcome":"unknown"})", "event.outcome must be success or failure"},
        {R"({"trace.masked":1})", "trace.masked must be true or false"},
        {R"({"event.sequence":"1"})", "event.sequence must be a whole number"},
        {R"({"event.duration":1.5})", "event.duration must be a whole number"},
        {R"({"reader.result":18446744073709551615})", "reader.result must be a whole number"},
        {R"({"reader.handle":{}})", "reader.handle must be a whole number"},
        {R"({"slot.code":4294967296})", "slot.code must be a slot code"},
        {R"({"device.id":null})", "device.id must be a text"},
        {R"({"apdu.command":"00B"})", "apdu.command must be pairs of hex digits or *"},
        {R"({"apdu.answer":"9G"})", "apdu.answer must be pairs of hex digits or *"},
        {R"({"card.atr":"3*"})", "card.atr must be pairs of hex digits"},
        {R"({"@timestamp":"2026-02-30T00:00:00.000000Z"})",
         "@timestamp must be a time such as 2026-11-21T09:30:00.123456Z"},
        {R"({"@timestamp":"2026-02-20T00:00:00Z"})",
         "@timestamp must be a time such as 2026-11-21T09:30:00.123456Z"},
        {R"({"trace.version":1,"event.action":"exchange","reader.result":3,"apdu.answer":"9000"})",
         "reader.result is 3, the answer has 2 bytes"},
    };
    for (const RefusedLine& row : rows) {
        const ParsedLine parsed = parse_line(row.line, 5);
        EXPECT_FALSE(parsed.entry) << row.line;
        ASSERT_TRUE(parsed.problem) << row.line;
        EXPECT_EQ(parsed.problem->reason, row.reason) << row.line;
        EXPECT_EQ(parsed.problem->line, 5U);
    }
}

TEST(TraceFormat, ReadsOnBehindABrokenLine) {
    const std::string good = smallest_line;
    EXPECT_EQ(listing(good + "\nnonsense\n\n" + good + "\r\n[]\n" + good + "\n"),
              "1 read\n4 read\n6 read\n"
              "2 malformed: not JSON from column 2 on\n"
              "5 foreign: no line of a trace: not an object\n");
}

TEST(TraceFormat, KnowsALineThatACrashCutShort) {
    const std::string good = smallest_line;
    EXPECT_EQ(listing(good + "\n" + good.substr(0, 20)),
              "1 read\n2 truncated: the file ends in the middle of this line\n");
    EXPECT_EQ(listing(good + "\n" + good), "1 read\n2 read\n");
    EXPECT_EQ(listing(""), "");
}

TEST(TraceFormat, RefusesALineThatIsTooLong) {
    const std::string good = smallest_line;
    EXPECT_EQ(listing(std::string(TraceReader::longest_line + 1, ' ') + "\n" + good + "\n"),
              "2 read\n1 malformed: longer than 65536 bytes\n");
}

TEST(TraceFormat, KeepsTheFirstHundredProblemsAndCountsAll) {
    std::string text;
    for (int i = 0; i < 150; ++i) {
        text += "x\n";
    }
    std::istringstream stream(text);
    TraceReader reader(stream);
    EXPECT_FALSE(reader.next());
    EXPECT_EQ(reader.problems().size(), 100U);
    EXPECT_EQ(reader.problem_count(), 150U);
    EXPECT_EQ(reader.lines(), 150U);
}

TEST(TraceFormat, SurvivesDeepAndRandomText) {
    EXPECT_EQ(listing(std::string(60000, '[') + "\n"),
              "1 foreign: no line of a trace: not an object\n");
    EXPECT_EQ(listing("{\"a\":" + std::string(60000, '[') + "\n"),
              "1 malformed: not JSON from column 60006 on\n");
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string line = exchange_line;
        for (int flips = 0; flips < 3; ++flips) {
            line[random() % line.size()] = static_cast<char>(random());
        }
        const ParsedLine parsed = parse_line(line, 1);
        EXPECT_NE(parsed.entry.has_value(), parsed.problem.has_value());
    }
}

TEST(TraceFormat, ReadsAFile) {
    const test::TemporaryDirectory directory;
    directory.write("a.jsonl", std::string(smallest_line) + "\n?\n");
    const Trace trace = read_trace("a.jsonl");
    EXPECT_EQ(trace.entries.size(), 1U);
    ASSERT_EQ(trace.problems.size(), 1U);
    EXPECT_EQ(describe("a.jsonl", trace.problems[0]), "a.jsonl: line 2: not JSON from column 1 on");
}

TEST(TraceFormat, SaysWhatIsNoRecordingAfterThreeLines) {
    const test::TemporaryDirectory directory;
    std::string text;
    for (int line = 0; line < 200; ++line) {
        text += "no line of a trace\n";
    }
    directory.write("other.txt", text);
    std::string told;
    for (const Problem& problem : read_trace("other.txt").problems) {
        told += describe("other.txt", problem) + "\n";
    }
    EXPECT_EQ(told,
              "other.txt: line 1: not JSON from column 2 on\n"
              "other.txt: line 2: not JSON from column 2 on\n"
              "other.txt: line 3: not JSON from column 2 on\n"
              "other.txt: this is no recording: 197 more lines are none of a trace\n");
    directory.write("broken.jsonl", std::string(smallest_line) + "\n" + text);
    EXPECT_EQ(read_trace("broken.jsonl").problems.size(), TraceReader::most_problems);
}

TEST(TraceFormat, SaysThatAFileCannotBeRead) {
    const test::TemporaryDirectory directory;
    for (const char* name : {"missing.jsonl", "."}) {
        const Trace trace = read_trace(name);
        EXPECT_TRUE(trace.entries.empty());
        ASSERT_EQ(trace.problems.size(), 1U);
        EXPECT_EQ(describe(name, trace.problems[0]), std::string(name) + ": cannot be read");
    }
}

}  // namespace
}  // namespace quorrin::trace
