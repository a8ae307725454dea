// A host that meets its card through the library, in whatever way the simulator got into the process.
// Argument: a library to open at run time, for the way in which the host does that itself.
// Exits with 0 when the card answered as it should.

#include <dlfcn.h>

#include <cstdio>

#include "quorrin/quorrin.h"

int main(int count, char** arguments) {
    if (count > 1 && dlopen(arguments[1], RTLD_NOW | RTLD_GLOBAL) == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    char message[512] = {};
    if (const auto result = icBandkCardPowerUp(0, message); result != 0) {
        std::fprintf(stderr, "power up: %ld %s\n", static_cast<long>(result), message);
        return 1;
    }
    std::uint8_t aid[] = {0xA0, 0x00, 0x00, 0x03, 0x33, 0x01, 0x01, 0x01};
    std::uint8_t answer[1024] = {};
    std::uint32_t length = 0;
    const auto result = IccComm(ReaderHandle, EG_nUserCardType, 0x00, 0xA4, 0x04, 0x00, sizeof aid,
                                aid, 0, 3, answer, &length);
    if (result != 0 || CARD_SW1 != 0x90 || CARD_SW2 != 0x00 || length < 2 || answer[0] != 0x6F) {
        std::fprintf(stderr, "select: %ld %02X%02X\n", static_cast<long>(result), CARD_SW1,
                     CARD_SW2);
        return 1;
    }
    return CloseAllDevice() == 0 && ReaderHandle == 0 ? 0 : 1;
}
