// Conversion between hex text and bytes, one character per nibble.

#include <array>

#include "quorrin/quorrin.h"

namespace {

// Deliberate: not masked to four bits, so that other characters spill into the high half: a host
// sees 1G as 10.
constexpr unsigned digit_value(char character) noexcept {
    const auto byte = static_cast<std::uint8_t>(character);
    if (byte < 0x30) {
        return 0;
    }
    if (byte <= 0x40) {
        return byte - 0x30U;
    }
    return byte <= 0x60 ? byte - 0x37U : byte - 0x57U;
}

constexpr auto digit_values = []() {
    std::array<std::uint8_t, 256> values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<std::uint8_t>(digit_value(static_cast<char>(i)));
    }
    return values;
}();

constexpr char hex_digits[] = "0123456789ABCDEF";

// Deliberate: 85 marks "no high nibble pending", so that byte AC (value 85) is dropped in a high
// position.
constexpr unsigned none_pending = 85;

}  // namespace

void asc_to_bcd(std::uint8_t* dst, const char* src, std::int32_t len, std::uint8_t rightAlign) {
    if (dst == nullptr || (src == nullptr && len > 0)) {
        return;
    }
    unsigned pending = rightAlign != 0 && len % 2 != 0 ? 0 : none_pending;
    for (std::int32_t i = 0; i < len; ++i) {
        const unsigned value = digit_values[static_cast<std::uint8_t>(src[i])];
        if (pending == none_pending) {
            pending = value;
        } else {
            *dst++ = static_cast<std::uint8_t>(pending << 4 | value);
            pending = none_pending;
        }
    }
    if (pending != none_pending) {
        *dst = static_cast<std::uint8_t>(pending << 4);
    }
}

void bcd_to_asc(char* dst, const std::uint8_t* src, std::int32_t n, std::uint8_t rightAlign) {
    if (dst == nullptr || src == nullptr) {
        return;
    }
    const bool skips_first_nibble = rightAlign != 0 && n % 2 != 0;
    std::int64_t position = skips_first_nibble ? 1 : 0;
    const std::int64_t end = std::int64_t{n} + position;
    for (; position < end; ++position) {
        const std::uint8_t byte = src[position / 2];
        *dst++ = hex_digits[position % 2 == 0 ? byte >> 4 : byte & 0x0F];
    }
}
