#include "hosts/command/exchange_watch.hpp"

#include <algorithm>

#include "decode/lookup.hpp"
#include "hosts/command/card_reading.hpp"

namespace quorrin::command {
namespace {

constexpr std::size_t header_size = 4;  // CLA INS P1 P2
constexpr std::uint8_t get_processing_options = 0xA8;
constexpr std::uint8_t get_response = 0xC0;
constexpr std::uint8_t secure_messaging = 0x0C;
constexpr std::uint8_t wrong_le = 0x6C;

std::vector<WatchedExchange> commands_of_bank;
WatchedExchange processing_options;
WatchedExchange* current = nullptr;  // where pieces of an answer go

bool same_header(const host::ByteString& command, std::span<const std::uint8_t> other) {
    return command.size() >= header_size &&
           std::ranges::equal(std::span(command).first(header_size), other.first(header_size));
}

}  // namespace

bool WatchedExchange::is_taken() const {
    return (status.sw1 == 0x90 && status.sw2 == 0x00) || status.sw1 == 0x62 || status.sw1 == 0x63;
}

void watch_exchange(std::span<const std::uint8_t> command, std::span<const std::uint8_t> answer) {
    if (command.size() < header_size) {
        return;
    }
    const std::uint8_t ins = command[1];
    const bool goes_on =
        current != nullptr && (ins == get_response || (current->status.sw1 == wrong_le &&
                                                       same_header(current->command, command)));
    if (!goes_on) {
        current = nullptr;
        if (ins == get_processing_options) {
            current = &processing_options;
        } else if ((command[0] & secure_messaging) != 0) {
            current = &commands_of_bank.emplace_back();
        }
        if (current == nullptr) {
            return;
        }
        *current = {{command.begin(), command.end()}, {}, {}};
    }
    if (answer.size() < 2) {
        current->status = {};
        return;
    }
    const auto data = answer.first(answer.size() - 2);
    current->data.insert(current->data.end(), data.begin(), data.end());
    current->status.sw1 = answer[data.size()];
    current->status.sw2 = answer[data.size() + 1];
}

std::span<const WatchedExchange> bank_commands() {
    return commands_of_bank;
}

std::optional<host::CardDecision> quick_decision() {
    const host::ByteString& data = processing_options.data;
    if (!processing_options.is_taken() || !find_value(data, 0x9F26)) {
        return std::nullopt;
    }
    const auto information = find_value(data, 0x9F27);
    const auto type = decode::quick_cryptogram_type(
        information && !information->empty() ? std::optional(information->front()) : std::nullopt,
        find_value(data, 0x9F10).value_or(host::ByteString()));
    return type ? static_cast<host::CardDecision>(*type) : host::CardDecision::Reserved;
}

}  // namespace quorrin::command
