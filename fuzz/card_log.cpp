// GetIcBankCardTrDetail with a hostile card and reader. Head: a byte whose bits turn the log on and
// choose application and kind of log, and a record selector; then blocks (hostile_reader.hpp).

#include "fuzz/support/block_mutator.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/hostile_reader.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

QUORRIN_FUZZ_BLOCKS_AFTER(2)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin::fuzz;
    FuzzInput input(data, size);
    const std::uint8_t how = input.byte();
    const auto selector = static_cast<std::int8_t>(input.byte());

    reset_library();
    if ((how & 0x01) != 0) {
        turn_log_on();
    }
    insert_card(input.rest());
    power_card();
    const char* aid = (how & 0x02) != 0 ? "A000000333010101" : nullptr;
    const int kind = (how & 0x04) != 0 ? QUORRIN_LOAD_LOG : QUORRIN_TRANSACTION_LOG;
    // A log names its records in one byte; each has up to 255 characters.
    GuardedOutput out(3 + 255 * 255);
    expect_known_result(GetIcBankCardTrDetail(kind, ReaderHandle, selector, aid, out.text()),
                        {-106, -107});
    check_library_state();
    CloseAllDevice();
    return 0;
}
