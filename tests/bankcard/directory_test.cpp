// Directory records and directory FCIs into the candidate list.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

class Directory : public BankCardTest {
  protected:
    // Input in a buffer of its exact size, so that the sanitizers see a read beyond it.
    static std::int64_t process_record(const Bytes& record) {
        return emvProcessSFIofDDF(record.data(), static_cast<std::uint16_t>(record.size()));
    }
    static std::int64_t process_fci(const Bytes& fci) {
        return qPBOCProcessDDF(fci.data(), static_cast<std::uint16_t>(fci.size()));
    }

    static void clear_list() {
        std::memset(gucAidList, 0, sizeof gucAidList);
        gucAidListLen = 0;
        gucAidNum = 0;
    }

    static Bytes whole_list() { return {gucAidList, gucAidList + sizeof gucAidList}; }

    static Bytes list_of(const std::string& text) {
        Bytes bytes = text_bytes(text);
        bytes.resize(200);
        return bytes;
    }
};

struct RecordCase {
    const char* what;
    const char* record;
    std::int64_t result;
    const char* list;
    int count;
};

void PrintTo(const RecordCase& c, std::ostream* out) {
    *out << c.what;
}

class DirectoryRecord : public Directory, public testing::WithParamInterface<RecordCase> {};

TEST_P(DirectoryRecord, AppendsItsApplications) {
    EXPECT_EQ(process_record(card_bytes(GetParam().record)), GetParam().result);
    EXPECT_EQ(whole_list(), list_of(GetParam().list));
    EXPECT_EQ(gucAidListLen, std::strlen(GetParam().list));
    EXPECT_EQ(gucAidNum, GetParam().count);
    EXPECT_EQ(reader().calls, Commands{});
}

// clang-format off
constexpr RecordCase record_cases[] = {
    {"empty", "", 0, "", 0},
    {"one entry", "70[ 61[ 4F[A000000333010101] 50['DEBIT'] 87[01] ] ]", 0, "A000000333010101", 1},
    {"upper case", "70[ 61[ 4F[ABCDEF0123] ] ]", 0, "ABCDEF0123", 1},
    {"two entries, in the order of the record and not of their priorities",
     "70[ 61[ 4F[A000000002] 87[02] ] 61[ 4F[A000000001] 87[01] ] ]", 0, "A000000002|A000000001", 2},
    {"the same application twice", "70[ 61[ 4F[A000000001] ] 61[ 4F[A000000001] ] ]", 0,
     "A000000001|A000000001", 2},
    {"entry outside a record template", "61[ 4F[A000000001] ]", 0, "A000000001", 1},
    {"template in a template", "70[ 70[ 61[ 4F[A000000001] ] ] ] 70[ 61[ 4F[A000000002] ] ]", 0,
     "A000000001|A000000002", 2},
    {"AID deep inside its entry", "61[ 73[ BF0C[ 4F[A000000001] ] ] ]", 0, "A000000001", 1},
    {"padding inside an entry", "61[ 00 FF 50['X'] 00 4F[A000000001] FF ]", 0, "A000000001", 1},
    {"other objects are stepped over whole",
     "70[ 50['X'] 73[ 61[ 4F[A000000009] ] ] 9F0A[0001] 61[ 4F[A000000001] ] ]", 0, "A000000001", 1},
    {"primitive objects of the same first bits", "41[4F05A000000009] 30[01] 61[ 4F[A000000001] ]", 0,
     "A000000001", 1},
    {"two-byte tags beginning like an entry", "7F61[ 4F[A000000009] ] 7F70[ 61[ 4F[A000000008] ] ]",
     0, "", 0},
    {"entry without an AID", "61[ 50['DEBIT'] ]", 0, "", 1},
    {"empty entry", "61[]", 0, "", 1},
    {"empty AID", "61[ 4F[] ]", 0, "", 1},
    {"entry without an AID first", "61[ 50['X'] ] 61[ 4F[A000000001] ]", 0, "|A000000001", 2},
    {"entry without an AID in the middle", "61[ 4F[A000000001] ] 61[] 61[ 4F[A000000002] ]", 0,
     "A000000001||A000000002", 3},
    {"AID of 20 bytes", "61[ 4F[A1*20] ]", 0, "A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1A1", 1},
    {"AID of 21 bytes is dropped whole", "61[ 4F[A000000001] ] 61[ 4F[A1*21] ] 61[ 4F[A000000002] ]",
     0, "A000000001|A000000002", 2},
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
        EXPECT_EQ(process_record(card_bytes(record)), 0) << what;
        EXPECT_EQ(whole_list(), list_of(list)) << what;
        EXPECT_EQ(gucAidNum, 1) << what;
    }
}

TEST_F(Directory, SearchesEntriesUpTo256Bytes) {
    // Entry: 61 81 LL (3 bytes), AID (7 bytes), label.
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A000000001] 50['X'] DF20[00*239] ]")), 0);
    EXPECT_EQ(candidates(), "A000000001") << "an entry of 256 bytes";
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A000000002] 50['X'] DF20[00*240] ]")), 0);
    EXPECT_EQ(candidates(), "A000000001|") << "an entry of 257 bytes has no AID";
    EXPECT_EQ(gucAidNum, 2);
}

TEST_F(Directory, ReadsRecordsOfTheLongestAnswer) {
    // 1022 bytes: four entries, each with 240 bytes of other objects.
    const Bytes record = card_bytes(R"(70[
        61[ 4F[A000000001] DF20[11*236] ] 61[ 4F[A000000002] DF20[11*236] ]
        61[ 4F[A000000003] DF20[11*236] ] 61[ DF20[11*233] 4F[A000000004] 50['END'] ] DF21[55*13] ])");
    ASSERT_EQ(record.size(), 1022u);
    EXPECT_EQ(process_record(record), 0);
    EXPECT_EQ(candidates(), "A000000001|A000000002|A000000003|A000000004");

    const Bytes cut(record.begin(), record.end() - 1);
    EXPECT_EQ(process_record(cut), -107);
    EXPECT_EQ(gucAidNum, 4);
}

TEST_F(Directory, SendsNothingAndKeepsTheStore) {
    store("5A", hex("6205500000000000004F"));
    insert("");
    EXPECT_EQ(process_record(card_bytes("70[ 61[ 4F[A000000001] ] 5A[11] ]")), 0);
    EXPECT_EQ(process_fci(card_bytes("6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000002] ] ] ] ]")), 0);
    EXPECT_EQ(reader().calls, Commands{});
    EXPECT_EQ(present_elements(), (Elements{{"5A", "6205500000000000004F"}}));
}

TEST_F(Directory, FillsTheListUpToItsLastCharacter) {
    // 18 AIDs of 5 bytes take 10 + 17 * 11 = 197 characters.
    std::string expected;
    for (int i = 0; i < 18; ++i) {
        ASSERT_EQ(process_record(card_bytes("61[ 4F[A000000003] ]")), 0);
        expected += i == 0 ? "A000000003" : "|A000000003";
    }
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A000000004] ]")), 0);
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A004] ]")), 0) << "separator and 4 characters";
    EXPECT_EQ(whole_list(), list_of(expected)) << "neither fits";
    EXPECT_EQ(gucAidListLen, 197);
    EXPECT_EQ(gucAidNum, 18);

    EXPECT_EQ(process_record(card_bytes("61[ 4F[A5] ]")), 0);
    expected += "|A5";
    EXPECT_EQ(whole_list(), list_of(expected)) << "separator and 2 characters fill it";
    EXPECT_EQ(gucAidListLen, 200);
    EXPECT_EQ(gucAidNum, 19);

    EXPECT_EQ(process_record(card_bytes("61[] 61[ 4F[A5] ]")), 0);
    EXPECT_EQ(whole_list(), list_of(expected)) << "not even a separator fits";
    EXPECT_EQ(gucAidListLen, 200);
    EXPECT_EQ(gucAidNum, 19);
}

TEST_F(Directory, HoldsNoMoreEmptyItemsThanSeparators) {
    for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(process_record(card_bytes("61[]")), 0);
    }
    EXPECT_EQ(whole_list(), filled(200, '|'));
    EXPECT_EQ(gucAidListLen, 200);
    EXPECT_EQ(gucAidNum, 201);
}

TEST_F(Directory, WritesTheFirstAidAtTheStartAndAddsItsLength) {
    // The host set the number back, but neither text nor length.
    std::strncpy(gucAidList, "OLD TEXT OF THE LIST", sizeof gucAidList);
    gucAidListLen = 20;
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A000000001] ]")), 0);
    EXPECT_EQ(candidates(), std::string("A000000001F THE LIST") + std::string(10, '\0'));
    EXPECT_EQ(gucAidListLen, 30);
    EXPECT_EQ(gucAidNum, 1);
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A000000002] ]")), 0);
    EXPECT_EQ(gucAidListLen, 41);
    EXPECT_EQ(std::string(gucAidList + 30, 11), "|A000000002");
}

TEST_F(Directory, StaysInsideTheListWhateverTheHostLeftInItsLength) {
    gucAidListLen = 255;
    gucAidNum = 1;
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A000000001] ] 61[]")), 0);
    EXPECT_EQ(whole_list(), filled(200, 0));
    EXPECT_EQ(gucAidListLen, 255);
    EXPECT_EQ(gucAidNum, 1);
}

TEST_F(Directory, RefusesNullPointers) {
    EXPECT_EQ(emvProcessSFIofDDF(nullptr, 0), 0);
    EXPECT_EQ(emvProcessSFIofDDF(nullptr, 10), -107);
    EXPECT_EQ(qPBOCProcessDDF(nullptr, 0), 212);
    EXPECT_EQ(qPBOCProcessDDF(nullptr, 10), 216);
    EXPECT_EQ(gucAidNum, 0);
}

class DirectoryFci : public Directory, public testing::WithParamInterface<RecordCase> {};

TEST_P(DirectoryFci, AppendsItsApplications) {
    EXPECT_EQ(process_fci(card_bytes(GetParam().record)), GetParam().result);
    EXPECT_EQ(whole_list(), list_of(GetParam().list));
    EXPECT_EQ(gucAidNum, GetParam().count);
}

// clang-format off
constexpr RecordCase fci_cases[] = {
    {"two applications",
     "6F[ 84['2PAY.SYS.DDF01'] A5[ BF0C[ 61[ 4F[A000000333010101] 50['D'] 87[01] ]"
     " 61[ 4F[A000000333010102] ] ] ] ]", 0, "A000000333010101|A000000333010102", 2},
    {"no application", "6F[ 84[A0] A5[ BF0C[ 50['X'] ] ] ]", 0, "", 0},
    {"entry without an AID", "6F[ 84[A0] A5[ BF0C[ 61[] 61[ 4F[A000000001] ] ] ] ]", 0, "|A000000001", 2},
    {"other objects everywhere",
     "6F[ 84[A0] 50['X'] BF0C[ 61[ 4F[A000000009] ] ] 85[01] A5[ 50['X'] 88[01] 9F38[9F0206]"
     " 73[ BF0C[ 61[ 4F[A000000008] ] ] ] BF0C[ 50['X'] 73[ 61[ 4F[A000000007] ] ]"
     " 61[ 4F[A000000001] ] DF20[01] ] ] ]", 0, "A000000001", 1},
    {"the first A5 alone", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] A5[ BF0C[ 61[ 4F[A000000002] ] ] ] ]",
     0, "A000000001", 1},
    {"the first BF0C alone", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] BF0C[ 61[ 4F[A000000002] ] ] ] ]",
     0, "A000000001", 1},
    {"padding inside the template before the name", "6F[ 00 FF 00 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]",
     0, "A000000001", 1},
    {"nothing but the template matters after it", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ] 50['X']",
     0, "A000000001", 1},

    {"malformed", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ] 9F", 216, "", 0},
    {"template longer than the FCI", "6F 40 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ]", 216, "", 0},
    {"AID longer than the FCI", "6F[ 84[A0] A5[ BF0C[ 61[ 4F 09 A000000001 ] ] ] ]", 216, "", 0},
    {"indefinite length", "6F 80 8401A0 0000", 216, "", 0},
    {"a byte", "6F", 216, "", 0},

    {"empty", "", 212, "", 0},
    {"padding alone", "0000FF", 212, "", 0},
    {"padding before the template", "00 6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000001] ] ] ] ]", 212, "", 0},
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
    {"empty BF0C before another", "6F[ 84[A0] A5[ BF0C[] BF0C[ 61[ 4F[A000000001] ] ] ] ]", 214, "", 0},
    {"primitive of that tag", "6F[ 84[A0] A5[ 9F0C[ 61[ 4F[A000000001] ] ] ] ]", 214, "", 0},
    // Well formed as a flat string: BF0C's value follows the template.
    {"BF0C beyond its template", "6F 08 84[A0] A5 03 BF0C 09 61[ 4F[A000000001] ]", 214, "", 0},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Fcis, DirectoryFci, testing::ValuesIn(fci_cases),
                         [](const auto& test) { return test_name(test.param.what); });

TEST_F(DirectoryFci, DeliberatelyLooksForBf0cBeyondA5) {
    EXPECT_EQ(
        process_fci(card_bytes("6F[ 84[A0] A5[ 88[01] ] 50['X'] BF0C[ 61[ 4F[A000000001] ] ] ]")),
        0);
    EXPECT_EQ(candidates(), "A000000001");
}

TEST_F(DirectoryFci, StepsOverWhatDoesNotParseBySizesDecodedSoFar) {
    // Padding inside A5 makes an object that takes the following byte for its length. All of these
    // are well formed when padding is skipped.
    const std::tuple<const char*, const char*, std::int64_t, const char*> cases[] = {
        {"00 with a length that is too long: over the end",
         "6F[ 84[A0] A5[ 00 BF0C[ 61[ 4F[A0] ] ] ] ]", 214, ""},
        {"FF and a zero byte: a tag that is refused, 2 bytes",
         "6F[ 84[A0] A5[ FF 00 BF0C[ 61[ 4F[A0] ] ] ] ]", 0, "A0"},
        {"FF at the very end", "6F[ 84[A0] A5[ FF ] ]", 214, ""},
        {"the same among the entries", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A1] ] FF 00 61[ 4F[A2] ] ] ] ]",
         0, "A1|A2"},
        {"00 at the end of the entries", "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A1] ] 00 ] ] ]", 0, "A1"},
        {"00 before an entry: over the end",
         "6F[ 84[A0] A5[ BF0C[ 61[ 4F[A1] ] 00 61[ 4F[A2] ] ] ] ]", 0, "A1"},
        // Well formed as a flat string: what the entry lacks follows the template.
        {"entry longer than its BF0C", "6F[ 84[A0] A5[ BF0C 02 6107 ] ] 4F[A000000001]", 0, ""},
        // After the FF, 81 81 81 is an object of 129 bytes, and another one follows. From the FF on
        // it is a tag without an end, whose 256 bytes count as none.
        {"no size at all: the end", "6F[ 84[A0] A5[ FF 81*254 00 00*9 BF0C[ 61[ 4F[A0] ] ] ] ]",
         214, ""},
    };
    for (const auto& [what, fci, result, list] : cases) {
        clear_list();
        EXPECT_EQ(process_fci(card_bytes(fci)), result) << what;
        EXPECT_EQ(candidates(), list) << what;
    }
}

TEST_F(DirectoryFci, AppendsToWhatTheLastDirectoryLeft) {
    EXPECT_EQ(process_record(card_bytes("61[ 4F[A000000001] ]")), 0);
    EXPECT_EQ(process_fci(card_bytes("6F[ 84[A0] A5[ BF0C[ 61[ 4F[A000000002] ] ] ] ]")), 0);
    EXPECT_EQ(whole_list(), list_of("A000000001|A000000002"));
    EXPECT_EQ(gucAidNum, 2);
    EXPECT_EQ(process_fci(card_bytes("6F[ 84[A0] ]")), 214);
    EXPECT_EQ(candidates(), "A000000001|A000000002");
}

TEST_F(DirectoryFci, TakesAnFciOfTheLongestAnswer) {
    const Bytes fci = card_bytes(R"(6F[ 84['2PAY.SYS.DDF01'] DF20[11*250]
        A5[ DF21[22*250] BF0C[ DF22[33*237] 61[ 4F[A000000001] DF23[44*230] ] ] ] ])");
    ASSERT_EQ(fci.size(), 1022u);
    EXPECT_EQ(process_fci(fci), 0);
    EXPECT_EQ(candidates(), "A000000001");
}

}  // namespace
}  // namespace quorrin::test
