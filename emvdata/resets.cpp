// The resets between transactions and of the terminal's configuration.

#include <cstring>

#include "emvdata/element_store.hpp"

namespace quorrin {
namespace {

template <typename... Values>
void zero(Values&... values) {
    (std::memset(&values, 0, sizeof values), ...);
}

void mark_absent(QuorrinDataElement& element) {
    element.curLen = 0;
    element.state = 0;
}

// Clears a row as far as its bounds reach.
//
// Deliberate: the script templates 71 and 72 reach 256 bytes into their storage of 512, so the full
// reset keeps its upper half, and what a host has put there stays until the transaction's reset.
void clear_row(Slot slot) {
    QuorrinDataElement& element = record(slot);
    std::memset(element.value, 0, std::min(element.maxLen, storage_size(slot)));
    mark_absent(element);
}

void clear_card_rows() {
    for (std::size_t row = 0; row < card_rows; ++row) {
        clear_row(Slot::card(row));
    }
}

void clear_terminal_rows() {
    for (std::size_t row = 0; row < terminal_rows; ++row) {
        clear_row(Slot::terminal(row));
    }
}

// Marks elements absent and clears their whole storage.
template <std::size_t Count>
void empty(const Slot (&slots)[Count]) {
    for (const Slot slot : slots) {
        QuorrinDataElement& element = record(slot);
        std::memset(element.value, 0, storage_size(slot));
        mark_absent(element);
    }
}

// The terminal's elements that belong to one transaction.
constexpr Slot transaction_elements[] = {
    slot_of(0x81),   slot_of(0x9F02), slot_of(0x9F04), slot_of(0x9F03), slot_of(0x9F3A),
    slot_of(0x9F06), slot_of(0x89),   slot_of(0x8A),   slot_of(0x9F34), slot_of(0x9F22),
    slot_of(0x91),   slot_of(0x86),   slot_of(0x9F18), slot_of(0x9F1D), slot_of(0x95),
    slot_of(0x98),   slot_of(0x9A),   slot_of(0x99),   slot_of(0x9F41), slot_of(0x9B),
    slot_of(0x9F21), slot_of(0x9F37), slot_of(0x71),   slot_of(0x72),
};

// The terminal's elements that belong to an application, and those that belong to the terminal
// itself.
constexpr Slot application_elements[] = {
    slot_of(0x9F06), slot_of(0x9F09), slot_of(0x9F16), slot_of(0x9F39),
    slot_of(0x9F1B), slot_of(0x9F1C), slot_of(0x9C),   slot_of(0x9F4E),
    slot_of(0x9F7A), slot_of(0x9F53), slot_of(0x5F57),
};
constexpr Slot terminal_elements[] = {
    slot_of(0x9F01), slot_of(0x9F15), slot_of(0x9F1A), slot_of(0x5F2A),
    slot_of(0x5F36), slot_of(0x9F3C), slot_of(0x9F3D),
};

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
    empty(transaction_elements);
    reset_working_data();
    return done;
}

std::int32_t emvInitTmAppData() {
    emvInitDataPointer();
    empty(application_elements);
    zero(gl_Tm_DDOL);
    reset_terminal_action_codes();
    return done;
}

std::int32_t emvInitTmEMVData() {
    emvInitDataPointer();
    empty(terminal_elements);
    zero(gl_Tm_RefCurConv);
    return done;
}
