// The data elements by their names in code, one for each row: `element::pan` and so on.
#pragma once

#include "emvdata/dictionary.hpp"

namespace quorrin::element {

#define ELEMENT(tag, name, ...) \
    inline constexpr Element name = Element::numbered(dictionary::Number::name);
#include "emvdata/card_elements.def"
#include "emvdata/terminal_elements.def"
#undef ELEMENT

}  // namespace quorrin::element
