// Trees as values, for whoever puts them into a larger JSON document.
#pragma once

#include <nlohmann/json.hpp>

#include "decode/node.hpp"

namespace quorrin::decode {

// As in docs/schemas/decode.schema.json, under "tree".
nlohmann::ordered_json json_of(const Node& node);

}  // namespace quorrin::decode
