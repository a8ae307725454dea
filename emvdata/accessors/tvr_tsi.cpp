// Terminal verification results (95) and transaction status information (9B).

#include "emvdata/accessors/families.hpp"

using namespace quorrin;
using namespace quorrin::accessor;

namespace {

// All bits off, and present in full.
template <std::size_t Size>
std::int32_t start_bits(Element element, std::uint8_t (&storage)[Size]) {
    std::fill_n(storage, Size, std::uint8_t{0});
    mark_present(element, Size);
    return QUORRIN_SUCCESS;
}

}  // namespace

std::int32_t emvInitTVR() { return start_bits(element::terminal_verification_results, gl_Tm_TVR); }
std::int32_t emvInitTSI() { return start_bits(element::transaction_status_information, gl_Tm_TSI); }

// Bit readers and setters. Deliberate: a bit set here does not make the element present; only
// emvInitTVR, emvInitTSI or a store by tag does, and a DOL is filled from present lengths.
std::int32_t emvGetTVR(std::uint8_t byte, std::uint8_t bit) {
    return bit_value(gl_Tm_TVR, byte, bit);
}
std::int32_t emvGetTSI(std::uint8_t byte, std::uint8_t bit) {
    return bit_value(gl_Tm_TSI, byte, bit);
}
void emvSetTVRBit(std::uint8_t byte, std::uint8_t bit, std::uint8_t on) {
    set_bit(gl_Tm_TVR, byte, bit, on);
}
void emvSetTSIBit(std::uint8_t byte, std::uint8_t bit, std::uint8_t on) {
    set_bit(gl_Tm_TSI, byte, bit, on);
}
std::int32_t emvCheckBitValue(const std::uint8_t* buffer, std::uint8_t byte, std::uint8_t bit) {
    // The buffer's size is the caller's; it reaches at least to the byte asked for.
    return buffer == nullptr ? QUORRIN_ACCESSOR_NO_BUFFER : bit_value({buffer, byte}, byte, bit);
}
