#include "fuzz/support/library_state.hpp"

#include <QLoggingCategory>
#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "quorrin/quorrin.h"

namespace quorrin::fuzz {
namespace {

// Both dictionaries as the library brings them along: the length bounds, which a host may change,
// stand for the storage.
struct Dictionaries {
    std::vector<QuorrinDataElement> card{std::begin(IccDt), std::end(IccDt)};
    std::vector<QuorrinDataElement> terminal{std::begin(TermDt), std::end(TermDt)};
};

const Dictionaries& as_loaded() {
    static const Dictionaries dictionaries;
    return dictionaries;
}

void check_rows(const QuorrinDataElement* rows, const std::vector<QuorrinDataElement>& loaded) {
    for (std::size_t i = 0; i < loaded.size(); ++i) {
        expect(rows[i].state <= 1, "an element's state is 0 or 1");
        expect(rows[i].curLen <= loaded[i].maxLen, "a length stays within the element's storage");
        expect(std::memcmp(rows[i].tag, loaded[i].tag, sizeof rows[i].tag) == 0,
               "the dictionary's tags stay as they are");
    }
}

void check_script_results() {
    constexpr std::size_t entry_size = 5;
    const std::size_t entries = std::min<std::size_t>(gl_Iss_NumScriptRslt, 12);
    for (std::size_t i = 0; i < entries; ++i) {
        constexpr int successful = 2;
        expect(gl_Iss_ScriptRslt[i * entry_size] >> 4 <= successful, "a script result is known");
    }
}

void discard(QtMsgType, const QMessageLogContext&, const QString&) {}

void set_log(bool on) {
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, on);
}

}  // namespace

void reset_library() {
    static const bool prepared = [] {
        qInstallMessageHandler(discard);
        as_loaded();
        return true;
    }();
    static_cast<void>(prepared);
    set_log(false);
    std::ranges::copy(as_loaded().card, std::begin(IccDt));
    std::ranges::copy(as_loaded().terminal, std::begin(TermDt));
    emvClrIccAndTermData();
    std::fill(std::begin(gucAidList), std::end(gucAidList), '\0');
    gucAidListLen = 0;
    gucAidNum = 0;
    gucGetArqcFlag = 0;
    ReaderHandle = 0;
    EG_nUserCardType = 11;
    EG_port = 0;
    CARD_SW1 = 0;
    CARD_SW2 = 0;
    CARD_STATUS = 0;
}

void turn_log_on() {
    set_log(true);
}

void check_library_state() {
    check_rows(IccDt, as_loaded().card);
    check_rows(TermDt, as_loaded().terminal);
    expect(gucAidListLen <= std::size(gucAidList), "the AID list stays within its text");
    check_script_results();
}

}  // namespace quorrin::fuzz
