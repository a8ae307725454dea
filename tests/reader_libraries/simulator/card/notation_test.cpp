// Bytes and elements as profiles write them.
#include "reader_libraries/simulator/card/element_notation.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/bytes.hpp"

namespace quorrin::test {
namespace {

using simulator::parse_bytes;
using simulator::parse_encoded_element;

TEST(ProfileNotation, JoinsDigitsTextAndRepetitions) {
    EXPECT_EQ(parse_bytes(""), ByteString{});
    EXPECT_EQ(parse_bytes("  0a 0B  "), hex("0A0B"));
    EXPECT_EQ(parse_bytes("9999 D 30 12 F"), hex("9999D3012F"));
    EXPECT_EQ(parse_bytes("01 'A B' 'C'00*3 FF"),
              join(hex("01"), text_bytes("A BC"), hex("000000FF")));
    EXPECT_EQ(parse_bytes("AB*0"), ByteString{});
    EXPECT_EQ(parse_bytes("'5F24'"), text_bytes("5F24"));
}

TEST(ProfileNotation, RefusesWhatIsNoBytes) {
    for (const char* text : {"1", "0G", "1 'A' 2", "'open", "0*3", "0001*3", "00*", "00*x", "00*2x",
                             "00*-1", "00*1025", "00*1000 00*1000"}) {
        EXPECT_THROW(parse_bytes(text), std::invalid_argument) << text;
    }
}

TEST(ProfileNotation, EncodesElements) {
    EXPECT_EQ(parse_encoded_element("5A 1234"), hex("5A021234"));
    EXPECT_EQ(parse_encoded_element(" 9F4E 'AB' "), hex("9F4E024142"));
    EXPECT_EQ(parse_encoded_element("5F2D"), hex("5F2D00"));
    EXPECT_EQ(parse_encoded_element("DF8101 FF"), hex("DF810101FF"));
    EXPECT_EQ(parse_encoded_element("90 AA*127"), join(hex("907F"), filled(127, 0xAA)));
    EXPECT_EQ(parse_encoded_element("90 AA*128"), join(hex("908180"), filled(128, 0xAA)));
    EXPECT_EQ(parse_encoded_element("90 AA*256"), join(hex("90820100"), filled(256, 0xAA)));
    EXPECT_EQ(parse_encoded_element("pad 00 FF"), hex("00FF"));
}

TEST(ProfileNotation, RefusesWhatIsNoTag) {
    for (const char* text : {"", "5 12", "9F", "5A5F 00", "9F8000000001 00", "00 00", "tag 00"}) {
        EXPECT_THROW(parse_encoded_element(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace quorrin::test
