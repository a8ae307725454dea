// Fixture of the tests that deal with issuer data: an empty store, a card that takes every command,
// and whole-area views of what the issuer's processing leaves behind.
#pragma once

#include <algorithm>
#include <initializer_list>

#include "tests/support/card_notation.hpp"
#include "tests/support/library_test.hpp"
#include "tests/support/stored_elements.hpp"

namespace quorrin::test {

class IssuerScriptTest : public LibraryTest {
  protected:
    IssuerScriptTest() {
        emvClrIccAndTermData();
        // A reset clears what an element can hold, not the whole area.
        std::ranges::fill(gl_Iss_Script, std::uint8_t{0});
        gl_cScptIDExist = 0;
        ReaderHandle = 7;
        reader().card = [this](const ByteString&) {
            if (next_ < card_answers.size()) {
                return card_answers[next_++];
            }
            return answer("9000");
        };
    }

    // Takes issuer data in card notation.
    static std::int32_t extract(std::string_view text) { return extract_bytes(card_bytes(text)); }
    static std::int32_t extract_bytes(const ByteString& data) {
        return emvExtractIssuerData(data.data(), static_cast<std::uint16_t>(data.size()));
    }

    static std::int32_t check(const ByteString& script) {
        return emvCheckIssuerScript(script.data(), static_cast<std::uint16_t>(script.size()));
    }
    static std::int32_t check(std::string_view text) { return check(card_bytes(text)); }

    static std::int32_t run_value(const ByteString& value) {
        return emvIssuerCommandProcess(value.data(), static_cast<std::uint16_t>(value.size()));
    }
    static std::int32_t run_value(std::string_view text) { return run_value(card_bytes(text)); }

    // Collects these scripts, as they would come from the issuer.
    static void collect(std::initializer_list<std::string_view> scripts) {
        ByteString data;
        for (const std::string_view script : scripts) {
            data = join(data, card_bytes(script));
        }
        extract_bytes(data);
    }
    // Puts a script buffer into the store that no issuer data would give.
    static void store_buffer(const ByteString& buffer) { put("71", buffer); }

    // An element as "state length value", the value over its current length; "absent" for one that
    // is as the reset left it.
    static std::string element(std::string_view tag) {
        const std::int32_t state = state_of(tag);
        if (length_of(tag) == 0) {
            return state == 0 ? "absent" : "empty";
        }
        return (state == 1 ? "" : "unset ") + to_hex(value_of(tag));
    }

    // The whole script area of 512 bytes.
    static testing::AssertionResult script_area_holds(ByteString expected) {
        expected.resize(sizeof gl_Iss_Script);
        const ByteString actual(std::begin(gl_Iss_Script), std::end(gl_Iss_Script));
        if (actual == expected) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "script area holds " << to_hex(actual);
    }
    static int script_buffer_length() { return emvGetIssuerScriptLength(); }

    // Result entries from the first one; all entries after them are zero.
    static testing::AssertionResult entries_are(std::initializer_list<std::string_view> entries) {
        ByteString expected;
        for (const std::string_view entry : entries) {
            expected = join(expected, hex(entry));
        }
        expected.resize(sizeof gl_Iss_ScriptRslt);
        const ByteString actual(std::begin(gl_Iss_ScriptRslt), std::end(gl_Iss_ScriptRslt));
        if (actual == expected) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "script results are " << to_hex(actual);
    }
    static int final_entries() { return gl_Iss_NumScriptRslt; }

    static std::string tvr() { return to_hex(gl_Tm_TVR); }
    static std::string tsi() { return to_hex(gl_Tm_TSI); }
    static constexpr const char* nothing_failed = "0000000000";
    static constexpr const char* script_71_failed = "0000000020";
    static constexpr const char* script_72_failed = "0000000010";
    static constexpr const char* both_failed = "0000000030";
    static constexpr const char* not_performed = "0000";
    static constexpr const char* performed = "0400";

    std::vector<Answer> card_answers;  // to the commands in turn; 90 00 after them

  private:
    std::size_t next_ = 0;
};

}  // namespace quorrin::test
