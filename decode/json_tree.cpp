// Trees for programs, as docs/schemas/decode.schema.json describes them.
#include "decode/json_tree.hpp"

#include "decode/render.hpp"

namespace quorrin::decode {
namespace {

using Json = nlohmann::ordered_json;

constexpr int format_version = 1;

const char* kind_name(NodeKind kind) {
    switch (kind) {
        case NodeKind::Root:
            return "root";
        case NodeKind::Object:
            return "object";
        case NodeKind::Template:
            return "template";
        case NodeKind::Padding:
            return "padding";
        case NodeKind::Field:
            return "field";
        case NodeKind::Flag:
            return "flag";
        case NodeKind::Unreadable:
            return "unreadable";
    }
    return "field";
}

Json problem_json(const Problem& problem) {
    return {{"kind", problem.kind == Problem::Kind::Unknown ? "unknown" : "malformed"},
            {"offset", problem.offset},
            {"text", problem.text}};
}

Json problems_json(const std::vector<Problem>& problems) {
    Json list = Json::array();
    for (const Problem& problem : problems) {
        list.push_back(problem_json(problem));
    }
    return list;
}

void put_text(Json& json, const char* name, const std::string& text) {
    if (!text.empty()) {
        json[name] = text;
    }
}

// Texts are UTF-8 already; what a table might have wrong must not stop a program.
constexpr auto replace_bad_utf8 = Json::error_handler_t::replace;

}  // namespace

nlohmann::ordered_json json_of(const Node& node) {
    Json json = {{"kind", kind_name(node.kind)}};
    put_text(json, "tag", node.tag);
    json["label"] = node.label;
    put_text(json, "label_zh", node.label_zh);
    json["offset"] = node.offset;
    json["size"] = node.size;
    if (node.header_size != 0) {
        json["header_size"] = node.header_size;
    }
    put_text(json, "value", node.value);
    put_text(json, "text", node.text);
    put_text(json, "note", node.note);
    if (node.sensitive) {
        json["sensitive"] = true;
    }
    if (!node.problems.empty()) {
        json["problems"] = problems_json(node.problems);
    }
    if (!node.children.empty()) {
        Json children = Json::array();
        for (const Node& child : node.children) {
            children.push_back(json_of(child));
        }
        json["children"] = std::move(children);
    }
    return json;
}

std::string to_json(const Node& node, int indent) {
    const Json document = {{"format", "quorrin-decode"},
                           {"version", format_version},
                           {"problems", problems_json(all_problems(node))},
                           {"tree", json_of(node)}};
    return document.dump(indent, ' ', false, replace_bad_utf8);
}

}  // namespace quorrin::decode
