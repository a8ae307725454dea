/* A host linked without PIC: the exported variables live in the host, and both sides see the same.
 */
#include <string.h>

#include "quorrin/quorrin.h"
#include "tests/interface/host/check.h"

extern char __executable_start;
extern char _end;

static int in_executable(const void* address) {
    return (const char*)address >= &__executable_start && (const char*)address < &_end;
}

int main(void) {
    char message[73] = "";
    uint8_t response[1024];
    uint32_t length = 0;

    CHECK(in_executable(&ReaderHandle));
    CHECK(in_executable(&EG_nUserCardType));
    CHECK(in_executable(EG_szDev_Name));
    CHECK(in_executable(&CARD_SW1) && in_executable(&CARD_SW2) && in_executable(&CARD_STATUS));

    /* Initial values are copied along. */
    CHECK(ReaderHandle == 0);
    CHECK(EG_nUserCardType == 11);
    CHECK(strcmp(EG_szDev_Name, "AUTO") == 0);

    /* The library writes, the host reads. */
    CHECK(icBandkCardPowerUp(1, message) == -2);
    CHECK(EG_nUserCardType == 12);
    CHECK(icBandkCardPowerUp(0, message) == 0);
    CHECK(ReaderHandle == 5);
    CHECK(EG_nUserCardType == 11);
    CHECK(IccComm(ReaderHandle, EG_nUserCardType, 0x80, 0xCA, 0x9F, 0x36, 0, NULL, 0, 1, response,
                  &length) == 0);
    CHECK(CARD_SW1 == 0x6A && CARD_SW2 == 0x82 && CARD_STATUS == 0);

    /* The host writes, the library reads. */
    CARD_SW2 = 0x83;
    CHECK(TransRetCodeNoMsg(0) == -27267);
    ReaderHandle = 0;
    CHECK(CloseAllDevice() == 0);
    ReaderHandle = 5;
    CHECK(CloseAllDevice() == 0);
    CHECK(ReaderHandle == 0);
    return 0;
}
