#include "fuzz/support/result_codes.hpp"

#include <algorithm>
#include <cstdio>

#include "fuzz/support/expectation.hpp"
#include "tests/reader/message_listing.hpp"

namespace quorrin::fuzz {
namespace {

void judge(bool known, std::int64_t result) {
    if (!known) {
        std::fprintf(stderr, "result %lld\n", static_cast<long long>(result));
    }
    expect(known, "an operation's result is one of those that are documented");
}

}  // namespace

void expect_known_result(std::int64_t result, std::initializer_list<std::int64_t> own) {
    const auto is_result = [&](std::int64_t code) { return code == result; };
    judge(result == 0 || std::ranges::any_of(own, is_result) ||
              std::ranges::any_of(test::message_listing, is_result, &test::ListedMessage::code),
          result);
}

void expect_one_of(std::int64_t result, std::initializer_list<std::int64_t> results) {
    judge(std::ranges::find(results, result) != results.end(), result);
}

}  // namespace quorrin::fuzz
