// The exchange of one command APDU with a card (ISO 7816-4), with response chaining and length
// correction.

#include <algorithm>
#include <cstring>
#include <span>

#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"
#include "reader/card_kind.hpp"
#include "reader/diagnostic_log.hpp"

std::uint8_t CARD_SW1 = 0;
std::uint8_t CARD_SW2 = 0;
std::int64_t CARD_STATUS = 0;

using namespace quorrin;

namespace {

constexpr std::size_t status_word_size = 2;
constexpr std::size_t header_size = 4;
constexpr std::size_t command_size = 300;
constexpr std::int64_t response_size = 1024;

// ISO 7816-3, 12.2: how T=0 carries a command with an answer.
constexpr std::uint8_t sw1_more_data = 0x61;     // GET RESPONSE fetches SW2 bytes (12.2.5)
constexpr std::uint8_t sw1_wrong_length = 0x6C;  // SW2 is the length that the card wants (12.2.3)

// A command as it is sent. The bytes beyond it stay zero: the log reads the buffer as text.
struct Command {
    std::uint8_t bytes[command_size] = {};
    std::size_t length = 0;

    void append(int value) { bytes[length++] = static_cast<std::uint8_t>(value); }
    void append(std::span<const std::uint8_t> data) {
        std::copy(data.begin(), data.end(), bytes + length);
        length += data.size();
    }
    // Deliberate: the log shows the raw bytes as text, up to the first zero byte, not as hex. Hosts
    // know the lines in this form; a command of class 00 appears as an empty text.
    const char* text() const { return reinterpret_cast<const char*>(bytes); }
};

// An answer as the reader left it, with a byte more so that it always ends as text.
struct Response {
    std::uint8_t bytes[response_size + 1] = {};
    const char* text() const { return reinterpret_cast<const char*>(bytes); }
};

// Data of several answers back to back, closed by the status word of the last.
struct ChainedAnswer {
    std::uint8_t bytes[response_size];
    std::size_t length = 0;

    bool append(std::span<const std::uint8_t> part) {
        if (part.size() > sizeof bytes - length) {
            return false;
        }
        std::copy(part.begin(), part.end(), bytes + length);
        length += part.size();
        return true;
    }
};

class Exchange {
  public:
    Exchange(std::int64_t handle, const CardKind& kind, Command& command, std::uint8_t* data,
             std::uint32_t* data_length)
        : handle_(handle), kind_(kind), command_(command), data_(data), data_length_(data_length) {}

    std::int64_t run() {
        log::write_items(kind_.outgoing_label, command_.text());
        const std::int64_t result = transmit(command_.length);
        if (result > response_size) {
            return fail(QUORRIN_CHECK_ERROR);
        }
        if (result < 2) {
            return fail(result);
        }
        if (result > 2) {
            // Deliberate: the incoming line repeats the command, which ties it to its outgoing
            // line.
            log::write_items(kind_.incoming_label, command_.text());
            return deliver(result);
        }
        if (response_.bytes[0] == sw1_more_data) {
            return collect_chained_response();
        }
        if (response_.bytes[0] == sw1_wrong_length) {
            return repeat_with_length(response_.bytes[1]);
        }
        return deliver(result);
    }

  private:
    std::int64_t transmit(std::size_t length) {
        return ICC_Reader_Application(handle_, kind_.slot, static_cast<std::int64_t>(length),
                                      command_.bytes, response_.bytes);
    }

    static std::int64_t fail(std::int64_t result) {
        CARD_STATUS = result;
        return result;
    }

    // Hands the first `length` response bytes to the caller: data, then SW1 SW2.
    std::int64_t deliver(std::int64_t length) {
        const std::size_t data_size = static_cast<std::size_t>(length) - status_word_size;
        std::memcpy(data_, response_.bytes, data_size);
        *data_length_ = static_cast<std::uint32_t>(data_size);
        CARD_SW1 = response_.bytes[data_size];
        CARD_SW2 = response_.bytes[data_size + 1];
        log::write_items("ICC_Application", response_.text());
        return QUORRIN_SUCCESS;
    }

    // GET RESPONSE (ISO 7816-3, 12.2.5) until the card has no more data. There is no limit on the
    // number of rounds.
    std::int64_t collect_chained_response() {
        const std::uint8_t available = response_.bytes[1];
        command_ = Command{};
        // Deliberate: the class byte is 00 whatever the class of the first command. A host sees
        // the same GET RESPONSE after a command of a proprietary class (8x) or another channel.
        for (const int byte : {0x00, 0xC0, 0x00, 0x00, int{available}}) {
            command_.append(byte);
        }

        ChainedAnswer chained;
        for (;;) {
            const std::int64_t result = transmit(command_.length);
            if (result < 2) {
                break;
            }
            if (result > response_size) {
                return fail(QUORRIN_CHECK_ERROR);
            }
            const std::span answer(response_.bytes, static_cast<std::size_t>(result));
            const auto data = answer.first(answer.size() - status_word_size);
            const auto status_word = answer.last(status_word_size);
            const bool is_last = status_word[0] != sw1_more_data;
            if (!chained.append(data) || (is_last && !chained.append(status_word))) {
                return fail(QUORRIN_CHECK_ERROR);
            }
            if (is_last) {
                break;
            }
            if (!data.empty()) {
                command_.bytes[header_size] = status_word[1];
            }
        }

        const auto length = static_cast<std::int64_t>(chained.length);
        if (length < 2) {
            // Deliberate: the number of bytes received takes the place of the reader's code, so
            // that a host sees 0 (wrong card type) or 1 (unknown) for a chain cut this early.
            return fail(length);
        }
        // Deliberate: when the reader fails in mid-chain, the last two data bytes serve as status
        // word, so that the host sees what arrived.
        std::memcpy(response_.bytes, chained.bytes, chained.length);
        return deliver(length);
    }

    // Sends the header once more with the length that the card asked for (ISO 7816-3, 12.2.3); its
    // answer is final.
    // Deliberate: the command data are dropped, and the length takes the place of Lc. What a host
    // then sees is the card's answer to the header alone, refusals included.
    std::int64_t repeat_with_length(std::uint8_t length) {
        command_.bytes[header_size] = length;
        response_ = Response{};
        const std::int64_t result = transmit(header_size + 1);
        if (result > response_size) {
            return fail(QUORRIN_CHECK_ERROR);
        }
        return result < 2 ? fail(result) : deliver(result);
    }

    std::int64_t handle_;
    const CardKind& kind_;
    Command& command_;
    Response response_;
    std::uint8_t* data_;
    std::uint32_t* data_length_;
};

}  // namespace

std::int64_t IccComm(std::int64_t handle, std::int32_t kind, std::int32_t cla, std::int32_t ins,
                     std::int32_t p1, std::int32_t p2, std::int32_t lc, const std::uint8_t* data,
                     std::int32_t le, std::int32_t apduCase, std::uint8_t* resp,
                     std::uint32_t* respLen) {
    CARD_STATUS = 0;
    CARD_SW1 = 0;
    CARD_SW2 = 0;
    if (respLen != nullptr) {
        *respLen = 0;
    }
    const CardKind* card = find_card_kind(kind);
    if (card == nullptr) {
        return QUORRIN_SUCCESS;
    }

    // Deliberate: the case numbers are the library's own, not those of ISO 7816-4: hosts pass them.
    const bool has_data = apduCase == QUORRIN_WITH_DATA || apduCase == QUORRIN_WITH_DATA_AND_LE;
    const bool has_le = apduCase == QUORRIN_WITH_LE || apduCase == QUORRIN_WITH_DATA_AND_LE;
    const std::size_t data_size = has_data ? static_cast<std::uint8_t>(lc) : 0;
    if (resp == nullptr || respLen == nullptr || (data == nullptr && data_size > 0)) {
        CARD_STATUS = QUORRIN_BAD_PARAMETER;
        return QUORRIN_BAD_PARAMETER;
    }

    Command command;
    for (const int byte : {cla, ins, p1, p2}) {
        command.append(byte);
    }
    if (has_data) {
        command.append(lc);
        command.append(std::span(data, data_size));
    }
    if (has_le) {
        command.append(le);
    }
    return Exchange(handle, *card, command, resp, respLen).run();
}
