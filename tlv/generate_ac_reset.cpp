// What a GENERATE AC leaves behind, taken back before the next one.

#include "emvdata/dictionary.hpp"
#include "quorrin/quorrin.h"

using namespace quorrin;

namespace {

constexpr Slot generate_ac_elements[] = {
    slot_of(0x9F27),  // cryptogram information data
    slot_of(0x9F26),  // application cryptogram
    slot_of(0x9F36),  // application transaction counter
    slot_of(0x9F10),  // issuer application data
    slot_of(0x9F4B),  // signed dynamic application data
};

}  // namespace

void emvInitGACData(void) {
    // Values and lengths stay: presence is what later steps ask for.
    for (const Slot slot : generate_ac_elements) {
        record(slot).state = 0;
    }
    emvSetCardATCErrFlg(0);
}
