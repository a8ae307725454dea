#include <algorithm>

#include "cryptography/pin_block.hpp"
#include "reader_libraries/simulator/card/card_data_commands.hpp"
#include "reader_libraries/simulator/card/card_instructions.hpp"
#include "reader_libraries/simulator/card/electronic_cash.hpp"
#include "reader_libraries/simulator/card/record_reading.hpp"
#include "reader_libraries/simulator/card/transaction_log.hpp"
#include "reader_libraries/simulator/card/verification_results.hpp"

namespace quorrin::simulator {
namespace {

constexpr std::size_t mac_size = sizeof(cryptography::ShortMac);

// P2 of PIN CHANGE/UNBLOCK.
constexpr std::uint8_t counter_only = 0x00;
constexpr std::uint8_t new_pin_under_current = 0x01;
constexpr std::uint8_t new_pin_alone = 0x02;

constexpr std::uint8_t format_1_class = 0x8C;

// A script command taken apart: what the MAC covers, the MAC, and the plain or enciphered value.
struct SealedData {
    std::span<const std::uint8_t> covered;
    std::span<const std::uint8_t> mac;
    std::span<const std::uint8_t> value;
};

// EMV book 2 section 9.2.1.2: class 8C carries objects, 81 for plain data or 87 (with its padding
// indicator) for enciphered ones, then 8E with the MAC. The others carry value and MAC as they are
// (format 2).
std::optional<SealedData> sealed_data(const CardCommand& command) {
    constexpr Tag plain = 0x81;
    constexpr Tag enciphered = 0x87;
    constexpr Tag mac = 0x8E;
    if (command.cla != format_1_class) {
        if (command.data.size() < mac_size) {
            return std::nullopt;
        }
        const auto value = command.data.first(command.data.size() - mac_size);
        return SealedData{value, command.data.last(mac_size), value};
    }
    SealedData sealed;
    auto rest = command.data;
    auto object = take_object(rest);
    if (object && (object->tag == plain || object->tag == enciphered)) {
        const std::size_t indicator = object->tag == enciphered ? 1 : 0;
        if (object->value.size() < indicator) {
            return std::nullopt;
        }
        sealed.value = object->value.subspan(indicator);
        object = take_object(rest);
    }
    if (!object || object->tag != mac || object->value.size() != mac_size || !rest.empty()) {
        return std::nullopt;
    }
    sealed.mac = object->value;
    sealed.covered = command.data.first(command.data.size() - 2 - mac_size);
    return sealed;
}

// As many as the profile says end what the cryptogram opened.
StatusWord wrong_mac(ApplicationSession& session) {
    ++session.wrong_script_macs;
    if (session.application.script_mac_failures != 0 &&
        session.wrong_script_macs >= session.application.script_mac_failures) {
        session.script_macs.reset();
    }
    return StatusWord::SecureMessagingWrong;
}

// A blocked application takes its unblocking, and that once under a cryptogram: EMV book 3 section
// 6.5.1 and 6.5.2.
bool taken_while_blocked(const ApplicationSession& session, const CardCommand& command) {
    return !session.state.blocked ||
           (command.ins == instruction::application_unblock && !session.unblocked);
}

// The command without its MAC. Refused, and why, where the MAC is not right.
std::optional<StatusWord> refusal(ApplicationSession& session, const CardCommand& command,
                                  const std::optional<SealedData>& sealed) {
    if (!session.script_macs || !taken_while_blocked(session, command)) {
        return StatusWord::ConditionsNotSatisfied;
    }
    if (!sealed) {
        return StatusWord::WrongLength;
    }
    const cryptography::CommandHeader header{command.cla, command.ins, command.p1, command.p2,
                                             static_cast<std::uint8_t>(command.data.size())};
    if (!session.script_macs->accept(header, sealed->covered, sealed->mac)) {
        return wrong_mac(session);
    }
    return std::nullopt;
}

CardAnswer set_blocked(bool& blocked, bool value, const CardCommand& command,
                       std::span<const std::uint8_t> data) {
    if (command.parameters() != 0) {
        return StatusWord::WrongParameters;
    }
    if (!data.empty()) {
        return StatusWord::WrongLength;
    }
    blocked = value;
    return StatusWord::Success;
}

CardAnswer change_pin(ApplicationSession& session, const CardCommand& command,
                      std::span<const std::uint8_t> data) {
    auto& state = session.state;
    if (session.application.pin_try_limit == 0) {
        return StatusWord::ReferenceDataUnusable;
    }
    if (command.p1 != 0 || command.p2 > new_pin_alone) {
        return StatusWord::WrongParameters;
    }
    if (command.p2 != counter_only) {
        const auto plain = cryptography::decipher_script_data(
            session.script_context(), session.application.keys.encipherment, data);
        cryptography::PinBlock block{};
        if (!plain || plain->size() != block.size()) {
            return StatusWord::WrongData;
        }
        std::ranges::copy(*plain, block.begin());
        std::optional<std::string_view> current;
        if (command.p2 == new_pin_under_current) {
            current = state.pin;
        }
        auto pin = cryptography::new_pin_of(block, session.application.keys.cryptogram, current);
        if (!pin) {
            return StatusWord::WrongData;
        }
        state.pin = *std::move(pin);
    } else if (!data.empty()) {
        return StatusWord::WrongLength;
    }
    state.pin_tries = session.application.pin_try_limit;
    return StatusWord::Success;
}

CardAnswer put_data(ApplicationSession& session, const CardCommand& command,
                    std::span<const std::uint8_t> data) {
    const Tag tag = command.parameters();
    const auto element = session.state.data.find(tag);
    if (element == session.state.data.end()) {
        return StatusWord::ReferencedDataNotFound;
    }
    if (element->second.size() != data.size()) {
        return StatusWord::WrongLength;
    }
    const ByteString before = element->second;
    element->second.assign(data.begin(), data.end());
    if (tag == electronic_cash_balance) {
        log_load(session, tag, before, element->second);
    }
    return StatusWord::Success;
}

CardAnswer update_record(ApplicationSession& session, const CardCommand& command,
                         std::span<const std::uint8_t> data) {
    const auto address = record_address(command);
    if (!address) {
        return StatusWord::WrongParameters;
    }
    if (!has_file(session.state.records, address->file)) {
        return StatusWord::FileNotFound;
    }
    const auto record = session.state.records.find(*address);
    if (record == session.state.records.end()) {
        return StatusWord::RecordNotFound;
    }
    if (data.empty()) {
        return StatusWord::WrongLength;
    }
    record->second.assign(data.begin(), data.end());
    return StatusWord::Success;
}

CardAnswer perform(ApplicationSession& session, const CardCommand& command,
                   std::span<const std::uint8_t> data) {
    switch (command.ins) {
        case instruction::application_block:
            return set_blocked(session.state.blocked, true, command, data);
        case instruction::application_unblock:
            session.unblocked = true;
            session.state.blocked_for_pin_tries = false;
            return set_blocked(session.state.blocked, false, command, data);
        case instruction::card_block:
            return set_blocked(session.card_state.blocked, true, command, data);
        case instruction::pin_change_unblock:
            return change_pin(session, command, data);
        case instruction::put_data:
            return put_data(session, command, data);
        case instruction::update_record:
            return update_record(session, command, data);
        default:
            return StatusWord::InstructionNotSupported;
    }
}

void count_command(ApplicationState& state, StatusWord result) {
    if (state.script_commands < 0xFF) {
        ++state.script_commands;
    }
    if (result != StatusWord::Success) {
        state.script_failed = true;
    }
}

}  // namespace

CardAnswer script_command(ApplicationSession& session, const CardCommand& command) {
    if (session.script_macs) {
        count_scripts_afresh(session);
    }
    const auto sealed = sealed_data(command);
    if (const auto refused = refusal(session, command, sealed)) {
        session.state.script_failed = true;
        return *refused;
    }
    const auto answer = perform(session, command, sealed->value);
    count_command(session.state, answer.status);
    return answer;
}

}  // namespace quorrin::simulator
