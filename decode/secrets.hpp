// What must not be seen without being asked for: account numbers, track data, names, numbers of
// papers, PIN data.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"

namespace quorrin::decode {

// Which hex digits of a value are hidden, one entry a digit.
using Hidden = std::vector<bool>;

Hidden hidden_digits(Secret secret, Bytes value);

// Account numbers in data that no row protects: those that are known from the rest of the input, and, in
// data that nobody knows, whatever looks like one.
enum class Suspicion { KnownNumbers, LooksLikeOne };
Hidden hidden_account_numbers(const Reading& reading, Bytes value, Suspicion suspicion);

std::string masked(Bytes value, const Hidden& hidden);             // as hex
std::string masked_characters(Bytes value, const Hidden& hidden);  // as text

// The hex of data that no row protects.
std::string open_hex(const Reading& reading, Bytes value,
                     Suspicion suspicion = Suspicion::KnownNumbers);
std::string open_characters(const Reading& reading, Bytes value,
                            Suspicion suspicion = Suspicion::KnownNumbers);

// The account number in 5A, 57 or 9F6B: the digits up to the filler or separator.
std::string account_number_digits(Bytes value);

// First six and last four digits, whatever the length; of ten digits or fewer the last four.
std::string masked_account_number(std::string digits);

}  // namespace quorrin::decode
