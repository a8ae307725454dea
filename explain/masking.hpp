// Traces that were recorded in clear, as a recording with masks would have them.
#pragma once

#include <string_view>

#include "decode/node.hpp"
#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::explain {

trace::Trace masked(trace::Trace trace);

// Of digits that are masked a decoder sees zeros. Nodes get * for them in the value, and `words` for
// what it made of them.
void hide_masked(decode::Node& node, const trace::MaskedBytes& data, std::string_view words);

}  // namespace quorrin::explain
