// Trees for people: one line a node, parts indented below it.
#include <algorithm>

#include "decode/render.hpp"

namespace quorrin::decode {
namespace {

constexpr std::size_t step = 2;
constexpr std::size_t flag_label_width = 16;  // "byte 4 bits 8-5 "
constexpr std::size_t narrowest = 40;

enum class Colour { None, Tag, Dim, Text, Problem };

class Writer {
  public:
    explicit Writer(const TextStyle& style) : style_(style) {}

    void node(const Node& node, std::size_t indent);
    std::string take() { return std::move(out_); }

  private:
    // One line: text that is counted in columns, colours that are not.
    void begin(std::size_t indent) {
        out_.append(indent, ' ');
        column_ = indent;
    }
    void put(std::string_view text, Colour colour = Colour::None) {
        constexpr std::string_view codes[] = {"", "\033[36m", "\033[2m", "\033[1m", "\033[31m"};
        const bool coloured = style_.colour && colour != Colour::None;
        out_ += coloured ? codes[static_cast<std::size_t>(colour)] : "";
        out_ += text;
        out_ += coloured ? "\033[0m" : "";
        // Characters, not bytes; those of two columns are only in notes, at the end of a line.
        column_ += static_cast<std::size_t>(
            std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
    }
    void end() { out_ += '\n'; }

    void head(const Node& node);
    void value(const Node& node, std::size_t indent);
    void note(const Node& node);
    void wrapped_hex(std::string_view digits, std::size_t indent);

    const TextStyle& style_;
    std::string out_;
    std::size_t column_ = 0;
};

bool only_flags(const Node& node) {
    return std::ranges::all_of(node.children,
                               [](const Node& child) { return child.kind == NodeKind::Flag; });
}

bool shows_value(const Node& node) {
    const bool told_by_parts = !node.children.empty() && !only_flags(node);
    return !node.value.empty() && !node.text_says_all && !told_by_parts;
}

void Writer::head(const Node& node) {
    if (!node.tag.empty()) {
        put(node.tag, Colour::Tag);
        put(" ");
    }
    put(node.label);
}

// Groups of four bytes stay together.
void Writer::wrapped_hex(std::string_view digits, std::size_t indent) {
    constexpr std::size_t group = 8;
    const std::size_t room = std::max(style_.width, indent + narrowest) - indent;
    const std::size_t groups = std::max<std::size_t>(1, (room + 1) / (group + 1));
    while (!digits.empty()) {
        begin(indent);
        for (std::size_t i = 0; i < groups && !digits.empty(); ++i) {
            put(i == 0 ? "" : " ");
            put(digits.substr(0, group), Colour::Dim);
            digits.remove_prefix(std::min(group, digits.size()));
        }
        end();
    }
}

void Writer::note(const Node& node) {
    if (!node.note.empty()) {
        put(" [" + node.note + "]", Colour::Dim);
    }
}

void Writer::value(const Node& node, std::size_t indent) {
    const bool hex = shows_value(node);
    if (!node.text.empty() || hex) {
        put(": ");
    } else if (node.kind == NodeKind::Template) {
        put(node.size == node.header_size ? ", empty" : "");
    }
    if (!node.text.empty()) {
        put(node.text, Colour::Text);
    }
    if (!hex) {
        note(node);
        end();
        return;
    }
    const std::string_view digits = node.value;
    const bool fits = column_ + digits.size() + 3 <= std::max(style_.width, indent + narrowest);
    if (fits && node.text.empty()) {
        put(digits);
        note(node);
        end();
    } else if (fits) {
        put(" (", Colour::Dim);
        put(digits, Colour::Dim);
        put(")", Colour::Dim);
        note(node);
        end();
    } else {
        if (node.text.empty()) {
            const std::size_t bytes = digits.size() / 2;
            put(std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes"));
        }
        note(node);
        end();
        wrapped_hex(digits, indent + step);
    }
}

void Writer::node(const Node& node, std::size_t indent) {
    // A root is worth a line when it says something, or has nothing else to show.
    const bool silent = node.kind == NodeKind::Root && node.text.empty() && node.problems.empty() &&
                        !node.children.empty();
    if (!silent) {
        begin(indent);
        if (node.kind == NodeKind::Flag) {
            const std::size_t width = std::max(flag_label_width, node.label.size() + 1);
            put(node.label + std::string(width - node.label.size(), ' '), Colour::Dim);
            put(node.text);
            note(node);
            end();
        } else {
            head(node);
            value(node, indent);
        }
    }
    const std::size_t inner = silent ? indent : indent + step;
    for (const Problem& problem : node.problems) {
        begin(inner);
        put("! offset " + std::to_string(problem.offset) + ": " + problem.text, Colour::Problem);
        end();
    }
    for (const Node& child : node.children) {
        this->node(child, inner);
    }
}

}  // namespace

std::string to_text(const Node& node, const TextStyle& style) {
    Writer writer(style);
    writer.node(node, style.indent);
    return writer.take();
}

}  // namespace quorrin::decode
