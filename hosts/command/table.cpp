#include "hosts/command/table.hpp"

#include <algorithm>
#include <cstdint>

namespace quorrin::command {
namespace {

constexpr std::size_t gap = 2;

std::string line_of(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += cells[i];
        if (i + 1 < cells.size()) {
            line.append(widths[i] - columns_of(cells[i]) + gap, ' ');
        }
    }
    while (line.ends_with(' ')) {
        line.pop_back();
    }
    return line + "\n";
}

}  // namespace

// UTF-8: what is at least three bytes long is taken for a wide character, as the messages are Chinese.
std::size_t columns_of(std::string_view text) {
    std::size_t columns = 0;
    for (const char c : text) {
        const auto byte = static_cast<std::uint8_t>(c);
        columns += byte < 0x80 || (byte >= 0xC0 && byte < 0xE0) ? 1 : byte >= 0xE0 ? 2 : 0;
    }
    return columns;
}

std::string Table::text(bool colour) const {
    std::vector<std::size_t> widths;
    const auto widen = [&widths](const std::vector<std::string>& cells) {
        widths.resize(std::max(widths.size(), cells.size()));
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], columns_of(cells[i]));
        }
    };
    widen(headings_);
    std::ranges::for_each(rows_, widen);
    std::string text;
    if (!headings_.empty()) {
        text += std::string(colour ? "\033[2m" : "") + line_of(headings_, widths);
        text += colour ? "\033[0m" : "";
    }
    for (const std::vector<std::string>& row : rows_) {
        text += line_of(row, widths);
    }
    return text;
}

}  // namespace quorrin::command
