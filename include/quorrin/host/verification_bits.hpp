// Terminal verification results (TVR, 95) and transaction status information (TSI, 9B) bit by bit:
// EMV book 3, annexes C5 and C6. One list each makes the names and the texts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Rows of the TVR: byte and bit, counted from 1, bit 1 the least significant; name; text.
#define QUORRIN_TVR_BITS(ROW)                                                                    \
    ROW(1, 8, OfflineDataAuthenticationNotPerformed,                                             \
        "Offline data authentication was not performed")                                         \
    ROW(1, 7, SdaFailed, "Static data authentication failed")                                    \
    ROW(1, 6, IccDataMissing, "ICC data missing")                                                \
    ROW(1, 5, OnExceptionFile, "Card appears on terminal exception file")                        \
    ROW(1, 4, DdaFailed, "Dynamic data authentication failed")                                   \
    ROW(1, 3, CdaFailed, "CDA failed")                                                           \
    ROW(1, 2, SdaSelected, "SDA selected")                                                       \
    ROW(1, 1, XdaSelected, "XDA selected")                                                       \
    ROW(2, 8, DifferentVersions, "ICC and terminal have different application versions")         \
    ROW(2, 7, ExpiredApplication, "Expired application")                                         \
    ROW(2, 6, ApplicationNotYetEffective, "Application not yet effective")                       \
    ROW(2, 5, ServiceNotAllowed, "Requested service not allowed for card product")               \
    ROW(2, 4, NewCard, "New card")                                                               \
    ROW(2, 2, BiometricSuccessful, "Biometric performed and successful")                         \
    ROW(2, 1, BiometricTemplateNotSupported, "Biometric template format not supported")          \
    ROW(3, 8, CardholderVerificationNotSuccessful, "Cardholder verification was not successful") \
    ROW(3, 7, UnrecognisedCvm, "Unrecognised CVM")                                               \
    ROW(3, 6, PinTryLimitExceeded, "PIN try limit exceeded")                                     \
    ROW(3, 5, PinPadNotWorking, "PIN entry required and PIN pad not present or not working")     \
    ROW(3, 4, PinNotEntered, "PIN entry required, PIN pad present, but PIN was not entered")     \
    ROW(3, 3, OnlinePinEntered, "Online PIN entered")                                            \
    ROW(3, 2, BiometricDeviceNotWorking,                                                         \
        "Biometric required and biometric capture device not working")                           \
    ROW(3, 1, BiometricSubtypeNotEntered,                                                        \
        "Biometric required, capture device present, but subtype not entered")                   \
    ROW(4, 8, FloorLimitExceeded, "Transaction exceeds floor limit")                             \
    ROW(4, 7, LowerConsecutiveOfflineLimitExceeded, "Lower consecutive offline limit exceeded")  \
    ROW(4, 6, UpperConsecutiveOfflineLimitExceeded, "Upper consecutive offline limit exceeded")  \
    ROW(4, 5, SelectedRandomly, "Transaction selected randomly for online processing")           \
    ROW(4, 4, MerchantForcedOnline, "Merchant forced transaction online")                        \
    ROW(4, 3, BiometricTryLimitExceeded, "Biometric try limit exceeded")                         \
    ROW(4, 2, BiometricTypeNotSupported, "A selected biometric type not supported")              \
    ROW(4, 1, XdaSignatureFailed, "XDA signature verification failed")                           \
    ROW(5, 8, DefaultTdolUsed, "Default TDOL used")                                              \
    ROW(5, 7, IssuerAuthenticationFailed, "Issuer authentication failed")                        \
    ROW(5, 6, ScriptFailedBeforeFinalAc, "Script processing failed before final GENERATE AC")    \
    ROW(5, 5, ScriptFailedAfterFinalAc, "Script processing failed after final GENERATE AC")      \
    ROW(5, 4, RelayResistanceThresholdExceeded, "Relay resistance threshold exceeded")           \
    ROW(5, 3, RelayResistanceTimeLimitsExceeded, "Relay resistance time limits exceeded")

/// Rows of the TSI.
#define QUORRIN_TSI_BITS(ROW)                                                                  \
    ROW(1, 8, OfflineDataAuthenticationPerformed, "Offline data authentication was performed") \
    ROW(1, 7, CardholderVerificationPerformed, "Cardholder verification was performed")        \
    ROW(1, 6, CardRiskManagementPerformed, "Card risk management was performed")               \
    ROW(1, 5, IssuerAuthenticationPerformed, "Issuer authentication was performed")            \
    ROW(1, 4, TerminalRiskManagementPerformed, "Terminal risk management was performed")       \
    ROW(1, 3, ScriptProcessingPerformed, "Script processing was performed")

namespace quorrin::host {

/// A bit's place as a number: byte in the high half, bit in the low half.
constexpr std::uint16_t bit_place(unsigned byte, unsigned bit) {
    return static_cast<std::uint16_t>(byte << 8 | bit);
}

#define QUORRIN_BIT_NAME(byte, bit, name, text) name = bit_place(byte, bit),
/// What a terminal found out before the cryptogram.
enum class TvrBit : std::uint16_t { QUORRIN_TVR_BITS(QUORRIN_BIT_NAME) };
/// What a terminal has done.
enum class TsiBit : std::uint16_t { QUORRIN_TSI_BITS(QUORRIN_BIT_NAME) };
#undef QUORRIN_BIT_NAME

/// A named bit with its text.
template <typename Bit>
struct BitRow {
    Bit bit;                ///< its place
    std::string_view name;  ///< "NewCard"
    std::string_view text;  ///< "New card"
};

#define QUORRIN_BIT_ROW_TVR(byte, bit, name, text) BitRow<TvrBit>{TvrBit::name, #name, text},
#define QUORRIN_BIT_ROW_TSI(byte, bit, name, text) BitRow<TsiBit>{TsiBit::name, #name, text},
/// All named bits of the TVR.
inline constexpr BitRow<TvrBit> tvr_bits[] = {QUORRIN_TVR_BITS(QUORRIN_BIT_ROW_TVR)};
/// All named bits of the TSI.
inline constexpr BitRow<TsiBit> tsi_bits[] = {QUORRIN_TSI_BITS(QUORRIN_BIT_ROW_TSI)};
#undef QUORRIN_BIT_ROW_TVR
#undef QUORRIN_BIT_ROW_TSI

/// A set of named bits over the element's bytes. Bits without a name are kept too.
template <typename Bit, std::size_t Size>
class VerificationBits {
  public:
    VerificationBits() = default;
    /// The bits of an element's bytes.
    explicit VerificationBits(const std::array<std::uint8_t, Size>& bytes) : bytes_(bytes) {}

    /// Whether a bit is set.
    bool has(Bit bit) const { return (bytes_[index(bit)] & mask(bit)) != 0; }
    /// Sets a bit.
    void set(Bit bit) {
        bytes_[index(bit)] = static_cast<std::uint8_t>(bytes_[index(bit)] | mask(bit));
    }
    /// Whether no bit is set.
    bool none() const { return bytes_ == std::array<std::uint8_t, Size>{}; }
    /// The element's bytes.
    const std::array<std::uint8_t, Size>& bytes() const { return bytes_; }

    /// The bits that are set, in the order of the element.
    std::vector<BitRow<Bit>> rows() const {
        std::vector<BitRow<Bit>> set_rows;
        for (const auto& row : table()) {
            if (has(row.bit)) {
                set_rows.push_back(row);
            }
        }
        return set_rows;
    }

    /// The texts of the bits that are set, separated by "; ".
    std::string text() const {
        std::string texts;
        for (const auto& row : rows()) {
            texts += (texts.empty() ? "" : "; ") + std::string(row.text);
        }
        return texts;
    }

    /// Equality of all bits.
    friend bool operator==(const VerificationBits& left, const VerificationBits& right) {
        return left.bytes_ == right.bytes_;
    }
    /// Difference in any bit.
    friend bool operator!=(const VerificationBits& left, const VerificationBits& right) {
        return !(left == right);
    }

  private:
    static constexpr const auto& table() {
        if constexpr (Size == 5) {
            return tvr_bits;
        } else {
            return tsi_bits;
        }
    }
    static std::size_t index(Bit bit) { return (static_cast<std::size_t>(bit) >> 8) - 1; }
    static unsigned mask(Bit bit) { return 1U << ((static_cast<unsigned>(bit) & 0xFF) - 1); }

    std::array<std::uint8_t, Size> bytes_{};
};

/// Terminal verification results (95).
using Tvr = VerificationBits<TvrBit, 5>;
/// Transaction status information (9B).
using Tsi = VerificationBits<TsiBit, 2>;

}  // namespace quorrin::host
