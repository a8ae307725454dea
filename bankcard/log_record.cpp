#include "bankcard/log_record.hpp"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string_view>

#include "quorrin/quorrin.h"
#include "reader/hex_bytes.hpp"
#include "tlv/codec/ber_tlv.hpp"

namespace quorrin::log_record {
namespace {

// One field of the text: its letter, a three-digit count and the digits of a record field.
struct Field {
    std::uint8_t tag[2];
    std::uint8_t tag_length;
    std::uint8_t min_length;  // what the log format may give the record field, in bytes
    std::uint8_t max_length;
    std::size_t position;  // of the letter in the text
    char letter;
    std::string_view count;   // empty: the number of record bytes
    std::size_t text_length;  // record bytes in the text; `whole` for as many as there are
};

constexpr std::size_t whole = 0;
constexpr std::uint8_t any_length = 0xFF;

// Deliberate: the counts mix digits (P, Q, R, V) and bytes (T, U, W, X); S counts the six digits of
// the record, with the century 20 written before them.
// clang-format off
constexpr Field fields[field_count] = {
    {{0x9F, 0x02}, 2, 6, 6,          0,  'P', "012",   6},      // amount, authorised
    {{0x9F, 0x03}, 2, 6, 6,          16, 'Q', "012",   6},      // amount, other
    {{0x5F, 0x2A}, 2, 2, 2,          32, 'R', "004",   2},      // transaction currency code
    {{0x9A},       1, 3, 3,          40, 'S', "00620", 3},      // transaction date
    {{0x9C},       1, 1, 1,          52, 'T', "001",   1},      // transaction type
    {{0x9F, 0x21}, 2, 3, 3,          58, 'U', "003",   3},      // transaction time
    {{0x9F, 0x1A}, 2, 2, 2,          68, 'V', "004",   2},      // terminal country code
    {{0x9F, 0x4E}, 2, 0, any_length, 76, 'W', "",      whole},  // merchant name
    {{0x9F, 0x36}, 2, 0, 3,          80, 'X', "002",   2},      // application transaction counter
};
// clang-format on

constexpr const Field& merchant_name = fields[field_count - 2];
constexpr const Field& transaction_counter = fields[field_count - 1];
constexpr std::size_t count_size = 3;

// Where the digits of a field begin, and where the field ends without the merchant name's digits.
constexpr std::size_t digits_position(const Field& field) {
    return field.position + 1 + (field.count.empty() ? count_size : field.count.size());
}
constexpr std::size_t end_position(const Field& field) {
    return digits_position(field) + 2 * field.text_length;
}
constexpr bool fields_follow_each_other() {
    for (std::size_t i = 1; i < field_count; ++i) {
        if (fields[i].position != end_position(fields[i - 1])) {
            return false;
        }
    }
    return true;
}
static_assert(fields_follow_each_other());
constexpr std::size_t length_without_name = 88;
static_assert(end_position(transaction_counter) == length_without_name);

// Deliberate: a load log whose format comes under its own tag, DF4F, is refused as well; hosts can
// read it from cards that answer with 9F4F only.
constexpr std::uint8_t log_format_tag[] = {0x9F, 0x4F};
constexpr std::size_t max_tag_length = 4;

std::size_t index_of(Bytes tag) {
    const auto* field = std::find_if(std::begin(fields), std::end(fields), [&](const Field& row) {
        return std::ranges::equal(tag, Bytes(row.tag, row.tag_length));
    });
    return static_cast<std::size_t>(field - std::begin(fields));
}

// Deliberate: text positions count modulo 256, like the text's length, so that no text is longer
// than 255 characters: a merchant name of more than 83 bytes garbles it instead.
//
// An item starts at its wrapped position and is written straight on from there.
char* place_in(Text& text, std::size_t position) {
    return text.characters.data() + position % 256;
}

constexpr std::size_t longest_item = std::size_t{2} * std::numeric_limits<std::uint8_t>::max();
static_assert(sizeof Text::characters >=
              std::numeric_limits<std::uint8_t>::max() + 1 + longest_item);

}  // namespace

std::optional<Format> read_format(Bytes answer) {
    const tlv::Tag outer = tlv::read_tag(answer);
    if (outer.result < 0 || !std::ranges::equal(answer.first(outer.length), log_format_tag)) {
        return std::nullopt;
    }
    const Bytes from_length = answer.subspan(outer.length);
    const tlv::Length length = tlv::read_length_field(from_length);
    if (length.result != tlv::Length::good) {
        return std::nullopt;
    }
    const Bytes list = from_length.subspan(length.field_size);
    if (from_length[0] != list.size()) {
        return std::nullopt;
    }

    Format format;
    for (tlv::Cursor cursor(list); !cursor.at_end();) {
        const tlv::Tag tag = tlv::read_tag(cursor.rest());
        if (tag.result < 0 || tag.length > max_tag_length) {
            return std::nullopt;
        }
        const Bytes rest = cursor.rest().subspan(tag.length);
        const tlv::Length field_length = tlv::read_length_field(rest);
        if (field_length.result != tlv::Length::good) {
            return std::nullopt;
        }
        // Deliberate: an element that is not of the text takes no record bytes either, so that the
        // fields after it are read from the wrong place.
        const std::size_t index = index_of(cursor.rest().first(tag.length));
        if (index < field_count) {
            // Deliberate: the first byte of the length field is the length. One of several bytes,
            // which no real field needs, is out of range for all fields but the merchant name.
            const std::uint8_t wanted = rest[0];
            if (wanted < fields[index].min_length || wanted > fields[index].max_length) {
                return std::nullopt;
            }
            format.places[index] = {format.record_size, wanted};
            format.record_size += wanted;
        }
        cursor.advance(std::size_t{tag.length} + field_length.field_size);
    }
    return format;
}

Text make_text(const Format& format, Bytes record) {
    Text text;
    std::size_t name_digits = 0;
    for (std::size_t i = 0; i < field_count; ++i) {
        const Field& field = fields[i];
        const Format::Place place = format.places[i];

        std::array<std::uint8_t, std::numeric_limits<std::uint8_t>::max()> value = {};
        const std::size_t text_length =
            field.text_length == whole ? place.length : field.text_length;
        for (std::size_t byte = 0; byte < std::min(place.length, text_length); ++byte) {
            const std::size_t position = place.position + byte;
            value[byte] = position < record.size() ? record[position] : std::uint8_t{0};
        }

        char counted[count_size + 1];
        std::snprintf(counted, sizeof counted, "%03u", static_cast<unsigned>(place.length));
        const std::string_view count = field.count.empty() ? counted : field.count;
        *place_in(text, field.position + name_digits) = field.letter;
        std::ranges::copy(count, place_in(text, field.position + name_digits + 1));
        write_hex(place_in(text, digits_position(field) + name_digits),
                  Bytes(value).first(text_length));
        if (&field == &merchant_name) {
            name_digits = 2 * place.length;
        }
    }
    text.length = static_cast<std::uint8_t>(length_without_name + name_digits);
    return text;
}

}  // namespace quorrin::log_record

using namespace quorrin;

std::int64_t PackTrsData(const std::uint8_t* format, std::uint32_t formatLen,
                         const std::uint8_t* record, std::uint32_t /*recordLen*/, char* out,
                         std::uint32_t* outLen) {
    if (format == nullptr || record == nullptr || out == nullptr || outLen == nullptr) {
        return QUORRIN_DATA_MALFORMED;
    }
    const auto read = log_record::read_format({format, formatLen});
    if (!read) {
        return QUORRIN_DATA_MALFORMED;
    }
    // The record is as long as the format makes it: its own length is not asked.
    const log_record::Text text = log_record::make_text(*read, {record, read->record_size});
    std::copy_n(text.characters.begin(), text.length, out);
    *outLen = text.length;
    return 0;
}
