// A trace told in the words of the field: which card, what was asked of it, step by step, how it ended,
// what was not as it should be.
//
//     const explain::Story story = explain::tell(trace::read_trace("terminal.jsonl"));
//     std::fputs(explain::to_text(story).c_str(), stdout);    // explain/render.hpp
//
// Account numbers, tracks, names and PIN data are masked in the story itself, as in decode/decode.hpp,
// unless they are asked for; what the trace holds masked stays masked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "decode/node.hpp"
#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::explain {

// Something that the standards forbid, or that commonly goes wrong.
struct Finding {
    enum class Severity : std::uint8_t { Note, Warning, Refusal, Fault };
    enum class Party : std::uint8_t { Card, Host, Reader, Bank };

    Severity severity = Severity::Warning;
    Party party = Party::Card;
    std::string text;
    std::string source;    // "EMV book 3, 10.2"; empty where there is none
    std::size_t line = 0;  // of the trace, 0 where none is meant
};

enum class StepKind : std::uint8_t {
    Connection,
    PowerOn,
    Directory,
    Selection,
    ProcessingOptions,
    Records,
    CardData,
    HolderVerification,
    CardAuthentication,
    FirstCryptogram,
    IssuerAuthentication,
    IssuerScripts,
    SecondCryptogram,
    Log,
    OtherCommands,
    PowerOff,
};

// A command and its whole answer: GET RESPONSE and repetitions with another Le belong to it.
struct Exchange {
    std::vector<std::size_t> lines;  // of the trace
    std::int64_t began = 0;          // microseconds since 1970, UTC
    std::int64_t duration = 0;       // nanoseconds, of all its parts
    std::string name;                // "READ RECORD 1 of file 2"
    std::string command;             // hex; a masked digit is *
    std::string answer;              // hex, status word included; empty where none came
    std::string status;              // "9000"; empty where none came
    std::string status_meaning;      // in English; for a failure of the reader its meaning
    std::string status_message;      // the library's message, in Chinese
    std::int64_t result = 0;         // of the reader
    bool ok = false;                 // answered 9000
    decode::Node sent;               // the command decoded, DOL entries included
    decode::Node received;           // the answer decoded
};

struct Step {
    StepKind kind = StepKind::OtherCommands;
    std::string title;       // "Application selection"
    std::string outcome;     // one line: what came of it
    bool failed = false;     // the transaction or the host's way ended here
    std::size_t line = 0;    // first of the trace
    std::int64_t began = 0;  // microseconds since 1970, UTC
    std::int64_t ended = 0;
    std::int64_t duration = 0;  // nanoseconds, at the reader
    std::vector<Exchange> exchanges;
    std::vector<std::string> passed_over;  // what it met on its way and went on, a line each
    std::vector<Finding> findings;
};

struct Fact {
    std::string name;  // "Card number"
    std::string value;
};

// Who had the last word of a transaction, and what it was.
struct Decision {
    enum class Party : std::uint8_t { Card, Bank, Terminal };
    // Referred: whoever stands at the terminal is to ask the bank.
    enum class Result : std::uint8_t { Approved, Declined, Referred };

    Party party = Party::Card;
    Result result = Result::Declined;
    std::string code;     // authorisation response code, "51"; empty where none decided
    std::string meaning;  // of the code, "Not sufficient funds"; empty for a network's own
};

struct Transaction {
    std::string title;      // "Online purchase"
    std::string timestamp;  // when it began
    std::string terminal;
    std::string session;
    std::int64_t process = 0;
    std::string slot;
    std::size_t first_line = 0;
    std::size_t last_line = 0;
    bool complete = false;             // came to its end, whatever that was
    bool failed = false;               // ended by a refusal or a failure
    std::string ended;                 // "declined by the bank: 51, Not sufficient funds"
    std::optional<Decision> decision;  // none where nobody decided, or it was not recorded
    std::vector<Fact> card;
    std::vector<Fact> asked;
    std::vector<Fact> time;    // where it went
    std::int64_t began = 0;    // microseconds since 1970, UTC
    std::int64_t span = 0;     // microseconds from the first call to the end of the last
    std::int64_t at_card = 0;  // nanoseconds in the reader and the card
    std::vector<Step> steps;

    std::size_t exchange_count() const;
    std::size_t finding_count(Finding::Severity least) const;
};

struct Story {
    std::string file;
    std::size_t lines = 0;
    std::vector<Transaction> transactions;
    std::vector<trace::Problem> problems;  // lines that could not be read
};

struct Options {
    bool show_sensitive = false;
};

Story tell(const trace::Trace& recording, const Options& options = {});

// "Application selection"
std::string_view title_of(StepKind kind);
std::string_view name_of(Finding::Severity severity);  // "warning"
std::string_view name_of(Finding::Party party);        // "card"
std::string_view name_of(Decision::Party party);       // "bank"
std::string_view name_of(Decision::Result result);     // "declined"

}  // namespace quorrin::explain
