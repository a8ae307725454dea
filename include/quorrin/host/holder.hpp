// What a card says of its holder.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include <quorrin/quorrin.h>
#include <quorrin/host/failure.hpp>
#include <quorrin/host/values.hpp>

namespace quorrin::host {

/// Card holder and account, as far as the card has them.
struct HolderInformation {
    Pan pan;                                     ///< 5A, prints masked
    std::string name;                            ///< 5F20, as the card has it
    std::string id_type;                         ///< 9F62, two hex digits
    std::string id_number;                       ///< 9F61; not for printing
    std::optional<Amount> balance;               ///< 9F79, electronic cash
    std::optional<Amount> balance_limit;         ///< 9F77
    std::optional<Amount> single_payment_limit;  ///< 9F78
    std::string currency;                        ///< 9F42, four digits of ISO 4217
    std::optional<Date> expires;                 ///< 5F24
    std::optional<std::uint8_t> sequence;        ///< 5F34, BCD
    Track2 track2;                               ///< 57, prints masked
    std::string track1_discretionary;            ///< 9F1F; not for printing
};

namespace detail {

inline void take_holder_item(char key, const std::string& value, HolderInformation& holder) {
    const auto amount = [&] {
        return all_digits(value) ? std::optional(Amount(std::stoull("0" + value))) : std::nullopt;
    };
    switch (key) {
        case 'A':
            holder.pan = Pan(value.substr(0, value.find('F')));
            break;
        case 'B':
            holder.name = value;
            break;
        case 'C':
            holder.id_type = value;
            break;
        case 'D':
            holder.id_number = value;
            break;
        case 'E':
            holder.balance = amount();
            break;
        case 'F':
            holder.balance_limit = amount();
            break;
        case 'G':
            holder.single_payment_limit = amount();
            break;
        case 'H':
            holder.currency = value;
            break;
        case 'I':
            if (const ByteString date = from_hex(value); date.size() == 3) {
                holder.expires = {two_digits(date[0]), two_digits(date[1]), two_digits(date[2])};
            }
            break;
        case 'J':
            holder.sequence = from_hex(value).at(0);
            break;
        case 'K':
            holder.track2 = Track2(value);
            break;
        case 'L':
            holder.track1_discretionary = value;
            break;
        default:
            break;
    }
}

inline HolderInformation read_holder(const std::string& aid) {
    constexpr std::size_t head = 4;  // key letter and three digits
    std::string text(2048 + head, '\0');
    check_card("getIccInfo", getIccInfo(ReaderHandle, aid.c_str(), "ABCDEFGHIJKL", text.data()));
    HolderInformation holder;
    for (std::size_t at = 0; at + head <= text.size() && text[at] != '\0';) {
        const auto count = static_cast<std::size_t>(strToInt(text.data() + at + 1));
        take_holder_item(text[at], text.substr(at + head, count), holder);
        at += head + count;
    }
    return holder;
}

}  // namespace detail

}  // namespace quorrin::host
