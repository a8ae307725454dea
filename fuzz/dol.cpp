// Data object lists answered from a store that a card has filled. Head: which list, and an answer of
// the card behind its length.

#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

namespace {

using namespace quorrin::fuzz;

// What the caller has to size the output for: the sum of the lengths that the list names.
std::size_t listed_bytes(Bytes list) {
    std::size_t sum = 0;
    while (!list.empty()) {
        const auto available = static_cast<std::uint16_t>(list.size());
        std::uint8_t tag_length = 0;
        if (tlvGetTag(list.data(), available, &tag_length) < 0) {
            break;
        }
        list = list.subspan(tag_length);
        std::uint8_t field_size = 0;
        std::uint16_t length = 0;
        const auto result = tlvGetLengthValue(list.data(), static_cast<std::uint16_t>(list.size()),
                                              &field_size, &length);
        if (result != 0 && result != -29) {
            break;
        }
        sum += length;
        if (field_size == 0 || field_size > list.size()) {
            break;
        }
        list = list.subspan(field_size);
    }
    return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const bool processing_options = input.byte() % 2 == 1;
    const Bytes answer = input.piece();
    const Bytes rest = input.rest();
    const std::vector<std::uint8_t> list(rest.begin(), rest.end());

    reset_library();
    emvExtractDataElement(answer.data(), static_cast<std::uint16_t>(answer.size()));
    const std::size_t expected = listed_bytes(list);
    constexpr std::size_t most = 0xFFFF;  // the length that is reported has 16 bits
    if (expected > most) {
        return 0;
    }
    GuardedOutput out(expected);
    std::uint16_t length = 0;
    const auto build = processing_options ? dolPaddingPdol : dolPaddingDOL;
    expect_one_of(build(out.data(), &length, list.data(), static_cast<std::uint16_t>(list.size())),
                  {0, -29, -30, -31});
    out.expect_untouched_from(length);
    check_library_state();
    return 0;
}
