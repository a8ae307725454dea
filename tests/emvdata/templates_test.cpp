// Which templates an element may arrive in.

#include <optional>
#include <sstream>
#include <vector>

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

std::vector<std::string> words(std::string_view text) {
    std::istringstream stream{std::string(text)};
    std::vector<std::string> list;
    for (std::string word; stream >> word;) {
        list.push_back(word);
    }
    return list;
}

// Whether a row that lists these templates admits one, worked out from the listing.
bool admitted(std::string_view listed, std::string_view parent) {
    if (parent.empty()) {
        return true;
    }
    const std::vector<std::string> named = words(listed);
    if (named.empty()) {
        return parent.size() == 2;  // any one-byte template
    }
    if (named.size() == 1 && parent == "00") {
        return true;  // the unused second place holds 00
    }
    return std::ranges::find(named, parent) != named.end();
}

std::int32_t check(std::string_view parent, std::uint16_t row) {
    const ExactBytes bytes(hex(parent));
    return emvCheckTemplate(bytes.data(), bytes.size8(), row);
}

class Templates : public StoreTest {
  protected:
    static std::vector<std::string> every_one_byte_template() {
        std::vector<std::string> all;
        for (unsigned byte = 0; byte < 256; ++byte) {
            const std::uint8_t bytes[] = {static_cast<std::uint8_t>(byte)};
            all.push_back(to_hex(bytes));
        }
        return all;
    }
};

TEST_F(Templates, EveryCardRowAdmitsWhatIsListed) {
    std::vector<std::string> parents = every_one_byte_template();
    for (const char* parent :
         {"", "BF0C", "0C73", "BF0D", "BE0C", "0000", "7780", "6161", "9F26"}) {
        parents.emplace_back(parent);
    }
    for (std::uint16_t row = 0; row < 94; ++row) {
        for (const std::string& parent : parents) {
            EXPECT_EQ(check(parent, row),
                      admitted(listed_card_elements[row].templates, parent) ? 0 : -30)
                << "row " << row << " in " << parent;
        }
    }
}

struct CheckCase {
    const char* name;
    std::uint16_t row;
    const char* parent;
    int result;
};

class TemplateCodes : public StoreTest, public testing::WithParamInterface<CheckCase> {};

TEST_P(TemplateCodes, Decide) {
    EXPECT_EQ(check(GetParam().parent, GetParam().row), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, TemplateCodes,
    testing::Values(
        CheckCase{"AnyNone", 27, "", 0}, CheckCase{"AnyOneByte", 27, "70", 0},
        CheckCase{"AnyOddOneByte", 27, "5A", 0},
        CheckCase{"AnyDeliberatelyNoTwoBytes", 27, "BF0C", -30},
        CheckCase{"AnyTooLong", 27, "9F8101", -31}, CheckCase{"OneNone", 7, "", 0},
        CheckCase{"OneRight", 7, "61", 0}, CheckCase{"OneWrong", 7, "6F", -30},
        CheckCase{"OneDeliberatelyAdmitsZero", 7, "00", 0},
        CheckCase{"OneTwoBytes", 7, "6100", -30}, CheckCase{"OneTooLong", 7, "610000", -31},
        CheckCase{"TwoNone", 0, "", 0}, CheckCase{"TwoFirst", 0, "77", 0},
        CheckCase{"TwoSecond", 0, "80", 0}, CheckCase{"TwoWrong", 0, "70", -30},
        CheckCase{"TwoZero", 0, "00", -30}, CheckCase{"TwoTwoBytes", 0, "7780", -30},
        CheckCase{"ThreeNone", 73, "", 0}, CheckCase{"ThreeTwoBytes", 73, "BF0C", 0},
        CheckCase{"ThreeOneByte", 73, "73", 0}, CheckCase{"ThreeFirstByteAlone", 73, "BF", -30},
        CheckCase{"ThreeSecondByteAlone", 73, "0C", -30}, CheckCase{"ThreeZero", 73, "00", -30},
        CheckCase{"ThreeOtherTwoBytes", 73, "BF0D", -30},
        CheckCase{"ThreeTooLong", 73, "BF0C73", -31}, CheckCase{"SecondCashRowZero", 88, "00", 0},
        CheckCase{"SecondCashRowOther", 88, "6F", -30},
        CheckCase{"LongestTemplateTag", 0, "7F80808080808080808080808080808001", -31},
        CheckCase{"NoSuchRow", 94, "70", -30}, CheckCase{"NoSuchRowNone", 94, "", 0},
        CheckCase{"NoSuchRowTooLong", 0xFFFF, "9F8101", -31}),
    [](const auto& param) { return std::string(param.param.name); });

// Stored, dropped without error, or refused, for every card element in every template.
TEST_F(Templates, MisplacedElementsAreDroppedInFciAndDirectoryTemplatesAlone) {
    for (std::size_t row = 0; row < std::size(listed_card_elements); ++row) {
        if (row == 88 || row == 89) {
            continue;
        }
        const ListedElement& element = listed_card_elements[row];
        for (const std::string parent :
             {"", "00", "61", "6F", "70", "71", "73", "77", "80", "A5", "BF0C", "BF0D", "9F02"}) {
            SCOPED_TRACE(std::string(element.tag) + " in " + parent);
            emvClrIccAndTermData();
            const bool stored = admitted(element.templates, parent);
            const bool dropped =
                parent == "6F" || parent == "73" || parent == "A5" || parent == "BF0C";
            EXPECT_EQ(store(element.tag, filled(element.longest, 0x11), parent),
                      stored || dropped ? 0 : -27);
            EXPECT_EQ(state_of(element.tag), stored ? 1 : 0);
            EXPECT_EQ(held(element.storage, element.longest),
                      to_hex(filled(element.longest, stored ? 0x11 : 0x00)));
        }
    }
}

TEST_F(Templates, TheApplicationCryptogramBelongsToGenerateAcAnswers) {
    EXPECT_EQ(store("9F26", "0102030405060708", "70"), -27);
    EXPECT_EQ(store("9F26", "0102030405060708", "6F"), 0);
    EXPECT_EQ(state_of("9F26"), 0);
    EXPECT_EQ(store("9F26", "0102030405060708", "80"), 0);
    EXPECT_EQ(state_of("9F26"), 1);
}

}  // namespace
}  // namespace quorrin::test
