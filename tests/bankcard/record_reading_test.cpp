// Reading the records that the AFL names.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

class RecordReading : public BankCardTest {
  protected:
    static Commands read_records(std::initializer_list<const char*> numbers_and_files) {
        Commands commands;
        for (const char* number_and_file : numbers_and_files) {
            commands.push_back("00B2" + std::string(number_and_file) + "00");
        }
        return commands;
    }
};

TEST_F(RecordReading, SendsOneCommandForEveryRecord) {
    struct Case {
        const char* what;
        const char* afl;
        Commands commands;
    };
    const Case cases[] = {
        {"three records of file 1", "08010300", read_records({"010C", "020C", "030C"})},
        {"several files", "08010100 10020301 F8010100",
         read_records({"010C", "0214", "0314", "01FC"})},
        {"one file in two entries", "08010100 08030300", read_records({"010C", "030C"})},
        {"low bits of the file are ignored", "0F010100 0B020200", read_records({"010C", "020C"})},
        {"file 0", "00010100", read_records({"0104"})},
        {"first above last is skipped", "08040300 10010100", read_records({"0114"})},
        {"record 0", "08000100", read_records({"000C", "010C"})},
        {"records for authentication are ignored", "080101FF", read_records({"010C"})},
        {"up to record 255", "08FEFF00 10010100", read_records({"FE0C", "FF0C", "0114"})},
        {"record 255 alone", "08FFFF00", read_records({"FF0C"})},
        {"a byte too few", "080103", {}},
        {"a byte too many", "0801010010", read_records({"010C"})},
        {"two bytes too many", "080101001001", read_records({"010C"})},
        {"three bytes too many", "08010100100101", read_records({"010C"})},
    };
    for (const Case& c : cases) {
        put("94", hex(c.afl));
        insert("00B2 *\n    70[] 9000\n");
        EXPECT_EQ(emvReadICCard(handle), 0) << c.what;
        EXPECT_EQ(commands(), c.commands) << c.what;
    }
}

TEST_F(RecordReading, GoesToTheUserCardWithTheHostsHandle) {
    EG_nUserCardType = 12;
    put("94", hex("08010100"));
    insert("00B2 *\n    70[] 9000\n");
    EXPECT_EQ(emvReadICCard(99), 0);
    EXPECT_EQ(reader().calls, Commands{"Send 99 31: 00B2010C00"});
}

TEST_F(RecordReading, ReadsNothingWithoutAnAfl) {
    insert("");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(reader().calls, Commands{});
}

TEST_F(RecordReading, ReadsEveryRecordThatAnEntryCanName) {
    put("94", hex("0800FF00"));
    insert("00B2 *\n    9000\n");
    EXPECT_EQ(emvReadICCard(handle), 0);
    ASSERT_EQ(commands().size(), 256u);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(commands()[i],
                  "00B2" + to_hex(ByteString{static_cast<std::uint8_t>(i)}) + "0C00");
    }
}

TEST_F(RecordReading, WalksTheLongestAfl) {
    ByteString afl;
    Commands expected;
    for (std::uint8_t i = 0; i < 63; ++i) {
        const std::uint8_t number = static_cast<std::uint8_t>(i + 1);
        afl.insert(afl.end(), {0x10, number, number, 0});
        expected.push_back("00B2" + to_hex(ByteString{number}) + "1400");
    }
    put("94", afl);
    insert("00B2 *\n    70[] 9000\n");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(commands(), expected);

    // A host's length beyond the storage: 63 entries at most, counted in 8 bits.
    const ByteString tag = hex("94");
    ASSERT_EQ(emvSetDataElementLength(tag.data(), 1, 1020, 0), 0);
    insert("00B2 *\n    70[] 9000\n");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(commands(), expected);
    ASSERT_EQ(emvSetDataElementLength(tag.data(), 1, 1032, 0), 0);
    insert("00B2 *\n    70[] 9000\n");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(commands(), (Commands{"00B2011400", "00B2021400"}));
}

TEST_F(RecordReading, StoresWhatTheRecordsHold) {
    put("94", hex("08010300"));
    insert(R"(
00B2010C00
    70[ 5A[6205500000000000004F] 5F24[301231] DF11[01020304] 5F20['TEST/HOLDER'] ] 9000
00B2020C00
    # repeated, unknown, empty and terminal elements; padding; no template; another template
    00 70[ 5F24[291231] 5F24[281231] FF 9F50[00] 8F[] 9F1A[0840] ] 5F34[01] 77[ 9F36[0042] ] 9000
00B2030C00
    9000
)");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(present_elements(), (Elements{{"94", "08010300"},
                                            {"5A", "6205500000000000004F"},
                                            {"5F24", "281231"},
                                            {"5F20", to_hex(text_bytes("TEST/HOLDER"))},
                                            {"5F34", "01"},
                                            {"9F36", "0042"}}));
}

TEST_F(RecordReading, StoresARecordOfTheLongestAnswer) {
    put("94", hex("08010100"));
    insert("00B2 *\n    70[ 90[11*248] 9F46[22*248] 93[33*248] 5F20[44*252] DF11[55*1] ] 9000\n");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(element("90"), filled(248, 0x11));
    EXPECT_EQ(element("9F46"), filled(248, 0x22));
    EXPECT_EQ(element("93"), filled(248, 0x33));
    EXPECT_EQ(element("5F20"), filled(252, 0x44));

    const ByteString longest =
        card_bytes("70[ 8C[9F0206] DF11[00*252] DF12[00*252] DF13[00*252] DF14[00*241] ]");
    ASSERT_EQ(longest.size(), 1022u);
    reader().card = [&](const ByteString&) { return answer(join(longest, hex("9000"))); };
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(element("8C"), value("9F0206"));
}

TEST_F(RecordReading, DeliberatelyPassesOverTheRestOfAnEntryThatIsRefused) {
    for (const Refusal& refusal : refusals()) {
        emvClrIccAndTermData();
        put("94", hex("08010300 10010100"));
        insert(R"(
00B2010C00
    70[ 5F34[01] ] 9000
00B2030C00
    70[ 5F34[03] ] 9000
00B2011400
    70[ 5F24[301231] ] 9000
)")
            .at_step(1, refusal.answer);
        EXPECT_EQ(emvReadICCard(handle), 0) << refusal.name;
        EXPECT_EQ(commands(), read_records({"010C", "020C", "0114"})) << refusal.name;
        EXPECT_EQ(present_elements(),
                  (Elements{{"94", "0801030010010100"}, {"5F34", "01"}, {"5F24", "301231"}}))
            << refusal.name;
    }
}

TEST_F(RecordReading, FetchesRecordsThatWait) {
    put("94", hex("08010200"));
    insert(R"(
00B2010C00
    6106
00C0000006
    70[ 5F34[01] ] 9000
00B2020C00
    6C08
00B2020C08
    70[ 5F24[301231] ] 9000
)");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(commands(), (Commands{"00B2010C00", "00C0000006", "00B2020C00", "00B2020C08"}));
    EXPECT_EQ(present_elements(),
              (Elements{{"94", "08010200"}, {"5F34", "01"}, {"5F24", "301231"}}));
}

TEST_F(RecordReading, PassesOverARecordWithAWarning) {
    put("94", hex("08010200"));
    insert("00B2 *\n    70[ 5F34[01] ] 6282\n");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(commands(), read_records({"010C"}));
    EXPECT_EQ(present_elements(), (Elements{{"94", "08010200"}}));
}

TEST_F(RecordReading, EndsAtARecordThatDoesNotParse) {
    const std::pair<const char*, const char*> cases[] = {
        {"longer than the answer", "5F34[01] 70 10 5F25[210101]"},
        {"element longer than the record", "70[ 5F34[01] 5A 09 62055000 ]"},
        {"tag without an end", "70[ 5F34[01] 9F ]"},
        {"no length", "70[ 5F34[01] 5A ]"},
        {"indefinite length", "70[ 5F34[01] 5A80 ]"},
        {"expiration date of 2 bytes", "70[ 5F34[01] 5F24[3012] ]"},
        {"PAN of 11 bytes", "70[ 5F34[01] 5A[11*11] ]"},
        {"track 2 of 20 bytes", "70[ 5F34[01] 57[11*20] ]"},
        {"cryptogram in a record", "70[ 5F34[01] 9F26[1122334455667788] ]"},
        {"AID in a record", "70[ 5F34[01] 4F[A000000333] ]"},
        {"tag of three bytes in a template", "70[ 5F34[01] 9F8101[00] ]"},
    };
    for (const auto& [what, record] : cases) {
        emvClrIccAndTermData();
        put("94", hex("08010300 10010100"));
        insert("00B2010C00\n    70[ 5F25[200101] ] 9000\n00B2020C00\n    " + std::string(record) +
               " 9000\n");
        EXPECT_EQ(emvReadICCard(handle), -107) << what;
        EXPECT_EQ(commands(), read_records({"010C", "020C"})) << what;
        EXPECT_EQ(element("5F25"), value("200101")) << what << ": earlier records stay";
        EXPECT_EQ(element("5F34"), value("01")) << what << ": as does what came before the fault";
    }
}

TEST_F(RecordReading, WalksTheAflAsItWasAtTheStart) {
    put("94", hex("08010200 10010100"));
    insert(R"(
00B2010C00
    77[ 94[F8010500] ] 9000
00B2 *
    70[] 9000
)");
    EXPECT_EQ(emvReadICCard(handle), 0);
    EXPECT_EQ(commands(), read_records({"010C", "020C", "0114"}));
    EXPECT_EQ(element("94"), value("F8010500"));
}

}  // namespace
}  // namespace quorrin::test
