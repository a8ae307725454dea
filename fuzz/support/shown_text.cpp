#include "fuzz/support/shown_text.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "fuzz/support/expectation.hpp"

namespace quorrin::fuzz {
namespace {

using Json = nlohmann::json;

bool is_utf_8(const std::string& text) {
    try {
        return !Json(text).dump().empty();
    } catch (const Json::exception&) {
        return false;
    }
}

}  // namespace

void expect_plain_text(const std::string& text) {
    expect(is_utf_8(text), "what is shown is UTF-8");
    expect(std::ranges::none_of(
               text, [](char c) { return (c >= 0 && c < ' ' && c != '\n') || c == '\x7F'; }),
           "what is shown has no control characters");
    // U+0080 to U+009F, which terminals obey as well.
    for (std::size_t at = text.find('\xC2'); at != std::string::npos;
         at = text.find('\xC2', at + 1)) {
        expect(static_cast<unsigned char>(text[at + 1]) >= 0xA0,
               "what is shown has no control characters of two bytes");
    }
}

void expect_json(const std::string& text) {
    expect(Json::accept(text), "what programs get is JSON");
}

}  // namespace quorrin::fuzz
