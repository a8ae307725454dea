// Log records of a card (PBOC part 5): the log format says which fields a record holds, the text
// for the host is made of them in a fixed layout.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace quorrin::log_record {

using Bytes = std::span<const std::uint8_t>;

inline constexpr std::size_t field_count = 9;

// Where a log format puts the fields of a record. A field that it does not name has length 0.
struct Format {
    struct Place {
        std::size_t position = 0;
        std::size_t length = 0;
    };
    std::array<Place, field_count> places;
    std::size_t record_size = 0;  // bytes that the named fields take
};

// Reads the answer to GET DATA for the log format, an object 9F4F with a list of tags and lengths.
std::optional<Format> read_format(Bytes answer);

// The text of a record. `characters` has room for what an over-long merchant name can garble.
struct Text {
    std::array<char, 1024> characters = {};
    std::uint8_t length = 0;
};

// Record bytes beyond the record's end read as zero.
Text make_text(const Format& format, Bytes record);

}  // namespace quorrin::log_record
