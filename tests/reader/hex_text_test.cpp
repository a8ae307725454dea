// asc_to_bcd and bcd_to_asc.

#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

struct Packing {
    const char* name;
    std::string_view text;
    std::uint8_t right_align;
    std::string_view bytes;
};

class PackText : public testing::TestWithParam<Packing> {};

TEST_P(PackText, GivesExactlyTheseBytes) {
    const ByteString expected = hex(GetParam().bytes);
    // The text stands in a block of its own size: a step beyond it is seen.
    const std::vector<char> source(GetParam().text.begin(), GetParam().text.end());
    GuardedBuffer packed(expected.size() + 4);
    asc_to_bcd(packed.data(), source.data(), static_cast<std::int32_t>(source.size()),
               GetParam().right_align);
    EXPECT_TRUE(packed.holds(expected));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, PackText,
    testing::Values(Packing{"UpperCase", "12AB", 0, "12AB"},
                    Packing{"LowerCase", "12ab", 0, "12AB"},
                    Packing{"AllDigits", "0123456789ABCDEFabcdef", 0, "0123456789ABCDEFABCDEF"},
                    Packing{"OddLeft", "123", 0, "1230"}, Packing{"OddRight", "123", 1, "0123"},
                    Packing{"AnyFlagAligns", "123", 0x80, "0123"},
                    Packing{"EvenIgnoresFlag", "1234", 1, "1234"}, Packing{"OneLeft", "F", 0, "F0"},
                    Packing{"OneRight", "F", 1, "0F"}, Packing{"Empty", "", 0, ""},
                    Packing{"EmptyRight", "", 1, ""},
                    // Values above 15 spill: (1 << 4) | 16 = 10, (16 << 4) | 1 = 01.
                    Packing{"SpillsIntoTheHighHalf", "1G", 0, "10"},
                    Packing{"LosesTheSpillOfAHighNibble", "G1", 0, "01"},
                    Packing{"SpillsWhenLast", "G", 0, "00"},
                    // 2F -> 0, 3A -> 0A, 40 -> 10, 60 -> 29, 61 -> 0A, FF -> A8.
                    Packing{"BelowDigitsIsZero", "/1", 0, "01"},
                    Packing{"AfterNine", "1:", 0, "1A"}, Packing{"At", "2@", 0, "30"},
                    Packing{"Backquote", "0`", 0, "29"}, Packing{"HighByte", "0\xFF", 0, "A8"},
                    Packing{"ZeroBytesAreCharacters", std::string_view("1\0\0002", 4), 0, "1002"}),
    [](const auto& row) { return row.param.name; });

// Independent statement of the character values, which spill above 15; every byte in both positions.
TEST(PackText, EveryByteDeliberatelyHasItsUnmaskedValueInBothPositions) {
    for (int character = 0; character <= 0xFF; ++character) {
        int value = 0;
        if (character > 0x60) {
            value = character - 0x57;
        } else if (character > 0x40) {
            value = character - 0x37;
        } else if (character >= 0x30) {
            value = character - 0x30;
        }
        GuardedBuffer packed(1);
        const char low[] = {'4', static_cast<char>(character)};
        asc_to_bcd(packed.data(), low, 2, 0);
        EXPECT_EQ(packed.data()[0], (0x40 | value) & 0xFF) << character;

        if (character != 0xAC) {
            const char high[] = {static_cast<char>(character), '4'};
            asc_to_bcd(packed.data(), high, 2, 0);
            EXPECT_EQ(packed.data()[0], (value << 4 | 0x4) & 0xFF) << character;
        }
    }
}

TEST(PackText, DeliberatelyDropsTheByteThatMarksNothingPending) {
    GuardedBuffer packed(4);
    asc_to_bcd(packed.data(),
               "\xAC"
               "12",
               3, 0);
    EXPECT_TRUE(packed.holds(hex("12")));

    // In a low position it is a value as any other: (1 << 4) | 0x55.
    asc_to_bcd(packed.data(), "1\xAC", 2, 0);
    EXPECT_TRUE(packed.holds(hex("55")));

    // Behind the zero digit of a right alignment it is in a low position too.
    asc_to_bcd(packed.data(), "\xAC", 1, 1);
    EXPECT_TRUE(packed.holds(hex("55")));

    // Alone it leaves nothing to write.
    GuardedBuffer untouched(4);
    asc_to_bcd(untouched.data(), "\xAC", 1, 0);
    EXPECT_TRUE(untouched.untouched());
}

TEST(PackText, NegativeLengthWritesAtMostTheAlignmentDigit) {
    GuardedBuffer packed(4);
    asc_to_bcd(packed.data(), "12", -1, 0);
    asc_to_bcd(packed.data(), "12", -2, 1);
    asc_to_bcd(packed.data(), "12", std::numeric_limits<std::int32_t>::min(), 1);
    EXPECT_TRUE(packed.untouched());
    asc_to_bcd(packed.data(), "12", -1, 1);
    EXPECT_TRUE(packed.holds(hex("00")));
}

TEST(PackText, NullBuffersAreLeftAlone) {
    GuardedBuffer packed(4);
    asc_to_bcd(nullptr, "12", 2, 0);
    asc_to_bcd(packed.data(), nullptr, 2, 0);
    EXPECT_TRUE(packed.untouched());
}

struct Unpacking {
    const char* name;
    std::string_view bytes;
    int digits;
    std::uint8_t right_align;
    std::string_view text;
};

class UnpackText : public testing::TestWithParam<Unpacking> {};

TEST_P(UnpackText, GivesExactlyTheseDigits) {
    const ByteString source = hex(GetParam().bytes);
    GuardedBuffer text(GetParam().text.size() + 4);
    bcd_to_asc(text.text(), source.data(), GetParam().digits, GetParam().right_align);
    EXPECT_TRUE(text.holds_text(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    ByteString, UnpackText,
    testing::Values(Unpacking{"Even", "12AB", 4, 0, "12AB"},
                    Unpacking{"OddLeft", "12AB", 3, 0, "12A"},
                    Unpacking{"OddRight", "12AB", 3, 1, "2AB"},
                    Unpacking{"AnyFlagAligns", "12AB", 3, 0x40, "2AB"},
                    Unpacking{"EvenIgnoresFlag", "12AB", 4, 1, "12AB"},
                    Unpacking{"OneLeft", "E7", 1, 0, "E"}, Unpacking{"OneRight", "E7", 1, 1, "7"},
                    Unpacking{"AllDigits", "0123456789ABCDEF", 16, 0, "0123456789ABCDEF"},
                    Unpacking{"Nothing", "12", 0, 0, ""}, Unpacking{"NothingRight", "12", 0, 1, ""},
                    Unpacking{"NegativeOddRight", "12", -1, 1, ""},
                    Unpacking{"Negative", "12", -4, 0, ""}),
    [](const auto& row) { return row.param.name; });

TEST(UnpackText, EveryByteIsTwoUpperCaseDigits) {
    for (int value = 0; value <= 0xFF; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        char expected[3];
        std::snprintf(expected, sizeof expected, "%02X", static_cast<unsigned>(value));
        GuardedBuffer text(4);
        bcd_to_asc(text.text(), &byte, 2, 0);
        EXPECT_TRUE(text.holds_text(expected));
    }
}

TEST(UnpackText, NullBuffersAreLeftAlone) {
    const std::uint8_t byte = 0x12;
    GuardedBuffer text(4);
    bcd_to_asc(nullptr, &byte, 2, 0);
    bcd_to_asc(text.text(), nullptr, 2, 0);
    EXPECT_TRUE(text.untouched());
}

}  // namespace
}  // namespace quorrin::test
