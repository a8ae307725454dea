// The commands of a card transaction that more than one operation sends (EMV book 1, section 11;
// EMV book 3, section 6.5).
#pragma once

#include <cstdint>
#include <span>

#include "reader/card_step.hpp"

namespace quorrin {

// SELECT by DF name, first occurrence.
constexpr CardCommand select_by_name(std::span<const std::uint8_t> name) {
    return {0x00, 0xA4, 0x04, 0x00, name, QUORRIN_WITH_DATA_AND_LE};
}

// P2 of READ RECORD: the file's short identifier in the upper five bits, as an AFL entry has it,
// and "P1 is a record number".
constexpr std::uint8_t record_of_located_file(std::uint8_t file) {
    constexpr std::uint8_t by_record_number = 0x04;
    return static_cast<std::uint8_t>((file & 0xF8) | by_record_number);
}

// The same from the identifier itself; a larger one loses its upper bits.
constexpr std::uint8_t record_of_file(unsigned sfi) {
    return record_of_located_file(static_cast<std::uint8_t>(sfi << 3));
}

constexpr CardCommand read_record(std::uint8_t number, std::uint8_t file) {
    return {0x00, 0xB2, number, file, {}, QUORRIN_WITH_LE};
}

// GET DATA: P1 and P2 are the tag. A one-byte tag stands in P1, followed by 00.
constexpr CardCommand get_data(std::uint8_t first_tag_byte, std::uint8_t second_tag_byte) {
    return {0x80, 0xCA, first_tag_byte, second_tag_byte, {}, QUORRIN_WITH_LE};
}

}  // namespace quorrin
