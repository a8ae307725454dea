// Element bounds that a host has changed: they govern stores, last, and never reach beyond the
// storage.

#include "tests/emvdata/store_test.hpp"

namespace quorrin::test {
namespace {

class ChangedBounds : public StoreTest {};

TEST_F(ChangedBounds, GovernTheNextStore) {
    ASSERT_EQ(set_length_of("9F3B", 1, Shortest), 0);
    ASSERT_EQ(set_length_of("9F3B", 4, Longest), 0);
    EXPECT_EQ(store("9F3B", "99"), 0);
    EXPECT_EQ(held(gl_APCur, 8), "0000009900000000");
    EXPECT_EQ(read("9F3B", 0), (Read{1, 1, "99"}));
    EXPECT_EQ(store("9F3B", "1122334455"), -22);
    ASSERT_EQ(set_length_of("9F3B", 0, Shortest), 0);
    EXPECT_EQ(store("9F3B", ""), -28);
}

TEST_F(ChangedBounds, StayThroughEveryReset) {
    ASSERT_EQ(set_length_of("9F3B", 4, Longest), 0);
    ASSERT_EQ(set_length_of("9F02", 1, Shortest), 0);
    emvClrIccAndTermData();
    emvInitAppData();
    emvInitTmAppData();
    emvInitTmEMVData();
    EXPECT_EQ(length_of("9F3B", Longest), 4);
    EXPECT_EQ(length_of("9F02", Shortest), 1);
}

TEST_F(ChangedBounds, MayReachToTheEndOfTheStorage) {
    ASSERT_EQ(set_length_of("9F61", 41, Longest), 0);
    EXPECT_EQ(store("9F61", filled(41, 0x31)), 0);
    EXPECT_EQ(held(gl_CardHolderCert, 41), to_hex(filled(41, 0x31)));
    EXPECT_EQ(read("9F61", 0).bytes, to_hex(filled(41, 0x31)));
    ASSERT_EQ(set_length_of("71", 512, Longest), 0);
    EXPECT_EQ(store("71", filled(512, 0x32)), 0);
    EXPECT_EQ(held(gl_Iss_Script, 512), to_hex(filled(512, 0x32)));
}

// What lies around the storage is watched by the sanitizers.
TEST_F(ChangedBounds, NeverLetAnAccessLeaveTheStorage) {
    std::vector<std::pair<std::span<const ListedElement>, int>> tables = {
        {listed_card_elements, 1}, {listed_terminal_elements, 2}};
    for (const auto& [listing, table] : tables) {
        for (std::size_t row = 0; row < listing.size(); ++row) {
            const ListedElement& element = listing[row];
            if (table == 1 && (row == 88 || row == 89)) {
                continue;
            }
            SCOPED_TRACE(element.tag);
            for (const std::uint16_t raised : {static_cast<std::uint16_t>(element.bytes + 1),
                                               std::uint16_t{1000}, std::uint16_t{0xFFFF}}) {
                ASSERT_EQ(set_length_of(element.tag, raised, Longest), 0);
                ASSERT_EQ(set_length_of(element.tag, 1, Shortest), 0);
                EXPECT_EQ(store(element.tag, counted(element.bytes)), 0);
                EXPECT_EQ(held(element.storage, element.bytes), to_hex(counted(element.bytes)));
                EXPECT_EQ(store(element.tag, counted(element.bytes + 1)), -22);
                EXPECT_EQ(store(element.tag, counted(1)), 0);
                EXPECT_EQ(read(element.tag, 1).bytes, "01");
                ASSERT_EQ(set_length_of(element.tag, raised, Current), 0);
                EXPECT_EQ(read(element.tag, 0).length, raised);
                EXPECT_EQ(read(element.tag, 1).result, table);
                EXPECT_EQ(read(element.tag, static_cast<std::uint16_t>(raised - 1)).result, table);
                emvClrIccAndTermData();
                EXPECT_EQ(held(element.storage, element.bytes), to_hex(filled(element.bytes, 0)));
                ASSERT_EQ(set_length_of(element.tag, raised, Shortest), 0);
                EXPECT_EQ(store(element.tag, counted(element.bytes)), -22);
            }
            set_length_of(element.tag, element.shortest, Shortest);
            set_length_of(element.tag, element.longest, Longest);
        }
    }
}

TEST_F(ChangedBounds, BelowTheHeldLengthStayReadable) {
    ASSERT_EQ(store("9F3B", "0102030405060708"), 0);
    ASSERT_EQ(set_length_of("9F3B", 4, Longest), 0);
    EXPECT_EQ(read("9F3B", 0), (Read{1, 8, "0102030405060708"}));
    EXPECT_EQ(read("9F3B", 3), (Read{1, 3, "060708"}));
    EXPECT_EQ(read("9F3B", 9).result, 1);
}

}  // namespace
}  // namespace quorrin::test
