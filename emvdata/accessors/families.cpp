#include "emvdata/accessors/families.hpp"

namespace quorrin::accessor {

Reading read_whole(Element element, std::uint8_t* out) noexcept {
    const std::uint16_t bytes = std::min(length(element), storage_size(element));
    return {read_value(element, {out, bytes}), bytes};
}

std::int32_t store(Element element, const std::uint8_t* value, std::uint16_t bytes) noexcept {
    if (value == nullptr || bytes == 0) {
        return QUORRIN_STORE_NO_VALUE;
    }
    constexpr Template no_template = Template::of({});
    return store_value(element, no_template, {value, bytes});
}

}  // namespace quorrin::accessor
