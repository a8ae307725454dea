// What must not be seen: in no text, no hex and no JSON, wherever it stands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "tests/decode/tree_reading.hpp"

namespace quorrin::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* number = "9999010000000011";
constexpr const char* hidden_part =
    "010000000";  // beyond the first six digits, before the last four

std::string all_of(const decode::Node& tree) {
    return decode::to_text(tree) + decode::to_json(tree);
}

struct SecretCase {
    const char* data;
    const char* secret;  // as text, or as hex digits
};

// clang-format off
const SecretCase secret_cases[] = {
    {"5A 08 9999010000000011", "0000000011"},
    {"5A 0A 9999050000000000060F", "05000000"},
    {"57 13 9999010000000011D30122010000012300000F", "3012"},
    {"57 13 9999010000000011D30122010000012300000F", "00123"},
    {"5F20 09 544553542F43415244", "TEST"},
    {"5F20 09 544553542F43415244", "54455354"},
    {"9F0B 09 544553542F43415244", "TEST"},
    {"9F61 12 544553543030303030303030303030303031", "TEST"},
    {"9F61 12 544553543030303030303030303030303031", "5445"},
    {"9F1F 0D 30303030303132333030303030", "12300"},
    {"9F1F 0D 30303030303132333030303030", "313233"},
    {"9F20 05 0123456789", "12345"},
    {"99 08 241234FFFFFFFFFF", "241234"},
    {"5F53 16 4445383933373034303034343035333230313330303030", "0044"},
    {"56 1D 42393939393031303030303030303031315E544553545E33303132323031", "TEST"},
    {"56 1D 42393939393031303030303030303031315E544553545E33303132323031", "3012201"},
    {"840 7A0000000041010 9F6B 13 9999010000000011D30122010000012300000F", "3012"},
    {"9F6B 13 9999010000000011D30122010000012300000F", "3012"},
    {"DF812B 05 0123456789", "12345"},
    // Nobody knows these, but what they hold looks like what it is.
    {"DF7E 08 4761739001010010", "73900101"},
    {"DF7E 13 4761739001010010D30122010000012300000F", "D3012"},
    {"DF7E 10 34373631373339303031303130303130", "73900101"},
    {"DF7E 10 34373631373339303031303130303130", "3733393030"},
    // Broken, and secret still.
    {"5A 0A 9999010000000011", "0000000011"},
    {"57 20 9999010000000011D3012201", "3012"},
    {"5F20 20 544553542F43415244", "TEST"},
    {"70 30 57 13 9999010000000011D3012201", "3012"},
};
// clang-format on

TEST(DecodeMasking, WhatIsSecretIsShownNowhere) {
    for (const SecretCase& each : secret_cases) {
        std::string digits = each.data;
        if (digits.starts_with("840 7")) {
            digits.replace(0, 5, "84 07 ");
        }
        const std::string shown = all_of(decode::tlv(hex(digits)));
        EXPECT_THAT(shown, Not(HasSubstr(each.secret))) << each.data << "\n" << shown;
    }
}

TEST(DecodeMasking, WhatIsAskedForIsShown) {
    const decode::Options open{.show_sensitive = true};
    EXPECT_THAT(all_of(decode::tlv(hex("5A 08 9999010000000011"), open)), HasSubstr(number));
    EXPECT_THAT(all_of(decode::tlv(hex("5F20 09 544553542F43415244"), open)),
                HasSubstr("TEST/CARD"));
    EXPECT_THAT(all_of(decode::tlv(hex("9F61 12 544553543030303030303030303030303031"), open)),
                HasSubstr("TEST00000000000001"));
    EXPECT_THAT(all_of(decode::tlv(hex("DF7E 08 4761739001010010"), open)),
                HasSubstr("4761739001010010"));
}

TEST(DecodeMasking, FirstSixAndLastFourDigitsOfTheNumberAreShown) {
    EXPECT_EQ(decode::tlv(hex("5A 08 9999010000000011")).children[0].text, "999901******0011");
    EXPECT_EQ(decode::tlv(hex("5A 0A 9999050000000000060F")).children[0].text,
              "999905*********0060");
    EXPECT_EQ(decode::tlv(hex("57 13 9999010000000011D30122010000012300000F")).children[0].value,
              "999901******0011D********************F");
    EXPECT_EQ(decode::masked_hex(0x5A, hex("9999010000000011")), "999901******0011");
    EXPECT_EQ(decode::masked_hex(0x5F20, hex("5445")), "****");
    EXPECT_EQ(decode::masked_hex(0x9F36, hex("0001")), "0001");
}

TEST(DecodeMasking, ANumberOnceKnownIsMaskedWhereverItTurnsUp) {
    const decode::Node tree =
        decode::tlv(hex("5A 08 9999010000000011 DF7E 0A 00 9999010000000011 00 9F7C 12 "
                        "41 39393939303130303030303030303131 42"));
    EXPECT_THAT(all_of(tree), Not(HasSubstr(hidden_part)));
    EXPECT_THAT(all_of(tree), Not(HasSubstr("30313030303030303030")));
    EXPECT_THAT(all_of(tree), HasSubstr("00999901******001100"));
}

TEST(DecodeMasking, KindsOfDataMaskToo) {
    for (const decode::Node& tree :
         {as("pan", number), as("track2", "9999010000000011D30122010000012300000F"),
          as_text("keyed-text",
                  "A0169999010000000011B009TEST/CARDD018TEST00000000000001"
                  "K0379999010000000011D3012201000001230000L0130000012300000"),
          as("command", "0020008008 241234FFFFFFFFFF"),
          as("answer", "70 12 5A 08 9999010000000011 5F20 04 54455354 9000")}) {
        const std::string shown = all_of(tree);
        for (const char* secret :
             {hidden_part, "TEST", "54455354", "241234", "3012201", "123000"}) {
            EXPECT_THAT(shown, Not(HasSubstr(secret))) << shown;
        }
    }
}

TEST(DecodeMasking, CardNumbersOfElectronicPursesAreMasked) {
    const decode::Node tree = decode::tlv(
        hex("6F 30 84 08 A000000632010105 A5 24 9F08 01 02 9F0C 1D 0102030405060708 01 02"
            "00009999010000000011 20200101 20301231 00"));
    EXPECT_FALSE(decode::has_problems(tree)) << decode::to_text(tree);
    EXPECT_THAT(all_of(tree), Not(HasSubstr("99990100")));
    EXPECT_THAT(all_of(tree), HasSubstr("Card number: 000099**********0011"));
    EXPECT_THAT(all_of(tree), HasSubstr("Expiration date: 2030-12-31"));
}

TEST(DecodeMasking, DataOfCommandsThatNobodyKnowsAreMasked) {
    for (const char* command :
         {"00D600000A 0F 4761739001010010 0F", "04DC010C0E 0F 4761739001010010 0F 01020304"}) {
        EXPECT_THAT(all_of(as("command", command)), Not(HasSubstr("73900101"))) << command;
    }
    EXPECT_THAT(all_of(decode::answer(hex("0F 4761739001010010 0F 9000"), hex("00B0000000"))),
                Not(HasSubstr("73900101")));
}

TEST(DecodeMasking, SensitiveNodesAreMarked) {
    const decode::Node tree = decode::tlv(hex("5A 08 9999010000000011 9F3602 0001"));
    EXPECT_TRUE(tree.children[0].sensitive);
    EXPECT_FALSE(tree.children[1].sensitive);
    EXPECT_TRUE(
        decode::tlv(hex("5A 08 9999010000000011"), {.show_sensitive = true}).children[0].sensitive);
}

TEST(DecodeMasking, AmountsAndCountersAreNotTakenForNumbers) {
    EXPECT_EQ(decode::tlv(hex("9F02 06 000000012850")).children[0].value, "000000012850");
    EXPECT_EQ(decode::tlv(hex("9F16 0F 313233343536373839303132333435")).children[0].text,
              "\"123456789012345\"");
    EXPECT_EQ(decode::tlv(hex("9F26 08 1234567812345670")).children[0].value, "1234567812345670");
}

}  // namespace
}  // namespace quorrin::test
