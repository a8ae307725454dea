// Logs one line of every kind: texts as hosts and cards bring them along, well-formed or not.
#include <array>
#include <cstdint>
#include <string>

#include "reader/diagnostic_log.hpp"

namespace {

constexpr std::array texts = {
    "",
    "plain",
    "100 % and %s, never a format",
    "\xE4\xB8\xAD\xE6\x96\x87",           // Chinese
    "\xF0\x9F\x92\xB3",                   // beyond the basic plane
    "GBK \xD6\xD0\xB9\xFA end",           // as cards hold names
    "lone continuation \x80 end",         //
    "cut \xE4\xB8",                       //
    "cut \xE4\xB8 and on",                //
    "overlong \xC0\xAF end",              //
    "surrogate \xED\xA0\x80 end",         //
    "too large \xF4\x90\x80\x80 end",     //
    "never in a text \xFE\xFF end",       //
    "\x01\x02\x1B[31m\x7F",               // control characters
    "\xEF\xBB\xBF byte order mark first"  //
};

}  // namespace

int main() {
    using namespace quorrin::log;
    for (const char* text : texts) {
        write_formatted("[%s]", text);
        write_items("text", text);
        write_items(text, "with a number", INT64_MIN);
    }
    // Longer than a line of the log, in one-byte and in three-byte characters.
    std::string text;
    for (const char* piece : {"0123456789", "\xE4\xB8\xAD"}) {
        text.clear();
        for (int i = 0; i < 100; ++i) {
            text += piece;
        }
        write_formatted("%s", text.c_str());
        write_items("long", text.c_str());
    }
}
