#include "emvdata/accessors/families.hpp"

namespace quorrin::accessor {

Reading read_whole(Slot slot, std::uint8_t* out) noexcept {
    const std::uint16_t bytes = std::min(length(slot), storage_size(slot));
    return {read_value(slot, {out, bytes}), bytes};
}

std::int32_t store(Slot slot, const std::uint8_t* value, std::uint16_t bytes) noexcept {
    if (value == nullptr || bytes == 0) {
        return store_code::no_value;
    }
    constexpr TemplateSet no_template = TemplateSet::of({});
    return store_value(slot, no_template, {value, bytes});
}

}  // namespace quorrin::accessor
