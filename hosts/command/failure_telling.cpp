#include "hosts/command/failure_telling.hpp"

#include <algorithm>

#include "decode/lookup.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/reader_backend.hpp"

namespace quorrin::command {
namespace {

// What a status word says to somebody who only wants to use the card.
struct PlainWords {
    std::int64_t code;  // status word, or result of the reader where there is none
    const char* text;
    const char* advice;
};

constexpr PlainWords status_texts[] = {
    {0x6283, "the application is blocked: its bank has locked it", "only the bank can unlock it"},
    {0x6A81, "the card is blocked, or does not know the command",
     "try another card: a blocked one stays blocked, and its bank replaces it"},
    {0x6A82, "the card has no such application", "quorrin aids lists those that it has"},
    {0x6985, "the card does not do this now, or not with what the terminal offers",
     "record it with --trace FILE; quorrin explain FILE tells where it stopped"},
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

// What went wrong, as far as it is known.
struct Trouble {
    std::string text = {};
    std::string step = {};  // of the library, and its result
    std::int64_t code = 0;
    std::string message = {};  // the library's own, for card holders in China
    std::string meaning = {};  // of the code, or of the status word where there is no code
    std::string status_word = {};
    std::string word_meaning = {};
    std::string advice = {};
};

Trouble trouble_of(const host::Failure& error) {
    Trouble trouble{.text = plain_words(error),
                    .step = error.step(),
                    .code = error.code(),
                    .message = error.message(),
                    .meaning = meaning_of(error),
                    .advice = advice_for(error)};
    if (const host::StatusWord word = error.status_word();
        word.value() != 0 && !is_of_reader(error)) {
        trouble.status_word = word.text();
        trouble.word_meaning = decode::status_word(word.sw1, word.sw2).meaning;
    }
    return trouble;
}

Trouble trouble_of(const Failed& error) {
    const FailureDetails& details = error.details();
    return {.text = error.what(),
            .meaning = details.meaning,
            .status_word = details.status_word,
            .advice = details.advice};
}

// The library's message has a line of its own: it is Chinese.
std::string sentences(const Trouble& trouble) {
    std::string text = trouble.text;
    if (!trouble.step.empty()) {
        text += "\n  " + trouble.step + " ended with " + std::to_string(trouble.code);
        text += trouble.meaning == trouble.text ? "" : ": " + trouble.meaning;
        text += trouble.message.empty() ? "" : "\n  the library's message: " + trouble.message;
    }
    if (!trouble.word_meaning.empty()) {
        text += "\n  the card's last status word is " + trouble.status_word + ": " +
                trouble.word_meaning;
    }
    if (!trouble.advice.empty()) {
        text += "\n  what to do: " + trouble.advice;
    }
    return text;
}

void put_trouble(const std::string& command, const Trouble& trouble) {
    if (has_results()) {
        return;
    }
    Json error = {{"text", trouble.text}};
    if (!trouble.step.empty()) {
        error["step"] = trouble.step;
        error["code"] = trouble.code;
    }
    const std::pair<const char*, const std::string&> texts[] = {
        {"message", trouble.message},
        {"meaning", trouble.meaning},
        {"status_word", trouble.status_word},
        {"advice", trouble.advice}};
    for (const auto& [name, text] : texts) {
        if (!text.empty()) {
            error[name] = text;
        }
    }
    Json json = result_of(command.c_str());
    json["error"] = std::move(error);
    put_json(json);
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
    return sentences(trouble_of(error));
}

std::string advice_for(unsigned status_word) {
    const PlainWords* words = find_words(status_texts, status_word);
    return words != nullptr ? words->advice : "";
}

void put_error(const std::string& command, const std::string& text, const std::string& advice) {
    put_trouble(command, Trouble{.text = text, .advice = advice});
}

int tell_failure(const std::exception& error, const std::string& command, const Common& common) {
    const auto* const of_card = dynamic_cast<const host::Failure*>(&error);
    const auto* const of_action = dynamic_cast<const Failed*>(&error);
    const bool stopped = of_card != nullptr && was_interrupted();
    const Trouble trouble = stopped                ? Trouble{.text = interrupted_text}
                            : of_card != nullptr   ? trouble_of(*of_card)
                            : of_action != nullptr ? trouble_of(*of_action)
                                                   : Trouble{.text = error.what()};
    tell(sentences(trouble));
    if (common.json) {
        put_trouble(command, trouble);
    }
    return dynamic_cast<const WrongUsage*>(&error) != nullptr ? usage : failure;
}

}  // namespace quorrin::command
