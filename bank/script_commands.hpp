// The commands that an issuer sends to its cards: EMV book 3 section 6.5, PBOC book 5. They are
// made in clear here; sealing (issuer_scripts.hpp) adds what depends on card and transaction.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cryptography/algorithm.hpp"

namespace quorrin::bank {

// PUT DATA and UPDATE RECORD are in use under both of the first; the MAC is the same. The third puts
// data and MAC into objects: EMV book 2 section 9.2.1.2.
enum class CommandClass : std::uint8_t {
    SecureIso = 0x04,
    SecureProprietary = 0x84,
    SecureObjects = 0x8C,
};

struct NewPin {
    std::string digits;
    std::optional<std::string> current;  // what the card's holder has now, where it takes part
};

struct ScriptCommand {
    CommandClass command_class = CommandClass::SecureProprietary;
    std::uint8_t instruction = 0;
    std::uint8_t p1 = 0;
    std::uint8_t p2 = 0;
    std::vector<std::uint8_t> data;  // without MAC
    std::optional<NewPin> new_pin;   // goes enciphered, after `data`
};

ScriptCommand application_block();
ScriptCommand application_unblock();
ScriptCommand card_block();

// Sets the PIN try counter back to its limit.
ScriptCommand pin_unblock();

// Sets the PIN, and the counter too. With `current_pin` the new one is hidden under it (P2 01, else
// 02).
ScriptCommand pin_change(std::string_view new_pin,
                         std::optional<std::string_view> current_pin = std::nullopt);

// `tag` of one byte or two, as P1 and P2 carry it.
ScriptCommand put_data(std::uint16_t tag, cryptography::Bytes value,
                       CommandClass command_class = CommandClass::SecureIso);

// `short_file_identifier` 1 to 30 and `record_number` from 1, else std::invalid_argument.
ScriptCommand update_record(std::uint8_t short_file_identifier, std::uint8_t record_number,
                            cryptography::Bytes record,
                            CommandClass command_class = CommandClass::SecureIso);

}  // namespace quorrin::bank
