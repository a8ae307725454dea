// What the card signs with its own key: EMV book 2 sections 6.5 (DDA) and 6.6 (CDA).
#pragma once

#include "reader_libraries/simulator/card/application_session.hpp"

namespace quorrin::simulator {

// Signed dynamic application data (9F4B): the card's dynamic number, `more` behind it, and a hash that
// covers the terminal's data too. The application has a key.
ByteString signed_dynamic_data(const ApplicationSession& session,
                               std::span<const std::uint8_t> more,
                               std::span<const std::uint8_t> terminal_data);

// The same for a cryptogram: 9F27, 9F26 and a hash of all that went into it. `answer` holds the objects
// of the answer, 9F4B left out.
ByteString signed_cryptogram(const ApplicationSession& session, std::uint8_t information,
                             std::span<const std::uint8_t> cryptogram,
                             std::span<const std::uint8_t> answer);

}  // namespace quorrin::simulator
