// Searching and checking whole TLV strings, and appending objects.

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

struct SearchResult {
    int result;
    int length;
    std::string value;  // of the 256 bytes of output, those that were written
    bool operator==(const SearchResult&) const = default;
};
std::ostream& operator<<(std::ostream& out, const SearchResult& search) {
    return out << "result " << search.result << ", length " << search.length << ", "
               << search.value;
}

// The output buffer must hold the value and then its old bytes.
SearchResult find(const ByteString& string, std::string_view tag, std::size_t written) {
    const ExactBytes bytes(string);
    const ExactBytes wanted(hex(tag));
    GuardedBuffer out(256);
    std::uint16_t length = 0x7777;
    const int result = tlvGetTLVDataInString(bytes.data(), bytes.size16(), wanted.data(),
                                             wanted.size8(), out.data(), &length);
    EXPECT_TRUE(out.holds(out.first(written)));
    return {result, length, to_hex(out.first(written))};
}

TEST(TlvSearch, Finds) {
    const struct {
        const char* description;
        const char* string;
        const char* tag;
        SearchResult expected;
    } cases[] = {
        {"nothing in nothing", "", "5A", {1, 0, ""}},
        {"the only object", "5A 02 6200", "5A", {0, 2, "6200"}},
        {"the last object", "8F 01 92 9F4D 02 0B0A", "9F4D", {0, 2, "0B0A"}},
        {"inside templates", "6F 0A A5 08 BF0C 05 9F4D 02 0B0A", "9F4D", {0, 2, "0B0A"}},
        {"9F18 inside 71", "71 0F 9F18 04 00000001 86 06 842400000411", "9F18", {0, 4, "00000001"}},
        {"a template whole", "6F 04 A5 02 8800", "A5", {0, 2, "8800"}},
        {"an empty value", "5A 00", "5A", {0, 0, ""}},
        {"not by a longer tag", "5A 01 62", "5A01", {1, 0, ""}},
        {"not by the first byte", "9F02 01 00", "9F", {1, 0, ""}},
        {"not by the second byte", "9F02 01 00", "9F03", {1, 0, ""}},
        {"three-byte tags", "9F8101 01 07", "9F8101", {0, 1, "07"}},
        {"not inside primitive values", "8F 03 5A0162", "5A", {1, 0, ""}},
        {"behind leading padding", "00 FF 00 5A 01 62", "5A", {0, 1, "62"}},
        {"between padding inside templates", "70 05 00 5A 01 62 FF 00 FF", "5A", {0, 1, "62"}},
        {"nothing in padding", "00 FF 00 FF", "5A", {1, 0, ""}},
        {"padding is no tag", "00 01 62", "00", {-31, 0, ""}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(find(hex(c.string), c.tag, c.expected.value.size() / 2), c.expected)
            << c.description;
    }
}

TEST(TlvSearch, ASecondMatchIsAnErrorAfterTheFirstValueWasCopied) {
    EXPECT_EQ(find(hex("9F4D 02 0B0A 9F4D 02 0C0A"), "9F4D", 2), (SearchResult{-30, 2, "0B0A"}));
    EXPECT_EQ(find(hex("9F4D 00 9F4D 02 0C0A"), "9F4D", 0), (SearchResult{-30, 0, ""}));
    EXPECT_EQ(find(hex("70 05 9F4D 02 0B0A 77 05 9F4D 02 0B0A"), "9F4D", 2),
              (SearchResult{-30, 2, "0B0A"}));
    EXPECT_EQ(find(hex("70 02 70 00"), "70", 2), (SearchResult{-30, 2, "7000"}));
}

TEST(TlvSearch, DeliberatelyNeverLooksForASecondScriptIdentifier) {
    EXPECT_EQ(find(hex("9F18 01 01 9F18 01 02"), "9F18", 1), (SearchResult{0, 1, "01"}));
    EXPECT_EQ(find(hex("9F18 01 01 5A 7F"), "9F18", 1), (SearchResult{0, 1, "01"}));
    EXPECT_EQ(find(hex("9F18 00 9F18 01 02"), "9F18", 0), (SearchResult{0, 0, ""}));
}

TEST(TlvSearch, RefusesMalformedStrings) {
    EXPECT_EQ(find(hex("5A 03 6200"), "5A", 0), (SearchResult{-31, 0, ""}));
    EXPECT_EQ(find(hex("9F"), "5A", 0), (SearchResult{-31, 0, ""}));
    EXPECT_EQ(find(hex("5A 80"), "5A", 0), (SearchResult{-31, 0, ""}));
    EXPECT_EQ(find(hex("70 03 8F 01"), "5A", 0), (SearchResult{-31, 0, ""}));
}

TEST(TlvSearch, AFaultBehindAMatchLeavesItsValue) {
    EXPECT_EQ(find(hex("5A 01 62 8F 05 00"), "5A", 1), (SearchResult{-31, 1, "62"}));
}

TEST(TlvSearch, DeliberatelyWalksOutOfATemplateThatIsTooShort) {
    // The 5A claims a byte more than its template holds.
    EXPECT_EQ(find(hex("70 03 5A 02 62 00"), "5A", 2), (SearchResult{0, 2, "6200"}));
}

TEST(TlvSearch, TakesAtMost256Bytes) {
    const ByteString longest = join(hex("DF7F 81 FC"), filled(0xFC, 0x11));
    ASSERT_EQ(longest.size(), 256u);
    EXPECT_EQ(find(longest, "DF7F", 0xFC), (SearchResult{0, 0xFC, to_hex(filled(0xFC, 0x11))}));
    EXPECT_EQ(find(join(longest, hex("00")), "DF7F", 0), (SearchResult{-31, 0, ""}));
    EXPECT_EQ(find(join(hex("5A 01 62"), filled(254, 0)), "5A", 0), (SearchResult{-31, 0, ""}));
    EXPECT_EQ(find(filled(0xFFFF, 0), "5A", 0), (SearchResult{-31, 0, ""}));
}

TEST(TlvSearch, OutputMayLieInTheString) {
    ByteString string = hex("8F 02 0102 5A 03 620005");
    std::uint16_t length = 0;
    const ByteString tag = hex("5A");
    EXPECT_EQ(tlvGetTLVDataInString(string.data(), static_cast<std::uint16_t>(string.size()),
                                    tag.data(), 1, string.data() + 5, &length),
              0);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(to_hex(string), "8F0201025A62000505");
}

TEST(TlvSearch, RefusesNullPointers) {
    const ByteString string = hex("5A 01 62");
    const ByteString tag = hex("5A");
    std::uint8_t out[256];
    std::uint16_t length = 0x7777;
    EXPECT_EQ(tlvGetTLVDataInString(nullptr, 3, tag.data(), 1, out, &length), -31);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(tlvGetTLVDataInString(string.data(), 3, nullptr, 1, out, &length), 1);
    EXPECT_EQ(tlvGetTLVDataInString(string.data(), 3, tag.data(), 1, nullptr, &length), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(tlvGetTLVDataInString(string.data(), 3, tag.data(), 1, out, nullptr), 0);
}

TEST(TlvString, IsWellFormedOrNot) {
    const struct {
        const char* string;
        int result;
    } cases[] = {
        {"", 0},
        {"5A 01 62", 0},
        {"5A 00", 0},
        {"70 00", 0},
        {"70 03 5A 01 62", 0},
        {"00 FF 5A 01 62 00 FF", 0},
        {"70 05 00 5A 01 62 FF", 0},
        {"00", 0},
        {"FF FF FF", 0},
        {"70 03 5A 02 62", -30},
        {"70 04 5A 01 62", -30},
        {"5A", -30},
        {"5A 02 62", -30},
        {"5A 01 62 5A 02 62", -30},
        {"9F", -30},
        {"9F00 00", -30},
        {"5A 80", -30},
        {"5A 01 62 9F02", -30},
        // The contents are checked against the rest of the string, not against their template.
        {"70 03 5A 02 62 00", 0},
        {"70 01 5A 01 62", 0},
    };
    for (const auto& c : cases) {
        const ExactBytes bytes(hex(c.string));
        EXPECT_EQ(emvCheckTLVString(bytes.data(), bytes.size16()), c.result) << c.string;
    }
    EXPECT_EQ(emvCheckTLVString(nullptr, 0), 0);
    EXPECT_EQ(emvCheckTLVString(nullptr, 3), -30);
}

TEST(TlvString, MayBe64KiB) {
    const auto check = [](const ByteString& string) {
        const ExactBytes bytes(string);
        return int{emvCheckTLVString(bytes.data(), bytes.size16())};
    };
    EXPECT_EQ(check(filled(0xFFFF, 0x00)), 0);
    EXPECT_EQ(check(filled(0xFFFF, 0xFF)), 0);
    EXPECT_EQ(check(join(hex("DF7F 82FFFA"), filled(0xFFFA, 0x11))), 0);
    EXPECT_EQ(check(join(hex("DF7F 82FFFB"), filled(0xFFFA, 0x11))), -30);
    ByteString templates;
    while (templates.size() < 0xFFFE) {
        templates.insert(templates.end(), {0x70, 0x00});
    }
    EXPECT_EQ(check(templates), 0);
    EXPECT_EQ(check(join(templates, hex("70"))), -30);
}

TEST(Append, WritesTagLengthAndValue) {
    const struct {
        const char* tag;
        std::size_t value_length;
        const char* header;
    } cases[] = {
        {"5A", 0, "5A 00"},         {"5A", 1, "5A 01"},       {"9F02", 6, "9F02 06"},
        {"DF8101", 2, "DF8101 02"}, {"5A", 127, "5A 7F"},     {"5A", 128, "5A 8180"},
        {"5A", 255, "5A 81FF"},     {"5A", 256, "5A 820100"}, {"5A", 0xFFFF, "5A 82FFFF"},
    };
    for (const auto& c : cases) {
        const ExactBytes tag(hex(c.tag));
        const ExactBytes value(filled(c.value_length, 0x3C));
        const ByteString object = join(hex(c.header), filled(c.value_length, 0x3C));
        // At the start, and behind three bytes that stay.
        for (const std::uint32_t start : {0u, 3u}) {
            GuardedBuffer out(start + object.size());
            std::uint32_t position = start;
            EXPECT_EQ(ucAppendTLV(out.data(), &position, tag.data(), tag.size8(), value.data(),
                                  value.size16()),
                      0);
            EXPECT_EQ(position, start + object.size());
            EXPECT_TRUE(out.holds(join(filled(start, GuardedBuffer::pattern), object)))
                << c.tag << " " << c.value_length;
        }
    }
}

TEST(Append, TakesLongTags) {
    const ExactBytes tag(join(filled(254, 0x9F), filled(1, 0x01)));
    const ByteString value = hex("AA");
    GuardedBuffer out(257);
    std::uint32_t position = 0;
    EXPECT_EQ(ucAppendTLV(out.data(), &position, tag.data(), 255, value.data(), 1), 0);
    EXPECT_EQ(position, 257u);
    EXPECT_TRUE(out.holds(join(filled(254, 0x9F), hex("01 01 AA"))));
}

TEST(Append, WritesNothingForAnEmptyTagOrANullPointer) {
    const ByteString tag = hex("5A");
    const ByteString value = hex("62");
    GuardedBuffer out(8);
    std::uint32_t position = 2;
    EXPECT_EQ(ucAppendTLV(out.data(), &position, tag.data(), 0, value.data(), 1), 1);
    EXPECT_EQ(ucAppendTLV(out.data(), &position, nullptr, 1, value.data(), 1), 1);
    EXPECT_EQ(ucAppendTLV(out.data(), &position, tag.data(), 1, nullptr, 1), 1);
    EXPECT_EQ(ucAppendTLV(nullptr, &position, tag.data(), 1, value.data(), 1), 1);
    EXPECT_EQ(ucAppendTLV(out.data(), nullptr, tag.data(), 1, value.data(), 1), 1);
    EXPECT_EQ(position, 2u);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(ucAppendTLV(out.data(), &position, tag.data(), 1, nullptr, 0), 0);
    EXPECT_EQ(position, 4u);
}

}  // namespace
}  // namespace quorrin::test
