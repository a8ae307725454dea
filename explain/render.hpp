// Stories for people in a terminal, for programs, and as a page for the browser.
#pragma once

#include <string>

#include "explain/story.hpp"

namespace quorrin::explain {

struct TextStyle {
    bool colour = false;  // escape sequences for a terminal
    std::size_t width = 100;
    bool details = false;  // every exchange with its decoded content
};

std::string to_text(const Story& story, const TextStyle& style = {});

// One JSON object (docs/schemas/explain.schema.json); `indent` as in decode/render.hpp.
std::string to_json(const Story& story, int indent = 2);

// One page that needs nothing from elsewhere.
std::string to_html(const Story& story);

}  // namespace quorrin::explain
