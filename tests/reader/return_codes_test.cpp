// TransRetCode and TransRetCodeNoMsg: which code, which text, which log line.

#include <limits>

#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ReturnCodes : public LibraryTest {
  protected:
    static void set_status_word(int sw1, int sw2) {
        CARD_SW1 = static_cast<std::uint8_t>(sw1);
        CARD_SW2 = static_cast<std::uint8_t>(sw2);
    }

    testing::AssertionResult text_is(std::string_view expected) const {
        return text.holds(join(text_bytes(expected), ByteString{0}));
    }

    GuardedBuffer text{73};
};

TEST_F(ReturnCodes, SuccessWritesNothingAndLogsNothing) {
    set_status_word(0x90, 0x00);
    EXPECT_EQ(TransRetCode(0, text.text()), 0);
    EXPECT_EQ(TransRetCodeNoMsg(0), 0);
    EXPECT_TRUE(text.untouched());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReturnCodes, RefusedCommandGivesTheCodeAndTextOfItsStatusWord) {
    set_status_word(0x6A, 0x82);
    EXPECT_EQ(TransRetCode(0, text.text()), -27266);
    EXPECT_TRUE(text_is("未找到文件、文件标识相重、SFI不正确"));
    EXPECT_THAT(log.texts(), ElementsAre("-27266,返回信息:未找到文件、文件标识相重、SFI不正确"));
}

TEST_F(ReturnCodes, NoStatusWordGivesWrongCardType) {
    EXPECT_EQ(TransRetCode(0, text.text()), -1);
    EXPECT_TRUE(text_is("卡片类型不对"));
    EXPECT_EQ(TransRetCodeNoMsg(0), -1);
}

TEST_F(ReturnCodes, NinetyZeroZeroIsTheOnlySuccess) {
    for (const int sw2 : {0x01, 0x10, 0xFF}) {
        set_status_word(0x90, sw2);
        EXPECT_EQ(TransRetCodeNoMsg(0), -40000) << sw2;
    }
    set_status_word(0x91, 0x00);
    EXPECT_EQ(TransRetCodeNoMsg(0), -40000);
}

// Hosts know these status words by the code of a related one.
struct SharedCode {
    int sw1;
    int sw2;
    int code;
    const char* text;
};

class SharedCodes : public ReturnCodes, public testing::WithParamInterface<SharedCode> {};

TEST_P(SharedCodes, DeliberatelyShareTheCodeOfARelatedStatusWord) {
    set_status_word(GetParam().sw1, GetParam().sw2);
    EXPECT_EQ(TransRetCode(0, text.text()), GetParam().code);
    EXPECT_TRUE(text_is(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    StatusWords, SharedCodes,
    testing::Values(SharedCode{0x63, 0xC2, -25536, "外部认证失败，还可再试二次"},
                    SharedCode{0x94, 0x02, -37894, "所需MAC（或/和TAC）不可用"},
                    SharedCode{0x94, 0x08, -37635, "应用已被永久锁定、卡片锁定"},
                    SharedCode{0x64, 0x00, -40000, "标志状态位没变"},
                    SharedCode{0x63, 0x00, -21, "内部认证失败（用户卡不合法）"},
                    SharedCode{0x6A, 0x86, -23, "传入数据不合法"},
                    SharedCode{0x6B, 0x00, -23, "传入数据不合法"},
                    SharedCode{0x6E, 0x00, -23, "传入数据不合法"},
                    SharedCode{0x6F, 0x00, -23, "传入数据不合法"}));

TEST_F(ReturnCodes, CodeThatStandsInSeveralRowsHasTheFirstText) {
    EXPECT_EQ(TransRetCode(-21, text.text()), -21);
    EXPECT_TRUE(text_is("内部认证失败（用户卡不合法）"));
}

TEST_F(ReturnCodes, CodeIsLookedUpWithoutRegardToTheStatusWord) {
    set_status_word(0x90, 0x00);
    EXPECT_EQ(TransRetCode(-2, text.text()), -2);
    EXPECT_TRUE(text_is("无卡"));
}

TEST_F(ReturnCodes, DeliberatelyLogsZeroForAnUnknownStatusWord) {
    set_status_word(0x61, 0x10);
    EXPECT_EQ(TransRetCode(0, text.text()), -40000);
    EXPECT_TRUE(text_is("未知错误"));
    EXPECT_THAT(log.texts(), ElementsAre("0,返回信息:未知错误"));
}

TEST_F(ReturnCodes, DeliberatelyLogsZeroForAnUnknownCode) {
    EXPECT_EQ(TransRetCode(5, text.text()), -40000);
    EXPECT_TRUE(text_is("未知错误"));
    EXPECT_EQ(TransRetCodeNoMsg(5), -40000);
    EXPECT_THAT(log.texts(), ElementsAre("0,返回信息:未知错误"));
}

TEST_F(ReturnCodes, ExplicitUnknownErrorIsLoggedUnderItsOwnNumber) {
    EXPECT_EQ(TransRetCode(-40000, text.text()), -40000);
    EXPECT_TRUE(text_is("未知错误"));
    EXPECT_THAT(log.texts(), ElementsAre("-40000,返回信息:未知错误"));
}

TEST_F(ReturnCodes, CodesAreComparedInFullWidth) {
    constexpr std::int64_t beyond_32_bits = std::int64_t{1} << 32;
    for (const std::int64_t code :
         {beyond_32_bits - 2, beyond_32_bits, -beyond_32_bits - 2, -beyond_32_bits,
          std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(TransRetCodeNoMsg(code), -40000) << code;
    }
}

// Results of the bank card operations that have no message of their own.
TEST_F(ReturnCodes, FoldsCodesWithoutMessage) {
    for (const int code : {-106, -107, -120, 1, 208}) {
        EXPECT_EQ(TransRetCodeNoMsg(code), -40000) << code;
    }
    for (const int code : {-22, -23, -25, -31, -32, -33, -34, -35, -36}) {
        EXPECT_EQ(TransRetCodeNoMsg(code), code);
    }
}

TEST_F(ReturnCodes, PinFailureNamesTheRemainingTries) {
    for (int tries = 0; tries <= 0x0F; ++tries) {
        for (const int sw1 : {0x63, 0x00, 0x90}) {
            set_status_word(sw1, 0xC0 | tries);
            GuardedBuffer buffer(73);
            const std::string expected = "PIN校验失败，剩余次数" + std::to_string(tries) + "次";
            EXPECT_EQ(TransRetCode(-51, buffer.text()), -51);
            EXPECT_TRUE(buffer.holds(join(text_bytes(expected), ByteString{0})));
            EXPECT_THAT(log.texts(), ElementsAre("-51,返回信息:" + expected));
            EXPECT_EQ(TransRetCodeNoMsg(-51), -51);
            log.clear();
        }
    }
}

TEST_F(ReturnCodes, SilentTranslationLogsNothing) {
    set_status_word(0x6A, 0x82);
    for (const int code : {0, -1, -51, -2, -40000, 5}) {
        TransRetCodeNoMsg(code);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReturnCodes, TranslationLeavesTheLastExchangeAlone) {
    set_status_word(0x6A, 0x82);
    CARD_STATUS = -11;
    for (const int code : {0, -1, -51, 5}) {
        TransRetCode(code, text.text());
        TransRetCodeNoMsg(code);
    }
    EXPECT_EQ(CARD_SW1, 0x6A);
    EXPECT_EQ(CARD_SW2, 0x82);
    EXPECT_EQ(CARD_STATUS, -11);
}

TEST_F(ReturnCodes, NullTextIsNotWrittenButLogged) {
    EXPECT_EQ(TransRetCode(-2, nullptr), -2);
    EXPECT_EQ(TransRetCode(-51, nullptr), -51);
    EXPECT_EQ(TransRetCode(5, nullptr), -40000);
    EXPECT_EQ(TransRetCode(0, nullptr), -1);
    EXPECT_THAT(log.texts(),
                ElementsAre("-2,返回信息:无卡", "-51,返回信息:PIN校验失败，剩余次数0次",
                            "0,返回信息:未知错误", "-1,返回信息:卡片类型不对"));
}

}  // namespace
}  // namespace quorrin::test
