#include "hosts/command/table.hpp"

#include <algorithm>
#include <numeric>

namespace quorrin::command {
namespace {

using Widths = std::vector<std::size_t>;

constexpr std::size_t column_gap = 2;

std::size_t whole_width(const Widths& widths) {
    const std::size_t cells = std::accumulate(widths.begin(), widths.end(), std::size_t{0});
    return widths.empty() ? 0 : cells + column_gap * (widths.size() - 1);
}

std::size_t longest_word(std::string_view text) {
    std::size_t longest = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        longest = std::max(longest, columns_of(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return longest;
}

// The widest column gives, until all fit or none can give any more than `least`.
void narrow(Widths& widths, const Widths& least, std::size_t width) {
    while (whole_width(widths) > width) {
        std::size_t widest = widths.size();
        for (std::size_t i = 0; i < widths.size(); ++i) {
            if (widths[i] > least[i] && (widest == widths.size() || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        if (widest == widths.size()) {
            return;
        }
        --widths[widest];
    }
}

std::string row_text(const std::vector<std::string>& cells, const Widths& widths) {
    std::vector<std::vector<std::string>> parts;
    std::size_t height = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        parts.push_back(cell_lines(cells[i], widths[i]));
        height = std::max(height, parts.back().size());
    }
    std::string text;
    for (std::size_t number = 0; number < height; ++number) {
        std::string line;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const std::string part = number < parts[i].size() ? parts[i][number] : std::string();
            line += part;
            if (i + 1 < parts.size()) {
                line.append(widths[i] - std::min(widths[i], columns_of(part)) + column_gap, ' ');
            }
        }
        while (line.ends_with(' ')) {
            line.pop_back();
        }
        text += line + "\n";
    }
    return text;
}

}  // namespace

Widths Table::widths(std::size_t (*measure)(std::string_view)) const {
    Widths widths;
    const auto widen = [&](const std::vector<std::string>& cells) {
        widths.resize(std::max(widths.size(), cells.size()));
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], measure(cells[i]));
        }
    };
    widen(headings_);
    std::ranges::for_each(rows_, widen);
    return widths;
}

void Table::drop_empty_columns() {
    for (std::size_t i = headings_.size(); i-- > 0;) {
        if (std::ranges::all_of(rows_, [i](const auto& row) { return row[i].empty(); })) {
            const auto column = static_cast<std::ptrdiff_t>(i);
            headings_.erase(headings_.begin() + column);
            for (std::vector<std::string>& row : rows_) {
                row.erase(row.begin() + column);
            }
        }
    }
}

bool Table::is_wider_than(std::size_t width) const {
    return whole_width(widths(columns_of)) > width;
}

std::string Table::text(bool colour, std::size_t width) const {
    constexpr std::size_t narrowest = 8;
    Widths columns = widths(columns_of);
    narrow(columns, widths(longest_word), width);  // words are broken where nothing else helps
    narrow(columns, Widths(columns.size(), narrowest), width);
    std::string text;
    if (!headings_.empty()) {
        text +=
            (colour ? "\033[2m" : "") + row_text(headings_, columns) + (colour ? "\033[0m" : "");
    }
    for (const std::vector<std::string>& row : rows_) {
        text += row_text(row, columns);
    }
    return text;
}

}  // namespace quorrin::command
