#include "explain/endings.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "explain/passed_over.hpp"

namespace quorrin::explain {
namespace {

using Decider = Decision::Party;
using Result = Decision::Result;

constexpr std::size_t code_size = 2;
constexpr std::size_t cryptogram_size = 8;        // ARPC by method 1
constexpr std::size_t short_cryptogram_size = 4;  // by method 2

// EMV book 4, annex A6. With 08 the shop is to see first who pays (ISO 8583), which EMV does not know.
constexpr std::string_view approvals[] = {"00", "10", "11"};
constexpr std::string_view referrals[] = {"01", "02", "08"};

bool is_readable(std::span<const std::uint8_t> code) {
    return code.size() == code_size && std::ranges::all_of(code, [](std::uint8_t c) {
               return c < 0x80 && std::isalnum(c) != 0;
           });
}

// Codes that a terminal gives itself begin with Y or Z: approved or declined offline.
std::optional<Authorisation> by_code(std::span<const std::uint8_t> value) {
    if (!is_readable(value)) {
        return std::nullopt;
    }
    Authorisation told;
    told.code = decode::characters(value);
    told.meaning = decode::response_code_meaning(told.code);
    if (told.code[0] == 'Y' || told.code[0] == 'Z') {
        told.party = Decider::Terminal;
    }
    if (told.code[0] == 'Y' || std::ranges::find(approvals, told.code) != std::end(approvals)) {
        told.result = Result::Approved;
    } else if (std::ranges::find(referrals, told.code) != std::end(referrals)) {
        told.result = Result::Referred;
    }
    return told;
}

// EMV book 3, annex C10. Eight bytes may also be a whole ARPC: bits that an update leaves at zero tell.
std::optional<Authorisation> by_status_update(std::span<const std::uint8_t> data) {
    constexpr std::size_t longest = 16;
    constexpr std::uint8_t proprietary_data_follow = 0x80;
    constexpr std::uint8_t issuer_approves = 0x80;
    if (data.size() < cryptogram_size || data.size() > longest) {
        return std::nullopt;
    }
    const auto update = data.subspan(short_cryptogram_size, 4);
    const bool has_more = data.size() > cryptogram_size;
    if ((update[0] & 0xF0) != (has_more ? proprietary_data_follow : 0) || update[2] != 0) {
        return std::nullopt;
    }
    return Authorisation{
        .result = (update[1] & issuer_approves) != 0 ? Result::Approved : Result::Declined,
        .code = {},
        .meaning = "by its card status update"};
}

std::optional<Authorisation> by_authentication_data(std::span<const std::uint8_t> data) {
    if (data.size() == cryptogram_size + code_size) {
        if (const auto told = by_code(data.last(code_size))) {
            return told;
        }
    }
    return by_status_update(data);
}

std::string refusal_text(const Call& call) {
    const auto word = decode::status_word(static_cast<std::uint8_t>(call.status() >> 8),
                                          static_cast<std::uint8_t>(call.status()));
    return decode::hex(std::span(call.answer.bytes).last(2)) + ", " + word.meaning;
}

Decision decision_of(const Authorisation& told) {
    return {told.party, told.result, told.code, told.code.empty() ? "" : told.meaning};
}

// "declined by the bank: 51, Not sufficient funds"
std::string sentence(const Authorisation& told) {
    const std::string decided =
        std::string(name_of(told.result)) + " by the " + std::string(name_of(told.party)) + ": ";
    return decided + (told.code.empty()            ? "its card status update says so"
                      : told.meaning == "Approved" ? told.code
                                                   : told.words());
}

std::string scripts_text(const Visit& visit) {
    const std::size_t count = visit.count(StepKind::IssuerScripts);
    if (count == 0) {
        return {};
    }
    const auto done = std::ranges::count_if(visit.calls, [](const ToldCall& told) {
        return told.kind == StepKind::IssuerScripts && told.call.status() == 0x9000;
    });
    return "; " + std::to_string(done) + " of " + std::to_string(count) +
           " issuer script commands taken";
}

// The card has refused what the bank sent, or did not answer to it: nobody can hold what it says for the
// bank's word.
Ending untaken_answer_ending(const Call& call, const std::optional<Authorisation>& told) {
    const std::string said = told ? " (" + told->words() + ")" : std::string();
    if (!call.has_status()) {
        return {"the card did not answer to the bank's authentication" + said, false, true};
    }
    Ending ending{"refused by the card: it took the bank's answer" + said + " for wrong", true,
                  true, Decision{Decider::Card, Result::Declined, "", ""}};
    if (call.status() != 0x6300) {
        ending.text = "refused by the card: it did not take the bank's answer" + said + ", " +
                      refusal_text(call);
    }
    return ending;
}

Ending online_ending(const Visit& visit) {
    const ToldCall* authentication = visit.last(StepKind::IssuerAuthentication);
    const std::string scripts = scripts_text(visit);
    if (const ToldCall* second = visit.last(StepKind::SecondCryptogram)) {
        return {"the card gave no second cryptogram: " +
                    (second->call.status() == 0x9000 ? std::string("its answer holds none")
                                                     : refusal_text(second->call)) +
                    scripts,
                true, true};
    }
    if (authentication == nullptr) {
        return {scripts.empty()
                    ? "the card asked for online authorisation; no answer of the bank came to it"
                    : "the card asked for online authorisation" + scripts,
                !scripts.empty(), false};
    }
    const auto told = authorisation_of(visit);
    if (authentication->call.status() != 0x9000) {
        Ending ending = untaken_answer_ending(authentication->call, told);
        ending.text += scripts;
        return ending;
    }
    if (!told) {
        return {
            "online: the card took the bank's answer for right; what the bank decided is not in "
            "the recording" +
            scripts};
    }
    return {sentence(*told) + "; the card took the answer for right" + scripts, true,
            told->result != Result::Approved, decision_of(*told)};
}

Ending second_cryptogram_ending(const Visit& visit) {
    const auto told = authorisation_of(visit);
    const unsigned type = *visit.second_cryptogram;
    const unsigned asked = asked_cryptogram(visit.last(StepKind::SecondCryptogram)->call);
    const std::string scripts = scripts_text(visit);
    if (type == Tc) {
        if (!told) {
            return {"approved: the card gave a TC" + scripts, true, false,
                    Decision{Decider::Card, Result::Approved, "", ""}};
        }
        const bool approved = told->result == Result::Approved;
        return {sentence(*told) +
                    (approved ? "; the card gave a TC"
                              : "; a TC was asked for all the same, and given") +
                    scripts,
                true, !approved, decision_of(*told)};
    }
    if (type != Aac) {
        return {"undecided: the second cryptogram is an " + std::string(cryptogram_name(type)) +
                    scripts,
                true, true};
    }
    const std::string given = "; the card gave an AAC";
    const std::string said = told ? " (" + sentence(*told) + ")" : std::string();
    if (asked != Aac) {
        return {"declined by the card: asked for a TC, it gave an AAC" + said + scripts, true, true,
                Decision{Decider::Card, Result::Declined, "", ""}};
    }
    if (!told) {
        return {
            "declined by the bank or the terminal: an AAC was asked for, and why is not in the "
            "recording" +
                scripts,
            true, true};
    }
    if (told->result == Result::Approved) {
        return {"declined by the terminal: it asked for an AAC" + said + scripts, true, true,
                Decision{Decider::Terminal, Result::Declined, "", ""}};
    }
    return {sentence(*told) + given + scripts, true, true, decision_of(*told)};
}

bool asked_for_aac(const ToldCall* told) {
    return told != nullptr && asked_cryptogram(told->call) == Aac;
}

Ending cryptogram_ending(const Visit& visit) {
    if (visit.second_cryptogram) {
        return second_cryptogram_ending(visit);
    }
    switch (*visit.first_cryptogram) {
        case Aac:
            return asked_for_aac(visit.last(StepKind::FirstCryptogram))
                       ? Ending{"declined by the terminal: it asked the card for an AAC", true,
                                true, Decision{Decider::Terminal, Result::Declined, "", ""}}
                       : Ending{"declined by the card (AAC)", true, true,
                                Decision{Decider::Card, Result::Declined, "", ""}};
        case Tc:
            return {"approved offline by the card (TC)", true, false,
                    Decision{Decider::Card, Result::Approved, "", ""}};
        default:
            return visit.quick ? Ending{"the card asked for online authorisation (ARQC); its part "
                                        "ends there"}
                               : online_ending(visit);
    }
}

// No command was sent: no slot had a card, or the reader failed.
Ending power_ending(const Visit& visit) {
    std::vector<std::string> empty_slots;
    const ToldCall* failed = nullptr;
    for (const ToldCall& told : visit.calls) {
        if (told.kind != StepKind::PowerOn || told.call.entry->success) {
            continue;
        }
        const std::string slot = slot_text(told.call);
        if (!finds_no_card(told.call)) {
            failed = &told;
        } else if (std::ranges::find(empty_slots, slot) == empty_slots.end()) {
            empty_slots.push_back(slot);
        }
    }
    const ToldCall* power = visit.last(StepKind::PowerOn);
    const ToldCall& any = failed != nullptr  ? *failed
                          : power != nullptr ? *power
                                             : visit.calls.back();
    if (any.call.entry->success) {
        return {"no command was sent", false, false};
    }
    if (failed == nullptr && !empty_slots.empty()) {
        return {"no card in the " + listed(empty_slots) +
                    (empty_slots.size() == 1 ? " slot" : " slots"),
                true, true};
    }
    return {any.call.result_name + " (" + std::to_string(any.call.result) + ")", true, true};
}

}  // namespace

std::string_view name_of(Decision::Party party) {
    constexpr std::array<std::string_view, 3> names = {"card", "bank", "terminal"};
    return names[static_cast<std::size_t>(party)];
}

std::string_view name_of(Decision::Result result) {
    constexpr std::array<std::string_view, 3> names = {"approved", "declined", "referred"};
    return names[static_cast<std::size_t>(result)];
}

std::string Authorisation::words() const {
    if (code.empty()) {
        return std::string(name_of(result)) + " by its card status update";
    }
    return meaning.empty() ? code : code + ", " + meaning;
}

std::optional<Authorisation> authorisation_of(const Visit& visit) {
    // With the second cryptogram the terminal has the last word: it may not have reached the bank.
    if (visit.has(StepKind::SecondCryptogram)) {
        if (const auto told = by_code(visit.terminal.clear_bytes(0x8A))) {
            return told;
        }
    }
    if (const ToldCall* authentication = visit.last(StepKind::IssuerAuthentication)) {
        const trace::MaskedBytes data = authentication->call.command_data();
        return data.is_masked() ? std::nullopt : by_authentication_data(data.bytes);
    }
    return visit.has(StepKind::SecondCryptogram)
               ? by_authentication_data(visit.terminal.clear_bytes(0x91))
               : std::nullopt;
}

bool declines_at(const Visit& visit, StepKind kind) {
    const StepKind place = visit.has(StepKind::SecondCryptogram) ? StepKind::SecondCryptogram
                                                                 : StepKind::IssuerAuthentication;
    const auto told = kind == place && visit.has(place) ? authorisation_of(visit) : std::nullopt;
    return told && told->result != Decision::Result::Approved;
}

Ending ending_of(const Visit& visit) {
    const auto found = std::find_if(visit.calls.rbegin(), visit.calls.rend(),
                                    [](const ToldCall& told) { return told.call.is_exchange(); });
    if (found == visit.calls.rend()) {
        return power_ending(visit);
    }
    const ToldCall& last = *found;
    if (!last.call.has_status()) {
        const std::string meaning(decode::result_code(last.call.result).meaning);
        return {"stops at " + std::string(title_of(last.kind)) + ": " +
                    (meaning.empty() ? last.call.result_name : meaning) + " (" +
                    std::to_string(last.call.result) + ")",
                false, true};
    }
    if (visit.first_cryptogram) {
        return cryptogram_ending(visit);
    }
    const bool refused = last.call.status() != 0x9000;
    const bool file_ended = last.call.status() == 0x6A83;
    switch (last.kind) {
        case StepKind::FirstCryptogram:
            return {"the card gave no cryptogram: " +
                        (refused ? refusal_text(last.call) : std::string("its answer holds none")),
                    true, true};
        case StepKind::ProcessingOptions:
            return refused ? Ending{"refused at processing options: " + refusal_text(last.call),
                                    true, true}
                           : Ending{"stops after processing options", false, false};
        case StepKind::Selection:
            return last.call.status() == 0x6283
                       ? Ending{"the application is blocked (6283)", true, true}
                   : refused
                       ? Ending{"refused at selection: " + refusal_text(last.call), true, true}
                       : Ending{"stops after selection", false, false};
        case StepKind::Log:
            return refused && !file_ended
                       ? Ending{"the log was refused: " + refusal_text(last.call), true, true}
                       : Ending{"the log was read"};
        case StepKind::Directory:
            return {"the directory was read", true, false};
        case StepKind::Records:
        case StepKind::CardData:
            return {"the card's data were read"};
        default:
            return refused ? Ending{"the last command was refused: " + refusal_text(last.call),
                                    true, true}
                           : Ending{"all commands were answered"};
    }
}

}  // namespace quorrin::explain
