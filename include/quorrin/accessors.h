/*
 * The data elements by name.
 *
 * One function for each element and purpose. What a kind of accessor does is the same throughout:
 *   - Presence (emvIn..., emvExist...): 1 present, 0 absent.
 *   - Bit: (byte, bit) counted from 1, bit 1 the least significant; 0 for an address outside.
 *   - Address: of the storage variable, valid for the life of the process, with or without a value
 *     present.
 *   - Length: bytes last stored. Presence is not asked: 0 only when nothing was stored since the
 *     last reset.
 *   - "Copies": out receives the value and outLen its length when the element is present: result 1.
 *     Else the result is its state (0) and nothing is written.
 *   - "Reads": out receives the value and outLen its length; the result is 1 for a card element, 2
 *     for a terminal element. Presence is not asked: the length is 0 only when nothing was stored
 *     since the last reset.
 *   - Raw result: that of emvSetDataElement, -28 for a null pointer.
 *   - Mapped result: 0 stored, 50 element not in the tables, 49 any other failure, a null pointer
 *     included.
 * The other results have their names in QuorrinAccessorResult (element_results.h).
 * Give out room for the longest value named. A null pointer is answered with 49 wherever nothing
 * else is stated; an accessor without a result then does nothing.
 */
#ifndef QUORRIN_ACCESSORS_H
#define QUORRIN_ACCESSORS_H

#include "quorrin/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* --- Bits, TVR and TSI --- */

/**
 * Reads a bit of any buffer that holds at least byte bytes.
 * @return 0 or 1; 0 for an address outside a byte; 2 for a null buffer.
 */
QUORRIN_API int32_t emvCheckBitValue(const uint8_t* buffer, uint8_t byte, uint8_t bit);

/** Terminal verification results (95, 5 bytes): all bits off, present. Returns 0. */
QUORRIN_API int32_t emvInitTVR(void);
/** Transaction status information (9B, 2 bytes): all bits off, present. Returns 0. */
QUORRIN_API int32_t emvInitTSI(void);
/** Bit of the terminal verification results (95, 5 bytes). */
QUORRIN_API int32_t emvGetTVR(uint8_t byte, uint8_t bit);
/** Bit of the transaction status information (9B, 2 bytes). */
QUORRIN_API int32_t emvGetTSI(uint8_t byte, uint8_t bit);

/**
 * Sets a bit of the terminal verification results (95) when on is 1, else clears it. The element
 * does not become present by it: until emvInitTVR or a store by tag, a DOL that asks for 95 gets
 * zeros.
 */
QUORRIN_API void emvSetTVRBit(uint8_t byte, uint8_t bit, uint8_t on);

/** The same for the transaction status information (9B). */
QUORRIN_API void emvSetTSIBit(uint8_t byte, uint8_t bit, uint8_t on);

/* --- Action codes ---
 *
 * Selectors: 11 issuer denial (9F0E), 12 issuer online (9F0F), 13 issuer default (9F0D); 21
 * terminal denial, 22 terminal online, 23 terminal default. Each code has 5 bytes, bits as in the
 * TVR.
 */

/** Bit of an action code; -32 for another selector. */
QUORRIN_API int32_t emvGetActionCode(uint8_t byte, uint8_t bit, uint8_t selector);

/**
 * Fills an action code with FF when on is non-zero, else with 00, without making it present.
 * @return 0; -32 for another selector.
 */
QUORRIN_API int32_t emvSetActionCode(uint8_t selector, uint8_t on);

/**
 * Sets a terminal action code (selectors 21 to 23).
 * @param code  5 bytes.
 * @return 0; 49 for a null pointer or another selector.
 */
QUORRIN_API int32_t emvSetTermActionCode(const uint8_t code[5], uint8_t selector);

/**
 * Whether action codes are set.
 * @return 11 to 13: the presence of the issuer's code. 21: 0 when the denial code is not set, else
 *         as 22. 22: 0 when the online code is not set, else as 23. 23: 0 when the default code is
 *         not set, -32 when it is. -32 for another selector.
 */
QUORRIN_API int32_t emvInActionCode(uint8_t selector);

/* --- Cardholder verification --- */

/** Presence of the CVM list (8E). */
QUORRIN_API int32_t emvInCVMList(void);
/** Amount X of the CVM list: 4 bytes, binary. */
QUORRIN_API uint8_t* emvGetCVMListXX(void);
/** Amount Y of the CVM list: 4 bytes, binary. */
QUORRIN_API uint8_t* emvGetCVMListYY(void);

/**
 * One rule of the CVM list, counted from 0.
 * @param rule  receives the rule's two bytes as they stand in the list: method, then condition.
 * @return 0; -31 no such rule; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCVM(uint16_t* rule, uint8_t index);

/**
 * One item of a rule of the CVM list (EMV book 3, annex C3).
 * @param out    receives the item; left alone on an error.
 * @param index  rule, from 0.
 * @param item   1: 1 when the next rule applies if this one fails; 2: method; 3: condition.
 * @return 0; -32 list of an odd length; -31 no such rule; -29 another item; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCVMListCVR(uint8_t out[1], uint8_t index, uint8_t item);

/** Stores the CVM results (9F34), 3 bytes. Raw result. */
QUORRIN_API int32_t emvSetCVMResult(const uint8_t value[3]);

/* --- Cryptograms --- */

/** Presence of the application cryptogram (9F26). */
QUORRIN_API int32_t emvExistAC(void);
/** Application cryptogram (9F26), 8 bytes. */
QUORRIN_API uint8_t* emvGetAC(void);

/** Sets the application cryptogram (9F26), present with this length, cut to 8 bytes. */
QUORRIN_API void emvSetAC(const uint8_t* ac, uint16_t length);

/** Cryptogram information data (9F27). */
QUORRIN_API uint8_t emvGetCID(void);
/** Cryptogram information data (9F27), 1 byte. */
QUORRIN_API uint8_t* emvGetCIDptr(void);
/** Sets the cryptogram information data (9F27) without making them present. */
QUORRIN_API void emvSetCID(uint8_t value);

/**
 * One item of the cryptogram information data (9F27, EMV book 3, 6.5.5).
 * @param item  1: cryptogram type (0 AAC, 1 TC, 2 ARQC); 2: payment system's part; 3: advice
 *              required; 4: reason.
 * @return the item; -32 for another one.
 */
QUORRIN_API int32_t emvGetCIDItem(uint8_t item);

/** Reads the issuer application data (9F10), at most 32 bytes. */
QUORRIN_API int32_t emvGetIssAppData(uint8_t out[32], uint8_t* outLen);

/**
 * What the card answered to the first GENERATE AC, from the card verification results in the issuer
 * application data (9F10).
 * @param out  receives 0 AAC, 1 TC, 2 ARQC.
 * @return 0; -29 reserved type; -30 fewer than 7 bytes; -31 not read from the card; 49 null
 *         pointer.
 */
QUORRIN_API int32_t emvGetIssAppType(uint8_t out[1]);

/** Application transaction counter (9F36), 2 bytes. */
QUORRIN_API uint8_t* emvGetATC(void);
/** Last online ATC register (9F13), 2 bytes. */
QUORRIN_API uint8_t* emvGetLastATC(void);

/**
 * Copies the application transaction counter (9F36).
 * @param atc  receives 2 bytes.
 * @return 0; 1 absent; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCardATC(uint8_t atc[2]);

/** The host's flag for an error of the card's transaction counter. */
QUORRIN_API uint8_t emvGetCardATCErrFlg(void);
/** Sets the host's flag for an error of the card's transaction counter. */
QUORRIN_API void emvSetCardATCErrFlg(uint8_t value);
/** Cryptogram type the terminal has decided on. */
QUORRIN_API uint8_t emvGetTermACType(void);
/** Sets the cryptogram type the terminal has decided on. */
QUORRIN_API void emvSetTermACType(uint8_t value);
/** Stores the TC hash value (98), 20 bytes. Raw result. */
QUORRIN_API int32_t emvSetTCHash(const uint8_t value[20]);
/** Response to the first GENERATE AC, 256 bytes. Filled by the host; no flow here does. */
QUORRIN_API uint8_t* emvGetGACOne(void);
/** Length of the response to the first GENERATE AC, filled by the host as well. */
QUORRIN_API uint16_t* emvGetGACOneLen(void);
/** Response to the second GENERATE AC, 256 bytes. Filled by the host; no flow here does. */
QUORRIN_API uint8_t* emvGetGACTwo(void);
/** Length of the response to the second GENERATE AC, filled by the host as well. */
QUORRIN_API uint16_t* emvGetGACTwoLen(void);

/* --- Terminal --- */

/** Terminal type (9F35). */
QUORRIN_API uint8_t emvGetTermType(void);
/** Sets the terminal type (9F35), present. Returns 0. */
QUORRIN_API int32_t emvSetTermType(uint8_t type);

/**
 * 1 when the terminal type (9F35) is online only or offline with online capability (x1, x2, x4,
 * x5), else 0.
 */
QUORRIN_API int32_t emvIsOnlineCap(void);

/** Bit of the terminal capabilities (9F33, 3 bytes). */
QUORRIN_API int32_t emvGetTermCapability(uint8_t byte, uint8_t bit);
/** Stores the terminal capabilities (9F33), 3 bytes. Raw result. */
QUORRIN_API int32_t emvSetTermCapability(const uint8_t value[3]);
/** Bit of the additional terminal capabilities (9F40, 5 bytes). */
QUORRIN_API int32_t emvGetTermCapabilityAd(uint8_t byte, uint8_t bit);
/** Stores the additional terminal capabilities (9F40), 5 bytes. Raw result. */
QUORRIN_API int32_t emvSetTermCapabilityAd(const uint8_t value[5]);

/**
 * Whether the additional terminal capabilities (9F40) offer a code table of ISO/IEC 8859.
 * @param index  issuer code table index in BCD, 01 to 10, as in 9F11.
 * @return 1 or 0; table 01 also when all capabilities are 00.
 */
QUORRIN_API int32_t emvIsSupportIssCodeTable(uint8_t index);

/** Bit of the terminal transaction qualifiers (9F66, 4 bytes). */
QUORRIN_API int32_t emvGetTermTranCapa(uint8_t byte, uint8_t bit);
/** Stores the terminal transaction qualifiers (9F66), 4 bytes. Raw result. */
QUORRIN_API int32_t emvSetTermTranCapa(const uint8_t value[4]);
/** Does nothing: the terminal transaction qualifiers need no preparation. */
QUORRIN_API void emvInitTTQStru(void);
/** Stores the interface device serial number (9F1E), 8 bytes. Raw result. */
QUORRIN_API int32_t emvSetIFDSn(const uint8_t value[8]);
/** Stores the terminal identification (9F1C), 8 bytes. Raw result. */
QUORRIN_API int32_t emvSetTerminalID(const uint8_t value[8]);
/** Stores the application identifier of the terminal (9F06), 5 to 16 bytes. Raw result. */
QUORRIN_API int32_t emvSetTermAID(const uint8_t* value, uint16_t length);
/** Application version number of the terminal (9F09), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermAppVerNo(void);
/** Stores the application version number of the terminal (9F09), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetTermAppVerNo(const uint8_t value[2]);
/** Terminal country code (9F1A), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermCntryCode(void);

/**
 * Stores the terminal country code (9F1A), 2 bytes. Mapped result; -26 of the store counts as
 * success.
 */
QUORRIN_API int32_t emvSetTermCntryCode(const uint8_t value[2]);

/**
 * Stores the acquirer identifier (9F01), 6 bytes. Mapped result; -26 of the store counts as
 * success.
 */
QUORRIN_API int32_t emvSetAcquirerID(const uint8_t value[6]);

/** Stores the merchant identifier (9F16), 15 bytes. Mapped result. */
QUORRIN_API int32_t emvSetMerchantID(const uint8_t value[15]);
/** Stores the merchant category code (9F15), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetMerchantCategoryCode(const uint8_t value[2]);
/** Stores the merchant name and location (9F4E), 1 to 256 bytes. Mapped result. */
QUORRIN_API int32_t emvSetMerchantNameAndLoc(const uint8_t* value, uint16_t length);
/** Transaction category code (9F53). */
QUORRIN_API uint8_t emvGetTmTransCateCode(void);
/** Stores the transaction category code (9F53). Mapped result. */
QUORRIN_API int32_t emvSetTmTransCateCode(uint8_t value);
/** Terminal floor limit (9F1B), 4 bytes. */
QUORRIN_API uint8_t* emvGetFloorLimit(void);
/** Stores the terminal floor limit (9F1B), 4 bytes. Mapped result. */
QUORRIN_API int32_t emvSetFloorLimit(const uint8_t value[4]);
/** Threshold of random transaction selection. */
QUORRIN_API int64_t emvGetRandSltLimit(void);
/** Sets the threshold of random transaction selection. */
QUORRIN_API void emvSetRandSltLimit(int64_t value);
/** Target percentage of random transaction selection. */
QUORRIN_API int64_t emvGetRandSltPercent(void);
/** Sets the target percentage of random transaction selection. */
QUORRIN_API void emvSetRandSltPercent(int64_t value);
/** Maximum target percentage of biased random transaction selection. */
QUORRIN_API int64_t emvGetRandSltBiPercent(void);
/** Sets the maximum target percentage of biased random transaction selection. */
QUORRIN_API void emvSetRandSltBiPercent(int64_t value);
/** The host's choice for terminal risk management, 0 to 2. */
QUORRIN_API uint8_t emvGetTmRmCheckFlg(void);

/**
 * Sets the host's choice for terminal risk management.
 * @return 0; 49 above 2.
 */
QUORRIN_API int32_t emvSetTmRmCheckFlg(uint8_t flag);

/* --- Transaction ---
 *
 * The binary and the numeric amounts are elements of their own: set each form that the card's lists
 * ask for.
 */

/** Amount, authorised (binary) (81), 4 bytes. */
QUORRIN_API uint8_t* emvGetAuthAmountB(void);
/** Stores the amount, authorised (binary) (81), 4 bytes. Mapped result. */
QUORRIN_API int32_t emvSetAuthAmountB(const uint8_t value[4]);
/** Amount, authorised (numeric) (9F02), 6 bytes. */
QUORRIN_API uint8_t* emvGetAuthAmountN(void);
/** Stores the amount, authorised (numeric) (9F02), 6 bytes. Mapped result. */
QUORRIN_API int32_t emvSetAuthAmountN(const uint8_t value[6]);
/** Amount, other (binary) (9F04), 4 bytes. */
QUORRIN_API uint8_t* emvGetOtherAmountB(void);
/** Stores the amount, other (binary) (9F04), 4 bytes. Mapped result. */
QUORRIN_API int32_t emvSetOtherAmountB(const uint8_t value[4]);
/** Stores the amount, other (numeric) (9F03), 6 bytes. Mapped result. */
QUORRIN_API int32_t emvSetOtherAmountN(const uint8_t value[6]);
/** Transaction currency code (5F2A), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermCurCode(void);
/** Stores the transaction currency code (5F2A), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetTermCurCode(const uint8_t value[2]);
/** Stores the transaction currency exponent (5F36). Mapped result. */
QUORRIN_API int32_t emvSetAppTransCurExp(uint8_t value);
/** Transaction reference currency code (9F3C), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermRefCurCode(void);
/** Stores the transaction reference currency code (9F3C), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetTermRefCurCode(const uint8_t value[2]);
/** Stores the transaction reference currency exponent (9F3D). Mapped result. */
QUORRIN_API int32_t emvSetTermRefCurExp(uint8_t value);

/**
 * Sets the conversion to the reference currency.
 * @return 0; 49 for a null pointer.
 */
QUORRIN_API int32_t emvSetTermRefCurConv(const uint32_t* value);

/** Transaction date (9A), 3 bytes, YYMMDD. */
QUORRIN_API uint8_t* emvGetTransDate(void);

/**
 * Stores the transaction date (9A), YYMMDD in BCD, not validated.
 * @return -31 when length is not 3; else a mapped result.
 */
QUORRIN_API int32_t emvSetTransDate(const uint8_t date[3], uint16_t length);

/** Reads the transaction time (9F21), 3 bytes, HHMMSS. */
QUORRIN_API int32_t emvGetTransTime(uint8_t out[3], uint8_t* outLen);

/**
 * Stores the transaction time (9F21), HHMMSS in BCD.
 * @return -31 when length is not 3; 49 beyond 23 59 59; else a mapped result.
 */
QUORRIN_API int32_t emvSetTransTime(const uint8_t time[3], uint16_t length);

/** Transaction type (9C). */
QUORRIN_API uint8_t emvGetTransType(void);

/**
 * Stores the transaction type (9C). Type 00 needs goods or services, type 01 cash or cashback in
 * the additional terminal capabilities (9F40); other types are not checked.
 * @return 49 for a type that the terminal does not offer; else a mapped result.
 */
QUORRIN_API int32_t emvSetTransType(uint8_t type);

/** 1 when the transaction type (9C) is 01, else 0. */
QUORRIN_API int32_t emvGetCashBackFlg(void);

/**
 * Sets the cashback flag, and the transaction type (9C) to the same value; whether that is present
 * stays as it was.
 */
QUORRIN_API void emvSetCashBackFlg(uint8_t flag);

/**
 * Stores the account type (5F57): 00, 10, 20 or 30.
 * @return 49 for another type; else a mapped result.
 */
QUORRIN_API int32_t emvSetAccountType(uint8_t type);

/** Stores the transaction sequence counter (9F41), 4 bytes. Mapped result. */
QUORRIN_API int32_t emvSetTransSequenceCounter(const uint8_t value[4]);
/** Presence of the unpredictable number (9F37). */
QUORRIN_API int32_t emvInRandom(void);
/** Reads the unpredictable number (9F37), 4 bytes. */
QUORRIN_API int32_t emvGetRandom(uint8_t out[4], uint8_t* outLen);
/** Stores the unpredictable number (9F37), 4 bytes. Raw result. */
QUORRIN_API int32_t emvSetRandom(const uint8_t value[4], uint16_t length);
/** Keeps a 16-bit random number for the host. */
QUORRIN_API void emvSetRandNum(uint16_t value);

/**
 * Gives the random number kept.
 * @return 0; 1 when there is none (0 is written); 49 null pointer.
 */
QUORRIN_API int32_t emvGetRandNum(uint16_t* out);

/** PIN data (99), 256 bytes. */
QUORRIN_API uint8_t* emvGetPinDataPtr(void);
/** Length of the PIN data (99). */
QUORRIN_API uint16_t emvGetPinDataLength(void);
/** Sets the length of the PIN data (99) without making them present. Returns 0. */
QUORRIN_API int32_t emvSetPinDataLength(uint16_t length);

/* --- Card --- */

/** Presence of the application interchange profile (82). */
QUORRIN_API int32_t emvInAIP(void);
/** Bit of the application interchange profile (82, 2 bytes). */
QUORRIN_API int32_t emvGetAIP(uint8_t byte, uint8_t bit);

/**
 * Sets the application interchange profile (82), 2 bytes, present.
 * @return 0; 1 when it was present already (overwritten all the same); 49 null pointer.
 */
QUORRIN_API int32_t emvSetAIP(const uint8_t aip[2]);

/** Presence of the application file locator (94). */
QUORRIN_API int32_t emvInAFL(void);

/**
 * Sets the application file locator (94), at most 252 bytes, present.
 * @return 0; 1 when it was present already: the bytes are overwritten and the length stays as it
 *         was; 49 null pointer.
 */
QUORRIN_API int32_t emvSetAFL(const uint8_t* afl, uint16_t length);

/** Number of whole entries of 4 bytes in the application file locator (94), in 8 bits. */
QUORRIN_API uint8_t emvGetAFLNum(void);

/**
 * Byte offset (0 to 3) of entry entry (from 0) of the application file locator (94); 0 beyond 252
 * bytes.
 */
QUORRIN_API uint8_t emvGetAFL(uint8_t entry, uint8_t offset);

/** Stores the application identifier of the card (4F), 5 to 16 bytes. Raw result. */
QUORRIN_API int32_t emvSetAID(const uint8_t* value, uint16_t length);

/**
 * Copies the registered application provider identifier, the first 5 bytes of the application
 * identifier (4F).
 * @return its presence; nothing is written when it is absent.
 */
QUORRIN_API int32_t emvGetRID(uint8_t out[5]);

/**
 * Copies the application PAN (5A): at most 10 bytes, compressed numeric, trailing F digits
 * included.
 * @return 1; 0 when absent, with a length of 0.
 */
QUORRIN_API int32_t emvGetPAN(uint8_t out[10], uint8_t* outLen);

/** Length of the application PAN (5A). */
QUORRIN_API uint16_t emvGetPANLength(void);
/** Application PAN sequence number (5F34). */
QUORRIN_API uint8_t emvGetPANSn(void);
/** Length of the application PAN sequence number (5F34). */
QUORRIN_API uint16_t emvGetPANSnLength(void);

/**
 * Copies the cardholder name (5F20), at most 252 bytes.
 * @return 1; 0 when absent, with a length of 0.
 */
QUORRIN_API int32_t emvGetHolderName(uint8_t out[252], uint8_t* outLen);

/** Presence of the application version number of the card (9F08). */
QUORRIN_API int32_t emvInAppVerNo(void);
/** Application version number of the card (9F08), 2 bytes. */
QUORRIN_API uint8_t* emvGetIccAppVerNo(void);
/** Presence of the application usage control (9F07). */
QUORRIN_API int32_t emvInAUC(void);
/** Bit of the application usage control (9F07, 2 bytes). */
QUORRIN_API int32_t emvGetAUCBit(uint8_t byte, uint8_t bit);
/** Presence of the issuer country code (5F28). */
QUORRIN_API int32_t emvInIssCCode(void);
/** Issuer country code (5F28), 2 bytes. */
QUORRIN_API uint8_t* emvGetIssCntryCode(void);
/** Presence of the application effective date (5F25). */
QUORRIN_API int32_t emvInEffecDate(void);
/** Application effective date (5F25), 3 bytes, YYMMDD. */
QUORRIN_API uint8_t* emvGetEffectDate(void);
/** Presence of the application expiration date (5F24). */
QUORRIN_API int32_t emvInExpireDate(void);
/** Application expiration date (5F24), 3 bytes, YYMMDD. */
QUORRIN_API uint8_t* emvGetExpiryDate(void);
/** Presence of the application currency code (9F42). */
QUORRIN_API int32_t emvInAppCurCode(void);
/** Application currency code (9F42), 2 bytes. */
QUORRIN_API uint8_t* emvGetAppCurCode(void);
/** Presence of the lower consecutive offline limit (9F14). */
QUORRIN_API int32_t emvInLCOL(void);
/** Lower consecutive offline limit (9F14). */
QUORRIN_API uint8_t emvGetLCOL(void);
/** Presence of the upper consecutive offline limit (9F23). */
QUORRIN_API int32_t emvInUCOL(void);
/** Upper consecutive offline limit (9F23). */
QUORRIN_API uint8_t emvGetUCOL(void);
/** PIN try counter (9F17); -1 unless it is present. */
QUORRIN_API int32_t emvGetPinReTry(void);
/** Reads the language preference (5F2D), at most 8 bytes. */
QUORRIN_API int32_t emvGetPreferLang(uint8_t out[8], uint8_t* outLen);
/** Reads the cardholder ID number (9F61), at most 40 bytes; out has room for 41. */
QUORRIN_API int32_t emvGetCardHolderCert(uint8_t out[41], uint8_t* outLen);
/** Length of the cardholder ID number (9F61). */
QUORRIN_API uint16_t emvGetCardHolderCertLength(void);
/** Reads the cardholder ID type (9F62), 1 byte. */
QUORRIN_API int32_t emvGetCardHolderCertType(uint8_t out[1], uint8_t* outLen);
/** Length of the cardholder ID type (9F62). */
QUORRIN_API uint16_t emvGetCardHolderCertTypeLength(void);

/**
 * Copies the card transaction qualifiers (9F6C).
 * @param ctq  receives 2 bytes when they are present.
 * @return their presence; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCardTranCapa(uint8_t ctq[2]);

/**
 * Version of fast DDA, the first of the card authentication related data (9F69).
 * @param out  receives 1 byte.
 * @return 1; 0 not read from the card; 2 fewer than 8 bytes; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCardDDAVer(uint8_t out[1]);

/* --- Issuer's answer --- */

/** Presence of the authorisation response code (8A). */
QUORRIN_API int32_t emvInARC(void);
/** Authorisation response code (8A), 2 bytes. */
QUORRIN_API uint8_t* emvGetARC(void);
/** Sets the authorisation response code (8A), 2 bytes, present. */
QUORRIN_API void emvSetARC(const uint8_t arc[2]);
/** Authorisation code (89), 6 bytes. */
QUORRIN_API uint8_t* emvGetIssuerAuthCode(void);
/** Issuer authentication data (91), 16 bytes. */
QUORRIN_API uint8_t* emvGetIssuerAuthData(void);
/** Length of the issuer authentication data (91). */
QUORRIN_API uint16_t emvGetIssuerAuthDataLength(void);

/**
 * Presence of the electronic cash issuer authorisation code (9F74); 0 when the terminal does not
 * support electronic cash (9F7A other than 01).
 */
QUORRIN_API int32_t emvExistISSAuth(void);

/** Issuer scripts (71, 72), 512 bytes for both templates together. */
QUORRIN_API uint8_t* emvGetIssuerScript(void);
/** Length of template 71 when it is present, else of 72, else 0. */
QUORRIN_API uint16_t emvGetIssuerScriptLength(void);
/** Sets the length of both script templates (71, 72) without making them present. */
QUORRIN_API void emvSetIssuerScriptLength(uint16_t length);
/** Issuer script identifier (9F18), 4 bytes. */
QUORRIN_API uint8_t* emvGetIssScrptID(void);

/**
 * Issuer script results: 12 entries of 5 bytes, result and sequence number, then the script
 * identifier (EMV book 4, annex A5).
 */
QUORRIN_API uint8_t* emvGetIssScrptRslt(void);

/**
 * Bytes of the issuer script results counted so far, 5 for each. The count goes on past the 12
 * entries; it has 8 bits and starts at 0 again after 255 results.
 */
QUORRIN_API int32_t emvGetIssScrptRsltNumber(void);

/**
 * Writes the first byte of the current result: result in the high nibble, sequence (at most 15)
 * in the low one. Nothing is written once 12 results are counted. Returns 0.
 */
QUORRIN_API int32_t emvSetIssScrptRslt(uint8_t result, uint8_t sequence);

/**
 * Writes the script identifier of the current result.
 * @param id  4 bytes.
 * @return 0; -31 when 12 results are counted; 49 null pointer.
 */
QUORRIN_API int32_t emvSetIssScrptRsltID(const uint8_t id[4]);

/** Goes on to the next result, without a bound; after 255 the first entry is the next. */
QUORRIN_API void emvIncIssScrptRslt(void);

/* --- Keys and certificates --- */

/** Copies the issuer public key certificate (90), at most 248 bytes. */
QUORRIN_API int32_t emvGetIssPkCert(uint8_t out[248], uint8_t* outLen);
/** Copies the issuer public key exponent (9F32), at most 3 bytes. */
QUORRIN_API int32_t emvGetIssPkExp(uint8_t out[3], uint8_t* outLen);
/** Copies the issuer public key remainder (92), at most 36 bytes. */
QUORRIN_API int32_t emvGetIssPkRmd(uint8_t out[36], uint8_t* outLen);
/** Copies the ICC public key certificate (9F46), at most 248 bytes. */
QUORRIN_API int32_t emvGetIccPkCert(uint8_t out[248], uint8_t* outLen);
/** Copies the ICC public key exponent (9F47), at most 3 bytes. */
QUORRIN_API int32_t emvGetIccPkExp(uint8_t out[3], uint8_t* outLen);
/** Copies the ICC public key remainder (9F48), at most 42 bytes. */
QUORRIN_API int32_t emvGetIccPkRmd(uint8_t out[42], uint8_t* outLen);
/** Copies the ICC PIN encipherment public key certificate (9F2D), at most 248 bytes. */
QUORRIN_API int32_t emvGetPinEnPkCert(uint8_t out[248], uint8_t* outLen);
/** Copies the ICC PIN encipherment public key exponent (9F2E), at most 3 bytes. */
QUORRIN_API int32_t emvGetPinEnPkExp(uint8_t out[3], uint8_t* outLen);
/** Copies the ICC PIN encipherment public key remainder (9F2F), at most 42 bytes. */
QUORRIN_API int32_t emvGetPinEnPkRmd(uint8_t out[42], uint8_t* outLen);
/** Copies the signed static application data (93), at most 248 bytes. */
QUORRIN_API int32_t emvGetSignStaticData(uint8_t out[248], uint8_t* outLen);

/**
 * Copies the static data authentication tag list (9F4A), at most 256 bytes; a length of 256 shows
 * as 0.
 */
QUORRIN_API int32_t emvGetSDATagList(uint8_t out[256], uint8_t* outLen);

/** Presence of the signed dynamic application data (9F4B). */
QUORRIN_API int32_t emvInSignDynAppData(void);

/**
 * Reads the signed dynamic application data (9F4B), at most 248 bytes.
 * @param length  receives the length.
 * @return 1; -32 when there are none; 49 null pointer.
 */
QUORRIN_API int32_t emvGetSignDynAppData(uint8_t out[248], uint16_t* length);

/** Stores the signed dynamic application data (9F4B), at most 248 bytes. Raw result. */
QUORRIN_API int32_t emvSetSignDynAppData(const uint8_t* value, uint16_t length);
/** Stores the ICC dynamic number (9F4C), 2 to 8 bytes. Raw result. */
QUORRIN_API int32_t emvSetIccDynNumber(const uint8_t* value, uint16_t length);
/** Stores the data authentication code (9F45), 2 bytes. Raw result. */
QUORRIN_API int32_t emvSetDataAuthCode(const uint8_t value[2]);

/**
 * Certification authority public key index (8F), 1 byte, written also when it is absent.
 * @return its presence; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCAPkIndex(uint8_t out[1]);

/** Copies the ICC public key record of 512 bytes, all zero when none was set. */
QUORRIN_API void emvGetIccPKey(uint8_t out[512]);
/** Sets the ICC public key record, 512 bytes in the host's own layout. */
QUORRIN_API void emvSetIccPKey(const uint8_t key[512]);
/** 1 when an ICC public key record was set, else 0. */
QUORRIN_API int32_t emvGetIccPKeyState(void);
/** Copies the ICC public key record of the SM algorithms, 512 bytes. */
QUORRIN_API void emvGetIccPKey_GM(uint8_t out[512]);
/** Sets the ICC public key record of the SM algorithms, 512 bytes. */
QUORRIN_API void emvSetIccPKey_GM(const uint8_t key[512]);

/**
 * Copies the PIN encipherment public key record, 512 bytes.
 * @return 1; 0 when none was set; 49 null pointer.
 */
QUORRIN_API int32_t emvGetPinEnPKey(uint8_t out[512]);

/** Sets the PIN encipherment public key record, 512 bytes. */
QUORRIN_API void emvSetPinEnPKey(const uint8_t key[512]);

/* --- Data object lists and their data --- */

/** Presence of the PDOL (9F38). */
QUORRIN_API int32_t emvInPDOL(void);
/** PDOL (9F38), 256 bytes. */
QUORRIN_API uint8_t* emvGetPDOL(void);
/** Length of the PDOL (9F38). */
QUORRIN_API uint16_t emvGetPDOLLen(void);
/** Presence of CDOL1 (8C). */
QUORRIN_API int32_t emvInCDOL1(void);
/** CDOL1 (8C), 252 bytes. */
QUORRIN_API uint8_t* emvGetCDOL1(void);
/** Length of CDOL1 (8C). */
QUORRIN_API uint16_t emvGetCDOL1Length(void);
/** Presence of CDOL2 (8D). */
QUORRIN_API int32_t emvInCDOL2(void);
/** CDOL2 (8D), 252 bytes. */
QUORRIN_API uint8_t* emvGetCDOL2(void);
/** Length of CDOL2 (8D). */
QUORRIN_API uint16_t emvGetCDOL2Length(void);
/** Presence of the card's DDOL (9F49). */
QUORRIN_API int32_t emvInIccDDOL(void);
/** The card's DDOL (9F49), 252 bytes. */
QUORRIN_API uint8_t* emvGetIccDDOL(void);
/** Length of the card's DDOL (9F49). */
QUORRIN_API uint16_t emvGetIccDDOLLength(void);

/**
 * Reads the card's TDOL (97), at most 252 bytes.
 * @return 1; 49 null pointer; 52 absent; 53 a state other than absent and present.
 */
QUORRIN_API int32_t emvGetTDOL(uint8_t out[252], uint8_t* outLen);

/** Stores a TDOL as the card's (97), at most 252 bytes. Raw result. */
QUORRIN_API int32_t emvSetTDOL(const uint8_t* value, uint16_t length);
/** 1 when the terminal has a default DDOL, else 0. */
QUORRIN_API int32_t emvInTermDDOL(void);
/** The terminal's default DDOL, 252 bytes. */
QUORRIN_API uint8_t* emvGetTermDDOL(void);
/** Length of the terminal's default DDOL, at most 252. */
QUORRIN_API uint8_t emvGetTermDDOLLength(void);

/**
 * Sets the terminal's default DDOL, at most 252 bytes.
 * @return 0; 49 null pointer.
 */
QUORRIN_API int32_t emvSetTermDDOL(const uint8_t* dol, uint8_t length);

/**
 * Copies the terminal's default TDOL, at most 252 bytes.
 * @return 0; 49 null pointer.
 */
QUORRIN_API int32_t emvGetTermDefaultTDOL(uint8_t out[252], uint8_t* outLen);

/**
 * Sets the terminal's default TDOL, at most 252 bytes.
 * @return 0; 49 null pointer.
 */
QUORRIN_API int32_t emvSetTermDefaultTDOL(const uint8_t* dol, uint8_t length);

/**
 * Copies the values built for the PDOL: the command data of GET PROCESSING OPTIONS without their
 * template (83).
 * @param out     at most 253 bytes.
 * @param length  receives the length, 0 when there are none.
 * @return 1; 0 when no command data are kept or they are not a template 83; 49 null pointer.
 */
QUORRIN_API int32_t emvGetGPOPdolData(uint8_t out[253], uint16_t* length);

/** Keeps the command data of GET PROCESSING OPTIONS, at most 256 bytes. */
QUORRIN_API void emvSetGPOPdolData(const uint8_t* data, uint16_t length);

/**
 * Copies the command data of the first GENERATE AC, at most 256 bytes.
 * @param length  receives the length; left alone when there are none.
 * @return 1; 0 when none are kept; 49 null pointer.
 */
QUORRIN_API int32_t emvGetGACCdolOne(uint8_t out[256], uint16_t* length);

/** Keeps the command data of the first GENERATE AC, at most 256 bytes. */
QUORRIN_API void emvSetGACCdolOne(const uint8_t* data, uint16_t length);
/** The same for the second GENERATE AC. */
QUORRIN_API int32_t emvGetGACCdolTwo(uint8_t out[256], uint16_t* length);
/** Keeps the command data of the second GENERATE AC, at most 256 bytes. */
QUORRIN_API void emvSetGACCdolTwo(const uint8_t* data, uint16_t length);

#ifdef __cplusplus
}
#endif

#endif
