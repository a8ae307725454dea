// Storing and reading single elements by tag.

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

class Store : public StoreTest {};

TEST_F(Store, NumericValuesAreRightJustified) {
    EXPECT_EQ(store("9F3B", "1234", "70"), 0);
    EXPECT_EQ(held(gl_APCur, 8), "0000000000001234");
    EXPECT_EQ(length_of("9F3B"), 2);
    EXPECT_EQ(state_of("9F3B"), 1);
    EXPECT_EQ(read("9F3B", 0), (Read{1, 2, "1234"}));
    EXPECT_EQ(read("9F3B", 4), (Read{1, 4, "00001234"}));
}

TEST_F(Store, CompressedNumericValuesAreFilledWithF) {
    EXPECT_EQ(store("5A", "6200000000000005", "70"), 0);
    EXPECT_EQ(held(gl_PAN, 10), "6200000000000005FFFF");
    EXPECT_EQ(read("5A", 10), (Read{1, 10, "6200000000000005FFFF"}));
}

TEST_F(Store, AShorterValueReplacesTheWholeOlderOne) {
    EXPECT_EQ(store("9F12", "414243444546", "A5"), 0);
    EXPECT_EQ(store("9F12", "5859", "A5"), 0);
    EXPECT_EQ(held(gl_APName, 16), "58590000000000000000000000000000");
    EXPECT_EQ(length_of("9F12"), 2);
    EXPECT_EQ(store("9F3B", "0102030405060708", "70"), 0);
    EXPECT_EQ(store("9F3B", "1234", "70"), 0);
    EXPECT_EQ(held(gl_APCur, 8), "0000000000001234");
}

// The order in which a store is refused: each row breaks one more rule than the code it gets.
TEST_F(Store, RefusesInAFixedOrder) {
    const struct {
        const char* parent;
        const char* tag;
        const char* value;
        int result;
    } cases[] = {
        {"9F8101", "9F810101", "", -29},  // everything wrong: the template tag first
        {"70", "9F810101", "", -30},      // then the tag length
        {"70", "", "", -30},
        {"70", "9F70", "", -28},    // then the empty value
        {"70", "9F70", "01", -31},  // then the unknown tag
        {"70", "9F26", "01", -27},  // then the template
        {"77", "9F26", "01", -22},  // then the length
        {"", "9F26", "01", -22},
        {"6F", "9F26", "01", 0},  // dropped before its length is looked at
    };
    for (const auto& c : cases) {
        EXPECT_EQ(store(c.tag, c.value, c.parent), c.result)
            << c.parent << " " << c.tag << " " << c.value;
    }
    EXPECT_EQ(state_of("9F26"), 0);
}

TEST_F(Store, RefusesAnUnknownFormat) {
    IccDt[0].format = 7;
    EXPECT_EQ(store("9F26", "0102030405060708", "77"), -18);
    EXPECT_EQ(read("9F26", 8).result, -18);
    IccDt[0].format = 0;
    EXPECT_EQ(store("9F26", "0102030405060708", "77"), -18);
    EXPECT_EQ(store("9F26", "01", "77"), -22);
    IccDt[0].format = 5;
    EXPECT_EQ(state_of("9F26"), 0);
    EXPECT_EQ(length_of("9F26"), 0);
    EXPECT_EQ(held(gl_AC, 8), "0000000000000000");
}

TEST_F(Store, ARefusedValueChangesNothing) {
    ASSERT_EQ(store("5F2D", "7A68656E"), 0);
    const struct {
        const char* value;
        const char* parent;
        int result;
    } refused[] = {
        {"7A", "", -22},     {"7A68656E667264657A", "", -22}, {"", "", -28},
        {"656E", "70", -27}, {"656E", "9F8101", -29},         {"656E", "6F", 0},  // dropped
    };
    for (const auto& c : refused) {
        EXPECT_EQ(store("5F2D", c.value, c.parent), c.result) << c.value << " in " << c.parent;
        EXPECT_EQ(held(gl_LangPref, 8), "7A68656E00000000");
        EXPECT_EQ(length_of("5F2D"), 4);
        EXPECT_EQ(state_of("5F2D"), 1);
    }
}

TEST_F(Store, TerminalElementsHaveNoTemplate) {
    for (const char* parent : {"", "00", "6F", "70", "77", "BF0C", "9F02"}) {
        EXPECT_EQ(store("9F02", "000000000100", parent), 0) << parent;
        EXPECT_EQ(state_of("9F02"), 1);
        emvClrIccAndTermData();
    }
    EXPECT_EQ(store("86", "84160000", "70"), 0);
    EXPECT_EQ(state_of("86"), 1);
}

TEST_F(Store, RefusesNullPointers) {
    const ByteString tag = hex("5A");
    const ByteString value = hex("6200000000000005");
    EXPECT_EQ(emvSetDataElement(nullptr, 3, tag.data(), 1, 8, value.data()), -29);
    EXPECT_EQ(emvSetDataElement(nullptr, 1, tag.data(), 1, 8, value.data()), -27);
    EXPECT_EQ(emvSetDataElement(nullptr, 0, nullptr, 1, 8, value.data()), -30);
    EXPECT_EQ(emvSetDataElement(nullptr, 0, tag.data(), 1, 8, nullptr), -28);
    EXPECT_EQ(state_of("5A"), 0);
    std::uint16_t length = 8;
    std::uint8_t out[8];
    EXPECT_EQ(emvGetDataElement(nullptr, 1, &length, out), -31);
    EXPECT_EQ(emvGetDataElement(tag.data(), 1, nullptr, out), -31);
    EXPECT_EQ(emvGetDataElement(tag.data(), 1, &length, nullptr), -31);
    EXPECT_EQ(emvGetDataElementState(nullptr, 1), -32);
    EXPECT_EQ(emvSetDataElementState(nullptr, 1, 1), -32);
    EXPECT_EQ(emvGetDataElementLength(nullptr, 1, 2), 0);
    EXPECT_EQ(emvSetDataElementLength(nullptr, 1, 1, 0), -31);
    EXPECT_EQ(emvCheckTemplate(nullptr, 3, 11), -31);
    EXPECT_EQ(emvCheckTemplate(nullptr, 1, 11), -30);
    EXPECT_EQ(emvCheckTemplate(nullptr, 0, 11), 0);
}

TEST_F(Store, TheOtherNameStoresTheSame) {
    const ByteString parent = hex("77");
    const ByteString tag = hex("9F36");
    const ByteString value = hex("0102");
    EXPECT_EQ(emvSetDataElementCanChgTempPar(parent.data(), 1, tag.data(), 2, 2, value.data()), 0);
    EXPECT_EQ(held(gl_ATC, 2), "0102");
    EXPECT_EQ(emvSetDataElementCanChgTempPar(parent.data(), 1, tag.data(), 2, 1, value.data()),
              -22);
    EXPECT_EQ(emvSetDataElementCanChgTempPar(parent.data(), 3, tag.data(), 2, 2, value.data()),
              -29);
}

// Every row, stored under its first template with its shortest, a middle and its longest length
// into storage full of old bytes. What the storage then holds is worked out from the format alone.
ByteString stored_form(const ListedElement& element, ByteString storage, const ByteString& value) {
    const std::size_t fill = (element.longest - value.size()) % 256;
    if (element.format == "n") {
        for (std::size_t i = 0; i < fill; ++i) {
            storage.at(i) = 0x00;
        }
        for (std::size_t i = 0; i < value.size(); ++i) {
            storage.at(fill + i) = value[i];
        }
        return storage;
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
        storage.at(i) = value[i];
    }
    for (std::size_t i = 0; i < fill; ++i) {
        storage.at(value.size() + i) = element.format == "cn" ? 0xFF : 0x00;
    }
    return storage;
}

std::string fitted(const ListedElement& element, const ByteString& storage, std::size_t held_length,
                   std::size_t wanted) {
    const bool numeric = element.format == "n";
    ByteString out;
    if (wanted < held_length) {
        const auto from =
            storage.begin() + static_cast<std::ptrdiff_t>(numeric ? held_length - wanted : 0);
        out.assign(from, from + static_cast<std::ptrdiff_t>(wanted));
    } else if (numeric) {
        out.assign(wanted - held_length, 0x00);
        const auto from =
            storage.begin() + static_cast<std::ptrdiff_t>(element.longest - held_length);
        out.insert(out.end(), from, from + static_cast<std::ptrdiff_t>(held_length));
    } else {
        out.assign(storage.begin(), storage.begin() + static_cast<std::ptrdiff_t>(held_length));
        out.resize(wanted, element.format == "cn" ? 0xFF : 0x00);
    }
    return to_hex(out);
}

void store_and_read(const ListedElement& element, int table) {
    const std::string home(element.templates.substr(0, element.templates.find(' ')));
    const std::size_t lengths[] = {element.shortest,
                                   static_cast<std::size_t>(element.shortest + element.longest) / 2,
                                   element.longest};
    for (const std::size_t length : lengths) {
        SCOPED_TRACE(testing::Message() << element.tag << " with " << length << " bytes");
        std::fill_n(element.storage, element.bytes, std::uint8_t{0xC3});
        const ByteString value = counted(length);
        ASSERT_EQ(store(element.tag, value, home), 0);
        const ByteString expected = stored_form(element, filled(element.bytes, 0xC3), value);
        EXPECT_EQ(held(element.storage, element.bytes), to_hex(expected));
        EXPECT_EQ(state_of(element.tag), 1);
        EXPECT_EQ(length_of(element.tag), length);
        EXPECT_EQ(read(element.tag, 0), (Read{table, static_cast<std::uint16_t>(length),
                                              fitted(element, expected, length, length)}));
        for (const std::size_t wanted :
             {std::size_t{1}, length - 1, length, length + 1, std::size_t{element.longest},
              std::size_t{element.longest} + 3, length + 300}) {
            if (wanted != 0) {
                EXPECT_EQ(read(element.tag, static_cast<std::uint16_t>(wanted)),
                          (Read{table, static_cast<std::uint16_t>(wanted),
                                fitted(element, expected, length, wanted)}));
            }
        }
    }
    if (element.shortest > 1) {
        EXPECT_EQ(store(element.tag, counted(element.shortest - 1u), home), -22) << element.tag;
    }
    EXPECT_EQ(store(element.tag, counted(element.longest + 1u), home), -22) << element.tag;
    EXPECT_EQ(store(element.tag, counted(0xFFFF), home), -22) << element.tag;
    EXPECT_EQ(store(element.tag, ByteString{}, home), -28) << element.tag;
    EXPECT_EQ(length_of(element.tag), element.longest);
    EXPECT_EQ(length_of(element.tag, Shortest), element.shortest);
    EXPECT_EQ(length_of(element.tag, Longest), element.longest);
}

TEST_F(Store, EveryTerminalElementTakesItsLengthsAndFormat) {
    for (const ListedElement& element : listed_terminal_elements) {
        store_and_read(element, 2);
    }
}

TEST_F(Store, EveryCardElementTakesItsLengthsAndFormat) {
    for (std::size_t row = 0; row < std::size(listed_card_elements); ++row) {
        if (row != 88 && row != 89) {
            store_and_read(listed_card_elements[row], 1);
        }
    }
}

TEST_F(Store, ScriptCommandsAreDeliberatelyFilledByAnEightBitCount) {
    const auto after = [](std::size_t length) {
        std::fill_n(gl_Tm_IssScrCmd, 261, std::uint8_t{0xC3});
        EXPECT_EQ(store("86", ByteString(length, 0x11), "72"), 0);
        return held(gl_Tm_IssScrCmd, 261);
    };
    EXPECT_EQ(after(4), to_hex(join(filled(4, 0x11), filled(1, 0x00), filled(256, 0xC3))));
    EXPECT_EQ(after(5), to_hex(join(filled(5, 0x11), filled(256, 0xC3))));
    EXPECT_EQ(after(6), to_hex(join(filled(6, 0x11), filled(255, 0x00))));
    EXPECT_EQ(after(1), to_hex(join(filled(1, 0x11), filled(4, 0x00), filled(256, 0xC3))));
    EXPECT_EQ(after(261), to_hex(filled(261, 0x11)));
}

class ReadElement : public StoreTest {};

struct ReadCase {
    const char* description;
    const char* tag;
    const char* value;
    std::uint16_t wanted;
    Read expected;
};

class ReadFormat : public StoreTest, public testing::WithParamInterface<ReadCase> {};

TEST_P(ReadFormat, FitsTheValue) {
    const ReadCase& c = GetParam();
    if (*c.value != '\0') {
        ASSERT_EQ(store(c.tag, c.value), 0);
    }
    EXPECT_EQ(read(c.tag, c.wanted), c.expected);
}

const ReadCase read_cases[] = {
    {"NumericFullCutOnTheLeft", "9F02", "112233445566", 2, {2, 2, "5566"}},
    {"NumericEqual", "9F02", "112233445566", 6, {2, 6, "112233445566"}},
    {"NumericLonger", "9F02", "112233445566", 8, {2, 8, "0000112233445566"}},
    {"NumericCurrent", "9F02", "112233445566", 0, {2, 6, "112233445566"}},
    {"NumericShortDeliberatelyCutFromTheStorageStart", "9F3B", "1234", 1, {1, 1, "00"}},
    {"NumericShortEqual", "9F3B", "1234", 2, {1, 2, "1234"}},
    {"NumericShortBeyondTheStorage", "9F3B", "1234", 10, {1, 10, "00000000000000001234"}},
    {"NumericAbsent", "9F02", "", 3, {2, 3, "000000"}},
    {"CompressedShorter", "5A", "6200000000000005", 3, {1, 3, "620000"}},
    {"CompressedEqual", "5A", "6200000000000005", 8, {1, 8, "6200000000000005"}},
    {"CompressedLonger", "5A", "6200000000000005", 12, {1, 12, "6200000000000005FFFFFFFF"}},
    {"CompressedAbsent", "5A", "", 2, {1, 2, "FFFF"}},
    {"AlphanumericShorter", "5F2D", "7A68656E", 2, {1, 2, "7A68"}},
    {"AlphanumericEqual", "5F2D", "7A68656E", 4, {1, 4, "7A68656E"}},
    {"AlphanumericLonger", "5F2D", "7A68656E", 9, {1, 9, "7A68656E0000000000"}},
    {"AlphanumericAbsent", "5F2D", "", 2, {1, 2, "0000"}},
    {"SpecialShorter", "50", "50424F43", 1, {1, 1, "50"}},
    {"SpecialEqual", "50", "50424F43", 4, {1, 4, "50424F43"}},
    {"SpecialLonger", "50", "50424F43", 6, {1, 6, "50424F430000"}},
    {"SpecialAbsent", "50", "", 1, {1, 1, "00"}},
    {"BinaryShorter", "9F26", "1122334455667788", 3, {1, 3, "112233"}},
    {"BinaryEqual", "9F26", "1122334455667788", 8, {1, 8, "1122334455667788"}},
    {"BinaryLonger", "9F26", "1122334455667788", 10, {1, 10, "11223344556677880000"}},
    {"BinaryAbsent", "9F26", "", 2, {1, 2, "0000"}},
    {"AlphabeticShorter", "5F56", "43484E", 2, {1, 2, "4348"}},
    {"AlphabeticEqual", "5F56", "43484E", 3, {1, 3, "43484E"}},
    {"AlphabeticLonger", "5F56", "43484E", 5, {1, 5, "43484E0000"}},
    {"AlphabeticAbsent", "5F56", "", 4, {1, 4, "00000000"}},
};

INSTANTIATE_TEST_SUITE_P(Formats, ReadFormat, testing::ValuesIn(read_cases),
                         [](const auto& param) { return std::string(param.param.description); });

TEST_F(ReadElement, AnAbsentElementHasNoCurrentBytes) {
    EXPECT_EQ(read("9F02", 0), (Read{2, 0, ""}));
    EXPECT_EQ(read("5A", 0), (Read{1, 0, ""}));
}

TEST_F(ReadElement, DeliberatelyDoesNotLookAtTheState) {
    ASSERT_EQ(store("9F02", "112233445566"), 0);
    ASSERT_EQ(set_state_of("9F02", 0), 0);
    EXPECT_EQ(read("9F02", 0), (Read{2, 6, "112233445566"}));
}

TEST_F(ReadElement, RefusesUnknownTags) {
    EXPECT_EQ(read("9F70", 3), (Read{-30, 3, "A5A5A5"}));
    EXPECT_EQ(read("9F8101", 3), (Read{-31, 3, "A5A5A5"}));
    EXPECT_EQ(read("", 3), (Read{-31, 3, "A5A5A5"}));
    std::uint16_t length = 0;
    std::uint8_t out = 0xA5;
    const ByteString tag = hex("9F70");
    EXPECT_EQ(emvGetDataElement(tag.data(), 2, &length, &out), -30);
    EXPECT_EQ(out, 0xA5);
    EXPECT_EQ(length, 0);
}

class StateAndLengths : public StoreTest {};

TEST_F(StateAndLengths, TheStateIsSetAlone) {
    EXPECT_EQ(set_state_of("9F36", 1), 0);
    EXPECT_EQ(state_of("9F36"), 1);
    EXPECT_EQ(length_of("9F36"), 0);
    ASSERT_EQ(store("9F36", "0102"), 0);
    EXPECT_EQ(set_state_of("9F36", 0), 0);
    EXPECT_EQ(state_of("9F36"), 0);
    EXPECT_EQ(length_of("9F36"), 2);
    EXPECT_EQ(held(gl_ATC, 2), "0102");
}

TEST_F(StateAndLengths, RefusesOtherStatesBeforeTheTag) {
    EXPECT_EQ(set_state_of("9F36", 2), -31);
    EXPECT_EQ(set_state_of("9F36", 255), -31);
    EXPECT_EQ(set_state_of("9F70", 2), -31);
    EXPECT_EQ(set_state_of("9F70", 1), -32);
    EXPECT_EQ(set_state_of("9F8101", 0), -32);
    EXPECT_EQ(set_state_of("", 0), -32);
    EXPECT_EQ(state_of("9F36"), 0);
}

TEST_F(StateAndLengths, UnknownTagsHaveNoStateOrLength) {
    EXPECT_EQ(state_of("9F70"), -32);
    EXPECT_EQ(state_of("9F8101"), -32);
    EXPECT_EQ(state_of(""), -32);
    for (const unsigned selector : {0u, 1u, 2u, 3u, 255u}) {
        const auto which = static_cast<std::uint8_t>(selector);
        EXPECT_EQ(length_of("9F70", which), 0);
        EXPECT_EQ(set_length_of("9F70", 1, which), -31);
    }
}

TEST_F(StateAndLengths, LengthsAreReadBySelector) {
    ASSERT_EQ(store("9F3B", "112233"), 0);
    EXPECT_EQ(length_of("9F3B", 0), 3);
    EXPECT_EQ(length_of("9F3B", 1), 2);
    EXPECT_EQ(length_of("9F3B", 2), 8);
    EXPECT_EQ(length_of("9F3B", 3), 0);
    EXPECT_EQ(length_of("9F3B", 255), 0);
}

TEST_F(StateAndLengths, LengthsAreWrittenBySelector) {
    EXPECT_EQ(set_length_of("9F3B", 5, 0), 0);
    EXPECT_EQ(set_length_of("9F3B", 1, 1), 0);
    EXPECT_EQ(set_length_of("9F3B", 7, 2), 0);
    EXPECT_EQ(set_length_of("9F3B", 9, 3), -30);
    EXPECT_EQ(IccDt[14].curLen, 5);
    EXPECT_EQ(IccDt[14].minLen, 1);
    EXPECT_EQ(IccDt[14].maxLen, 7);
    EXPECT_EQ(state_of("9F3B"), 0);
}

}  // namespace
}  // namespace quorrin::test
