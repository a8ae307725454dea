#include "bank/wish.hpp"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <stdexcept>
#include <string>

#include "reader_libraries/configuration/configuration.hpp"

namespace quorrin::bank {
namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool same_word(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, lower, lower);
}

[[noreturn]] void not_understood(std::string_view what, std::string_view words) {
    throw std::invalid_argument(std::string(what) + " in the wish \"" + std::string(words) + "\"");
}

std::vector<std::string> split(std::string_view words) {
    std::istringstream stream{std::string(words)};
    std::vector<std::string> parts;
    for (std::string part; stream >> part;) {
        parts.push_back(std::move(part));
    }
    return parts;
}

std::string joined(std::span<const std::string> parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += part;
    }
    return text;
}

// "71: ", "72: ", "71/00000001: ". Returns what follows it.
std::string_view read_script_name(std::string_view words, Wish& wish) {
    const std::size_t colon = words.find(':');
    if (colon == std::string_view::npos) {
        return words;
    }
    const std::string_view name = words.substr(0, colon);
    const std::size_t slash = name.find('/');
    const std::string_view phase = name.substr(0, slash);
    if (phase == "71") {
        wish.phase = ScriptPhase::BeforeFinalCryptogram;
    } else if (phase != "72") {
        not_understood("the template must be 71 or 72", words);
    }
    if (slash != std::string_view::npos) {
        const auto identifier = bytes_from_hex(name.substr(slash + 1));
        if (!identifier || identifier->size() != sizeof(ScriptIdentifier)) {
            not_understood("the identifier must have 4 bytes of hex", words);
        }
        wish.identifier.emplace();
        std::ranges::copy(*identifier, wish.identifier->begin());
    }
    return words.substr(colon + 1);
}

struct FixedWords {
    std::string_view verb;
    std::string_view object;
    Wish::Kind kind;
};

constexpr FixedWords fixed_words[] = {
    {"unblock", "pin", Wish::Kind::UnblockPin},
    {"block", "application", Wish::Kind::BlockApplication},
    {"unblock", "application", Wish::Kind::UnblockApplication},
    {"block", "card", Wish::Kind::BlockCard},
};

std::vector<std::uint8_t> value_of(std::span<const std::string> parts, std::string_view words) {
    const auto value = bytes_from_hex(joined(parts));
    if (!value || value->empty()) {
        not_understood("the value must be pairs of hex digits", words);
    }
    return *value;
}

void read_pin_change(std::span<const std::string> parts, std::string_view words, Wish& wish) {
    wish.kind = Wish::Kind::ChangePin;
    if (parts.size() == 4 && same_word(parts[2], "to")) {
        wish.new_pin = parts[3];
    } else if (parts.size() == 6 && same_word(parts[2], "from") && same_word(parts[4], "to")) {
        wish.current_pin = parts[3];
        wish.new_pin = parts[5];
    } else {
        not_understood("expected \"change PIN to 1234\" or \"change PIN from 1234 to 5678\"",
                       words);
    }
}

void read_put(std::span<const std::string> parts, std::string_view words, Wish& wish) {
    wish.kind = Wish::Kind::PutData;
    const auto tag = bytes_from_hex(parts[1]);
    if (!tag || tag->empty() || tag->size() > 2) {
        not_understood("the tag must have one byte or two", words);
    }
    for (const std::uint8_t byte : *tag) {
        wish.tag = static_cast<std::uint16_t>(wish.tag << 8 | byte);
    }
    wish.value = value_of(parts.subspan(2), words);
}

void read_update(std::span<const std::string> parts, std::string_view words, Wish& wish) {
    wish.kind = Wish::Kind::UpdateRecord;
    const std::string& place = parts[2];
    const char* const end = place.data() + place.size();
    const auto file = std::from_chars(place.data(), end, wish.file);
    const bool has_file = file.ec == std::errc() && file.ptr != end && *file.ptr == '.';
    const auto record =
        std::from_chars(has_file ? file.ptr + 1 : end, end, wish.record);  // none at the end
    if (record.ec != std::errc() || record.ptr != end) {
        not_understood("the place must be file.record, as 1.2", words);
    }
    wish.value = value_of(parts.subspan(3), words);
}

ScriptCommand command_of(const Wish& wish) {
    switch (wish.kind) {
        case Wish::Kind::ChangePin:
            return pin_change(wish.new_pin, wish.current_pin);
        case Wish::Kind::UnblockPin:
            return pin_unblock();
        case Wish::Kind::BlockApplication:
            return application_block();
        case Wish::Kind::UnblockApplication:
            return application_unblock();
        case Wish::Kind::BlockCard:
            return card_block();
        case Wish::Kind::PutData:
            return put_data(wish.tag, wish.value);
        case Wish::Kind::UpdateRecord:
            return update_record(wish.file, wish.record, wish.value);
    }
    throw std::invalid_argument("a wish of an unknown kind");
}

}  // namespace

Wish wish_from_words(std::string_view words) {
    Wish wish;
    const std::vector<std::string> parts = split(read_script_name(words, wish));
    if (parts.size() >= 2) {
        for (const FixedWords& row : fixed_words) {
            if (parts.size() == 2 && same_word(parts[0], row.verb) &&
                same_word(parts[1], row.object)) {
                wish.kind = row.kind;
                return wish;
            }
        }
        if (same_word(parts[0], "change") && same_word(parts[1], "pin")) {
            read_pin_change(parts, words, wish);
            return wish;
        }
        if (same_word(parts[0], "put")) {
            read_put(parts, words, wish);
            return wish;
        }
        if (same_word(parts[0], "update") && same_word(parts[1], "record") && parts.size() > 2) {
            read_update(parts, words, wish);
            return wish;
        }
    }
    not_understood("no such change", words);
}

std::vector<Script> scripts_of(std::span<const Wish> wishes) {
    std::vector<Script> scripts;
    for (const Wish& wish : wishes) {
        if (scripts.empty() || scripts.back().phase != wish.phase ||
            scripts.back().identifier != wish.identifier) {
            scripts.push_back({.phase = wish.phase, .identifier = wish.identifier, .commands = {}});
        }
        scripts.back().commands.push_back(command_of(wish));
    }
    return scripts;
}

}  // namespace quorrin::bank
