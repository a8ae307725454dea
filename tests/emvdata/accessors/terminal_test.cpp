// Terminal accessors with a rule: type, code tables, risk management, qualifiers.

#include "tests/emvdata/accessors/store_fixture.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Terminal : public AccessorTest {};

TEST_F(Terminal, TypeIsSetPresent) {
    const StoreImage before;
    EXPECT_EQ(emvSetTermType(0x22), 0);
    EXPECT_THAT(before.changed(), ElementsAre("9F35"));
    EXPECT_EQ(stored("9F35"), hex("22"));
    EXPECT_EQ(row("9F35").curLen, 1);
    EXPECT_EQ(row("9F35").state, 1);
    EXPECT_EQ(emvGetTermType(), 0x22);
}

TEST_F(Terminal, IsOnlineCapableByTheLowDigitOfItsType) {
    for (int high = 0; high < 16; ++high) {
        for (int low = 0; low < 16; ++low) {
            emvSetTermType(static_cast<std::uint8_t>(high << 4 | low));
            const bool online = low == 1 || low == 2 || low == 4 || low == 5;
            EXPECT_EQ(emvIsOnlineCap(), online) << high << low;
        }
    }
}

// Additional capabilities with the one bit of a code table, and the table's index in BCD.
struct CodeTable {
    const char* capabilities;
    std::uint8_t index;
};

constexpr CodeTable code_tables[] = {
    {"0000000001", 0x01}, {"0000000002", 0x02}, {"0000000004", 0x03}, {"0000000008", 0x04},
    {"0000000010", 0x05}, {"0000000020", 0x06}, {"0000000040", 0x07}, {"0000000080", 0x08},
    {"0000000100", 0x09}, {"0000000200", 0x10},
};

TEST_F(Terminal, OffersTheCodeTableOfEachCapabilityBit) {
    for (const CodeTable& table : code_tables) {
        put("9F40", hex(table.capabilities));
        for (int index = 0; index <= 255; ++index) {
            EXPECT_EQ(emvIsSupportIssCodeTable(static_cast<std::uint8_t>(index)),
                      index == table.index)
                << table.capabilities << " " << index;
        }
    }
}

TEST_F(Terminal, OffersNoOtherCodeTableWhateverItsCapabilities) {
    put("9F40", hex("FFFFFFFFFF"));
    for (int index = 0; index <= 255; ++index) {
        const bool known = (index >= 0x01 && index <= 0x09) || index == 0x10;
        EXPECT_EQ(emvIsSupportIssCodeTable(static_cast<std::uint8_t>(index)), known) << index;
    }
}

TEST_F(Terminal, OffersTheFirstCodeTableWhenItDeclaresNothing) {
    for (int index = 0; index <= 255; ++index) {
        EXPECT_EQ(emvIsSupportIssCodeTable(static_cast<std::uint8_t>(index)), index == 1) << index;
    }
    for (const char* capabilities : {"8000000000", "0080000000", "0000800000", "0000000400"}) {
        put("9F40", hex(capabilities));
        EXPECT_EQ(emvIsSupportIssCodeTable(0x01), 0) << capabilities;
    }
}

TEST_F(Terminal, DeclaresByTheValueOfItsCapabilitiesNotByTheirPresence) {
    put("9F40", hex("0000000000"));
    EXPECT_EQ(emvIsSupportIssCodeTable(0x01), 1);
    put("9F40", hex("8000000002"));
    set_state_of("9F40", 0);
    EXPECT_EQ(emvIsSupportIssCodeTable(0x01), 0);
    EXPECT_EQ(emvIsSupportIssCodeTable(0x02), 1);
}

TEST_F(Terminal, RiskManagementChoiceEndsAtTwo) {
    EXPECT_EQ(gl_Tm_RmCheckFlg, 1);
    for (const std::uint8_t flag : ByteString{0, 2, 1}) {
        EXPECT_EQ(emvSetTmRmCheckFlg(flag), 0);
        EXPECT_EQ(gl_Tm_RmCheckFlg, flag);
        EXPECT_EQ(emvGetTmRmCheckFlg(), flag);
    }
    for (const std::uint8_t flag : ByteString{3, 255}) {
        EXPECT_EQ(emvSetTmRmCheckFlg(flag), 49);
        EXPECT_EQ(gl_Tm_RmCheckFlg, 1);
    }
}

TEST_F(Terminal, QualifiersNeedNoPreparation) {
    put("9F66", hex("F4000000"));
    const StoreImage before;
    emvInitTTQStru();
    EXPECT_THAT(before.changed(), IsEmpty());
}

}  // namespace
}  // namespace quorrin::test
