// A reader library with one contact card in it: the card answers SELECT of the payment system
// environment and nothing else.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "quorrin/reader_library.h"

namespace {

constexpr std::int64_t handle_of_the_reader = 1;
constexpr int contact_slot = 0x01;
constexpr std::int64_t no_card = -2;
constexpr std::int64_t not_connected = -12;

constexpr std::uint8_t answer_to_reset[] = {0x3B, 0x65, 0x00, 0x00, 0x51, 0x55, 0x4F, 0x52, 0x52};

// SELECT by name (ISO 7816-4) of the payment system environment, up to Le.
constexpr std::string_view select_pse{
    "\x00\xA4\x04\x00\x0E"
    "1PAY.SYS.DDF01",
    19};

// FCI with DF name and SFI 1 of the directory (EMV book 1, 11.3.4), 90 00.
constexpr std::string_view fci{
    "\x6F\x15\x84\x0E"
    "1PAY.SYS.DDF01"
    "\xA5\x03\x88\x01\x01\x90\x00",
    25};
constexpr std::string_view not_found{"\x6A\x82", 2};

}  // namespace

int64_t ICC_Reader_Open(char* name) {
    std::strcpy(name, "scripted reader");
    return handle_of_the_reader;
}

int64_t ICC_Reader_Close() {
    return 0;
}

int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    if (handle != handle_of_the_reader || slot != contact_slot) {
        return no_card;
    }
    std::copy(std::begin(answer_to_reset), std::end(answer_to_reset), atr);
    return std::size(answer_to_reset);
}

int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return handle == handle_of_the_reader && slot == contact_slot ? 0 : no_card;
}

int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    if (handle != handle_of_the_reader || slot != contact_slot) {
        return no_card;
    }
    const std::string_view sent(reinterpret_cast<const char*>(command),
                                static_cast<std::size_t>(length));
    const std::string_view answer = sent.starts_with(select_pse) ? fci : not_found;
    std::copy(answer.begin(), answer.end(), response);
    return static_cast<int64_t>(answer.size());
}

int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    if (handle != handle_of_the_reader) {
        return not_connected;
    }
    std::strcpy(serial, "0001");
    return 0;
}
