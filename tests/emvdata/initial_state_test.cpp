// The store as the library brings it, before anything has run. A program of its own: what it looks
// at was copied before the first test.

#include <cstring>
#include <vector>

#include "tests/emvdata/store_test.hpp"
#include "tests/emvdata/working_globals.hpp"

namespace quorrin::test {
namespace {

struct InitialImage {
    bool storage_is_zero = true;
    std::vector<ByteString> working;

    InitialImage() {
        const auto all_zero = [](const ListedElement& element) {
            return std::all_of(element.storage, element.storage + element.declared_size,
                               [](std::uint8_t byte) { return byte == 0; });
        };
        storage_is_zero = std::ranges::all_of(listed_terminal_elements, all_zero) &&
                          std::ranges::all_of(listed_card_elements, all_zero);
        for (const WorkingGlobal& global : working_globals) {
            const auto* bytes = static_cast<const std::uint8_t*>(global.address);
            working.emplace_back(bytes, bytes + global.declared_size);
        }
    }
};

const InitialImage initial;

TEST(StoreBeforeTheFirstReset, RowsHaveNoValue) {
    for (const auto* table : {&loaded_terminal_rows, &loaded_card_rows}) {
        for (const QuorrinDataElement& element : *table) {
            EXPECT_EQ(element.value, nullptr) << to_hex(element.tag);
            EXPECT_EQ(element.curLen, 0) << to_hex(element.tag);
            EXPECT_EQ(element.state, 0) << to_hex(element.tag);
        }
    }
}

TEST(StoreBeforeTheFirstReset, StorageIsZero) {
    EXPECT_TRUE(initial.storage_is_zero);
}

TEST(StoreBeforeTheFirstReset, WorkingDataIsZeroButTheRiskManagementFlag) {
    for (std::size_t i = 0; i < std::size(working_globals); ++i) {
        const WorkingGlobal& global = working_globals[i];
        ByteString expected(global.bytes, 0);
        if (std::string_view(global.name) == "gl_Tm_RmCheckFlg") {
            expected = {1};
        }
        EXPECT_EQ(initial.working[i], expected) << global.name;
    }
}

TEST(StoreBeforeTheFirstReset, StoresNothing) {
    EXPECT_EQ(store("9F02", "000000000100"), -18);
    EXPECT_EQ(store("5A", "6200000000000000"), -18);
    EXPECT_EQ(store("9F02", "0100"), -22);
    EXPECT_EQ(store("9F70", "00"), -31);
    EXPECT_EQ(walk("70 0A 5A 08 6200000000000000"), -31);
    EXPECT_EQ(state_of("5A"), 0);
    EXPECT_EQ(length_of("5A"), 0);
}

TEST(StoreBeforeTheFirstReset, ReadsPadding) {
    EXPECT_EQ(read("9F02", 6), (Read{2, 6, "000000000000"}));
    EXPECT_EQ(read("5A", 4), (Read{1, 4, "FFFFFFFF"}));
    EXPECT_EQ(read("50", 3), (Read{1, 3, "000000"}));
    EXPECT_EQ(read("9F26", 0), (Read{1, 0, ""}));
}

// A host may set a length before any reset.
TEST(StoreBeforeTheFirstReset, ReadsZerosUnderAnyLengthSet) {
    const auto reads_zeros = [](const ListedElement& element, int table) {
        const std::uint16_t before = length_of(element.tag);
        ASSERT_EQ(set_length_of(element.tag, 600, Current), 0);
        const Read all = read(element.tag, 0);
        EXPECT_EQ(all.length, 600) << element.tag;
        EXPECT_EQ(all.result, table) << element.tag;
        EXPECT_EQ(all.bytes.substr(0, 2 * element.longest), std::string(2u * element.longest, '0'))
            << element.tag;
        ASSERT_EQ(set_length_of(element.tag, before, Current), 0);
    };
    for (const ListedElement& element : listed_card_elements) {
        reads_zeros(element, 1);
    }
    for (const ListedElement& element : listed_terminal_elements) {
        reads_zeros(element, 2);
    }
}

}  // namespace
}  // namespace quorrin::test
