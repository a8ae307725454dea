#include "cryptography/pin_block.hpp"

#include <algorithm>
#include <stdexcept>

namespace quorrin::cryptography {
namespace {

constexpr std::size_t min_digits = 4;
constexpr std::size_t max_digits = 12;
constexpr std::size_t first_digit = 2;  // nibble; the digit count fills the two before

bool is_decimal(char c) {
    return c >= '0' && c <= '9';
}

bool is_pin(std::string_view pin) {
    return pin.size() >= min_digits && pin.size() <= max_digits &&
           std::ranges::all_of(pin, is_decimal);
}

void check_pin(std::string_view pin) {
    if (!is_pin(pin)) {
        throw std::invalid_argument("a PIN has 4 to 12 decimal digits");
    }
}

std::uint8_t nibble(const PinBlock& block, std::size_t index) {
    const std::uint8_t byte = block[index / 2];
    return index % 2 == 0 ? byte >> 4 : byte & 0x0F;
}

void set_nibble(PinBlock& block, std::size_t index, std::uint8_t value) {
    std::uint8_t& byte = block[index / 2];
    byte = static_cast<std::uint8_t>(index % 2 == 0 ? (byte & 0x0F) | value << 4
                                                    : (byte & 0xF0) | value);
}

void set_digits(PinBlock& block, std::size_t first, std::string_view digits) {
    for (std::size_t i = 0; i < digits.size(); ++i) {
        set_nibble(block, first + i, static_cast<std::uint8_t>(digits[i] - '0'));
    }
}

// What hides the PIN even from someone who holds the encipherment key.
PinBlock mask(const Key& card_cryptogram_key, std::optional<std::string_view> current_pin) {
    PinBlock block{};
    if (current_pin) {
        check_pin(*current_pin);
        set_digits(block, 0, *current_pin);
    }
    for (std::size_t i = 4; i < block.size(); ++i) {
        block[i] ^= card_cryptogram_key[i];
    }
    return block;
}

PinBlock exclusive_or(const PinBlock& left, const PinBlock& right) {
    PinBlock result{};
    std::ranges::transform(left, right, result.begin(), [](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(a ^ b);
    });
    return result;
}

}  // namespace

PinBlock pin_change_block(const Key& card_cryptogram_key, std::string_view new_pin,
                          std::optional<std::string_view> current_pin) {
    check_pin(new_pin);
    PinBlock block{};
    block.fill(0xFF);
    block[0] = static_cast<std::uint8_t>(new_pin.size());
    set_digits(block, first_digit, new_pin);
    return exclusive_or(block, mask(card_cryptogram_key, current_pin));
}

std::optional<std::string> new_pin_of(const PinBlock& block, const Key& card_cryptogram_key,
                                      std::optional<std::string_view> current_pin) {
    const PinBlock clear = exclusive_or(block, mask(card_cryptogram_key, current_pin));
    std::string pin;
    for (std::size_t i = 0; i < clear[0] && i < max_digits; ++i) {
        pin += static_cast<char>('0' + nibble(clear, first_digit + i));
    }
    // Made again, count, digits and filling are all checked at once.
    if (!is_pin(pin) || pin_change_block(card_cryptogram_key, pin, current_pin) != block) {
        return std::nullopt;
    }
    return pin;
}

}  // namespace quorrin::cryptography
