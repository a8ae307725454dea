// Which commands there are, and what may be shown of their data and of the card's answer.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace quorrin::trace {

enum class CommandData : std::uint8_t {
    secret,      // PIN, or not understood
    open,        // names, challenges, cryptograms, MACs
    options,     // 83 and what the PDOL asks for
    cryptogram,  // what CDOL1 or CDOL2 asks for
    dynamic,     // what the DDOL asks for
    element,     // the value of the element in P1 P2, and a MAC
    record,      // a record, and a MAC
};

enum class AnswerData : std::uint8_t {
    secret,    // not understood
    open,      // random numbers
    file,      // file control information
    record,    // a record, or an entry of a log
    result,    // 77, or 80 with values alone
    element,   // the element in P1 P2
    continued  // GET RESPONSE: what the command before began
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
    CommandRule{0x00, 0x00, 0x20, "VERIFY",                   CommandData::secret,     AnswerData::secret},
    CommandRule{0x00, 0x00, 0x24, "PIN CHANGE/UNBLOCK",       CommandData::secret,     AnswerData::secret},
    CommandRule{0x00, 0x00, 0x2C, "RESET RETRY COUNTER",      CommandData::secret,     AnswerData::secret},
    CommandRule{0x00, 0x00, 0x16, "CARD BLOCK",               CommandData::open,       AnswerData::secret},
    CommandRule{0x00, 0x00, 0x18, "APPLICATION UNBLOCK",      CommandData::open,       AnswerData::secret},
    CommandRule{0x00, 0x00, 0x1E, "APPLICATION BLOCK",        CommandData::open,       AnswerData::secret},
    CommandRule{0x00, 0x00, 0xCA, "GET DATA",                 CommandData::secret,     AnswerData::element},
    CommandRule{0x00, 0x00, 0xDA, "PUT DATA",                 CommandData::element,    AnswerData::secret},
    CommandRule{0x00, 0x00, 0xDC, "UPDATE RECORD",            CommandData::record,     AnswerData::secret},
    CommandRule{0x00, 0x00, 0xE2, "APPEND RECORD",            CommandData::record,     AnswerData::secret},
    CommandRule{0x00, 0x00, 0xC0, "GET RESPONSE",             CommandData::secret,     AnswerData::continued},
    CommandRule{0x00, 0x00, 0xB2, "READ RECORD",              CommandData::secret,     AnswerData::record},
    CommandRule{0x80, 0x00, 0xA4, "SELECT",                   CommandData::open,       AnswerData::file},
    CommandRule{0x80, 0x00, 0x82, "EXTERNAL AUTHENTICATE",    CommandData::open,       AnswerData::secret},
    CommandRule{0x80, 0x00, 0x84, "GET CHALLENGE",            CommandData::secret,     AnswerData::open},
    CommandRule{0x80, 0x00, 0x88, "INTERNAL AUTHENTICATE",    CommandData::dynamic,    AnswerData::result},
    CommandRule{0x80, 0x00, 0xB0, "READ BINARY",              CommandData::secret,     AnswerData::secret},
    CommandRule{0x80, 0x00, 0xD6, "UPDATE BINARY",            CommandData::secret,     AnswerData::secret},
    CommandRule{0x80, 0x00, 0x70, "MANAGE CHANNEL",           CommandData::secret,     AnswerData::open},
    CommandRule{0x80, 0x80, 0xA8, "GET PROCESSING OPTIONS",   CommandData::options,    AnswerData::result},
    CommandRule{0x80, 0x80, 0xAE, "GENERATE AC",              CommandData::cryptogram, AnswerData::result},
    CommandRule{0x80, 0x80, 0x2A, "COMPUTE CRYPTOGRAPHIC CHECKSUM", CommandData::dynamic, AnswerData::result},
    CommandRule{0x80, 0x80, 0xEA, "EXCHANGE RELAY RESISTANCE DATA", CommandData::open, AnswerData::result},
    CommandRule{0x80, 0x80, 0xD0, "RECOVER AC",               CommandData::open,       AnswerData::result},
    CommandRule{0x80, 0x80, 0xB4, "READ CAPP DATA",           CommandData::secret,     AnswerData::secret},
    CommandRule{0x80, 0x80, 0xDE, "UPDATE CAPP DATA CACHE",   CommandData::secret,     AnswerData::secret},
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
