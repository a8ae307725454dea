#include "reader_libraries/simulator/t0_framing.hpp"

#include <algorithm>

namespace quorrin::simulator {
namespace {

constexpr std::size_t header_size = 4;
constexpr std::size_t short_command_size = 5;  // header and Le, no data
constexpr std::size_t status_size = 2;

// An Le of 0 asks for 256 bytes.
constexpr std::size_t wanted_by(std::uint8_t le) {
    return le == 0 ? 256 : le;
}

bool is_get_response(std::span<const std::uint8_t> command) {
    return command.size() == short_command_size && command[1] == 0xC0 && command[2] == 0 &&
           command[3] == 0;
}

// xx of 61xx and 6Cxx; 256 is written as 00.
std::uint8_t length_byte(std::size_t length) {
    return static_cast<std::uint8_t>(length);
}

}  // namespace

ByteString T0Framing::power_on() {
    forget();
    return card_.power_on();
}

void T0Framing::power_off() {
    forget();
    card_.power_off();
}

ByteString T0Framing::transmit(std::span<const std::uint8_t> command) {
    const bool only_le = command.size() == short_command_size;
    if (!waiting_.empty()) {
        if (repeat_.empty()) {
            if (is_get_response(command)) {
                return next_portion(wanted_by(command[4]));
            }
        } else if (only_le && std::ranges::equal(command.first(header_size), repeat_) &&
                   wanted_by(command[4]) == waiting_.size() - status_size) {
            ByteString answer = std::move(waiting_);
            forget();
            return answer;
        }
        forget();
    }

    ByteString answer = card_.transmit(with_full_le(command));
    if (answer.size() <= status_size) {
        return answer;
    }
    const std::size_t data_size = answer.size() - status_size;
    if (only_le && settings_.wrong_le && data_size <= 256) {
        if (wanted_by(command[4]) == data_size) {
            return answer;
        }
        waiting_ = std::move(answer);
        repeat_.assign(command.begin(), command.begin() + header_size);
        return {0x6C, length_byte(data_size)};
    }
    if (settings_.get_response) {
        waiting_ = std::move(answer);
        return announce();
    }
    return answer;
}

// Over T=0 a command with data has no Le: what the card has is announced, not cut.
ByteString T0Framing::with_full_le(std::span<const std::uint8_t> command) const {
    ByteString whole(command.begin(), command.end());
    if (command.size() > short_command_size) {
        if (command.size() == short_command_size + command[4]) {
            whole.push_back(0x00);
        } else if (command.size() == short_command_size + command[4] + 1) {
            whole.back() = 0x00;
        }
    } else if (command.size() == short_command_size && !settings_.wrong_le) {
        whole.back() = 0x00;
    }
    return whole;
}

ByteString T0Framing::announce() const {
    return {0x61, length_byte(std::min(waiting_.size() - status_size, settings_.portion))};
}

ByteString T0Framing::next_portion(std::size_t wanted) {
    const std::size_t rest = waiting_.size() - status_size;
    const std::size_t given = std::min({wanted, rest, settings_.portion});
    if (given == rest) {
        ByteString answer = std::move(waiting_);
        forget();
        return answer;
    }
    const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(given);
    ByteString answer(waiting_.begin(), end);
    waiting_.erase(waiting_.begin(), end);
    const ByteString more = announce();
    answer.insert(answer.end(), more.begin(), more.end());
    return answer;
}

void T0Framing::forget() {
    waiting_.clear();
    repeat_.clear();
}

}  // namespace quorrin::simulator
