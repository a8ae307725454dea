// Fixture of the bank card operations: a scripted card in the contact slot, an empty store and an
// empty candidate list.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <memory>
#include <optional>

#include "tests/support/cards.hpp"
#include "tests/support/library_test.hpp"
#include "tests/support/scripted_card.hpp"
#include "tests/support/stored_elements.hpp"

namespace quorrin::test {

inline std::optional<ByteString> value(std::string_view hex_text) {
    return hex(hex_text);
}

// Every element that is present: tag and value.
inline std::map<std::string, std::string> present_elements() {
    std::map<std::string, std::string> present;
    const auto look_at = [&](const QuorrinDataElement& row) {
        if (row.state != 0) {
            const std::string tag = to_hex({row.tag, row.tagLen});
            present[tag] = to_hex(element(tag).value_or(ByteString{}));
        }
    };
    std::for_each(std::begin(IccDt), std::end(IccDt), look_at);
    std::for_each(std::begin(TermDt), std::end(TermDt), look_at);
    return present;
}

// The whole candidate list as the host sees it: all 200 characters, length and count.
struct CandidateList {
    ByteString characters;
    unsigned length;
    unsigned count;

    bool operator==(const CandidateList&) const = default;
};

inline void PrintTo(const CandidateList& list, std::ostream* out) {
    *out << list.count << " AIDs in " << list.length << " of "
         << testing::PrintToString(std::string(list.characters.begin(), list.characters.end()));
}

inline CandidateList candidates() {
    return {{std::begin(gucAidList), std::end(gucAidList)}, gucAidListLen, gucAidNum};
}

// A list with this text, zeros behind it and its length.
inline CandidateList candidates(std::string_view text, unsigned count) {
    CandidateList list{ByteString(sizeof gucAidList), static_cast<unsigned>(text.size()), count};
    std::copy_n(text.begin(), std::min(text.size(), sizeof gucAidList), list.characters.begin());
    return list;
}

inline void set_candidates(const CandidateList& list) {
    std::copy(list.characters.begin(), list.characters.end(), std::begin(gucAidList));
    gucAidListLen = static_cast<std::uint8_t>(list.length);
    gucAidNum = static_cast<std::uint8_t>(list.count);
}

// A test name from what a case says about itself.
inline std::string test_name(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return text;
}

using Commands = std::vector<std::string>;
using Elements = std::map<std::string, std::string>;

inline constexpr char select_application[] = "00A4040008A00000033301010100";

class BankCardTest : public LibraryTest {
  protected:
    static constexpr std::int64_t handle = 7;

    BankCardTest() {
        emvClrIccAndTermData();
        set_candidates(candidates("", 0));
    }

    // Puts a card in; the reader's trace starts anew.
    ScriptedCard& insert(std::string_view text) {
        card_ = std::make_unique<ScriptedCard>(text);
        card_->insert();
        reader().calls.clear();
        return *card_;
    }

    static Commands commands() { return reader().commands(); }

  private:
    std::unique_ptr<ScriptedCard> card_;
};

// How a card or a reader refuses a command, and the code that the operation makes of it.
struct Refusal {
    const char* name;
    Answer answer;
    std::int64_t code;

    // The status word that the host finds, 0 when none came.
    unsigned status_word() const {
        const ByteString& bytes = answer.bytes;
        return bytes.empty() ? 0u : unsigned{bytes.end()[-2]} << 8 | bytes.end()[-1];
    }
};

inline const std::vector<Refusal>& refusals() {
    static const std::vector<Refusal> all{
        {"warning, selected file invalidated", answer("6283"), -26881},
        {"warning, counter", answer("63C1"), -25537},
        {"no change of state", answer("6400"), -40000},
        {"memory failure", answer("6581"), -26881},
        {"security issue", answer("6600"), -40000},
        {"wrong length", answer("6700"), -26368},
        {"secure messaging not supported", answer("6882"), -27010},
        {"security status not satisfied", answer("6982"), -27010},
        {"conditions of use not satisfied", answer("6985"), -27013},
        {"card blocked", answer("6A81"), -27265},
        {"file not found", answer("6A82"), -27266},
        {"record not found", answer("6A83"), -27267},
        {"wrong parameters", answer("6A86"), -23},
        {"wrong parameters", answer("6B00"), -23},
        {"instruction not supported", answer("6D00"), -40000},
        {"class not supported", answer("6E00"), -23},
        {"no precise diagnosis", answer("6F00"), -23},
        {"application permanently blocked", answer("9303"), -37635},
        {"balance insufficient", answer("9401"), -27013},
        {"key index not supported", answer("9403"), -37891},
        {"not quite success", answer("9001"), -40000},
        // Not fetched: only a bare 61xx or 6Cxx is. The data, well formed, must not be taken.
        {"data and more waiting", answer("5F3401096110"), -40000},
        {"data and another length wanted", answer("5F3401096C04"), -40000},
        {"no status word", failure(0), -1},
        {"a single byte", failure(1), -40000},
        {"no card", failure(-2), -2},
        {"card mute", failure(-4), -4},
        {"reader not connected", failure(-12), -12},
        {"unknown reader failure", failure(-99), -40000},
        {"answer too long", failure(1025), -15},
    };
    return all;
}

}  // namespace quorrin::test
