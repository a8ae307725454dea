// ICRT_GetICPanName with a hostile card and reader. Head: a byte whose bits turn the log on and
// choose where to look for the card; then blocks (hostile_reader.hpp).

#include <cstdio>

#include "fuzz/support/block_mutator.hpp"
#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/hostile_reader.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

QUORRIN_FUZZ_BLOCKS_AFTER(1)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin::fuzz;
    // The operation traces to standard output.
    static const bool silenced = std::freopen("/dev/null", "w", stdout) != nullptr;
    static_cast<void>(silenced);
    FuzzInput input(data, size);
    const std::uint8_t how = input.byte();

    reset_library();
    if ((how & 0x01) != 0) {
        turn_log_on();
    }
    insert_card(input.rest());
    constexpr std::size_t pan_room = 21;
    constexpr std::size_t longest_name = 252;
    GuardedOutput pan(pan_room);
    GuardedOutput name(longest_name);
    constexpr std::int32_t preset = -1;
    std::int32_t pan_length = preset;
    std::uint8_t name_length = 0;
    const int kind = how >> 1 & 0x03;
    const std::int32_t result =
        ICRT_GetICPanName(kind, how, pan.text(), &pan_length, name.data(), &name_length);
    expect_known_result(result, {-107});
    expect(pan_length == preset || (pan_length >= 1 && pan_length <= 19),
           "a PAN of an odd number of digits has up to 19");
    name.expect_untouched_from(result == 0 ? name_length : 0);
    if (result != 0) {
        pan.expect_untouched();
    }
    check_library_state();
    CloseAllDevice();
    return 0;
}
