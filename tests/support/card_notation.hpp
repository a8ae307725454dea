// Card answers as readable text.
//
//   6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] ] ] 9000
//
// Pairs of hex digits are bytes; brackets after them hold a value and stand for its length field
// (shortest form) and the value; quotes hold ASCII text; NN*176 is the byte NN 176 times. Spaces
// and line ends separate, # begins a comment. Anything else throws. Malformed objects are written
// byte by byte.
#pragma once

#include <string_view>

#include "tests/support/bytes.hpp"

namespace quorrin::test {

ByteString card_bytes(std::string_view text);

// Tag (as hex digits), length field and value.
ByteString object(std::string_view tag, const ByteString& value);

}  // namespace quorrin::test
