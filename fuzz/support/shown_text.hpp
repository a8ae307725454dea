// What people get to see, made of data that others have sent.
#pragma once

#include <string>

namespace quorrin::fuzz {

// Lines of UTF-8 without control characters: nothing in the data speaks to the terminal.
void expect_plain_text(const std::string& text);

// One JSON document.
void expect_json(const std::string& text);

}  // namespace quorrin::fuzz
