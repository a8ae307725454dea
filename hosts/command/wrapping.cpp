#include "hosts/command/wrapping.hpp"

#include <algorithm>
#include <cstdint>

namespace quorrin::command {
namespace {

// Bytes of the character, or of the change of colour, that a text begins with, and its columns.
struct Glyph {
    std::size_t bytes = 1;
    std::size_t columns = 1;
};

// UTF-8: what is at least three bytes long is taken for a wide character, as the messages are Chinese;
// but for general punctuation (E2 80), such as the ellipsis.
Glyph first_glyph(std::string_view text) {
    if (text.starts_with("\033[")) {
        return {std::min(text.find('m'), text.size() - 1) + 1, 0};
    }
    const auto byte = static_cast<std::uint8_t>(text.front());
    const std::size_t bytes = byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    const bool is_wide = bytes >= 3 && !text.starts_with("\xE2\x80");
    return {std::min(bytes, text.size()), is_wide ? std::size_t{2} : std::size_t{1}};
}

// Where the text of a line begins that is named by its first words: "  because      the card ...".
std::size_t hanging_column(std::string_view line, std::size_t width) {
    const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t gap = line.find("  ", start);
    if (gap != std::string_view::npos) {
        const std::size_t text = line.find_first_not_of(' ', gap);
        if (text != std::string_view::npos && columns_of(line.substr(0, text)) <= width / 2) {
            return columns_of(line.substr(0, text));
        }
    }
    constexpr std::size_t further = 4;
    return std::min(start + further, width / 2);
}

void append_wrapped(std::string& out, std::string_view line, std::size_t width) {
    if (columns_of(line) <= width) {
        out += line;
        return;
    }
    const std::size_t hanging = hanging_column(line, width);
    std::size_t column = 0;
    while (!line.empty()) {
        const std::size_t word = std::min(line.find_first_not_of(' '), line.size());
        const std::size_t end = std::min(line.find(' ', word), line.size());
        const std::size_t columns = columns_of(line.substr(word, end - word));
        if (column > hanging && column + word + columns > width) {
            out += "\n" + std::string(hanging, ' ');
            out += line.substr(word, end - word);
            column = hanging + columns;
        } else {
            out += line.substr(0, end);
            column += word + columns;
        }
        line.remove_prefix(end);
    }
}

}  // namespace

std::size_t columns_of(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const Glyph glyph = first_glyph(text);
        columns += glyph.columns;
        text.remove_prefix(glyph.bytes);
    }
    return columns;
}

std::string wrapped(std::string_view text, std::size_t width) {
    std::string out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        append_wrapped(out, text.substr(0, end), width);
        out += end < text.size() ? "\n" : "";
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

std::vector<std::string> cell_lines(std::string_view text, std::size_t width) {
    std::vector<std::string> lines(1);
    std::size_t column = 0;
    while (!text.empty()) {
        const std::size_t blanks = std::min(text.find_first_not_of(' '), text.size());
        const std::size_t end = std::min(text.find(' ', blanks), text.size());
        std::string_view word = text.substr(blanks, end - blanks);
        const std::size_t gap = column == 0 ? 0 : blanks;
        if (column != 0 && column + gap + columns_of(word) > width) {
            lines.emplace_back();
            column = 0;
        } else {
            lines.back().append(gap, ' ');
            column += gap;
        }
        while (!word.empty()) {
            const Glyph glyph = first_glyph(word);
            if (column + glyph.columns > width && column != 0) {
                lines.emplace_back();
                column = 0;
            }
            lines.back() += word.substr(0, glyph.bytes);
            column += glyph.columns;
            word.remove_prefix(glyph.bytes);
        }
        text.remove_prefix(end);
    }
    return lines;
}

}  // namespace quorrin::command
