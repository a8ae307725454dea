// The two element tables and their storage, and the comparison of tags.

#include <cstring>
#include <vector>

#include "tests/emvdata/store_test.hpp"
#include "tests/emvdata/working_globals.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

ByteString padded(ByteString bytes, std::size_t size) {
    bytes.resize(size, 0);
    return bytes;
}

int format_number(std::string_view name) {
    constexpr std::string_view names[] = {"n", "cn", "an", "ans", "b", "a"};
    return static_cast<int>(std::ranges::find(names, name) - std::begin(names)) + 1;
}

// "", "61", "70 77", "BF0C 73".
int template_code(std::string_view templates) {
    if (templates.empty()) {
        return 0;
    }
    if (templates.starts_with("BF0C")) {
        return 3;
    }
    return templates.find(' ') == std::string_view::npos ? 1 : 2;
}

template <std::size_t Rows>
void expect_as_listed(const QuorrinDataElement (&table)[Rows],
                      const ListedElement (&listing)[Rows]) {
    emvInitDataPointer();
    for (std::size_t row = 0; row < Rows; ++row) {
        const QuorrinDataElement& element = table[row];
        const ListedElement& listed = listing[row];
        SCOPED_TRACE(testing::Message() << "row " << row << ", tag " << listed.tag);
        EXPECT_EQ(element.value, listed.storage);
        EXPECT_EQ(listed.declared_size, listed.bytes);
        EXPECT_EQ(element.minLen, listed.shortest);
        EXPECT_EQ(element.maxLen, listed.longest);
        const ByteString tag = hex(listed.tag);
        EXPECT_EQ(element.tagLen, tag.size());
        EXPECT_THAT(element.tag, ElementsAreArray(padded(tag, 3)));
        EXPECT_EQ(element.templateCode, template_code(listed.templates));
        EXPECT_THAT(element.templates, ElementsAreArray(padded(hex(listed.templates), 4)));
        EXPECT_EQ(element.format, format_number(listed.format));
    }
}

class Dictionary : public StoreTest {};

TEST_F(Dictionary, TerminalRowsAreAsListed) {
    expect_as_listed(TermDt, listed_terminal_elements);
}

TEST_F(Dictionary, CardRowsAreAsListed) {
    expect_as_listed(IccDt, listed_card_elements);
}

TEST_F(Dictionary, WorkingDataHasItsSizes) {
    for (const WorkingGlobal& global : working_globals) {
        EXPECT_EQ(global.declared_size, global.bytes) << global.name;
    }
}

TEST_F(Dictionary, NoTwoVariablesShareBytes) {
    struct Range {
        const std::uint8_t* begin;
        std::size_t size;
    };
    std::vector<Range> ranges;
    for (const ListedElement& element : listed_terminal_elements) {
        if (element.tag != "72") {
            ranges.push_back({element.storage, element.declared_size});
        }
    }
    for (const ListedElement& element : listed_card_elements) {
        ranges.push_back({element.storage, element.declared_size});
    }
    for (const WorkingGlobal& global : working_globals) {
        ranges.push_back({static_cast<const std::uint8_t*>(global.address), global.declared_size});
    }
    std::ranges::sort(ranges, {}, &Range::begin);
    for (std::size_t i = 1; i < ranges.size(); ++i) {
        EXPECT_LE(ranges[i - 1].begin + ranges[i - 1].size, ranges[i].begin) << i;
    }
}

TEST_F(Dictionary, InitialisingThePointersTouchesNothingElse) {
    const auto bytes_of = [](auto& table) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&table);
        return ByteString(bytes, bytes + sizeof table);
    };
    for (QuorrinDataElement& element : IccDt) {
        element.curLen = 7;
        element.state = 1;
    }
    for (QuorrinDataElement& element : TermDt) {
        element.curLen = 9;
        element.state = 1;
    }
    for (const ListedElement& element : listed_card_elements) {
        std::fill_n(element.storage, element.declared_size, std::uint8_t{0xC3});
    }
    const ByteString card = bytes_of(IccDt);
    const ByteString terminal = bytes_of(TermDt);
    for (QuorrinDataElement& element : IccDt) {
        element.value = nullptr;
    }
    for (QuorrinDataElement& element : TermDt) {
        element.value = nullptr;
    }
    for (int call = 0; call < 2; ++call) {
        emvInitDataPointer();
        EXPECT_EQ(bytes_of(IccDt), card);
        EXPECT_EQ(bytes_of(TermDt), terminal);
    }
    for (const ListedElement& element : listed_card_elements) {
        EXPECT_EQ(held(element.storage, element.declared_size),
                  to_hex(filled(element.declared_size, 0xC3)));
    }
}

TEST_F(Dictionary, ScriptTemplatesDeliberatelyShareTheirStorage) {
    EXPECT_EQ(store("71", "0102030405"), 0);
    EXPECT_EQ(store("72", "AABB"), 0);
    EXPECT_EQ(held(gl_Iss_Script, 6), "AABB00000000");
    EXPECT_EQ(length_of("71"), 5);
    EXPECT_EQ(length_of("72"), 2);
}

class Lookup : public StoreTest {
  protected:
    // Result and row; the row starts as 7777.
    static std::pair<int, int> find(std::string_view tag) {
        const ExactBytes bytes(hex(tag));
        std::uint16_t row = 7777;
        const int result = emvFindDataElement(bytes.data(), bytes.size8(), &row);
        return {result, row};
    }
};

TEST_F(Lookup, FindsEveryCardElement) {
    for (std::size_t row = 0; row < std::size(listed_card_elements); ++row) {
        if (row != 88 && row != 89) {
            EXPECT_EQ(find(listed_card_elements[row].tag), std::pair(1, static_cast<int>(row)));
        }
    }
}

TEST_F(Lookup, FindsEveryTerminalElement) {
    for (std::size_t row = 0; row < std::size(listed_terminal_elements); ++row) {
        EXPECT_EQ(find(listed_terminal_elements[row].tag), std::pair(2, static_cast<int>(row)));
    }
}

TEST_F(Lookup, DeliberatelyNeverReachesTheSecondRowOfATag) {
    EXPECT_EQ(find("84"), std::pair(1, 28));
    EXPECT_EQ(find("9F13"), std::pair(1, 53));
    EXPECT_EQ(store("84", "A000000333"), 0);
    EXPECT_EQ(held(gl_DFName, 5), "A000000333");
    EXPECT_EQ(held(gl_IC_ECAIP, 2), "0000");
    EXPECT_EQ(store("9F13", "0012"), 0);
    EXPECT_EQ(held(gl_LastATC, 2), "0012");
    EXPECT_EQ(held(gl_IC_ECLOATC, 2), "0000");
}

// All tags of one and two bytes against the listing.
TEST_F(Lookup, KnowsNoOtherTag) {
    const auto listed_as = [](const ByteString& tag) {
        for (int row = 0; row < 94; ++row) {
            if (hex(listed_card_elements[row].tag) == tag) {
                return std::pair(1, row);
            }
        }
        for (int row = 0; row < 48; ++row) {
            if (hex(listed_terminal_elements[row].tag) == tag) {
                return std::pair(2, row);
            }
        }
        return std::pair(0, 0);
    };
    std::vector<std::pair<int, int>> one_byte(0x100);
    std::vector<std::pair<int, int>> two_bytes(0x10000);
    for (const auto& listing : {std::span<const ListedElement>(listed_card_elements),
                                std::span<const ListedElement>(listed_terminal_elements)}) {
        for (const ListedElement& element : listing) {
            const ByteString tag = hex(element.tag);
            (tag.size() == 1 ? one_byte[tag[0]] : two_bytes[std::size_t{tag[0]} << 8 | tag[1]]) =
                listed_as(tag);
        }
    }
    for (unsigned i = 0; i < one_byte.size(); ++i) {
        const auto tag = static_cast<std::uint8_t>(i);
        std::uint16_t row = 7777;
        const int result = emvFindDataElement(&tag, 1, &row);
        EXPECT_EQ(std::pair(result, int{row}), one_byte[i]) << std::hex << i;
    }
    for (unsigned i = 0; i < two_bytes.size(); ++i) {
        const std::uint8_t tag[] = {static_cast<std::uint8_t>(i >> 8),
                                    static_cast<std::uint8_t>(i)};
        std::uint16_t row = 7777;
        const int result = emvFindDataElement(tag, 2, &row);
        EXPECT_EQ(std::pair(result, int{row}), two_bytes[i]) << std::hex << i;
    }
}

TEST_F(Lookup, LeavesTheRowAloneForOtherTagLengths) {
    EXPECT_EQ(find(""), std::pair(0, 7777));
    EXPECT_EQ(find("9F0200"), std::pair(0, 7777));
    const ByteString long_tag(255, 0x5A);
    std::uint16_t row = 7777;
    EXPECT_EQ(emvFindDataElement(long_tag.data(), 255, &row), 0);
    EXPECT_EQ(row, 7777);
}

TEST_F(Lookup, RefusesNullPointers) {
    std::uint16_t row = 7777;
    EXPECT_EQ(emvFindDataElement(nullptr, 1, &row), 0);
    const ByteString tag = hex("5A");
    EXPECT_EQ(emvFindDataElement(tag.data(), 1, nullptr), 1);
}

TEST(TagComparison, OrdersLikeUnsignedBytes) {
    const struct {
        const char* lhs;
        const char* rhs;
        int length;
        int expected;
    } cases[] = {
        {"9F02", "9F02", 2, 0}, {"9F02", "9F03", 2, 2}, {"9F03", "9F02", 2, 1},
        {"80", "7F", 1, 1},     {"7F", "80", 1, 2},     {"9F02", "9F03", 1, 0},
        {"00", "FF", 0, 0},     {"FF00", "00FF", 2, 1},
    };
    for (const auto& c : cases) {
        const ExactBytes lhs(hex(c.lhs));
        const ExactBytes rhs(hex(c.rhs));
        EXPECT_EQ(StrCmp(lhs.data(), rhs.data(), c.length), c.expected) << c.lhs << " " << c.rhs;
    }
}

TEST(TagComparison, ANullPointerComesBeforeAnyBytes) {
    const ExactBytes bytes(hex("00"));
    EXPECT_EQ(StrCmp(nullptr, bytes.data(), 1), 2);
    EXPECT_EQ(StrCmp(bytes.data(), nullptr, 1), 1);
    EXPECT_EQ(StrCmp(nullptr, nullptr, 1), 0);
    EXPECT_EQ(StrCmp(nullptr, bytes.data(), 0), 0);
    EXPECT_EQ(StrCmp(bytes.data(), nullptr, 256), 0);
}

TEST(TagComparison, DeliberatelyCountsItsLengthInEightBits) {
    const ExactBytes lhs(hex("01"));
    const ExactBytes rhs(hex("02"));
    EXPECT_EQ(StrCmp(lhs.data(), rhs.data(), 256), 0);
    EXPECT_EQ(StrCmp(lhs.data(), rhs.data(), 257), 2);
    EXPECT_EQ(StrCmp(rhs.data(), lhs.data(), 0x7FFFFF01), 1);
    EXPECT_EQ(StrCmp(lhs.data(), rhs.data(), -255), 2);
    const ExactBytes long_lhs(filled(255, 0x11));
    ByteString changed = filled(255, 0x11);
    changed[254] = 0x12;
    const ExactBytes long_rhs(changed);
    EXPECT_EQ(StrCmp(long_lhs.data(), long_rhs.data(), 255), 2);
    EXPECT_EQ(StrCmp(long_lhs.data(), long_rhs.data(), -1), 2);
}

}  // namespace
}  // namespace quorrin::test
