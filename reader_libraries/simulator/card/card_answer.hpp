// What a card answers: data and a status word (ISO/IEC 7816-4 section 5.6).
#pragma once

#include <utility>

#include "reader_libraries/simulator/card_device.hpp"

namespace quorrin::simulator {

enum class StatusWord : std::uint16_t {
    Success = 0x9000,
    SelectedFileInvalidated = 0x6283,
    AuthenticationFailed = 0x6300,
    TriesLeft = 0x63C0,  // the low nibble counts them
    MemoryFailure = 0x6581,
    WrongLength = 0x6700,
    AuthenticationMethodBlocked = 0x6983,
    ReferenceDataUnusable = 0x6984,
    ConditionsNotSatisfied = 0x6985,
    SecureMessagingWrong = 0x6988,
    WrongData = 0x6A80,
    FunctionNotSupported = 0x6A81,
    FileNotFound = 0x6A82,
    RecordNotFound = 0x6A83,
    WrongParameters = 0x6A86,
    ReferencedDataNotFound = 0x6A88,
    InstructionNotSupported = 0x6D00,
    WrongLe = 0x6C00,  // the low byte has the right one
    ClassNotSupported = 0x6E00,
};

struct CardAnswer {
    CardAnswer(StatusWord word) : status(word) {}  // a refusal, or a success without data
    CardAnswer(ByteString answered, StatusWord word = StatusWord::Success)
        : data(std::move(answered)), status(word) {}

    [[nodiscard]] ByteString encoded() const {
        ByteString whole = data;
        whole.push_back(static_cast<std::uint8_t>(static_cast<std::uint16_t>(status) >> 8));
        whole.push_back(static_cast<std::uint8_t>(status));
        return whole;
    }

    ByteString data;
    StatusWord status;
};

}  // namespace quorrin::simulator
