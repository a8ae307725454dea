#include "decode/elements.hpp"

#include <algorithm>
#include <array>
#include <string_view>

#include "decode/lookup.hpp"

namespace quorrin::decode {
namespace {

// The library's rows. What else they say is of no concern here.
constexpr Element store_rows[] = {
#define ELEMENT(tag, name, storage, size, shortest, longest, format, templates, resets, english, \
                chinese)                                                                         \
    {tag, Kernel::Unknown, 0, Format::format, shortest, longest, english, chinese},
#include "emvdata/terminal_elements.def"
//
#include "emvdata/card_elements.def"
#undef ELEMENT
};

struct Scope {
    Kernel kernel = Kernel::Unknown;
    std::uint32_t within = 0;
};

constexpr Scope everywhere{};
constexpr Scope kernel_scope(Kernel kernel) {
    return {kernel, 0};
}
constexpr Scope inside(std::uint32_t parent) {
    return {Kernel::Unknown, parent};
}

constexpr Element row(std::uint32_t tag, Scope scope, Format format, std::uint16_t shortest,
                      std::uint16_t longest, std::string_view name) {
    return {tag, scope.kernel, scope.within, format, shortest, longest, name, {}};
}

constexpr Element other_rows[] = {
#define of_kernel(name) kernel_scope(Kernel::name)
#define TAG(tag, scope, format, shortest, longest, name) \
    row(tag, scope, Format::format, shortest, longest, name),
#include "decode/elements.def"
#undef TAG
#undef of_kernel
};

// The dictionary of the store has tags twice; the first row of a tag is its meaning.
constexpr bool is_first_of_store(std::size_t index) {
    for (std::size_t i = 0; i < index; ++i) {
        if (store_rows[i].tag == store_rows[index].tag) {
            return false;
        }
    }
    return true;
}

constexpr std::size_t store_tags = [] {
    std::size_t count = 0;
    for (std::size_t i = 0; i < std::size(store_rows); ++i) {
        count += is_first_of_store(i) ? 1 : 0;
    }
    return count;
}();

using Table = std::array<Element, store_tags + std::size(other_rows)>;

Table make_table() {
    Table table;
    std::size_t count = 0;
    for (std::size_t i = 0; i < std::size(store_rows); ++i) {
        if (is_first_of_store(i)) {
            table[count++] = store_rows[i];
        }
    }
    std::copy(std::begin(other_rows), std::end(other_rows),
              table.begin() + static_cast<std::ptrdiff_t>(count));
    std::ranges::stable_sort(table, {}, &Element::tag);
    return table;
}

const Table& table() {
    static const Table made = make_table();
    return made;
}

// Where a length is asked for and a row of a proprietary tag has another: in another issuer's data the
// tag means something else. The store's own rows and those of a known kernel
// are meant whatever the length.
bool means_something_else(const Element& element, Place place, std::size_t length) {
    const bool is_meant = element.within != 0 ||
                          (element.kernel != Kernel::Unknown && element.kernel == place.kernel) ||
                          !element.name_zh.empty();
    return length != 0 && !element.fits(length) && is_proprietary(element.tag) && !is_meant;
}

// How well a row goes with a place: higher is better, negative not at all.
int rank(const Element& element, Place place, std::size_t length) {
    if (means_something_else(element, place, length)) {
        return -1;
    }
    if (element.within != 0 && element.within != place.parent) {
        return -1;
    }
    const bool foreign = element.kernel != Kernel::Unknown && place.kernel != Kernel::Unknown &&
                         element.kernel != place.kernel;
    if (foreign) {
        return -1;
    }
    int points = 0;
    points += element.within != 0 ? 8 : 0;
    points += element.kernel != Kernel::Unknown && element.kernel == place.kernel ? 4 : 0;
    points += length == 0 || element.fits(length) ? 2 : 0;
    points += element.kernel == Kernel::Unknown ? 1 : 0;
    return points;
}

}  // namespace

std::span<const Element> all_elements() {
    return table();
}

std::span<const Element> rows_of(std::uint32_t tag) {
    const auto first = std::ranges::lower_bound(table(), tag, {}, &Element::tag);
    return {first, std::ranges::upper_bound(table(), tag, {}, &Element::tag)};
}

std::vector<const Element*> meanings_of(std::uint32_t tag, Place place, std::size_t length) {
    std::vector<const Element*> meanings;
    for (const Element& element : rows_of(tag)) {
        if (rank(element, place, length) >= 0) {
            meanings.push_back(&element);
        }
    }
    std::ranges::stable_sort(meanings, std::ranges::greater{},
                             [&](const Element* element) { return rank(*element, place, length); });
    // In a template that gives the tag a meaning of its own, and with a known kernel, the other
    // meanings do not come into question.
    if (!meanings.empty() && (meanings[0]->within != 0 || place.kernel != Kernel::Unknown)) {
        meanings.resize(1);
    }
    return meanings;
}

bool is_proprietary(std::uint32_t tag) {
    const bool is_df = tag > 0xFF && (tag >> 8 == 0xDF || tag >> 16 == 0xDF);
    return is_df || (tag >= 0x9F50 && tag <= 0x9F7F) || (tag >= 0xC0 && tag <= 0xFE);
}

std::string_view kernel_name(Kernel kernel) {
    constexpr std::string_view names[] = {"",           "PBOC",       "kernel C-2", "kernel C-3",
                                          "kernel C-4", "kernel C-5", "kernel C-6", "kernel C-7"};
    return names[static_cast<std::size_t>(kernel)];
}

std::string_view element_name(std::uint32_t tag, Kernel kernel) {
    const auto meanings = meanings_of(tag, {.kernel = kernel}, 0);
    return meanings.empty() ? std::string_view() : meanings[0]->name;
}

std::string_view element_name_zh(std::uint32_t tag) {
    for (const Element& element : rows_of(tag)) {
        if (!element.name_zh.empty()) {
            return element.name_zh;
        }
    }
    return {};
}

}  // namespace quorrin::decode
