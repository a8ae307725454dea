// Directory records and directory FCIs into the candidate list.

#include "tests/bankcard/pse_cards.hpp"

namespace quorrin::test {
namespace {

class Directory : public BankCardTest {
  protected:
    static std::int64_t process_record(const ByteString& record) {
        ExactBytes input(record);
        return emvProcessSFIofDDF(input.data(), input.size16());
    }
    static std::int64_t process_record(std::string_view record) {
        return process_record(card_bytes(record));
    }
    static std::int64_t process_fci(const ByteString& fci) {
        ExactBytes input(fci);
        return qPBOCProcessDDF(input.data(), input.size16());
    }
    static std::int64_t process_fci(std::string_view fci) { return process_fci(card_bytes(fci)); }

    static void clear_list() { set_candidates(candidates("", 0)); }
};

struct RecordCase {
    const char* what;
    const char* record;
    std::int64_t result;
    const char* list;
    unsigned count;
};

void PrintTo(const RecordCase& c, std::ostream* out) {
    *out << c.what;
}

class DirectoryRecord : public Directory, public testing::WithParamInterface<RecordCase> {};

TEST_P(DirectoryRecord, AppendsItsApplications) {
    EXPECT_EQ(process_record(GetParam().record), GetParam().result);
    EXPECT_EQ(candidates(), candidates(GetParam().list, GetParam().count));
    EXPECT_EQ(reader().calls, Commands{});
}

// clang-format off
constexpr RecordCase record_cases[] = {
    {"empty", "", 0, "", 0},
    {"one entry", "70[ 61[ 4F[A000000333010101] 50['DEBIT'] 87[01] ] ]", 0, "A000000333010101", 1},
    {"upper case", "70[ 61[ 4F[ABCDEF0123] ] ]", 0, "ABCDEF0123", 1},
    {"two entries, in the order of the record and not of their priorities",
     "70[ 61[ 4F[A000000002] 87[02] ] 61[ 4F[A000000001] 87[01] ] ]", 0, "A000000002|A000000001",
     2},
    {"the same application twice", "70[ 61[ 4F[A000000001] ] 61[ 4F[A000000001] ] ]", 0,
     "A000000001|A000000001", 2},
    {"entry outside a record template", "61[ 4F[A000000001] ]", 0, "A000000001", 1},
    {"template in a template", "70[ 70[ 61[ 4F[A000000001] ] ] ] 70[ 61[ 4F[A000000002] ] ]", 0,
     "A000000001|A000000002", 2},
    {"AID deep inside its entry", "61[ 73[ BF0C[ 4F[A000000001] ] ] ]", 0, "A000000001", 1},
    {"padding inside an entry", "61[ 00 FF 50['X'] 00 4F[A000000001] FF ]", 0, "A000000001", 1},
    {"other objects are stepped over whole",
     "70[ 50['X'] 73[ 61[ 4F[A000000009] ] ] 9F0A[0001] 61[ 4F[A000000001] ] ]", 0, "A000000001",
     1},
    {"primitive objects of the same first bits", "41[4F05A000000009] 30[01] 61[ 4F[A000000001] ]",
     0, "A000000001", 1},
    {"two-byte tags beginning like an entry", "7F61[ 4F[A000000009] ] 7F70[ 61[ 4F[A000000008] ] ]",
     0, "", 0},
    {"entry without an AID", "61[ 50['DEBIT'] ]", 0, "", 1},
    {"empty entry", "61[]", 0, "", 1},
    {"empty AID", "61[ 4F[] ]", 0, "", 1},
    {"entry without an AID first", "61[ 50['X'] ] 61[ 4F[A000000001] ]", 0, "|A000000001", 2},
    {"entry without an AID in the middle", "61[ 4F[A000000001] ] 61[] 61[ 4F[A000000002] ]", 0,
     "A000000001||A000000002", 3},
    {"AID of 20 bytes", "61[ 4F[A1*20] ]", 0, "A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1", 1},
    {"AID of 21 bytes is dropped whole",
     "61[ 4F[A000000001] ] 61[ 4F[A1*21] ] 61[ 4F[A000000002] ]", 0, "A000000001|A000000002", 2},
    {"AID of 200 bytes is dropped whole", "61[ 4F[A1*200] ]", 0, "", 0},

    {"padding before the record template", "00 70[ 61[ 4F[A000000001] ] ]", -107, "", 0},
    {"FF before the record template", "FF 70[ 61[ 4F[A000000001] ] ]", 0, "", 0},
    {"padding after an entry", "70[ 61[ 4F[A000000001] ] 00 ]", -107, "A000000001", 1},
    {"FF after an entry", "70[ 61[ 4F[A000000001] ] FF ]", -107, "A000000001", 1},
    {"record template longer than the record", "70 20 6107 4F05A000000001", -107, "", 0},
    {"entry longer than the record", "70[ 61 20 4F05A000000001 ]", -107, "", 0},
    {"entry longer than its record template, not than the record", "70 02 61[ 4F[A000000001] ]", 0,
     "A000000001", 1},
    {"tag without an end", "70[ 61[ 4F[A000000001] ] 9F ]", -107, "A000000001", 1},
    {"no length", "70[ 61[ 4F[A000000001] ] 61 ]", -107, "A000000001", 1},
    {"indefinite length", "70 80 6107 4F05A000000001 0000", -107, "", 0},
    {"length of 64 KiB", "61 82FFFF 00", -107, "", 0},
    {"length field beyond the record", "61 84 00", -107, "", 0},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Records, DirectoryRecord, testing::ValuesIn(record_cases),
                         [](const auto& test) { return test_name(test.param.what); });

TEST_F(Directory, DeliberatelyTakesAnAidThatIsNotAlone) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"twice: the first one", "61[ 4F[A000000001] 4F[A000000002] ]", "A000000001"},
        {"something malformed after it", "61[ 4F[A000000001] 50 09 ]", "A000000001"},
        {"something malformed before it", "61[ 9F00 4F[A000000001] ]", ""},
        {"longer than its entry", "61[ 4F 09 A000000001 ]", ""},
    };
    for (const auto& [what, record, list] : cases) {
        clear_list();
        EXPECT_EQ(process_record(record), 0) << what;
        EXPECT_EQ(candidates(), candidates(list, 1)) << what;
    }
}

TEST_F(Directory, SearchesEntriesUpTo256Bytes) {
    // Entry: 61 81 LL (3 bytes), AID (7 bytes), label.
    const ByteString longest = card_bytes("61[ 4F[A000000001] 50['X'] DF20[00*239] ]");
    ASSERT_EQ(longest.size(), 256u);
    EXPECT_EQ(process_record(longest), 0);
    EXPECT_EQ(candidates(), candidates("A000000001", 1));
    const ByteString longer = card_bytes("61[ 4F[A000000002] 50['X'] DF20[00*240] ]");
    ASSERT_EQ(longer.size(), 257u);
    EXPECT_EQ(process_record(longer), 0);
    EXPECT_EQ(candidates(), candidates("A000000001|", 2)) << "its AID is not found";
}

TEST_F(Directory, ReadsRecordsOfTheLongestAnswer) {
    // 1022 bytes: four entries, each with 240 bytes of other objects.
    const ByteString record = card_bytes(R"(70[
        61[ 4F[A000000001] DF20[11*236] ] 61[ 4F[A000000002] DF20[11*236] ]
        61[ 4F[A000000003] DF20[11*236] ] 61[ DF20[11*233] 4F[A000000004] 50['END'] ]
        DF21[55*13] ])");
    ASSERT_EQ(record.size(), 1022u);
    EXPECT_EQ(process_record(record), 0);
    const CandidateList all = candidates("A000000001|A000000002|A000000003|A000000004", 4);
    EXPECT_EQ(candidates(), all);

    const ByteString cut(record.begin(), record.end() - 1);
    EXPECT_EQ(process_record(cut), -107);
    EXPECT_EQ(candidates(), all);
}

TEST_F(Directory, SendsNothingAndKeepsTheStore) {
    put("5A", hex("6205500000000000004F"));
    insert("");
    EXPECT_EQ(process_record("70[ 61[ 4F[A000000001] ] 5A[11] ]"), 0);
    EXPECT_EQ(process_fci("6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000002] ] ] ] ]"), 0);
    EXPECT_EQ(candidates(), candidates("A000000001|A000000002", 2));
    EXPECT_EQ(reader().calls, Commands{});
    EXPECT_EQ(present_elements(), (Elements{{"5A", "6205500000000000004F"}}));
}

TEST_F(Directory, FillsTheListUpToItsLastCharacter) {
    // 18 AIDs of 5 bytes take 10 + 17 * 11 = 197 characters.
    std::string expected;
    for (int i = 0; i < 18; ++i) {
        ASSERT_EQ(process_record("61[ 4F[A000000003] ]"), 0);
        expected += i == 0 ? "A000000003" : "|A000000003";
    }
    ASSERT_EQ(expected.size(), 197u);
    EXPECT_EQ(process_record("61[ 4F[A000000004] ]"), 0);
    EXPECT_EQ(process_record("61[ 4F[A004] ]"), 0) << "separator and 4 characters";
    EXPECT_EQ(candidates(), candidates(expected, 18)) << "neither fits";

    EXPECT_EQ(process_record("61[ 4F[A5] ]"), 0);
    expected += "|A5";
    EXPECT_EQ(candidates(), candidates(expected, 19)) << "separator and 2 characters fill it";

    EXPECT_EQ(process_record("61[] 61[ 4F[A5] ]"), 0);
    EXPECT_EQ(candidates(), candidates(expected, 19)) << "not even a separator fits";
    EXPECT_EQ(process_fci("6F[ 84[A0] A5[ BF0C[ 61[ 4F[A5] ] 61[] ] ] ]"), 0);
    EXPECT_EQ(candidates(), candidates(expected, 19)) << "nor from a directory FCI";
}

TEST_F(Directory, HoldsNoMoreEmptyItemsThanSeparators) {
    for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(process_record("61[]"), 0);
    }
    EXPECT_EQ(candidates(), candidates(std::string(200, '|'), 201));
}

TEST_F(Directory, DeliberatelyWritesTheFirstAidAtTheStartAndAddsItsLength) {
    // The host set the number back, but neither text nor length.
    set_candidates(candidates("OLD TEXT OF THE LIST", 0));
    EXPECT_EQ(process_record("61[ 4F[A000000001] ]"), 0);
    const std::string one = "A000000001F THE LIST" + std::string(10, '\0');
    EXPECT_EQ(candidates(), candidates(one, 1));
    EXPECT_EQ(process_record("61[ 4F[A000000002] ]"), 0);
    EXPECT_EQ(candidates(), candidates(one + "|A000000002", 2));
}

TEST_F(Directory, StaysInsideTheListWhateverTheHostLeftInItsLength) {
    gucAidListLen = 255;
    gucAidNum = 1;
    const CandidateList before = candidates();
    EXPECT_EQ(process_record("61[ 4F[A000000001] ] 61[]"), 0);
    EXPECT_EQ(candidates(), before);
}

TEST_F(Directory, RefusesNullPointers) {
    EXPECT_EQ(emvProcessSFIofDDF(nullptr, 0), 0);
    EXPECT_EQ(emvProcessSFIofDDF(nullptr, 10), -107);
    EXPECT_EQ(qPBOCProcessDDF(nullptr, 0), 212);
    EXPECT_EQ(qPBOCProcessDDF(nullptr, 10), 216);
    EXPECT_EQ(candidates(), candidates("", 0));
}

class DirectoryFci : public Directory, public testing::WithParamInterface<RecordCase> {};

TEST_P(DirectoryFci, AppendsItsApplications) {
    EXPECT_EQ(process_fci(GetParam().record), 0);
    EXPECT_EQ(candidates(), candidates(GetParam().list, GetParam().count));
    EXPECT_EQ(reader().calls, Commands{});
}

// clang-format off
constexpr RecordCase fcis_taken[] = {
    {"two applications",
     "6F[ 84['2PAY.SYS.DDF01'] A5[ BF0C[ 61[ 4F[A000000333010101] 50['D'] 87[01] ]"
     " 61[ 4F[A000000333010102] ] ] ] ]", 0, "A000000333010101|A000000333010102", 2},
    {"no application", "6F[ 84[A0] A5[ BF0C[ 50['X'] ] ] ]", 0, "", 0},
    {"entry without an AID", "6F[ 84[A0] A5[ BF0C[ 61[] 61[ 4F[A000000001] ] ] ] ]", 0,
     "|A000000001", 2},
    {"other objects everywhere",
     "6F[ 84[A0] 50['X'] BF0C[ 61[ 4F[A000000009] ] ] 85[01] A5[ 50['X'] 88[01] 9F38[9F0206]"
     " 73[ BF0C[ 61[ 4F[A000000008] ] ] ] BF0C[ 50['X'] 73[ 61[ 4F[A000000007] ] ]"
     " 61[ 4F[A000000001] ] DF20[01] ] ] ]", 0, "A000000001", 1},
    {"the first A5 alone",
     "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] A5[ BF0C[ 61[ 4F[A000000002] ] ] ] ]", 0,
     "A000000001", 1},
    {"the first BF0C alone",
     "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] BF0C[ 61[ 4F[A000000002] ] ] ] ]", 0,
     "A000000001", 1},
    {"padding inside the template before the name",
     "6F[ 00 FF 00 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]", 0, "A000000001", 1},
    {"nothing but the template matters after it",
     "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ] 50['X']", 0, "A000000001", 1},
    {"AID twice: the first one", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] 4F[A000000002] ] ] ] ]",
     0, "A000000001", 1},
    {"AID of 20 bytes", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A1*20] ] ] ] ]", 0,
     "A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1", 1},
    {"AID of 21 bytes is dropped whole",
     "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] 61[ 4F[A1*21] ] 61[ 4F[A000000002] ] ] ] ]", 0,
     "A000000001|A000000002", 2},
    // 61 81 LL (3 bytes), AID (7 bytes), label (3 bytes), object (4 bytes and its value).
    {"entry of 256 bytes", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] 50['X'] DF20[00*239] ] ] ] ]",
     0, "A000000001", 1},
    {"AID of an entry of 257 bytes is not found",
     "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] 50['X'] DF20[00*240] ] 61[ 4F[A000000002] ] ] ] ]", 0,
     "|A000000002", 2},
};

class DirectoryFciFault : public Directory, public testing::WithParamInterface<RecordCase> {};

TEST_P(DirectoryFciFault, DeliberatelyGetsAPositiveCode) {
    EXPECT_EQ(process_fci(GetParam().record), GetParam().result);
    EXPECT_EQ(candidates(), candidates("", 0));
    set_candidates(candidates("A1|A2", 2));
    EXPECT_EQ(process_fci(GetParam().record), GetParam().result);
    EXPECT_EQ(candidates(), candidates("A1|A2", 2));
}

constexpr RecordCase fcis_refused[] = {
    {"malformed", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ] 9F", 216, "", 0},
    {"template longer than the FCI", "6F 40 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ]", 216, "", 0},
    {"AID longer than the FCI", "6F[ 84[A0] A5[ BF0C[ 61[ 4F 09 A000000001 ] ] ] ]", 216, "", 0},
    {"indefinite length", "6F 80 8401A0 0000", 216, "", 0},
    {"a byte", "6F", 216, "", 0},

    {"empty", "", 212, "", 0},
    {"padding alone", "0000FF", 212, "", 0},
    {"padding before the template", "00 6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]", 212, "",
     0},
    {"another template", "70[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]", 212, "", 0},
    {"no template", "84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ]", 212, "", 0},
    {"a longer tag", "7F6F[ 84[A0] ]", 212, "", 0},

    {"empty template", "6F[]", 213, "", 0},
    {"padding in the template", "6F[ 0000 ]", 213, "", 0},
    {"another object first", "6F[ 50['X'] 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]", 213, "", 0},
    {"A5 first", "6F[ A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]", 213, "", 0},
    {"name as a template", "6F[ A4[ 84[A0] ] ]", 213, "", 0},
    // Well formed as a flat string: the name's value follows the template.
    {"name beyond its template", "6F 02 84 05 A000000001", 213, "", 0},

    {"name alone", "6F[ 84[A0] ]", 214, "", 0},
    {"no A5", "6F[ 84[A0] 50['X'] BF0C[ 61[ 4F[A000000001] ] ] ]", 214, "", 0},
    {"padding instead of A5", "6F[ 84[A0] FF ]", 214, "", 0},
    {"padding before A5", "6F[ 84[A0] 00 A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]", 214, "", 0},
    {"A5 beyond its template", "6F 05 84[A0] A5 08 BF0C[ 61[ 4F[A0] ] ]", 214, "", 0},
    // The object after the template makes A5 fit into the FCI.
    {"A5 longer than the rest of its template",
     "6F 0E 84[A0] A5 10 BF0C[ 61[ 4F[A0] ] ] 00 50['SEVEN..']", 214, "", 0},
    {"empty A5", "6F[ 84[A0] A5[] ]", 214, "", 0},
    {"no BF0C", "6F[ 84[A0] A5[ 50['X'] 88[01] ] ]", 214, "", 0},
    {"BF0C deeper", "6F[ 84[A0] A5[ 73[ BF0C[ 61[ 4F[A000000001] ] ] ] ] ]", 214, "", 0},
    {"empty BF0C", "6F[ 84[A0] A5[ BF0C[] ] ]", 214, "", 0},
    {"empty BF0C before another", "6F[ 84[A0] A5[ BF0C[] BF0C[ 61[ 4F[A000000001] ] ] ] ]", 214, "",
     0},
    {"primitive of that tag", "6F[ 84[A0] A5[ 9F0C[ 61[ 4F[A000000001] ] ] ] ]", 214, "", 0},
    // Well formed as a flat string: BF0C's value follows the template.
    {"BF0C beyond its template", "6F 08 84[A0] A5 03 BF0C 09 61[ 4F[A000000001] ]", 214, "", 0},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Fcis, DirectoryFci, testing::ValuesIn(fcis_taken),
                         [](const auto& test) { return test_name(test.param.what); });
INSTANTIATE_TEST_SUITE_P(Fcis, DirectoryFciFault, testing::ValuesIn(fcis_refused),
                         [](const auto& test) { return test_name(test.param.what); });

TEST_F(DirectoryFci, DeliberatelyLooksForBf0cBeyondA5) {
    EXPECT_EQ(process_fci("6F[ 84[A0] A5[ 88[01] ] 50['X'] BF0C[ 61[ 4F[A000000001] ] ] ]"), 0);
    EXPECT_EQ(candidates(), candidates("A000000001", 1));
}

TEST_F(DirectoryFci, StepsOverWhatDoesNotParseBySizesDecodedSoFar) {
    // Padding inside A5 makes an object that takes the following byte for its length. All of these
    // are well formed when padding is skipped.
    const RecordCase cases[] = {
        {"00 with a length that is too long: over the end",
         "6F[ 84[A0] A5[ 00 BF0C[ 61[ 4F[A0] ] ] ] ]", 214, "", 0},
        {"FF and a zero byte: a tag that is refused, 2 bytes",
         "6F[ 84[A0] A5[ FF 00 BF0C[ 61[ 4F[A0] ] ] ] ]", 0, "A0", 1},
        {"FF at the very end", "6F[ 84[A0] A5[ FF ] ]", 214, "", 0},
        {"the same among the entries", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A1] ] FF 00 61[ 4F[A2] ] ] ] ]",
         0, "A1|A2", 2},
        {"00 at the end of the entries", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A1] ] 00 ] ] ]", 0, "A1", 1},
        {"00 before an entry: over the end",
         "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A1] ] 00 61[ 4F[A2] ] ] ] ]", 0, "A1", 1},
        // Well formed as a flat string: what the entry lacks follows the template.
        {"entry longer than its BF0C", "6F[ 84[A0] A5[ BF0C 02 6107 ] ] 4F[A000000001]", 0, "", 0},
        // After the FF, 81 81 81 is an object of 129 bytes, and another one follows. From the FF on
        // it is a tag without an end, whose 256 bytes count as none.
        {"no size at all: the end", "6F[ 84[A0] A5[ FF 81*254 00 00*9 BF0C[ 61[ 4F[A0] ] ] ] ]",
         214, "", 0},
    };
    for (const RecordCase& c : cases) {
        clear_list();
        EXPECT_EQ(process_fci(c.record), c.result) << c.what;
        EXPECT_EQ(candidates(), candidates(c.list, c.count)) << c.what;
    }
}

TEST_F(DirectoryFci, AppendsToWhatTheLastDirectoryLeft) {
    insert(card_with_directory(R"(
00B2010C00
    70[ 61[ 4F[A000000001] ] ] 9000
00B2020C00
    6A83
)"));
    GuardedBuffer list(255);
    EXPECT_EQ(selectByPse(handle, list.text()), 0);
    EXPECT_EQ(process_fci("6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000002] ] ] ] ]"), 0);
    EXPECT_EQ(candidates(), candidates("A000000001|A000000002", 2));
    EXPECT_EQ(process_fci("6F[ 84[A0] ]"), 214);
    EXPECT_EQ(candidates(), candidates("A000000001|A000000002", 2));
    EXPECT_EQ(commands(), (Commands{select_pse, "00B2010C00", "00B2020C00"}));
    EXPECT_TRUE(list.holds_text("A000000001"));
}

TEST_F(DirectoryFci, FillsTheListUpToItsLastCharacter) {
    // 200 characters: 20 of the first AID, then separator and 2 characters 60 times.
    std::string entries = "61[ 4F[A000000333 0102030405] ]";
    std::string expected = "A0000003330102030405";
    for (int i = 0; i < 60; ++i) {
        entries += "61[ 4F[A1] ]";
        expected += "|A1";
    }
    ASSERT_EQ(expected.size(), 200u);
    EXPECT_EQ(process_fci("6F[ 84[A0] A5[ BF0C[" + entries + "61[ 4F[A2] ] 61[] ] ] ]"), 0);
    EXPECT_EQ(candidates(), candidates(expected, 61));
}

TEST_F(DirectoryFci, TakesAnFciOfTheLongestAnswer) {
    const ByteString fci = card_bytes(R"(6F[ 84['2PAY.SYS.DDF01'] DF20[11*250]
        A5[ DF21[22*250] BF0C[ DF22[33*237] 61[ 4F[A000000001] DF23[44*230] ] ] ] ])");
    ASSERT_EQ(fci.size(), 1022u);
    EXPECT_EQ(process_fci(fci), 0);
    EXPECT_EQ(candidates(), candidates("A000000001", 1));
}

}  // namespace
}  // namespace quorrin::test
