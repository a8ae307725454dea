// Data objects, whole and broken: what is told, and where it went wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "decode/render.hpp"
#include "tests/decode/tree_reading.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string text_of(std::string_view digits) {
    return decode::to_text(decode::tlv(hex(digits)));
}

TEST(DecodeTlv, TemplatesAreOpened) {
    EXPECT_EQ(text_of("6F1B 8408A000000333010101 A50F 500A50424F43204445424954 870101"),
              "6F FCI template\n"
              "  84 Dedicated file name: UnionPay debit (A000000333010101)\n"
              "  A5 FCI proprietary template\n"
              "    50 Application label: \"PBOC DEBIT\"\n"
              "    87 Application priority indicator: priority 1 (01)\n");
}

TEST(DecodeTlv, DirectoryOfAContactlessCard) {
    EXPECT_EQ(text_of("6F32 840E325041592E5359532E4444463031 A520 BF0C1D 611B"
                      "4F07A0000000031010 500456495341 870101 9F2A0103 42 03 400000"),
              "6F FCI template\n"
              "  84 Dedicated file name: proximity payment system environment (2PAY.SYS.DDF01)\n"
              "  A5 FCI proprietary template\n"
              "    BF0C FCI issuer discretionary data\n"
              "      61 Application template\n"
              "        4F Application identifier (ADF name): Visa credit or debit "
              "(A0000000031010)\n"
              "        50 Application label: \"VISA\"\n"
              "        87 Application priority indicator: priority 1 (01)\n"
              "        9F2A Kernel identifier: international, kernel C-3 (03)\n"
              "        42 Issuer identification number: 400000\n");
}

TEST(DecodeTlv, PaddingIsShownAsPadding) {
    EXPECT_EQ(text_of("0000 9F36020001 FF00FF 70069F3602000100 FFFF"),
              "Padding: 2 bytes (0000)\n"
              "9F36 Application transaction counter (ATC): 1 (0001)\n"
              "Padding: 3 bytes (FF00FF)\n"
              "70 READ RECORD response template\n"
              "  9F36 Application transaction counter (ATC): 1 (0001)\n"
              "  Padding: 1 byte (00)\n"
              "Padding: 2 bytes (FFFF)\n");
    EXPECT_FALSE(decode::has_problems(decode::tlv(hex("00"))));
}

TEST(DecodeTlv, AByteFFBeforeAnObjectIsPadding) {
    EXPECT_EQ(text_of("FF 5F2403 301231"),
              "Padding: 1 byte (FF)\n"
              "5F24 Application expiration date: 2030-12-31\n");
}

TEST(DecodeTlv, TemplatesWhoseTagBeginsWithFFAreOpened) {
    EXPECT_EQ(text_of("FF810507 9F36020001 0000"),
              "FF8105 Data record\n"
              "  9F36 Application transaction counter (ATC): 1 (0001)\n"
              "  Padding: 2 bytes (0000)\n");
    const decode::Node unknown = decode::tlv(hex("FF2005 9F36020001"));
    EXPECT_EQ(unknown.children[0].tag, "FF20");
    EXPECT_EQ(unknown.children[0].children[0].tag, "9F36");
}

TEST(DecodeTlv, LongLengthsAreRead) {
    EXPECT_EQ(text_of("5F20 8108 544553542F4F4C44"), "5F20 Cardholder name: \"********\"\n");
    EXPECT_EQ(text_of("9F42 820002 0156"),
              "9F42 Application currency code: CNY, Yuan Renminbi (0156)\n");
    EXPECT_EQ(text_of("9F42 8400000002 0156"),
              "9F42 Application currency code: CNY, Yuan Renminbi (0156)\n");
}

TEST(DecodeTlv, EmptyObjectsAreSaidToBeEmpty) {
    EXPECT_EQ(text_of("5F2D00 7000"),
              "5F2D Language preference: empty\n"
              "70 READ RECORD response template, empty\n");
}

struct BrokenCase {
    const char* digits;
    const char* problem;
};

TEST(DecodeTlv, AFaultIsToldWithItsPlaceAndReason) {
    const BrokenCase cases[] = {
        {"5A", "1: the tag 5A has no length field"},
        {"9F", "1: the tag 9F is not finished: the data end"},
        {"DF81", "2: the tag DF81 is not finished: the data end"},
        {"9F36020001 9F", "6: the tag 9F is not finished: the data end"},
        {"DF8181818101 00", "0: a tag DF818181... of more than four bytes"},
        {"9F3680", "2: the length 80 of 9F36 is the indefinite one, which card data do not have"},
        {"9F3682", "2: the length field of 9F36 is not finished: the data end"},
        {"9F36820001", "2: the length says 1 byte, but only 0 are left"},
        {"9F368500000000020001", "2: the length field of 9F36 says that it has 5 bytes more"},
        {"9F36FF", "2: the length field of 9F36 says that it has 127 bytes more"},
        {"9F360200", "2: the length says 2 bytes, but only 1 is left"},
        {"7007 9F36020001", "1: the length says 7 bytes, but only 5 are left"},
        {"7005 9F36 03 0001", "4: the length says 3 bytes, but only 2 are left"},
    };
    for (const BrokenCase& each : cases) {
        const auto problems = problems_of(decode::tlv(hex(each.digits)));
        ASSERT_FALSE(problems.empty()) << each.digits;
        EXPECT_EQ(problems[0], each.problem) << each.digits;
    }
}

TEST(DecodeTlv, WhatStandsBeforeAFaultIsTold) {
    EXPECT_EQ(text_of("9F36020001 5F24 03 3012"),
              "9F36 Application transaction counter (ATC): 1 (0001)\n"
              "5F24 Application expiration date: 3012\n"
              "  ! offset 7: the length says 3 bytes, but only 2 are left\n"
              "  ! offset 8: has 2 bytes, should have 3\n");
}

TEST(DecodeTlv, AnElementOfAWrongSizeIsTold) {
    EXPECT_THAT(problems_of(decode::tlv(hex("9F0201 05"))),
                ElementsAre("3: has 1 byte, should have 6"));
    EXPECT_THAT(problems_of(decode::tlv(hex("5F2D 01 7A")))[0],
                "3: has 1 byte, should have 2 to 8");
}

TEST(DecodeTlv, UnknownTagsAreToldAndTheRestGoesOn) {
    const decode::Node tree = decode::tlv(hex("DF7F0401020304 9F36020001"));
    EXPECT_EQ(tree.children[0].label, "Unknown element");
    EXPECT_EQ(tree.children[0].value, "01020304");
    EXPECT_EQ(tree.children[1].text, "1");
    EXPECT_THAT(problems_of(tree), ElementsAre("0: the tag DF7F is in no table"));
    EXPECT_EQ(tree.children[0].problems[0].kind, decode::Problem::Kind::Unknown);
}

TEST(DecodeTlv, UnknownTemplatesAreOpenedWhereTheyHoldObjects) {
    const decode::Node tree = decode::tlv(hex("E005 9F36020001 E102 1234"));
    EXPECT_EQ(tree.children[0].children[0].tag, "9F36");
    EXPECT_THAT(tree.children[1].children, IsEmpty());
    EXPECT_EQ(tree.children[1].value, "1234");
}

TEST(DecodeTlv, NestingHasAnEnd) {
    std::vector<std::uint8_t> data;
    for (int level = 60; level > 0; --level) {
        data.insert(data.begin(), {0x70, static_cast<std::uint8_t>(data.size())});
    }
    std::string problems;
    for (const std::string& problem : problems_of(decode::tlv(std::span(data).first(120)))) {
        problems += problem + "\n";
    }
    EXPECT_NE(problems.find("templates nested deeper than any card's"), std::string::npos);
}

ByteString template_of(ByteString tag, const ByteString& value) {
    tag.push_back(0x82);
    tag.push_back(static_cast<std::uint8_t>(value.size() >> 8));
    tag.push_back(static_cast<std::uint8_t>(value.size()));
    tag.insert(tag.end(), value.begin(), value.end());
    return tag;
}

TEST(DecodeTlv, PrivateTemplatesWithinEachOtherAreOpened) {
    EXPECT_EQ(text_of("FF0A09 FF0A06 FF0A03 9F3600"),
              "FF0A Unknown template\n"
              "  ! offset 0: the tag FF0A is in no table\n"
              "  FF0A Unknown template\n"
              "    ! offset 3: the tag FF0A is in no table\n"
              "    FF0A Unknown template\n"
              "      ! offset 6: the tag FF0A is in no table\n"
              "      9F36 Application transaction counter (ATC): empty\n");
}

// Each FF can be padding or begin a template: the ways to read them double with each level.
TEST(DecodeTlv, DataThatCanBeReadInManyWaysAreToldAtOnce) {
    for (const ByteString& innermost : {hex("9F3600"), hex("9F36")}) {
        for (const ByteString& tag : {hex("FF0A"), hex("FF2A")}) {
            ByteString data = innermost;
            for (int level = 0; level < 60; ++level) {
                data = template_of(tag, data);
            }
            EXPECT_TRUE(decode::has_problems(decode::tlv(data)));
        }
    }
}

TEST(DecodeTlv, CommandsWithinCommandsHaveAnEnd) {
    ByteString data;
    for (int level = 0; level < 4000; ++level) {
        const auto size = static_cast<std::uint16_t>(data.size());
        ByteString command = hex("80A80000 00");
        command.push_back(static_cast<std::uint8_t>(size >> 8));
        command.push_back(static_cast<std::uint8_t>(size));
        command.insert(command.end(), data.begin(), data.end());
        data = template_of(hex("86"), command);
    }
    EXPECT_TRUE(decode::has_problems(decode::tlv(data)));
}

TEST(DecodeTlv, NoInputStopsTheDecoder) {
    // Every two bytes, and every end of a real answer.
    for (unsigned first = 0; first < 256; ++first) {
        for (unsigned second = 0; second < 256; ++second) {
            const std::uint8_t data[] = {static_cast<std::uint8_t>(first),
                                         static_cast<std::uint8_t>(second)};
            decode::to_text(decode::tlv(data));
        }
    }
    const ByteString answer =
        hex("6F32840E325041592E5359532E4444463031A520BF0C1D611B4F07A0000000031010"
            "500456495341870101 9F2A01034203400000");
    for (std::size_t size = 0; size <= answer.size(); ++size) {
        const decode::Node tree = decode::tlv(std::span(answer).first(size));
        EXPECT_EQ(decode::has_problems(tree), size != answer.size()) << size;
    }
}

TEST(DecodeTlv, EveryKindOfDataBearsEveryByteAndEveryLength) {
    for (const decode::DataKind& kind : decode::data_kinds()) {
        for (std::size_t size = 0; size < 40; ++size) {
            for (const int byte : {0x00, 0x03, 0x0F, 0x1F, 0x31, 0x3B, 0x71, 0x80, 0x9F, 0xFF}) {
                std::vector<std::uint8_t> data(size, static_cast<std::uint8_t>(byte));
                const decode::Node tree = kind.decode(data, {});
                EXPECT_FALSE(decode::to_text(tree).empty()) << kind.name;
                if (size > 0) {
                    data[0] = 0x07;
                    kind.decode(data, {.list = {0x9F, 0x02, 0x06, 0x9A, 0x03}});
                }
            }
        }
    }
}

TEST(DecodeTlv, EveryElementBearsEveryLength) {
    for (std::uint32_t tag = 0; tag <= 0xFFFF; ++tag) {
        const bool is_tag =
            tag < 0x100 ? decode::parse_tag(
                              tag < 16 ? "" : to_hex(ByteString{static_cast<std::uint8_t>(tag)}))
                              .has_value()
                        : (tag >> 8 & 0x1F) == 0x1F && (tag & 0x80) == 0;
        if (!is_tag) {
            continue;
        }
        for (const std::size_t size : {1u, 5u, 13u, 32u}) {
            for (const int byte : {0x07, 0x99, 0xFF}) {
                decode::element(tag, ByteString(size, static_cast<std::uint8_t>(byte)));
            }
        }
    }
}

TEST(DecodeTlv, AnEmptyInputIsAProblem) {
    EXPECT_THAT(problems_of(decode::tlv({})), ElementsAre("0: there are no data"));
}

}  // namespace
}  // namespace quorrin::test
