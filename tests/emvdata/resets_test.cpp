// The four resets: every element and every piece of working data, filled with a pattern beforehand.

#include <cstring>
#include <sstream>
#include <vector>

#include "tests/emvdata/store_test.hpp"
#include "tests/emvdata/working_globals.hpp"

namespace quorrin::test {
namespace {

constexpr std::uint8_t pattern = 0xC3;

// What a reset does, written down apart from the library: the terminal rows that it empties,
// whether it empties the card's rows, and its column of the working data.
struct Reset {
    const char* name;
    std::int32_t (*run)();
    bool clears_the_card;
    const char* cleared_terminal_tags;  // in any order
    Fate WorkingGlobal::*fate;
};

const Reset resets[] = {
    {"Full", emvClrIccAndTermData, true,
     "9F01 9F40 81 9F02 9F04 9F03 9F3A 9F06 9F09 89 8A 9F34 9F22 9F1E 91 86 9F18 9F15 9F16 9F39 "
     "9F33 9F1A 9F1B 9F1C 9F1D 9F35 95 98 5F2A 5F36 9A 99 9F3C 9F3D 9F41 9B 9F21 9C 9F37 71 72 "
     "9F4E 9F7A 9F53 5F57 9F7B 9F66 DF69",
     &WorkingGlobal::full},
    {"Transaction", emvInitAppData, true,
     "81 9F02 9F04 9F03 9F3A 9F06 89 8A 9F34 9F22 91 86 9F18 9F1D 95 98 9A 99 9F41 9B 9F21 9F37 "
     "71 72",
     &WorkingGlobal::transaction},
    {"Application", emvInitTmAppData, false, "9F06 9F09 9F16 9F39 9F1B 9F1C 9C 9F4E 9F7A 9F53 5F57",
     &WorkingGlobal::application},
    {"Configuration", emvInitTmEMVData, false, "9F01 9F15 9F1A 5F2A 5F36 9F3C 9F3D",
     &WorkingGlobal::configuration},
};

bool is_named(const char* tags, std::string_view tag) {
    std::istringstream stream(tags);
    for (std::string word; stream >> word;) {
        if (word == tag) {
            return true;
        }
    }
    return false;
}

void fill_everything() {
    for (const auto& listing : {std::span<const ListedElement>(listed_card_elements),
                                std::span<const ListedElement>(listed_terminal_elements)}) {
        for (const ListedElement& element : listing) {
            std::fill_n(element.storage, element.declared_size, pattern);
        }
    }
    for (auto table :
         {std::span<QuorrinDataElement>(IccDt), std::span<QuorrinDataElement>(TermDt)}) {
        for (QuorrinDataElement& element : table) {
            element.value = nullptr;
            element.curLen = element.minLen;
            element.state = 1;
        }
    }
    for (const WorkingGlobal& global : working_globals) {
        std::memset(global.address, pattern, global.declared_size);
    }
}

ByteString after(Fate fate, std::size_t size) {
    switch (fate) {
        case Fate::Kept:
            return filled(size, pattern);
        case Fate::Zero:
            return filled(size, 0x00);
        case Fate::Ones:
            return filled(size, 0xFF);
        case Fate::One:
            return join(filled(1, 0x01), filled(size - 1, 0x00));
    }
    return {};
}

class ResetTest : public StoreTest, public testing::WithParamInterface<Reset> {
  protected:
    ~ResetTest() override {
        for (const WorkingGlobal& global : working_globals) {
            std::memset(global.address, 0, global.declared_size);
        }
    }
};

TEST_P(ResetTest, EmptiesExactlyItsCardElements) {
    fill_everything();
    EXPECT_EQ(GetParam().run(), 0);
    const bool cleared = GetParam().clears_the_card;
    for (std::size_t row = 0; row < 94; ++row) {
        const ListedElement& element = listed_card_elements[row];
        SCOPED_TRACE(testing::Message() << "row " << row << ", tag " << element.tag);
        const std::size_t zeros = cleared ? element.longest : 0u;
        EXPECT_EQ(held(element.storage, element.bytes),
                  to_hex(join(filled(zeros, 0), filled(element.bytes - zeros, pattern))));
        EXPECT_EQ(IccDt[row].state, cleared ? 0 : 1);
        EXPECT_EQ(IccDt[row].curLen, cleared ? 0 : element.shortest);
        EXPECT_EQ(IccDt[row].value, element.storage);
    }
}

TEST_P(ResetTest, EmptiesExactlyItsTerminalElements) {
    fill_everything();
    EXPECT_EQ(GetParam().run(), 0);
    for (std::size_t row = 0; row < 48; ++row) {
        const ListedElement& element = listed_terminal_elements[row];
        SCOPED_TRACE(testing::Message() << "row " << row << ", tag " << element.tag);
        const bool cleared = is_named(GetParam().cleared_terminal_tags, element.tag);
        std::size_t zeros = cleared ? element.bytes : 0;
        // The full reset clears rows by their longest length: half of the script storage. The
        // transaction's clears it whole.
        if (cleared && element.storage == gl_Iss_Script && GetParam().run == emvClrIccAndTermData) {
            zeros = 256;
        }
        EXPECT_EQ(held(element.storage, element.bytes),
                  to_hex(join(filled(zeros, 0), filled(element.bytes - zeros, pattern))));
        EXPECT_EQ(TermDt[row].state, cleared ? 0 : 1);
        EXPECT_EQ(TermDt[row].curLen, cleared ? 0 : element.shortest);
        EXPECT_EQ(TermDt[row].value, element.storage);
    }
}

TEST_P(ResetTest, LeavesTheWorkingDataAsListed) {
    fill_everything();
    EXPECT_EQ(GetParam().run(), 0);
    for (const WorkingGlobal& global : working_globals) {
        const auto* bytes = static_cast<const std::uint8_t*>(global.address);
        EXPECT_EQ(to_hex({bytes, global.bytes}),
                  to_hex(after(global.*GetParam().fate, global.bytes)))
            << global.name;
    }
}

TEST_P(ResetTest, LeavesTheConstantPartOfTheRows) {
    fill_everything();
    const auto constant_part = [](const QuorrinDataElement& element) {
        ByteString bytes(sizeof element);
        std::memcpy(bytes.data(), &element, sizeof element);
        return to_hex(std::span(bytes).subspan(10, 14));
    };
    std::vector<std::string> before;
    for (const QuorrinDataElement& element : IccDt) {
        before.push_back(constant_part(element));
    }
    for (const QuorrinDataElement& element : TermDt) {
        before.push_back(constant_part(element));
    }
    GetParam().run();
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(constant_part(i < 94 ? IccDt[i] : TermDt[i - 94]), before[i]);
    }
}

TEST_P(ResetTest, LeavesTheTransportAlone) {
    CARD_SW1 = 0x61;
    CARD_SW2 = 0x10;
    CARD_STATUS = 5;
    ReaderHandle = 7;
    GetParam().run();
    EXPECT_EQ(CARD_SW1, 0x61);
    EXPECT_EQ(CARD_SW2, 0x10);
    EXPECT_EQ(CARD_STATUS, 5);
    EXPECT_EQ(ReaderHandle, 7);
    ReaderHandle = 0;
}

INSTANTIATE_TEST_SUITE_P(All, ResetTest, testing::ValuesIn(resets),
                         [](const auto& param) { return std::string(param.param.name); });

class Resets : public StoreTest {};

TEST_F(Resets, AfterAFullResetTheActionCodesStandOnTheSafeSide) {
    emvClrIccAndTermData();
    EXPECT_EQ(held(gl_TAC_Denial, 5), "0000000000");
    EXPECT_EQ(held(gl_TAC_Online, 5), "FFFFFFFFFF");
    EXPECT_EQ(held(gl_TAC_Default, 5), "FFFFFFFFFF");
    EXPECT_EQ(gl_FgTAC_Denial, 0);
    EXPECT_EQ(gl_FgTAC_Online, 0);
    EXPECT_EQ(gl_FgTAC_Default, 0);
}

TEST_F(Resets, ATransactionResetKeepsTheTerminalsConfiguration) {
    ASSERT_EQ(store("9F1A", "0156"), 0);
    ASSERT_EQ(store("9C", "20"), 0);
    ASSERT_EQ(store("9F02", "000000000100"), 0);
    ASSERT_EQ(store("9F66", "36000000"), 0);
    emvInitAppData();
    EXPECT_EQ(state_of("9F1A"), 1);
    EXPECT_EQ(read("9F1A", 0).bytes, "0156");
    EXPECT_EQ(state_of("9C"), 1);
    EXPECT_EQ(read("9C", 0).bytes, "20");
    EXPECT_EQ(read("9F66", 0).bytes, "36000000");
    EXPECT_EQ(state_of("9F02"), 0);
    EXPECT_EQ(read("9F02", 6).bytes, "000000000000");
    emvInitTmAppData();
    EXPECT_EQ(state_of("9C"), 0);
    EXPECT_EQ(state_of("9F1A"), 1);
    emvInitTmEMVData();
    EXPECT_EQ(state_of("9F1A"), 0);
}

TEST_F(Resets, AFullResetDeliberatelyKeepsTheSecondHalfOfTheScriptStorage) {
    std::fill_n(gl_Iss_Script, 512, pattern);
    emvClrIccAndTermData();
    EXPECT_EQ(held(gl_Iss_Script, 512), to_hex(join(filled(256, 0), filled(256, pattern))));
    std::fill_n(gl_Iss_Script, 512, pattern);
    emvInitAppData();
    EXPECT_EQ(held(gl_Iss_Script, 512), to_hex(filled(512, 0)));
    std::fill_n(gl_Iss_Script, 512, pattern);
    emvInitTmAppData();
    emvInitTmEMVData();
    EXPECT_EQ(held(gl_Iss_Script, 512), to_hex(filled(512, pattern)));
}

TEST_F(Resets, DeliberatelyKeepTheSmKeyRecordButNotItsFlag) {
    for (const auto& reset : {emvClrIccAndTermData, emvInitAppData}) {
        std::fill_n(gl_tIccPk_GM, 512, pattern);
        gl_FlgIccPk_GM = 1;
        reset();
        EXPECT_EQ(held(gl_tIccPk_GM, 512), to_hex(filled(512, pattern)));
        EXPECT_EQ(gl_FlgIccPk_GM, 0);
    }
}

TEST_F(Resets, TheElectronicCashRowsOfRepeatedTagsAreClearedToo) {
    std::fill_n(gl_IC_ECAIP, 2, pattern);
    std::fill_n(gl_IC_ECLOATC, 2, pattern);
    IccDt[88].state = 1;
    IccDt[89].curLen = 2;
    emvInitAppData();
    EXPECT_EQ(held(gl_IC_ECAIP, 2), "0000");
    EXPECT_EQ(held(gl_IC_ECLOATC, 2), "0000");
    EXPECT_EQ(IccDt[88].state, 0);
    EXPECT_EQ(IccDt[89].curLen, 0);
}

TEST_F(Resets, RowsAreClearedByTheirPresentLongestLength) {
    std::fill_n(gl_PAN, 10, pattern);
    std::fill_n(gl_Tm_Cap, 3, pattern);
    std::fill_n(gl_CardHolderCert, 41, pattern);
    ASSERT_EQ(set_length_of("5A", 4, Longest), 0);
    ASSERT_EQ(set_length_of("9F33", 0, Longest), 0);
    ASSERT_EQ(set_length_of("9F61", 1000, Longest), 0);
    emvClrIccAndTermData();
    EXPECT_EQ(held(gl_PAN, 10), "00000000C3C3C3C3C3C3");
    EXPECT_EQ(held(gl_Tm_Cap, 3), "C3C3C3");
    EXPECT_EQ(held(gl_CardHolderCert, 41), to_hex(filled(41, 0)));
}

TEST_F(Resets, StatusResetsEmptyTheStorageWhateverTheLongestLength) {
    std::fill_n(gl_Tm_AuthAmntN, 6, pattern);
    std::fill_n(gl_Tm_CntryCode, 2, pattern);
    std::fill_n(gl_Tm_MchID, 15, pattern);
    for (const char* tag : {"9F02", "9F1A", "9F16"}) {
        ASSERT_EQ(set_length_of(tag, 1, Longest), 0);
    }
    emvInitAppData();
    emvInitTmAppData();
    emvInitTmEMVData();
    EXPECT_EQ(held(gl_Tm_AuthAmntN, 6), "000000000000");
    EXPECT_EQ(held(gl_Tm_CntryCode, 2), "0000");
    EXPECT_EQ(held(gl_Tm_MchID, 15), to_hex(filled(15, 0)));
}

}  // namespace
}  // namespace quorrin::test
