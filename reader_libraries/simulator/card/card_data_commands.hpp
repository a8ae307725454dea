// GET DATA, VERIFY and the commands of issuer scripts: EMV book 3 section 6.5, PBOC book 5.
#pragma once

#include "reader_libraries/simulator/card/application_session.hpp"
#include "reader_libraries/simulator/card/card_answer.hpp"
#include "reader_libraries/simulator/card/card_command.hpp"

namespace quorrin::simulator {

CardAnswer get_data(const ApplicationSession& session, const CardCommand& command);
CardAnswer verify(ApplicationSession& session, const CardCommand& command);

// The command's MAC is checked first; what the command says is done after that only.
CardAnswer script_command(ApplicationSession& session, const CardCommand& command);

}  // namespace quorrin::simulator
