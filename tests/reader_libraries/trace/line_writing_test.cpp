// The lines of a trace: whole lines compared.

#include <gtest/gtest.h>

#include "reader_libraries/trace/line_writing.hpp"
#include "reader_libraries/trace/trace_format.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::trace {
namespace {

constexpr Origin origin{"T0042", "5ca1ab1e-1", 77};
constexpr std::int64_t began = 1795253400123456;  // 2026-11-21T09:30:00.123456Z

constexpr char head[] =
    R"({"@timestamp":"2026-11-21T09:30:00.123456Z","trace.version":1,"trace.masked":true,)";
constexpr char from[] = R"("device.id":"T0042","session.id":"5ca1ab1e-1","process.pid":77,)";

std::string line(const Call& call, const Shown& shown = {}) {
    LineWriter writer;
    return std::string(writer.line(call, origin, 3, shown));
}

std::string expected(std::string_view action, std::string_view outcome, std::string_view rest) {
    return std::string(head) + R"("event.action":")" + std::string(action) +
           R"(","event.sequence":3,"event.duration":1500,"event.outcome":")" +
           std::string(outcome) + "\"," + from + R"("reader.function":)" + std::string(rest) +
           "}\n";
}

TEST(TraceLine, OfEachCall) {
    const test::ByteString atr = test::hex("3B00");
    const test::ByteString command = test::hex("00B2010C00");
    const test::ByteString answer = test::hex("5A0212349000");
    const test::ByteString application = test::hex("A000000333");
    DigitMask mask;
    mask.start(answer.size());
    mask.hide(2, 3);
    mask.hide_digit(7);

    EXPECT_EQ(
        line({.action = Action::Open,
              .began = began,
              .duration = 1500,
              .result = 1,
              .text = "Desk"}),
        expected(
            "open", "success",
            R"("ICC_Reader_Open","reader.result":1,"reader.result_name":"ok","reader.name":"Desk")"));
    EXPECT_EQ(
        line({.action = Action::Close, .began = began, .duration = 1500, .result = -12}),
        expected("close", "failure",
                 R"("ICC_Reader_Close","reader.result":-12,"reader.result_name":"not_connected")"));
    EXPECT_EQ(line({.action = Action::PowerOn,
                    .began = began,
                    .duration = 1500,
                    .handle = 1,
                    .slot = 0x31,
                    .result = 2,
                    .answer = atr}),
              expected("power_on", "success",
                       R"("ICC_Reader_PowerOn","reader.handle":1,"reader.result":2,)"
                       R"("reader.result_name":"ok","slot.code":49,"slot.name":"contactless",)"
                       R"("card.atr":"3B00")"));
    EXPECT_EQ(
        line(
            {.action = Action::PowerOff, .began = began, .duration = 1500, .handle = 1, .slot = 3}),
        expected("power_off", "success",
                 R"("ICC_Reader_PowerOff","reader.handle":1,"reader.result":0,)"
                 R"("reader.result_name":"ok","slot.code":3,"slot.name":"contactless")"));
    EXPECT_EQ(line({.action = Action::Exchange,
                    .began = began,
                    .duration = 1500,
                    .handle = 1,
                    .slot = 9,
                    .result = 6,
                    .command_length = 5,
                    .command = command,
                    .answer = answer},
                   {.answer = &mask, .application = application}),
              expected("exchange", "success",
                       R"("ICC_Reader_Application","reader.handle":1,"reader.result":6,)"
                       R"("reader.result_name":"ok","slot.code":9,"card.application":"A000000333",)"
                       R"("apdu.instruction":"READ RECORD","apdu.command":"00B2010C00",)"
                       R"("apdu.answer":"5A02**3*9000","apdu.status":"9000")"));
    EXPECT_EQ(
        line({.action = Action::Exchange,
              .began = began,
              .duration = 1500,
              .handle = 1,
              .slot = 1,
              .result = -14,
              .command_length = -1}),
        expected("exchange", "failure",
                 R"("ICC_Reader_Application","reader.handle":1,"reader.result":-14,)"
                 R"("reader.result_name":"bad_parameter","slot.code":1,"slot.name":"contact",)"
                 R"("apdu.command_length":-1)"));
    EXPECT_EQ(line({.action = Action::Serial,
                    .began = began,
                    .duration = 1500,
                    .handle = 1,
                    .text = "471100"}),
              expected("serial", "success",
                       R"("ICC_Reader_GetSerial","reader.handle":1,"reader.result":0,)"
                       R"("reader.result_name":"ok","reader.serial":"471100")"));
}

TEST(TraceLine, NamesEveryResult) {
    struct Row {
        Action action;
        std::int64_t result;
        std::string_view name;
    };
    const Row rows[] = {
        {Action::Open, 1, "ok"},
        {Action::Open, 0, "no_answer"},
        {Action::Close, 5, "ok"},
        {Action::PowerOn, 0, "no_answer"},
        {Action::PowerOn, 512, "ok"},
        {Action::PowerOn, 513, "too_long"},
        {Action::PowerOff, 1, "other"},
        {Action::Exchange, 1, "no_answer"},
        {Action::Exchange, 1024, "ok"},
        {Action::Exchange, 1025, "too_long"},
        {Action::Serial, 1, "other"},
        {Action::Exchange, -1, "wrong_card_type"},
        {Action::Exchange, -2, "no_card"},
        {Action::Exchange, -3, "card_not_powered"},
        {Action::Exchange, -4, "card_mute"},
        {Action::Open, -5, "library_not_loaded"},
        {Action::Open, -11, "connection_error"},
        {Action::Open, -12, "not_connected"},
        {Action::Open, -13, "not_supported"},
        {Action::Open, -14, "bad_parameter"},
        {Action::Exchange, -15, "check_error"},
        {Action::Exchange, -99, "other"},
    };
    for (const Row& row : rows) {
        const auto parsed = parse_line(line({.action = row.action, .result = row.result}), 1);
        ASSERT_TRUE(parsed.entry) << parsed.problem->reason;
        EXPECT_EQ(parsed.entry->result_name, row.name) << row.result;
    }
}

TEST(TraceLine, CountsRefusalsByTheCardAsFailures) {
    struct Row {
        std::string_view answer;
        bool success;
    };
    for (const Row& row : {Row{"9000", true}, Row{"6110", true}, Row{"6C10", true},
                           Row{"6A82", false}, Row{"63C2", false}, Row{"9001", false}}) {
        const test::ByteString answer = test::hex(row.answer);
        const auto parsed =
            parse_line(line({.action = Action::Exchange, .result = 2, .answer = answer}), 1);
        ASSERT_TRUE(parsed.entry);
        EXPECT_EQ(parsed.entry->success, row.success) << row.answer;
    }
}

TEST(TraceLine, WritesAnyTextAsJson) {
    const std::string_view name = "\"\\\n\x7F ä€😀 \x80\xC3(\xED\xA0\x80";
    const auto parsed = parse_line(line({.action = Action::Open, .result = 1, .text = name}), 1);
    ASSERT_TRUE(parsed.entry) << parsed.problem->reason;
    // Bytes that are no UTF-8 become the characters of their value.
    EXPECT_EQ(parsed.entry->reader_name, "\"\\\n\x7F ä€😀 \u0080\u00C3(\u00ED\u00A0\u0080");
}

TEST(TraceLine, HoldsTheLargestExchange) {
    const test::ByteString command = test::filled(longest_command, 0xAB);
    const test::ByteString answer = test::filled(response_room, 0xCD);
    const std::string all_escaped(200, '\x01');
    LineWriter writer;
    const std::string_view written =
        writer.line({.action = Action::Exchange,
                     .handle = INT64_MIN,
                     .slot = INT32_MIN,
                     .result = 1024,
                     .command_length = 261,
                     .command = command,
                     .answer = answer},
                    {all_escaped, all_escaped, INT64_MAX}, UINT64_MAX / 2, {});
    EXPECT_LT(written.size(), line_room);
    const auto parsed = parse_line(written, 1);
    ASSERT_TRUE(parsed.entry) << parsed.problem->reason;
    EXPECT_EQ(parsed.entry->command.bytes, command);
    EXPECT_EQ(parsed.entry->answer.bytes, answer);
    EXPECT_EQ(parsed.entry->terminal, std::string(64, '\x01'));
}

TEST(TraceLine, TellsTheTimeOfAnyDay) {
    for (const std::string_view time :
         {"1970-01-01T00:00:00.000000Z", "2000-02-29T23:59:59.999999Z",
          "2026-12-31T12:00:00.000001Z", "2100-03-01T00:00:00.000000Z"}) {
        const auto read =
            parse_line(R"({"@timestamp":")" + std::string(time) +
                           R"(","trace.version":1,"event.action":"open","reader.result":1})",
                       1);
        ASSERT_TRUE(read.entry);
        const auto written = parse_line(line({.began = read.entry->began, .result = 1}), 1);
        ASSERT_TRUE(written.entry);
        EXPECT_EQ(written.entry->timestamp, time);
    }
}

}  // namespace
}  // namespace quorrin::trace
