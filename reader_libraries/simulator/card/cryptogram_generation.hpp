// The card's cryptogram, whatever command asks for it: EMV book 2 section 8.1.
#pragma once

#include "cryptography/application_cryptogram.hpp"
#include "reader_libraries/simulator/card/application_session.hpp"

namespace quorrin::simulator {

// The two leading bits of 9F27, and of P1 of GENERATE AC.
enum class CryptogramType : std::uint8_t { Aac = 0x00, Tc = 0x40, Arqc = 0x80 };

struct IssuedCryptogram {
    std::uint8_t information = 0;  // 9F27
    ByteString atc;                // 9F36
    ByteString cryptogram;         // 9F26
    ByteString issuer_data;        // 9F10
};

// The first of a transaction, with what goes with its type: an ARQC opens the way to EXTERNAL
// AUTHENTICATE and scripts, an ARQC or TC is logged.
IssuedCryptogram issue_first_cryptogram(ApplicationSession& session, CryptogramType type);

// The only one of a quick transaction: nothing comes after it.
IssuedCryptogram issue_quick_cryptogram(ApplicationSession& session, CryptogramType type);

// The second, after the ARQC: TC or AAC.
IssuedCryptogram issue_second_cryptogram(ApplicationSession& session, CryptogramType type);

}  // namespace quorrin::simulator
