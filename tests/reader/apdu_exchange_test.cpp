// IccComm: command layout, results, response chaining, length correction, log lines.

#include <limits>
#include <numeric>

#include "tests/reader/reader_results.hpp"
#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string replacement = "\xEF\xBF\xBD";  // U+FFFD, shown for bytes that are no UTF-8

// Data bytes that differ from place to place, none of them zero.
ByteString pattern(std::size_t count) {
    ByteString bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(1 + i % 255);
    }
    return bytes;
}

class ApduExchange : public LibraryTest {
  protected:
    ApduExchange() {
        // What an earlier exchange left behind.
        CARD_SW1 = 0x12;
        CARD_SW2 = 0x34;
        CARD_STATUS = -99;
    }

    std::int64_t exchange(std::int32_t kind, std::int32_t cla, std::int32_t ins, std::int32_t p1,
                          std::int32_t p2, const ByteString& data, std::int32_t le,
                          std::int32_t apdu_case) {
        return IccComm(7, kind, cla, ins, p1, p2, static_cast<std::int32_t>(data.size()),
                       data.data(), le, apdu_case, response.data(), &response_length);
    }
    std::int64_t select() { return exchange(11, 0x00, 0xA4, 0x04, 0x00, hex("A0000003"), 0, 3); }
    std::int64_t select_into(GuardedBuffer& buffer) {
        const ByteString name = hex("A0000003");
        return IccComm(7, 11, 0x00, 0xA4, 0x04, 0x00, static_cast<std::int32_t>(name.size()),
                       name.data(), 0, 3, buffer.data(), &response_length);
    }
    std::int64_t get_data() { return exchange(11, 0x80, 0xCA, 0x9F, 0x36, {}, 0, 1); }

    // A status word was received: result 0 with exactly this data and status word.
    testing::AssertionResult delivered(std::int64_t result, const ByteString& data, int sw) const {
        return outcome(result, 0, data, sw);
    }
    // The exchange failed: this result, no data, no status word.
    testing::AssertionResult failed(std::int64_t result, std::int64_t expected) const {
        return outcome(result, expected, {}, 0);
    }

    // This result, in CARD_STATUS too, and this status word.
    static testing::AssertionResult ended(std::int64_t result, std::int64_t expected, int sw) {
        const int actual_sw = CARD_SW1 << 8 | CARD_SW2;
        if (result == expected && CARD_STATUS == expected && actual_sw == sw) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "result " << result << ", CARD_STATUS " << CARD_STATUS
                                           << ", status word " << std::hex << actual_sw << std::dec
                                           << "\n  expected " << expected << ", " << std::hex << sw;
    }

    GuardedBuffer response{1022};
    std::uint32_t response_length = 4711;

  private:
    testing::AssertionResult outcome(std::int64_t result, std::int64_t expected,
                                     const ByteString& data, int sw) const {
        if (const auto end = ended(result, expected, sw); !end) {
            return end;
        }
        if (response_length != data.size()) {
            return testing::AssertionFailure()
                   << "length " << response_length << ", expected " << data.size();
        }
        return response.holds(data);
    }
};

// ---- Commands --------------------------------------------------------------------------------

struct CommandLayout {
    const char* name;
    int apdu_case;
    int le;
    std::string_view data;
    std::string_view sent;
};

class CommandLayouts : public ApduExchange, public testing::WithParamInterface<CommandLayout> {};

TEST_P(CommandLayouts, AreSentByteForByteUnderDeliberatelyOwnCaseNumbers) {
    const CommandLayout& layout = GetParam();
    reader().answers = {answer("9000")};
    EXPECT_TRUE(delivered(
        exchange(11, 0x80, 0xA8, 0x01, 0x02, hex(layout.data), layout.le, layout.apdu_case), {},
        0x9000));
    EXPECT_THAT(reader().commands(), ElementsAre(layout.sent));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CommandLayouts,
    testing::Values(CommandLayout{"HeaderAndLe", 1, 0, "", "80A8010200"},
                    CommandLayout{"HeaderAndGivenLe", 1, 0x1A, "", "80A801021A"},
                    CommandLayout{"HeaderAndLeIgnoresData", 1, 0xFF, "11223344", "80A80102FF"},
                    CommandLayout{"Data", 2, 0x1A, "11223344", "80A801020411223344"},
                    CommandLayout{"NoData", 2, 0, "", "80A8010200"},
                    CommandLayout{"DataAndLe", 3, 0, "11223344", "80A80102041122334400"},
                    CommandLayout{"DataAndGivenLe", 3, 0x1A, "11", "80A8010201111A"},
                    CommandLayout{"NoDataAndLe", 3, 0, "", "80A801020000"},
                    CommandLayout{"HeaderAlone", 4, 0x1A, "11223344", "80A80102"},
                    CommandLayout{"CaseZero", 0, 0x1A, "11", "80A80102"},
                    CommandLayout{"NegativeCase", -1, 0x1A, "11", "80A80102"},
                    CommandLayout{"CaseAbove255", 257, 0x1A, "11", "80A80102"},
                    CommandLayout{"LeLowByte", 1, 0x123, "", "80A8010223"},
                    CommandLayout{"NegativeLe", 1, -1, "", "80A80102FF"}),
    [](const auto& row) { return row.param.name; });

TEST_F(ApduExchange, SelectOfAnEmptyNameHasBothLengthBytes) {
    reader().answers = {answer("6A82")};
    EXPECT_TRUE(delivered(exchange(11, 0x00, 0xA4, 0x04, 0x00, {}, 0, 3), {}, 0x6A82));
    EXPECT_THAT(reader().commands(), ElementsAre("00A404000000"));
}

TEST_F(ApduExchange, HeaderIsTheLowByteOfEachArgument) {
    reader().answers = {answer("9000")};
    exchange(11, 0x1280, -1, 0x100, std::numeric_limits<std::int32_t>::min() + 7, {}, 0, 4);
    EXPECT_THAT(reader().commands(), ElementsAre("80FF0007"));
}

TEST_F(ApduExchange, DataLengthIsTheLowByteOfLc) {
    const ByteString data = pattern(255);
    const std::string whole = to_hex(data);
    for (const std::int32_t lc : {0, 1, 254, 255, 256, 258, -1, -256}) {
        const std::size_t count = static_cast<std::uint8_t>(lc);
        // Exactly the data that may be read.
        const ByteString given(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(count));
        const std::string lc_byte = to_hex(ByteString{static_cast<std::uint8_t>(lc)});
        reset_reader();
        reader().answers = {answer("9000"), answer("9000")};
        IccComm(7, 11, 0x80, 0xA8, 0, 0, lc, given.data(), 0, 2, response.data(), &response_length);
        IccComm(7, 11, 0x80, 0xA8, 0, 0, lc, given.data(), 9, 3, response.data(), &response_length);
        const std::string body = "80A80000" + lc_byte + whole.substr(0, count * 2);
        EXPECT_THAT(reader().commands(), ElementsAre(body, body + "09")) << lc;
    }
}

// ---- Card kinds ------------------------------------------------------------------------------

struct KindOnTheWire {
    int kind;
    const char* slot;
    const char* device;
};

class CardKinds : public ApduExchange, public testing::WithParamInterface<KindOnTheWire> {};

TEST_P(CardKinds, UseTheirSlotAndLabels) {
    const std::string device = GetParam().device;
    reader().answers = {answer("41 9000")};
    EXPECT_TRUE(
        delivered(exchange(GetParam().kind, 0x41, 0x42, 0x43, 0x44, {}, 0, 4), hex("41"), 0x9000));
    EXPECT_THAT(reader().calls,
                ElementsAre("Send 7 " + std::string(GetParam().slot) + ": 41424344"));
    EXPECT_THAT(log.texts(), ElementsAre("DEV->" + device + ": ABCD", device + "->DEV: ABCD",
                                         "ICC_Application A" + replacement));
}

TEST_P(CardKinds, FetchMoreDataFromTheirSlot) {
    const std::string send = "Send 7 " + std::string(GetParam().slot) + ": ";
    reader().answers = {answer("6102"), answer("41 6101"), answer("42 9000")};
    EXPECT_TRUE(delivered(exchange(GetParam().kind, 0x41, 0x42, 0x43, 0x44, {}, 0, 4), hex("4142"),
                          0x9000));
    EXPECT_THAT(reader().calls,
                ElementsAre(send + "41424344", send + "00C0000002", send + "00C0000001"));
    EXPECT_THAT(log.texts(), ElementsAre("DEV->" + std::string(GetParam().device) + ": ABCD",
                                         "ICC_Application AB" + replacement));
}

TEST_P(CardKinds, CorrectTheLengthInTheirSlot) {
    const std::string send = "Send 7 " + std::string(GetParam().slot) + ": ";
    reader().answers = {answer("6C01"), answer("41 9000")};
    EXPECT_TRUE(
        delivered(exchange(GetParam().kind, 0x41, 0x42, 0x43, 0x44, {}, 0, 1), hex("41"), 0x9000));
    EXPECT_THAT(reader().calls, ElementsAre(send + "4142434400", send + "4142434401"));
    EXPECT_THAT(log.texts(), ElementsAre("DEV->" + std::string(GetParam().device) + ": ABCD",
                                         "ICC_Application A" + replacement));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, CardKinds,
    testing::Values(KindOnTheWire{11, "01", "CPU"}, KindOnTheWire{13, "02", "MAS"},
                    KindOnTheWire{12, "31", "MIF"}, KindOnTheWire{1, "11", "SAM"},
                    KindOnTheWire{2, "12", "SAM"}, KindOnTheWire{3, "13", "SAM"},
                    KindOnTheWire{4, "14", "SAM"}),
    [](const auto& row) { return "Kind" + std::to_string(row.param.kind); });

TEST_F(ApduExchange, UnknownKindSendsNothingAndLogsNothing) {
    for (const int kind : {-1, 0, 5, 7, 10, 14, 0x31, 256 + 11}) {
        response_length = 4711;
        CARD_SW1 = 0x90;
        EXPECT_TRUE(delivered(exchange(kind, 0x00, 0xA4, 0x04, 0x00, {}, 0, 3), {}, 0)) << kind;
    }
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(TransRetCodeNoMsg(0), -1);
}

TEST_F(ApduExchange, HandleIsPassedAsItIs) {
    reader().answers = {answer("9000"), answer("9000"), answer("9000")};
    for (const std::int64_t handle : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1} << 40}) {
        IccComm(handle, 11, 0, 0xA4, 0, 0, 0, nullptr, 0, 1, response.data(), &response_length);
    }
    EXPECT_THAT(reader().calls, ElementsAre("Send 0 01: 00A4000000", "Send -1 01: 00A4000000",
                                            "Send 1099511627776 01: 00A4000000"));
}

// ---- Answers ---------------------------------------------------------------------------------

TEST_F(ApduExchange, DeliversDataAndStatusWordApart) {
    reader().answers = {answer("6F02 8400 9000")};
    EXPECT_TRUE(delivered(select(), hex("6F028400"), 0x9000));
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 01: 00A4040004A000000300"));
    EXPECT_EQ(reader().handed_buffer, filled(1024, 0));
}

TEST_F(ApduExchange, StatusWordAloneIsDelivered) {
    for (const int sw : {0x9000, 0x6A82, 0x6300, 0x0000, 0x6000, 0x6200, 0x6B6C}) {
        const ByteString bytes{static_cast<std::uint8_t>(sw >> 8), static_cast<std::uint8_t>(sw)};
        reader().answers = {answer(bytes)};
        EXPECT_TRUE(delivered(select(), {}, sw));
        EXPECT_TRUE(reader().answers.empty());
    }
}

TEST_F(ApduExchange, EarlierExchangeIsForgottenBeforeTheReaderIsCalled) {
    reader().card = [this](const ByteString&) {
        EXPECT_EQ(CARD_SW1 << 8 | CARD_SW2, 0);
        EXPECT_EQ(CARD_STATUS, 0);
        EXPECT_EQ(response_length, 0u);
        return answer("9000");
    };
    EXPECT_TRUE(delivered(select(), {}, 0x9000));
    EXPECT_EQ(reader().calls.size(), 1u);
}

TEST_F(ApduExchange, StatusWordIsKnownToTheTranslation) {
    reader().answers = {answer("6A82")};
    EXPECT_EQ(TransRetCodeNoMsg(select()), -27266);
}

TEST_F(ApduExchange, AnswersFillTheBufferToItsEnd) {
    for (const std::size_t data_size : {1u, 256u, 1021u, 1022u}) {
        reader().answers = {answer(join(pattern(data_size), hex("9000")))};
        EXPECT_TRUE(delivered(select(), pattern(data_size), 0x9000));
        log.clear();
    }
}

TEST_F(ApduExchange, EveryReaderResultBelowTwoIsPassedThrough) {
    for (const std::int64_t result : reader_results) {
        GuardedBuffer buffer(1022);
        log.clear();
        response_length = 4711;
        CARD_SW1 = 0x90;
        // Bytes in the buffer mean nothing when the reader failed.
        reader().answers = {{result, hex("419000")}};
        const std::int64_t returned = select_into(buffer);
        if (result < 2 || result > 1024) {
            EXPECT_TRUE(ended(returned, result < 2 ? result : -15, 0));
            EXPECT_TRUE(buffer.untouched()) << result;
            EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: "));
        } else {
            EXPECT_TRUE(ended(returned, 0, result == 2 ? 0x4190 : 0x9000));
            EXPECT_TRUE(buffer.holds(hex(result == 2 ? "" : "41")));
        }
        EXPECT_EQ(response_length, result == 3 ? 1u : 0u) << result;
    }
}

TEST_F(ApduExchange, AnswerAbove1024BytesIsACheckError) {
    for (const std::int64_t result :
         {std::int64_t{1025}, std::int64_t{1} << 32, std::numeric_limits<std::int64_t>::max()}) {
        response_length = 4711;
        reader().answers = {{result, filled(1024, 0x41)}};
        EXPECT_TRUE(failed(select(), -15));
        EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: "));
        log.clear();
    }
}

TEST_F(ApduExchange, MoreDataOrWrongLengthBehindDataIsLeftToTheCaller) {
    reader().answers = {answer("AABB 6110"), answer("AABB 6C10")};
    EXPECT_TRUE(delivered(select(), hex("AABB"), 0x6110));
    EXPECT_TRUE(delivered(select(), hex("AABB"), 0x6C10));
    EXPECT_EQ(reader().calls.size(), 2u);
}

TEST_F(ApduExchange, DataThatLooksLikeAStatusWordIsData) {
    reader().answers = {answer("61 9000"), answer("6C10 9000")};
    EXPECT_TRUE(delivered(select(), hex("61"), 0x9000));
    EXPECT_TRUE(delivered(select(), hex("6C10"), 0x9000));
    EXPECT_EQ(reader().calls.size(), 2u);
}

// ---- 61xx: GET RESPONSE ----------------------------------------------------------------------

TEST_F(ApduExchange, MoreDataIsFetched) {
    reader().answers = {answer("6110"), answer(join(pattern(16), hex("9000")))};
    EXPECT_TRUE(delivered(select(), pattern(16), 0x9000));
    EXPECT_THAT(reader().calls,
                ElementsAre("Send 7 01: 00A4040004A000000300", "Send 7 01: 00C0000010"));
}

TEST_F(ApduExchange, GetResponseDeliberatelyHasClassZeroWhateverTheClass) {
    reader().answers = {answer("6105"), answer("9000")};
    EXPECT_TRUE(delivered(exchange(12, 0x84, 0xA8, 0, 0, hex("8300"), 0, 3), {}, 0x9000));
    EXPECT_THAT(reader().calls,
                ElementsAre("Send 7 31: 84A8000002830000", "Send 7 31: 00C0000005"));
}

TEST_F(ApduExchange, EachAnswerSaysHowMuchMoreThereIs) {
    reader().answers = {answer("6100"), answer("A1A2 6103"), answer("B1B2B3 6101"),
                        answer("C1 9000")};
    EXPECT_TRUE(delivered(select(), hex("A1A2 B1B2B3 C1"), 0x9000));
    EXPECT_THAT(reader().commands(),
                ElementsAre("00A4040004A000000300", "00C0000000", "00C0000003", "00C0000001"));
}

TEST_F(ApduExchange, LengthStaysWhenMoreDataComesWithoutData) {
    reader().answers = {answer("6104"), answer("6122"), answer("A1 6107"), answer("6133"),
                        answer("B1 9000")};
    EXPECT_TRUE(delivered(select(), hex("A1 B1"), 0x9000));
    EXPECT_THAT(reader().commands(), ElementsAre("00A4040004A000000300", "00C0000004", "00C0000004",
                                                 "00C0000007", "00C0000007"));
}

TEST_F(ApduExchange, ChainEndsWithAnyOtherStatusWord) {
    for (const int sw : {0x9000, 0x6A82, 0x6C05, 0x6283}) {
        const ByteString status{static_cast<std::uint8_t>(sw >> 8), static_cast<std::uint8_t>(sw)};
        response_length = 4711;
        reader().answers = {answer("6104"), answer(status)};
        EXPECT_TRUE(delivered(select(), {}, sw));
    }
    // A wrong length within a chain is not corrected.
    EXPECT_EQ(reader().calls.size(), 8u);
    reader().answers = {answer("6104"), answer("A1 6104"), answer("B1B2 6C02")};
    EXPECT_TRUE(delivered(select(), hex("A1 B1B2"), 0x6C02));
}

TEST_F(ApduExchange, StatusWordAloneEndsAChainAfterData) {
    for (const int sw : {0x9000, 0x6A82, 0x6C05}) {
        const ByteString status{static_cast<std::uint8_t>(sw >> 8), static_cast<std::uint8_t>(sw)};
        reset_reader();
        response_length = 4711;
        reader().answers = {answer("6102"), answer("A1A2 6104"), answer(status)};
        EXPECT_TRUE(delivered(select(), hex("A1A2"), sw));
        EXPECT_THAT(reader().commands(),
                    ElementsAre("00A4040004A000000300", "00C0000002", "00C0000004"));
    }
}

TEST_F(ApduExchange, ChainHasNoLimitOnItsRounds) {
    reader().answers = {answer("6101")};
    for (int round = 0; round < 3000; ++round) {
        reader().answers.push_back(answer("6101"));
    }
    ByteString data;
    for (int round = 0; round < 1022; ++round) {
        const auto byte = static_cast<std::uint8_t>(round);
        data.push_back(byte);
        reader().answers.push_back(
            answer(round < 1021 ? ByteString{byte, 0x61, 0x01} : ByteString{byte, 0x90, 0x00}));
    }
    EXPECT_TRUE(delivered(select(), data, 0x9000));
    EXPECT_EQ(reader().calls.size(), 1u + 3000u + 1022u);
}

TEST_F(ApduExchange, ChainMayFill1024BytesWithItsStatusWord) {
    reader().answers = {answer("61FF"), answer(join(pattern(1000), hex("6116"))),
                        answer(join(pattern(22), hex("9000")))};
    EXPECT_TRUE(delivered(select(), join(pattern(1000), pattern(22)), 0x9000));
}

TEST_F(ApduExchange, ChainThatGrowsAbove1024BytesEndsAtOnce) {
    const std::size_t last_sizes[] = {23, 24, 25, 1000};
    for (const std::size_t last : last_sizes) {
        response_length = 4711;
        log.clear();
        reader().answers = {answer("61FF"), answer(join(pattern(1000), hex("61FF"))),
                            answer(join(pattern(last), hex("9000")))};
        EXPECT_TRUE(failed(select(), -15)) << last;
        EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: "));
    }
    // More data announced: the rest is not fetched any more.
    reset_reader();
    reader().answers = {answer("61FF"), answer(join(pattern(1022), hex("61FF"))),
                        answer(join(pattern(3), hex("61FF")))};
    EXPECT_TRUE(failed(select(), -15));
    EXPECT_EQ(reader().calls.size(), 3u);
}

TEST_F(ApduExchange, AnswerAbove1024BytesWithinAChainIsACheckError) {
    reader().answers = {answer("61FF"), {1025, pattern(1024)}};
    EXPECT_TRUE(failed(select(), -15));
    reader().answers = {answer("61FF"),
                        answer("A1A2A3 6104"),
                        {std::numeric_limits<std::int64_t>::max(), pattern(1024)}};
    EXPECT_TRUE(failed(select(), -15));
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: ", "DEV->CPU: "));
}

TEST_F(ApduExchange, ReaderFailureInAChainDeliberatelyMakesTheLastTwoBytesTheStatusWord) {
    for (const std::int64_t result : reader_results) {
        GuardedBuffer buffer(1022);
        log.clear();
        reader().answers = {answer("6104"), answer("A1A2A3A4 6104"), {result, hex("B19000")}};
        const std::int64_t returned = select_into(buffer);
        if (result < 2) {
            EXPECT_TRUE(ended(returned, 0, 0xA3A4)) << result;
            EXPECT_TRUE(buffer.holds(hex("A1A2")));
            EXPECT_EQ(response_length, 2u);
        } else if (result > 1024) {
            EXPECT_TRUE(ended(returned, -15, 0)) << result;
            EXPECT_TRUE(buffer.untouched());
            EXPECT_EQ(response_length, 0u);
            EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: "));
        } else {
            EXPECT_TRUE(ended(returned, 0, result == 2 ? 0xB190 : 0x9000)) << result;
            EXPECT_TRUE(buffer.holds(hex(result == 2 ? "A1A2A3A4" : "A1A2A3A4B1")));
            EXPECT_EQ(response_length, result == 2 ? 4u : 5u);
        }
    }
}

TEST_F(ApduExchange, ChainCutAfterAnyNumberOfBytesDeliberatelyEndsInAStatusWord) {
    for (const std::size_t received : {2u, 3u, 1022u, 1023u, 1024u}) {
        GuardedBuffer buffer(1022);
        const ByteString data = pattern(received);
        const auto middle = data.begin() + static_cast<std::ptrdiff_t>(received / 2);
        reader().answers = {
            answer("61FF"), answer(join(ByteString(data.begin(), middle), hex("61FF"))),
            answer(join(ByteString(middle, data.end()), hex("61FF"))), failure(-11)};
        const int last_two = data[received - 2] << 8 | data[received - 1];
        EXPECT_TRUE(ended(select_into(buffer), 0, last_two)) << received;
        EXPECT_TRUE(buffer.holds(pattern(received - 2)));
        EXPECT_EQ(response_length, received - 2);
        EXPECT_TRUE(reader().answers.empty());
    }
}

TEST_F(ApduExchange, ChainCutRightBehindAStatusWordDeliberatelySucceeds) {
    GuardedBuffer fresh(1022);
    reader().answers = {answer("6104"), answer("9000 6104"), failure(-11)};
    EXPECT_EQ(IccComm(7, 11, 0, 0xA4, 0, 0, 0, nullptr, 0, 1, fresh.data(), &response_length), 0);
    EXPECT_TRUE(fresh.untouched());
    EXPECT_EQ(response_length, 0u);
    EXPECT_EQ(CARD_SW1 << 8 | CARD_SW2, 0x9000);
    EXPECT_EQ(CARD_STATUS, 0);
}

TEST_F(ApduExchange, ChainCutBelowTwoBytesDeliberatelyFailsWithTheirNumber) {
    for (const std::int64_t result : reader_results) {
        if (result >= 2) {
            continue;
        }
        log.clear();
        response_length = 4711;
        reader().answers = {answer("6104"), {result, hex("B19000")}};
        EXPECT_TRUE(failed(select(), 0)) << result;

        response_length = 4711;
        reader().answers = {answer("6104"), answer("A1 6104"), {result, hex("B19000")}};
        EXPECT_TRUE(failed(select(), 1)) << result;
        EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: ", "DEV->CPU: "));
    }

    // Rounds that bring nothing do not count.
    reader().answers = {answer("6104"), answer("6104"), answer("6104"), failure(-2)};
    EXPECT_TRUE(failed(select(), 0));
}

TEST_F(ApduExchange, ResponseBufferIsNotClearedBetweenTheRounds) {
    reader().answers = {answer("6104"), answer("A1A2A3A4 6104"), answer("B1 9000")};
    EXPECT_TRUE(delivered(select(), hex("A1A2A3A4 B1"), 0x9000));
    EXPECT_EQ(reader().handed_buffer, join(hex("A1A2A3A4 6104"), filled(1018, 0)));
}

// ---- 6Cxx: the command once more -------------------------------------------------------------

TEST_F(ApduExchange, WrongLengthRepeatsTheCommandWithTheLengthWanted) {
    reader().answers = {answer("6C1A"), answer("A1A2 9000")};
    EXPECT_TRUE(delivered(get_data(), hex("A1A2"), 0x9000));
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 01: 80CA9F3600", "Send 7 01: 80CA9F361A"));
}

TEST_F(ApduExchange, RepetitionStartsFromAClearedResponse) {
    reader().answers = {answer("6C1A"), answer("A1A2 9000")};
    EXPECT_TRUE(delivered(get_data(), hex("A1A2"), 0x9000));
    EXPECT_EQ(reader().handed_buffer, filled(1024, 0));
}

TEST_F(ApduExchange, RepetitionDeliberatelyDropsTheCommandData) {
    for (const int apdu_case : {1, 2, 3, 4}) {
        reset_reader();
        reader().answers = {answer("6C05"), answer("9000")};
        EXPECT_TRUE(
            delivered(exchange(11, 0x80, 0xA8, 0, 0, hex("83021122"), 0, apdu_case), {}, 0x9000));
        EXPECT_EQ(reader().commands().back(), "80A8000005") << apdu_case;
    }
}

TEST_F(ApduExchange, RepeatedAnswerIsFinal) {
    for (const int sw : {0x6C07, 0x6110, 0x6A82}) {
        const ByteString status{static_cast<std::uint8_t>(sw >> 8), static_cast<std::uint8_t>(sw)};
        reset_reader();
        reader().answers = {answer("6C05"), answer(status)};
        EXPECT_TRUE(delivered(get_data(), {}, sw));
        EXPECT_EQ(reader().calls.size(), 2u);
    }
}

TEST_F(ApduExchange, EveryResultOfTheRepetitionBelowTwoIsPassedThrough) {
    for (const std::int64_t result : reader_results) {
        GuardedBuffer buffer(1022);
        log.clear();
        reader().answers = {answer("6C05"), {result, hex("419000")}};
        const std::int64_t returned = select_into(buffer);
        if (result < 2 || result > 1024) {
            EXPECT_TRUE(ended(returned, result < 2 ? result : -15, 0));
            EXPECT_TRUE(buffer.untouched()) << result;
            EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: "));
        } else {
            EXPECT_TRUE(ended(returned, 0, result == 2 ? 0x4190 : 0x9000));
            EXPECT_TRUE(buffer.holds(hex(result == 2 ? "" : "41")));
        }
        EXPECT_EQ(response_length, result == 3 ? 1u : 0u) << result;
    }
}

TEST_F(ApduExchange, RepeatedAnswerIsBounded) {
    reader().answers = {answer("6C05"), answer(join(pattern(1022), hex("9000")))};
    EXPECT_TRUE(delivered(get_data(), pattern(1022), 0x9000));

    GuardedBuffer fresh(1022);
    log.clear();
    reader().answers = {answer("6C05"), {1025, pattern(1024)}};
    EXPECT_EQ(IccComm(7, 11, 0, 0xCA, 0, 0, 0, nullptr, 0, 1, fresh.data(), &response_length), -15);
    EXPECT_EQ(CARD_STATUS, -15);
    EXPECT_EQ(CARD_SW1 << 8 | CARD_SW2, 0);
    EXPECT_EQ(response_length, 0u);
    EXPECT_TRUE(fresh.untouched());
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: "));
}

// ---- Log lines -------------------------------------------------------------------------------

TEST_F(ApduExchange, OutgoingLineIsLoggedBeforeTheCommandAndTheOthersAfterIt) {
    reader().answers = {answer("41 9000"), failure(-11)};
    select();
    select();
    EXPECT_THAT(reader().lines_logged_before, ElementsAre(1, 4));
    EXPECT_EQ(log.texts().size(), 4u);

    log.clear();
    reset_reader();
    reader().answers = {answer("6101"), answer("41 6101"), answer("42 9000"), answer("6C01"),
                        answer("41 9000")};
    select();
    select();
    EXPECT_THAT(reader().lines_logged_before, ElementsAre(1, 1, 1, 3, 3));
    EXPECT_EQ(log.texts().size(), 4u);
}

TEST_F(ApduExchange, IncomingLineDeliberatelyShowsTheCommand) {
    reader().answers = {answer("4142 9000")};
    exchange(11, 0x31, 0x32, 0x33, 0x34, hex("3536"), 0x37, 3);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: 1234\x02"
                                         "567",
                                         "CPU->DEV: 1234\x02"
                                         "567",
                                         "ICC_Application AB" + replacement));
}

TEST_F(ApduExchange, StatusWordAloneHasNoIncomingLine) {
    reader().answers = {answer("6A41")};
    exchange(11, 0x31, 0x32, 0x33, 0x34, {}, 0, 4);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: 1234", "ICC_Application jA"));
}

TEST_F(ApduExchange, LoggedTextDeliberatelyEndsAtTheFirstZeroByte) {
    reader().answers = {answer("00 9000")};
    exchange(11, 0x00, 0x41, 0x42, 0x43, {}, 0, 1);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: ", "CPU->DEV: ", "ICC_Application "));

    log.clear();
    reader().answers = {answer("4100 9000")};
    exchange(11, 0x41, 0x00, 0x42, 0x43, {}, 0, 1);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: A", "CPU->DEV: A", "ICC_Application A"));
}

TEST_F(ApduExchange, RawBytesAreDeliberatelyLoggedAsText) {
    reader().answers = {answer("9000")};
    exchange(11, 0x80, 0xA8, 0x00, 0x00, {}, 0, 1);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: " + replacement + replacement,
                                         "ICC_Application " + replacement));
    log.clear();
    // A UTF-8 character stays what it is.
    reader().answers = {answer(text_bytes("余A"))};
    exchange(11, 0x41, 0x42, 0x43, 0x44, {}, 0, 4);
    EXPECT_THAT(log.texts(),
                ElementsAre("DEV->CPU: ABCD", "CPU->DEV: ABCD", "ICC_Application 余A"));
}

TEST_F(ApduExchange, PercentSignsAreLoggedAsTheyAre) {
    reader().answers = {answer(text_bytes("%n%s"))};
    exchange(11, '%', 's', '%', 'n', {}, 0, 4);
    EXPECT_THAT(log.texts(),
                ElementsAre("DEV->CPU: %s%n", "CPU->DEV: %s%n", "ICC_Application %n%s"));
}

TEST_F(ApduExchange, LongestCommandAndAnswerAreLoggedWhole) {
    const ByteString letters = filled(255, 'c');
    reader().answers = {answer(filled(1024, 'r'))};
    exchange(11, 'A', 'B', 'C', 'D', letters, 'e', 3);
    const std::string command = "ABCD" + replacement + std::string(255, 'c') + "e";
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: " + command, "CPU->DEV: " + command,
                                         "ICC_Application " + std::string(1024, 'r')));
}

TEST_F(ApduExchange, ChainAndRepetitionLogTheirEndOnly) {
    reader().answers = {answer("6102"), answer("4142 6102"), answer("4344 6F45")};
    exchange(11, 0x31, 0x32, 0x33, 0x34, {}, 0, 4);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: 1234", "ICC_Application ABCDoE"));

    log.clear();
    reader().answers = {answer("6C02"), answer("4142 6F45")};
    exchange(11, 0x31, 0x32, 0x33, 0x34, {}, 0, 4);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: 1234", "ICC_Application ABoE"));
}

TEST_F(ApduExchange, ChainCutByTheReaderLogsWhatIsInTheBuffer) {
    // "DE" came last; behind the three bytes taken the status word of the last answer stands.
    reader().answers = {answer("6102"), answer("41 6102"), answer("4243 6144"), failure(-11)};
    exchange(11, 0x31, 0x32, 0x33, 0x34, {}, 0, 4);
    EXPECT_THAT(log.texts(), ElementsAre("DEV->CPU: 1234", "ICC_Application ABCD"));
}

// ---- Arguments -------------------------------------------------------------------------------

TEST_F(ApduExchange, DataIsNotReadWhereNoneIsSent) {
    reader().answers = {answer("9000"), answer("9000"), answer("9000")};
    for (const int apdu_case : {1, 4}) {
        EXPECT_EQ(IccComm(7, 11, 0, 0xA4, 0, 0, 9, nullptr, 0, apdu_case, response.data(),
                          &response_length),
                  0);
    }
    EXPECT_EQ(IccComm(7, 11, 0, 0xA4, 0, 0, 0, nullptr, 0, 3, response.data(), &response_length),
              0);
    EXPECT_THAT(reader().commands(), ElementsAre("00A4000000", "00A40000", "00A400000000"));
}

TEST_F(ApduExchange, UnknownKindComesBeforeNullPointers) {
    EXPECT_TRUE(ended(IccComm(7, 5, 0, 0xA4, 0, 0, 0, nullptr, 0, 1, nullptr, nullptr), 0, 0));
    EXPECT_TRUE(ended(
        IccComm(7, 5, 0, 0xA4, 0, 0, 1, nullptr, 0, 2, response.data(), &response_length), 0, 0));
    EXPECT_EQ(response_length, 0u);
    response_length = 4711;
    EXPECT_TRUE(
        ended(IccComm(7, 5, 0, 0xA4, 0, 0, 0, nullptr, 0, 1, nullptr, &response_length), 0, 0));
    EXPECT_EQ(response_length, 0u);
    EXPECT_TRUE(response.untouched());
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ApduExchange, RefusesNullPointersWithAKnownKind) {
    EXPECT_EQ(IccComm(7, 11, 0, 0xA4, 0, 0, 1, nullptr, 0, 2, response.data(), &response_length),
              -14);
    EXPECT_EQ(response_length, 0u);
    EXPECT_EQ(CARD_STATUS, -14);
    EXPECT_EQ(CARD_SW1 << 8 | CARD_SW2, 0);

    response_length = 4711;
    EXPECT_EQ(IccComm(7, 11, 0, 0xA4, 0, 0, 0, nullptr, 0, 1, nullptr, &response_length), -14);
    EXPECT_EQ(response_length, 0u);
    EXPECT_EQ(IccComm(7, 11, 0, 0xA4, 0, 0, 0, nullptr, 0, 1, response.data(), nullptr), -14);
    EXPECT_TRUE(response.untouched());
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

}  // namespace
}  // namespace quorrin::test
