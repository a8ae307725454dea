// Card answers on their way into the store, and elements stored and read by tag. Head: what is done,
// a template tag and a tag, each behind its length.

#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/library_state.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

namespace {

using namespace quorrin::fuzz;

// A view of bytes that end where their heap block ends.
struct ExactBytes {
    explicit ExactBytes(Bytes from) : bytes(from.begin(), from.end()) {}
    const std::uint8_t* data() const { return bytes.data(); }
    std::uint8_t size8() const { return static_cast<std::uint8_t>(bytes.size()); }
    std::uint16_t size16() const { return static_cast<std::uint16_t>(bytes.size()); }
    std::vector<std::uint8_t> bytes;
};

void read_back(const ExactBytes& tag, std::uint16_t room) {
    const std::uint16_t held = emvGetDataElementLength(tag.data(), tag.size8(), 0);
    std::uint16_t length = room;
    GuardedOutput out(room == 0 ? held : room);
    const std::int32_t result = emvGetDataElement(tag.data(), tag.size8(), &length, out.data());
    expect_one_of(result, {1, 2, -18, -30, -31});
    out.expect_untouched_from(result > 0 ? length : 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::uint8_t action = input.byte();
    const ExactBytes template_tag(input.take(input.byte() % 7));
    const ExactBytes tag(input.take(input.byte() % 5));
    const std::uint16_t room = input.number();
    const ExactBytes value(input.rest());

    reset_library();
    switch (action % 8) {
        case 0:
        case 1:
            expect_one_of(emvExtractDataElement(value.data(), value.size16()), {0, -30, -31});
            break;
        case 2:
            expect_one_of(emvExtractDataTemplate(template_tag.data(), template_tag.size8(),
                                                 value.data(), value.size16()),
                          {0, -30, -31});
            break;
        case 3:
            expect_one_of(emvSetDataElement(template_tag.data(), template_tag.size8(), tag.data(),
                                            tag.size8(), value.size16(), value.data()),
                          {0, -18, -22, -27, -28, -29, -30, -31});
            break;
        case 4:
            // A length that the host has widened still gives no access beyond the storage.
            emvSetDataElementLength(tag.data(), tag.size8(), room, 2);
            emvSetDataElement(template_tag.data(), 0, tag.data(), tag.size8(), value.size16(),
                              value.data());
            read_back(tag, input.byte());
            return 0;
        case 5:
            expect_one_of(emvExtractAipAfl(value.data(), value.size16()),
                          {0, -27, -28, -29, -30, -31});
            break;
        case 6:
            emvProcessSFIofDDF(value.data(), value.size16());
            break;
        default: {
            const std::int64_t result = qPBOCProcessDDF(value.data(), value.size16());
            expect_one_of(result, {0, 212, 213, 214, 216});
        }
    }
    read_back(tag, room % 600);
    check_library_state();
    return 0;
}
