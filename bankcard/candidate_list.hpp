// The list of applications found on the card, in the order in which they were met (EMV book 1,
// section 12.3). It is exported as text: gucAidList, gucAidListLen, gucAidNum.
#pragma once

#include <cstdint>
#include <span>

namespace quorrin {

void clear_candidates();

// Appends the AID (4F) of a directory entry (61). An entry without one appends an empty AID; one
// that does not fit is dropped whole.
void append_candidate(std::span<const std::uint8_t> directory_entry);

}  // namespace quorrin
