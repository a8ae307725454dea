// The reader and the card behind it, played by the fuzzer: the input is a row of blocks, each behind
// a number of two bytes, highest first. The first is the answer to reset, the others answer the
// commands in turn.
//
//   0000 to 7FFF   so many bytes follow, and the reader reports as many
//   8000 to FFFF   nothing follows: the reader reports this 16-bit number, which is negative
//
// So 0001 xx is the result 1, and FFF5 stands for -11. When the input is used up the connection is
// lost (-11).
#pragma once

#include <cstdint>
#include <span>

namespace quorrin::fuzz {

// From now on the reader answers from these blocks.
void insert_card(std::span<const std::uint8_t> blocks);

// Opens the reader into ReaderHandle and powers the contact slot as a host does.
void power_card();

}  // namespace quorrin::fuzz
