/*
 * The six functions that a reader library provides and libQuorrin.so.1 calls.
 *
 * Include this header when you write a reader library. libQuorrin.so.1 imports these names without
 * naming the file that provides them: the host process supplies them, by linking the reader
 * library, by preloading it, by opening it with RTLD_GLOBAL, or by defining them itself. Each is
 * resolved when it is first called, so a host that calls none needs none. Only where everything is
 * bound at load time (LD_BIND_NOW in the environment, dlopen with RTLD_NOW) must they be there when
 * libQuorrin.so.1 is loaded.
 *
 * Results and arguments are passed as 64-bit or 32-bit integers exactly as declared. Failures are
 * reported with the device codes of device_codes.h.
 *
 * A handle is what ICC_Reader_Open returned; GetDevSerial and IccComm pass on whatever the host
 * gave them.
 */
#ifndef QUORRIN_READER_LIBRARY_H
#define QUORRIN_READER_LIBRARY_H

#ifdef __cplusplus
#include <cstdint>
#endif
#include <stdint.h> /* NOLINT(modernize-deprecated-headers): C reads it too */

#include "quorrin/device_codes.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The reader's slots as the library addresses them. */
enum QuorrinSlotCode {
    QUORRIN_SLOT_CONTACT = 0x01,         /**< user card, contact */
    QUORRIN_SLOT_FURTHER = 0x02,         /**< further user card (MAS) */
    QUORRIN_SLOT_CONTACTLESS = 0x31,     /**< user card, contactless: power-on and exchange */
    QUORRIN_SLOT_CONTACTLESS_OFF = 0x03, /**< the same slot: power-off */
    QUORRIN_SLOT_SAM1 = 0x11,            /**< security access modules (SAM) 1 to 4 */
    QUORRIN_SLOT_SAM2 = 0x12,
    QUORRIN_SLOT_SAM3 = 0x13,
    QUORRIN_SLOT_SAM4 = 0x14
};

/**
 * Opens the reader.
 * @param name  32 bytes, empty on entry; may receive the opened device's name, zero-terminated.
 * @return the reader's handle (positive); 0 or a negative code when it cannot be opened.
 */
int64_t ICC_Reader_Open(char* name);

/**
 * Closes the reader that is open.
 * @return 0 or positive on success, else a negative code.
 */
int64_t ICC_Reader_Close(void);

/**
 * Powers the card in a slot and reports its answer to reset (ISO 7816-3).
 * @param handle  reader handle, positive.
 * @param slot    slot code for power-on.
 * @param atr     512 bytes, zero on entry; receives the answer to reset.
 * @return the length of the answer to reset (1 to 512); 0 or a negative code on failure, of which
 *         -2 (no card) and -4 (card does not answer) let the library look in the next slot.
 */
int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr);

/**
 * Powers the card in a slot down.
 * @param handle  reader handle, positive.
 * @param slot    slot code for power-off, which differs from power-on for the contactless slot.
 * @return 0 on success, anything else is a failure.
 */
int64_t ICC_Reader_PowerOff(int64_t handle, int slot);

/**
 * Exchanges one command APDU with the card in a slot.
 * @param handle    reader handle, any value.
 * @param slot      slot code for exchange.
 * @param length    command length in bytes (4 to 261).
 * @param command   the command APDU.
 * @param response  1024 bytes; receives the response data and SW1 SW2.
 *
 * The library fetches what a card announces with 61xx for as long as the card announces more.
 * Ending that is the reader library's part: the simulator's takes a card that has answered 64 bare
 * 61xx in a row, without data, for one that does not answer (-4).
 *
 * @return the number of response bytes, SW1 SW2 included (2 to 1024); a value below 2 is a failure
 *         and reaches the host as the exchange's result; one above 1024 is a check error (-15).
 */
int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response);

/**
 * Reads the reader's serial number.
 * @param handle  reader handle, any value.
 * @param serial  100 bytes, zero on entry; receives the serial number as text, of which the first
 *                32 characters are used.
 * @return 0 on success, anything else is a failure.
 */
int64_t ICC_Reader_GetSerial(int64_t handle, char* serial);

#ifdef __cplusplus
}
#endif

#endif
