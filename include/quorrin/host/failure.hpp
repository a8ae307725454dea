// What fails, and how it is told.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include <quorrin/quorrin.h>
#include <quorrin/host/codes.hpp>

namespace quorrin::host {

/// A status word of a card (ISO 7816-4).
struct StatusWord {
    std::uint8_t sw1 = 0;  ///< first byte; 00 when none was received
    std::uint8_t sw2 = 0;  ///< second byte

    /// 90 00.
    bool success() const { return sw1 == 0x90 && sw2 == 0x00; }
    /// Both as a number: 0x6A82.
    std::uint16_t value() const { return static_cast<std::uint16_t>(sw1 << 8 | sw2); }
    /// "6A82".
    std::string text() const {
        constexpr char digits[] = "0123456789ABCDEF";
        return {digits[sw1 >> 4], digits[sw1 & 0x0F], digits[sw2 >> 4], digits[sw2 & 0x0F]};
    }
    /// Equality.
    friend bool operator==(StatusWord left, StatusWord right) {
        return left.value() == right.value();
    }
    /// Difference.
    friend bool operator!=(StatusWord left, StatusWord right) { return !(left == right); }
};

/// The status word of the last exchange.
inline StatusWord last_status_word() {
    return {CARD_SW1, CARD_SW2};
}

/// The row of a result; that of QUORRIN_UNKNOWN for one without a name.
inline const CodeRow& code_row(std::int64_t code) {
    const CodeRow* unknown = nullptr;
    for (const CodeRow& row : code_rows) {
        if (row.code == code) {
            return row;
        }
        if (row.code == QUORRIN_UNKNOWN) {
            unknown = &row;
        }
    }
    return *unknown;
}

/// An operation that failed at the reader or the card: what the C interface tells, in one place.
class Failure : public std::runtime_error {
  public:
    /// The step that failed and its result. The status word is that of the last exchange.
    Failure(const char* step, std::int64_t code) : Failure(step, code, last_status_word()) {}
    /// The same with a status word of its own.
    Failure(const char* step, std::int64_t code, StatusWord status_word)
        : std::runtime_error(describe(step, code, status_word)),
          step_(step),
          code_(code),
          status_word_(status_word) {}

    /// The function of quorrin.h that failed: "emvSelectAid".
    const char* step() const { return step_; }
    /// Its result: a value of the enums in quorrin/results.h.
    std::int64_t code() const { return code_; }
    /// The result's name: "QUORRIN_FILE_NOT_FOUND".
    const char* name() const { return code_row(code_).name; }
    /// What happened.
    const char* meaning() const { return code_row(code_).meaning; }
    /// What to do next; it begins with "Go on", "Try again", "Mend", "Call", "Close" or "End".
    const char* next() const { return code_row(code_).next; }
    /// The card's status word; 0000 when the card did not answer.
    StatusWord status_word() const { return status_word_; }

    /// The library's message for a card holder, in Chinese (UTF-8); empty for codes without one.
    std::string message() const {
        char text[128] = {};
        if (code_ == 0 || TransRetCodeNoMsg(code_) != code_) {
            return {};
        }
        TransRetCode(code_, text);
        return text;
    }

  private:
    static std::string describe(const char* step, std::int64_t code, StatusWord status_word) {
        const CodeRow& row = code_row(code);
        return std::string(step) + ": " + row.name + " (" + std::to_string(code) +
               "), status word " + status_word.text() + ": " + row.meaning + " " + row.next;
    }

    const char* step_;
    std::int64_t code_;
    StatusWord status_word_;
};

/// A host's own mistake: two readers at once, two threads, steps out of order, a card after its
/// reader was closed. Found before anything reaches the reader.
class Misuse : public std::logic_error {
  public:
    using std::logic_error::logic_error;
};

namespace detail {

/// Turns a result into a failure; 0 is success, positive codes are failures too.
inline void check(const char* step, std::int64_t result) {
    if (result != QUORRIN_SUCCESS) {
        throw Failure(step, result);
    }
}

/// The same for a step that may pass over an exchange that failed on the way (a record that was lost,
/// a directory that ends early): the reader's own result comes first.
inline void check_card(const char* step, std::int64_t result) {
    if (CARD_STATUS != QUORRIN_SUCCESS) {
        throw Failure(step, CARD_STATUS, StatusWord{});
    }
    check(step, result);
}

}  // namespace detail

}  // namespace quorrin::host
