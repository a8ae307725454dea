// The commands that carry a transaction, in their order: EMV book 3 section 6.5.
#pragma once

#include "reader_libraries/simulator/card/application_session.hpp"
#include "reader_libraries/simulator/card/card_answer.hpp"
#include "reader_libraries/simulator/card/card_command.hpp"

namespace quorrin::simulator {

CardAnswer get_processing_options(ApplicationSession& session, const CardCommand& command);
CardAnswer generate_ac(ApplicationSession& session, const CardCommand& command);
CardAnswer internal_authenticate(ApplicationSession& session, const CardCommand& command);
CardAnswer external_authenticate(ApplicationSession& session, const CardCommand& command);

}  // namespace quorrin::simulator
