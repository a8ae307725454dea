#include "decode/node.hpp"

#include <algorithm>

namespace quorrin::decode {

bool has_problems(const Node& node) {
    return !node.problems.empty() || std::ranges::any_of(node.children, has_problems);
}

std::vector<Problem> all_problems(const Node& node) {
    std::vector<Problem> problems = node.problems;
    for (const Node& child : node.children) {
        const std::vector<Problem> inner = all_problems(child);
        problems.insert(problems.end(), inner.begin(), inner.end());
    }
    return problems;
}

const Node* find_object(const Node& node, const std::string& tag) {
    if (node.tag == tag) {
        return &node;
    }
    for (const Node& child : node.children) {
        if (const Node* found = find_object(child, tag); found != nullptr) {
            return found;
        }
    }
    return nullptr;
}

}  // namespace quorrin::decode
