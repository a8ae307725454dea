// getIccInfo with a hostile card and reader. Head: a byte whose bits turn the log on and name an
// application; then blocks (hostile_reader.hpp).

#include "fuzz/support/block_mutator.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/hostile_reader.hpp"
#include "fuzz/support/keyed_output.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

QUORRIN_FUZZ_BLOCKS_AFTER(1)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin::fuzz;
    FuzzInput input(data, size);
    const std::uint8_t how = input.byte();

    reset_library();
    if ((how & 0x01) != 0) {
        turn_log_on();
    }
    insert_card(input.rest());
    power_card();
    const char* aid = (how & 0x02) != 0 ? "A000000333010101" : nullptr;
    GuardedOutput out(keyed_output_room);
    const std::int64_t result = getIccInfo(ReaderHandle, aid, "ABCDEFGHIJKL", out.text());
    expect_known_result(result, {-107});
    if (result == 0) {
        check_keyed_output(out);
    } else {
        out.expect_untouched();
    }
    check_library_state();
    CloseAllDevice();
    return 0;
}
