// Keyed value text from the host into the store, and keys of a card's data into a text. Head: a list
// of keys and a card's answer, each behind its length.

#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/hostile_reader.hpp"
#include "fuzz/support/keyed_output.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin::fuzz;
    FuzzInput input(data, size);
    const std::string keys = input.text();
    const Bytes answer = input.piece();
    const Bytes rest = input.rest();
    const std::string text(rest.begin(), std::ranges::find(rest, 0));

    reset_library();
    insert_card({});
    emvExtractDataElement(answer.data(), static_cast<std::uint16_t>(answer.size()));
    expect_one_of(setTermPDolData(text.c_str(), TagMapPDolTerData), {0, 1});
    // A host's own table: it ends with a space.
    constexpr QuorrinKeyRow own[] = {{'P', {0x9F, 0x02, 0}, 2, 1, 0},
                                     {'8', {0x86, 0, 0}, 1, 0, 0},
                                     {'N', {0x9F, 0x4E, 0}, 2, 1, 0},
                                     {' ', {0, 0, 0}, 0, 0, 0}};
    expect_one_of(setTermPDolData(text.c_str(), own), {0, 1});
    const std::int32_t number = strToInt(text.c_str());
    expect(number >= 0 && number <= 999, "three digits make a number of up to 999");

    GuardedOutput out(keyed_output_room);
    expect_one_of(packUserInfo(keys.c_str(), out.text()), {0});
    check_keyed_output(out);
    check_library_state();
    return 0;
}
