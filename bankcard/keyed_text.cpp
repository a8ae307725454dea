#include "bankcard/keyed_text.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "emvdata/element_store.hpp"

// Hosts read the rows of the exported tables byte by byte.
static_assert(sizeof(QuorrinKeyRow) == 7);
static_assert(offsetof(QuorrinKeyRow, key) == 0);
static_assert(offsetof(QuorrinKeyRow, tag) == 1);
static_assert(offsetof(QuorrinKeyRow, tagLen) == 4);
static_assert(offsetof(QuorrinKeyRow, hexFlag) == 5);
static_assert(offsetof(QuorrinKeyRow, getDataFlag) == 6);
static_assert(sizeof TagMapPDolTerData == 49);
static_assert(sizeof TagMapgetIccInfo == 84);

const QuorrinKeyRow TagMapPDolTerData[7] = {
#define TERMINAL_KEY(letter, first, second, size, is_hex, from_get_data) \
    {letter, {first, second}, size, is_hex, from_get_data},
#define HOLDER_KEY(...)
#include "bankcard/key_rows.def"
#undef HOLDER_KEY
#undef TERMINAL_KEY
};

const QuorrinKeyRow TagMapgetIccInfo[12] = {
#define TERMINAL_KEY(...)
#define HOLDER_KEY(letter, first, second, size, is_hex, from_get_data) \
    {letter, {first, second}, size, is_hex, from_get_data},
#include "bankcard/key_rows.def"
#undef HOLDER_KEY
#undef TERMINAL_KEY
};

namespace quorrin {
namespace {

constexpr std::size_t length_digits = item_header - 1;
// The length of a value counts in 8 bits; one digit may be added.
constexpr std::size_t max_value = 256;

// The rows of a table that the walk may look at. A host's table ends with a row whose key is a
// space; its index is one byte.
std::span<const QuorrinKeyRow> rows_of(const QuorrinKeyRow* table) {
    constexpr std::size_t max_rows = 256;
    if (table == nullptr) {
        return {};
    }
    if (table == TagMapPDolTerData) {
        return TagMapPDolTerData;
    }
    if (table == TagMapgetIccInfo) {
        return TagMapgetIccInfo;
    }
    return {table, max_rows};
}

// The three digits of an item's length field, or 0 when they are not all digits.
std::int32_t read_length(const char* text) {
    std::int32_t value = 0;
    for (std::size_t i = 0; i < length_digits; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return 0;
        }
        value = 10 * value + (text[i] - '0');
    }
    return value;
}

std::int32_t store(const QuorrinKeyRow& row, std::size_t length, const std::uint8_t* value) {
    return store_element({}, {row.tag, row.tagLen}, {value, length});
}

// Digits or characters that the text does not have count as zero.
std::int32_t store_hex_value(const QuorrinKeyRow& row, std::string_view digits, std::size_t count) {
    std::array<char, max_value> text{};
    const std::size_t padding = count % 2;  // an odd number of digits gets a leading zero
    text[0] = '0';
    std::copy(digits.begin(), digits.end(), text.begin() + static_cast<std::ptrdiff_t>(padding));
    std::array<std::uint8_t, max_value / 2> value{};
    asc_to_bcd(value.data(), text.data(), static_cast<std::int32_t>(count + padding), 0);
    return store(row, (count + padding) / 2, value.data());
}

std::int32_t store_raw_value(const QuorrinKeyRow& row, std::string_view characters,
                             std::size_t count) {
    std::array<std::uint8_t, max_value> value{};
    std::copy(characters.begin(), characters.end(), value.begin());
    return store(row, count, value.data());
}

}  // namespace

const QuorrinKeyRow* find_key(std::uint8_t key, const QuorrinKeyRow* table) {
    for (const QuorrinKeyRow& row : rows_of(table)) {
        // The end of the table is looked for first: a space is no key.
        if (row.key == ' ') {
            return nullptr;
        }
        if (static_cast<std::uint8_t>(row.key) == key) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace quorrin

using namespace quorrin;

std::int32_t strToInt(const char* text) {
    return text == nullptr ? 0 : read_length(text);
}

std::int32_t getTagMapSub(std::uint8_t key, std::uint8_t* row, const QuorrinKeyRow* table) {
    const QuorrinKeyRow* found = find_key(key, table);
    if (found == nullptr || row == nullptr) {
        return QUORRIN_KEYED_TEXT_KEY_NOT_FOUND;
    }
    *row = static_cast<std::uint8_t>(found - table);
    return 0;
}

std::int32_t parsBankTagList(const char* item, const QuorrinKeyRow* table) {
    if (item == nullptr || *item == '\0') {
        return QUORRIN_KEYED_TEXT_UNKNOWN_KEY;
    }
    const QuorrinKeyRow* row = find_key(static_cast<std::uint8_t>(*item), table);
    if (row == nullptr) {
        return QUORRIN_KEYED_TEXT_UNKNOWN_KEY;
    }
    // Deliberate: a value length counts in 8 bits, so that 256 stands for nothing and 258 for 2;
    // the item still takes its full length in the text.
    const auto count = static_cast<std::uint8_t>(read_length(item + 1));
    if (count == 0) {
        return 0;
    }
    const char* text = item + item_header;
    const std::string_view value(text, strnlen(text, count));
    return row->hexFlag == 1 ? store_hex_value(*row, value, count)
                             : store_raw_value(*row, value, count);
}

std::int32_t setTermPDolData(const char* text, const QuorrinKeyRow* table) {
    if (text == nullptr) {
        return 0;
    }
    const std::size_t length = std::strlen(text);
    for (std::size_t i = 0; i < length;) {
        if (text[i] == ' ') {
            ++i;
            continue;
        }
        if (parsBankTagList(text + i, table) != 0) {
            return QUORRIN_KEYED_TEXT_ITEM_FAILED;
        }
        i += item_header + static_cast<std::size_t>(read_length(text + i + 1));
    }
    return 0;
}
