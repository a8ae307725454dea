// The ICC data of an ISO 8583 message (field 55): BER-TLV objects in any order.
#pragma once

#include <string>
#include <vector>

#include "bank/online_answer.hpp"

namespace quorrin::bank {

// Takes what the field has into the request. Throws std::invalid_argument, which says what is wrong:
// malformed data, an element of a wrong size, or one that a bank cannot do without and that neither
// the field nor the request has.
void read_field_55(cryptography::Bytes field, OnlineRequest& request);

}  // namespace quorrin::bank
