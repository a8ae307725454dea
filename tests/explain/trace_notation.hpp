// Traces written in tests: a call a line, with nothing but what the test is about.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "explain/story.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::test {

// Collects calls of one terminal; each takes 2 ms, 3 ms after the one before.
class TraceNotation {
  public:
    TraceNotation& open();
    TraceNotation& close();
    TraceNotation& power_on(std::int64_t result = 5);
    TraceNotation& power_off();
    // Command and answer in hex; `*` for masked digits.
    TraceNotation& exchange(std::string_view command, std::string_view answer);
    // No answer: what the reader reports.
    TraceNotation& failure(std::string_view command, std::int64_t result);
    TraceNotation& slot(int code);
    TraceNotation& session(std::string_view name);
    TraceNotation& pause(std::int64_t milliseconds);
    TraceNotation& last_took(std::int64_t milliseconds);

    trace::Trace trace() const { return trace_; }
    explain::Story story(const explain::Options& options = {}) const {
        return explain::tell(trace_, options);
    }

  private:
    trace::Entry& add(trace::Action action);

    trace::Trace trace_;
    int slot_ = 1;
    std::string session_ = "s1";
    std::int64_t now_ = 1'795'000'000'000'000;  // microseconds since 1970
};

// A card's answers to a purchase that goes well, to be changed by tests. Test numbers only.
struct CardWords {
    std::string fci =
        "6F 1C 84 08 A000000333010101 A5 10 50 05 4445424954 9F38 03 9F6604 87 01 01 9000";
    std::string options = "80 06 1C00 08010100 9000";
    std::string record =
        "70 2B 5A 08 6228000100001117 5F24 03 301231 5F25 03 200101 "
        "8C 0D 9F0206 5F2A02 9A03 9F3704 9505 8D 04 8A02 910A 9000";
    std::string cryptogram = "80 13 80 0012 1122334455667788 07010103A0000001 9000";
    std::string authentication = "9000";
};

// What the bank and the terminal make of an ARQC: the data of EXTERNAL AUTHENTICATE, and P1 and data of
// a second GENERATE AC with the card's answer to it. Empty where a command is not sent.
struct BankWords {
    std::string authentication = "0102030405060708 3030";
    std::string asked = {};
    std::string data = {};  // 8A, 91
    std::string cryptogram = {};
};

// The whole purchase on that card, up to the end of the visit.
TraceNotation purchase(
    const CardWords& card,
    std::string_view terminal_data = "000000012850 0156 261121 A1B2C3D4 0000008000",
    const BankWords& bank = {});

}  // namespace quorrin::test
