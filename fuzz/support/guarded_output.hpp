// A host's output buffer of an exact size on the heap: the address sanitizer sees a step outside,
// the pattern shows what was written inside.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>

#include "fuzz/support/expectation.hpp"

namespace quorrin::fuzz {

class GuardedOutput {
  public:
    explicit GuardedOutput(std::size_t size)
        : size_(size), bytes_(std::make_unique<std::uint8_t[]>(size)) {
        std::fill_n(bytes_.get(), size_, pattern);
    }

    std::uint8_t* data() { return bytes_.get(); }
    char* text() { return reinterpret_cast<char*>(bytes_.get()); }
    std::span<const std::uint8_t> bytes() const { return {bytes_.get(), size_}; }

    // Nothing was written from this position on.
    void expect_untouched_from(std::size_t position) const {
        expect(position <= size_, "an output is no longer than its buffer");
        expect(std::ranges::all_of(bytes().subspan(position),
                                   [](std::uint8_t byte) { return byte == pattern; }),
               "a host buffer is untouched beyond what may be written");
    }
    void expect_untouched() const { expect_untouched_from(0); }

  private:
    static constexpr std::uint8_t pattern = 0xA5;

    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

}  // namespace quorrin::fuzz
