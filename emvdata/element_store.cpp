#include "emvdata/element_store.hpp"

namespace quorrin {

std::int32_t store_element(Bytes parent, Bytes tag, Bytes value) noexcept {
    if (parent.size() > 2) {
        return store_code::template_tag_too_long;
    }
    if (tag.empty() || tag.size() > 2) {
        return store_code::bad_tag_length;
    }
    if (value.empty()) {
        return store_code::no_value;
    }
    const Element element = find_element(tag);
    return element.is_none() ? store_code::unknown_element
                             : store_value(element, Template::of(parent), value);
}

}  // namespace quorrin
