// Stories as one page for the browser: the page's own text with the story inside.

#include <string_view>

#include "explain/page.hpp"
#include "explain/render.hpp"

namespace quorrin::explain {

std::string to_html(const Story& story) {
    // Inside a script element nothing may look like its end or like markup.
    std::string data;
    for (const char c : to_json(story, -1)) {
        if (c == '<') {
            data += "\\u003c";
        } else {
            data += c;
        }
    }
    constexpr std::string_view place = "{\"story\": \"goes here\"}";
    std::string html(page);
    html.replace(html.find(place), place.size(), data);
    return html;
}

}  // namespace quorrin::explain
