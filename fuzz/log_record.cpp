// A log format and a record that a card gives for it. Head: the format behind its length.

#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

namespace {

// The record has to have what its format names: every pair's length.
constexpr std::size_t longest_record = 256 * 256;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin::fuzz;
    FuzzInput input(data, size);
    const Bytes taken = input.piece();
    const std::vector<std::uint8_t> format(taken.begin(), taken.end());
    const Bytes rest = input.rest();
    std::vector<std::uint8_t> record(rest.begin(), rest.end());
    record.resize(longest_record);

    constexpr std::size_t longest_text = 255;
    GuardedOutput out(longest_text);
    std::uint32_t length = 0;
    const std::int64_t result =
        PackTrsData(format.data(), static_cast<std::uint32_t>(format.size()), record.data(),
                    static_cast<std::uint32_t>(record.size()), out.text(), &length);
    expect_one_of(result, {0, -107});
    out.expect_untouched_from(length);
    return 0;
}
