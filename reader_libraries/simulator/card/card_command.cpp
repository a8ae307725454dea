#include "reader_libraries/simulator/card/card_command.hpp"

namespace quorrin::simulator {

std::optional<CardCommand> parse_command(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t header = 4;
    if (bytes.size() < header) {
        return std::nullopt;
    }
    CardCommand command{bytes[0], bytes[1], bytes[2], bytes[3], {}, false, 0};
    const auto take_le = [&] {
        constexpr std::size_t all = 256;
        command.with_le = true;
        command.expected = bytes.back() == 0 ? all : bytes.back();
    };
    if (bytes.size() == header) {
        return command;
    }
    // Five bytes are a header with Le, and never an Lc without its data.
    if (bytes.size() == header + 1) {
        take_le();
        return command;
    }
    const std::size_t lc = bytes[header];
    const auto data_and_le = bytes.subspan(header + 1);
    if (data_and_le.size() != lc && data_and_le.size() != lc + 1) {
        return std::nullopt;
    }
    if (data_and_le.size() == lc + 1) {
        take_le();
    }
    command.data = data_and_le.first(lc);
    return command;
}

}  // namespace quorrin::simulator
