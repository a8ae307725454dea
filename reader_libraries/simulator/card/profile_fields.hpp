// Kinds of values that only card files have, read with complaints in the usual form.
#pragma once

#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "reader_libraries/configuration/configuration.hpp"
#include "reader_libraries/simulator/card/element_notation.hpp"

namespace quorrin::simulator {

// A number of a profile; the bounds fit a signed integer.
template <typename Number>
Number number_field(const Section& section, std::string_view key, Number least, Number most) {
    const auto from = static_cast<std::int64_t>(least);
    const auto to = static_cast<std::int64_t>(most);
    return static_cast<Number>(section.integer(key, from, to));
}

template <typename Number>
Number number_field_or(const Section& section, std::string_view key, Number least, Number most,
                       Number otherwise) {
    return section.has(key) ? number_field(section, key, least, most) : otherwise;
}

// One word out of a few.
template <typename Choice>
struct NamedChoice {
    std::string_view name;
    Choice choice;
};

template <typename Choice, std::size_t Count>
Choice choice_field_or(const Section& section, std::string_view key,
                       const std::array<NamedChoice<Choice>, Count>& choices, Choice otherwise) {
    const auto text = section.optional_text(key);
    if (!text) {
        return otherwise;
    }
    std::string names;
    for (const auto& [name, choice] : choices) {
        if (name == *text) {
            return choice;
        }
        names += (names.empty() ? "\"" : " or \"") + std::string(name) + "\"";
    }
    section.fail(key, "must be " + names);
}

// A list of texts, each turned into a value. What parse() complains about becomes a complaint that
// tells the entry.
template <typename Parse>
auto list_field(const Section& section, std::string_view key, Parse&& parse) {
    std::vector<decltype(parse(std::string_view{}))> values;
    for (const std::string& text : section.texts(key)) {
        try {
            values.push_back(parse(std::string_view(text)));
        } catch (const std::invalid_argument& error) {
            section.fail(key, "entry " + std::to_string(values.size() + 1) + " \"" + text +
                                  "\": " + error.what());
        }
    }
    return values;
}

// The text of one field through a parser that throws std::invalid_argument.
template <typename Parse>
auto parsed_field(const Section& section, std::string_view key, std::string_view text,
                  Parse&& parse) {
    try {
        return parse(text);
    } catch (const std::invalid_argument& error) {
        section.fail(key, error.what());
    }
}

// A list of data elements, encoded one behind the other.
ByteString encoded_elements(const Section& section, std::string_view key);

// The same as values. A tag that stands twice is refused.
ElementValues element_values(const Section& section, std::string_view key);

// A data object list as hex digits; an absent one is empty.
ByteString object_list_bytes(const Section& section, std::string_view key);

}  // namespace quorrin::simulator
