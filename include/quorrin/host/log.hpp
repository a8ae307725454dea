// The card's transaction log.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <quorrin/quorrin.h>
#include <quorrin/host/failure.hpp>
#include <quorrin/host/values.hpp>

namespace quorrin::host {

/// One record. A field that the card's log does not have is zeros.
struct LogRecord {
    Amount amount;          ///< 9F02
    Amount other;           ///< 9F03
    std::string currency;   ///< 5F2A, four digits of ISO 4217
    Date date;              ///< 9A
    std::uint8_t type = 0;  ///< 9C, BCD
    Time time;              ///< 9F21
    std::string country;    ///< 9F1A, four digits of ISO 3166
    std::string merchant;   ///< 9F4E, without the blanks that fill it
    std::uint16_t atc = 0;  ///< 9F36
};

namespace detail {

/// The fixed layout of a record's text (see PackTrsData), by position: its counts mix units.
inline LogRecord log_record(std::string_view text, std::size_t name_size) {
    const auto bytes = [&](std::size_t at, std::size_t digits) {
        return from_hex(text.substr(at, digits));
    };
    const ByteString date = bytes(46, 6);
    const ByteString time = bytes(62, 6);
    const ByteString merchant = bytes(80, 2 * name_size);
    const ByteString atc = bytes(84 + 2 * name_size, 4);
    LogRecord record;
    record.amount = Amount(from_bcd(bytes(4, 12)) % 1000000000000U);
    record.other = Amount(from_bcd(bytes(20, 12)) % 1000000000000U);
    record.currency = text.substr(36, 4);
    record.date = {two_digits(date[0]), two_digits(date[1]), two_digits(date[2])};
    record.type = bytes(56, 2)[0];
    record.time = {two_digits(time[0]), two_digits(time[1]), two_digits(time[2])};
    record.country = text.substr(72, 4);
    record.merchant.assign(merchant.begin(), merchant.end());
    const std::string filler(" \0", 2);
    record.merchant.resize(record.merchant.find_last_not_of(filler) + 1);
    record.atc = static_cast<std::uint16_t>(atc[0] << 8 | atc[1]);
    return record;
}

inline std::vector<LogRecord> read_log(int type, const std::string& aid) {
    constexpr std::size_t prefix = 3;       // length of the first record's text
    constexpr std::size_t fixed_part = 88;  // of each, beside the merchant name
    constexpr std::size_t max_records = 255;
    std::string text(prefix + max_records * 255 + 1, '\0');
    constexpr int all = 0;
    const std::int64_t result =
        GetIcBankCardTrDetail(type, ReaderHandle, all, aid.c_str(), text.data());
    // A log that is not full ends with 6A83; what was read before is there.
    if (result != QUORRIN_RECORD_NOT_FOUND) {
        check_card("GetIcBankCardTrDetail", result);
    }
    text.resize(text.find('\0'));
    std::vector<LogRecord> records;
    if (text.size() < prefix) {
        return records;
    }
    // The merchant name has one length in all records: that of the log's format.
    const auto size = static_cast<std::size_t>(strToInt(text.data()));
    if (size < fixed_part || (size - fixed_part) % 2 != 0 || (text.size() - prefix) % size != 0) {
        throw Failure("GetIcBankCardTrDetail", QUORRIN_DATA_MALFORMED);
    }
    for (std::size_t at = prefix; at < text.size(); at += size) {
        records.push_back(
            log_record(std::string_view(text).substr(at, size), (size - fixed_part) / 2));
    }
    return records;
}

}  // namespace detail

}  // namespace quorrin::host
