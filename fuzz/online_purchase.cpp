// getARQC and ARPCExeScript with a hostile card, reader and bank. Head: a byte whose bits turn the
// log on and name an application, then the bank's text and the terminal data, each behind its
// length; then blocks (hostile_reader.hpp).

#include <algorithm>
#include <string>

#include "fuzz/support/block_mutator.hpp"
#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/hostile_reader.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

namespace {

using namespace quorrin::fuzz;

void check_texts(const GuardedOutput& cryptogram, const GuardedOutput& cdol2) {
    constexpr std::uint8_t cdol2_tag[] = {0x8D};
    cdol2.expect_untouched_from(std::size_t{2} * emvGetDataElementLength(cdol2_tag, 1, 0));
    if (emvExistAC() == 0) {
        cryptogram.expect_untouched();
        return;
    }
    expect(std::ranges::all_of(
               cryptogram.bytes(),
               [](std::uint8_t c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }),
           "a cryptogram is hex text");
}

// The bytes before the blocks.
std::size_t head_size(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    input.byte();
    input.piece();
    input.piece();
    return size - input.rest().size();
}

}  // namespace

QUORRIN_FUZZ_BLOCKS_AFTER(head_size(data, size))

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::uint8_t how = input.byte();
    const std::string issuer_text = input.text();
    const std::string terminal_data = input.text();

    reset_library();
    if ((how & 0x01) != 0) {
        turn_log_on();
    }
    insert_card(input.rest());
    power_card();
    constexpr std::size_t cryptogram_characters = 16;
    constexpr std::size_t most_cdol2_characters = 504;
    GuardedOutput cryptogram(cryptogram_characters);
    GuardedOutput cdol2(most_cdol2_characters);
    const std::int64_t result =
        getARQC(ReaderHandle, terminal_data.c_str(),
                (how & 0x02) != 0 ? "A000000333010101" : nullptr, cryptogram.text(), cdol2.text());
    expect_known_result(result, {-107, 208, 238});
    check_library_state();
    if (result == 0) {
        check_texts(cryptogram, cdol2);
    } else {
        cryptogram.expect_untouched();
        cdol2.expect_untouched();
    }
    // A second answer continues with what the first has left behind.
    for (int answer = 0; answer < 2; ++answer) {
        const std::int64_t taken = ARPCExeScript(ReaderHandle, 0, issuer_text.c_str());
        expect_one_of(taken, {result == 0 ? 0 : -120});
        check_library_state();
    }
    CloseAllDevice();
    return 0;
}
