// Results as JSON (docs/schemas/command.schema.json): one object that names its command.
#pragma once

#include <nlohmann/json.hpp>

#include "decode/decode.hpp"
#include "decode/render.hpp"
#include "hosts/command/output.hpp"

namespace quorrin::command {

using Json = nlohmann::ordered_json;

inline Json result_of(const char* command) {
    return {{"command", command}, {"version", 1}};
}

inline void put_json(const Json& json) {
    put_result(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

// A decoded tree, as in docs/schemas/decode.schema.json under "tree".
inline Json tree_of(const decode::Node& node) {
    return Json::parse(decode::to_json(node, -1)).at("tree");
}

}  // namespace quorrin::command
