/*
 * Quorrin: the card side of EMV / PBOC financial transactions (libQuorrin.so.1).
 *
 * Everything that the library exports, for C and C++ alike. What a reader library has to provide
 * stands in reader_library.h.
 *
 * Conventions
 *   - One reader, one transaction, one thread at a time. All state lives in the variables below.
 *   - Results are signed: 0 is success. A few bank card operations fail with positive codes too, so
 *     test for non-zero, not for negative.
 *   - Output texts carry no terminator and no size argument unless stated: zero the buffer first.
 *   - Hex text is written in upper case and read in either case, two characters a byte.
 *   - A bit address (byte, bit) counts both from 1; bit 1 is the least significant.
 */
#ifndef QUORRIN_H
#define QUORRIN_H

#ifdef __cplusplus
#include <cstdint>
#endif
#include <stdint.h> /* NOLINT(modernize-deprecated-headers): C reads it too */

#if defined(__GNUC__)
#define QUORRIN_API __attribute__((visibility("default")))
#else
#define QUORRIN_API
#endif

/* Five functions carry C++ symbols; C reaches them under their plain names. */
#ifdef __cplusplus
#define QUORRIN_CXX_SYMBOL(symbol)
#else
#define QUORRIN_CXX_SYMBOL(symbol) __asm__(symbol)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ============================== Return codes and messages ==============================
 *
 * Codes and what to do about them:
 *     0                     success
 *    -1 ..  -15             reader or slot: wrong card type (-1), no card (-2), card not powered (-3),
 *                           card mute (-4), reader library cannot be loaded (-5), reader connection
 *                           (-11), not connected (-12), command not supported (-13), bad parameter
 *                           (-14), check error (-15)
 *   -20 ..  -52, -22xx      card, data and PIN entry codes
 *   -21504 .. -37894        the card refused a command; mostly the negated status word
 *                           (-27266 is 6A82)
 *   -40000                  unknown
 */

/**
 * Translates a result into a message for the host and logs it.
 *
 * Code 0 stands for the last card status word (CARD_SW1, CARD_SW2): 90 00 gives 0, writes nothing and
 * logs nothing; a known status word gives its code. Code -51 names the remaining PIN tries of a 63Cx
 * status word.
 *
 * @param code  result of any operation of this library.
 * @param text  receives the UTF-8 message with terminator, at most 73 bytes; null writes nothing.
 * @return the code, or -40000 for one that is not known.
 */
QUORRIN_API int64_t TransRetCode(int64_t code, char* text);

/** As TransRetCode, without text and without logging. */
QUORRIN_API int64_t TransRetCodeNoMsg(int64_t code);

/* ============================== Reader connection ============================== */

/** Handle of the open reader; 0 when none is open. */
QUORRIN_API extern int64_t ReaderHandle;

/** Device name that icBandkCardPowerUp hands to OpenDevice: "AUTO". */
QUORRIN_API extern char EG_szDev_Name[10];

/** Port number last given to ICRT_GetICPanName; the library itself does not use it. */
QUORRIN_API extern int32_t EG_port;

/**
 * Opens the reader.
 * @param name    not used: the reader library picks the device.
 * @param handle  receives the reader's handle on success, else is left alone.
 * @return 0 on success, -14 for a null handle pointer, else the reader library's result. A reader
 *         library that answers 0 leaves 0 as the result with no handle stored.
 */
QUORRIN_API int64_t OpenDevice(const char* name, int64_t* handle);

/**
 * Closes the reader.
 * @param handle  the handle to close; set to 0 on success. Nothing happens when it is 0 already.
 * @return 0 on success, -14 for a null pointer, else the reader library's negative result.
 */
QUORRIN_API int64_t CloseDevice(int64_t* handle);

/** Powers the user card down and closes the reader in ReaderHandle. Returns CloseDevice's result. */
QUORRIN_API int64_t CloseAllDevice(void);

/**
 * Reads the reader's serial number.
 * @param serial  at least 32 bytes, zeroed by the caller; receives at most 32 characters without
 *                terminator.
 * @return 0 on success, -14 for a null buffer, else the reader library's result.
 */
QUORRIN_API int64_t GetDevSerial(int64_t handle, char* serial);

/* Logging entry points of earlier host programs. They do nothing. */
QUORRIN_API void WriteLog(const char* a, const char* b, int32_t c);
QUORRIN_API void WriteLogTime(void);
QUORRIN_API void WriteLogEnc(const char* a, const char* b, int32_t c, int32_t d);

/* ============================== Card power ==============================
 *
 * Card kinds, the library's names for the reader's slots:
 *   11 user card, contact      12 user card, contactless      13 a further user card
 *    1 to 4 SAM slots
 */

/** Card kind of the user's card, used by every user-card exchange. Starts as 11. */
QUORRIN_API extern uint8_t EG_nUserCardType;

/**
 * Powers the card in a slot.
 * @param handle  reader handle, positive.
 * @param kind    card kind.
 * @param atr     receives the answer to reset (ISO 7816-3), up to 512 bytes.
 * @param atrLen  receives its length.
 * @return 0 on success, -14 for a bad argument, else the reader library's result (0 included, when it
 *         reported no answer to reset); on failure nothing is written.
 */
QUORRIN_API int64_t PowerUp(int64_t handle, int32_t kind, uint8_t* atr, uint32_t* atrLen);

/**
 * Powers the card in a slot down.
 * @return 0 on success, -14 for a bad argument, else the reader library's result.
 */
QUORRIN_API int64_t PowerDown(int64_t handle, int32_t kind);

/**
 * Powers the user's card and remembers in EG_nUserCardType which slot was tried last.
 * @param mode  1 contact only; 2 contactless only; 3 contact, then contactless when there is no card;
 *              4 contactless, then contact when there is no card or it does not answer.
 * @return 0 when a card answered, -14 for another mode, else the failing code. Mode 4 also returns 0
 *         when the contactless slot fails with any code other than -2 and -4.
 */
QUORRIN_API int64_t FindUserCard(int64_t handle, int32_t mode);

/* ============================== APDU exchange ============================== */

/** Status word of the last exchange (ISO 7816-4); 00 00 when none was received. */
QUORRIN_API extern uint8_t CARD_SW1;
QUORRIN_API extern uint8_t CARD_SW2;

/** Result of the last exchange: 0 when a status word was received or nothing was sent. */
QUORRIN_API extern int64_t CARD_STATUS;

/**
 * Sends one command to a card (ISO 7816-4) and receives its answer.
 *
 * A bare 61xx is completed with GET RESPONSE, a bare 6Cxx repeats the command once with the length
 * that the card asks for.
 *
 * @param handle    reader handle, normally ReaderHandle.
 * @param kind      card kind; any other value sends nothing and leaves result 0, status word 00 00.
 * @param cla,ins,p1,p2  command header; the low 8 bits are sent.
 * @param lc        number of command data bytes, low 8 bits.
 * @param data      the command data, lc bytes; read for apduCase 2 and 3 only.
 * @param le        expected length, low 8 bits; 0 asks for all.
 * @param apduCase  1 header and Le; 2 header, Lc and data; 3 header, Lc, data and Le; any other value
 *                  the header alone. These are not the ISO case numbers.
 * @param resp      receives the response data without SW1 SW2, up to 1022 bytes.
 * @param respLen   receives the number of response data bytes.
 * @return 0 whenever a status word was received, whatever it is: look at CARD_SW1 and CARD_SW2. -14
 *         for a null pointer that is needed, -15 when the card's answer exceeds 1024 bytes, else the
 *         reader library's result. The same value is left in CARD_STATUS.
 */
QUORRIN_API int64_t IccComm(int64_t handle, int32_t kind, int32_t cla, int32_t ins, int32_t p1,
                            int32_t p2, int32_t lc, const uint8_t* data, int32_t le,
                            int32_t apduCase, uint8_t* resp, uint32_t* respLen);

/* ============================== Hex text ============================== */

/**
 * Packs digit text into bytes, two characters a byte. Nothing is validated: characters other than
 * 0-9, A-F and a-f give values of their own. No terminator is written.
 * @param dst         (len + 1) / 2 bytes.
 * @param src         len characters.
 * @param rightAlign  non-zero puts a zero digit before an odd number of digits; otherwise one follows
 *                    them.
 */
QUORRIN_API void asc_to_bcd(uint8_t* dst, const char* src, int32_t len, uint8_t rightAlign);

/**
 * Unpacks bytes into upper-case hex text. No terminator is written.
 * @param dst         n characters.
 * @param src         (n + 1) / 2 bytes.
 * @param n           number of digits.
 * @param rightAlign  non-zero leaves out the first high nibble when n is odd.
 */
QUORRIN_API void bcd_to_asc(char* dst, const uint8_t* src, int32_t n, uint8_t rightAlign);

/* ============================== Data element dictionary ============================== */

/* ============================== Element access ============================== */

/* ============================== Transaction resets ============================== */

/* ============================== Typed accessors ============================== */

/* ============================== BER-TLV codec ============================== */

/* ============================== Data object lists ============================== */

/* ============================== Issuer data and scripts ============================== */

/* ============================== Application selection ============================== */

/* ============================== Processing options and record reading ============================== */

/* ============================== Card holder information ============================== */

/* ============================== First GENERATE AC ============================== */

/* ============================== Issuer's answer ============================== */

/* ============================== Transaction log ============================== */

/* ============================== PAN and name ============================== */

#ifdef __cplusplus
}
#endif

/* ============================== Functions with C++ symbols ============================== */

/**
 * Opens the reader and finds the user's card.
 * @param iType  0 contact only, 1 contactless only, 2 contactless first, then contact.
 * @param msg    at least 73 bytes; receives the message text of a failure (see TransRetCode).
 * @return 0 with the reader open and the card powered: finish with CloseAllDevice. Else a code of
 *         TransRetCode, with the reader closed.
 */
QUORRIN_API int64_t icBandkCardPowerUp(int32_t iType, char* msg)
    QUORRIN_CXX_SYMBOL("_Z18icBandkCardPowerUpiPc");

/**
 * Reads the device name from "Velmora.ini" in the current directory.
 * @param name  at least 5 bytes; receives "COM1" to "COM9" or "AUTO", with terminator.
 * @return 0, or -1 when there is no such file or it is not a binary device configuration; a plain text
 *         file never is one.
 */
QUORRIN_API int32_t GetDevName(char* name) QUORRIN_CXX_SYMBOL("_Z10GetDevNamePc");

/** Removes leading bytes ch from a zero-terminated string, in place. */
QUORRIN_API void TrimLeft(uint8_t* s, uint8_t ch) QUORRIN_CXX_SYMBOL("_Z8TrimLeftPhh");

/** Removes trailing bytes ch from a zero-terminated string, in place. */
QUORRIN_API void TrimRight(uint8_t* s, uint8_t ch) QUORRIN_CXX_SYMBOL("_Z9TrimRightPhh");

/** Does nothing and returns 0. */
QUORRIN_API int32_t CreateFolder(char* path) QUORRIN_CXX_SYMBOL("_Z12CreateFolderPc");

#endif
