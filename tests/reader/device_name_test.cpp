// GetDevName with real files, TrimLeft, TrimRight.

#include "tests/support/library_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::test {
namespace {

using testing::IsEmpty;

// The start that a file needs to be read at all; its zero bytes keep every plain text file out.
const std::string binary_start("Velmora\0COM\0A", 13);

class DeviceName : public LibraryTest {
  protected:
    // The result of reading a file with this content; "name" receives the name.
    std::int32_t read(std::string_view content) {
        directory.write("Velmora.ini", content);
        return GetDevName(name.text());
    }
    // As read, behind the start line.
    std::int32_t read_after_start(std::string_view content) {
        return read(binary_start + "\n" + std::string(content));
    }

    TemporaryDirectory directory;
    GuardedBuffer name{8};
};

TEST_F(DeviceName, FailsWithoutTheFile) {
    EXPECT_EQ(GetDevName(name.text()), -1);
    EXPECT_TRUE(name.untouched());
}

TEST_F(DeviceName, FileNameIsCaseSensitive) {
    directory.write("velmora.ini", binary_start + "\nCOM=3\n");
    EXPECT_EQ(GetDevName(name.text()), -1);
}

TEST_F(DeviceName, DeliberatelyRefusesEveryPlainTextFile) {
    for (const std::string_view content :
         {"", "\n", "[Velmora]\nCOM=3\n", "Velmora\nCOM=3\n", "Velmora", "VelmoraCOMA\nCOM=3\n",
          "Velmora COM A\nCOM=3\n"}) {
        EXPECT_EQ(read(content), -1) << content;
        EXPECT_TRUE(name.untouched());
    }
}

TEST_F(DeviceName, EveryByteOfTheStartCounts) {
    for (std::size_t i = 0; i < binary_start.size(); ++i) {
        std::string start = binary_start;
        start[i] = '#';
        EXPECT_EQ(read(start + "\nCOM=3\n"), -1) << i;
    }
    EXPECT_EQ(read(binary_start.substr(0, 12) + "\nCOM=3\n"), -1);
    EXPECT_TRUE(name.untouched());
}

TEST_F(DeviceName, StartLineMayGoOn) {
    EXPECT_EQ(read(binary_start + "UTO and more\nCOM=4\n"), 0);
    EXPECT_TRUE(name.holds(terminated("COM4")));
}

TEST_F(DeviceName, FailsWithoutAComLine) {
    for (const std::string_view content : {"", "\n", "com=3\n", " COM=3\n", "CO\nM=3\n"}) {
        EXPECT_EQ(read_after_start(content), -1) << content;
        EXPECT_TRUE(name.untouched());
    }
}

TEST_F(DeviceName, FirstComLineDecides) {
    EXPECT_EQ(read_after_start("; port\nBAUD=9\n\nCOM=5\nCOM=6\n"), 0);
    EXPECT_TRUE(name.holds(terminated("COM5")));
}

struct PortValue {
    const char* name;
    std::string_view line;  // without line end
    const char* device;
};

class PortValues : public DeviceName, public testing::WithParamInterface<PortValue> {};

TEST_P(PortValues, NameTheDevice) {
    EXPECT_EQ(read_after_start(std::string(GetParam().line) + "\n"), 0);
    EXPECT_TRUE(name.holds(terminated(GetParam().device)));
}

TEST_P(PortValues, NameTheDeviceInAFileWithoutLastLineEnd) {
    EXPECT_EQ(read_after_start(GetParam().line), 0);
    EXPECT_TRUE(name.holds(terminated(GetParam().device)));
}

INSTANTIATE_TEST_SUITE_P(
    Values, PortValues,
    testing::Values(
        PortValue{"Plain", "COM=3", "COM3"}, PortValue{"AfterASpace", "COM= 3", "COM3"},
        PortValue{"BeforeASpace", "COM=3 ", "COM3"}, PortValue{"Smallest", "COM=1", "COM1"},
        PortValue{"Largest", "COM=9", "COM9"}, PortValue{"Zero", "COM=0", "AUTO"},
        PortValue{"Ten", "COM=10", "AUTO"}, PortValue{"Letter", "COM=x", "AUTO"},
        PortValue{"Auto", "COM=AUTO", "AUTO"}, PortValue{"AutoAndMore", "COM=AUTO3", "AUTO"},
        PortValue{"LowerCaseAuto", "COM=auto", "AUTO"},
        PortValue{"LeadingZeros", "COM=0007", "COM7"},
        PortValue{"DigitsThenText", "COM=7x9", "COM7"}, PortValue{"PlusSign", "COM=+8", "COM8"},
        PortValue{"MinusSign", "COM=-8", "AUTO"}, PortValue{"SignAlone", "COM=+", "AUTO"},
        PortValue{"TwoSigns", "COM=+-8", "AUTO"}, PortValue{"BeyondInt", "COM=4294967299", "AUTO"},
        PortValue{"BeyondInt64", "COM=18446744073709551617", "AUTO"},
        PortValue{"NegativeBeyondInt", "COM=-4294967293", "AUTO"},
        PortValue{"Empty", "COM=", "AUTO"}, PortValue{"Spaces", "COM=   ", "AUTO"},
        PortValue{"TabIsNoSpace", "COM=\t3", "AUTO"},
        PortValue{"WordsBeforeTheSign", "COM port =2", "COM2"},
        PortValue{"FirstSignCounts", "COM=2=3", "COM2"},
        PortValue{"SignRightAfter", "COM==3", "AUTO"}, PortValue{"NoSign", "COM 3", "AUTO"},
        // Of 19 characters all count, of more the first 19.
        PortValue{"NineteenCharacters", "COM=0000000000000000006", "COM6"},
        PortValue{"CutToNineteen", "COM=00000000000000000065", "COM6"},
        PortValue{"CutAfterSpaces", "COM=                  65", "COM6"},
        PortValue{"OnlySpacesFit", "COM=                   6", "AUTO"},
        PortValue{"CarriageReturn", "COM=6\r", "COM6"}),
    [](const auto& row) { return row.param.name; });

// The line buffer is not cleared from line to line: without "=", what an earlier and longer line
// left behind the terminator is the value.
TEST_F(DeviceName, DeliberatelyReadsThePreviousLineBehindALineWithoutSign) {
    EXPECT_EQ(read_after_start("abcd8\nCOM"), 0);
    EXPECT_TRUE(name.holds(terminated("COM8")));
}

TEST_F(DeviceName, ReadsNothingOfTheStartLineBehindALineWithoutSign) {
    // Uncleared, the "8" of the start line would stand right behind the terminator.
    EXPECT_EQ(read(binary_start + "x8\nCOMxxxxxxxxxx"), 0);
    EXPECT_TRUE(name.holds(terminated("AUTO")));
}

// A line buffer holds 99 characters: longer lines are read in pieces, each a line of its own.
TEST_F(DeviceName, LongLinesComeInPieces) {
    const std::string piece(99, 'x');
    EXPECT_EQ(read_after_start(piece + "COM=3\n"), 0);
    EXPECT_TRUE(name.holds(terminated("COM3")));
}

TEST_F(DeviceName, FullLineWithoutSignHasAnEmptyValue) {
    EXPECT_EQ(read_after_start("COM" + std::string(96, '5') + "\n"), 0);
    EXPECT_TRUE(name.holds(terminated("AUTO")));
}

TEST_F(DeviceName, FullLineMayEndInTheSign) {
    EXPECT_EQ(read_after_start("COM" + std::string(95, 'x') + "=7\n"), 0);
    EXPECT_TRUE(name.holds(terminated("AUTO")));
    EXPECT_EQ(read_after_start("COM" + std::string(94, 'x') + "=7\n"), 0);
    EXPECT_TRUE(name.holds(terminated("COM7")));
}

TEST_F(DeviceName, ZeroByteEndsALine) {
    EXPECT_EQ(read_after_start(std::string_view("COM\0=3\n", 7)), 0);
    EXPECT_TRUE(name.holds(terminated("AUTO")));
    EXPECT_EQ(read_after_start(std::string_view("COM=3\0009\n", 7)), 0);
    EXPECT_TRUE(name.holds(terminated("COM3")));
}

TEST_F(DeviceName, LeavesTheConfiguredNameAlone) {
    EXPECT_EQ(read_after_start("COM=3\n"), 0);
    EXPECT_STREQ(EG_szDev_Name, "AUTO");
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_THAT(reader().calls, IsEmpty());
}

TEST_F(DeviceName, RefusesANullName) {
    directory.write("Velmora.ini", binary_start + "\nCOM=3\n");
    EXPECT_EQ(GetDevName(nullptr), -1);
}

struct Trimming {
    const char* name;
    std::string_view text;  // without terminator
    char character;
    // Every byte of the block afterwards: text, terminator and what stays behind it.
    std::string_view left;
    std::string_view right;
};

class Trim : public testing::TestWithParam<Trimming> {
  protected:
    // Trims the text once in a block of exactly its size, once with room behind it.
    template <typename Function>
    static void expect_block(Function trim, std::string_view expected) {
        const std::string_view text = GetParam().text;
        for (const std::size_t room : {0u, 4u}) {
            GuardedBuffer buffer(text.size() + 1 + room);
            std::copy(text.begin(), text.end(), buffer.data());
            buffer.data()[text.size()] = 0;
            trim(buffer.data(), static_cast<std::uint8_t>(GetParam().character));
            EXPECT_TRUE(buffer.holds_text(expected));
        }
    }
};

TEST_P(Trim, RemovesLeadingCharacters) {
    expect_block(TrimLeft, GetParam().left);
}

TEST_P(Trim, RemovesTrailingCharacters) {
    expect_block(TrimRight, GetParam().right);
}

using namespace std::string_view_literals;

// Left: the rest moves with its terminator, the old tail stays. Right: every byte removed is cleared.
INSTANTIATE_TEST_SUITE_P(
    Texts, Trim,
    testing::Values(Trimming{"Both", "  a b  ", ' ', "a b  \0 \0"sv, "  a b\0\0\0"sv},
                    Trimming{"Nothing", "ab", ' ', "ab\0"sv, "ab\0"sv},
                    Trimming{"Empty", "", ' ', "\0"sv, "\0"sv},
                    Trimming{"One", " ", ' ', "\0\0"sv, "\0\0"sv},
                    Trimming{"All", "    ", ' ', "\0   \0"sv, "\0\0\0\0\0"sv},
                    Trimming{"OtherCharacter", "00120", '0',
                             "120\0"
                             "0\0"sv,
                             "0012\0\0"sv},
                    Trimming{"LongRest", "  abcdef", ' ', "abcdef\0f\0"sv, "  abcdef\0"sv},
                    Trimming{"LineEndStops", " 3 \n", ' ', "3 \n\0\0"sv, " 3 \n\0"sv},
                    Trimming{"HighByte", "\xFF\x01\xFF", '\xFF', "\x01\xFF\0\0"sv,
                             "\xFF\x01\0\0"sv},
                    Trimming{"ZeroCharacter", "ab", '\0', "ab\0"sv, "ab\0"sv},
                    Trimming{"ZeroCharacterOfEmpty", "", '\0', "\0"sv, "\0"sv}),
    [](const auto& row) { return row.param.name; });

TEST(Trim, NullTextIsLeftAlone) {
    TrimLeft(nullptr, ' ');
    TrimRight(nullptr, ' ');
}

}  // namespace
}  // namespace quorrin::test
