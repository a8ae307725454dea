// Opens a reader, powers the card in it, selects the payment system environment, closes again.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "quorrin/quorrin.h"

namespace {

// Says how a step went and ends the demonstration when it failed.
void step(const char* name, bool holds) {
    std::printf("%-40s %s\n", name, holds ? "ok" : "FAILED");
    if (!holds) {
        std::exit(EXIT_FAILURE);
    }
}

void print_hex(const char* name, const std::uint8_t* bytes, std::uint32_t count) {
    char text[2 * 1024] = {};
    bcd_to_asc(text, bytes, static_cast<std::int32_t>(2 * count), 0);
    std::printf("    %s: %.*s\n", name, static_cast<int>(2 * count), text);
}

}  // namespace

int main() {
    std::int64_t handle = 0;
    step("Open the reader", OpenDevice(EG_szDev_Name, &handle) == 0 && handle > 0);

    char serial[33] = {};
    step("Read its serial number", GetDevSerial(handle, serial) == 0);
    std::printf("    serial number: %s\n", serial);

    std::uint8_t atr[512];
    std::uint32_t atr_length = 0;
    step("Power the contact card", PowerUp(handle, EG_nUserCardType, atr, &atr_length) == 0);
    print_hex("answer to reset", atr, atr_length);

    const char name[] = "1PAY.SYS.DDF01";
    std::uint8_t response[1024];
    std::uint32_t length = 0;
    const std::int64_t result =
        IccComm(handle, EG_nUserCardType, 0x00, 0xA4, 0x04, 0x00, static_cast<int>(strlen(name)),
                reinterpret_cast<const std::uint8_t*>(name), 0, 3, response, &length);
    step("Select the payment system environment", result == 0 && TransRetCodeNoMsg(result) == 0);
    print_hex("file control information", response, length);
    step("Its answer is file control information", length > 2 && response[0] == 0x6F);

    step("Power the card down", PowerDown(handle, EG_nUserCardType) == 0);
    step("Close the reader", CloseDevice(&handle) == 0 && handle == 0);
    return EXIT_SUCCESS;
}
