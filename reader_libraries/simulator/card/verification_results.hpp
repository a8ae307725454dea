// Card verification results of PBOC: what 9F10 and the cryptogram say of this transaction and the last.
#pragma once

#include "reader_libraries/simulator/card/cryptogram_generation.hpp"

namespace quorrin::simulator {

cryptography::CardVerificationResults first_verification_results(const ApplicationSession& session,
                                                                 CryptogramType first);
cryptography::CardVerificationResults second_verification_results(const ApplicationSession& session,
                                                                  CryptogramType second);

// Script results belong to the last transaction online: those of the one before are forgotten with the
// first right ARPC, script command or second cryptogram of the next.
void count_scripts_afresh(ApplicationSession& session);

}  // namespace quorrin::simulator
