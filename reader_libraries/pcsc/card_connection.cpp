#include "reader_libraries/pcsc/card_connection.hpp"

#include <algorithm>
#include <array>

#include "quorrin/device_codes.h"
#include "reader_libraries/pcsc/result_codes.hpp"

namespace quorrin::pcsc {
namespace {

using std::chrono::milliseconds;

constexpr DWORD both_protocols = SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1;

// The states of a reader are looked at this often while a program holds the card: not every service
// says when it lets go.
constexpr milliseconds look_again_after{200};

constexpr std::uint8_t more_data = 0x61;
constexpr std::uint8_t get_response = 0xC0;

constexpr std::size_t header_size = 4;
constexpr std::size_t status_size = 2;

DWORD share_mode(const CardConnection::PowerOn& how) {
    return how.shared ? SCARD_SHARE_SHARED : SCARD_SHARE_EXCLUSIVE;
}

// T=0 has no command with data in both directions (ISO 7816-3, 12.1.2): its Le stays behind, and the
// card announces what it has to say with 61xx.
std::span<const std::uint8_t> as_sent(std::span<const std::uint8_t> command, DWORD protocol) {
    constexpr std::size_t lc = header_size;
    const bool has_data_and_le =
        command.size() > lc + 1 && command.size() == header_size + 1 + command[lc] + 1U;
    return protocol == SCARD_PROTOCOL_T0 && has_data_and_le ? command.first(command.size() - 1)
                                                            : command;
}

}  // namespace

LONG CardConnection::read_state(const std::string& reader, DWORD& state) const {
    SCARD_READERSTATE asked{};
    asked.szReader = reader.c_str();
    asked.dwCurrentState = SCARD_STATE_UNAWARE;
    const LONG result = service_.functions().get_status_change(service_.context(), 0, &asked, 1);
    if (result != SCARD_S_SUCCESS) {
        return result;
    }
    state = asked.dwEventState;
    if ((state & (SCARD_STATE_UNKNOWN | SCARD_STATE_UNAVAILABLE | SCARD_STATE_IGNORE)) != 0) {
        return SCARD_E_READER_UNAVAILABLE;
    }
    return (state & SCARD_STATE_PRESENT) != 0 ? SCARD_S_SUCCESS : SCARD_E_NO_SMARTCARD;
}

LONG CardConnection::presence(const std::string& reader) const {
    DWORD ignored = 0;
    return read_state(reader, ignored);
}

// A connection is asked for only when no other program is in the way: the service would let the call
// wait, without a limit, for the end of another program's transaction.
LONG CardConnection::wait_for_card(const std::string& reader, const PowerOn& how) const {
    const PcscFunctions& pcsc = service_.functions();
    const DWORD in_the_way =
        how.shared ? SCARD_STATE_EXCLUSIVE : SCARD_STATE_EXCLUSIVE | SCARD_STATE_INUSE;
    const auto end = pcsc.now() + how.wait;
    for (;;) {
        DWORD state = 0;
        if (const LONG result = read_state(reader, state); result != SCARD_S_SUCCESS) {
            return result;
        }
        if ((state & in_the_way) == 0) {
            return SCARD_S_SUCCESS;
        }
        const auto left = std::chrono::ceil<milliseconds>(end - pcsc.now());
        if (left <= milliseconds::zero()) {
            return SCARD_E_SHARING_VIOLATION;
        }
        SCARD_READERSTATE watched{};
        watched.szReader = reader.c_str();
        watched.dwCurrentState = state & ~DWORD{SCARD_STATE_CHANGED};
        const auto slice = std::min(left, look_again_after);
        const LONG result = pcsc.get_status_change(service_.context(),
                                                   static_cast<DWORD>(slice.count()), &watched, 1);
        if (result != SCARD_S_SUCCESS && result != SCARD_E_TIMEOUT) {
            return result;
        }
    }
}

LONG CardConnection::connect_cold(const std::string& reader, const PowerOn& how) {
    if (const LONG result = wait_for_card(reader, how); result != SCARD_S_SUCCESS) {
        return result;
    }
    SCARDHANDLE card = 0;
    DWORD protocol = 0;
    const LONG result = service_.functions().connect(
        service_.context(), reader.c_str(), share_mode(how), both_protocols, &card, &protocol);
    if (result != SCARD_S_SUCCESS) {
        return result;
    }
    card_ = card;
    reader_ = reader;
    protocol_ = {protocol, sizeof protocol_};
    // The service powers a card when it is inserted, and leaves it powered for a while after other
    // programs; it does not say reliably whether it has.
    return restart(how);
}

// Takes the power from a connected card and gives it again.
LONG CardConnection::restart(const PowerOn& how) {
    DWORD protocol = 0;
    const LONG result = service_.functions().reconnect(*card_, share_mode(how), both_protocols,
                                                       SCARD_UNPOWER_CARD, &protocol);
    if (result == SCARD_S_SUCCESS) {
        protocol_ = {protocol, sizeof protocol_};
    }
    return result;
}

LONG CardConnection::power_on(const std::string& reader, const PowerOn& how,
                              std::span<std::uint8_t, atr_room> atr, std::size_t& length) {
    empty_chain_ = 0;
    if (card_ && (reader_ != reader || restart(how) != SCARD_S_SUCCESS)) {
        power_off();
    }
    if (!card_) {
        if (const LONG result = connect_cold(reader, how); result != SCARD_S_SUCCESS) {
            power_off();
            return result;
        }
    }
    std::array<std::uint8_t, MAX_ATR_SIZE> bytes{};
    DWORD count = bytes.size();
    LONG result = service_.functions().status(*card_, nullptr, nullptr, nullptr, nullptr,
                                              bytes.data(), &count);
    if (result == SCARD_S_SUCCESS && (count == 0 || count > bytes.size())) {
        result = SCARD_W_UNRESPONSIVE_CARD;
    }
    if (result != SCARD_S_SUCCESS) {
        power_off();
        return result;
    }
    length = count;
    std::copy_n(bytes.begin(), length, atr.begin());
    return SCARD_S_SUCCESS;
}

LONG CardConnection::power_off() {
    if (!card_) {
        return SCARD_S_SUCCESS;
    }
    const LONG result = service_.functions().disconnect(*card_, SCARD_UNPOWER_CARD);
    card_.reset();
    return result;
}

// Lets go of a card that another program may be using.
void CardConnection::leave() {
    service_.functions().disconnect(*card_, SCARD_LEAVE_CARD);
    card_.reset();
}

std::int64_t CardConnection::exchange(std::span<const std::uint8_t> command,
                                      std::span<std::uint8_t, response_room> response) {
    const auto sent = as_sent(command, protocol_.dwProtocol);
    DWORD length = response.size();
    const LONG result = service_.functions().transmit(*card_, &protocol_, sent.data(), sent.size(),
                                                      nullptr, response.data(), &length);
    if (result != SCARD_S_SUCCESS) {
        return failed_exchange(result);
    }
    if (length < status_size) {
        return QUORRIN_CARD_MUTE;
    }
    if (length > response.size()) {
        return QUORRIN_CHECK_ERROR;
    }
    if (length > status_size || response[0] != more_data) {
        empty_chain_ = 0;
    } else {
        // A command of the host's begins a chain, GET RESPONSE goes on with it.
        empty_chain_ = command[1] == get_response ? empty_chain_ + 1 : 1;
        if (empty_chain_ >= longest_empty_chain) {
            empty_chain_ = 0;
            return QUORRIN_CARD_MUTE;
        }
    }
    return static_cast<std::int64_t>(length);
}

std::int64_t CardConnection::failed_exchange(LONG result) {
    empty_chain_ = 0;
    // The service reports a card that was pulled out just now as one that did not answer.
    if (result == SCARD_E_NOT_TRANSACTED && presence(reader_) == SCARD_E_NO_SMARTCARD) {
        result = SCARD_W_REMOVED_CARD;
    }
    if (is_service_lost(result)) {
        forget();
    } else if (is_card_lost(result)) {
        leave();
    }
    return device_code(result);
}

LONG CardConnection::read_attribute(const std::string& reader, DWORD attribute,
                                    std::span<char> room, std::size_t& length) const {
    const PcscFunctions& pcsc = service_.functions();
    SCARDHANDLE handle = card_.value_or(0);
    if (!card_) {
        DWORD protocol = 0;
        const LONG result = pcsc.connect(service_.context(), reader.c_str(), SCARD_SHARE_DIRECT, 0,
                                         &handle, &protocol);
        if (result != SCARD_S_SUCCESS) {
            return result;
        }
    }
    DWORD count = room.size();
    const LONG result =
        pcsc.get_attribute(handle, attribute, reinterpret_cast<LPBYTE>(room.data()), &count);
    if (!card_) {
        pcsc.disconnect(handle, SCARD_LEAVE_CARD);
    }
    if (result != SCARD_S_SUCCESS) {
        return is_card_lost(result) ? result : SCARD_E_UNSUPPORTED_FEATURE;
    }
    length = std::min<std::size_t>(count, room.size());
    return SCARD_S_SUCCESS;
}

}  // namespace quorrin::pcsc
