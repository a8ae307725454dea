// Every walk over data from a card, a bank or a host ends, whatever the data. Tags count their length
// in 8 bits, so those of 256 and 512 bytes count as none at all; one that does not end has no size to
// step over.

#include <sys/time.h>

#include "tests/tlv/issuer/issuer_script_fixture.hpp"

namespace quorrin::test {
namespace {

constexpr std::size_t tag_sizes[] = {1,   2,   253, 254, 255, 256, 257,
                                     258, 509, 510, 511, 512, 513, 514};
constexpr std::uint8_t long_tag_beginnings[] = {0x1F, 0x3F, 0x5F, 0x7F, 0x9F, 0xBF, 0xDF, 0xFF};

class LongTags : public IssuerScriptTest {
  protected:
    // A walk that stands still ends the test program instead of waiting for ever.
    static constexpr int seconds_for_each_test = 30;
    static void limit_processor_time(int seconds) {
        const itimerval limit{{}, {seconds, 0}};
        setitimer(ITIMER_VIRTUAL, &limit, nullptr);
    }

    LongTags() {
        gucGetArqcFlag = 1;
        gucAidListLen = 0;
        gucAidNum = 0;
        limit_processor_time(seconds_for_each_test);
    }
    ~LongTags() override {
        limit_processor_time(0);
        gucGetArqcFlag = 0;
    }

    // Hands the data to every walk of the library, from a buffer of their exact size.
    void walk_everywhere(const ByteString& data) {
        GuardedBuffer exact(data.size());
        std::ranges::copy(data, exact.data());
        const std::uint8_t* bytes = exact.data();
        const auto size = static_cast<std::uint16_t>(data.size());
        const auto size8 = static_cast<std::uint8_t>(data.size());
        std::uint16_t length = 0;
        std::uint32_t text_length = 0;
        const std::uint8_t wanted[] = {0x9F, 0x02};

        emvExtractDataElement(bytes, size);
        emvExtractDataTemplate(wanted, 1, bytes, size);
        emvCheckTLVString(bytes, size);
        tlvGetTLVDataInString(bytes, size, wanted, 2, out_.data(), &length);
        tlvGetTLVDataInString(bytes, std::min<std::uint16_t>(size, 256), wanted, 2, out_.data(),
                              &length);
        if (size <= longest_list) {
            dolPaddingDOL(out_.data(), &length, bytes, size);
            dolPaddingPdol(out_.data(), &length, bytes, size);
        }
        dolCheckTagInDol(wanted, 2, bytes, size8);
        emvExtractIssuerData(bytes, size);
        emvScriptProcess(1);
        emvScriptProcess(2);
        emvCheckIssuerScript(bytes, size);
        emvIssuerCommandProcess(bytes, size);
        emvProcessSFIofDDF(bytes, size);
        qPBOCProcessDDF(bytes, size);
        emvExtractAipAfl(bytes, size);
        PackTrsData(bytes, size, bytes, size, reinterpret_cast<char*>(out_.data()), &text_length);
        if (size <= 512) {
            ARPCExeScript(ReaderHandle, 0, to_hex(data).c_str());
        }
    }

    // The same inside the templates that walks look into.
    void walk_in_templates(const ByteString& data) {
        walk_everywhere(data);
        for (const char* beginning :
             {"70", "6F", "6F 84 01 A0 A5", "61", "71", "72", "80", "83", "86", "9F4F", "BF0C"}) {
            const ByteString before = card_bytes(beginning);
            const auto high = static_cast<std::uint8_t>(data.size() >> 8);
            const auto low = static_cast<std::uint8_t>(data.size());
            walk_everywhere(join(before, ByteString{0x82, high, low}, data));
            walk_everywhere(join(before, ByteString{0x81, low}, data));
        }
        // The directory's FCI, whose inner walks step over what is malformed.
        const auto framed = [](const char* tag, const ByteString& value) {
            const auto high = static_cast<std::uint8_t>(value.size() >> 8);
            const auto low = static_cast<std::uint8_t>(value.size());
            return join(card_bytes(tag), ByteString{0x82, high, low}, value);
        };
        const ByteString entries = framed("BF0C", join(card_bytes("61[4F[A0]]"), data));
        walk_everywhere(framed("6F", join(card_bytes("84[A0]"), framed("A5", entries))));
        walk_everywhere(framed("6F", join(card_bytes("84[A0]"), framed("A5", data), entries)));
    }

  private:
    // An entry of a list takes four bytes or more and has up to 64 KiB of data.
    static constexpr std::size_t longest_list = 520;
    std::vector<std::uint8_t> out_ = filled(longest_list / 4 * 0x10000, 0);
};

TEST_F(LongTags, EveryWalkEndsOnATagThatDoesNotEnd) {
    for (const std::uint8_t first : long_tag_beginnings) {
        for (const std::uint8_t following : std::to_array<std::uint8_t>({0x81, 0xFF, 0x9F, 0xBF})) {
            for (const std::size_t size : tag_sizes) {
                SCOPED_TRACE(testing::Message() << +first << " and " << +following << ", " << size);
                ByteString data = filled(size, following);
                data[0] = first;
                walk_in_templates(data);
                walk_everywhere(join(card_bytes("8A[3030]"), data));
                walk_everywhere(join(data, ByteString{0x80}));
            }
        }
    }
}

TEST_F(LongTags, EveryWalkEndsBehindALongTag) {
    for (const std::uint8_t first : long_tag_beginnings) {
        for (const std::size_t size : tag_sizes) {
            SCOPED_TRACE(testing::Message() << +first << ", " << size);
            ByteString tag = filled(size, 0x81);
            tag.front() = first;
            tag.back() = 0x01;
            walk_in_templates(tag);
            walk_in_templates(join(tag, card_bytes("03 010203 8A[3030]")));
        }
    }
}

TEST_F(LongTags, EveryWalkEndsOnASingleByteRepeated) {
    for (int byte = 0; byte <= 0xFF; ++byte) {
        SCOPED_TRACE(byte);
        const auto value = static_cast<std::uint8_t>(byte);
        walk_everywhere(filled(512, value));
        for (const std::size_t size : tag_sizes) {
            walk_everywhere(filled(size, value));
        }
    }
}

TEST_F(LongTags, IssuerDataBeforeATagThatDoesNotEndCount) {
    for (const std::size_t size : {255u, 256u, 257u, 400u}) {
        emvClrIccAndTermData();
        const ByteString answer = join(
            card_bytes("8A[3030] 91[0102030405060708] 71[86[00DA000000]]"), filled(size, 0x9F));
        EXPECT_EQ(extract_bytes(answer), 0) << size;
        EXPECT_EQ(element("8A"), "3030") << size;
        EXPECT_EQ(element("91"), "0102030405060708") << size;
        EXPECT_TRUE(script_area_holds(hex("01 09 71078605 00DA000000 00"))) << size;
    }
}

TEST_F(LongTags, TheIssuersAnswerComesToItsEnd) {
    for (const std::uint8_t byte : std::to_array<std::uint8_t>({0xFF, 0x9F, 0x1F, 0xBF})) {
        for (const std::size_t size : {256u, 512u}) {
            EXPECT_EQ(ARPCExeScript(ReaderHandle, 0, to_hex(filled(size, byte)).c_str()), 0);
        }
    }
}

TEST_F(LongTags, ADirectoryEntryBeforeATagThatDoesNotEndCounts) {
    const ByteString endless = filled(256, 0x9F);
    const ByteString contents = join(card_bytes("61[4F[A000000333]]"), endless);
    EXPECT_EQ(emvProcessSFIofDDF(contents.data(), static_cast<std::uint16_t>(contents.size())),
              QUORRIN_DATA_MALFORMED);
    EXPECT_EQ(std::string(gucAidList, gucAidListLen), "A000000333");
}

}  // namespace
}  // namespace quorrin::test
