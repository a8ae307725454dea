// The tree that decoding makes: what renderers show and what other tools search.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quorrin::decode {

// Something that does not hold, and where in the input.
struct Problem {
    enum class Kind { Malformed, Unknown };  // broken, or whole but in no table

    std::size_t offset = 0;
    std::string text;
    Kind kind = Kind::Malformed;
};

enum class NodeKind {
    Root,        // the whole input
    Object,      // a primitive data object or the value of one
    Template,    // a constructed data object
    Padding,     // 00 or FF between objects
    Field,       // a part of a value
    Flag,        // a bit, or several that stand for one thing, of a value
    Unreadable,  // bytes that could not be understood; the problem says why
};

struct Node {
    NodeKind kind = NodeKind::Field;
    std::string tag;              // hex digits; empty where there is none
    std::string label;            // what it is, in English
    std::string label_zh;         // the same in Chinese, where the library knows it
    std::size_t offset = 0;       // of the first byte in the input, of the tag where there is one
    std::size_t header_size = 0;  // bytes of tag and length field
    std::size_t size = 0;         // all bytes, header included
    std::string value;            // hex digits; a masked digit is *
    std::string text;             // what the value means; masked as well
    std::string note;             // what else is to be known, such as another meaning of the tag
    bool sensitive = false;       // the value is masked unless it was asked for
    bool text_says_all = false;   // the text shows the whole value: people need no hex beside it
    std::vector<Problem> problems;
    std::vector<Node> children;
};

// Whether anything below or in a node does not hold.
bool has_problems(const Node& node);

// All problems of a tree, in the order in which the input shows them.
std::vector<Problem> all_problems(const Node& node);

// The first object of a tag ("9F36") in a tree, or null.
const Node* find_object(const Node& node, const std::string& tag);

}  // namespace quorrin::decode
