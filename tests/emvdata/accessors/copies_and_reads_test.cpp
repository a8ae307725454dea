// Accessors that hand out a copy of an element with its length: copies, which ask for presence, and
// reads, which do not.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

class CopiesAndReads : public AccessorTest {};

struct Copy {
    const char* name;
    std::int32_t (*accessor)(std::uint8_t* out, std::uint8_t* outLen);
    const char* tag;
    std::uint16_t shortest;
    std::uint16_t longest;
    std::int32_t result;  // of a delivery
};

constexpr Copy copies[] = {
    {"emvGetIssPkCert", emvGetIssPkCert, "90", 1, 248, 1},
    {"emvGetIssPkExp", emvGetIssPkExp, "9F32", 1, 3, 1},
    {"emvGetIssPkRmd", emvGetIssPkRmd, "92", 1, 36, 1},
    {"emvGetSignStaticData", emvGetSignStaticData, "93", 1, 248, 1},
    {"emvGetSDATagList", emvGetSDATagList, "9F4A", 1, 256, 1},
    {"emvGetIccPkCert", emvGetIccPkCert, "9F46", 1, 248, 1},
    {"emvGetIccPkExp", emvGetIccPkExp, "9F47", 1, 3, 1},
    {"emvGetIccPkRmd", emvGetIccPkRmd, "9F48", 1, 42, 1},
    {"emvGetPinEnPkCert", emvGetPinEnPkCert, "9F2D", 1, 248, 1},
    {"emvGetPinEnPkExp", emvGetPinEnPkExp, "9F2E", 1, 3, 1},
    {"emvGetPinEnPkRmd", emvGetPinEnPkRmd, "9F2F", 1, 42, 1},
};

constexpr Copy reads[] = {
    {"emvGetRandom", emvGetRandom, "9F37", 4, 4, 2},
    {"emvGetTransTime", emvGetTransTime, "9F21", 3, 3, 2},
    {"emvGetIssAppData", emvGetIssAppData, "9F10", 1, 32, 1},
    {"emvGetPreferLang", emvGetPreferLang, "5F2D", 2, 8, 1},
    {"emvGetCardHolderCert", emvGetCardHolderCert, "9F61", 1, 40, 1},
    {"emvGetCardHolderCertType", emvGetCardHolderCertType, "9F62", 1, 1, 1},
};

void expect_delivery(const Copy& copy, std::uint16_t length) {
    SCOPED_TRACE(std::string(copy.name) + " of " + std::to_string(length));
    const ByteString value = pattern(length, 0x31);
    put(copy.tag, value);
    GuardedBuffer out(copy.longest);
    GuardedBuffer out_length(1);
    EXPECT_EQ(copy.accessor(out.data(), out_length.data()), copy.result);
    EXPECT_TRUE(out.holds(value));
    EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(length)}));
}

TEST_F(CopiesAndReads, DeliverTheWholeValueAndItsLength) {
    for (const auto& family : {std::span<const Copy>(copies), std::span<const Copy>(reads)}) {
        for (const Copy& copy : family) {
            expect_delivery(copy, copy.longest);
            expect_delivery(copy, copy.shortest);
        }
    }
}

TEST_F(CopiesAndReads, CopiesOfAnAbsentElementWriteNothing) {
    for (const Copy& copy : copies) {
        put(copy.tag, pattern(copy.longest));
        set_state_of(copy.tag, 0);
        GuardedBuffer out(copy.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(copy.accessor(out.data(), out_length.data()), 0) << copy.name;
        EXPECT_TRUE(out.untouched()) << copy.name;
        EXPECT_TRUE(out_length.untouched()) << copy.name;
        EXPECT_EQ(copy.accessor(nullptr, nullptr), 0) << copy.name;
    }
}

TEST_F(CopiesAndReads, CopiesTellAnyOtherStateAsItStands) {
    for (const Copy& copy : copies) {
        put(copy.tag, pattern(copy.longest));
        row(copy.tag).state = 2;
        GuardedBuffer out(copy.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(copy.accessor(out.data(), out_length.data()), 2) << copy.name;
        EXPECT_TRUE(out.untouched()) << copy.name;
        EXPECT_TRUE(out_length.untouched()) << copy.name;
    }
}

TEST_F(CopiesAndReads, ReadsOfAnAbsentElementTellItsTableAndLengthZero) {
    for (const Copy& read : reads) {
        GuardedBuffer out(read.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(read.accessor(out.data(), out_length.data()), read.result) << read.name;
        EXPECT_TRUE(out.untouched()) << read.name;
        EXPECT_TRUE(out_length.holds({0})) << read.name;
    }
}

TEST_F(CopiesAndReads, DeliberatelyReadsDoNotAskForPresence) {
    for (const Copy& read : reads) {
        const ByteString value = pattern(read.longest);
        put(read.tag, value);
        set_state_of(read.tag, 0);
        GuardedBuffer out(read.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(read.accessor(out.data(), out_length.data()), read.result) << read.name;
        EXPECT_TRUE(out.holds(value)) << read.name;
        EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(read.longest)})) << read.name;
    }
}

TEST_F(CopiesAndReads, RefuseNullPointers) {
    for (const auto& family : {std::span<const Copy>(copies), std::span<const Copy>(reads)}) {
        for (const Copy& copy : family) {
            put(copy.tag, pattern(copy.longest));
            GuardedBuffer out(copy.longest);
            GuardedBuffer out_length(1);
            EXPECT_EQ(copy.accessor(nullptr, out_length.data()), 49) << copy.name;
            EXPECT_EQ(copy.accessor(out.data(), nullptr), 49) << copy.name;
            EXPECT_TRUE(out.untouched()) << copy.name;
            EXPECT_TRUE(out_length.untouched()) << copy.name;
        }
    }
}

TEST_F(CopiesAndReads, EndWithTheStorageWhateverLengthTheHostHasSet) {
    for (const auto& family : {std::span<const Copy>(copies), std::span<const Copy>(reads)}) {
        for (const Copy& copy : family) {
            // The cardholder ID number has one byte of storage more than it accepts.
            const std::size_t storage = copy.tag == std::string_view("9F61") ? 41 : copy.longest;
            const ByteString value = pattern(copy.longest);
            put(copy.tag, value);
            set_length_of(copy.tag, 0xFFFF, Current);
            GuardedBuffer out(storage);
            GuardedBuffer out_length(1);
            EXPECT_EQ(copy.accessor(out.data(), out_length.data()), copy.result) << copy.name;
            EXPECT_EQ(out.first(copy.longest), value) << copy.name;
            EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(storage)})) << copy.name;
        }
    }
}

TEST_F(CopiesAndReads, OfAStoreThatWasNeverResetAreZeros) {
    for (const auto& family : {std::span<const Copy>(copies), std::span<const Copy>(reads)}) {
        for (const Copy& copy : family) {
            put(copy.tag, pattern(copy.longest));
            row(copy.tag).value = nullptr;
            GuardedBuffer out(copy.longest);
            GuardedBuffer out_length(1);
            EXPECT_EQ(copy.accessor(out.data(), out_length.data()), copy.result) << copy.name;
            EXPECT_TRUE(out.holds(filled(copy.longest, 0x00))) << copy.name;
            EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(copy.longest)})) << copy.name;
        }
    }
}

TEST_F(CopiesAndReads, CopiesOfAPresentElementAnswerOneWhateverTheStoreSays) {
    for (const Copy& copy : copies) {
        put(copy.tag, pattern(copy.shortest));
        row(copy.tag).format = 9;
        GuardedBuffer out(copy.longest);
        GuardedBuffer out_length(1);
        EXPECT_EQ(copy.accessor(out.data(), out_length.data()), 1) << copy.name;
        EXPECT_TRUE(out.untouched()) << copy.name;
        EXPECT_TRUE(out_length.holds({static_cast<std::uint8_t>(copy.shortest)})) << copy.name;
    }
}

TEST_F(CopiesAndReads, DeliberatelyALengthOf256ShowsAsZero) {
    put("9F4A", pattern(256));
    GuardedBuffer out(256);
    GuardedBuffer out_length(1);
    EXPECT_EQ(emvGetSDATagList(out.data(), out_length.data()), 1);
    EXPECT_TRUE(out.holds(pattern(256)));
    EXPECT_TRUE(out_length.holds({0}));
}

}  // namespace
}  // namespace quorrin::test
