// The exported access to the store by tag.

#include <array>

#include "boundary/host_bytes.hpp"
#include "emvdata/element_store.hpp"

using namespace quorrin;

namespace {

// A null template tag stands for one that no row names.
Bytes host_template(const std::uint8_t* tag, std::size_t length) {
    static constexpr std::uint8_t unnamed[] = {0xFF, 0xFF, 0xFF};
    return is_missing(tag, length) ? Bytes(unnamed).first(std::min(length, sizeof unnamed))
                                   : host_bytes(tag, length);
}

// Where each element stands, as lookups report it.
struct Place {
    std::uint8_t table;
    std::uint8_t row;
};
constexpr auto places = []() {
    std::array<Place, card_rows + terminal_rows + 1> all{};
    for (std::size_t number = 0; number < all.size(); ++number) {
        const Element element = Element::numbered(static_cast<std::uint8_t>(number));
        all[number] = {static_cast<std::uint8_t>(element.table()),
                       static_cast<std::uint8_t>(element.index())};
    }
    return all;
}();

// What emvGetDataElementLength and its setter select.
std::uint16_t* selected_length(QuorrinDataElement& row, std::uint8_t which) {
    switch (which) {
        case 0:
            return &row.curLen;
        case 1:
            return &row.minLen;
        case 2:
            return &row.maxLen;
        default:
            return nullptr;
    }
}

}  // namespace

std::uint8_t emvFindDataElement(const std::uint8_t* tag, std::uint8_t tagLen,
                                std::uint16_t* rowOut) {
    const Bytes wanted = host_bytes(tag, tagLen);
    if (wanted.empty() || wanted.size() > 2) {
        return static_cast<std::uint8_t>(Table::None);
    }
    const Place place = places[find_element(wanted).number()];
    if (rowOut != nullptr) {
        *rowOut = place.row;
    }
    return place.table;
}

std::int32_t emvCheckTemplate(const std::uint8_t* templateTag, std::uint8_t templateLen,
                              std::uint16_t row) {
    const Template parent = Template::of(host_template(templateTag, templateLen));
    if (parent.is_too_long()) {
        return QUORRIN_TEMPLATE_TAG_TOO_LONG;
    }
    const bool admitted =
        templateLen == 0 || (row < card_rows && admits(Element::card(row), parent));
    return admitted ? 0 : QUORRIN_TEMPLATE_MISMATCH;
}

std::int32_t emvSetDataElement(const std::uint8_t* templateTag, std::uint8_t templateLen,
                               const std::uint8_t* tag, std::uint8_t tagLen, std::uint16_t length,
                               const std::uint8_t* value) {
    return store_element(host_template(templateTag, templateLen), host_bytes(tag, tagLen),
                         host_bytes(value, length));
}

std::int32_t emvSetDataElementCanChgTempPar(const std::uint8_t* templateTag,
                                            std::uint8_t templateLen, const std::uint8_t* tag,
                                            std::uint8_t tagLen, std::uint16_t length,
                                            const std::uint8_t* value) {
    return emvSetDataElement(templateTag, templateLen, tag, tagLen, length, value);
}

std::int32_t emvGetDataElement(const std::uint8_t* tag, std::uint8_t tagLen,
                               std::uint16_t* lengthInOut, std::uint8_t* out) {
    const Bytes wanted = host_bytes(tag, tagLen);
    if (wanted.empty() || wanted.size() > 2 || lengthInOut == nullptr || out == nullptr) {
        return QUORRIN_READ_BAD_TAG_LENGTH;
    }
    const Element element = find_element(wanted);
    if (element.is_none()) {
        return QUORRIN_READ_UNKNOWN_ELEMENT;
    }
    if (*lengthInOut == 0) {
        *lengthInOut = record(element).curLen;
    }
    return read_value(element, {out, *lengthInOut});
}

std::int32_t emvGetDataElementState(const std::uint8_t* tag, std::uint8_t tagLen) {
    const Element element = find_element(host_bytes(tag, tagLen));
    if (element.is_none()) {
        return QUORRIN_STATE_UNKNOWN_ELEMENT;
    }
    return record(element).state;
}

std::int32_t emvSetDataElementState(const std::uint8_t* tag, std::uint8_t tagLen,
                                    std::uint8_t state) {
    if (state > 1) {
        return QUORRIN_STATE_BAD;
    }
    const Element element = find_element(host_bytes(tag, tagLen));
    if (element.is_none()) {
        return QUORRIN_STATE_UNKNOWN_ELEMENT;
    }
    record(element).state = state;
    return QUORRIN_SUCCESS;
}

std::uint16_t emvGetDataElementLength(const std::uint8_t* tag, std::uint8_t tagLen,
                                      std::uint8_t which) {
    const Element element = find_element(host_bytes(tag, tagLen));
    if (element.is_none()) {
        return 0;
    }
    const std::uint16_t* length = selected_length(record(element), which);
    return length != nullptr ? *length : std::uint16_t{0};
}

std::int32_t emvSetDataElementLength(const std::uint8_t* tag, std::uint8_t tagLen,
                                     std::uint16_t length, std::uint8_t which) {
    const Element element = find_element(host_bytes(tag, tagLen));
    if (element.is_none()) {
        return QUORRIN_BOUND_UNKNOWN_ELEMENT;
    }
    std::uint16_t* selected = selected_length(record(element), which);
    if (selected == nullptr) {
        return QUORRIN_BOUND_BAD_SELECTOR;
    }
    *selected = length;
    return QUORRIN_SUCCESS;
}
