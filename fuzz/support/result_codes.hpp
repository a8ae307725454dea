// The results that an operation may give: the codes of the published message listing, and the
// operation's own.
#pragma once

#include <cstdint>
#include <initializer_list>

namespace quorrin::fuzz {

// The result is 0, a listed code or one of the operation's own.
void expect_known_result(std::int64_t result, std::initializer_list<std::int64_t> own);

// The result is one of these.
void expect_one_of(std::int64_t result, std::initializer_list<std::int64_t> results);

}  // namespace quorrin::fuzz
