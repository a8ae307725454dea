// What tests read from trees.
#pragma once

#include <string>
#include <vector>

#include "decode/decode.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::test {

// "byte 1 bit 8: text" of every flag, or "label: text" of every field below a node.
inline std::vector<std::string> told(const decode::Node& node) {
    std::vector<std::string> lines;
    for (const decode::Node& child : node.children) {
        lines.push_back(child.label + ": " + child.text);
    }
    return lines;
}

inline std::vector<std::string> problems_of(const decode::Node& node) {
    std::vector<std::string> lines;
    for (const decode::Problem& problem : decode::all_problems(node)) {
        lines.push_back(std::to_string(problem.offset) + ": " + problem.text);
    }
    return lines;
}

inline decode::Node as(std::string_view kind, std::string_view digits,
                       const decode::Options& options = {}) {
    return decode::find_data_kind(kind)->decode(hex(digits), options);
}

inline decode::Node as_text(std::string_view kind, std::string_view text,
                            const decode::Options& options = {}) {
    return decode::find_data_kind(kind)->decode(text_bytes(text), options);
}

// A kind of data by its name, or an element by its tag.
inline decode::Node told_as(const char* kind, const char* value) {
    if (decode::find_data_kind(kind) != nullptr) {
        return as(kind, value);
    }
    return decode::element(*decode::parse_tag(kind), hex(value));
}

}  // namespace quorrin::test
