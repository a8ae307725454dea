// What a GENERATE AC leaves behind, taken back before the next one.

#include "emvdata/elements.hpp"
#include "quorrin/quorrin.h"

using namespace quorrin;

namespace {

constexpr Slot generate_ac_elements[] = {
    slot_of(0x9F27),  // cryptogram information data
    element::application_cryptogram,
    element::app_transaction_counter,
    element::issuer_application_data,
    element::signed_dynamic_application_data,
};

}  // namespace

void emvInitGACData(void) {
    // Values and lengths stay: presence is what later steps ask for.
    for (const Slot slot : generate_ac_elements) {
        record(slot).state = 0;
    }
    emvSetCardATCErrFlg(0);
}
