// Which teller tells which element.
#pragma once

#include "decode/lookup.hpp"
#include "decode/reading.hpp"

namespace quorrin::decode {

// Text, fields and flags for the value of an element; by its format where it has no teller of its own.
void tell_meaning(const Reading& reading, const Element& element, Secret secret, Value value,
                  Node& node);

}  // namespace quorrin::decode
