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
    std::vector<Bytes> transaction_log;  // newest first
    std::vector<Bytes> load_log;         // newest first

    // What the next cryptogram reports of the last online transaction.
    cryptography::Cryptogram last_arqc{};
    bool online_incomplete = false;  // an ARQC, and no right ARPC after it
    std::uint8_t script_commands = 0;
    bool script_failed = false;

    bool operator==(const ApplicationState&) const = default;
};

struct CardState {
    bool blocked = false;
    std::vector<ApplicationState> applications;  // as in the profile

    bool operator==(const CardState&) const = default;
};

CardState issued_state(const CardProfile& profile);

}  // namespace quorrin::simulator
