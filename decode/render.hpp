// Trees of nodes as text for people and as JSON for programs (docs/schemas/decode.schema.json).
#pragma once

#include <cstddef>
#include <string>

#include "decode/node.hpp"

namespace quorrin::decode {

struct TextStyle {
    bool colour = false;      // escape sequences for a terminal
    std::size_t width = 100;  // columns: longer values are wrapped
    std::size_t indent = 0;   // columns before everything
};

// An indented tree, each line ended.
std::string to_text(const Node& node, const TextStyle& style = {});

// One JSON object. `indent` spaces for each level; -1 puts everything on one line.
std::string to_json(const Node& node, int indent = 2);

}  // namespace quorrin::decode
