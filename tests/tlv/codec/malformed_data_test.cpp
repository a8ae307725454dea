// Data that no card should send, from fixed seeds: every result must be that of the step-by-step
// reference, and no byte outside the exactly sized buffers may be touched (the sanitizers watch).

#include <random>

#include "tests/tlv/codec/reference_codec.hpp"

namespace quorrin::test {
namespace {

class Source {
  public:
    explicit Source(unsigned seed) : engine_(seed) {}

    std::size_t below(std::size_t limit) { return engine_() % limit; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(engine_()); }

    // Bytes that make tags, lengths, templates and padding more often than chance would.
    std::uint8_t telling_byte() {
        static const ByteString telling =
            hex("00 FF 80 81 82 83 84 9F 5F BF DF 1F 7F 0C 70 77 6F A5 61 73 71 72 8F 5A 57 87 88 "
                "50 84 4F 94 01 02 03 04 05 06 07 08 09 0A 10 20 11 12 2D 26 36 27 13 17 1A 22 38 "
                "24 9A 9C 95 42 55");
        return below(8) == 0 ? byte() : telling[below(telling.size())];
    }
    ByteString bytes(std::size_t size) {
        ByteString made(size);
        const bool even = below(4) == 0;
        for (std::uint8_t& b : made) {
            b = even ? byte() : telling_byte();
        }
        return made;
    }

    // Well-formed objects and templates of known and unknown tags, then maybe broken.
    ByteString objects(int depth = 0) {
        static const char* const tags[] = {"5A",   "8F",   "9F26",   "9F36", "84",   "50",
                                           "9F12", "5F2D", "9F1A",   "9F02", "C1",   "9F70",
                                           "9F38", "5F55", "9F8101", "87",   "9F11", "42"};
        static const char* const templates[] = {"70", "77", "6F",   "A5",     "61", "73",
                                                "71", "72", "BF0C", "7F8101", "E1"};
        ByteString made;
        for (std::size_t count = below(4) + 1; count > 0; --count) {
            const bool nested = depth < 5 && below(3) == 0;
            const ByteString contents = nested ? objects(depth + 1) : bytes(below(12));
            const ByteString tag =
                hex(nested ? templates[below(std::size(templates))] : tags[below(std::size(tags))]);
            made.insert(made.end(), tag.begin(), tag.end());
            if (contents.size() >= 0x80 || below(8) == 0) {
                made.push_back(0x82);
                made.push_back(static_cast<std::uint8_t>(contents.size() >> 8));
            }
            made.push_back(static_cast<std::uint8_t>(contents.size()));
            made.insert(made.end(), contents.begin(), contents.end());
            made.insert(made.end(), below(3) == 0 ? below(3) : 0, below(2) == 0 ? 0x00 : 0xFF);
        }
        return made;
    }
    ByteString broken(ByteString data) {
        if (!data.empty() && below(2) == 0) {
            data[below(data.size())] = telling_byte();
        }
        if (!data.empty() && below(3) == 0) {
            data.resize(below(data.size()));
        }
        return data;
    }
    ByteString any(std::size_t longest) {
        ByteString data = below(2) == 0 ? bytes(below(longest + 1)) : broken(objects());
        data.resize(std::min(data.size(), longest));
        return data;
    }

  private:
    std::mt19937 engine_;
};

void compare_codec(const ByteString& data) {
    const ExactBytes bytes(data);
    constexpr std::uint8_t old = 0x77;
    std::uint8_t tag_length = old;
    const ReferenceTag tag = reference_tag(data);
    EXPECT_EQ(tlvGetTag(bytes.data(), bytes.size16(), &tag_length), tag.result);
    EXPECT_EQ(tag_length, data.empty() ? old : tag.length);

    const ReferenceLength length = reference_length(data);
    std::uint8_t size = old;
    EXPECT_EQ(tlvGetLength(bytes.data(), bytes.size16(), &size),
              length.result == -29 ? 0 : length.result);
    EXPECT_EQ(size, length.size.value_or(old));
    size = old;
    std::uint16_t value = 0x7777;
    EXPECT_EQ(tlvGetLengthValue(bytes.data(), bytes.size16(), &size, &value), length.result);
    EXPECT_EQ(size, length.size.value_or(old));
    EXPECT_EQ(value, length.value);

    ReferenceObject object{0, old, old, 0x7777};
    object.result =
        tlvGetTLV(bytes.data(), bytes.size16(), &object.tag, &object.length, &object.value);
    EXPECT_EQ(object, reference_object(data));

    EXPECT_EQ(emvCheckTLVString(bytes.data(), bytes.size16()), reference_check(data));
}

void compare_search(const ByteString& data, const ByteString& tag) {
    const ExactBytes bytes(data);
    const ExactBytes wanted(tag);
    const ReferenceSearch expected = reference_search(data, tag);
    GuardedBuffer out(expected.value.size());
    std::uint16_t length = 0x7777;
    const int result = tlvGetTLVDataInString(bytes.data(), bytes.size16(), wanted.data(),
                                             wanted.size8(), out.data(), &length);
    ASSERT_EQ(length, expected.value.size());
    EXPECT_EQ((ReferenceSearch{result, out.first(length)}), expected);
}

void compare_lists(const ByteString& list) {
    const ExactBytes bytes(list);
    const struct {
        bool for_pdol;
        std::int32_t (*build)(std::uint8_t*, std::uint16_t*, const std::uint8_t*, std::uint16_t);
    } builders[] = {{false, dolPaddingDOL}, {true, dolPaddingPdol}};
    for (const auto& builder : builders) {
        const ReferenceBuilt expected = reference_dol(list, builder.for_pdol);
        GuardedBuffer out(expected.data.size());
        std::uint16_t length = 0x7777;
        const int result = builder.build(out.data(), &length, bytes.data(), bytes.size16());
        EXPECT_EQ(length, static_cast<std::uint16_t>(expected.data.size()));
        EXPECT_EQ((ReferenceBuilt{result, out.first(out.size())}), expected);
    }
}

class MalformedData : public StoreTest {
  protected:
    // Everything that a walk may change.
    static ByteString snapshot() {
        ByteString all;
        const auto add = [&all](const void* data, std::size_t size) {
            const auto* bytes = static_cast<const std::uint8_t*>(data);
            all.insert(all.end(), bytes, bytes + size);
        };
        add(IccDt, sizeof IccDt);
        add(TermDt, sizeof TermDt);
        for (const ListedElement& element : listed_card_elements) {
            add(element.storage, element.bytes);
        }
        for (const ListedElement& element : listed_terminal_elements) {
            add(element.storage, element.bytes);
        }
        return all;
    }

    static void compare_walk(const ByteString& parent, const ByteString& data) {
        emvClrIccAndTermData();
        const int expected = reference_walk(parent, data);
        const ByteString expected_store = snapshot();
        emvClrIccAndTermData();
        EXPECT_EQ(parent.empty() ? walk(data) : walk_template(to_hex(parent), data), expected);
        EXPECT_TRUE(snapshot() == expected_store);
    }
};

TEST_F(MalformedData, CodecGivesTheReferenceResults) {
    Source source(20250101);
    for (int i = 0; i < 30000; ++i) {
        const ByteString data = source.any(40);
        SCOPED_TRACE(to_hex(data));
        compare_codec(data);
    }
}

TEST_F(MalformedData, CodecTakesLongTagsAndLengthFields) {
    Source source(20250102);
    for (int i = 0; i < 300; ++i) {
        ByteString data(source.below(600) + 1, source.below(2) == 0 ? 0xFF : 0x9F);
        data[source.below(data.size())] = source.telling_byte();
        data[source.below(data.size())] = source.telling_byte();
        SCOPED_TRACE(to_hex(data));
        compare_codec(data);
        compare_codec(copied(rest_of(data, source.below(data.size()))));
    }
}

TEST_F(MalformedData, SearchGivesTheReferenceResults) {
    Source source(20250103);
    const ByteString tags[] = {hex("5A"),   hex("8F"), hex("9F18"),   hex("BF0C"),
                               hex("9F36"), hex("70"), hex("9F8101"), hex("00")};
    for (int i = 0; i < 20000; ++i) {
        const ByteString data = source.any(257);
        SCOPED_TRACE(to_hex(data));
        compare_search(data, tags[source.below(std::size(tags))]);
    }
}

TEST_F(MalformedData, ListsGiveTheReferenceAnswers) {
    Source source(20250104);
    store("9F02", "000000012345");
    store("9F1A", "0156");
    store("5A", "6200000000000005");
    store("8F", "92");
    store("9F22", "57");
    for (int i = 0; i < 3000; ++i) {
        // Key indexes of terminal and card, each present or absent, with or without a value.
        for (const char* key_index : {"9F22", "8F"}) {
            ASSERT_EQ(set_state_of(key_index, static_cast<std::uint8_t>(source.below(2))), 0);
            ASSERT_EQ(
                set_length_of(key_index, static_cast<std::uint16_t>(source.below(2)), Current), 0);
        }
        ByteString list;
        for (std::size_t entries = source.below(8); entries > 0; --entries) {
            static const char* const tags[] = {"9F02", "9F1A", "5A", "9F22", "95",    "C1",
                                               "9F70", "70",   "42", "DF69", "9F8101"};
            const std::size_t kinds = source.below(6) == 0 ? 11 : 10;
            const ByteString tag = hex(tags[source.below(kinds)]);
            list.insert(list.end(), tag.begin(), tag.end());
            list.push_back(static_cast<std::uint8_t>(source.below(12)));
        }
        if (source.below(2) == 0) {
            list = source.broken(list);
        }
        SCOPED_TRACE(to_hex(list));
        compare_lists(list);
        compare_lists(source.bytes(source.below(16)));

        const ExactBytes bytes(list);
        for (const char* tag : {"9F22", "70", "5A"}) {
            const ExactBytes wanted(hex(tag));
            EXPECT_EQ(dolCheckTagInDol(wanted.data(), wanted.size8(), bytes.data(), bytes.size8()),
                      reference_tag_in_dol(hex(tag), list));
        }
    }
}

TEST_F(MalformedData, WalksStoreWhatTheReferenceStores) {
    Source source(20250105);
    const char* const parents[] = {"", "70", "77", "A5", "BF0C", "7F8101"};
    for (int i = 0; i < 3000; ++i) {
        const ByteString data = source.any(80);
        SCOPED_TRACE(to_hex(data));
        compare_walk(hex(parents[source.below(std::size(parents))]), data);
    }
}

// Tags whose length is 0, 1 and 2 in 8 bits, primitive and constructed.
TEST_F(MalformedData, TagsAround256Bytes) {
    Source source(20250108);
    store("81", "11223344");
    for (const unsigned first : {0x1Fu, 0x3Fu, 0x5Fu, 0x7Fu, 0x9Fu, 0xBFu, 0xDFu, 0xFFu}) {
        for (const std::size_t middle : {253u, 254u, 255u, 256u}) {
            const ByteString tag = join(filled(1, static_cast<std::uint8_t>(first)),
                                        filled(middle, 0x81), filled(1, 0x01));
            SCOPED_TRACE(testing::Message() << "first byte " << first << ", middle " << middle);
            compare_lists(join(hex("9A03"), tag, hex("03 9A03")));
            for (const std::size_t behind : {0u, 300u, 0x9000u}) {
                const ByteString data = join(tag, filled(behind, 0x00), hex("8F 01 92"));
                compare_codec(data);
                compare_walk({}, data);
                compare_walk(hex("70"), data);
                const ByteString noise = join(tag, source.bytes(behind), hex("8F 01 92"));
                compare_codec(noise);
                compare_walk({}, noise);
            }
        }
    }
}

TEST_F(MalformedData, EveryCutOfAResponse) {
    const ByteString responses[] = {
        hex("70 81 2F 57 13 6200000000000000005D29122010000000000F 5A 0A 6200000000000000005F"
            "5F24 03 291231 8F 01 92 9F07 02 FF00"),
        hex("6F 2A 84 07 A0000003330101 A5 1F 50 04 50424F43 87 01 01 9F38 03 9F3704"
            "BF0C 0D 5F55 02 434E 42 03 620000 9F0D 00"),
        hex("77 1E 9F27 01 80 9F36 02 0001 9F26 08 0102030405060708 9F10 07 07010103A00000"),
    };
    for (const ByteString& response : responses) {
        ASSERT_EQ(walk(response), 0) << to_hex(response);
        for (std::size_t size = 0; size < response.size(); ++size) {
            const ByteString cut = copied(slice(response, 0, size));
            SCOPED_TRACE(to_hex(cut));
            compare_walk({}, cut);
            compare_codec(cut);
            compare_search(cut, hex("9F36"));
            // A length that lies: every byte replaced in turn.
            ByteString changed = response;
            for (const unsigned byte : {0x00u, 0x7Fu, 0x80u, 0x81u, 0x82u, 0xFFu}) {
                changed[size] = static_cast<std::uint8_t>(byte);
                compare_walk({}, changed);
                compare_codec(changed);
            }
        }
    }
}

// Long tags and long lengths everywhere, in the longest inputs that the interface takes.
TEST_F(MalformedData, InputsOf64KiB) {
    Source source(20250106);
    for (int i = 0; i < 12; ++i) {
        ByteString data =
            i % 3 == 0 ? filled(0xFFFF, i % 2 == 0 ? 0x9F : 0x70) : source.bytes(0xFFFF);
        if (i % 3 == 2) {
            data = join(hex("DF7F 82FF00"), filled(0xFF00, 0x5A), source.bytes(0xFA));
        }
        ASSERT_EQ(data.size(), 0xFFFFu);
        const ExactBytes bytes(data);
        std::uint8_t size = 0;
        std::uint16_t value = 0;
        EXPECT_EQ(tlvGetTag(bytes.data(), bytes.size16(), &size), reference_tag(data).result);
        EXPECT_EQ(tlvGetLengthValue(bytes.data(), bytes.size16(), &size, &value),
                  reference_length(data).result);
        EXPECT_EQ(emvCheckTLVString(bytes.data(), bytes.size16()), reference_check(data));
        compare_search(data, hex("5A"));
        compare_walk({}, data);
        compare_walk(hex("70"), data);
    }
}

TEST_F(MalformedData, ListsOf64KiB) {
    Source source(20250107);
    for (int i = 0; i < 4; ++i) {
        ByteString list;
        while (list.size() + 3 <= 0xFFFF) {
            const auto entry_size = static_cast<std::uint8_t>(source.below(3));
            list.insert(list.end(), {0x9F, 0x02, entry_size});
        }
        list.resize(0xFFFF, 0x9A);
        compare_lists(list);
    }
}

}  // namespace
}  // namespace quorrin::test
