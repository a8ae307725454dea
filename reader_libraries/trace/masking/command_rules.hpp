// Which commands there are, and what may be shown of their data and of the card's answer.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorrin::trace {

enum class CommandData : std::uint8_t {
    Secret,      // PIN, or not understood
    Open,        // names, challenges, cryptograms, MACs
    Options,     // 83 and what the PDOL asks for
    Cryptogram,  // what CDOL1 or CDOL2 asks for
    Dynamic,     // what the DDOL asks for
    Element,     // the value of the element in P1 P2, and a MAC
    Record,      // a record, and a MAC
};

enum class AnswerData : std::uint8_t {
    Secret,    // not understood
    Open,      // random numbers
    File,      // file control information
    Record,    // a record, or an entry of a log
    Result,    // 77, or 80 with values alone
    Element,   // the element in P1 P2
    Continued  // GET RESPONSE: what the command before began
};

struct CommandRule {
    std::uint8_t class_mask;
    std::uint8_t class_value;
    std::uint8_t instruction;
    std::string_view name;
    CommandData data;
    AnswerData answer;
};

// clang-format off
// ISO 7816-4; EMV Book 3, 6.5; PBOC 3.0 part 5; contactless kernels. The first row that fits counts.
inline constexpr std::array command_rules = {
    CommandRule{0x00, 0x00, 0x20, "VERIFY",                   CommandData::Secret,     AnswerData::Secret},
    CommandRule{0x00, 0x00, 0x24, "PIN CHANGE/UNBLOCK",       CommandData::Secret,     AnswerData::Secret},
    CommandRule{0x00, 0x00, 0x2C, "RESET RETRY COUNTER",      CommandData::Secret,     AnswerData::Secret},
    CommandRule{0x00, 0x00, 0x16, "CARD BLOCK",               CommandData::Open,       AnswerData::Secret},
    CommandRule{0x00, 0x00, 0x18, "APPLICATION UNBLOCK",      CommandData::Open,       AnswerData::Secret},
    CommandRule{0x00, 0x00, 0x1E, "APPLICATION BLOCK",        CommandData::Open,       AnswerData::Secret},
    CommandRule{0x00, 0x00, 0xCA, "GET DATA",                 CommandData::Secret,     AnswerData::Element},
    CommandRule{0x00, 0x00, 0xDA, "PUT DATA",                 CommandData::Element,    AnswerData::Secret},
    CommandRule{0x00, 0x00, 0xDC, "UPDATE RECORD",            CommandData::Record,     AnswerData::Secret},
    CommandRule{0x00, 0x00, 0xE2, "APPEND RECORD",            CommandData::Record,     AnswerData::Secret},
    CommandRule{0x00, 0x00, 0xC0, "GET RESPONSE",             CommandData::Secret,     AnswerData::Continued},
    CommandRule{0x00, 0x00, 0xB2, "READ RECORD",              CommandData::Secret,     AnswerData::Record},
    CommandRule{0x80, 0x00, 0xA4, "SELECT",                   CommandData::Open,       AnswerData::File},
    CommandRule{0x80, 0x00, 0x82, "EXTERNAL AUTHENTICATE",    CommandData::Open,       AnswerData::Secret},
    CommandRule{0x80, 0x00, 0x84, "GET CHALLENGE",            CommandData::Secret,     AnswerData::Open},
    CommandRule{0x80, 0x00, 0x88, "INTERNAL AUTHENTICATE",    CommandData::Dynamic,    AnswerData::Result},
    CommandRule{0x80, 0x00, 0xB0, "READ BINARY",              CommandData::Secret,     AnswerData::Secret},
    CommandRule{0x80, 0x00, 0xD6, "UPDATE BINARY",            CommandData::Secret,     AnswerData::Secret},
    CommandRule{0x80, 0x00, 0x70, "MANAGE CHANNEL",           CommandData::Secret,     AnswerData::Open},
    CommandRule{0x80, 0x80, 0xA8, "GET PROCESSING OPTIONS",   CommandData::Options,    AnswerData::Result},
    CommandRule{0x80, 0x80, 0xAE, "GENERATE AC",              CommandData::Cryptogram, AnswerData::Result},
    CommandRule{0x80, 0x80, 0x2A, "COMPUTE CRYPTOGRAPHIC CHECKSUM", CommandData::Dynamic, AnswerData::Result},
    CommandRule{0x80, 0x80, 0xEA, "EXCHANGE RELAY RESISTANCE DATA", CommandData::Open, AnswerData::Result},
    CommandRule{0x80, 0x80, 0xD0, "RECOVER AC",               CommandData::Open,       AnswerData::Result},
    CommandRule{0x80, 0x80, 0xB4, "READ CAPP DATA",           CommandData::Secret,     AnswerData::Secret},
    CommandRule{0x80, 0x80, 0xDE, "UPDATE CAPP DATA CACHE",   CommandData::Secret,     AnswerData::Secret},
};
// clang-format on

// Null for a command without a row, and for less than a header.
constexpr const CommandRule* find_command_rule(std::span<const std::uint8_t> command) {
    if (command.size() >= 4) {
        for (const CommandRule& row : command_rules) {
            if (row.instruction == command[1] && (command[0] & row.class_mask) == row.class_value) {
                return &row;
            }
        }
    }
    return nullptr;
}

}  // namespace quorrin::trace
