// Keyed value text from the host, and the key tables.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

static_assert(sizeof(QuorrinKeyRow) == 7);
static_assert(sizeof TagMapPDolTerData == 49);
static_assert(sizeof TagMapgetIccInfo == 84);

template <std::size_t Rows>
std::string table_bytes(const QuorrinKeyRow (&table)[Rows]) {
    return to_hex({reinterpret_cast<const std::uint8_t*>(table), sizeof table});
}

TEST(KeyTables, HoldTheirRowsAndNoEnd) {
    EXPECT_EQ(table_bytes(TagMapPDolTerData), to_hex(card_bytes(R"(
        'P' 9F0200 02 01 00
        'Q' 9F0300 02 01 00
        'R' 5F2A00 02 01 00
        'S' 9A0000 01 01 00
        'T' 9C0000 01 01 00
        'U' 9F2100 02 01 00
        'V' 9F4E00 02 00 00)")));
    EXPECT_EQ(table_bytes(TagMapgetIccInfo), to_hex(card_bytes(R"(
        'A' 5A0000 01 01 00
        'B' 5F2000 02 00 00
        'C' 9F6200 02 01 00
        'D' 9F6100 02 00 00
        'E' 9F7900 02 01 01
        'F' 9F7700 02 01 01
        'G' 9F7800 02 01 01
        'H' 9F4200 02 01 00
        'I' 5F2400 02 01 00
        'J' 5F3400 02 01 00
        'K' 570000 01 01 00
        'L' 9F1F00 02 00 00)")));
}

TEST(LengthDigits, AreThreeDecimalDigits) {
    const std::pair<const char*, int> cases[] = {
        {"000", 0},
        {"001", 1},
        {"012", 12},
        {"999", 999},
        {"123456", 123},
        {"0128", 12},
        {"", 0},
        {"1", 0},
        {"12", 0},
        {"a12", 0},
        {"1a2", 0},
        {"12a", 0},
        {" 12", 0},
        {"-12", 0},
        {"+12", 0},
        {"1.2", 0},
        {"1/2", 0},
        {"1:2", 0},
        {"\xFF"
         "12",
         0},
    };
    for (const auto& [text, length] : cases) {
        EXPECT_EQ(strToInt(text), length) << text;
    }
    EXPECT_EQ(strToInt(nullptr), 0);
}

TEST(LengthDigits, AreNotReadBeyondTheEndOfTheText) {
    for (const std::size_t digits : {0u, 1u, 2u}) {
        GuardedBuffer text(digits + 1);
        std::memset(text.data(), '1', digits);
        text.data()[digits] = 0;
        EXPECT_EQ(strToInt(text.text()), 0);
    }
}

// The row that a lookup finds; -1 when it finds none and leaves the row alone.
int lookup(char key, const QuorrinKeyRow* table) {
    std::uint8_t row = 0xA5;
    const std::int32_t result = getTagMapSub(static_cast<std::uint8_t>(key), &row, table);
    if (result == 0) {
        return row;
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(row, 0xA5);
    return -1;
}

TEST(KeyLookup, FindsEveryRowOfBothTablesAndNothingElse) {
    for (int byte = 0; byte < 256; ++byte) {
        const char key = static_cast<char>(byte);
        EXPECT_EQ(lookup(key, TagMapPDolTerData), key >= 'P' && key <= 'V' ? key - 'P' : -1);
        EXPECT_EQ(lookup(key, TagMapgetIccInfo), key >= 'A' && key <= 'L' ? key - 'A' : -1);
    }
}

TEST(KeyLookup, EndsAForeignTableAtItsSpaceRow) {
    const QuorrinKeyRow table[] = {
        {'x', {0x9A}, 1, 1, 0}, {'y', {0x9C}, 1, 1, 0}, {'x', {0x95}, 1, 1, 0},
        {' ', {0x5A}, 1, 1, 0}, {'z', {0x5A}, 1, 1, 0},
    };
    EXPECT_EQ(lookup('x', table), 0);
    EXPECT_EQ(lookup('y', table), 1);
    EXPECT_EQ(lookup('z', table), -1);
    EXPECT_EQ(lookup(' ', table), -1) << "a space is never a key";
    EXPECT_EQ(lookup('x', table + 3), -1) << "a table that ends at once";
}

TEST(KeyLookup, WalksNoMoreThan256RowsOfAForeignTable) {
    std::vector<QuorrinKeyRow> table(256, QuorrinKeyRow{'a', {0x9A}, 1, 1, 0});
    table[255].key = 'b';
    EXPECT_EQ(lookup('b', table.data()), 255);
    EXPECT_EQ(lookup('c', table.data()), -1);
}

TEST(KeyLookup, RefusesNullPointers) {
    std::uint8_t row = 0xA5;
    EXPECT_EQ(getTagMapSub('P', &row, nullptr), 1);
    EXPECT_EQ(row, 0xA5);
    EXPECT_EQ(getTagMapSub('P', nullptr, TagMapPDolTerData), 1);
}

class KeyedItem : public BankCardTest {
  protected:
    // The item in a buffer of its exact size.
    static std::int32_t apply(const std::string& item,
                              const QuorrinKeyRow* table = TagMapPDolTerData) {
        GuardedBuffer text(item.size() + 1);
        std::memcpy(text.data(), item.c_str(), item.size() + 1);
        return parsBankTagList(text.text(), table);
    }
};

TEST_F(KeyedItem, StoresHexDigitsAndRawText) {
    struct Case {
        const char* item;
        const char* tag;
        ByteString value;
    };
    const Case cases[] = {
        {"P012000000001000", "9F02", hex("000000001000")},
        {"Q012999999999999", "9F03", hex("999999999999")},
        {"R0040156", "5F2A", hex("0156")},
        {"S006250101", "9A", hex("250101")},
        {"T00200", "9C", hex("00")},
        {"U006235959", "9F21", hex("235959")},
        {"V013TEST MERCHANT", "9F4E", text_bytes("TEST MERCHANT")},
        {"V001\x80", "9F4E", hex("80")},
        {"V0040156", "9F4E", text_bytes("0156")},
        {"T002ab", "9C", hex("AB")},
        // An odd number of digits gets a zero in front.
        {"R003156", "5F2A", hex("0156")},
        {"T0015", "9C", hex("05")},
        {"P01100000000010", "9F02", hex("000000000010")},
        // What follows the value belongs to the next item.
        {"T00209S006250101", "9C", hex("09")},
        {"V003ABCDEF", "9F4E", text_bytes("ABC")},
    };
    for (const Case& c : cases) {
        emvClrIccAndTermData();
        EXPECT_EQ(apply(c.item), 0) << c.item;
        EXPECT_EQ(element(c.tag), c.value) << c.item;
        EXPECT_EQ(present_elements().size(), 1u) << c.item;
    }
}

TEST_F(KeyedItem, CountsMissingDigitsAndCharactersAsZero) {
    EXPECT_EQ(apply("P01212"), 0);
    EXPECT_EQ(element("9F02"), value("120000000000"));
    EXPECT_EQ(apply("R003"), 0);
    EXPECT_EQ(element("5F2A"), value("0000"));
    EXPECT_EQ(apply("S0051"), 0);
    EXPECT_EQ(element("9A"), value("010000"));
    EXPECT_EQ(apply("V005AB"), 0);
    EXPECT_EQ(element("9F4E"), value("4142000000"));
}

TEST_F(KeyedItem, StoresNothingForALengthOfZeroOrNoLength) {
    for (const char* item : {"P000", "P000000000001000", "P", "P0", "P01", "PA12000000001000",
                             "P 12000000001000", "V0x3ABC", "T256", "V512"}) {
        EXPECT_EQ(apply(item), 0) << item;
        EXPECT_EQ(present_elements(), Elements{}) << item;
    }
}

TEST_F(KeyedItem, LooksForTheKeyBeforeTheLength) {
    for (const char* item :
         {"X004ABCD", "X000", "X", "p012000000001000", "W004ABCD", " T00200", ""}) {
        EXPECT_EQ(apply(item), -31) << item;
    }
    EXPECT_EQ(apply("T00200", TagMapgetIccInfo), -31);
    EXPECT_EQ(present_elements(), Elements{});
}

TEST_F(KeyedItem, ReportsWhatTheStoreRefuses) {
    const QuorrinKeyRow table[] = {
        {'u', {0xDF, 0x01}, 2, 1, 0},        // an unknown element
        {'l', {0x9F, 0x81, 0x01}, 3, 1, 0},  // a tag of three bytes
        {'n', {0x9A}, 0, 1, 0},              // no tag
        {' ', {}, 0, 0, 0},
    };
    const std::tuple<const char*, const QuorrinKeyRow*, int> cases[] = {
        {"P0100000001000", TagMapPDolTerData, -22},
        {"P01400000000001000", TagMapPDolTerData, -22},
        {"T00400", TagMapPDolTerData, -22},
        {"u00211", table, -31},
        {"l00211", table, -30},
        {"n00211", table, -30},
    };
    for (const auto& [item, keys, result] : cases) {
        EXPECT_EQ(apply(item, keys), result) << item;
    }
    EXPECT_EQ(present_elements(), Elements{});
}

TEST_F(KeyedItem, DeliberatelyCountsValuesInEightBits) {
    // 258 characters: two of them are the value.
    EXPECT_EQ(apply("V258" + std::string(258, 'A')), 0);
    EXPECT_EQ(element("9F4E"), text_bytes("AA"));
    EXPECT_EQ(apply("T258" + std::string(258, '7')), 0);
    EXPECT_EQ(element("9C"), value("77"));
    // 999 is 231: odd, so a zero goes in front.
    EXPECT_EQ(apply("V999" + std::string(999, 'B')), 0);
    EXPECT_EQ(element("9F4E"), ByteString(231, 'B'));
}

TEST_F(KeyedItem, TakesTheLongestValues) {
    const QuorrinKeyRow table[] = {
        {'h', {0x9F, 0x4E}, 2, 1, 0}, {'r', {0x9F, 0x4E}, 2, 0, 0}, {' ', {}, 0, 0, 0}};
    EXPECT_EQ(apply("r255" + std::string(255, 'C'), table), 0);
    EXPECT_EQ(element("9F4E"), ByteString(255, 'C'));
    EXPECT_EQ(apply("h254" + std::string(254, '8'), table), 0);
    EXPECT_EQ(element("9F4E"), ByteString(127, 0x88));
    EXPECT_EQ(apply("h255" + std::string(255, '9'), table), 0);
    EXPECT_EQ(element("9F4E"), join(hex("09"), ByteString(127, 0x99)));
}

TEST_F(KeyedItem, IgnoresTheLengthOfTheRest) {
    EXPECT_EQ(apply("T00205" + std::string(100000, '9')), 0);
    EXPECT_EQ(element("9C"), value("05"));
}

TEST_F(KeyedItem, TakesAFlagOtherThanOneForRawText) {
    const QuorrinKeyRow table[] = {{'r', {0x9F, 0x4E}, 2, 2, 0}, {' ', {}, 0, 0, 0}};
    EXPECT_EQ(apply("r00241", table), 0);
    EXPECT_EQ(element("9F4E"), text_bytes("41"));
}

TEST_F(KeyedItem, RefusesNullPointers) {
    EXPECT_EQ(parsBankTagList(nullptr, TagMapPDolTerData), -31);
    EXPECT_EQ(parsBankTagList("T00200", nullptr), -31);
    EXPECT_EQ(present_elements(), Elements{});
}

class KeyedText : public BankCardTest {
  protected:
    static std::int32_t apply(const std::string& text,
                              const QuorrinKeyRow* table = TagMapPDolTerData) {
        GuardedBuffer copy(text.size() + 1);
        std::memcpy(copy.data(), text.c_str(), text.size() + 1);
        return setTermPDolData(copy.text(), table);
    }
};

TEST_F(KeyedText, StoresItsItems) {
    const std::pair<const char*, Elements> cases[] = {
        {"", {}},
        {"   ", {}},
        {"P012000000001000S006250101T00200",
         {{"9F02", "000000001000"}, {"9A", "250101"}, {"9C", "00"}}},
        {" P012000000001000  Q012000000000000",
         {{"9F02", "000000001000"}, {"9F03", "000000000000"}}},
        {"T00201 ", {{"9C", "01"}}},
        {"T00201T00202", {{"9C", "02"}}},
        {"V011A MERCHANT T00201", {{"9F4E", "41204D45524348414E5420"}, {"9C", "01"}}},
        // No value, no length: four characters are passed over.
        {"P000T00201", {{"9C", "01"}}},
        {"PxyzT00201", {{"9C", "01"}}},
        {"T00201P", {{"9C", "01"}}},
        {"T00201P01", {{"9C", "01"}}},
    };
    for (const auto& [text, elements] : cases) {
        emvClrIccAndTermData();
        EXPECT_EQ(apply(text), 0) << text;
        EXPECT_EQ(present_elements(), elements) << text;
    }
}

TEST_F(KeyedText, EndsWithTheFirstItemThatFails) {
    const std::pair<const char*, Elements> cases[] = {
        {"X004ABCDT00201", {}},
        {"T00201X004ABCDS006250101", {{"9C", "01"}}},
        {"T00201P0100000001000S006250101", {{"9C", "01"}}},
        {"T00201\tS006250101", {{"9C", "01"}}},
    };
    for (const auto& [text, elements] : cases) {
        emvClrIccAndTermData();
        EXPECT_EQ(apply(text), 1) << text;
        EXPECT_EQ(present_elements(), elements) << text;
    }
}

TEST_F(KeyedText, DeliberatelyStepsByTheFullLength) {
    // The value counts 8 bits of 258, the next item stands behind all 258 characters.
    EXPECT_EQ(apply("V258" + std::string(258, 'A') + "T00205"), 0);
    EXPECT_EQ(present_elements(), (Elements{{"9F4E", "4141"}, {"9C", "05"}}));
    EXPECT_EQ(apply("V999" + std::string(1000, 'B')), 1) << "one character too many is a key";
}

TEST_F(KeyedText, EndsWithTheTextWhateverTheLastLengthSays) {
    EXPECT_EQ(apply("V999AB"), 0);
    EXPECT_EQ(element("9F4E"), join(text_bytes("AB"), filled(229, 0)));
}

TEST_F(KeyedText, UsesTheTableOfTheHost) {
    const QuorrinKeyRow table[] = {{'c', {0x9F, 0x1A}, 2, 1, 0}, {' ', {}, 0, 0, 0}};
    EXPECT_EQ(apply("c0040156", table), 0);
    EXPECT_EQ(apply("T00201", table), 1);
    EXPECT_EQ(present_elements(), (Elements{{"9F1A", "0156"}}));
}

TEST_F(KeyedText, TakesNullPointersForNothing) {
    EXPECT_EQ(setTermPDolData(nullptr, TagMapPDolTerData), 0);
    EXPECT_EQ(setTermPDolData("", nullptr), 0);
    EXPECT_EQ(setTermPDolData("T00201", nullptr), 1);
    EXPECT_EQ(present_elements(), Elements{});
}

}  // namespace
}  // namespace quorrin::test
