// The issuer's answer taken apart, and its scripts run in both phases against a card that answers
// anything. Head: the issuer's data behind a length of two bytes; then blocks (hostile_reader.hpp).

#include <array>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/hostile_reader.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorrin::fuzz;
    FuzzInput input(data, size);
    const Bytes taken = input.take(input.number());
    const std::vector<std::uint8_t> issuer_data(taken.begin(), taken.end());
    const auto length = static_cast<std::uint16_t>(issuer_data.size());

    reset_library();
    insert_card(input.rest());
    expect_one_of(emvExtractIssuerData(issuer_data.data(), length), {0});
    for (const std::uint8_t phase : std::array<std::uint8_t, 3>{1, 2, 1}) {
        expect_one_of(emvScriptProcess(phase), {0});
        check_library_state();
    }
    // The same bytes as a single script.
    emvInitAppData();
    expect_one_of(emvCheckIssuerScript(issuer_data.data(), length), {0, -28, -29, -30, -31});
    expect_one_of(emvIssuerCommandProcess(issuer_data.data(), length), {0, -29, -30});
    check_library_state();
    return 0;
}
