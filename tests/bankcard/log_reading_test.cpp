// GetIcBankCardTrDetail: selection, log format, log entry and records.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

using testing::IsEmpty;

constexpr std::int32_t purchases = 1;
constexpr std::int32_t loads = 2;
constexpr std::int32_t all_records = 0;

constexpr char get_log_format[] = "80CA9F4F00";

// Ten purchases, the last one first.
std::string record_text(int record) {
    const std::string number = std::to_string(100 + record).substr(1);
    std::string text = "P0120000000000" + number + "Q012000000000000R0040156S006202501" + number +
                       "T00100U0031030" + number + "V0040156W0205348" + number;
    for (int i = 0; i < 17; ++i) {
        text += "20";
    }
    return text + "X00200" + number;
}

std::string card_with_log(std::string_view entry, std::string_view format, int records) {
    std::string card =
        "00A40400 [A000000333010101] 00\n    6F[ 84[A000000333010101] A5[ 50['DEBIT']"
        " BF0C[ " +
        std::string(entry) + " ] ] ] 9000\n80CA9F4F00\n    " + std::string(format) +
        " 9000\n80CADF4F00\n    " + std::string(format) + " 9000\n";
    for (int record = 1; record <= records; ++record) {
        const std::string number = std::to_string(100 + record).substr(1);
        card += "00B2" + to_hex(ByteString{static_cast<std::uint8_t>(record)}) + "5C00\n    2501" +
                number + " 1030" + number + " 0000000000" + number +
                " 000000000000 0156 0156 5348" + number + " 20*17 00 00" + number + " 9000\n";
    }
    return card + "00B2 *\n    6A83\n";
}

constexpr char usual_entry[] = "9F4D[0B0A]";
constexpr char usual_format[] =
    "9F4F[ 9A03 9F2103 9F0206 9F0306 9F1A02 5F2A02 9F4E14 9C01 9F3602 ]";

class LogReading : public BankCardTest {
  protected:
    std::int64_t read(std::int32_t selector, std::int32_t type = purchases,
                      const char* aid = "A000000333010101") {
        return GetIcBankCardTrDetail(type, handle, selector, aid, out.text());
    }
    static Commands read_commands(std::initializer_list<int> records) {
        Commands expected{select_application, get_log_format};
        for (const int record : records) {
            expected.push_back("00B2" + to_hex(ByteString{static_cast<std::uint8_t>(record)}) +
                               "5C00");
        }
        return expected;
    }

    GuardedBuffer out{4096};
};

TEST_F(LogReading, DeliberatelyGivesTheFirstTextsLengthOnceAndAllTexts) {
    insert(card_with_log(usual_entry, usual_format, 10));
    EXPECT_EQ(read(all_records), 0);
    EXPECT_EQ(commands(), read_commands({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    std::string expected = "128";
    for (int record = 1; record <= 10; ++record) {
        ASSERT_EQ(record_text(record).size(), 128u);
        expected += record_text(record);
    }
    EXPECT_EQ(expected.size(), 1283u);
    EXPECT_TRUE(out.holds_text(expected));
}

TEST_F(LogReading, LeavesTheStoreAlone) {
    insert(card_with_log(usual_entry, usual_format, 2));
    put("9F02", hex("000000012300"));
    EXPECT_EQ(read(1), 0);
    EXPECT_EQ(present_elements(), (Elements{{"9F02", "000000012300"}}));
}

TEST_F(LogReading, UsesTheGivenHandleAndTheUserCardsSlot) {
    EG_nUserCardType = 12;
    ReaderHandle = 99;
    insert(card_with_log(usual_entry, usual_format, 1));
    EXPECT_EQ(read(1), 0);
    EXPECT_EQ(reader().calls, (Commands{"Send 7 31: 00A4040008A00000033301010100",
                                        "Send 7 31: 80CA9F4F00", "Send 7 31: 00B2015C00"}));
}

TEST_F(LogReading, LogsTheExchangesAndNothingElse) {
    insert(R"(
00A40400 *
    6F[ 4D ] 9000
80CA9F4F00
    6A81
)");
    EXPECT_EQ(read(all_records), -27265);
    EXPECT_EQ(log.texts(),
              (std::vector<std::string>{
                  "DEV->CPU: ", "CPU->DEV: ", "ICC_Application o\x01M\xEF\xBF\xBD",
                  "DEV->CPU: \xEF\xBF\xBD\xCA\x9FO", "ICC_Application j\xEF\xBF\xBD"}));
}

// --- the selector ---

struct SelectorCase {
    const char* name;
    std::int32_t selector;
    std::vector<int> records;
};

void PrintTo(const SelectorCase& row, std::ostream* out) {
    *out << row.name;
}

class LogSelector : public LogReading, public testing::WithParamInterface<SelectorCase> {};

TEST_P(LogSelector, NamesARecordAllOrNone) {
    insert(card_with_log("9F4D[0B0B]", usual_format, 11));
    EXPECT_EQ(read(GetParam().selector), 0);
    Commands expected_commands = read_commands({});
    std::string expected;
    for (const int record : GetParam().records) {
        expected_commands.push_back("00B2" + to_hex(ByteString{static_cast<std::uint8_t>(record)}) +
                                    "5C00");
        expected += (expected.empty() ? "128" : "") + record_text(record);
    }
    EXPECT_EQ(commands(), expected_commands);
    EXPECT_TRUE(out.holds_text(expected));
}

const std::vector<int> eleven{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};

INSTANTIATE_TEST_SUITE_P(TransactionLog, LogSelector,
                         testing::Values(SelectorCase{"All", 0, eleven},
                                         SelectorCase{"First", 1, {1}},
                                         SelectorCase{"Third", 3, {3}},
                                         SelectorCase{"Tenth", 10, {10}},
                                         SelectorCase{"AboveTenIsAll", 11, eleven},
                                         SelectorCase{"LargestIsAll", 0x7FFFFFFF, eleven},
                                         SelectorCase{"NegativeIsNone", -1, {}},
                                         SelectorCase{"MostNegativeIsNone", INT32_MIN, {}}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(LogReading, ASelectorBeyondTheCountReadsNothing) {
    insert(card_with_log("9F4D[0B02]", usual_format, 2));
    EXPECT_EQ(read(3), 0);
    EXPECT_EQ(commands(), read_commands({}));
    EXPECT_TRUE(out.untouched());
}

// --- the application ---

TEST_F(LogReading, TakesTheFirstApplicationOfTheDirectoryWhenNoneIsNamed) {
    for (const char* aid : {static_cast<const char*>(nullptr), ""}) {
        insert(pboc_debit_card).with(R"(
00B2010C00
    70[ 61[ 4F[A000000333010101] ] 61[ 4F[A000000333010102] ] ] 9000
)");
        GuardedBuffer text(512);
        EXPECT_EQ(GetIcBankCardTrDetail(purchases, handle, 1, aid, text.text()), 0);
        EXPECT_EQ(commands(),
                  (Commands{"00A404000E315041592E5359532E444446303100", "00B2010C00", "00B2020C00",
                            select_application, get_log_format, "00B2015C00"}));
        EXPECT_TRUE(
            text.holds_text("128P012000000001000Q012000000000000R0040156S00620250102T00100"
                            "U003103000V0040156"
                            "W02054455354204D45524348414E5420202020202020X0020041"));
    }
}

TEST_F(LogReading, DeliberatelySelectsWithoutNameWhenThereIsNoDirectory) {
    insert(R"(
00A40400 ['1PAY.SYS.DDF01'] 00
    6A82
00A40400 00 00
    6985
)");
    EXPECT_EQ(read(all_records, purchases, nullptr), -27013);
    EXPECT_EQ(commands(), (Commands{"00A404000E315041592E5359532E444446303100", "00A404000000"}));
}

TEST_F(LogReading, DropsTheLastDigitOfAnOddAid) {
    insert(card_with_log(usual_entry, usual_format, 1));
    EXPECT_EQ(read(-1, purchases, "A0000003330101017"), 0);
    EXPECT_EQ(commands(), read_commands({}));
    // One digit alone is no name at all.
    insert("00A40400 *\n    6A82\n");
    EXPECT_EQ(read(-1, purchases, "A"), -27266);
    EXPECT_EQ(commands(), Commands{"00A404000000"});
}

TEST_F(LogReading, TakesAnAidOf20Bytes) {
    insert("00A40400 *\n    6F[ 9F4D[0B00] ] 9000\n80CA *\n    9F4F[] 9000\n");
    const std::string aid = to_hex(filled(20, 0xA5));
    EXPECT_EQ(read(all_records, purchases, aid.c_str()), 0);
    EXPECT_EQ(commands(), (Commands{"00A4040014" + aid + "00", get_log_format}));
}

// A card that accepts every selection and has an empty log.
constexpr char accepting_card[] =
    "00A40400 *\n    6F[ 9F4D[0B00] ] 9000\n80CA *\n    9F4F[] 9000\n";

TEST_F(LogReading, RefusesAnAidOf21BytesOnceTheCardHasAccepted) {
    const std::string aid = to_hex(filled(21, 0xA5));
    for (const char* card : {accepting_card, "00A40400 *\n    9000\n80CA *\n    9000\n"}) {
        insert(card);
        EXPECT_EQ(read(all_records, purchases, aid.c_str()), QUORRIN_BAD_PARAMETER);
        EXPECT_EQ(commands(), (Commands{"00A4040015" + aid + "00", get_log_format}));
        EXPECT_TRUE(out.untouched());
    }
    // A card that refuses it, or has no log, ends the reading before.
    insert("00A40400 *\n    6A82\n");
    EXPECT_EQ(read(all_records, purchases, aid.c_str()), -27266);
    EXPECT_EQ(commands(), Commands{"00A4040015" + aid + "00"});
    insert("00A40400 *\n    6F[ 9F4D[0B00] ] 9000\n80CA *\n    6A88\n");
    EXPECT_EQ(read(all_records, purchases, aid.c_str()), -27272);
}

TEST_F(LogReading, RefusesAnAidTextOf100CharactersBeforeAnythingIsSent) {
    insert("00A40400 *\n    6A82\n");
    const std::string fitting(99, 'A');
    EXPECT_EQ(read(all_records, purchases, fitting.c_str()), -27266);
    EXPECT_EQ(commands(), Commands{"00A4040031" + to_hex(filled(49, 0xAA)) + "00"});
    insert(accepting_card);
    for (const std::size_t length : {100u, 101u, 5000u}) {
        const std::string too_long(length, 'A');
        EXPECT_EQ(read(all_records, purchases, too_long.c_str()), QUORRIN_BAD_PARAMETER);
    }
    EXPECT_EQ(commands(), Commands{});
    EXPECT_TRUE(out.untouched());
}

// --- the log entry ---

struct EntryCase {
    const char* name;
    const char* fci;
};

class MissingLogEntry : public LogReading, public testing::WithParamInterface<EntryCase> {};

TEST_P(MissingLogEntry, GivesMinus106BehindTheLogFormat) {
    insert("00A40400 *\n    " + std::string(GetParam().fci) + " 9000\n80CA *\n    " + usual_format +
           " 9000\n");
    EXPECT_EQ(read(all_records), -106);
    EXPECT_EQ(commands(), read_commands({}));
    EXPECT_TRUE(out.untouched());
}

constexpr EntryCase missing_entries[] = {
    {"Absent", "6F[ 84[A000000333010101] A5[ BF0C[ DF4D[0C0A] ] ] ]"},
    {"NoAnswer", ""},
    {"Malformed", "6F[ 84[A000000333010101] A5[ 5005 ] ]"},
    {"MalformedBehindTheEntry", "6F[ A5[ BF0C[ 9F4D[0B0A] ] ] ] 50"},
    {"Twice", "6F[ A5[ BF0C[ 9F4D[0B0A] 9F4D[0B0A] ] ] ]"},
    {"AnswerAbove256Bytes", "6F[ 9F4D[0B0A] C1[55*246] ]"},
};

INSTANTIATE_TEST_SUITE_P(TransactionLog, MissingLogEntry, testing::ValuesIn(missing_entries),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(LogReading, FindsTheEntryInAnAnswerOf256Bytes) {
    const std::string fci = "6F[ 9F4D[0B01] C1[55*245] ]";
    ASSERT_EQ(card_bytes(fci).size(), 256u);
    insert("00A40400 *\n    " + fci +
           " 9000\n80CA *\n    9F4F[ 9C01 ] 9000\n00B2015C00\n    21 9000\n");
    EXPECT_EQ(read(all_records), 0);
}

TEST_F(LogReading, AnEmptyLogIsNoError) {
    insert(card_with_log("9F4D[0B00]", usual_format, 0));
    EXPECT_EQ(read(all_records), 0);
    EXPECT_EQ(commands(), read_commands({}));
    EXPECT_TRUE(out.untouched());
}

TEST_F(LogReading, AnEmptyLogIsFoundBeforeABadFormat) {
    insert(card_with_log("9F4D[0B00]", "9F4F[ 9C02 ]", 0));
    EXPECT_EQ(read(all_records), 0);
}

TEST_F(LogReading, AShortEntryIsFilledUpWithZeros) {
    for (const char* entry : {"9F4D[0B]", "9F4D[]"}) {
        insert(card_with_log(entry, usual_format, 1));
        EXPECT_EQ(read(all_records), 0) << entry;
        EXPECT_EQ(commands(), read_commands({}));
    }
    EXPECT_TRUE(out.untouched());
}

TEST_F(LogReading, ALongEntryCountsWithItsFirstTwoBytes) {
    insert(card_with_log("9F4D[0B0199]", usual_format, 1));
    EXPECT_EQ(read(all_records), 0);
    EXPECT_EQ(commands(), read_commands({1}));
}

TEST_F(LogReading, FileIdentifiersWrapInEightBits) {
    insert(
        "00A40400 *\n    6F[ 9F4D[2B01] ] 9000\n80CA *\n    9F4F[ 9C01 ] 9000\n"
        "00B2 *\n    21 9000\n");
    EXPECT_EQ(read(all_records), 0);
    EXPECT_EQ(commands(), (Commands{select_application, get_log_format, "00B2015C00"}));
}

TEST_F(LogReading, ReadsUpTo255Records) {
    insert(
        "00A40400 *\n    6F[ 9F4D[0BFF] ] 9000\n80CA *\n    9F4F[ 9C01 ] 9000\n"
        "00B2 *\n    21 9000\n");
    GuardedBuffer text(3 + 255 * 88);
    EXPECT_EQ(
        GetIcBankCardTrDetail(purchases, handle, all_records, "A000000333010101", text.text()), 0);
    EXPECT_EQ(commands().size(), 257u);
    EXPECT_EQ(commands().back(), "00B2FF5C00");
    std::string expected = "088";
    for (int i = 0; i < 255; ++i) {
        expected +=
            "P012000000000000Q012000000000000R0040000S00620000000T00121U003000000V0040000"
            "W000X0020000";
    }
    EXPECT_TRUE(text.holds_text(expected));
}

// --- the load log ---

TEST_F(LogReading, TheLoadLogHasItsOwnFormatAndEntry) {
    insert(
        "00A40400 *\n    6F[ 9F4D[0B0A] DF4D[0C01] ] 9000\n80CADF4F00\n    9F4F[ 9C01 ] 9000\n"
        "00B2016400\n    63 9000\n");
    EXPECT_EQ(read(all_records, loads), 0);
    EXPECT_EQ(commands(), (Commands{select_application, "80CADF4F00", "00B2016400"}));
    EXPECT_TRUE(out.holds_text(
        "088P012000000000000Q012000000000000R0040000S00620000000T00163U003000000V0040000"
        "W000X0020000"));
}

TEST_F(LogReading, DeliberatelyALoadLogFormatUnderItsOwnTagCannotBeRead) {
    insert(card_with_log("DF4D[0B02]", "DF4F[ 9C01 ]", 2));
    EXPECT_EQ(read(all_records, loads), -107);
    EXPECT_EQ(commands(), (Commands{select_application, "80CADF4F00", "00B2015C00"}));
    // It shows with the first record that is read.
    insert(card_with_log("DF4D[0B02]", "DF4F[ 9C01 ]", 2));
    EXPECT_EQ(read(-1, loads), 0);
    EXPECT_TRUE(out.untouched());
}

TEST_F(LogReading, TheLoadLogEntryIsNotTheOtherOne) {
    insert(card_with_log("9F4D[0B02]", usual_format, 2));
    EXPECT_EQ(read(all_records, loads), -106);
}

TEST_F(LogReading, AnyOtherTypeIsTheTransactionLog) {
    for (const std::int32_t type : {0, 1, 3, -2, 258}) {
        insert(card_with_log("9F4D[0B01] DF4D[0C01]", usual_format, 1));
        EXPECT_EQ(read(all_records, type), 0);
        EXPECT_EQ(commands(), read_commands({1}));
    }
}

// --- failures ---

TEST_F(LogReading, ReportsHowTheCardRefusesAnyStep) {
    for (std::size_t step = 0; step < 3; ++step) {
        for (const Refusal& refusal : refusals()) {
            insert(card_with_log(usual_entry, usual_format, 2)).at_step(step, refusal.answer);
            GuardedBuffer text(1024);
            EXPECT_EQ(GetIcBankCardTrDetail(purchases, handle, all_records, "A000000333010101",
                                            text.text()),
                      refusal.code)
                << refusal.name << " at step " << step;
            EXPECT_EQ(commands().size(), step + 1);
            EXPECT_TRUE(text.untouched());
        }
    }
}

TEST_F(LogReading, KeepsTheTextsBeforeARefusedRecord) {
    insert(card_with_log(usual_entry, usual_format, 2));
    EXPECT_EQ(read(all_records), -27267);
    EXPECT_EQ(commands(), read_commands({1, 2, 3}));
    EXPECT_TRUE(out.holds_text("128" + record_text(1) + record_text(2)));
}

TEST_F(LogReading, ABadFormatShowsWithTheFirstRecord) {
    insert(card_with_log(usual_entry, "9F4F[ 9F0205 ]", 10));
    EXPECT_EQ(read(all_records), -107);
    EXPECT_EQ(commands(), read_commands({1}));
    EXPECT_TRUE(out.untouched());
}

TEST_F(LogReading, RefusesANullBuffer) {
    insert(card_with_log(usual_entry, usual_format, 1));
    EXPECT_EQ(GetIcBankCardTrDetail(purchases, handle, all_records, "A000000333010101", nullptr),
              -14);
    EXPECT_THAT(reader().calls, IsEmpty());
}

// --- records that do not match the format ---

TEST_F(LogReading, ARecordThatIsTooShortIsFilledUpWithZeros) {
    insert(
        "00A40400 *\n    6F[ 9F4D[0B02] ] 9000\n"
        "80CA *\n    9F4F[ 9A03 9F2103 9F0206 9F4E04 ] 9000\n"
        "00B2015C00\n    250102 1030 9000\n00B2025C00\n    9000\n");
    EXPECT_EQ(read(all_records), 0);
    EXPECT_TRUE(out.holds_text(
        "096P012000000000000Q012000000000000R0040000S00620250102T00100U003103000V0040000"
        "W00400000000X0020000"
        "P012000000000000Q012000000000000R0040000S00620000000T00100U003000000V0040000"
        "W00400000000X0020000"));
}

TEST_F(LogReading, AShortRecordTakesNothingFromTheRecordBeforeIt) {
    insert(
        "00A40400 *\n    6F[ 9F4D[0B03] ] 9000\n80CA *\n    9F4F[ 9A03 9F3602 ] 9000\n"
        "00B2015C00\n    FFFFFF FFFF 9000\n00B2025C00\n    250102 12 9000\n"
        "00B2035C00\n    9000\n");
    EXPECT_EQ(read(all_records), 0);
    const auto text = [](std::string_view date, std::string_view counter) {
        return "P012000000000000Q012000000000000R0040000S00620" + std::string(date) +
               "T00100U003000000V0040000W000X002" + std::string(counter);
    };
    EXPECT_TRUE(out.holds_text("088" + text("FFFFFF", "FFFF") + text("250102", "1200") +
                               text("000000", "0000")));
}

TEST_F(LogReading, ARecordThatIsTooLongIsReadAsFarAsTheFormatGoes) {
    insert(
        "00A40400 *\n    6F[ 9F4D[0B01] ] 9000\n80CA *\n    9F4F[ 9C01 ] 9000\n"
        "00B2015C00\n    21 EE*1021 9000\n");
    EXPECT_EQ(read(all_records), 0);
    EXPECT_TRUE(out.holds_text(
        "088P012000000000000Q012000000000000R0040000S00620000000T00121U003000000V0040000"
        "W000X0020000"));
}

TEST_F(LogReading, AFormatThatAsksForMoreThanAnyAnswerHoldsIsSurvived) {
    // Fields that come again and again move the position far beyond the record.
    std::string list;
    for (int i = 0; i < 42; ++i) {
        list += "9F4E7F ";
    }
    insert("00A40400 *\n    6F[ 9F4D[0B01] ] 9000\n80CA *\n    9F4F[ " + list +
           "] 9000\n00B2015C00\n    AB*1022 9000\n");
    EXPECT_EQ(read(all_records), 0);
    // 127 bytes of name, all of them beyond the record: X at 78.
    EXPECT_TRUE(out.holds_text(
        "086P012000000000000Q012000000000000R0040000S00620000000T00100U003000000V0040000"
        "W1X0020000"));
}

TEST_F(LogReading, TextsOfAnOverLongMerchantNameAreAppendedByTheirLength) {
    insert(
        "00A40400 *\n    6F[ 9F4D[0B02] ] 9000\n80CA *\n    9F4F[ 9F4E56 9F3602 ] 9000\n"
        "00B2 *\n    AB*86 1A2B 9000\n");
    EXPECT_EQ(read(all_records), 0);
    EXPECT_TRUE(out.holds_text("0041A2B1A2B"));
}

}  // namespace
}  // namespace quorrin::test
