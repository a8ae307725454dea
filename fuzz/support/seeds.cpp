#include "fuzz/support/seeds.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace quorrin::fuzz {
namespace {

// Of the target `recorder`: the call, and the pause before it in milliseconds.
constexpr std::uint8_t exchange = 0x00;
constexpr std::uint8_t power_on = 0x01;
constexpr std::uint8_t pause = 2;

}  // namespace

ByteString joined(std::initializer_list<ByteString> parts) {
    ByteString whole;
    for (const ByteString& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

ByteString from_text(std::string_view text) {
    return {text.begin(), text.end()};
}

ByteString piece(std::span<const std::uint8_t> bytes) {
    ByteString whole{static_cast<std::uint8_t>(bytes.size())};
    whole.insert(whole.end(), bytes.begin(), bytes.end());
    return whole;
}

ByteString block(std::int64_t result, std::span<const std::uint8_t> bytes) {
    const auto number = static_cast<std::uint16_t>(std::clamp<std::int64_t>(result, -32768, 32767));
    ByteString whole{static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
    whole.insert(whole.end(), bytes.begin(), bytes.end());
    if (result > 0) {
        whole.resize(2 + std::size_t{number});
    }
    return whole;
}

ByteString power_on_call(const ByteString& answer_block) {
    return joined({{power_on, pause}, answer_block});
}

ByteString exchange_call(std::span<const std::uint8_t> command, const ByteString& answer_block) {
    return joined({{exchange, pause}, piece(command), answer_block});
}

void Seeds::add(const std::string& target, const std::string& name, const ByteString& bytes) const {
    std::filesystem::create_directories(place_ / target);
    std::ofstream file(place_ / target / name, std::ios::binary);
    std::ranges::copy(bytes, std::ostreambuf_iterator<char>(file));
    file.flush();
    if (!file) {
        throw std::runtime_error("cannot write " + (place_ / target / name).string());
    }
}

}  // namespace quorrin::fuzz
