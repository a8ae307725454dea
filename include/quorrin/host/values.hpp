// The values that go in and out of the operations: bytes as hex text, amounts, dates, card numbers
// that print masked.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorrin::host {

/// Bytes of a card, a bank or an element.
using ByteString = std::vector<std::uint8_t>;

/// Bytes as upper-case hex text.
template <typename Range>
std::string to_hex(const Range& bytes) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

/// Hex text as bytes; blanks are passed over. Throws std::invalid_argument for anything else.
inline ByteString from_hex(std::string_view text) {
    ByteString bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ') {
            continue;
        }
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                                 : -1;
        if (digit < 0) {
            throw std::invalid_argument("not a hex digit");
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
            high = -1;
        }
    }
    if (high >= 0) {
        throw std::invalid_argument("an odd number of hex digits");
    }
    return bytes;
}

namespace detail {

inline bool all_digits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// A number as BCD in a fixed number of bytes.
inline ByteString bcd(std::uint64_t value, std::size_t size) {
    ByteString bytes(size);
    for (std::size_t i = size; i-- > 0; value /= 100) {
        bytes[i] = static_cast<std::uint8_t>((value / 10 % 10) << 4 | value % 10);
    }
    return bytes;
}

/// BCD as a number. Digits above 9 count as they stand.
inline std::uint64_t from_bcd(const ByteString& bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = value * 100 + (byte >> 4) * 10U + (byte & 0x0FU);
    }
    return value;
}

}  // namespace detail

/// An amount in the currency's smallest unit: cents, fen. At most 12 digits, as on the card.
class Amount {
  public:
    Amount() = default;
    /// So many of the smallest unit. Throws std::invalid_argument above 12 digits.
    explicit Amount(std::uint64_t minor_units) : minor_(minor_units) {
        if (minor_units > 999999999999U) {
            throw std::invalid_argument("an amount has at most 12 digits");
        }
    }

    /// "128.50" with `exponent` 2; no more decimals than that. Throws std::invalid_argument.
    static Amount parse(std::string_view text, unsigned exponent = 2) {
        const std::size_t point = text.find('.');
        const std::string_view whole = text.substr(0, point);
        std::string decimals(point == std::string_view::npos ? "" : text.substr(point + 1));
        if (whole.empty() || decimals.size() > exponent || whole.size() + exponent > 12 ||
            !detail::all_digits(whole) || !detail::all_digits(decimals) ||
            (point != std::string_view::npos && decimals.empty())) {
            throw std::invalid_argument("not an amount: " + std::string(text));
        }
        decimals.resize(exponent, '0');
        return Amount(std::stoull(std::string(whole) + decimals));
    }

    /// The smallest units.
    std::uint64_t minor() const { return minor_; }

    /// "128.50" with `exponent` 2.
    std::string text(unsigned exponent = 2) const {
        std::string digits = std::to_string(minor_);
        if (exponent == 0) {
            return digits;
        }
        if (digits.size() <= exponent) {
            digits.insert(0, exponent + 1 - digits.size(), '0');
        }
        return digits.insert(digits.size() - exponent, ".");
    }

    /// Equality.
    friend bool operator==(Amount left, Amount right) { return left.minor_ == right.minor_; }
    /// Difference.
    friend bool operator!=(Amount left, Amount right) { return left.minor_ != right.minor_; }

  private:
    std::uint64_t minor_ = 0;
};

/// Prints with two decimals.
inline std::ostream& operator<<(std::ostream& out, Amount amount) {
    return out << amount.text();
}

/// A card number (5A, or the head of track 2). Prints masked: first six and last four digits.
class Pan {
  public:
    Pan() = default;
    /// Its digits, without filler.
    explicit Pan(std::string digits) : digits_(std::move(digits)) {}

    /// What may be shown and logged.
    std::string masked() const {
        std::string shown = digits_;
        const std::size_t head = shown.size() > 10 ? 6 : 0;
        const std::size_t tail = shown.size() > 4 ? 4 : 0;
        std::fill(shown.begin() + static_cast<std::ptrdiff_t>(head),
                  shown.end() - static_cast<std::ptrdiff_t>(tail), '*');
        return shown;
    }
    /// All digits, for the bank alone.
    const std::string& reveal() const { return digits_; }
    /// Whether the card gave none.
    bool empty() const { return digits_.empty(); }

    /// Equality of all digits.
    friend bool operator==(const Pan& left, const Pan& right) {
        return left.digits_ == right.digits_;
    }
    /// Difference in any digit.
    friend bool operator!=(const Pan& left, const Pan& right) { return !(left == right); }

  private:
    std::string digits_;
};

/// Prints masked.
inline std::ostream& operator<<(std::ostream& out, const Pan& pan) {
    return out << pan.masked();
}

/// Track 2 equivalent data (57) as digits with D between number and date. Prints masked.
class Track2 {
  public:
    Track2() = default;
    /// Hex digits, with or without filler.
    explicit Track2(std::string digits) : digits_(std::move(digits)) {
        while (!digits_.empty() && digits_.back() == 'F') {
            digits_.pop_back();
        }
    }

    /// Its card number.
    Pan pan() const { return Pan(digits_.substr(0, digits_.find('D'))); }
    /// The masked number; what follows it is stars.
    std::string masked() const {
        const std::size_t separator = std::min(digits_.find('D'), digits_.size());
        return pan().masked() + std::string(digits_.size() - separator, '*');
    }
    /// All of it, for the bank alone.
    const std::string& reveal() const { return digits_; }
    /// Whether the card gave none.
    bool empty() const { return digits_.empty(); }

  private:
    std::string digits_;
};

/// Prints masked.
inline std::ostream& operator<<(std::ostream& out, const Track2& track) {
    return out << track.masked();
}

/// A calendar date as cards write it: two digits each.
struct Date {
    unsigned year = 0;   ///< 0 to 99: 2000 to 2099
    unsigned month = 0;  ///< 1 to 12
    unsigned day = 0;    ///< 1 to 31, 0 where a card leaves it open

    /// "2030-12-31".
    std::string text() const {
        const auto two = [](unsigned value) {
            return std::string{static_cast<char>('0' + value / 10 % 10),
                               static_cast<char>('0' + value % 10)};
        };
        return "20" + two(year) + "-" + two(month) + "-" + two(day);
    }
    /// Equality.
    friend bool operator==(const Date& left, const Date& right) {
        return left.year == right.year && left.month == right.month && left.day == right.day;
    }
};

/// A time of day.
struct Time {
    unsigned hour = 0;    ///< 0 to 23
    unsigned minute = 0;  ///< 0 to 59
    unsigned second = 0;  ///< 0 to 59
    /// Equality.
    friend bool operator==(const Time& left, const Time& right) {
        return left.hour == right.hour && left.minute == right.minute &&
               left.second == right.second;
    }
};

namespace detail {

inline std::tm local_now() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local;
}

inline unsigned two_digits(std::uint8_t byte) {
    return (byte >> 4) * 10U + (byte & 0x0FU);
}

/// YYMMDD or HHMMSS.
inline ByteString three_pairs(unsigned first, unsigned second, unsigned third) {
    return bcd((std::uint64_t{first} * 100 + second) * 100 + third, 3);
}

}  // namespace detail

/// The date here and now.
inline Date today() {
    const std::tm now = detail::local_now();
    return {static_cast<unsigned>(now.tm_year % 100), static_cast<unsigned>(now.tm_mon + 1),
            static_cast<unsigned>(now.tm_mday)};
}

/// The time here and now.
inline Time time_now() {
    const std::tm now = detail::local_now();
    return {static_cast<unsigned>(now.tm_hour), static_cast<unsigned>(now.tm_min),
            static_cast<unsigned>(now.tm_sec % 60)};
}

}  // namespace quorrin::host
