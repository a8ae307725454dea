// Card responses walked into the store.

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

constexpr const char* pan = "6200000000000005";

class ResponseWalk : public StoreTest {
  protected:
    static std::size_t present_elements() {
        const auto present = [](const QuorrinDataElement& element) { return element.state == 1; };
        return static_cast<std::size_t>(std::ranges::count_if(IccDt, present) +
                                        std::ranges::count_if(TermDt, present));
    }
};

TEST_F(ResponseWalk, StoresARecord) {
    EXPECT_EQ(walk("70 17 5A 08 6200000000000005 5F24 03 291231 5F20 04 54455354"), 0);
    EXPECT_EQ(read("5A", 0).bytes, pan);
    EXPECT_EQ(read("5F24", 0).bytes, "291231");
    EXPECT_EQ(read("5F20", 0).bytes, "54455354");
    EXPECT_EQ(present_elements(), 3u);
}

TEST_F(ResponseWalk, StoresAnFciThroughItsTemplates) {
    EXPECT_EQ(walk("6F 2A 84 07 A0000003330101"
                   "A5 1F 50 04 50424F43 87 01 01 9F38 03 9F3704"
                   "BF0C 0D 5F55 02 434E 42 03 620000 9F0D 00 00"),
              0);
    EXPECT_EQ(read("84", 0).bytes, "A0000003330101");
    EXPECT_EQ(read("50", 0).bytes, "50424F43");
    EXPECT_EQ(read("87", 0).bytes, "01");
    EXPECT_EQ(read("9F38", 0).bytes, "9F3704");
    EXPECT_EQ(read("5F55", 0).bytes, "434E");
    EXPECT_EQ(read("42", 0).bytes, "620000");
    EXPECT_EQ(present_elements(), 6u);
    EXPECT_EQ(state_of("6F"), 0);
    EXPECT_EQ(state_of("A5"), 0);
    EXPECT_EQ(state_of("BF0C"), 0);
}

TEST_F(ResponseWalk, AnEmptyResponseIsGood) {
    EXPECT_EQ(walk(""), 0);
    EXPECT_EQ(walk_template("70", ""), 0);
}

TEST_F(ResponseWalk, StoresAFormat1AnswerWhole) {
    EXPECT_EQ(walk("80 06 7C00 08010100"), 0);
    EXPECT_EQ(read("80", 0).bytes, "7C0008010100");
    EXPECT_EQ(present_elements(), 1u);
}

TEST_F(ResponseWalk, StoresAFormat2AnswerElementByElement) {
    EXPECT_EQ(walk("77 0A 82 02 7C00 94 04 08010100"), 0);
    EXPECT_EQ(read("82", 0).bytes, "7C00");
    EXPECT_EQ(read("94", 0).bytes, "08010100");
    EXPECT_EQ(state_of("77"), 0);
}

TEST_F(ResponseWalk, TopLevelElementsNeedNoTemplate) {
    EXPECT_EQ(walk("9F26 08 0102030405060708 5A 08 6200000000000005"), 0);
    EXPECT_EQ(present_elements(), 2u);
}

TEST_F(ResponseWalk, ElementsAreCheckedAgainstTheInnermostTemplateAlone) {
    EXPECT_EQ(walk("70 0C 77 0A 9F27 01 80 82 02 7C00 0000"), 0);
    EXPECT_EQ(read("9F27", 0).bytes, "80");
    EXPECT_EQ(walk("77 06 70 04 9F27 01 80"), -31);
}

TEST_F(ResponseWalk, AfterATemplateTheOuterOneCountsAgain) {
    EXPECT_EQ(walk("77 0D 70 03 8F 01 92 9F27 01 80 82 02 7C00"), 0);
    EXPECT_EQ(present_elements(), 3u);
    EXPECT_EQ(walk("70 09 77 03 8F 01 92 82 02 7C00"), -31);
    EXPECT_EQ(walk("70 03 8F 01 93 9F27 01 40"), 0);
    EXPECT_EQ(read("9F27", 0).bytes, "40");
}

TEST_F(ResponseWalk, DropsWhatAnFciCarriesOutOfPlace) {
    EXPECT_EQ(walk("6F 0A 5A 08 6200000000000005"), 0);
    EXPECT_EQ(walk("A5 05 9F4D 02 0B0A"), 0);
    EXPECT_EQ(walk("BF0C 05 9F4D 02 0B0A"), 0);
    EXPECT_EQ(walk("61 09 73 07 9F26 04 01020304"), 0);
    EXPECT_EQ(state_of("5A"), 0);
    EXPECT_EQ(state_of("9F26"), 0);
    // 9F4D may stand in any one-byte template, and in no two-byte one.
    EXPECT_EQ(read("9F4D", 0).bytes, "0B0A");
    EXPECT_EQ(present_elements(), 1u);
}

TEST_F(ResponseWalk, ARepeatedElementOverwrites) {
    EXPECT_EQ(walk("70 06 8F 01 01 8F 01 02"), 0);
    EXPECT_EQ(read("8F", 0).bytes, "02");
}

TEST_F(ResponseWalk, EmptyObjectsChangeNothing) {
    ASSERT_EQ(store("8F", "92"), 0);
    EXPECT_EQ(walk("6F 00"), 0);
    EXPECT_EQ(walk("70 02 8F 00"), 0);
    EXPECT_EQ(walk("8F 00 70 00"), 0);
    EXPECT_EQ(walk("70 04 7F8101 00"), 0);
    EXPECT_EQ(walk("70 04 9F8101 00"), 0);
    EXPECT_EQ(walk("70 02 9F26 00"), -30);
    EXPECT_EQ(read("8F", 0).bytes, "92");
    EXPECT_EQ(present_elements(), 1u);
}

TEST_F(ResponseWalk, SkipsPaddingByteByByte) {
    EXPECT_EQ(walk("00 FF 00 8F 01 92 FF FF 70 07 00 8F 01 93 FF 00 00 00"), 0);
    EXPECT_EQ(read("8F", 0).bytes, "93");
    EXPECT_EQ(walk("00"), 0);
    EXPECT_EQ(walk("FF FF"), 0);
    EXPECT_EQ(walk_template("70", "00 FF 8F 01 94 00"), 0);
    EXPECT_EQ(read("8F", 0).bytes, "94");
}

TEST_F(ResponseWalk, ACardNeverOverwritesTerminalData) {
    ASSERT_EQ(store("9F1A", "0156"), 0);
    EXPECT_EQ(walk("9F1A 02 0840 70 05 9F1A 02 0840 77 05 9F1A 02 0840"), 0);
    EXPECT_EQ(walk_template("70", "9F1A 02 0840"), 0);
    // Of any length, and in any template.
    EXPECT_EQ(walk("9F1A 01 08 7F8101 05 9F1A 02 0840"), 0);
    EXPECT_EQ(read("9F1A", 0).bytes, "0156");
}

TEST_F(ResponseWalk, ScriptTemplatesAreEnteredLikeOthers) {
    EXPECT_EQ(walk("71 0E 9F18 04 00000001 86 04 84240000"), -30);
    EXPECT_EQ(walk("71 0D 9F18 04 00000001 86 04 84240000 72 03 8F 01 92"), -31);
    EXPECT_EQ(present_elements(), 0u);
    EXPECT_EQ(walk("71 0D 9F18 04 00000001 86 04 84240000 72 09 9F18 04 00000001 0000"), 0);
    EXPECT_EQ(present_elements(), 0u);
}

TEST_F(ResponseWalk, IgnoresUnknownTagsOfOneAndTwoBytes) {
    EXPECT_EQ(walk("70 0B 9F70 02 0102 C1 00 8F 01 92 0000"), 0);
    EXPECT_EQ(read("8F", 0).bytes, "92");
    EXPECT_EQ(walk("C1 01 01 DF7F 01 01"), 0);
}

struct Refused {
    const char* name;
    const char* response;
    int result;
};

class RefusedResponse : public ResponseWalk, public testing::WithParamInterface<Refused> {};

// Each response begins with a good 8F and ends with a good 9F07: the first stays, the last is never
// reached.
TEST_P(RefusedResponse, KeepsWhatCameBeforeTheFault) {
    EXPECT_EQ(walk(join(hex("8F 01 92"), hex(GetParam().response), hex("9F07 02 FF00"))),
              GetParam().result);
    EXPECT_EQ(read("8F", 0).bytes, "92");
    EXPECT_EQ(state_of("9F07"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, RefusedResponse,
    testing::Values(Refused{"WrongLength", "9F26 02 0102", -31},
                    Refused{"ShortDfName", "6F 06 84 04 A0000003", -31},
                    Refused{"WrongTemplate", "70 0B 9F26 08 0102030405060708", -31},
                    Refused{"AipInARecord", "70 04 82 02 7C00", -31},
                    Refused{"AidOutsideADirectory", "70 09 4F 07 A0000003330101", -31},
                    Refused{"ThreeByteTagDeliberatelyNotIgnored", "9F8101 01 00", -31},
                    Refused{"FourByteTagInATemplate", "70 06 DF818101 01 00", -31},
                    Refused{"CardElementInAThreeByteTemplate", "7F8101 03 8F 01 92", -31},
                    Refused{"AnyTemplateElementInAThreeByteTemplate", "7F8101 05 9F45 02 0102",
                            -31},
                    Refused{"UnknownTagInAThreeByteTemplate", "7F8101 03 C1 01 92", -31},
                    Refused{"CardElementInAFiveByteTemplate", "7F81818101 03 8F 01 92", -31},
                    Refused{"ElementOfAnotherTwoByteTemplate", "BF0D 03 8F 01 92", -31},
                    Refused{"TagByteZero", "9F00 01 00", -30},
                    Refused{"LaterTagByteZero", "9F8100 01 00", -30},
                    Refused{"IndefiniteLength", "70 80 8F 01 92 0000", -30},
                    Refused{"LengthBeyondTheData", "70 7F 8F 01 93", -30},
                    Refused{"LongLengthBeyondTheData", "70 82FFFF 8F 01 93", -30},
                    Refused{"InnerLengthBeyondItsTemplate", "70 03 5A 08 62", -30}),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(ResponseWalk, LengthsMayTakeAnyNumberOfBytes) {
    EXPECT_EQ(walk("8F 81 01 92"), 0);
    EXPECT_EQ(walk("8F 83 000001 93"), 0);
    // Only the last two count.
    EXPECT_EQ(walk("8F 84 01020001 94"), 0);
    EXPECT_EQ(read("8F", 0).bytes, "94");
}

TEST_F(ResponseWalk, AnElementFilledByItsTemplateIsGood) {
    EXPECT_EQ(walk("70 81 FF 5F20 81 FB" + std::string(2 * 251, '4')), 0);
    EXPECT_EQ(read("5F20", 0).bytes, std::string(2 * 251, '4'));
}

TEST_F(ResponseWalk, WrongLengthsOfDisplayDataAreToleratedAndSkipped) {
    const struct {
        const char* tag;
        const char* object;
        const char* parent;
    } cases[] = {
        {"9F11", "9F11 02 0101", "A5"},
        {"9F12", "9F12 11 4142434445464748494A4B4C4D4E4F5051", "A5"},
        {"5F2D", "5F2D 09 7A68656E667264657A", "A5"},
        {"5F2D", "5F2D 01 7A", "A5"},
        {"50", "50 11 4142434445464748494A4B4C4D4E4F5051", "61"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(walk(join(hex(c.object), hex("8F 01 92"))), 0) << c.object;
        EXPECT_EQ(walk_template(c.parent, c.object), 0) << c.object;
        EXPECT_EQ(state_of(c.tag), 0) << c.object;
        EXPECT_EQ(state_of("8F"), 1) << c.object;
        emvClrIccAndTermData();
    }
}

TEST_F(ResponseWalk, DisplayDataInAWrongTemplateIsNotTolerated) {
    EXPECT_EQ(walk("70 04 9F11 01 01"), -31);
    EXPECT_EQ(walk("70 06 50 04 50424F43"), -31);
}

TEST_F(ResponseWalk, OtherWrongLengthsAreNotTolerated) {
    const struct {
        const char* description;
        ByteString response;
        int result;
    } cases[] = {
        {"ATC", hex("9F36 01 01"), -31},
        {"last online ATC", hex("9F13 03 010203"), -31},
        {"PIN try counter", hex("9F17 02 0101"), -31},
        {"priority indicator", hex("87 02 0101"), -31},
        {"expiration date", hex("5F24 02 2912"), -31},
        {"AIP behind an unknown tag", hex("5F2F 01 00 82 01 00"), -31},
        {"PDOL of 257 bytes", join(hex("9F38 82 0101"), filled(257, 0x9A)), -31},
        {"PDOL cut short", hex("9F38 82 0101 00"), -30},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(walk(c.response), c.result) << c.description;
        EXPECT_EQ(present_elements(), 0u) << c.description;
    }
    EXPECT_EQ(walk(join(hex("9F38 82 0100"), filled(256, 0x9A))), 0);
    EXPECT_EQ(length_of("9F38"), 256);
}

// A tag of 256 bytes counts as length 0 in 8 bits: its first byte is then the length field, 9F of
// 32 bytes, BF of 64, and 3F the length 63 itself.
class TagOf256Bytes : public ResponseWalk {
  protected:
    static ByteString tag(std::uint8_t first) {
        return join(filled(1, first), filled(254, 0x81), filled(1, 0x01));
    }
    static ByteString without_last_byte(ByteString bytes) {
        bytes.pop_back();
        return bytes;
    }
    static constexpr std::size_t long_value = 0x8181;  // the last two bytes of the length fields
};

TEST_F(TagOf256Bytes, PrimitiveIsDeliberatelyNotIgnored) {
    const ByteString object = join(tag(0x9F), filled(32 + long_value - 256, 0x00));
    EXPECT_EQ(walk(join(hex("8F 01 92"), object, hex("9F07 02 FF00"))), -31);
    EXPECT_EQ(read("8F", 0).bytes, "92");
    EXPECT_EQ(present_elements(), 1u);
    EXPECT_EQ(walk(without_last_byte(object)), -30);
    EXPECT_EQ(walk_template("70", object), -31);
}

TEST_F(TagOf256Bytes, ConstructedIsATemplateWithoutATag) {
    // Its value begins inside the tag, with two terminal elements (81) of 129 bytes; behind them
    // an element that needs no template here.
    ByteString object = join(tag(0xBF), filled(64 + 2 * 132 - 256, 0x00), hex("9F36 02 0102"));
    object.resize(64 + long_value, 0x00);
    EXPECT_EQ(walk(join(object, hex("8F 01 92"))), 0);
    EXPECT_EQ(read("9F36", 0).bytes, "0102");
    EXPECT_EQ(read("8F", 0).bytes, "92");
    EXPECT_EQ(state_of("81"), 0);
    EXPECT_EQ(present_elements(), 2u);
    EXPECT_EQ(walk(without_last_byte(object)), -30);
    // Inside a record the same 9F36 would be misplaced; the record counts again behind the object.
    EXPECT_EQ(walk_template("70", join(object, hex("8F 01 93"))), 0);
    EXPECT_EQ(read("8F", 0).bytes, "93");
    EXPECT_EQ(walk_template("70", join(object, hex("9F36 02 0102"))), -31);
}

TEST_F(TagOf256Bytes, ConstructedMayHoldAShortValueInsideItself) {
    // 63 of the bytes 81 are no whole object.
    EXPECT_EQ(walk(join(tag(0x3F), hex("8F 01 92"))), -30);
    EXPECT_EQ(present_elements(), 0u);
}

class TemplateWalk : public ResponseWalk {};

TEST_F(TemplateWalk, ChecksElementsAgainstItsTemplate) {
    EXPECT_EQ(walk_template("70", "5A 08 6200000000000005 5F34 01 01"), 0);
    EXPECT_EQ(present_elements(), 2u);
    EXPECT_EQ(walk_template("70", "9F27 01 80"), -31);
    EXPECT_EQ(walk_template("77", "9F27 01 80"), 0);
    EXPECT_EQ(walk_template("BF0C", "5F55 02 434E"), 0);
    EXPECT_EQ(walk_template("BF0C", "5A 01 62"), 0);
    EXPECT_EQ(read("5A", 0).bytes, pan);
}

TEST_F(TemplateWalk, WithoutATemplateTagChecksNone) {
    EXPECT_EQ(walk_template("", "9F27 01 80 5A 01 62"), 0);
    EXPECT_EQ(present_elements(), 2u);
}

TEST_F(TemplateWalk, TakesTemplateTagsOfUpToFiveBytes) {
    EXPECT_EQ(walk_template("7F8101", "8F 01 92"), -31);
    EXPECT_EQ(walk_template("7F81818101", "8F 01 92"), -31);
    EXPECT_EQ(walk_template("7F81818101", "9F1A 02 0156"), 0);
    EXPECT_EQ(walk_template("7F81818101", "70 03 8F 01 92"), 0);
    EXPECT_EQ(state_of("8F"), 1);
    EXPECT_EQ(walk("7F81818101 05 70 03 8F 01 93"), 0);
    EXPECT_EQ(read("8F", 0).bytes, "93");
}

TEST_F(TemplateWalk, RefusesMalformedContents) {
    EXPECT_EQ(walk_template("70", "5A"), -30);
    EXPECT_EQ(walk_template("70", "8F 01 92 5A 09 62"), -30);
    EXPECT_EQ(state_of("8F"), 1);
    EXPECT_EQ(walk_template("70", "77 03 5A 02 62"), -30);
}

TEST_F(TemplateWalk, RefusesNullData) {
    EXPECT_EQ(emvExtractDataElement(nullptr, 0), 0);
    EXPECT_EQ(emvExtractDataElement(nullptr, 5), -30);
    const ByteString tag = hex("70");
    EXPECT_EQ(emvExtractDataTemplate(tag.data(), 1, nullptr, 0), 0);
    EXPECT_EQ(emvExtractDataTemplate(tag.data(), 1, nullptr, 5), -30);
    const ByteString contents = hex("8F 01 92");
    EXPECT_EQ(emvExtractDataTemplate(nullptr, 1, contents.data(), 3), -30);
    EXPECT_EQ(emvExtractDataTemplate(nullptr, 6, contents.data(), 3), -30);
    EXPECT_EQ(state_of("8F"), 0);
}

TEST_F(TemplateWalk, RefusesATemplateTagOfSixBytesWhateverTheData) {
    for (const char* data : {"8F 01 92", "", "5A"}) {
        EXPECT_EQ(walk_template("7F8181818101", data), -30) << data;
        EXPECT_EQ(walk_template(to_hex(filled(255, 0x7F)), data), -30) << data;
    }
    EXPECT_EQ(state_of("8F"), 0);
}

TEST_F(TemplateWalk, EndsAtATemplateTagOfSixBytesAndKeepsWhatCameBefore) {
    EXPECT_EQ(walk("5A 01 62 7F8181818101 03 8F 01 92"), -30);
    EXPECT_EQ(walk("70 0D 5F34 01 02 7F8181818101 03 8F 01 92 8F 01 92"), -30);
    EXPECT_EQ(walk_template("70", "7F8181818101 03 8F 01 92 8F 01 92"), -30);
    EXPECT_EQ(state_of("5A"), 1);
    EXPECT_EQ(state_of("5F34"), 1);
    EXPECT_EQ(state_of("8F"), 0);
}

TEST_F(TemplateWalk, PassesOverAnEmptyTemplateWithALongTag) {
    EXPECT_EQ(walk("7F8181818101 00 8F 01 92"), 0);
    EXPECT_EQ(state_of("8F"), 1);
    EXPECT_EQ(walk("7F8181818101 05 00"), -30);
    EXPECT_EQ(walk("5F8181818101 01 00"), -31);
}

// As deep as 64 KiB of templates can nest, with elements at the bottom and behind every template.
class DeepNesting : public ResponseWalk {
  protected:
    // Innermost first, so that the bytes are put together in linear time.
    static ByteString nested(const ByteString& innermost, const ByteString& behind_each,
                             std::size_t limit_size) {
        ByteString reversed(innermost.rbegin(), innermost.rend());
        for (;;) {
            const std::size_t contents = reversed.size();
            ByteString header = {0x70};
            if (contents >= 0x100) {
                header.push_back(0x82);
                header.push_back(static_cast<std::uint8_t>(contents >> 8));
            } else if (contents >= 0x80) {
                header.push_back(0x81);
            }
            header.push_back(static_cast<std::uint8_t>(contents));
            if (contents + header.size() + behind_each.size() > limit_size) {
                return {reversed.rbegin(), reversed.rend()};
            }
            reversed.insert(reversed.end(), header.rbegin(), header.rend());
            if (!behind_each.empty()) {
                // Behind the template stands in front of the reversed bytes.
                reversed.insert(reversed.begin(), behind_each.rbegin(), behind_each.rend());
            }
        }
    }
};

TEST_F(DeepNesting, IsWalkedToTheBottom) {
    const ByteString response = nested(hex("8F 01 92"), {}, 0xFFFF);
    EXPECT_GT(response.size(), 0xFFF0u);
    EXPECT_EQ(walk(response), 0);
    EXPECT_EQ(read("8F", 0).bytes, "92");
    EXPECT_EQ(walk_template("70", response), 0);
}

TEST_F(DeepNesting, ComesBackToEveryLevel) {
    const ByteString response = nested(hex("8F 01 92"), hex("8F 01 93"), 0xFFFF);
    EXPECT_EQ(walk(response), 0);
    EXPECT_EQ(read("8F", 0).bytes, "93");
}

TEST_F(DeepNesting, ReportsAFaultAtTheBottom) {
    EXPECT_EQ(walk(nested(hex("9F27 01 80"), {}, 0xFFFF)), -31);
    EXPECT_EQ(walk(nested(hex("9F27 01"), {}, 0xFFFF)), -30);
}

TEST_F(DeepNesting, EmptyTemplateAtTheBottomIsGood) {
    EXPECT_EQ(walk(nested(hex("70 00"), {}, 0xFFFF)), 0);
    EXPECT_EQ(walk(nested(hex("00"), {}, 0xFFFF)), 0);
}

TEST_F(ResponseWalk, TakesTheLongestResponse) {
    // 21845 objects of three bytes.
    ByteString response;
    for (int i = 0; i < 21845; ++i) {
        response.insert(response.end(), {0x8F, 0x01, static_cast<std::uint8_t>(i)});
    }
    ASSERT_EQ(response.size(), 0xFFFFu);
    EXPECT_EQ(walk(response), 0);
    EXPECT_EQ(read("8F", 0).bytes, "54");
    EXPECT_EQ(walk(filled(0xFFFF, 0x00)), 0);
    EXPECT_EQ(walk(filled(0xFFFF, 0xFF)), 0);
    EXPECT_EQ(walk(join(hex("DF7F 82FFFA"), filled(0xFFFA, 0x11))), 0);
    EXPECT_EQ(walk(join(hex("DF7F 82FFFB"), filled(0xFFFA, 0x11))), -30);
}

}  // namespace
}  // namespace quorrin::test
