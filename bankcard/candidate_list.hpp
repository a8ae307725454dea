// The list of applications found on the card, in the order in which they were met (EMV book 1,
// section 12.3). It is exported as text: gucAidList, gucAidListLen, gucAidNum.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorrin {

// The longest AID that a directory or a host may name (ISO 7816-5 knows 16 bytes).
inline constexpr std::size_t max_aid_size = 20;

// The first item of a candidate list, which may be empty.
constexpr std::string_view first_aid(std::string_view candidates) {
    return candidates.substr(0, candidates.find('|'));
}

void clear_candidates();

// Appends the AID (4F) of a directory entry (61). An entry without one appends an empty AID; one
// that does not fit is dropped whole.
void append_candidate(std::span<const std::uint8_t> directory_entry);

}  // namespace quorrin
