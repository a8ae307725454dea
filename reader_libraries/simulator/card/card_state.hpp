// What changes in a card's life: everything that outlasts a power-off.
#pragma once

#include <string>
#include <vector>

#include "reader_libraries/simulator/card/card_profile.hpp"

namespace quorrin::simulator {

struct ApplicationState {
    bool blocked = false;
    std::uint16_t atc = 0;
    std::uint16_t last_online_atc = 0;
    std::string pin;
    std::uint8_t pin_tries = 0;
    ElementValues data;
    RecordFiles records;
    std::vector<ByteString> transaction_log;  // newest first
    std::vector<ByteString> load_log;         // newest first

    // The cryptogram that scripts are sealed under: the last ARQC, or the last AAC while blocked.
    cryptography::Cryptogram last_arqc{};

    // What the next cryptogram reports of the last online transaction.
    bool online_incomplete = false;  // an ARQC, and neither a right ARPC nor a second cryptogram
    bool issuer_authentication_failed = false;
    bool issuer_authentication_missing = false;
    std::uint8_t script_commands = 0;
    bool script_failed = false;
    bool static_authentication_failed = false;  // and declined offline, as the TVR told
    bool dynamic_authentication_failed = false;
    bool blocked_for_pin_tries = false;  // by the card itself; the issuer's unblocking ends it
    bool go_online_next = false;         // the issuer's wish in its card status update

    // Approved offline since the last one online.
    std::uint8_t offline_abroad = 0;             // in another country
    std::uint8_t offline_foreign = 0;            // in a currency that the card cannot convert
    std::uint64_t offline_amount = 0;            // in the card's currency
    std::uint64_t offline_converted_amount = 0;  // from its second one

    bool operator==(const ApplicationState&) const = default;
};

struct CardState {
    bool blocked = false;
    std::vector<ApplicationState> applications;  // as in the profile

    bool operator==(const CardState&) const = default;
};

CardState issued_state(const CardProfile& profile);

}  // namespace quorrin::simulator
