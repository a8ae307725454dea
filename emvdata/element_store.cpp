#include "emvdata/element_store.hpp"

namespace quorrin {

std::int32_t store_element(Bytes parent, Bytes tag, Bytes value) noexcept {
    if (parent.size() > 2) {
        return QUORRIN_STORE_TEMPLATE_TOO_LONG;
    }
    if (tag.empty() || tag.size() > 2) {
        return QUORRIN_STORE_BAD_TAG_LENGTH;
    }
    if (value.empty()) {
        return QUORRIN_STORE_NO_VALUE;
    }
    const Element element = find_element(tag);
    return element.is_none() ? QUORRIN_STORE_UNKNOWN_ELEMENT
                             : store_value(element, Template::of(parent), value);
}

}  // namespace quorrin
