// Tables on standard output: columns as wide as their widest cell, blanks between them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorrin::command {

class Table {
  public:
    explicit Table(std::vector<std::string> headings = {}) : headings_(std::move(headings)) {}

    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    bool empty() const { return rows_.empty(); }
    // Each line ended. The headings are dim where there is colour.
    std::string text(bool colour = false) const;

  private:
    std::vector<std::string> headings_;
    std::vector<std::vector<std::string>> rows_;
};

// Columns that a text takes in a terminal: a Chinese character takes two.
std::size_t columns_of(std::string_view text);

}  // namespace quorrin::command
