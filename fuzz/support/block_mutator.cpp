// Mutation of inputs that end in blocks (hostile_reader.hpp): one block changes in itself, is
// dropped, doubled or swapped with its neighbour, and the numbers before the blocks stay right. Left
// to itself, libFuzzer would mostly destroy the framing and with it all that follows.

#include "fuzz/support/block_mutator.hpp"

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace quorrin::fuzz {
namespace {

constexpr std::size_t number_size = 2;

struct Block {
    std::vector<std::uint8_t> bytes;  // the number included
};

std::vector<Block> split(const std::uint8_t* data, std::size_t size) {
    std::vector<Block> blocks;
    std::size_t position = 0;
    while (position + number_size <= size) {
        const auto number = static_cast<std::int16_t>(data[position] << 8 | data[position + 1]);
        const std::size_t length = std::min(size - position - number_size,
                                            static_cast<std::size_t>(std::max<int>(number, 0)));
        blocks.push_back({{data + position, data + position + number_size + length}});
        position += number_size + length;
    }
    return blocks;
}

void mutate(Block& block) {
    constexpr std::size_t longest = 1100;
    std::vector<std::uint8_t> value(block.bytes.begin() + number_size, block.bytes.end());
    const std::size_t before = value.size();
    value.resize(longest);
    const std::size_t after = LLVMFuzzerMutate(value.data(), std::min(before, longest), longest);
    value.resize(after);
    block.bytes = {static_cast<std::uint8_t>(after >> 8), static_cast<std::uint8_t>(after)};
    block.bytes.insert(block.bytes.end(), value.begin(), value.end());
}

}  // namespace

std::size_t mutate_blocks(std::uint8_t* data, std::size_t size, std::size_t max_size, unsigned seed,
                          std::size_t head) {
    std::minstd_rand random(seed);
    std::vector<Block> blocks =
        size > head ? split(data + head, size - head) : std::vector<Block>{};
    // One time in four the plain way: it changes the head, the numbers and reader failures.
    if (blocks.empty() || random() % 4 == 0) {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    const std::size_t chosen = random() % blocks.size();
    const auto at = blocks.begin() + static_cast<std::ptrdiff_t>(chosen);
    switch (random() % 8) {
        case 0:
            blocks.erase(at);
            break;
        case 1:
            blocks.insert(at, Block(*at));
            break;
        case 2:
            std::swap(blocks[chosen], blocks[(chosen + 1) % blocks.size()]);
            break;
        default:
            mutate(blocks[chosen]);
    }
    std::size_t written = head;
    for (const Block& block : blocks) {
        if (written + block.bytes.size() > max_size) {
            break;
        }
        std::ranges::copy(block.bytes, data + written);
        written += block.bytes.size();
    }
    return written;
}

}  // namespace quorrin::fuzz
