// Texts about readers: what PC/SC calls them, and what fits into a host's buffers.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorrin::pcsc {

// The names of a PC/SC list: texts with a zero byte each, and an empty one at the end.
std::vector<std::string> names_in_list(std::string_view list);

// Writes as much of a UTF-8 text as fits, whole characters only, and a zero byte.
void write_cut(std::span<char> room, std::string_view text);

// The serial number that USB readers carry in their name, in the last pair of round brackets; empty
// where there is none.
std::string_view serial_in_name(std::string_view name);

}  // namespace quorrin::pcsc
