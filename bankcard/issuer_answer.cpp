// The issuer's answer to an online authorisation taken back to the card: EXTERNAL AUTHENTICATE and
// the issuer scripts.

#include <array>
#include <cstring>

#include "bankcard/held_bytes.hpp"
#include "quorrin/quorrin.h"
#include "reader/card_step.hpp"

using namespace quorrin;

namespace {

constexpr std::size_t max_issuer_text = 1024;
constexpr std::uint8_t arqc_obtained = 1;

}  // namespace

std::int64_t ARPCExeScript(std::int64_t handle, std::int64_t /*unused*/, const char* issuerText) {
    if (gucGetArqcFlag != arqc_obtained) {
        return QUORRIN_NO_ARQC;
    }
    if (issuerText == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    const std::size_t length = strnlen(issuerText, max_issuer_text + 1);
    if (length > max_issuer_text) {
        return QUORRIN_DATA_NOT_VALID;
    }
    // The whole text is converted; the byte of an odd last digit does not count.
    std::array<std::uint8_t, max_issuer_text / 2> data = {};
    asc_to_bcd(data.data(), issuerText, static_cast<std::int32_t>(length), 0);

    // Deliberate: no step's outcome reaches the host as a code; what happened stands in the TVR,
    // the TSI and the script results. Both kinds of script are sent here, since no second GENERATE
    // AC comes between them.
    emvExtractIssuerData(data.data(), static_cast<std::uint16_t>(length / 2));
    emvExternalAuthenticate(handle);
    emvScriptProcess(1);
    emvScriptProcess(2);
    return QUORRIN_SUCCESS;
}

std::int64_t emvExternalAuthenticate(std::int64_t handle) {
    // Deliberate: the length decides, not the presence, so that without authentication data the
    // command goes to the card empty.
    const auto data =
        held_bytes(gl_Tm_IssAuthDt, static_cast<std::uint8_t>(emvGetIssuerAuthDataLength()));
    CardAnswer answer;
    return card_step(handle, {0x00, 0x82, 0x00, 0x00, data, QUORRIN_WITH_DATA}, answer);
}
