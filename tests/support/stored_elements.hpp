// Elements put into the store by their tags, as hex digits.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "quorrin/quorrin.h"
#include "tests/support/exact_bytes.hpp"

namespace quorrin::test {

// What the store answers.
inline std::int32_t store(std::string_view tag, const ByteString& value,
                          std::string_view parent_template = "") {
    const ExactBytes parent(hex(parent_template));
    const ExactBytes tag_bytes(hex(tag));
    const ExactBytes value_bytes(value);
    return emvSetDataElement(parent.data(), parent.size8(), tag_bytes.data(), tag_bytes.size8(),
                             value_bytes.size16(), value_bytes.data());
}
inline std::int32_t store(std::string_view tag, std::string_view value,
                          std::string_view parent_template = "") {
    return store(tag, hex(value), parent_template);
}

// Puts a value into the store that it accepts.
inline void put(std::string_view tag, const ByteString& value) {
    if (store(tag, value) != 0) {
        throw std::invalid_argument("not stored: " + std::string(tag));
    }
}

}  // namespace quorrin::test
