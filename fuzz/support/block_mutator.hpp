#pragma once

#include <cstddef>
#include <cstdint>

namespace quorrin::fuzz {

// For LLVMFuzzerCustomMutator of a target whose input is a head of fixed size and then blocks.
std::size_t mutate_blocks(std::uint8_t* data, std::size_t size, std::size_t max_size, unsigned seed,
                          std::size_t head);

}  // namespace quorrin::fuzz

// Makes it the target's way of changing inputs.
#define QUORRIN_FUZZ_BLOCKS_AFTER(head)                                                       \
    extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,      \
                                                   std::size_t max_size, unsigned int seed) { \
        return quorrin::fuzz::mutate_blocks(data, size, max_size, seed, head);                \
    }
