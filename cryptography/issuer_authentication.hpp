// Element 91, the proof that the answer comes from the issuer: EMV book 2 section 8.2. The card's
// side and the issuer's. All keys are the session key of the cryptogram.
#pragma once

#include <cstdint>
#include <vector>

#include "cryptography/algorithm.hpp"

namespace quorrin::cryptography {

enum class ArpcMethod : std::uint8_t { Method1 = 1, Method2 = 2 };

// 8A: two characters.
using ResponseCode = std::array<std::uint8_t, 2>;

// What ARPC method 2 tells the card to do.
using CardStatusUpdate = std::array<std::uint8_t, 4>;

// Method 1: the cipher over the ARQC xor the response code. SM4 fills its block with zeros on the
// right and keeps the left 8 bytes.
Cryptogram arpc_method_1(Algorithm algorithm, const Key& session_key, const Cryptogram& arqc,
                         const ResponseCode& response_code);

// Method 2: MAC over ARQC, card status update and proprietary data.
ShortMac arpc_method_2(Algorithm algorithm, const Key& session_key, const Cryptogram& arqc,
                       const CardStatusUpdate& status_update, Bytes proprietary);

// 91 by method 1: ARPC (8) || response code (2).
std::vector<std::uint8_t> issuer_authentication_1(Algorithm algorithm, const Key& session_key,
                                                  const Cryptogram& arqc,
                                                  const ResponseCode& response_code);

// 91 by method 2: ARPC (4) || card status update (4) || proprietary data (0 to 8, more throws
// std::invalid_argument).
std::vector<std::uint8_t> issuer_authentication_2(Algorithm algorithm, const Key& session_key,
                                                  const Cryptogram& arqc,
                                                  const CardStatusUpdate& status_update,
                                                  Bytes proprietary);

// Whether 91 has the size of its method and its ARPC is right for this ARQC.
bool issuer_authentication_holds(ArpcMethod method, Algorithm algorithm, const Key& session_key,
                                 const Cryptogram& arqc, Bytes issuer_authentication_data);

}  // namespace quorrin::cryptography
