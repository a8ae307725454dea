// The self-contained read of card number and card holder name: opens the reader, finds the card,
// reads and closes again.

#include <algorithm>
#include <array>
#include <cstdio>

#include "bankcard/application_reading.hpp"
#include "quorrin/quorrin.h"
#include "reader/hex_bytes.hpp"

namespace quorrin {
namespace {

// Steps that the trace on standard output names.
enum class TracePoint { Select = 1596, SelectFailed = 1601, Options = 1605, OptionsFailed = 1609 };

void print(TracePoint point) {
    std::printf("%s %d\n", "getIcAPNName", static_cast<int>(point));
}

void trace(ReadingStep step, bool failed) {
    switch (step) {
        case ReadingStep::Selection:
            print(failed ? TracePoint::SelectFailed : TracePoint::Select);
            break;
        case ReadingStep::Options:
            print(failed ? TracePoint::OptionsFailed : TracePoint::Options);
            break;
        case ReadingStep::Records:
            break;
    }
}

// The PAN as hex text. One with an odd number of digits ends with an F pad, which becomes the
// terminator.
void write_pan(char* pan, std::int32_t* pan_length) {
    constexpr std::uint8_t max_pan_size = 10;  // EMV book 3, annex A: up to 19 digits
    std::array<std::uint8_t, 50> bytes{};
    std::uint8_t stored = 0;
    emvGetPAN(bytes.data(), &stored);
    const std::size_t size = std::min(stored, max_pan_size);
    const auto digits = static_cast<std::int32_t>(2 * size);
    if (digits == 0) {
        return;
    }
    write_hex(pan, std::span(bytes).first(size));
    char& last = pan[digits - 1];
    if (last == 'F') {
        last = '\0';
        // Deliberate: without a pad the length stays as the host set it.
        *pan_length = digits - 1;
    }
}

constexpr bool any_null(auto*... pointers) {
    return ((pointers == nullptr) || ...);
}

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int64_t getIcAPNName(std::int64_t handle, char* pan, std::int32_t* panLen, std::uint8_t* name,
                          std::uint8_t* nameLen) {
    if (any_null(pan, panLen, name, nameLen)) {
        return QUORRIN_BAD_PARAMETER;
    }
    if (const std::int64_t failure = read_application(handle, nullptr, nullptr, nullptr, trace)) {
        return failure;
    }
    write_pan(pan, panLen);
    emvGetHolderName(name, nameLen);
    return QUORRIN_SUCCESS;
}

std::int32_t ICRT_GetICPanName(std::int32_t cardKind, std::int32_t port, char* pan,
                               std::int32_t* panLen, std::uint8_t* name, std::uint8_t* nameLen) {
    if (cardKind < QUORRIN_USER_CONTACT || cardKind > QUORRIN_USER_CONTACTLESS_FIRST) {
        return static_cast<std::int32_t>(QUORRIN_WRONG_CARD_TYPE);
    }
    if (any_null(pan, panLen, name, nameLen)) {
        return static_cast<std::int32_t>(QUORRIN_BAD_PARAMETER);
    }
    EG_port = port;
    char message[512] = {};
    if (const std::int64_t failure = icBandkCardPowerUp(cardKind, message)) {
        return static_cast<std::int32_t>(failure);
    }
    // Deliberate: after a failure the reader stays open and the card powered, for the host to ask
    // for the cause or go on.
    if (const std::int64_t failure = getIcAPNName(ReaderHandle, pan, panLen, name, nameLen)) {
        return static_cast<std::int32_t>(failure);
    }
    CloseAllDevice();
    return 0;
}
