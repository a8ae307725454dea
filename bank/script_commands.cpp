#include "bank/script_commands.hpp"

#include <stdexcept>

namespace quorrin::bank {
namespace {

namespace instruction {
constexpr std::uint8_t card_block = 0x16;
constexpr std::uint8_t application_unblock = 0x18;
constexpr std::uint8_t application_block = 0x1E;
constexpr std::uint8_t pin_change_unblock = 0x24;
constexpr std::uint8_t put_data = 0xDA;
constexpr std::uint8_t update_record = 0xDC;
}  // namespace instruction

// P2 of PIN CHANGE/UNBLOCK.
constexpr std::uint8_t counter_only = 0x00;
constexpr std::uint8_t new_pin_under_current = 0x01;
constexpr std::uint8_t new_pin_alone = 0x02;

constexpr std::uint8_t last_file = 30;
constexpr std::uint8_t record_by_number = 0x04;  // P2 bits 3 to 1 of the record commands

ScriptCommand without_data(std::uint8_t code) {
    ScriptCommand command;
    command.instruction = code;
    return command;
}

}  // namespace

ScriptCommand application_block() {
    return without_data(instruction::application_block);
}

ScriptCommand application_unblock() {
    return without_data(instruction::application_unblock);
}

ScriptCommand card_block() {
    return without_data(instruction::card_block);
}

ScriptCommand pin_unblock() {
    ScriptCommand command = without_data(instruction::pin_change_unblock);
    command.p2 = counter_only;
    return command;
}

ScriptCommand pin_change(std::string_view new_pin, std::optional<std::string_view> current_pin) {
    ScriptCommand command = without_data(instruction::pin_change_unblock);
    command.p2 = current_pin ? new_pin_under_current : new_pin_alone;
    command.new_pin = NewPin{std::string(new_pin), {}};
    if (current_pin) {
        command.new_pin->current = std::string(*current_pin);
    }
    return command;
}

ScriptCommand put_data(std::uint16_t tag, cryptography::Bytes value, CommandClass command_class) {
    ScriptCommand command = without_data(instruction::put_data);
    command.command_class = command_class;
    command.p1 = static_cast<std::uint8_t>(tag >> 8);
    command.p2 = static_cast<std::uint8_t>(tag);
    command.data.assign(value.begin(), value.end());
    return command;
}

ScriptCommand update_record(std::uint8_t short_file_identifier, std::uint8_t record_number,
                            cryptography::Bytes record, CommandClass command_class) {
    if (short_file_identifier == 0 || short_file_identifier > last_file || record_number == 0) {
        throw std::invalid_argument("no such record: files go from 1 to 30, records from 1");
    }
    ScriptCommand command = without_data(instruction::update_record);
    command.command_class = command_class;
    command.p1 = record_number;
    command.p2 = static_cast<std::uint8_t>(short_file_identifier << 3 | record_by_number);
    command.data.assign(record.begin(), record.end());
    return command;
}

}  // namespace quorrin::bank
