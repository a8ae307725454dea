// The BER-TLV codec on arbitrary bytes. Head: a tag of up to 4 bytes to search for.

#include <algorithm>
#include <array>
#include <vector>

#include "fuzz/support/expectation.hpp"
#include "fuzz/support/fuzz_input.hpp"
#include "fuzz/support/guarded_output.hpp"
#include "fuzz/support/result_codes.hpp"
#include "quorrin/quorrin.h"

namespace {

using namespace quorrin::fuzz;

void read_first_object(Bytes string, std::uint16_t length) {
    std::uint8_t tag_length = 0;
    std::uint8_t field_size = 0;
    std::uint16_t value_length = 0;
    const auto result = tlvGetTLV(string.data(), length, &tag_length, &field_size, &value_length);
    expect_one_of(result, {0, 1, -30, -31, -32});
    if (result == 0 || result == 1) {
        expect(tag_length + field_size + value_length <= length,
               "an object that is well formed lies within its data");
    }
    std::uint8_t size = 0;
    expect_one_of(tlvGetTag(string.data(), length, &size), {0, 1, -30, -31});
    expect_one_of(tlvGetLength(string.data(), length, &size), {0, -30, -31});
    expect_one_of(tlvGetLengthValue(string.data(), length, &size, &value_length),
                  {0, -29, -30, -31});
}

void search(Bytes string, std::uint16_t length, Bytes tag) {
    constexpr std::size_t longest = 256;
    GuardedOutput value(longest);
    std::uint16_t value_length = 0;
    const auto result =
        tlvGetTLVDataInString(string.data(), length, tag.data(),
                              static_cast<std::uint8_t>(tag.size()), value.data(), &value_length);
    expect_one_of(result, {0, 1, -30, -31});
    if (length > longest) {
        expect(result == -31 && value_length == 0, "a string above 256 bytes is refused");
    }
    value.expect_untouched_from(value_length);
    // What was found stands in the string.
    const auto found = value.bytes().first(value_length);
    expect(std::search(string.begin(), string.end(), found.begin(), found.end()) != string.end() ||
               found.empty(),
           "a value that is found is part of the string");
}

void append_what_was_read(Bytes tag, Bytes value) {
    constexpr std::size_t longest_field = 3;
    GuardedOutput out(tag.size() + longest_field + value.size());
    std::uint32_t position = 0;
    const auto result =
        ucAppendTLV(out.data(), &position, tag.data(), static_cast<std::uint8_t>(tag.size()),
                    value.data(), static_cast<std::uint16_t>(value.size()));
    expect_one_of(result, {0, 1});
    out.expect_untouched_from(position);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const Bytes tag = input.take(input.byte() % 5);
    const Bytes rest = input.rest();
    const std::vector<std::uint8_t> string(rest.begin(), rest.end());  // of exactly this size
    const auto length = static_cast<std::uint16_t>(string.size());

    read_first_object(string, length);
    search(string, length, tag);
    append_what_was_read(tag, string);
    expect_one_of(emvCheckTLVString(string.data(), length), {0, -30});
    expect_one_of(dolCheckTagInDol(tag.data(), static_cast<std::uint8_t>(tag.size()), string.data(),
                                   static_cast<std::uint8_t>(length)),
                  {1, 0, -31, -30});
    return 0;
}
