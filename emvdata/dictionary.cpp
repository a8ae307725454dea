// The two dictionary tables and the storage of every element, all made from the element rows.

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "emvdata/elements.hpp"

// Storage. A row that shares another's storage defines none.
#define ELEMENT(tag, name, storage, bytes, ...) std::uint8_t storage[bytes];
#define SHARED_ELEMENT(...)
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
#undef ELEMENT

using namespace quorrin;

namespace {

using namespace dictionary;

constexpr QuorrinDataElement make_record(std::uint16_t tag, std::uint16_t shortest,
                                         std::uint16_t longest, Format format,
                                         const Templates& templates) {
    const bool two_bytes = is_two_byte_tag(tag);
    const auto high = static_cast<std::uint8_t>(tag >> 8);
    const auto low = static_cast<std::uint8_t>(tag);
    QuorrinDataElement row{};
    row.minLen = shortest;
    row.maxLen = longest;
    row.tag[0] = two_bytes ? high : low;
    row.tag[1] = two_bytes ? low : std::uint8_t{0};
    row.tagLen = two_bytes ? 2 : 1;
    std::copy_n(templates.bytes, 4, row.templates);
    row.templateCode = templates.code;
    row.format = static_cast<std::uint8_t>(format);
    return row;
}

}  // namespace

#define ELEMENT(tag, name, storage, bytes, shortest, longest, format, templates, ...) \
    make_record(tag, shortest, longest, Format::format, templates),
constinit QuorrinDataElement IccDt[card_rows] = {
#include "emvdata/card_elements.def"
};
constinit QuorrinDataElement TermDt[terminal_rows] = {
#include "emvdata/terminal_elements.def"
};
#undef ELEMENT

namespace {

#define ELEMENT(tag, name, storage, ...) storage,
constexpr std::uint8_t* card_storage[] = {
#include "emvdata/card_elements.def"
};
constexpr std::uint8_t* terminal_storage[] = {
#include "emvdata/terminal_elements.def"
};
#undef ELEMENT

static_assert(std::size(card_storage) == card_rows);
static_assert(std::size(terminal_storage) == terminal_rows);

// Every row's storage is declared in the public header with the size that the row states, and holds
// the longest value that the row accepts.
#define ELEMENT(tag, name, storage, bytes, shortest, longest, format, templates, ...) \
    static_assert(sizeof(storage) == (bytes) && (longest) <= (bytes) && (shortest) <= (longest));
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
#undef ELEMENT

// Hosts read the records: their layout is part of the binary interface.
static_assert(sizeof(QuorrinDataElement) == 32);
static_assert(offsetof(QuorrinDataElement, value) == 0);
static_assert(offsetof(QuorrinDataElement, curLen) == 8);
static_assert(offsetof(QuorrinDataElement, minLen) == 10);
static_assert(offsetof(QuorrinDataElement, maxLen) == 12);
static_assert(offsetof(QuorrinDataElement, tag) == 14);
static_assert(offsetof(QuorrinDataElement, tagLen) == 17);
static_assert(offsetof(QuorrinDataElement, templates) == 18);
static_assert(offsetof(QuorrinDataElement, templateCode) == 22);
static_assert(offsetof(QuorrinDataElement, format) == 23);
static_assert(offsetof(QuorrinDataElement, state) == 24);

// Only the two rows of the electronic cash repeat a tag, and nothing stands in both tables.
constexpr bool only_the_two_cash_rows_repeat_a_tag() {
    for (std::size_t i = 0; i < std::size(tags); ++i) {
        for (std::size_t j = i + 1; j < std::size(tags); ++j) {
            const Element repeated = Element::numbered(static_cast<std::uint8_t>(j + 1));
            if (tags[i] == tags[j] && repeated != element::ec_app_interchange_profile &&
                repeated != element::ec_last_online_atc) {
                return false;
            }
        }
    }
    return true;
}
static_assert(only_the_two_cash_rows_repeat_a_tag());

}  // namespace

void emvInitDataPointer() {
    for (std::size_t row = 0; row < terminal_rows; ++row) {
        TermDt[row].value = terminal_storage[row];
    }
    for (std::size_t row = 0; row < card_rows; ++row) {
        IccDt[row].value = card_storage[row];
    }
}

std::uint8_t StrCmp(const std::uint8_t* lhs, const std::uint8_t* rhs, std::int32_t len) {
    constexpr std::uint8_t equal = 0;
    constexpr std::uint8_t greater = 1;
    constexpr std::uint8_t smaller = 2;
    // Deliberate: the length counts in 8 bits, as tag lengths do; 256 bytes compare as none.
    const auto length = static_cast<std::uint8_t>(len);
    if (length == 0 || lhs == rhs) {
        return equal;
    }
    if (lhs == nullptr || rhs == nullptr) {
        return lhs == nullptr ? smaller : greater;
    }
    const int order = std::memcmp(lhs, rhs, length);
    return order == 0 ? equal : order > 0 ? greater : smaller;
}
