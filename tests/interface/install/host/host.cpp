// A host as a user of an installed library writes it: it brings the reader functions along.

#include <quorrin/quorrin.h>
#include <quorrin/reader_library.h>

#include <cstdio>
#include <cstring>

int64_t ICC_Reader_Open(char* name) {
    std::strcpy(name, "HOST");
    return 1;
}
int64_t ICC_Reader_Close() {
    return 0;
}
int64_t ICC_Reader_PowerOn(int64_t, int, uint8_t* atr) {
    atr[0] = 0x3B;
    return 1;
}
int64_t ICC_Reader_PowerOff(int64_t, int) {
    return 0;
}
int64_t ICC_Reader_Application(int64_t, int, int64_t, uint8_t*, uint8_t* response) {
    response[0] = 0x90;
    response[1] = 0x00;
    return 2;
}
int64_t ICC_Reader_GetSerial(int64_t, char*) {
    return 0;
}

int main() {
    char message[512] = {};
    uint8_t response[1024];
    uint32_t length = 0;
    const bool works = icBandkCardPowerUp(0, message) == 0 &&
                       IccComm(ReaderHandle, EG_nUserCardType, 0x00, 0xA4, 0x04, 0x00, 0, nullptr,
                               0, 3, response, &length) == 0 &&
                       CARD_SW1 == 0x90 && TransRetCodeNoMsg(0) == 0 && CloseAllDevice() == 0;
    std::puts(works ? "host: works" : "host: FAILED");
    return works ? 0 : 1;
}
