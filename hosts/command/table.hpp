// Tables on standard output: columns as wide as their widest cell, blanks between them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/command/wrapping.hpp"

namespace quorrin::command {

class Table {
  public:
    explicit Table(std::vector<std::string> headings = {}) : headings_(std::move(headings)) {}

    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    bool empty() const { return rows_.empty(); }
    // Takes out the columns that have a heading and nothing below it.
    void drop_empty_columns();
    // Whether it is wider than that.
    bool is_wider_than(std::size_t width) const;
    // Each line ended; the cells of the widest columns broken into lines where the table would be wider.
    // The headings are dim where there is colour.
    std::string text(bool colour = false, std::size_t width = unlimited) const;

  private:
    std::vector<std::size_t> widths(std::size_t (*measure)(std::string_view)) const;

    std::vector<std::string> headings_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace quorrin::command
