// Single facts: status words, result codes, names by code, tags as people write them, and input.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "decode/input.hpp"
#include "decode/lookup.hpp"
#include "quorrin/quorrin.h"
#include "reader/message_table.hpp"
#include "tests/decode/tree_reading.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;

TEST(DecodeLookup, EveryMessageOfTheLibraryHasAnEnglishMeaningBesideIt) {
    for (const MessageRow& row : icc_msg) {
        if (row.code == 0) {
            continue;
        }
        EXPECT_FALSE(decode::result_code(row.code).meaning.empty()) << row.code;
        EXPECT_FALSE(decode::result_code(row.code).message.empty()) << row.code;
        if (row.sw1 != 0) {
            const decode::StatusWord told = decode::status_word(row.sw1, row.sw2);
            EXPECT_TRUE(told.known) << std::hex << int(row.sw1) << int(row.sw2);
            EXPECT_EQ(told.code, row.code);
            EXPECT_EQ(told.message, row.message);
        }
    }
}

struct StatusCase {
    std::uint8_t sw1;
    std::uint8_t sw2;
    const char* meaning;
};

TEST(DecodeLookup, StatusWordsAreToldInEnglish) {
    const StatusCase cases[] = {
        {0x90, 0x00, "Success"},
        {0x61, 0x1C, "28 more bytes to fetch with GET RESPONSE"},
        {0x61, 0x00, "256 more bytes to fetch with GET RESPONSE"},
        {0x6C, 0x1C, "Wrong length, the right Le is 1C"},
        {0x62, 0x83, "Selected file or application is blocked (invalidated)"},
        {0x63, 0xC2, "Verification failed, 2 tries left"},
        {0x63, 0xC1, "Verification failed, 1 try left"},
        {0x63, 0xCF, "Verification failed, 15 tries left"},
        {0x69, 0x83, "Authentication method blocked"},
        {0x69, 0x84, "Referenced data invalidated"},
        {0x69, 0x85, "Conditions of use not satisfied"},
        {0x6A, 0x81, "Function not supported, or card or application blocked"},
        {0x6A, 0x82, "File or application not found"},
        {0x6A, 0x83, "Record not found"},
        {0x6A, 0x88, "Referenced data not found"},
        {0x6D, 0x00, "Instruction not supported or invalid"},
        {0x6E, 0x00, "Class not supported"},
        {0x93, 0x02, "MAC invalid"},
        {0x12, 0x34, "Unknown status word"},
    };
    for (const StatusCase& each : cases) {
        EXPECT_EQ(decode::status_word(each.sw1, each.sw2).meaning, each.meaning);
    }
    EXPECT_FALSE(decode::status_word(0x12, 0x34).known);
    EXPECT_EQ(as("sw", "6A82").note, "library code -27266, 未找到文件、文件标识相重、SFI不正确");
}

TEST(DecodeLookup, ResultCodesAreTold) {
    for (const int code :
         {0, -106, -107, -120, 208, 212, 213, 214, 216, 238, int{QUORRIN_NO_CARD}}) {
        EXPECT_FALSE(decode::result_code(code).meaning.empty()) << code;
    }
    EXPECT_EQ(decode::result_code(-2).meaning, "No card");
    EXPECT_EQ(decode::result_code(-2).message, "无卡");
    EXPECT_EQ(decode::result_code(-27266).meaning, "File or application not found");
    EXPECT_TRUE(decode::result_code(-999).meaning.empty());
    EXPECT_EQ(as_text("code", "-2").text, "No card");
    EXPECT_EQ(as_text("code", " -120\n").text, "No ARQC before the issuer's answer");
    EXPECT_TRUE(decode::has_problems(as_text("code", "-999")));
    EXPECT_TRUE(decode::has_problems(as_text("code", "6A82")));
}

TEST(DecodeLookup, KeyLettersAreTheLibrarysOwn) {
    const auto check = [](std::span<const QuorrinKeyRow> rows) {
        for (const QuorrinKeyRow& row : rows) {
            const std::string value = row.hexFlag == 1 ? "0000" : "AAAA";
            const decode::Node node =
                as_text("keyed-text", std::string(1, row.key) + "004" + value);
            EXPECT_EQ(node.children[0].tag, to_hex({row.tag, row.tagLen})) << row.key;
        }
    };
    check(TagMapPDolTerData);
    check(TagMapgetIccInfo);
}

TEST(DecodeLookup, TagsAreReadAsPeopleWriteThem) {
    EXPECT_EQ(decode::parse_tag("9F10"), 0x9F10u);
    EXPECT_EQ(decode::parse_tag("0x9f10"), 0x9F10u);
    EXPECT_EQ(decode::parse_tag("5A"), 0x5Au);
    EXPECT_EQ(decode::parse_tag("DF8129"), 0xDF8129u);
    for (const char* text : {"", "9F", "9", "5A5A", "9F1", "9F8", "XY", "9F10 ", "0x", "DF81"}) {
        EXPECT_EQ(decode::parse_tag(text), std::nullopt) << text;
    }
}

TEST(DecodeLookup, ResponseCodesHaveTheirMeaning) {
    EXPECT_EQ(decode::response_code_meaning("51"), "Not sufficient funds");
    EXPECT_EQ(decode::response_code_meaning("Z3"), "Unable to go online, offline declined");
    EXPECT_EQ(decode::response_code_meaning("7Q"), "");
    EXPECT_EQ(decode::response_code_meaning(""), "");
}

TEST(DecodeLookup, SecretsAreKnownByTheirTag) {
    EXPECT_EQ(decode::secret_of(0x5A), decode::Secret::AccountNumber);
    EXPECT_EQ(decode::secret_of(0x57), decode::Secret::Track);
    EXPECT_EQ(decode::secret_of(0x5F20), decode::Secret::Name);
    EXPECT_EQ(decode::secret_of(0x9F61), decode::Secret::Paper);
    EXPECT_EQ(decode::secret_of(0x9F61, decode::Kernel::C2), decode::Secret::None);
    EXPECT_EQ(decode::secret_of(0x9F6B), decode::Secret::None);
    EXPECT_EQ(decode::secret_of(0x9F6B, decode::Kernel::C2), decode::Secret::Track);
    EXPECT_EQ(decode::secret_of(0x9F36), decode::Secret::None);
}

struct InputCase {
    const char* text;
    const char* bytes;
};

TEST(DecodeInput, HexIsReadAsPeopleWriteIt) {
    const InputCase cases[] = {
        {"9F36020001", "9F36020001"},           {"9f 36 02 00 01", "9F36020001"},
        {"9F36\n02\r\n\t0001\n", "9F36020001"}, {"0x9F 0x36 0x02 0x00 0x01", "9F36020001"},
        {"0x9F36020001", "9F36020001"},         {"0x9F,0x36,0x02,0x00,0x01", "9F36020001"},
        {"9F:36:02:00:01", "9F36020001"},       {"", ""},
    };
    for (const InputCase& each : cases) {
        const decode::Input input = decode::read_hex(each.text);
        EXPECT_EQ(input.error, "") << each.text;
        EXPECT_EQ(to_hex(input.bytes), each.bytes) << each.text;
    }
    EXPECT_EQ(decode::read_hex("9F3").error, "an odd number of hex digits");
    EXPECT_EQ(decode::read_hex("9FXX").error, "no hex digit at character 3");
    EXPECT_EQ(decode::read_hex("0").error, "an odd number of hex digits");
}

TEST(DecodeInput, Base64IsReadInBothAlphabets) {
    EXPECT_EQ(to_hex(decode::read_base64("nzYCAAE=").bytes), "9F36020001");
    EXPECT_EQ(to_hex(decode::read_base64("nzYC\nAAE").bytes), "9F36020001");
    EXPECT_EQ(to_hex(decode::read_base64("+/+/").bytes), "FBFFBF");
    EXPECT_EQ(to_hex(decode::read_base64("-_-_").bytes), "FBFFBF");
    for (const char* text : {"n", "nzY==", "n=YC", "nzYCAAF=", "nz%C"}) {
        EXPECT_NE(decode::read_base64(text).error, "") << text;
    }
}

TEST(DecodeInput, WhatTheInputWasIsTold) {
    EXPECT_EQ(decode::read_any("9F36020001").encoding, decode::Encoding::Hex);
    EXPECT_EQ(decode::read_any("nzYCAAE=").encoding, decode::Encoding::Base64);
    EXPECT_EQ(decode::read_any("\x9F\x36\x02\x01\x02").encoding, decode::Encoding::Binary);
    EXPECT_EQ(to_hex(decode::read_any("\x9F\x36\x02\x01\x02").bytes), "9F36020102");
    EXPECT_EQ(decode::read_any("not hex!").error, "no hex digit at character 1");
    for (const char* text : {"9F36020", "9f 36 02 0", "0x9F,0x3"}) {
        const decode::Input input = decode::read_any(text);
        EXPECT_EQ(input.error, "an odd number of hex digits") << text;
        EXPECT_EQ(input.encoding, decode::Encoding::Hex) << text;
    }
}

}  // namespace
}  // namespace quorrin::test
