// One visit to a card while it is being told: its calls in steps, and what went over the line so far.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "decode/decode.hpp"
#include "explain/calls.hpp"
#include "explain/elements_seen.hpp"
#include "explain/story.hpp"

namespace quorrin::explain {

struct ToldCall {
    Call call;
    StepKind kind = StepKind::OtherCommands;
    std::size_t step = 0;           // index
    std::size_t exchange = 0;       // index within the step
    decode::Options decoding = {};  // what was known when it went over the line: kernel, lists
};

// Where the calls of a kind stand among a visit's.
struct CallsOfKind {
    std::size_t count = 0;
    std::size_t first = 0;
    std::size_t last = 0;
};

// What the rules look at. Elements of the card and data of the terminal are apart: both know 9F36,
// 82, ...
struct Visit {
    std::vector<ToldCall> calls;  // in order
    std::vector<Step> steps;
    ElementsSeen card;                      // from answers, whatever they were
    ElementsSeen records;                   // from records named by the AFL
    ElementsSeen terminal;                  // what answered PDOL, CDOL1 and CDOL2
    std::vector<std::uint8_t> application;  // AID that was selected with success
    decode::Kernel kernel = decode::Kernel::Unknown;
    std::optional<unsigned> first_cryptogram;  // CID type 0 AAC, 1 TC, 2 ARQC, 3 AAR
    std::optional<unsigned> second_cryptogram;
    std::size_t last_answered_line = 0;  // a card was found, or answered that all is well
    std::size_t last_selected_line = 0;  // an application, blocked ones too
    bool exchanged = false;
    bool quick = false;  // the cryptogram came with the processing options
    // A recording may have as many calls as it likes: what is asked for with each call is not searched.
    std::array<CallsOfKind, static_cast<std::size_t>(StepKind::PowerOff) + 1> by_kind = {};

    void add(ToldCall told);
    const ToldCall* first(StepKind kind) const;
    const ToldCall* last(StepKind kind) const;
    bool has(StepKind kind) const { return first(kind) != nullptr; }
    std::size_t count(StepKind kind) const { return of_kind(kind).count; }
    const CallsOfKind& of_kind(StepKind kind) const {
        return by_kind[static_cast<std::size_t>(kind)];
    }
};

// A record number and short file identifier of READ RECORD.
struct RecordPlace {
    unsigned file = 0;
    unsigned record = 0;
};
RecordPlace record_place(const Call& call);

// The cryptogram type in cryptogram information data (EMV book 3, table 14).
enum CryptogramType : std::uint8_t { Aac = 0, Tc = 1, Arqc = 2, Aar = 3 };
std::string_view cryptogram_name(unsigned type);
std::string cryptogram_words(unsigned type);  // "ARQC (asks the bank)"

// Cryptogram information data of an answer to GENERATE AC (or to quick GET PROCESSING OPTIONS), in both
// formats.
std::optional<std::uint8_t> cryptogram_information(const Call& call);

// The type that a GENERATE AC asks for (EMV book 3, 6.5.5.2).
inline unsigned asked_cryptogram(const Call& call) {
    return static_cast<unsigned>(call.header(2) >> 6);
}

// Splits the entries of a trace into visits and their calls into steps, and decodes each.
std::vector<Visit> visits_of(const trace::Trace& trace, const Options& options);

// What each step came to, in a line.
void tell_outcomes(Visit& visit);

// Rules of the standards and what commonly goes wrong; `before` are the visits that went before this one
// at the same terminal.
void find_faults(Visit& visit, const std::vector<const Visit*>& before);

// The summary on top.
Transaction summarise(Visit visit, const Options& options);

}  // namespace quorrin::explain
