// The bank behind the test cards of reader_libraries/simulator/profiles: it holds their master
// keys, so that it can
// answer for them.
#pragma once

#include "bank/online_answer.hpp"

namespace quorrin::bank {

// The products that the profiles make.
CardProduct test_debit_product();   // Triple DES, PBOC session keys, ARPC method 1
CardProduct test_credit_product();  // Triple DES, EMV common session keys, ARPC method 2
CardProduct test_gm_product();      // SM4, PBOC session keys, ARPC method 1
// Triple DES, cryptogram version 18, EMV common session keys, ARPC method 2, card keys by option
// B, script
// data enciphered as EMV has it.
CardProduct test_international_product();

}  // namespace quorrin::bank
