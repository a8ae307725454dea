#include "hosts/command/card_session.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "decode/lookup.hpp"

namespace quorrin::command {
namespace {

constexpr std::array slots = {
    SlotName{"contact", QUORRIN_CONTACT_CARD},
    SlotName{"contactless", QUORRIN_CONTACTLESS_CARD},
    SlotName{"further", QUORRIN_FURTHER_CARD},
    SlotName{"sam1", QUORRIN_SAM1},
    SlotName{"sam2", QUORRIN_SAM2},
    SlotName{"sam3", QUORRIN_SAM3},
    SlotName{"sam4", QUORRIN_SAM4},
};

}  // namespace

std::span<const SlotName> slot_names() {
    return slots;
}

std::string slot_name(int kind) {
    const auto* const row = std::ranges::find(slots, kind, &SlotName::kind);
    return row != slots.end() ? row->name : "?";
}

void add_card_options(CLI::App& command, CardOptions& options) {
    command
        .add_option(
            "--reader", options.reader,
            "Reader library: simulator[:FILE], pcsc[:NAME] or a path; without it PC/SC when a "
            "reader is there, else the simulator. FILE is a reader file, a card profile, a "
            "recording, or the name of a shipped card (credit, quick ...)")
        ->type_name("READER");
    std::vector<std::string> names;
    for (const SlotName& slot : slots) {
        names.emplace_back(slot.name);
    }
    command
        .add_option("--slot", options.slot,
                    "Slot: contact, contactless, further, sam1 to sam4; without it contact, then "
                    "contactless")
        ->check(CLI::IsMember(names))
        ->type_name("SLOT");
    command
        .add_option("--trace", options.trace,
                    "Record what goes on in this file, card data masked unless they are shown")
        ->type_name("FILE");
}

void add_application_options(CLI::App& command, CardOptions& options) {
    add_card_options(command, options);
    command
        .add_option("--aid", options.aid,
                    "Application to select; without it the first of the card's directory")
        ->check([](const std::string& aid) {
            const bool is_hex =
                aid.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
            return is_hex && aid.size() % 2 == 0 && aid.size() >= 10 && aid.size() <= 32
                       ? std::string()
                       : "an AID has 5 to 16 bytes, in hex";
        })
        ->type_name("AID");
}

CardSession::Loaded::Loaded(const CardOptions& options, const Common& common) {
    load_backend({options.reader, options.slot, options.trace, common.show_sensitive});
    catch_interrupts();
}

CardSession::CardSession(const CardOptions& options, const Common& common)
    : loaded_(options, common) {
    const auto* const slot =
        std::ranges::find_if(slots, [&](const SlotName& row) { return options.slot == row.name; });
    card_.emplace(slot != slots.end() ? reader_.power_up(slot->kind)
                                      : reader_.find_card(host::Search::ContactFirst));
}

namespace {

// What a status word says to somebody who only wants to use the card.
struct PlainWords {
    std::int64_t code;  // status word, or result of the reader where there is none
    const char* text;
    const char* advice;
};

constexpr PlainWords status_texts[] = {
    {0x6283, "the application is blocked: its bank has locked it", "only the bank can unlock it"},
    {0x6A81, "the card is blocked, or does not know the command", ""},
    {0x6A82, "the card has no such application", "quorrin aids lists those that it has"},
    {0x6985, "the card does not do this now, or not with what the terminal offers", ""},
};

constexpr PlainWords result_texts[] = {
    {QUORRIN_NO_CARD, "there is no card in the slot, or it was taken out",
     "put a card in and try again; quorrin readers shows the slots"},
    {QUORRIN_CARD_MUTE, "the card does not answer",
     "wipe its contacts, turn it, or hold it closer; then try again"},
    {QUORRIN_NOT_POWERED, "the card has lost its power", "try again from the beginning"},
    {QUORRIN_CONNECTION_ERROR, "the reader cannot be reached",
     "quorrin doctor says what is missing"},
    {QUORRIN_NOT_CONNECTED, "the reader is not open", "quorrin doctor says what is missing"},
    {QUORRIN_NO_READER_LIBRARY, "the reader library is not there",
     "quorrin doctor says what is missing"},
    {QUORRIN_BAD_PARAMETER, "the reader library refuses what it was given",
     "mend the file or option named above"},
};

template <std::size_t Count>
const PlainWords* find_words(const PlainWords (&rows)[Count], std::int64_t code) {
    const auto* const row = std::ranges::find(rows, code, &PlainWords::code);
    return row != std::end(rows) ? row : nullptr;
}

// The reader's own results; all others go by the card's status word or by what the library found.
bool is_of_reader(const host::Failure& error) {
    constexpr std::int64_t below = -100;
    return error.code() < 0 && error.code() > below;
}

// A code's meaning without the status words that lead to it: "6A82: no such file or application.".
std::string meaning_of(const host::Failure& error) {
    std::string meaning = error.meaning();
    const std::size_t colon = meaning.find(": ");
    if (colon != std::string::npos && meaning.find_first_not_of("0123456789ABCDEFCx, ") >= colon) {
        meaning.erase(0, colon + 2);
    }
    while (meaning.ends_with('.')) {
        meaning.pop_back();
    }
    return meaning;
}

const PlainWords* words_for(const host::Failure& error) {
    return is_of_reader(error) ? find_words(result_texts, error.code())
                               : find_words(status_texts, error.status_word().value());
}

}  // namespace

std::string plain_words(const host::Failure& error) {
    const PlainWords* words = words_for(error);
    return words != nullptr ? words->text : meaning_of(error);
}

std::string advice_for(const host::Failure& error) {
    const PlainWords* words = words_for(error);
    return words != nullptr ? words->advice : "";
}

std::string describe(const host::Failure& error) {
    if (was_interrupted()) {
        return interrupted_text;
    }
    std::string text =
        plain_words(error) + "\n  " + error.step() + " ended with " + std::to_string(error.code());
    if (const std::string message = error.message(); !message.empty()) {
        text += ", " + message;
    }
    text += ": " + meaning_of(error);
    if (const host::StatusWord word = error.status_word();
        word.value() != 0 && !is_of_reader(error)) {
        text += "\n  the card's last status word is " + word.text() + ": " +
                decode::status_word(word.sw1, word.sw2).meaning;
    }
    if (const std::string advice = advice_for(error); !advice.empty()) {
        text += "\n  what to do: " + advice;
    }
    return text;
}

}  // namespace quorrin::command
