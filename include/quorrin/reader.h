/*
 * The reader: opening it, powering a card, exchanging commands with it, hex text.
 *
 * A host opens the reader and finds the user's card with one call, icBandkCardPowerUp, or step by
 * step with OpenDevice and PowerUp or FindUserCard, and closes with CloseAllDevice.
 */
#ifndef QUORRIN_READER_H
#define QUORRIN_READER_H

#include "quorrin/linkage.h"

/* ============================== Reader and card in one call ============================== */

/** Where icBandkCardPowerUp and ICRT_GetICPanName look for the user's card. */
enum QuorrinUserCard {
    QUORRIN_USER_CONTACT = 0,          /**< contact only */
    QUORRIN_USER_CONTACTLESS = 1,      /**< contactless only */
    QUORRIN_USER_CONTACTLESS_FIRST = 2 /**< as QUORRIN_FIND_CONTACTLESS_FIRST */
};

/**
 * Opens the reader and finds the user's card.
 * @param iType  a QuorrinUserCard.
 * @param msg    at least 73 bytes; receives the message text of a failure (see TransRetCode).
 * @return 0 with the reader open and the card powered: finish with CloseAllDevice. Else a code of
 *         TransRetCode, with the reader closed.
 */
QUORRIN_API int64_t icBandkCardPowerUp(int32_t iType, char msg[73])
    QUORRIN_CXX_SYMBOL("_Z18icBandkCardPowerUpiPc");

#ifdef __cplusplus
extern "C" {
#endif

/* ============================== Connection ============================== */

/** Handle of the open reader; 0 when none is open. */
QUORRIN_API extern int64_t ReaderHandle;

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

/**
 * Powers the user card (EG_nUserCardType) down and closes the reader in ReaderHandle.
 * @return CloseDevice's result, whatever the power-down gave.
 */
QUORRIN_API int64_t CloseAllDevice(void);

/**
 * Reads the reader's serial number.
 * @param handle  reader handle, passed on as it is: the reader library judges it.
 * @param serial  at least 32 bytes, zeroed by the caller; receives the first 32 characters of the
 *                serial number at most, without terminator.
 * @return 0 on success, -14 for a null buffer, else the reader library's result.
 */
QUORRIN_API int64_t GetDevSerial(int64_t handle, char serial[32]);

/** Device name that icBandkCardPowerUp hands to OpenDevice: "AUTO". */
QUORRIN_API extern char EG_szDev_Name[10];

/** Port number last given to ICRT_GetICPanName; the library itself does not use it. */
QUORRIN_API extern int32_t EG_port;

/* ============================== Card power ============================== */

/** Card kinds: the library's names for the reader's slots. */
enum QuorrinCardKind {
    QUORRIN_SAM1 = 1, /**< security access module (SAM) in slot 1 */
    QUORRIN_SAM2 = 2,
    QUORRIN_SAM3 = 3,
    QUORRIN_SAM4 = 4,
    QUORRIN_CONTACT_CARD = 11,     /**< the user's card, contact */
    QUORRIN_CONTACTLESS_CARD = 12, /**< the user's card, contactless */
    QUORRIN_FURTHER_CARD = 13      /**< a further user card */
};

/** Card kind of the user's card, used by every user-card exchange. Starts as 11. */
QUORRIN_API extern uint8_t EG_nUserCardType;

/**
 * Powers the card in a slot.
 * @param handle  reader handle, positive.
 * @param kind    card kind.
 * @param atr     receives the answer to reset (ISO 7816-3), up to 512 bytes.
 * @param atrLen  receives its length.
 * @return 0 on success, -14 for a bad argument, else the reader library's result (0 included, when
 *         it reported no answer to reset); on failure nothing is written.
 */
QUORRIN_API int64_t PowerUp(int64_t handle, int32_t kind, uint8_t atr[512], uint32_t* atrLen);

/**
 * Powers the card in a slot down.
 * @param handle  reader handle, positive.
 * @param kind    card kind.
 * @return 0 on success, -14 for a bad argument, else the reader library's result.
 */
QUORRIN_API int64_t PowerDown(int64_t handle, int32_t kind);

/** Where FindUserCard looks for the user's card. */
enum QuorrinFindMode {
    QUORRIN_FIND_CONTACT = 1,          /**< contact only */
    QUORRIN_FIND_CONTACTLESS = 2,      /**< contactless only */
    QUORRIN_FIND_CONTACT_FIRST = 3,    /**< contact; contactless when there is no card */
    QUORRIN_FIND_CONTACTLESS_FIRST = 4 /**< contactless; contact when there is none or it is mute */
};

/**
 * Powers the user's card and remembers in EG_nUserCardType which slot was tried last.
 * @param handle  reader handle, positive; the kind is remembered even when it is not.
 * @param mode    a QuorrinFindMode.
 * @return 0 when a card answered, -14 for another mode, else the failing code. Mode 4 also returns
 *         0 when the contactless slot fails with any code other than -2 and -4.
 */
QUORRIN_API int64_t FindUserCard(int64_t handle, int32_t mode);

/* ============================== APDU exchange ============================== */

/** First status byte of the last exchange, SW1 (ISO 7816-4); 00 when none was received. */
QUORRIN_API extern uint8_t CARD_SW1;

/** Second status byte of the last exchange, SW2 (ISO 7816-4); 00 when none was received. */
QUORRIN_API extern uint8_t CARD_SW2;

/** Result of the last exchange: 0 when a status word was received or nothing was sent. */
QUORRIN_API extern int64_t CARD_STATUS;

/** What IccComm sends after the header. These are not the ISO case numbers. */
enum QuorrinCommandCase {
    QUORRIN_HEADER_ONLY = 0,     /**< nothing; any number without a name does the same */
    QUORRIN_WITH_LE = 1,         /**< Le */
    QUORRIN_WITH_DATA = 2,       /**< Lc and data */
    QUORRIN_WITH_DATA_AND_LE = 3 /**< Lc, data and Le */
};

/**
 * Sends one command to a card (ISO 7816-4) and receives its answer.
 *
 * A bare 61xx is completed with GET RESPONSE, a bare 6Cxx repeats the command once with the length
 * that the card asks for. The library sets no limit to a chain of 61xx: a card that never ends one
 * keeps the call for ever unless the reader library ends it (see ICC_Reader_Application).
 *
 * @param handle    reader handle, normally ReaderHandle.
 * @param kind      card kind; any other value sends nothing and leaves result 0, status word 00 00
 *                  and length 0, before the pointers are looked at.
 * @param cla,ins,p1,p2  command header; the low 8 bits are sent.
 * @param lc        number of command data bytes, low 8 bits.
 * @param data      the command data, lc bytes; read only where apduCase sends them.
 * @param le        expected length, low 8 bits; 0 asks for all.
 * @param apduCase  a QuorrinCommandCase.
 * @param resp      receives the response data without SW1 SW2, up to 1022 bytes.
 * @param respLen   receives the number of response data bytes.
 * @return 0 whenever a status word was received, whatever it is: look at CARD_SW1 and CARD_SW2. -14
 *         for a null pointer that is needed, -15 when the card's answer exceeds 1024 bytes, else
 *         the reader library's result. The same value is left in CARD_STATUS.
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
 * @param rightAlign  non-zero puts a zero digit before an odd number of digits; otherwise one
 *                    follows them.
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

/* ============================== Of earlier host programs ============================== */

/** Logging entry point of earlier host programs. Does nothing; all arguments may be null or 0. */
QUORRIN_API void WriteLog(const char* a, const char* b, int32_t c);

/** Logging entry point of earlier host programs. Does nothing. */
QUORRIN_API void WriteLogTime(void);

/** Logging entry point of earlier host programs. Does nothing; all arguments may be null or 0. */
QUORRIN_API void WriteLogEnc(const char* a, const char* b, int32_t c, int32_t d);

#ifdef __cplusplus
}
#endif

/**
 * Reads the device name from "Velmora.ini" in the current directory.
 *
 * The file is read in lines of at most 99 characters, line end included; of a longer line each
 * piece counts as a line. The first line must begin with the 13 bytes "Velmora" 00 "COM" 00 "A",
 * which no plain text file has. The name comes from the first later line that begins with "COM",
 * usually "COM=3". Its value is the text after the first "=", of which 19 characters count, spaces
 * included; leading spaces are skipped then. It is read as a decimal number up to the first other
 * character: 1 to 9 give "COM1" to "COM9", all else ("AUTO", 0, 10, text, nothing) gives "AUTO".
 * Without "=" the value is what an earlier line left behind the end of this one.
 *
 * @param name  at least 5 bytes; receives the name with terminator, left alone on failure.
 * @return 0; -1 when there is no such file, it is empty, its first line is another or it has no
 *         line that begins with "COM", and for a null pointer.
 */
QUORRIN_API int32_t GetDevName(char name[5]) QUORRIN_CXX_SYMBOL("_Z10GetDevNamePc");

/** Removes leading bytes ch from a zero-terminated string, in place. */
QUORRIN_API void TrimLeft(uint8_t* s, uint8_t ch) QUORRIN_CXX_SYMBOL("_Z8TrimLeftPhh");

/** Removes trailing bytes ch from a zero-terminated string, in place. */
QUORRIN_API void TrimRight(uint8_t* s, uint8_t ch) QUORRIN_CXX_SYMBOL("_Z9TrimRightPhh");

/** Does nothing and returns 0. */
QUORRIN_API int32_t CreateFolder(char* path) QUORRIN_CXX_SYMBOL("_Z12CreateFolderPc");

#endif
