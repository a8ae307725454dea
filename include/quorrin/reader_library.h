/*
 * The six functions that a reader library provides and libQuorrin.so.1 calls.
 *
 * Include this header when you write a reader library. libQuorrin.so.1 imports these names without
 * naming the file that provides them: the host process supplies them, by linking the reader library,
 * by preloading it, by opening it with RTLD_GLOBAL, or by defining them itself. Each is resolved when
 * it is first called.
 *
 * Results and arguments are passed as 64-bit or 32-bit integers exactly as declared. Failures are
 * reported with the device codes -1 to -15 (see quorrin.h, return codes).
 *
 * Slot codes:
 *
 *   slot                        power on, exchange    power off
 *   user card, contact          0x01                  0x01
 *   further user card (MAS)     0x02                  0x02
 *   user card, contactless      0x31                  0x03
 *   SAM slots 1 to 4            0x11 to 0x14          0x11 to 0x14
 */
#ifndef QUORRIN_READER_LIBRARY_H
#define QUORRIN_READER_LIBRARY_H

#ifdef __cplusplus
#include <cstdint>
#endif
#include <stdint.h> /* NOLINT(modernize-deprecated-headers): C reads it too */

#ifdef __cplusplus
extern "C" {
#endif

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
 * @param slot  slot code for power-on.
 * @param atr   512 bytes, zero on entry; receives the answer to reset.
 * @return the length of the answer to reset (1 to 512); 0 or a negative code on failure, of which
 *         -2 (no card) and -4 (card does not answer) let the library look in the next slot.
 */
int64_t ICC_Reader_PowerOn(int64_t handle, int slot, uint8_t* atr);

/**
 * Powers the card in a slot down.
 * @param slot  slot code for power-off, which differs from power-on for the contactless slot.
 * @return 0 on success, anything else is a failure.
 */
int64_t ICC_Reader_PowerOff(int64_t handle, int slot);

/**
 * Exchanges one command APDU with the card in a slot.
 * @param slot      slot code for exchange.
 * @param length    command length in bytes (4 to 261).
 * @param command   the command APDU.
 * @param response  1024 bytes; receives the response data and SW1 SW2.
 * @return the number of response bytes, SW1 SW2 included (2 to 1024); a value below 2 is a failure
 *         and reaches the host as the exchange's result; one above 1024 is a check error (-15).
 */
int64_t ICC_Reader_Application(int64_t handle, int slot, int64_t length, uint8_t* command,
                               uint8_t* response);

/**
 * Reads the reader's serial number.
 * @param serial  100 bytes, zero on entry; receives the serial number as text.
 * @return 0 on success, anything else is a failure.
 */
int64_t ICC_Reader_GetSerial(int64_t handle, char* serial);

#ifdef __cplusplus
}
#endif

#endif
