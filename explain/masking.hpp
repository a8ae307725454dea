// Traces that were recorded in clear, as a recording with masks would have them.
#pragma once

#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::explain {

trace::Trace masked(trace::Trace trace);

}  // namespace quorrin::explain
