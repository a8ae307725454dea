// Cards with a payment system environment.
#pragma once

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {

inline constexpr char select_pse[] = "00A404000E315041592E5359532E444446303100";

inline std::string card_with_pse(std::string_view pse, std::string_view rest) {
    return "00A40400 ['1PAY.SYS.DDF01'] 00\n    " + std::string(pse) + " 9000\n" +
           std::string(rest);
}

// A usual payment system environment with its directory in file 1.
inline std::string card_with_directory(std::string_view records) {
    return card_with_pse("6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] ] ]", records);
}

}  // namespace quorrin::test
