// PackTrsData: the text of one log record, to the character.

#include "tests/support/card_notation.hpp"
#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

constexpr char record_format[] =
    "9F4F[ 9A03 9F2103 9F0206 9F0306 9F1A02 5F2A02 9F4E14 9C01 9F3602 ]";
constexpr char usual_record[] =
    "250102 103059 000000012345 000000000678 0840 0156 'TEST MERCHANT       ' 01 1A2B";

class LogRecord : public LibraryTest {
  protected:
    // Formats a record and compares the text, the length and the bytes behind the text.
    static void expect_text(const ByteString& format, const ByteString& record,
                            const std::string& expected) {
        GuardedBuffer out(256);
        std::uint32_t length = 0xEEEEEEEE;
        // The record's own length is not asked.
        EXPECT_EQ(PackTrsData(format.data(), static_cast<std::uint32_t>(format.size()),
                              record.data(), 0, out.text(), &length),
                  0);
        EXPECT_EQ(length, expected.size());
        EXPECT_TRUE(out.holds_text(expected));
    }
    static void expect_text(std::string_view format, std::string_view record,
                            const std::string& expected) {
        expect_text(card_bytes(format), card_bytes(record), expected);
    }

    static void expect_refused(const ByteString& format) {
        const ByteString record(2048, 0x11);
        GuardedBuffer out(256);
        std::uint32_t length = 0xEEEEEEEE;
        EXPECT_EQ(PackTrsData(format.data(), static_cast<std::uint32_t>(format.size()),
                              record.data(), 2048, out.text(), &length),
                  -107);
        EXPECT_EQ(length, 0xEEEEEEEE);
        EXPECT_TRUE(out.untouched());
    }

    // A format that names a merchant name of n bytes and then the transaction counter.
    static ByteString name_format(std::uint8_t n) {
        return object("9F4F", join(hex("9F4E"), ByteString{n}, hex("9F3602")));
    }
    static ByteString name_record(std::size_t n) { return join(filled(n, 0xC5), hex("1A2B")); }

    // The text in front of the merchant name when the format names nothing else.
    static std::string empty_front() {
        return "P012000000000000Q012000000000000R0040000S00620000000T00100U003000000V0040000";
    }
    static std::string repeated(std::string_view text, std::size_t count) {
        std::string whole;
        for (std::size_t i = 0; i < count; ++i) {
            whole += text;
        }
        return whole;
    }
};

TEST_F(LogRecord, IsWrittenFieldByFieldWithDeliberatelyMixedCounts) {
    const std::string text =
        "P012000000012345"
        "Q012000000000678"
        "R0040156"
        "S00620250102"
        "T00101"
        "U003103059"
        "V0040840"
        "W02054455354204D45524348414E5420202020202020"
        "X0021A2B";
    ASSERT_EQ(text.size(), 128u);
    expect_text(record_format, usual_record, text);
}

TEST_F(LogRecord, FieldsStandInTheTextsOrderWhateverTheRecordsOrder) {
    expect_text("9F4F[ 9F3602 9C01 9F4E03 5F2A02 9F1A02 9F0306 9F0206 9F2103 9A03 ]",
                "1A2B 01 'ABC' 0156 0840 000000000678 000000012345 103059 250102",
                "P012000000012345Q012000000000678R0040156S00620250102T00101U003103059V0040840"
                "W003414243X0021A2B");
}

TEST_F(LogRecord, FieldsThatTheFormatDoesNotNameAreZeros) {
    expect_text("9F4F[]", "00", empty_front() + "W000X0020000");
    expect_text("9F4F[ 9F0206 ]", "000000012345",
                "P012000000012345Q012000000000000R0040000S00620000000T00100U003000000V0040000"
                "W000X0020000");
}

TEST_F(LogRecord, WithoutMerchantNameHasTheCounterRightBehindIt) {
    expect_text("9F4F[ 9A03 9F2103 9F0206 9F0306 9F1A02 5F2A02 9C01 9F3602 ]",
                "250102 103059 000000012345 000000000678 0840 0156 01 1A2B",
                "P012000000012345Q012000000000678R0040156S00620250102T00101U003103059V0040840"
                "W000X0021A2B");
}

TEST_F(LogRecord, DigitsAreWhateverTheRecordHolds) {
    expect_text("9F4F[ 9A03 9C01 ]", "ABCDEF FF",
                "P012000000000000Q012000000000000R0040000S00620ABCDEFT001FFU003000000V0040000"
                "W000X0020000");
}

TEST_F(LogRecord, DeliberatelyAnUnknownElementTakesNoRecordBytes) {
    // The two bytes of 9F27 in the record shift what follows.
    expect_text("9F4F[ 9C01 9F2702 5F2A02 ]", "01 AAAA 0156",
                "P012000000000000Q012000000000000R004AAAAS00620000000T00101U003000000V0040000"
                "W000X0020000");
}

TEST_F(LogRecord, ARepeatedFieldTakesTheLaterValue) {
    expect_text("9F4F[ 9C01 9F4E05 9C01 9F4E02 9F3602 9F3601 ]", "01 'FIRST' 21 'AB' 1A2B 3C",
                "P012000000000000Q012000000000000R0040000S00620000000T00121U003000000V0040000"
                "W0024142X0023C00");
}

TEST_F(LogRecord, TheCounterMayHaveUpToThreeBytes) {
    const std::string front = empty_front() + "W000X002";
    expect_text("9F4F[ 9F3600 9C01 ]", "01",
                "P012000000000000Q012000000000000R0040000S00620000000T00101U003000000V0040000"
                "W000X0020000");
    expect_text("9F4F[ 9F3601 ]", "1A", front + "1A00");
    expect_text("9F4F[ 9F3602 ]", "1A2B", front + "1A2B");
    // The third byte is taken from the record, but not printed.
    expect_text("9F4F[ 9F3603 9C01 ]", "1A2B3C 01",
                "P012000000000000Q012000000000000R0040000S00620000000T00101U003000000V0040000"
                "W000X0021A2B");
}

TEST_F(LogRecord, IsReadAsFarAsTheFormatNamesAndNoFurther) {
    // The record ends where the heap block ends.
    expect_text("9F4F[ 9F0206 ]", "000000012345",
                "P012000000012345Q012000000000000R0040000S00620000000T00100U003000000V0040000"
                "W000X0020000");
}

// --- the merchant name ---

TEST_F(LogRecord, TakesAMerchantNameOf83Bytes) {
    expect_text(name_format(83), name_record(83),
                empty_front() + "W083" + repeated("C5", 83) + "X0021A2B");
}

TEST_F(LogRecord, DeliberatelyALongerMerchantNameWrapsTheTextAround) {
    // 84 bytes: 256 characters count as none.
    expect_text(name_format(84), name_record(84), "");
    // 85: the counter's digits begin at 254 and go straight on.
    expect_text(name_format(85), name_record(85), "P0");
    // 86: the counter's digits are the whole text.
    expect_text(name_format(86), name_record(86), "1A2B");
    // 87: they begin at 2; the count in front of them has gone straight on beyond 255.
    expect_text(name_format(87), name_record(87), "P01A2B");
    // 88: letter X at 0.
    expect_text(name_format(88), name_record(88), "X0021A2B");
    // 100: letter X at 24.
    expect_text(name_format(100), name_record(100), "P012000000000000Q0120000X0021A2B");
    // 127: letter X at 78, over the count of the name.
    expect_text(name_format(127), name_record(127), empty_front() + "W1X0021A2B");
}

TEST_F(LogRecord, DeliberatelyTakesAFieldsLengthFromTheFirstByteOfItsLengthField) {
    // 81 05 counts as 129 bytes of merchant name: letter X at 82, over its digits.
    expect_text(object("9F4F", hex("9F4E8105 9F3602")), name_record(129),
                empty_front() + "W129C5X0021A2B");
}

TEST_F(LogRecord, SurvivesTheLongestMerchantNames) {
    // FB in a length field stands for 123 bytes of length in a format of 125: 251 bytes of name.
    const ByteString format = object("9F4F", join(hex("9F4E FB"), filled(123, 0x01)));
    ASSERT_EQ(format.size(), 3u + 126u);
    // X at 80 + 502 modulo 256 = 70.
    expect_text(format, filled(251, 0xC5),
                "P012000000000000Q012000000000000R0040000S00620000000T00100U003000000V0X0020000");
}

// --- formats ---

TEST_F(LogRecord, TakesALengthFieldWhoseFirstByteHappensToBeRight) {
    // 81 81 and 129 bytes: the first byte, 81, is the number of bytes behind the field.
    ByteString list;
    for (int i = 0; i < 43; ++i) {
        list = join(list, hex("9F2701"));
    }
    ASSERT_EQ(list.size(), 129u);
    expect_text(join(hex("9F4F 8181"), list), hex("00"), empty_front() + "W000X0020000");
}

struct RefusedCase {
    const char* name;
    const char* format;
};

class RefusedLogFormat : public LogRecord, public testing::WithParamInterface<RefusedCase> {};

TEST_P(RefusedLogFormat, GivesMinus107AndWritesNothing) {
    expect_refused(card_bytes(GetParam().format));
}

constexpr RefusedCase refused_cases[] = {
    {"Nothing", ""},
    {"OtherTag", "9F4D[ 9A03 ]"},
    {"DeliberatelyLoadLogTag", "DF4F[ 9A03 ]"},
    {"OneByteTag", "4F[ 9A03 ]"},
    {"TagCutOff", "9F"},
    {"PaddingBeforeTheTag", "00 9F4F[ 9A03 ]"},
    {"TagAlone", "9F4F"},
    {"LengthTooSmall", "9F4F 01 9A03"},
    {"LengthTooLarge", "9F4F 03 9A03"},
    {"BytesBehindTheFormat", "9F4F[ 9A03 ] 00"},
    {"LengthInTwoBytes", "9F4F 8102 9A03"},
    {"LengthIndefinite", "9F4F 80 9A03"},
    {"LengthFieldBeyondTheEnd", "9F4F 84 9A03"},
    {"TagWithoutLength", "9F4F[ 9A03 9C ]"},
    {"TwoByteTagCutOff", "9F4F[ 9A03 9F ]"},
    {"TagThatNobodyHas", "9F4F[ 9A03 5F8001 ]"},
    {"FieldLengthIndefinite", "9F4F[ 9A03 9F4E80 ]"},
    {"FieldLengthBeyondTheEnd", "9F4F[ 9A03 9F4E83 01 ]"},
    {"UnknownFieldLengthIndefinite", "9F4F[ 9F2780 ]"},
    {"TagOfFiveBytes", "9F4F[ DF8182830401 ]"},
    {"Date", "9F4F[ 9A04 ]"},
    {"Time", "9F4F[ 9F2102 ]"},
    {"Amount", "9F4F[ 9F0205 ]"},
    {"AmountEmpty", "9F4F[ 9F0200 ]"},
    {"OtherAmount", "9F4F[ 9F0307 ]"},
    {"Country", "9F4F[ 9F1A01 ]"},
    {"Currency", "9F4F[ 5F2A03 ]"},
    {"Type", "9F4F[ 9C02 ]"},
    {"Counter", "9F4F[ 9F3604 ]"},
    {"LengthOfAFieldInTwoBytes", "9F4F[ 9A8103 ]"},
    {"WrongLengthBehindARightOne", "9F4F[ 9C01 9C02 ]"},
};

INSTANTIATE_TEST_SUITE_P(TransactionLog, RefusedLogFormat, testing::ValuesIn(refused_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(LogRecord, TakesUnknownTagsOfFourBytes) {
    expect_text("9F4F[ DF81820401 9C01 ]", "21",
                "P012000000000000Q012000000000000R0040000S00620000000T00121U003000000V0040000"
                "W000X0020000");
}

TEST_F(LogRecord, RefusesNullPointers) {
    const ByteString format = card_bytes("9F4F[ 9C01 ]");
    const auto size = static_cast<std::uint32_t>(format.size());
    const ByteString record = hex("01");
    GuardedBuffer out(256);
    std::uint32_t length = 0xEEEEEEEE;
    EXPECT_EQ(PackTrsData(nullptr, size, record.data(), 1, out.text(), &length), -107);
    EXPECT_EQ(PackTrsData(format.data(), size, nullptr, 1, out.text(), &length), -107);
    EXPECT_EQ(PackTrsData(format.data(), size, record.data(), 1, nullptr, &length), -107);
    EXPECT_EQ(PackTrsData(format.data(), size, record.data(), 1, out.text(), nullptr), -107);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(length, 0xEEEEEEEE);
}

}  // namespace
}  // namespace quorrin::test
