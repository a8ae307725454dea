// What a GENERATE AC leaves behind, taken back before the next one.

#include "emvdata/dictionary.hpp"
#include "quorrin/quorrin.h"

using namespace quorrin;

void emvInitGACData(void) {
    // Values and lengths stay: presence is what later steps ask for.
    for (std::size_t index = 0; index < card_rows; ++index) {
        const Element element = Element::card(index);
        if ((constants_of(element).resets & dictionary::of_cryptogram) != 0) {
            record(element).state = 0;
        }
    }
    emvSetCardATCErrFlg(0);
}
