#include "reader_libraries/simulator/card/profile_fields.hpp"

namespace quorrin::simulator {

ByteString encoded_elements(const Section& section, std::string_view key) {
    ByteString encoded;
    for (const ByteString& element : list_field(section, key, parse_encoded_element)) {
        append(encoded, element);
    }
    return encoded;
}

ElementValues element_values(const Section& section, std::string_view key) {
    ElementValues values;
    for (Element& element : list_field(section, key, parse_element)) {
        if (!values.emplace(element.tag, std::move(element.value)).second) {
            section.fail(key, "has " + hex_text(tag_bytes(element.tag)) + " twice");
        }
    }
    return values;
}

ByteString object_list_bytes(const Section& section, std::string_view key) {
    constexpr std::size_t longest = 252;  // the longest that terminals keep
    auto list = section.optional_hex(key, 0, longest).value_or(ByteString{});
    if (!parse_object_list(list)) {
        section.fail(key, "must be tags, each with a length of one byte");
    }
    return list;
}

}  // namespace quorrin::simulator
