/* A reader library in C: one contact card that answers every command with 6A82. */
#include "quorrin/reader_library.h"

#include <string.h>

int64_t ICC_Reader_Open(char* name) {
    strcpy(name, "C");
    return 5;
}

int64_t ICC_Reader_Close(void) {
    return 0;
}

int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr) {
    if (handle != 5 || slot != 0x01) {
        return -2;
    }
    atr[0] = 0x3B;
    atr[1] = 0x00;
    return 2;
}

int64_t ICC_Reader_PowerOff(int64_t handle, int slot) {
    return handle == 5 && slot == 0x01 ? 0 : -2;
}

int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response) {
    if (handle != 5 || slot != 0x01 || length != 5 || command[1] != 0xCA) {
        return -14;
    }
    response[0] = 0x6A;
    response[1] = 0x82;
    return 2;
}

int64_t ICC_Reader_GetSerial(int64_t handle, char* serial) {
    strcpy(serial, "0001");
    return handle == 5 ? 0 : -12;
}
