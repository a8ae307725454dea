// The resets between transactions and of the terminal's configuration.

#include <cstring>

#include "emvdata/element_store.hpp"

namespace quorrin {
namespace {

template <typename... Values>
void zero(Values&... values) {
    (std::memset(&values, 0, sizeof values), ...);
}

void mark_absent(QuorrinDataElement& row) {
    row.curLen = 0;
    row.state = 0;
}

// Clears the rows of a table as far as their bounds reach.
//
// Deliberate: the script templates 71 and 72 reach 256 bytes into their storage of 512, so the full
// reset keeps its upper half, and what a host has put there stays until the transaction's reset.
void clear_rows(std::span<QuorrinDataElement> table, Element first) {
    const dictionary::RowConstants* constants = &constants_of(first);
    for (QuorrinDataElement& row : table) {
        fill_bytes(row.value, 0, std::min(row.maxLen, constants->storage_size));
        mark_absent(row);
        ++constants;
    }
}

void clear_card_rows() {
    clear_rows(IccDt, Element::card(0));
}

void clear_terminal_rows() {
    clear_rows(TermDt, Element::terminal(0));
}

// Marks the terminal's elements of one reset absent and clears their whole storage.
void empty_terminal_rows(dictionary::Resets reset) {
    for (std::size_t index = 0; index < terminal_rows; ++index) {
        const Element element = Element::terminal(index);
        if ((constants_of(element).resets & reset) != 0) {
            QuorrinDataElement& row = record(element);
            std::memset(row.value, 0, storage_size(element));
            mark_absent(row);
        }
    }
}

void reset_terminal_action_codes() {
    zero(gl_Tm_TDOL, gl_TAC_Denial, gl_Tm_LenDDOL, gl_Tm_LenTDOL, gl_FgTAC_Denial, gl_FgTAC_Online,
         gl_FgTAC_Default, gl_lRandSltLmt, gl_lRandSltPcnt, gl_lBiRSltPcnt);
    // EMV book 3, 10.7: all bits set where the terminal brings no action code of its own.
    std::memset(gl_TAC_Online, 0xFF, sizeof gl_TAC_Online);
    std::memset(gl_TAC_Default, 0xFF, sizeof gl_TAC_Default);
    gl_Tm_RmCheckFlg = 1;
}

// Deliberate: gl_tIccPk_GM keeps its key; only its flag says that it no longer counts.
void reset_working_data() {
    zero(gl_Iss_ScriptLen, gl_GACOneLen, gl_GACTwoLen, gl_GACOne, gl_GACTwo, gl_tIccPk, gl_tPinEnPk,
         gl_FlgIccPk, gl_FlgIccPk_GM, gl_FlgPinEnPk, gl_GPOPdolData, gl_GACCdolOne, gl_GACCdolTwo,
         gl_LenGPOPdolData, gl_LenGACCdolOne, gl_LenGACCdolTwo, gl_Iss_ScriptRslt,
         gl_Iss_NumScriptRslt, gl_Tm_CashBackFlg, gl_RandNum, gl_RandNum_Flag, gl_ATC_Err);
    gl_Tm_ACType = 1;
}

constexpr std::int32_t done = 0;

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int32_t emvClrIccAndTermData() {
    emvInitDataPointer();
    clear_card_rows();
    clear_terminal_rows();
    reset_working_data();
    zero(gl_Tm_DDOL, gl_Tm_SuppGMAlg, gl_Tm_RefCurConv);
    reset_terminal_action_codes();
    return done;
}

std::int32_t emvInitAppData() {
    emvInitDataPointer();
    clear_card_rows();
    empty_terminal_rows(dictionary::of_transaction);
    reset_working_data();
    return done;
}

std::int32_t emvInitTmAppData() {
    emvInitDataPointer();
    empty_terminal_rows(dictionary::of_application);
    zero(gl_Tm_DDOL);
    reset_terminal_action_codes();
    return done;
}

std::int32_t emvInitTmEMVData() {
    emvInitDataPointer();
    empty_terminal_rows(dictionary::of_terminal);
    zero(gl_Tm_RefCurConv);
    return done;
}
