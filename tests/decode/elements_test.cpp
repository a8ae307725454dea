// The element tables: against the library's own rows, against the standards, and against themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "decode/decode.hpp"
#include "decode/elements.hpp"
#include "decode/lookup.hpp"
#include "tests/decode/element_tables.hpp"

namespace quorrin::test {
namespace {

struct StoreRow {
    std::uint32_t tag;
    std::string_view english;
    std::string_view chinese;
};

constexpr StoreRow store_rows[] = {
#define ELEMENT(tag, name, storage, size, shortest, longest, format, templates, resets, english, \
                chinese)                                                                         \
    {tag, english, chinese},
#include "emvdata/terminal_elements.def"
//
#include "emvdata/card_elements.def"
#undef ELEMENT
};

std::string lower(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

TEST(DecodeElements, TheStoresElementsHaveTheStoresNames) {
    std::set<std::uint32_t> seen;
    for (const StoreRow& row : store_rows) {
        if (!seen.insert(row.tag).second) {
            continue;  // the first row of a tag is its meaning
        }
        EXPECT_EQ(decode::element_name(row.tag), row.english) << std::hex << row.tag;
        EXPECT_EQ(decode::element_name_zh(row.tag), row.chinese) << std::hex << row.tag;
        EXPECT_FALSE(row.chinese.empty()) << std::hex << row.tag;
    }
    EXPECT_EQ(seen.size(), 140u);  // 48 and 94 rows, of which 84 and 9F13 stand twice
}

TEST(DecodeElements, EveryElementOfTheStandardsIsKnownByItsName) {
    for (const StandardElement& element : standard_elements) {
        EXPECT_NE(lower(decode::element_name(element.tag)).find(element.words), std::string::npos)
            << std::hex << element.tag << ": " << decode::element_name(element.tag);
        const auto meanings = decode::meanings_of(element.tag, {}, element.length);
        ASSERT_FALSE(meanings.empty()) << std::hex << element.tag;
        EXPECT_TRUE(meanings[0]->fits(element.length))
            << std::hex << element.tag << std::dec << " of " << element.length << " bytes";
    }
}

TEST(DecodeElements, SomeThreeHundredTagsAndMoreAreKnown) {
    std::set<std::uint32_t> tags;
    for (const decode::Element& element : decode::all_elements()) {
        tags.insert(element.tag);
    }
    EXPECT_GE(tags.size(), 300u);
}

TEST(DecodeElements, NoMeaningStandsTwice) {
    std::set<std::tuple<std::uint32_t, decode::Kernel, std::uint32_t>> seen;
    std::map<std::uint32_t, int> in_store;
    for (const StoreRow& row : store_rows) {
        ++in_store[row.tag];
    }
    for (const decode::Element& element : decode::all_elements()) {
        const bool other_meaning_of_store = in_store.contains(element.tag) &&
                                            element.kernel == decode::Kernel::Unknown &&
                                            element.within == 0;
        if (!other_meaning_of_store) {
            EXPECT_TRUE(seen.insert({element.tag, element.kernel, element.within}).second)
                << std::hex << element.tag << " " << element.name;
        }
        EXPECT_FALSE(element.name.empty());
        EXPECT_LE(element.shortest, element.longest) << std::hex << element.tag;
    }
}

struct KernelCase {
    std::uint32_t tag;
    decode::Kernel kernel;
    std::string_view name;
};

TEST(DecodeElements, ATagMeansWhatItsKernelSays) {
    using decode::Kernel;
    const KernelCase cases[] = {
        {0x9F6B, Kernel::Pboc, "Card CVM limit"},
        {0x9F6B, Kernel::C2, "Track 2 data"},
        {0x9F66, Kernel::C2, "PUNATC (track 2)"},
        {0x9F66, Kernel::C3, "Terminal transaction qualifiers (TTQ)"},
        {0x9F6E, Kernel::C2, "Third party data"},
        {0x9F6E, Kernel::C3, "Form factor indicator (FFI)"},
        {0x9F6E, Kernel::C4, "Enhanced contactless reader capabilities"},
        {0x9F74, Kernel::Pboc, "Electronic cash issuer authorisation code"},
        {0x9F74, Kernel::C2, "Protected data envelope 5"},
        {0x9F53, Kernel::Pboc, "Consecutive transaction limit, international currency"},
        {0x9F53, Kernel::C2, "Transaction category code"},
        {0x9F53, Kernel::C3, "Consecutive transaction limit, international currency"},
        {0x9F53, Kernel::C5, "Terminal interchange profile"},
        {0x9F71, Kernel::C6, "Card processing requirements (CPR)"},
        {0x9F7C, Kernel::C2, "Merchant custom data"},
        {0x9F7C, Kernel::C3, "Customer exclusive data (CED)"},
    };
    for (const KernelCase& each : cases) {
        EXPECT_EQ(decode::element_name(each.tag, each.kernel), each.name) << std::hex << each.tag;
    }
}

TEST(DecodeElements, TheApplicationIdentifierAmongTheDataDecides) {
    const std::vector<std::uint8_t> mastercard = {0x84, 0x07, 0xA0, 0, 0, 0, 0x04, 0x10, 0x10};
    std::vector<std::uint8_t> data = mastercard;
    const std::vector<std::uint8_t> limit = {0x9F, 0x6C, 0x02, 0x00, 0x01};
    data.insert(data.end(), limit.begin(), limit.end());
    EXPECT_EQ(decode::find_object(decode::tlv(data), "9F6C")->label,
              "Mag-stripe application version number (card)");
    // Alone it can be either.
    const decode::Node alone = decode::tlv(limit);
    EXPECT_EQ(decode::find_object(alone, "9F6C")->label, "Card transaction qualifiers (CTQ)");
    EXPECT_EQ(decode::find_object(alone, "9F6C")->note,
              "elsewhere: Mag-stripe application version number (card) (kernel C-2)");
}

TEST(DecodeElements, ALimitOfPbocCardsIsACategoryCodeToTerminals) {
    const std::vector<std::uint8_t> limit = {0x9F, 0x53, 0x01, 0x0A};
    std::vector<std::uint8_t> data = {0x84, 0x08, 0xA0, 0, 0, 0x03, 0x33, 0x01, 0x01, 0x01};
    data.insert(data.end(), limit.begin(), limit.end());
    const decode::Node of_pboc = decode::tlv(data);
    EXPECT_EQ(decode::find_object(of_pboc, "9F53")->label,
              "Consecutive transaction limit, international currency");
    EXPECT_EQ(decode::find_object(of_pboc, "9F53")->text, "10");
    EXPECT_EQ(decode::find_object(of_pboc, "9F53")->note, "");
    const decode::Node alone = decode::tlv(limit);
    EXPECT_EQ(decode::find_object(alone, "9F53")->label, "Transaction category code");
    EXPECT_EQ(decode::find_object(alone, "9F53")->note,
              "elsewhere: Consecutive transaction limit, international currency (PBOC)");
}

TEST(DecodeElements, TheTemplateDecides) {
    const std::vector<std::uint8_t> control = {0x62, 0x03, 0x82, 0x01, 0x41};
    EXPECT_EQ(decode::find_object(decode::tlv(control), "82")->label, "File descriptor");
    const std::vector<std::uint8_t> manager = {0x6F, 0x05, 0xA5, 0x03, 0x9F, 0x65, 0x00};
    EXPECT_EQ(decode::find_object(decode::tlv(manager), "9F65")->label,
              "Longest command data field");
}

}  // namespace
}  // namespace quorrin::test
