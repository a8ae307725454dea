/* A host in C11: it reaches all functions under their plain names, those with C++ symbols included.
 */
#include "quorrin/quorrin.h"

#include <string.h>

#include "tests/interface/host/check.h"

#define STATED(number) #number
#define VERSION_OF(major, minor, patch) STATED(major) "." STATED(minor) "." STATED(patch)

int main(void) {
    char message[512] = "";
    char serial[33] = "";
    char name[8] = "none";
    char folder[] = "folder";
    uint8_t text[] = "  text  ";
    uint8_t response[1024];
    uint32_t length = 99;

    /* PROJECT_VERSION is what packages and pkg-config say. */
    CHECK(strcmp(QUORRIN_VERSION_STRING, PROJECT_VERSION) == 0);
    CHECK(strcmp(VERSION_OF(QUORRIN_VERSION_MAJOR, QUORRIN_VERSION_MINOR, QUORRIN_VERSION_PATCH),
                 PROJECT_VERSION) == 0);

    CHECK(EG_nUserCardType == QUORRIN_CONTACT_CARD);
    CHECK(strcmp(EG_szDev_Name, "AUTO") == 0);

    CHECK(icBandkCardPowerUp(QUORRIN_USER_CONTACT, message) == 0);
    CHECK(ReaderHandle == 5);
    CHECK(GetDevSerial(ReaderHandle, serial) == 0);
    CHECK(strcmp(serial, "0001") == 0);
    CHECK(IccComm(ReaderHandle, EG_nUserCardType, 0x80, 0xCA, 0x9F, 0x36, 0, NULL, 0,
                  QUORRIN_WITH_LE, response, &length) == 0);
    CHECK(length == 0);
    CHECK(CARD_STATUS == 0);
    CHECK(CARD_SW1 == 0x6A);
    CHECK(CARD_SW2 == 0x82);
    CHECK(TransRetCode(0, message) == QUORRIN_FILE_NOT_FOUND);
    CHECK(TransRetCodeNoMsg(0) == -27266);
    CHECK(CloseAllDevice() == 0);
    CHECK(ReaderHandle == 0);

    TrimLeft(text, ' ');
    CHECK(strcmp((const char*)text, "text  ") == 0);
    TrimRight(text, ' ');
    CHECK(strcmp((const char*)text, "text") == 0);
    CHECK(CreateFolder(folder) == 0);
    CHECK(GetDevName(name) == -1);
    CHECK(strcmp(name, "none") == 0);
    return 0;
}
