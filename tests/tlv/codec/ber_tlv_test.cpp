// Tags, length fields and objects (EMV book 3, annex B): results and every out value.

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

// The out values start as these, so that an untouched one shows.
constexpr std::uint8_t old8 = 0x77;
constexpr std::uint16_t old16 = 0x7777;

ByteString tag_bytes(std::uint8_t first, std::size_t middle, std::uint8_t last) {
    return join(filled(1, first), filled(middle, 0x81), filled(1, last));
}

struct TagResult {
    int result;
    int length;
    bool operator==(const TagResult&) const = default;
};
std::ostream& operator<<(std::ostream& out, const TagResult& tag) {
    return out << "result " << tag.result << ", length " << tag.length;
}

TagResult read_tag(const ByteString& data) {
    const ExactBytes bytes(data);
    std::uint8_t length = old8;
    const int result = tlvGetTag(bytes.data(), bytes.size16(), &length);
    return {result, length};
}

TEST(Tag, ResultAndLength) {
    const struct {
        const char* data;
        TagResult expected;
    } cases[] = {
        {"", {-31, old8}},      {"5A", {0, 1}},       {"5A 08 62", {0, 1}}, {"00", {0, 1}},
        {"70", {1, 1}},         {"20", {1, 1}},       {"9E", {0, 1}},       {"BE", {1, 1}},
        {"9F02", {0, 2}},       {"9F02 06", {0, 2}},  {"BF0C", {1, 2}},     {"1F01", {0, 2}},
        {"3F7F", {1, 2}},       {"FF01", {1, 2}},     {"9F8101", {0, 3}},   {"7F8101", {1, 3}},
        {"DFFFFFFF01", {0, 5}}, {"9F", {-30, 1}},     {"BF", {-30, 1}},     {"FF", {-30, 1}},
        {"9F81", {-30, 2}},     {"9F8181", {-30, 3}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read_tag(hex(c.data)), c.expected) << c.data;
    }
}

TEST(Tag, DeliberatelyRefusesALaterByteOf00Or80WhateverItsPlace) {
    EXPECT_EQ(read_tag(hex("9F00")), (TagResult{-30, 2}));
    EXPECT_EQ(read_tag(hex("5F80")), (TagResult{-30, 2}));
    EXPECT_EQ(read_tag(hex("9F00 01 00")), (TagResult{-30, 2}));
    EXPECT_EQ(read_tag(hex("9F80 01")), (TagResult{-30, 2}));
    EXPECT_EQ(read_tag(hex("9F8100")), (TagResult{-30, 3}));
    EXPECT_EQ(read_tag(hex("9F8180 01")), (TagResult{-30, 3}));
    EXPECT_EQ(read_tag(hex("9F81818100 01")), (TagResult{-30, 5}));
}

TEST(Tag, MayBeAsLongAsTheData) {
    EXPECT_EQ(read_tag(tag_bytes(0x9F, 253, 0x01)), (TagResult{0, 255}));
    EXPECT_EQ(read_tag(tag_bytes(0xBF, 100, 0x01)), (TagResult{1, 102}));
    EXPECT_EQ(read_tag(filled(200, 0xFF)), (TagResult{-30, 200}));
    EXPECT_EQ(read_tag(filled(255, 0xFF)), (TagResult{-30, 255}));
}

TEST(Tag, LengthDeliberatelyCountsInEightBits) {
    EXPECT_EQ(read_tag(tag_bytes(0x9F, 254, 0x01)), (TagResult{0, 0}));
    EXPECT_EQ(read_tag(tag_bytes(0x9F, 256, 0x01)), (TagResult{0, 2}));
    EXPECT_EQ(read_tag(filled(0xFFFF, 0xFF)), (TagResult{-30, 255}));
}

struct LengthResult {
    int result;
    int size;
    int value;
    bool operator==(const LengthResult&) const = default;
};
std::ostream& operator<<(std::ostream& out, const LengthResult& length) {
    return out << "result " << length.result << ", size " << length.size << ", value "
               << length.value;
}

LengthResult read_length(const ByteString& data) {
    const ExactBytes bytes(data);
    std::uint8_t size = old8;
    std::uint16_t value = old16;
    const int result = tlvGetLengthValue(bytes.data(), bytes.size16(), &size, &value);
    return {result, size, value};
}

std::pair<int, int> read_length_size(const ByteString& data) {
    const ExactBytes bytes(data);
    std::uint8_t size = old8;
    const int result = tlvGetLength(bytes.data(), bytes.size16(), &size);
    return {result, size};
}

TEST(LengthField, SizeAlone) {
    const struct {
        const char* data;
        std::pair<int, int> expected;
    } cases[] = {
        {"", {-31, old8}},     {"00", {0, 1}},
        {"7F", {0, 1}},  // the value is not looked at
        {"80", {-30, old8}},   {"80 00 00", {-30, old8}},
        {"81", {-30, 2}},      {"81 05", {0, 2}},
        {"82 01", {-30, 3}},   {"82 0100", {0, 3}},
        {"83 000001", {0, 4}}, {"84 00000001", {0, 5}},
        {"83 0001", {-30, 4}}, {"FF", {-30, 128}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read_length_size(hex(c.data)), c.expected) << c.data;
    }
    EXPECT_EQ(read_length_size(filled(127, 0xFF)), std::pair(-30, 128));
    EXPECT_EQ(read_length_size(filled(128, 0xFF)), std::pair(0, 128));
}

TEST(LengthField, SizeAndValue) {
    const struct {
        const char* data;
        LengthResult expected;
    } cases[] = {
        {"", {-31, old8, 0}},
        {"00", {0, 1, 0}},
        {"01 AA", {0, 1, 1}},
        {"01", {-29, 1, 1}},
        {"7F", {-29, 1, 127}},
        {"80", {-30, old8, 0}},
        {"80 01 02", {-30, old8, 0}},
        {"81", {-30, 2, 0}},
        {"81 00", {0, 2, 0}},
        {"81 02 AABB", {0, 2, 2}},
        {"81 02 AA", {-29, 2, 2}},
        {"82 01", {-30, 3, 0}},
        {"82 0100", {-29, 3, 256}},
        {"82 0001 AA", {0, 3, 1}},
        {"82 FFFF", {-29, 3, 0xFFFF}},
        {"83 000100", {-29, 4, 0x0100}},
        {"83 00 01 00", {-29, 4, 0x0100}},
        {"84 00000002 AABB", {0, 5, 2}},
        {"83 0001", {-30, 4, 0}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read_length(hex(c.data)), c.expected) << c.data;
    }
}

TEST(LengthField, OnlyTheLastTwoBytesDeliberatelyCount) {
    EXPECT_EQ(read_length(hex("83 010001 AA")), (LengthResult{0, 4, 1}));
    EXPECT_EQ(read_length(hex("84 FFFF0000")), (LengthResult{0, 5, 0}));
    EXPECT_EQ(read_length(join(hex("83 000100"), filled(256, 1))), (LengthResult{0, 4, 256}));
    EXPECT_EQ(read_length(join(hex("83 000100"), filled(255, 1))), (LengthResult{-29, 4, 256}));
    EXPECT_EQ(read_length(join(hex("FF"), filled(125, 0x55), hex("0001 AA"))),
              (LengthResult{0, 128, 1}));
}

TEST(LengthField, SumsDoNotWrap) {
    EXPECT_EQ(read_length(join(hex("82 FFFF"), filled(10, 1))), (LengthResult{-29, 3, 0xFFFF}));
    EXPECT_EQ(read_length(join(hex("82 FFFC"), filled(0xFFFC, 1))), (LengthResult{0, 3, 0xFFFC}));
    EXPECT_EQ(read_length(join(hex("82 FFFD"), filled(0xFFFC, 1))), (LengthResult{-29, 3, 0xFFFD}));
}

struct ObjectResult {
    int result;
    int tag;
    int length;
    int value;
    bool operator==(const ObjectResult&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ObjectResult& object) {
    return out << "result " << object.result << ", tag " << object.tag << ", length field "
               << object.length << ", value " << object.value;
}

ObjectResult read_object(const ByteString& data) {
    const ExactBytes bytes(data);
    std::uint8_t tag = old8;
    std::uint8_t length = old8;
    std::uint16_t value = old16;
    const int result = tlvGetTLV(bytes.data(), bytes.size16(), &tag, &length, &value);
    return {result, tag, length, value};
}

TEST(Object, ResultAndSizes) {
    const struct {
        const char* data;
        ObjectResult expected;
    } cases[] = {
        {"", {-32, 0, 0, 0}},
        {"5A 02 6200", {0, 1, 1, 2}},
        {"5A 00", {0, 1, 1, 0}},
        {"9F02 02 0100 FF", {0, 2, 1, 2}},
        {"70 02 8F00", {1, 1, 1, 2}},
        {"BF0C 81 01 00", {1, 2, 2, 1}},
        {"9F8101 82 0001 AA", {0, 3, 3, 1}},
        {"9F", {-31, 1, 0, 0}},
        {"9F00 01 00", {-31, 2, 0, 0}},
        {"9F8180 01", {-31, 3, 0, 0}},
        {"5A", {-30, 1, 0, 0}},  // no length byte
        {"9F02", {-30, 2, 0, 0}},
        {"5A 80 00", {-30, 1, 0, 0}},
        {"5A 81", {-30, 1, 2, 0}},
        {"5A 03 6200", {-30, 1, 1, 3}},
        {"70 82 0100 00", {-30, 1, 3, 256}},
        {"00 01 AA", {0, 1, 1, 1}},  // no padding is skipped here
        {"FF 01 01 AA", {1, 2, 1, 1}},
        {"00", {-30, 1, 0, 0}},
        {"FF FF", {-31, 2, 0, 0}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read_object(hex(c.data)), c.expected) << c.data;
    }
}

TEST(Object, MayFillTheWholeData) {
    EXPECT_EQ(read_object(join(hex("5F20 82 FFFA"), filled(0xFFFA, 1))),
              (ObjectResult{0, 2, 3, 0xFFFA}));
    EXPECT_EQ(read_object(join(hex("5F20 82 FFFB"), filled(0xFFFA, 1))),
              (ObjectResult{-30, 2, 3, 0xFFFB}));
    EXPECT_EQ(read_object(join(hex("5F20 82 FFFF"), filled(3, 1))),
              (ObjectResult{-30, 2, 3, 0xFFFF}));
}

TEST(Codec, RefusesNullPointers) {
    std::uint8_t tag = old8;
    std::uint8_t size = old8;
    std::uint16_t value = old16;
    EXPECT_EQ(tlvGetTag(nullptr, 5, &tag), -31);
    EXPECT_EQ(tlvGetLength(nullptr, 5, &size), -31);
    EXPECT_EQ(tlvGetLengthValue(nullptr, 5, &size, &value), -31);
    EXPECT_EQ(tlvGetTLV(nullptr, 5, &tag, &size, &value), -32);
    const ByteString object = hex("5A 01 62");
    EXPECT_EQ(tlvGetTag(object.data(), 3, nullptr), 0);
    EXPECT_EQ(tlvGetLength(object.data() + 1, 2, nullptr), 0);
    EXPECT_EQ(tlvGetLengthValue(object.data() + 1, 2, nullptr, nullptr), 0);
    EXPECT_EQ(tlvGetTLV(object.data(), 3, nullptr, nullptr, nullptr), 0);
}

}  // namespace
}  // namespace quorrin::test
