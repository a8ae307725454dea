// Answers to data object lists (EMV book 3, 5.4).

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

struct Built {
    int result;
    int length;
    std::string data;  // the bytes that were written
    bool operator==(const Built&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Built& built) {
    return out << "result " << built.result << ", length " << built.length << ", " << built.data;
}

using Builder = std::int32_t (*)(std::uint8_t*, std::uint16_t*, const std::uint8_t*, std::uint16_t);

// Into a buffer of exactly `room` bytes, of which those from the reported length on must be as
// before.
Built build(Builder builder, const ByteString& list, std::size_t room) {
    const ExactBytes bytes(list);
    GuardedBuffer out(room);
    std::uint16_t length = 0x7777;
    const int result = builder(out.data(), &length, bytes.data(), bytes.size16());
    if (length > room) {
        return {result, length, "more than there is room for"};
    }
    EXPECT_TRUE(out.holds(out.first(length)));
    return {result, length, to_hex(out.first(length))};
}

class Dol : public StoreTest {
  protected:
    Dol() {
        store("9F02", "000000012345");
        store("9F1A", "0156");
        store("9A", "250102");
        store("5A", "6200000000000005");
        store("9F36", "0102");
        store("9F12", "41424344");
    }
    static Built cdol(std::string_view list, std::size_t room = 256) {
        return build(dolPaddingDOL, hex(list), room);
    }
    static Built pdol(std::string_view list, std::size_t room = 256) {
        return build(dolPaddingPdol, hex(list), room);
    }
};

struct ListCase {
    const char* description;
    const char* list;
    Built cdol;
    Built pdol;
};

TEST_F(Dol, Answers) {
    const ListCase cases[] = {
        {"nothing", "", {0, 0, ""}, {0, 0, ""}},
        {"terminal elements in list order",
         "9F1A02 9A03 9F0206",
         {0, 11, "0156250102000000012345"},
         {0, 11, "0156250102000000012345"}},
        {"numeric cut on the left and padded",
         "9F0203 9F0208",
         {0, 11, "0123450000000000012345"},
         {0, 11, "0123450000000000012345"}},
        {"card elements in a CDOL alone",
         "5A08 9F3602",
         {0, 10, "62000000000000050102"},
         {0, 10, "00000000000000000000"}},
        {"compressed numeric padded",
         "5A0A",
         {0, 10, "6200000000000005FFFF"},
         {0, 10, "00000000000000000000"}},
        {"text cut and padded on the right",
         "9F1202 9F1206",
         {0, 8, "4142414243440000"},
         {0, 8, "0000000000000000"}},
        {"absent terminal elements",
         "9505 9F2103",
         {0, 8, "0000000000000000"},
         {0, 8, "0000000000000000"}},
        {"an absent compressed numeric element", "9F2004", {0, 4, "FFFFFFFF"}, {0, 4, "00000000"}},
        {"unknown tags of one and two bytes",
         "C103 9F7004 9A03",
         {0, 10, "00000000000000250102"},
         {0, 10, "00000000000000250102"}},
        {"templates", "7005 9A03", {0, 8, "0000000000250102"}, {0, 8, "0000000000250102"}},
        {"a template with a stored element's tag", "7103", {0, 3, "000000"}, {0, 3, "000000"}},
        {"a template of three bytes", "7F810102", {0, 2, "0000"}, {0, 2, "0000"}},
        {"empty entries", "9F0200 9A03 5A00 7000", {0, 3, "250102"}, {0, 3, "250102"}},
        {"an empty entry of three bytes", "9F810100 9A03", {0, 3, "250102"}, {0, 3, "250102"}},
        {"long length fields", "9A8103 9F1A820002", {0, 5, "2501020156"}, {0, 5, "2501020156"}},
        {"a repeated entry", "9A03 9A03", {0, 6, "250102250102"}, {0, 6, "250102250102"}},
        {"SM support", "DF6901", {0, 1, "00"}, {0, 1, "00"}},
        {"a tag of three bytes", "9A03 9F810101 9A03", {-29, 3, "250102"}, {-29, 3, "250102"}},
        {"a cut tag", "9A03 9F", {-30, 3, "250102"}, {-30, 3, "250102"}},
        {"a tag byte of zero", "9A03 9F0001 9A03", {-30, 3, "250102"}, {-30, 3, "250102"}},
        {"a tag without length", "9A03 9F02", {-31, 3, "250102"}, {-31, 3, "250102"}},
        {"a template without length", "9A03 70", {-31, 3, "250102"}, {-31, 3, "250102"}},
        {"an indefinite length", "9A03 9F0280", {-31, 3, "250102"}, {-31, 3, "250102"}},
        {"a cut length field", "9A03 9F0282 00", {-31, 3, "250102"}, {-31, 3, "250102"}},
        {"no padding between entries", "00 9A03", {-31, 0, ""}, {-31, 0, ""}},
    };
    for (const ListCase& c : cases) {
        EXPECT_EQ(cdol(c.list), c.cdol) << c.description;
        EXPECT_EQ(pdol(c.list), c.pdol) << c.description;
        // Nothing is written beyond the answer.
        EXPECT_EQ(cdol(c.list, c.cdol.data.size() / 2), c.cdol) << c.description;
        EXPECT_EQ(pdol(c.list, c.pdol.data.size() / 2), c.pdol) << c.description;
    }
}

// 00 is an ordinary one-byte tag in a list.
TEST_F(Dol, DeliberatelySkipsNoPadding) {
    EXPECT_EQ(cdol("0002 9A03"), (Built{0, 5, "0000250102"}));
    EXPECT_EQ(cdol("FF 9A03"), (Built{-31, 0, ""}));
}

// Such a tag counts as length 0: its first byte is then the length field, and what is left of it are
// entries of their own, 84 or 63 times 81 with 129 bytes and one with 1.
TEST_F(Dol, TagsOf256BytesDeliberatelyCountAsNone) {
    ASSERT_EQ(store("81", "11223344"), 0);
    const auto list = [](std::uint8_t first) {
        return join(hex("9A03"), filled(1, first), filled(254, 0x81), filled(1, 0x01));
    };
    const auto answer = [](std::size_t zeros, int amounts) {
        std::string data = "250102" + std::string(2 * zeros, '0');
        for (int i = 0; i < amounts; ++i) {
            data += "11223344" + std::string(2 * (129 - 4), '0');
        }
        return data + "11";
    };
    for (const Builder builder : {dolPaddingDOL, dolPaddingPdol}) {
        // 9F: a length field of 32 bytes, and no tag to ask the store for.
        EXPECT_EQ(build(builder, list(0x9F), 3), (Built{-29, 3, "250102"}));
        // BF: 64 bytes, the last two giving the length 8181.
        EXPECT_EQ(build(builder, list(0xBF), 3 + 0x8181 + 63 * 129 + 1),
                  (Built{0, 3 + 0x8181 + 63 * 129 + 1, answer(0x8181, 63)}));
        // 3F: the length 63 itself.
        EXPECT_EQ(build(builder, list(0x3F), 3 + 63 + 84 * 129 + 1),
                  (Built{0, 3 + 63 + 84 * 129 + 1, answer(63, 84)}));
    }
}

TEST_F(Dol, BuildsTheLongestEntries) {
    const Built answer = build(dolPaddingDOL, hex("9A82FFFF"), 0xFFFF);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.length, 0xFFFF);
    EXPECT_EQ(answer.data, std::string(2 * (0xFFFF - 3), '0') + "250102");
}

TEST_F(Dol, BuildsFromTheLongestList) {
    ByteString list;
    while (list.size() < 0xFFFE) {
        list.insert(list.end(), {0x9C, 0x01});
    }
    EXPECT_EQ(build(dolPaddingDOL, list, 0x7FFF).length, 0x7FFF);
    EXPECT_EQ(build(dolPaddingPdol, join(list, hex("9C")), 0x7FFF).result, -31);
}

TEST_F(Dol, AnAnswerAbove64KiBIsWrittenWholeAndCountedIn16Bits) {
    const ByteString list = hex("9A82FFFF 9A03");
    const ExactBytes bytes(list);
    GuardedBuffer out(0x10002);
    std::uint16_t length = 0;
    EXPECT_EQ(dolPaddingDOL(out.data(), &length, bytes.data(), bytes.size16()), 0);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(to_hex(std::span(out.data() + 0xFFFC, 6)), "250102250102");
}

TEST_F(Dol, ReportsAFormatThatTheStoreDoesNotKnow) {
    TermDt[30].format = 9;  // 9A
    EXPECT_EQ(cdol("9F1A02 9A03"), (Built{-29, 2, "0156"}));
    EXPECT_EQ(pdol("9F1A02 9A03"), (Built{-29, 2, "0156"}));
    TermDt[30].format = 1;
}

class CaKeyIndex : public Dol {};

TEST_F(CaKeyIndex, OfTheCardFillsTheTerminalsEntry) {
    ASSERT_EQ(store("8F", "92"), 0);
    EXPECT_EQ(cdol("9A03 9F2201 9F1A02"), (Built{0, 6, "250102920156"}));
    EXPECT_EQ(cdol("9F2203"), (Built{0, 3, "920000"}));
    EXPECT_EQ(cdol("9F2200 9A03"), (Built{0, 3, "250102"}));
}

TEST_F(CaKeyIndex, OfTheTerminalComesFirst) {
    ASSERT_EQ(store("8F", "92"), 0);
    ASSERT_EQ(store("9F22", "57"), 0);
    EXPECT_EQ(cdol("9F2201"), (Built{0, 1, "57"}));
    EXPECT_EQ(cdol("9F2203"), (Built{0, 3, "570000"}));
}

TEST_F(CaKeyIndex, IsDecidedByTheStates) {
    ASSERT_EQ(store("8F", "92"), 0);
    ASSERT_EQ(store("9F22", "57"), 0);
    ASSERT_EQ(set_state_of("9F22", 0), 0);
    // The old value is read first, then its first byte replaced.
    EXPECT_EQ(cdol("9F2201"), (Built{0, 1, "92"}));
    ASSERT_EQ(set_state_of("8F", 0), 0);
    EXPECT_EQ(cdol("9F2201"), (Built{0, 1, "57"}));
}

TEST_F(CaKeyIndex, WithoutAnyIsZero) {
    EXPECT_EQ(cdol("9F2201"), (Built{0, 1, "00"}));
    // Present, but without a value.
    ASSERT_EQ(store("9F22", "57"), 0);
    ASSERT_EQ(set_state_of("9F22", 0), 0);
    ASSERT_EQ(set_state_of("8F", 1), 0);
    EXPECT_EQ(cdol("9F2201"), (Built{0, 1, "57"}));
}

TEST_F(CaKeyIndex, OfTheCardDeliberatelyStaysOutOfAPdol) {
    ASSERT_EQ(store("8F", "92"), 0);
    EXPECT_EQ(pdol("9F2201 8F01"), (Built{0, 2, "0000"}));
}

TEST_F(Dol, AnswersDoNotDependOnTheState) {
    ASSERT_EQ(set_state_of("9F02", 0), 0);
    EXPECT_EQ(cdol("9F0206"), (Built{0, 6, "000000012345"}));
    EXPECT_EQ(pdol("9F0206"), (Built{0, 6, "000000012345"}));
}

TEST_F(Dol, BuildingChangesNothingInTheStore) {
    ASSERT_EQ(store("DF69", "01"), 0);
    ASSERT_EQ(store("8F", "92"), 0);
    EXPECT_EQ(pdol("DF6901 9F0206"), (Built{0, 7, "01000000012345"}));
    EXPECT_EQ(cdol("DF6901 9F2201"), (Built{0, 2, "0192"}));
    EXPECT_EQ(state_of("9F22"), 0);
    EXPECT_EQ(length_of("DF69"), 1);
    EXPECT_EQ(length_of("9F02"), 6);
}

TEST_F(Dol, RefusesNullPointers) {
    for (const Builder builder : {dolPaddingDOL, dolPaddingPdol}) {
        const ByteString list = hex("9A03");
        GuardedBuffer out(3);
        std::uint16_t length = 0x7777;
        EXPECT_EQ(builder(out.data(), &length, nullptr, 2), -30);
        EXPECT_EQ(length, 0);
        EXPECT_EQ(builder(out.data(), &length, nullptr, 0), 0);
        EXPECT_TRUE(out.untouched());
        length = 0x7777;
        EXPECT_EQ(builder(nullptr, &length, list.data(), 2), -29);
        EXPECT_EQ(length, 0);
        EXPECT_EQ(builder(out.data(), nullptr, list.data(), 2), 0);
        EXPECT_TRUE(out.holds(hex("250102")));
    }
}

std::int32_t asks_for(const ByteString& list, std::string_view tag) {
    const ExactBytes bytes(list);
    const ExactBytes wanted(hex(tag));
    return dolCheckTagInDol(wanted.data(), wanted.size8(), bytes.data(), bytes.size8());
}

TEST(TagInDol, IsFoundOrNot) {
    const struct {
        const char* list;
        const char* tag;
        int result;
    } cases[] = {
        {"", "9F37", 0},
        {"9F0206 9F3704", "9F37", 1},
        {"9F0206 9F3704", "9F02", 1},
        {"9F0206 9F3704", "95", 0},
        {"9F0206 9F3704", "9F38", 0},
        {"9F0206 9F3704", "9F", 0},
        {"9F0206 9F3704", "", 0},
        {"9505 9F810101", "9F8101", 1},
        {"7005 9A03", "70", 1},
        {"7005 9A03", "9A", 1},         // templates have no contents here
        {"9F028206 00 9A03", "9A", 1},  // long length fields are stepped over
        {"9F02", "9F02", 1},            // found before its length is looked at
        {"9A03 9F", "95", -31},
        {"9A03 9F0001", "95", -31},
        {"9A03 9F", "9A", 1},
        {"9A03 9F02", "95", -30},
        {"9A80", "95", -30},
        {"9A81", "95", -30},
        {"9A82 00", "95", -30},
        {"00 9A03", "9A", -30},  // 00 is a tag, 9A then a cut length field
    };
    for (const auto& c : cases) {
        EXPECT_EQ(asks_for(hex(c.list), c.tag), c.result) << c.list << " for " << c.tag;
    }
}

TEST(TagInDol, DoesNotLookAtTheLengthsValue) {
    EXPECT_EQ(asks_for(hex("9A82FFFF 9505"), "95"), 1);
    EXPECT_EQ(asks_for(hex("9A7F"), "95"), 0);
}

TEST(TagInDol, SearchesTheLongestList) {
    ByteString list;
    while (list.size() < 252) {
        list.insert(list.end(), {0x9F, 0x02, 0x06});
    }
    EXPECT_EQ(asks_for(join(list, hex("9F3704")), "9F37"), 1);
    EXPECT_EQ(asks_for(join(list, hex("9F3704")), "95"), 0);
    EXPECT_EQ(asks_for(filled(255, 0xFF), "95"), -31);
}

TEST(TagInDol, RefusesNullPointers) {
    const ByteString list = hex("9A03");
    EXPECT_EQ(dolCheckTagInDol(nullptr, 1, list.data(), 2), 0);
    EXPECT_EQ(dolCheckTagInDol(list.data(), 1, nullptr, 2), -31);
    EXPECT_EQ(dolCheckTagInDol(list.data(), 1, nullptr, 0), 0);
}

}  // namespace
}  // namespace quorrin::test
