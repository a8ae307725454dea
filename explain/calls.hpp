// From the lines of a trace to commands with their whole answers, and to visits of one card.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::explain {

// A call of the host as the field counts them: a command with all that it took to get its answer, or one
// call of another reader function.
struct Call {
    const trace::Entry* entry = nullptr;  // the first line
    std::vector<std::size_t> lines;
    std::int64_t began = 0;  // microseconds
    std::int64_t ended = 0;
    std::int64_t duration = 0;  // nanoseconds
    trace::MaskedBytes command;
    trace::MaskedBytes answer;  // data of all parts and the last status word
    std::int64_t result = 0;
    std::string result_name;
    unsigned wrong_le = 0;   // 6Cxx answers on the way
    unsigned announced = 0;  // 61xx answers on the way

    bool is_exchange() const { return entry->action == trace::Action::Exchange; }
    bool has_status() const { return answer.size() >= 2; }
    unsigned status() const;          // 0 without one
    trace::MaskedBytes data() const;  // without the status word
    trace::MaskedBytes command_data() const;
    std::uint8_t header(std::size_t index) const;  // CLA INS P1 P2; 0 where the command is shorter
};

std::vector<Call> calls_of(const std::vector<const trace::Entry*>& entries);

}  // namespace quorrin::explain
