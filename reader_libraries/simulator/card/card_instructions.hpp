// The instructions that the cards know, and the record addressing that two of them share.
#pragma once

#include "reader_libraries/simulator/card/card_command.hpp"
#include "reader_libraries/simulator/card/card_profile.hpp"

namespace quorrin::simulator {

namespace instruction {
inline constexpr std::uint8_t card_block = 0x16;
inline constexpr std::uint8_t application_unblock = 0x18;
inline constexpr std::uint8_t application_block = 0x1E;
inline constexpr std::uint8_t verify = 0x20;
inline constexpr std::uint8_t pin_change_unblock = 0x24;
inline constexpr std::uint8_t external_authenticate = 0x82;
inline constexpr std::uint8_t internal_authenticate = 0x88;
inline constexpr std::uint8_t get_challenge = 0x84;
inline constexpr std::uint8_t select = 0xA4;
inline constexpr std::uint8_t get_processing_options = 0xA8;
inline constexpr std::uint8_t generate_ac = 0xAE;
inline constexpr std::uint8_t read_record = 0xB2;
inline constexpr std::uint8_t get_data = 0xCA;
inline constexpr std::uint8_t put_data = 0xDA;
inline constexpr std::uint8_t update_record = 0xDC;
}  // namespace instruction

// P1 is the record's number, P2 the file and "by number": ISO/IEC 7816-4 section 7.3. Empty for
// any other way to address a record.
inline std::optional<RecordAddress> record_address(const CardCommand& command) {
    constexpr std::uint8_t by_number = 0x04;
    const auto file = static_cast<std::uint8_t>(command.p2 >> 3);
    if ((command.p2 & 0x07) != by_number || file == 0 || file == 0x1F || command.p1 == 0) {
        return std::nullopt;
    }
    return RecordAddress{file, command.p1};
}

}  // namespace quorrin::simulator
