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

#include "quorrin/results.h"
#include "quorrin/version.h"

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
 * The codes by name, with what to do about each, stand in results.h:
 *    -1 ..  -15             reader or slot (QuorrinDeviceCode)
 *   -20 ..  -52, -22xx      card, data and PIN entry; -40000 unknown (QuorrinLibraryCode)
 *   -25536 .. -37894        the card refused a command; mostly the negated status word, as -27266
 *                           for 6A82 (QuorrinRefusalCode)
 *  -106, -107, -120, 2xx    bank card operations, without a message (QuorrinFlowCode)
 */

/**
 * Translates a result into a message for the host and logs it.
 *
 * Code 0 stands for the last card status word (CARD_SW1, CARD_SW2): 90 00 gives 0, writes nothing
 * and logs nothing; a known status word gives its code; 00 00, no status word, gives -1; an unknown
 * one gives -40000. Code -51 names the remaining PIN tries of a 63Cx status word.
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
QUORRIN_API int64_t GetDevSerial(int64_t handle, char* serial);

/** Logging entry point of earlier host programs. Does nothing; all arguments may be null or 0. */
QUORRIN_API void WriteLog(const char* a, const char* b, int32_t c);

/** Logging entry point of earlier host programs. Does nothing. */
QUORRIN_API void WriteLogTime(void);

/** Logging entry point of earlier host programs. Does nothing; all arguments may be null or 0. */
QUORRIN_API void WriteLogEnc(const char* a, const char* b, int32_t c, int32_t d);

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

/** Where FindUserCard looks for the user's card. */
enum QuorrinFindMode {
    QUORRIN_FIND_CONTACT = 1,          /**< contact only */
    QUORRIN_FIND_CONTACTLESS = 2,      /**< contactless only */
    QUORRIN_FIND_CONTACT_FIRST = 3,    /**< contact; contactless when there is no card */
    QUORRIN_FIND_CONTACTLESS_FIRST = 4 /**< contactless; contact when there is none or it is mute */
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
QUORRIN_API int64_t PowerUp(int64_t handle, int32_t kind, uint8_t* atr, uint32_t* atrLen);

/**
 * Powers the card in a slot down.
 * @param handle  reader handle, positive.
 * @param kind    card kind.
 * @return 0 on success, -14 for a bad argument, else the reader library's result.
 */
QUORRIN_API int64_t PowerDown(int64_t handle, int32_t kind);

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
 * that the card asks for.
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

/* ============================== Data element dictionary ==============================
 *
 * Every EMV / PBOC data element lives in one storage variable; two tables describe them. A value
 * is stored right-justified with leading 00 (n), left-justified with trailing FF (cn) or
 * left-justified with trailing 00 (an, ans, b, a) in the element's longest length.
 */

/** One data element: a row of TermDt or IccDt (32 bytes). */
typedef struct QuorrinDataElement {
    uint8_t* value;       /**< the element's storage variable; null before the first reset */
    uint16_t curLen;      /**< length of the value now held, 0 when absent */
    uint16_t minLen;      /**< shortest length accepted on store */
    uint16_t maxLen;      /**< longest length accepted on store */
    uint8_t tag[3];       /**< tag bytes, left-aligned */
    uint8_t tagLen;       /**< number of tag bytes, 1 or 2 */
    uint8_t templates[4]; /**< templates the element may arrive in, read by templateCode */
    uint8_t templateCode; /**< tags: 0 any of 1 byte; 1 one; 2 either of two; 3 BF0C or one */
    uint8_t format;       /**< 1 n, 2 cn, 3 an, 4 ans, 5 b, 6 a (EMV book 3, 4.3) */
    uint8_t state;        /**< 0 absent, 1 present */
} QuorrinDataElement;

/** The terminal's data elements. */
QUORRIN_API extern QuorrinDataElement TermDt[48];

/** The card's data elements. */
QUORRIN_API extern QuorrinDataElement IccDt[94];

/**
 * Points every row of both tables at its storage variable. Every reset does this; before the first
 * one the tables hold null pointers, a store answers -18 and a read gives padding.
 */
QUORRIN_API void emvInitDataPointer(void);

/**
 * Compares len bytes, len taken modulo 256. A null pointer comes before any bytes and equals
 * another null pointer; without bytes to compare (len 0) everything is equal.
 * @return 0 equal, 1 lhs is greater, 2 lhs is smaller.
 */
QUORRIN_API uint8_t StrCmp(const uint8_t* lhs, const uint8_t* rhs, int32_t len);

/* Storage of the terminal's elements. */
QUORRIN_API extern uint8_t gl_Tm_AcqID[6];       /**< Acquirer identifier (9F01) */
QUORRIN_API extern uint8_t gl_Tm_Cap_Ad[5];      /**< Additional terminal capabilities (9F40) */
QUORRIN_API extern uint8_t gl_Tm_AuthAmntB[4];   /**< Amount, authorised (binary) (81) */
QUORRIN_API extern uint8_t gl_Tm_AuthAmntN[6];   /**< Amount, authorised (numeric) (9F02) */
QUORRIN_API extern uint8_t gl_Tm_OtherAmntB[4];  /**< Amount, other (binary) (9F04) */
QUORRIN_API extern uint8_t gl_Tm_OtherAmntN[6];  /**< Amount, other (numeric) (9F03) */
QUORRIN_API extern uint8_t gl_Tm_RefCurAmnt[4];  /**< Amount, reference currency (9F3A) */
QUORRIN_API extern uint8_t gl_Tm_AID[16];        /**< Application identifier, terminal (9F06) */
QUORRIN_API extern uint8_t gl_Tm_AppVerNo[2];    /**< Application version number, terminal (9F09) */
QUORRIN_API extern uint8_t gl_Tm_AuthCode[6];    /**< Authorisation code (89) */
QUORRIN_API extern uint8_t gl_Tm_ARC[2];         /**< Authorisation response code (8A) */
QUORRIN_API extern uint8_t gl_Tm_CVMResult[3];   /**< CVM results (9F34) */
QUORRIN_API extern uint8_t gl_Tm_CAPKIndex[1];   /**< CA public key index, terminal (9F22) */
QUORRIN_API extern uint8_t gl_Tm_IFDSn[8];       /**< Interface device serial number (9F1E) */
QUORRIN_API extern uint8_t gl_Tm_IssAuthDt[16];  /**< Issuer authentication data (91) */
QUORRIN_API extern uint8_t gl_Tm_IssScrCmd[261]; /**< Issuer script command (86) */
QUORRIN_API extern uint8_t gl_Tm_IssScrID[4];    /**< Issuer script identifier (9F18) */
QUORRIN_API extern uint8_t gl_Tm_MchCatCode[2];  /**< Merchant category code (9F15) */
QUORRIN_API extern uint8_t gl_Tm_MchID[15];      /**< Merchant identifier (9F16) */
QUORRIN_API extern uint8_t gl_Tm_PosEntMode[1];  /**< POS entry mode (9F39) */
QUORRIN_API extern uint8_t gl_Tm_Cap[3];         /**< Terminal capabilities (9F33) */
QUORRIN_API extern uint8_t gl_Tm_CntryCode[2];   /**< Terminal country code (9F1A) */
QUORRIN_API extern uint8_t gl_Tm_FloorLmt[4];    /**< Terminal floor limit (9F1B) */
QUORRIN_API extern uint8_t gl_Tm_TermID[8];      /**< Terminal identification (9F1C) */
QUORRIN_API extern uint8_t gl_Tm_RMData[8];      /**< Terminal risk management data (9F1D) */
QUORRIN_API extern uint8_t gl_Tm_TermType[1];    /**< Terminal type (9F35) */
QUORRIN_API extern uint8_t gl_Tm_TVR[5];         /**< Terminal verification results (TVR) (95) */
QUORRIN_API extern uint8_t gl_Tm_TCHash[20];     /**< TC hash value (98) */
QUORRIN_API extern uint8_t gl_Tm_CurCode[2];     /**< Transaction currency code (5F2A) */
QUORRIN_API extern uint8_t gl_Tm_CurExp[1];      /**< Transaction currency exponent (5F36) */
QUORRIN_API extern uint8_t gl_Tm_TransDate[3];   /**< Transaction date (9A) */
QUORRIN_API extern uint8_t gl_Tm_PINData[256];   /**< Transaction PIN data (99) */
QUORRIN_API extern uint8_t gl_Tm_RefCurCode[2];  /**< Transaction reference currency code (9F3C) */
/** Transaction reference currency exponent (9F3D) */
QUORRIN_API extern uint8_t gl_Tm_RefCurExp[1];
QUORRIN_API extern uint8_t gl_Tm_TrSeqCntr[4]; /**< Transaction sequence counter (9F41) */
QUORRIN_API extern uint8_t gl_Tm_TSI[2];       /**< Transaction status information (TSI) (9B) */
QUORRIN_API extern uint8_t gl_Tm_TransTime[3]; /**< Transaction time (9F21) */
QUORRIN_API extern uint8_t gl_Tm_TransType[1]; /**< Transaction type (9C) */
QUORRIN_API extern uint8_t gl_Tm_UnPNum[4];    /**< Unpredictable number (9F37) */
/** Issuer script template 1 (71), shared with template 2 (72) */
QUORRIN_API extern uint8_t gl_Iss_Script[512];
QUORRIN_API extern uint8_t gl_Tm_MchNameLoc[256]; /**< Merchant name and location (9F4E) */
/** Electronic cash terminal support indicator (9F7A) */
QUORRIN_API extern uint8_t gl_Tm_VisaVLP[1];
QUORRIN_API extern uint8_t gl_Tm_TransCateCode[1]; /**< Transaction category code (9F53) */
QUORRIN_API extern uint8_t gl_Tm_AccountType[1];   /**< Account type (5F57) */
/** Electronic cash terminal transaction limit (9F7B) */
QUORRIN_API extern uint8_t gl_Tm_ECTranLmt[6];
QUORRIN_API extern uint8_t gl_Tm_ECTranPRT[4]; /**< Terminal transaction qualifiers (TTQ) (9F66) */
QUORRIN_API extern uint8_t gl_Tm_SuppGMAlg[1]; /**< SM algorithm support indicator (DF69) */

/* Storage of the card's elements. */
QUORRIN_API extern uint8_t gl_AC[8];            /**< Application cryptogram (9F26) */
QUORRIN_API extern uint8_t gl_AppCurCode[2];    /**< Application currency code (9F42) */
QUORRIN_API extern uint8_t gl_AppCurExp[1];     /**< Application currency exponent (9F44) */
QUORRIN_API extern uint8_t gl_AppDiscData[32];  /**< Application discretionary data (9F05) */
QUORRIN_API extern uint8_t gl_AppEffectDate[3]; /**< Application effective date (5F25) */
QUORRIN_API extern uint8_t gl_AppExpireDate[3]; /**< Application expiration date (5F24) */
QUORRIN_API extern uint8_t gl_AFL[252];         /**< Application file locator (AFL) (94) */
QUORRIN_API extern uint8_t gl_AID[16];          /**< Application identifier (ADF name) (4F) */
QUORRIN_API extern uint8_t gl_AIP[2];           /**< Application interchange profile (AIP) (82) */
QUORRIN_API extern uint8_t gl_AppLabel[16];     /**< Application label (50) */
QUORRIN_API extern uint8_t gl_APName[16];       /**< Application preferred name (9F12) */
QUORRIN_API extern uint8_t gl_PAN[10];          /**< Application PAN (5A) */
QUORRIN_API extern uint8_t gl_PANSn[1];         /**< Application PAN sequence number (5F34) */
QUORRIN_API extern uint8_t gl_APID[1];          /**< Application priority indicator (87) */
QUORRIN_API extern uint8_t gl_APCur[8];         /**< Application reference currency (9F3B) */
QUORRIN_API extern uint8_t gl_APCurExp[4];  /**< Application reference currency exponent (9F43) */
QUORRIN_API extern uint8_t gl_AppTemp[252]; /**< Application template (61) */
QUORRIN_API extern uint8_t gl_ATC[2];       /**< Application transaction counter (ATC) (9F36) */
QUORRIN_API extern uint8_t gl_AUC[2];       /**< Application usage control (9F07) */
QUORRIN_API extern uint8_t gl_AppVerNo[2];  /**< Application version number, card (9F08) */
QUORRIN_API extern uint8_t gl_CDOL1[252];   /**< CDOL1 (8C) */
QUORRIN_API extern uint8_t gl_CDOL2[252];   /**< CDOL2 (8D) */
QUORRIN_API extern uint8_t gl_HolderName[252];   /**< Cardholder name (5F20) */
QUORRIN_API extern uint8_t gl_HolderNameEx[252]; /**< Cardholder name, extended (9F0B) */
QUORRIN_API extern uint8_t gl_CVMList[252];      /**< CVM list (8E) */
QUORRIN_API extern uint8_t gl_CAPkIndex[1];      /**< CA public key index, card (8F) */
QUORRIN_API extern uint8_t gl_CID[1];            /**< Cryptogram information data (9F27) */
QUORRIN_API extern uint8_t gl_DtAuthCode[2];     /**< Data authentication code (9F45) */
QUORRIN_API extern uint8_t gl_DFName[16];        /**< Dedicated file name (84) */
QUORRIN_API extern uint8_t gl_DDFName[16];       /**< Directory definition file name (9D) */
QUORRIN_API extern uint8_t gl_DirDiscTemp[252];  /**< Directory discretionary template (73) */
QUORRIN_API extern uint8_t gl_DDOL[252];         /**< DDOL (9F49) */
QUORRIN_API extern uint8_t gl_FCIDiscData[240];  /**< FCI issuer discretionary data (BF0C) */
QUORRIN_API extern uint8_t gl_FCIPropTemp[256];  /**< FCI proprietary template (A5) */
QUORRIN_API extern uint8_t gl_FCITemp[252];      /**< FCI template (6F) */
QUORRIN_API extern uint8_t gl_IccDynNum[8];      /**< ICC dynamic number (9F4C) */
/** ICC PIN encipherment public key certificate (9F2D) */
QUORRIN_API extern uint8_t gl_PeCert[248];
QUORRIN_API extern uint8_t gl_PeExp[3];  /**< ICC PIN encipherment public key exponent (9F2E) */
QUORRIN_API extern uint8_t gl_PeRmd[42]; /**< ICC PIN encipherment public key remainder (9F2F) */
QUORRIN_API extern uint8_t gl_IccPkCert[248];     /**< ICC public key certificate (9F46) */
QUORRIN_API extern uint8_t gl_IccPkExp[3];        /**< ICC public key exponent (9F47) */
QUORRIN_API extern uint8_t gl_IccPkRmd[42];       /**< ICC public key remainder (9F48) */
QUORRIN_API extern uint8_t gl_IAC_Default[5];     /**< Issuer action code, default (9F0D) */
QUORRIN_API extern uint8_t gl_IAC_Denial[5];      /**< Issuer action code, denial (9F0E) */
QUORRIN_API extern uint8_t gl_IAC_Online[5];      /**< Issuer action code, online (9F0F) */
QUORRIN_API extern uint8_t gl_IssAppData[32];     /**< Issuer application data (9F10) */
QUORRIN_API extern uint8_t gl_IssCTIndex[1];      /**< Issuer code table index (9F11) */
QUORRIN_API extern uint8_t gl_IssCountryCode[2];  /**< Issuer country code (5F28) */
QUORRIN_API extern uint8_t gl_IssPkCert[248];     /**< Issuer public key certificate (90) */
QUORRIN_API extern uint8_t gl_IssPkExp[3];        /**< Issuer public key exponent (9F32) */
QUORRIN_API extern uint8_t gl_IssPkRmd[36];       /**< Issuer public key remainder (92) */
QUORRIN_API extern uint8_t gl_IssURL[256];        /**< Issuer URL (5F50) */
QUORRIN_API extern uint8_t gl_LangPref[8];        /**< Language preference (5F2D) */
QUORRIN_API extern uint8_t gl_LastATC[2];         /**< Last online ATC register (9F13) */
QUORRIN_API extern uint8_t gl_LCOL[1];            /**< Lower consecutive offline limit (9F14) */
QUORRIN_API extern uint8_t gl_PinTryCntr[1];      /**< PIN try counter (9F17) */
QUORRIN_API extern uint8_t gl_PDOL[256];          /**< PDOL (9F38) */
QUORRIN_API extern uint8_t gl_RMTF1[256];         /**< Response message template format 1 (80) */
QUORRIN_API extern uint8_t gl_RMTF2[256];         /**< Response message template format 2 (77) */
QUORRIN_API extern uint8_t gl_ServiceCode[2];     /**< Service code (5F30) */
QUORRIN_API extern uint8_t gl_SFI[1];             /**< Short file identifier (SFI) (88) */
QUORRIN_API extern uint8_t gl_SignDynAppDt[248];  /**< Signed dynamic application data (9F4B) */
QUORRIN_API extern uint8_t gl_SignStaAppDt[248];  /**< Signed static application data (93) */
QUORRIN_API extern uint8_t gl_SDATagList[256];    /**< Static data authentication tag list (9F4A) */
QUORRIN_API extern uint8_t gl_Track1Data[256];    /**< Track 1 discretionary data (9F1F) */
QUORRIN_API extern uint8_t gl_Track2Data[256];    /**< Track 2 discretionary data (9F20) */
QUORRIN_API extern uint8_t gl_Track2EquData[19];  /**< Track 2 equivalent data (57) */
QUORRIN_API extern uint8_t gl_TDOL[252];          /**< TDOL (97) */
QUORRIN_API extern uint8_t gl_UCOL[1];            /**< Upper consecutive offline limit (9F23) */
QUORRIN_API extern uint8_t gl_CardHolderCert[41]; /**< Cardholder ID number (9F61) */
QUORRIN_API extern uint8_t gl_CardHolderCertType[1]; /**< Cardholder ID type (9F62) */
QUORRIN_API extern uint8_t gl_LogEntry[2];           /**< Log entry, transaction log (9F4D) */
QUORRIN_API extern uint8_t gl_LogFormat[256];        /**< Log format (9F4F) */
QUORRIN_API extern uint8_t gl_IC_BIC[11];            /**< Bank identifier code (5F54) */
QUORRIN_API extern uint8_t gl_IC_IBAN[34]; /**< International bank account number (5F53) */
QUORRIN_API extern uint8_t gl_IC_IssCountryCode_A2[2]; /**< Issuer country code, alpha 2 (5F55) */
QUORRIN_API extern uint8_t gl_IC_ISSCOUNTRYCODE_A3[3]; /**< Issuer country code, alpha 3 (5F56) */
QUORRIN_API extern uint8_t gl_IC_IssIDNumber[3];       /**< Issuer identification number (42) */
QUORRIN_API extern uint8_t gl_IC_ECBalance[6];         /**< Electronic cash balance (9F79) */
QUORRIN_API extern uint8_t gl_IC_ECBalanceLmt[6];      /**< Electronic cash balance limit (9F77) */
/** Electronic cash issuer authorisation code (9F74) */
QUORRIN_API extern uint8_t gl_IC_ECIssAuthCode[6];
/** Electronic cash single transaction limit (9F78) */
QUORRIN_API extern uint8_t gl_IC_ECSigleLmt[6];
QUORRIN_API extern uint8_t gl_IC_ECResetThld[6]; /**< Electronic cash reset threshold (9F6D) */
QUORRIN_API extern uint8_t gl_IC_ECADA[4];       /**< Application default action (9F52) */
QUORRIN_API extern uint8_t gl_IC_ECVOS[6];       /**< Available offline spending amount (9F5D) */
QUORRIN_API extern uint8_t gl_IC_ECCAP[4];       /**< Card additional processes (9F68) */
QUORRIN_API extern uint8_t gl_IC_ECCCVMLT[6];    /**< Card CVM limit (9F6B) */
QUORRIN_API extern uint8_t gl_IC_ECCTQ[2];       /**< Card transaction qualifiers (CTQ) (9F6C) */
/** Application interchange profile, electronic cash (84) */
QUORRIN_API extern uint8_t gl_IC_ECAIP[2];
QUORRIN_API extern uint8_t gl_IC_ECLOATC[2];       /**< Last online ATC, electronic cash (9F13) */
QUORRIN_API extern uint8_t gl_IC_ECCAR[32];        /**< Card authentication related data (9F69) */
QUORRIN_API extern uint8_t gl_IC_ProductLable[16]; /**< Product identification (9F63) */
QUORRIN_API extern uint8_t gl_IC_ECMCHNUM[256];    /**< Merchant number, electronic cash (DF50) */
QUORRIN_API extern uint8_t gl_LogEntry_Load[2];    /**< Log entry, load log (DF4D) */

/* Working data that no table row describes. */

/** Length of the issuer scripts; kept for hosts. */
QUORRIN_API extern uint16_t gl_Iss_ScriptLen;
/** Answer of the first GENERATE AC; kept for hosts. */
QUORRIN_API extern uint8_t gl_GACOne[256];
/** Answer of the second GENERATE AC; kept for hosts. */
QUORRIN_API extern uint8_t gl_GACTwo[256];
/** Length of gl_GACOne. */
QUORRIN_API extern uint16_t gl_GACOneLen;
/** Length of gl_GACTwo. */
QUORRIN_API extern uint16_t gl_GACTwoLen;
/** Public key record of the card, in the host's own layout. */
QUORRIN_API extern uint8_t gl_tIccPk[512];
/** Public key record of the card for the SM algorithms, in the host's own layout. */
QUORRIN_API extern uint8_t gl_tIccPk_GM[512];
/** Public key record for PIN encipherment, in the host's own layout. */
QUORRIN_API extern uint8_t gl_tPinEnPk[512];
/** 1 when gl_tIccPk is set. */
QUORRIN_API extern uint8_t gl_FlgIccPk;
/** 1 when gl_tIccPk_GM is set. */
QUORRIN_API extern uint8_t gl_FlgIccPk_GM;
/** 1 when gl_tPinEnPk is set. */
QUORRIN_API extern uint8_t gl_FlgPinEnPk;
/** Command data of GET PROCESSING OPTIONS, built from the PDOL. */
QUORRIN_API extern uint8_t gl_GPOPdolData[256];
/** Command data of the first GENERATE AC, built from CDOL1. */
QUORRIN_API extern uint8_t gl_GACCdolOne[256];
/** Command data of the second GENERATE AC, built from CDOL2. */
QUORRIN_API extern uint8_t gl_GACCdolTwo[256];
/** Length of gl_GPOPdolData. */
QUORRIN_API extern uint16_t gl_LenGPOPdolData;
/** Length of gl_GACCdolOne. */
QUORRIN_API extern uint16_t gl_LenGACCdolOne;
/** Length of gl_GACCdolTwo. */
QUORRIN_API extern uint16_t gl_LenGACCdolTwo;
/** Issuer script results: up to 12 entries of 5 bytes (EMV book 4, A5). */
QUORRIN_API extern uint8_t gl_Iss_ScriptRslt[60];
/** Number of issuer script results. */
QUORRIN_API extern uint8_t gl_Iss_NumScriptRslt;
/** The terminal's default DDOL. */
QUORRIN_API extern uint8_t gl_Tm_DDOL[252];
/** The terminal's default TDOL. */
QUORRIN_API extern uint8_t gl_Tm_TDOL[252];
/** Length of gl_Tm_DDOL. */
QUORRIN_API extern uint8_t gl_Tm_LenDDOL;
/** Length of gl_Tm_TDOL. */
QUORRIN_API extern uint8_t gl_Tm_LenTDOL;
/** Terminal action code, denial. */
QUORRIN_API extern uint8_t gl_TAC_Denial[5];
/** Terminal action code, online. */
QUORRIN_API extern uint8_t gl_TAC_Online[5];
/** Terminal action code, default. */
QUORRIN_API extern uint8_t gl_TAC_Default[5];
/** 1 when the host has set gl_TAC_Denial. */
QUORRIN_API extern uint8_t gl_FgTAC_Denial;
/** 1 when the host has set gl_TAC_Online. */
QUORRIN_API extern uint8_t gl_FgTAC_Online;
/** 1 when the host has set gl_TAC_Default. */
QUORRIN_API extern uint8_t gl_FgTAC_Default;
/** Threshold of random transaction selection (EMV book 3, 10.6.2). */
QUORRIN_API extern int64_t gl_lRandSltLmt;
/** Target percentage of random transaction selection (EMV book 3, 10.6.2). */
QUORRIN_API extern int64_t gl_lRandSltPcnt;
/** Maximum target percentage of biased random selection (EMV book 3, 10.6.2). */
QUORRIN_API extern int64_t gl_lBiRSltPcnt;
/** Risk management flag. Starts as 1. */
QUORRIN_API extern uint8_t gl_Tm_RmCheckFlg;
/** Reference currency conversion. */
QUORRIN_API extern uint32_t gl_Tm_RefCurConv;
/** Cashback flag. */
QUORRIN_API extern uint8_t gl_Tm_CashBackFlg;
/** Type of application cryptogram asked for. */
QUORRIN_API extern uint8_t gl_Tm_ACType;
/** Random number kept for the host. */
QUORRIN_API extern uint16_t gl_RandNum;
/** 1 when gl_RandNum is set. */
QUORRIN_API extern uint8_t gl_RandNum_Flag;
/** Card ATC error flag. */
QUORRIN_API extern uint8_t gl_ATC_Err;
/** Kernel options; not used by the library. */
QUORRIN_API extern uint8_t gl_KernOption[256];

/* ============================== Element access ==============================
 *
 * Lookup takes the card table first. A tag has 1 or 2 bytes.
 */

/**
 * Finds the row of a tag.
 * @param rowOut  receives the row's index in its table, 0 on a miss; left alone when tagLen is not
 *                1 or 2.
 * @return 1 card table, 2 terminal table, 0 unknown.
 */
QUORRIN_API uint8_t emvFindDataElement(const uint8_t* tag, uint8_t tagLen, uint16_t* rowOut);

/**
 * Whether an element may arrive in a template (EMV book 3, annex A).
 * @param templateTag  the template's tag; templateLen 0 accepts.
 * @param row          row of IccDt.
 * @return 0 accepted, -30 not in this template, -31 template tag of more than 2 bytes.
 */
QUORRIN_API int32_t emvCheckTemplate(const uint8_t* templateTag, uint8_t templateLen, uint16_t row);

/**
 * Stores a value under its tag.
 * @param templateTag  tag of the template it came in; templateLen 0: no template check.
 * @param value        length bytes.
 * @return 0 stored, or dropped because an FCI (6F, A5, BF0C) or a template 73 carries an element
 *         that belongs elsewhere. -18 the element's row has an unknown format code, or no reset has
 *         run yet; -22 length outside the element's bounds; -27 wrong template; -28 empty value;
 *         -29 template tag of more than 2 bytes; -30 tag of other than 1 or 2 bytes; -31 unknown
 *         tag.
 */
QUORRIN_API int32_t emvSetDataElement(const uint8_t* templateTag, uint8_t templateLen,
                                      const uint8_t* tag, uint8_t tagLen, uint16_t length,
                                      const uint8_t* value);

/** The same as emvSetDataElement. */
QUORRIN_API int32_t emvSetDataElementCanChgTempPar(const uint8_t* templateTag, uint8_t templateLen,
                                                   const uint8_t* tag, uint8_t tagLen,
                                                   uint16_t length, const uint8_t* value);

/**
 * Reads a value, fitted to the wanted length by the element's format: numeric values get leading 00
 * or are cut on the left, cn gets trailing FF, all others trailing 00, and both are cut on the
 * right. A numeric value that is cut counts from the start of its storage, and so keeps its last
 * digits only when it has the element's longest length: 9F3B (8 bytes) with the value 12 34 reads
 * as 00 with a wanted length of 1. The state is not consulted; an element without a value reads as
 * padding.
 * @param lengthInOut  wanted length; 0 is replaced by the current length.
 * @param out          as many bytes.
 * @return 1 card element, 2 terminal element; -18 the element's row has an unknown format code;
 *         -30 unknown tag; -31 tag of other than 1 or 2 bytes, or a null pointer.
 */
QUORRIN_API int32_t emvGetDataElement(const uint8_t* tag, uint8_t tagLen, uint16_t* lengthInOut,
                                      uint8_t* out);

/** @return the element's state: 1 present, 0 absent; -32 unknown tag. */
QUORRIN_API int32_t emvGetDataElementState(const uint8_t* tag, uint8_t tagLen);

/**
 * Sets the element's state alone.
 * @return 0; -31 state above 1; -32 unknown tag.
 */
QUORRIN_API int32_t emvSetDataElementState(const uint8_t* tag, uint8_t tagLen, uint8_t state);

/**
 * @param which  0 current, 1 shortest, 2 longest length.
 * @return the length; 0 for an unknown tag or selector.
 */
QUORRIN_API uint16_t emvGetDataElementLength(const uint8_t* tag, uint8_t tagLen, uint8_t which);

/**
 * Sets one of the element's lengths. Changed bounds stay for the life of the process.
 * @param which  0 current, 1 shortest, 2 longest length.
 * @return 0; -30 unknown selector; -31 unknown tag.
 */
QUORRIN_API int32_t emvSetDataElementLength(const uint8_t* tag, uint8_t tagLen, uint16_t length,
                                            uint8_t which);

/**
 * Walks a card response and stores every known card element in it. Unknown tags of 1 or 2 bytes,
 * empty values and terminal elements are passed over; so are 50, 5F2D, 9F11 and 9F12 of a wrong
 * length.
 * @return 0; -30 malformed, a template with a tag of more than 5 bytes that is not empty, or a null
 *         pointer; -31 an element was refused. What came before the
 *         fault stays stored.
 */
QUORRIN_API int32_t emvExtractDataElement(const uint8_t* data, uint16_t length);

/**
 * The same for the value of one template, whose elements must be allowed in it.
 * @return as emvExtractDataElement; -30 also for a template tag of more than 5 bytes, whatever the
 *         data.
 */
QUORRIN_API int32_t emvExtractDataTemplate(const uint8_t* templateTag, uint8_t templateTagLen,
                                           const uint8_t* data, uint16_t length);

/* ============================== Transaction resets ==============================
 *
 * To empty an element is to clear its storage, its current length and its state. All four resets
 * point the tables at their storage first and return 0. None touches gl_tIccPk_GM or gl_KernOption.
 *
 * The transaction's working data is, for the two resets that clear it: the issuer script length,
 * results and their number, both GENERATE AC answers, the keys gl_tIccPk and gl_tPinEnPk, the flags
 * of all three keys, the data built from PDOL, CDOL1 and CDOL2, all lengths with them, the cashback
 * flag, gl_RandNum with its flag and gl_ATC_Err, which become zero; gl_Tm_ACType becomes 1.
 *
 * The terminal's action codes are, likewise: gl_TAC_Denial 00, gl_TAC_Online and gl_TAC_Default FF
 * in all 5 bytes with their flags 0; gl_Tm_DDOL and gl_Tm_TDOL empty with their lengths 0; random
 * selection (gl_lRandSltLmt, gl_lRandSltPcnt, gl_lBiRSltPcnt) 0; gl_Tm_RmCheckFlg 1.
 */

/**
 * Empties the whole store, the terminal's configuration included: the start of every application
 * selection. Empties every element of both tables, each by its longest length: the upper 256 bytes
 * of gl_Iss_Script and the last byte of gl_CardHolderCert keep what they hold. Resets the
 * transaction's working data and the action codes and sets gl_Tm_RefCurConv to 0.
 */
QUORRIN_API int32_t emvClrIccAndTermData(void);

/**
 * Starts a transaction on the same configuration. Empties every element of the card by its longest
 * length (the last byte of gl_CardHolderCert stays), and of the terminal 71, 72, 81, 86, 89, 8A,
 * 91, 95, 98, 99, 9A, 9B, 9F02, 9F03, 9F04, 9F06, 9F18, 9F1D, 9F21, 9F22, 9F34, 9F37, 9F3A and 9F41
 * with their whole storage (all 512 bytes of gl_Iss_Script). Resets the transaction's working data.
 * Keeps the terminal's other elements, the action codes with all that goes with them and
 * gl_Tm_RefCurConv.
 */
QUORRIN_API int32_t emvInitAppData(void);

/**
 * Empties the terminal's application configuration: 9F06, 9F09, 9F16, 9F39, 9F1B, 9F1C, 9C, 9F4E,
 * 9F7A, 9F53 and 5F57, and resets the action codes with all that goes with them. Keeps everything
 * else, the transaction's working data included.
 */
QUORRIN_API int32_t emvInitTmAppData(void);

/**
 * Empties the terminal's own configuration: 9F01, 9F15, 9F1A, 5F2A, 5F36, 9F3C and 9F3D (acquirer,
 * merchant category, country, currencies), and sets gl_Tm_RefCurConv to 0. Keeps everything else.
 */
QUORRIN_API int32_t emvInitTmEMVData(void);

/* ============================== Typed accessors ==============================
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
 * Give out room for the longest value named. A null pointer is answered with 49 wherever nothing
 * else is stated; an accessor without a result then does nothing.
 */

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
QUORRIN_API int32_t emvSetTermActionCode(const uint8_t* code, uint8_t selector);

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
QUORRIN_API int32_t emvGetCVMListCVR(uint8_t* out, uint8_t index, uint8_t item);

/** Stores the CVM results (9F34), 3 bytes. Raw result. */
QUORRIN_API int32_t emvSetCVMResult(const uint8_t* value);

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
QUORRIN_API int32_t emvGetIssAppData(uint8_t* out, uint8_t* outLen);

/**
 * What the card answered to the first GENERATE AC, from the card verification results in the issuer
 * application data (9F10).
 * @param out  receives 0 AAC, 1 TC, 2 ARQC.
 * @return 0; -29 reserved type; -30 fewer than 7 bytes; -31 not read from the card; 49 null
 *         pointer.
 */
QUORRIN_API int32_t emvGetIssAppType(uint8_t* out);

/** Application transaction counter (9F36), 2 bytes. */
QUORRIN_API uint8_t* emvGetATC(void);
/** Last online ATC register (9F13), 2 bytes. */
QUORRIN_API uint8_t* emvGetLastATC(void);

/**
 * Copies the application transaction counter (9F36).
 * @param atc  receives 2 bytes.
 * @return 0; 1 absent; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCardATC(uint8_t* atc);

/** The host's flag for an error of the card's transaction counter. */
QUORRIN_API uint8_t emvGetCardATCErrFlg(void);
/** Sets the host's flag for an error of the card's transaction counter. */
QUORRIN_API void emvSetCardATCErrFlg(uint8_t value);
/** Cryptogram type the terminal has decided on. */
QUORRIN_API uint8_t emvGetTermACType(void);
/** Sets the cryptogram type the terminal has decided on. */
QUORRIN_API void emvSetTermACType(uint8_t value);
/** Stores the TC hash value (98), 20 bytes. Raw result. */
QUORRIN_API int32_t emvSetTCHash(const uint8_t* value);
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
QUORRIN_API int32_t emvSetTermCapability(const uint8_t* value);
/** Bit of the additional terminal capabilities (9F40, 5 bytes). */
QUORRIN_API int32_t emvGetTermCapabilityAd(uint8_t byte, uint8_t bit);
/** Stores the additional terminal capabilities (9F40), 5 bytes. Raw result. */
QUORRIN_API int32_t emvSetTermCapabilityAd(const uint8_t* value);

/**
 * Whether the additional terminal capabilities (9F40) offer a code table of ISO/IEC 8859.
 * @param index  issuer code table index in BCD, 01 to 10, as in 9F11.
 * @return 1 or 0; table 01 also when all capabilities are 00.
 */
QUORRIN_API int32_t emvIsSupportIssCodeTable(uint8_t index);

/** Bit of the terminal transaction qualifiers (9F66, 4 bytes). */
QUORRIN_API int32_t emvGetTermTranCapa(uint8_t byte, uint8_t bit);
/** Stores the terminal transaction qualifiers (9F66), 4 bytes. Raw result. */
QUORRIN_API int32_t emvSetTermTranCapa(const uint8_t* value);
/** Does nothing: the terminal transaction qualifiers need no preparation. */
QUORRIN_API void emvInitTTQStru(void);
/** Stores the interface device serial number (9F1E), 8 bytes. Raw result. */
QUORRIN_API int32_t emvSetIFDSn(const uint8_t* value);
/** Stores the terminal identification (9F1C), 8 bytes. Raw result. */
QUORRIN_API int32_t emvSetTerminalID(const uint8_t* value);
/** Stores the application identifier of the terminal (9F06), 5 to 16 bytes. Raw result. */
QUORRIN_API int32_t emvSetTermAID(const uint8_t* value, uint16_t length);
/** Application version number of the terminal (9F09), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermAppVerNo(void);
/** Stores the application version number of the terminal (9F09), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetTermAppVerNo(const uint8_t* value);
/** Terminal country code (9F1A), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermCntryCode(void);

/**
 * Stores the terminal country code (9F1A), 2 bytes. Mapped result; -26 of the store counts as
 * success.
 */
QUORRIN_API int32_t emvSetTermCntryCode(const uint8_t* value);

/**
 * Stores the acquirer identifier (9F01), 6 bytes. Mapped result; -26 of the store counts as
 * success.
 */
QUORRIN_API int32_t emvSetAcquirerID(const uint8_t* value);

/** Stores the merchant identifier (9F16), 15 bytes. Mapped result. */
QUORRIN_API int32_t emvSetMerchantID(const uint8_t* value);
/** Stores the merchant category code (9F15), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetMerchantCategoryCode(const uint8_t* value);
/** Stores the merchant name and location (9F4E), 1 to 256 bytes. Mapped result. */
QUORRIN_API int32_t emvSetMerchantNameAndLoc(const uint8_t* value, uint16_t length);
/** Transaction category code (9F53). */
QUORRIN_API uint8_t emvGetTmTransCateCode(void);
/** Stores the transaction category code (9F53). Mapped result. */
QUORRIN_API int32_t emvSetTmTransCateCode(uint8_t value);
/** Terminal floor limit (9F1B), 4 bytes. */
QUORRIN_API uint8_t* emvGetFloorLimit(void);
/** Stores the terminal floor limit (9F1B), 4 bytes. Mapped result. */
QUORRIN_API int32_t emvSetFloorLimit(const uint8_t* value);
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
QUORRIN_API int32_t emvSetAuthAmountB(const uint8_t* value);
/** Amount, authorised (numeric) (9F02), 6 bytes. */
QUORRIN_API uint8_t* emvGetAuthAmountN(void);
/** Stores the amount, authorised (numeric) (9F02), 6 bytes. Mapped result. */
QUORRIN_API int32_t emvSetAuthAmountN(const uint8_t* value);
/** Amount, other (binary) (9F04), 4 bytes. */
QUORRIN_API uint8_t* emvGetOtherAmountB(void);
/** Stores the amount, other (binary) (9F04), 4 bytes. Mapped result. */
QUORRIN_API int32_t emvSetOtherAmountB(const uint8_t* value);
/** Stores the amount, other (numeric) (9F03), 6 bytes. Mapped result. */
QUORRIN_API int32_t emvSetOtherAmountN(const uint8_t* value);
/** Transaction currency code (5F2A), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermCurCode(void);
/** Stores the transaction currency code (5F2A), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetTermCurCode(const uint8_t* value);
/** Stores the transaction currency exponent (5F36). Mapped result. */
QUORRIN_API int32_t emvSetAppTransCurExp(uint8_t value);
/** Transaction reference currency code (9F3C), 2 bytes. */
QUORRIN_API uint8_t* emvGetTermRefCurCode(void);
/** Stores the transaction reference currency code (9F3C), 2 bytes. Mapped result. */
QUORRIN_API int32_t emvSetTermRefCurCode(const uint8_t* value);
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
QUORRIN_API int32_t emvSetTransDate(const uint8_t* date, uint16_t length);

/** Reads the transaction time (9F21), 3 bytes, HHMMSS. */
QUORRIN_API int32_t emvGetTransTime(uint8_t* out, uint8_t* outLen);

/**
 * Stores the transaction time (9F21), HHMMSS in BCD.
 * @return -31 when length is not 3; 49 beyond 23 59 59; else a mapped result.
 */
QUORRIN_API int32_t emvSetTransTime(const uint8_t* time, uint16_t length);

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
QUORRIN_API int32_t emvSetTransSequenceCounter(const uint8_t* value);
/** Presence of the unpredictable number (9F37). */
QUORRIN_API int32_t emvInRandom(void);
/** Reads the unpredictable number (9F37), 4 bytes. */
QUORRIN_API int32_t emvGetRandom(uint8_t* out, uint8_t* outLen);
/** Stores the unpredictable number (9F37), 4 bytes. Raw result. */
QUORRIN_API int32_t emvSetRandom(const uint8_t* value, uint16_t length);
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
QUORRIN_API int32_t emvSetAIP(const uint8_t* aip);

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
QUORRIN_API int32_t emvGetRID(uint8_t* out);

/**
 * Copies the application PAN (5A): at most 10 bytes, compressed numeric, trailing F digits
 * included.
 * @return 1; 0 when absent, with a length of 0.
 */
QUORRIN_API int32_t emvGetPAN(uint8_t* out, uint8_t* outLen);

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
QUORRIN_API int32_t emvGetHolderName(uint8_t* out, uint8_t* outLen);

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
QUORRIN_API int32_t emvGetPreferLang(uint8_t* out, uint8_t* outLen);
/** Reads the cardholder ID number (9F61), at most 40 bytes; out has room for 41. */
QUORRIN_API int32_t emvGetCardHolderCert(uint8_t* out, uint8_t* outLen);
/** Length of the cardholder ID number (9F61). */
QUORRIN_API uint16_t emvGetCardHolderCertLength(void);
/** Reads the cardholder ID type (9F62), 1 byte. */
QUORRIN_API int32_t emvGetCardHolderCertType(uint8_t* out, uint8_t* outLen);
/** Length of the cardholder ID type (9F62). */
QUORRIN_API uint16_t emvGetCardHolderCertTypeLength(void);

/**
 * Copies the card transaction qualifiers (9F6C).
 * @param ctq  receives 2 bytes when they are present.
 * @return their presence; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCardTranCapa(uint8_t* ctq);

/**
 * Version of fast DDA, the first of the card authentication related data (9F69).
 * @param out  receives 1 byte.
 * @return 1; 0 not read from the card; 2 fewer than 8 bytes; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCardDDAVer(uint8_t* out);

/* --- Issuer's answer --- */

/** Presence of the authorisation response code (8A). */
QUORRIN_API int32_t emvInARC(void);
/** Authorisation response code (8A), 2 bytes. */
QUORRIN_API uint8_t* emvGetARC(void);
/** Sets the authorisation response code (8A), 2 bytes, present. */
QUORRIN_API void emvSetARC(const uint8_t* arc);
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
QUORRIN_API int32_t emvSetIssScrptRsltID(const uint8_t* id);

/** Goes on to the next result, without a bound; after 255 the first entry is the next. */
QUORRIN_API void emvIncIssScrptRslt(void);

/* --- Keys and certificates --- */

/** Copies the issuer public key certificate (90), at most 248 bytes. */
QUORRIN_API int32_t emvGetIssPkCert(uint8_t* out, uint8_t* outLen);
/** Copies the issuer public key exponent (9F32), at most 3 bytes. */
QUORRIN_API int32_t emvGetIssPkExp(uint8_t* out, uint8_t* outLen);
/** Copies the issuer public key remainder (92), at most 36 bytes. */
QUORRIN_API int32_t emvGetIssPkRmd(uint8_t* out, uint8_t* outLen);
/** Copies the ICC public key certificate (9F46), at most 248 bytes. */
QUORRIN_API int32_t emvGetIccPkCert(uint8_t* out, uint8_t* outLen);
/** Copies the ICC public key exponent (9F47), at most 3 bytes. */
QUORRIN_API int32_t emvGetIccPkExp(uint8_t* out, uint8_t* outLen);
/** Copies the ICC public key remainder (9F48), at most 42 bytes. */
QUORRIN_API int32_t emvGetIccPkRmd(uint8_t* out, uint8_t* outLen);
/** Copies the ICC PIN encipherment public key certificate (9F2D), at most 248 bytes. */
QUORRIN_API int32_t emvGetPinEnPkCert(uint8_t* out, uint8_t* outLen);
/** Copies the ICC PIN encipherment public key exponent (9F2E), at most 3 bytes. */
QUORRIN_API int32_t emvGetPinEnPkExp(uint8_t* out, uint8_t* outLen);
/** Copies the ICC PIN encipherment public key remainder (9F2F), at most 42 bytes. */
QUORRIN_API int32_t emvGetPinEnPkRmd(uint8_t* out, uint8_t* outLen);
/** Copies the signed static application data (93), at most 248 bytes. */
QUORRIN_API int32_t emvGetSignStaticData(uint8_t* out, uint8_t* outLen);

/**
 * Copies the static data authentication tag list (9F4A), at most 256 bytes; a length of 256 shows
 * as 0.
 */
QUORRIN_API int32_t emvGetSDATagList(uint8_t* out, uint8_t* outLen);

/** Presence of the signed dynamic application data (9F4B). */
QUORRIN_API int32_t emvInSignDynAppData(void);

/**
 * Reads the signed dynamic application data (9F4B), at most 248 bytes.
 * @param length  receives the length.
 * @return 1; -32 when there are none; 49 null pointer.
 */
QUORRIN_API int32_t emvGetSignDynAppData(uint8_t* out, uint16_t* length);

/** Stores the signed dynamic application data (9F4B), at most 248 bytes. Raw result. */
QUORRIN_API int32_t emvSetSignDynAppData(const uint8_t* value, uint16_t length);
/** Stores the ICC dynamic number (9F4C), 2 to 8 bytes. Raw result. */
QUORRIN_API int32_t emvSetIccDynNumber(const uint8_t* value, uint16_t length);
/** Stores the data authentication code (9F45), 2 bytes. Raw result. */
QUORRIN_API int32_t emvSetDataAuthCode(const uint8_t* value);

/**
 * Certification authority public key index (8F), 1 byte, written also when it is absent.
 * @return its presence; 49 null pointer.
 */
QUORRIN_API int32_t emvGetCAPkIndex(uint8_t* out);

/** Copies the ICC public key record of 512 bytes, all zero when none was set. */
QUORRIN_API void emvGetIccPKey(uint8_t* out);
/** Sets the ICC public key record, 512 bytes in the host's own layout. */
QUORRIN_API void emvSetIccPKey(const uint8_t* key);
/** 1 when an ICC public key record was set, else 0. */
QUORRIN_API int32_t emvGetIccPKeyState(void);
/** Copies the ICC public key record of the SM algorithms, 512 bytes. */
QUORRIN_API void emvGetIccPKey_GM(uint8_t* out);
/** Sets the ICC public key record of the SM algorithms, 512 bytes. */
QUORRIN_API void emvSetIccPKey_GM(const uint8_t* key);

/**
 * Copies the PIN encipherment public key record, 512 bytes.
 * @return 1; 0 when none was set; 49 null pointer.
 */
QUORRIN_API int32_t emvGetPinEnPKey(uint8_t* out);

/** Sets the PIN encipherment public key record, 512 bytes. */
QUORRIN_API void emvSetPinEnPKey(const uint8_t* key);

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
QUORRIN_API int32_t emvGetTDOL(uint8_t* out, uint8_t* outLen);

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
QUORRIN_API int32_t emvGetTermDefaultTDOL(uint8_t* out, uint8_t* outLen);

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
QUORRIN_API int32_t emvGetGPOPdolData(uint8_t* out, uint16_t* length);

/** Keeps the command data of GET PROCESSING OPTIONS, at most 256 bytes. */
QUORRIN_API void emvSetGPOPdolData(const uint8_t* data, uint16_t length);

/**
 * Copies the command data of the first GENERATE AC, at most 256 bytes.
 * @param length  receives the length; left alone when there are none.
 * @return 1; 0 when none are kept; 49 null pointer.
 */
QUORRIN_API int32_t emvGetGACCdolOne(uint8_t* out, uint16_t* length);

/** Keeps the command data of the first GENERATE AC, at most 256 bytes. */
QUORRIN_API void emvSetGACCdolOne(const uint8_t* data, uint16_t length);
/** The same for the second GENERATE AC. */
QUORRIN_API int32_t emvGetGACCdolTwo(uint8_t* out, uint16_t* length);
/** Keeps the command data of the second GENERATE AC, at most 256 bytes. */
QUORRIN_API void emvSetGACCdolTwo(const uint8_t* data, uint16_t length);

/* ============================== BER-TLV codec ==============================
 *
 * Stateless (EMV book 3, annex B). On a failure the out values hold what was decoded so far.
 */

/**
 * Reads the tag at the start of a buffer.
 * @param tagLen  receives the number of tag bytes.
 * @return 0 primitive, 1 constructed; -30 bad tag (also one with a later byte 00 or 80);
 *         -31 nothing available.
 */
QUORRIN_API int8_t tlvGetTag(const uint8_t* buffer, uint16_t available, uint8_t* tagLen);

/**
 * Reads the size of the length field at the start of a buffer.
 * @return 0; -30 bad length field; -31 nothing available.
 */
QUORRIN_API int8_t tlvGetLength(const uint8_t* buffer, uint16_t available,
                                uint8_t* lengthFieldSize);

/**
 * Reads the length field at the start of a buffer and its value, kept in 16 bits.
 * @return 0; -29 more than is left, with the value still reported; -30 bad length field;
 *         -31 nothing available.
 */
QUORRIN_API int8_t tlvGetLengthValue(const uint8_t* buffer, uint16_t available,
                                     uint8_t* lengthFieldSize, uint16_t* valueLen);

/**
 * Reads the data object at the start of a buffer; its size is the sum of the three out values.
 * @return 0 primitive, 1 constructed; -30 bad length or value; -31 bad tag; -32 nothing available.
 */
QUORRIN_API int8_t tlvGetTLV(const uint8_t* buffer, uint16_t available, uint8_t* tagLen,
                             uint8_t* lengthFieldSize, uint16_t* valueLen);

/**
 * Finds a tag anywhere in a TLV string of at most 256 bytes, inside templates too.
 * @param out     receives the first value; 256 bytes hold any.
 * @param outLen  receives its length.
 * @return 0 found; 1 not found; -30 found twice (never for 9F18: the search ends at its first one);
 *         -31 malformed, or above 256 bytes.
 */
QUORRIN_API int8_t tlvGetTLVDataInString(const uint8_t* string, uint16_t length, const uint8_t* tag,
                                         uint8_t tagLen, uint8_t* out, uint16_t* outLen);

/**
 * Checks a whole TLV string, templates included. 00 and FF between objects are padding.
 * @return 0 well formed (also when empty), -30 malformed.
 */
QUORRIN_API int8_t emvCheckTLVString(const uint8_t* string, uint16_t length);

/**
 * Writes one data object.
 * @param out       sized by the caller: nothing is checked.
 * @param position  where to write; moved past the object.
 * @return 0; 1 for an empty tag or a null pointer, with nothing written.
 */
QUORRIN_API int8_t ucAppendTLV(uint8_t* out, uint32_t* position, const uint8_t* tag, uint8_t tagLen,
                               const uint8_t* value, uint16_t valueLen);

/* ============================== Data object lists ==============================
 *
 * A card lists tags and lengths, the terminal answers with the values (EMV book 3, 5.4), each
 * fitted as emvGetDataElement does. Unknown tags and templates are answered with zeros.
 */

/**
 * Builds the data of a CDOL or DDOL from the store.
 * @param out     sized by the caller: the sum of the listed lengths.
 * @param outLen  receives the number of bytes built, also on an error.
 * @return 0; -29 the store refused (a tag of more than 2 bytes, an unknown format code), or no
 *         output buffer; -30 bad tag; -31 bad length field.
 */
QUORRIN_API int32_t dolPaddingDOL(uint8_t* out, uint16_t* outLen, const uint8_t* dol,
                                  uint16_t dolLen);

/**
 * The same for a PDOL, which gets terminal elements alone: card elements are answered with zeros.
 */
QUORRIN_API int32_t dolPaddingPdol(uint8_t* out, uint16_t* outLen, const uint8_t* dol,
                                   uint16_t dolLen);

/**
 * Whether a list asks for a tag.
 * @return 1 yes, 0 no, -31 bad tag, -30 bad length field.
 */
QUORRIN_API int32_t dolCheckTagInDol(const uint8_t* tag, uint8_t tagLen, const uint8_t* dol,
                                     uint8_t dolLen);

/* ============================== Issuer data and scripts ============================== */

/*
 * The issuer's answer (EMV book 3, 10.9 and 10.10): response code 8A, authorisation code 89,
 * authentication data 91 and issuer scripts, templates 71 and 72.
 *
 * Collected scripts stand in gl_Iss_Script: their number, then each script behind its size in one
 * byte, then one zero byte. Scripts 71 and 72 stand there together, in received order, 256 bytes in
 * all at most.
 *
 * Script results stand in gl_Iss_ScriptRslt, up to 12 entries of 5 bytes counted by
 * gl_Iss_NumScriptRslt (EMV book 4, annex A5): high nibble 0 not performed, 1 failed, 2 successful;
 * low nibble the number of the failing command, 0 when not given, 15 for 15 and more; then the
 * 4-byte script identifier, zeros when the script has none. A failure also sets TVR byte 5 bit 6
 * (scripts 71) or bit 5 (72); processing sets TSI byte 1 bit 3.
 */

/**
 * 1 when emvCheckIssuerScript has stored the current script's identifier 9F18 and noted it in the
 * current result entry; emvScriptProcess clears it before each script.
 */
QUORRIN_API extern uint8_t gl_cScptIDExist;

/**
 * Takes the issuer's answer apart and stores it. 8A and 89 count at its start only, in that order;
 * the first 91 and all scripts are taken from anywhere after. Elements of a wrong length are left
 * out, and so are all scripts when they exceed 256 bytes together.
 * @param data    BER-TLV objects; 00 and FF between them are not padding here.
 * @param length  at most 512; nothing is stored from more.
 * @return 0 always.
 */
QUORRIN_API int32_t emvExtractIssuerData(const uint8_t* data, uint16_t length);

/**
 * Runs the collected scripts of one kind: checks every script, sends the commands of the valid ones
 * to the user's card in ReaderHandle, whatever the card answers to them, and records the outcome in
 * the script results, the TVR and the TSI. Scripts of both kinds count against the limit of 128
 * bytes (EMV book 3, 10.10); those beyond it are not run.
 * @param phase  1 for the scripts 71, 2 for the scripts 72.
 * @return 0 always.
 */
QUORRIN_API int32_t emvScriptProcess(uint8_t phase);

/**
 * Checks one script: a well-formed template 71 or 72 that holds at most one identifier 9F18 and
 * commands 86. Stores the identifier and notes it in the current result entry.
 * @param scriptObject  the whole object with tag and length.
 * @param size          its size in bytes.
 * @return 0 valid; -31 malformed somewhere, -29 malformed content, -28 an object that does not
 *         belong there: these three are recorded in the TVR and in the current result entry; -30
 *         not a script, or not of this size: nothing is recorded.
 */
QUORRIN_API int32_t emvCheckIssuerScript(const uint8_t* scriptObject, uint16_t size);

/**
 * Sends the commands of one script template to the user's card in ReaderHandle and writes the
 * current result entry. Objects other than 9F18 and 86 are stepped over.
 * @param value   the template's value.
 * @param length  its length in bytes.
 * @return 0 all commands sent; -30 a malformed object, -29 a command of less than four bytes; the
 *         commands before it have been sent. -30 also for a null pointer.
 */
QUORRIN_API int32_t emvIssuerCommandProcess(const uint8_t* value, uint16_t length);

/**
 * Marks what a GENERATE AC answers as absent: 9F27, 9F26, 9F36, 9F10 and 9F4B. Clears the card ATC
 * error flag.
 */
QUORRIN_API void emvInitGACData(void);

/* ============================== Application selection ============================== */

/**
 * The applications found by the last directory read: AIDs as upper-case hex text, separated by "|",
 * in the order of the directory, without terminator. An entry without an AID is an empty item; an
 * AID above 20 bytes, or one that does not fit, is left out.
 */
QUORRIN_API extern char gucAidList[200];

/** Number of characters used in gucAidList. */
QUORRIN_API extern uint8_t gucAidListLen;

/** Number of AIDs in gucAidList. */
QUORRIN_API extern uint8_t gucAidNum;

/**
 * Begins a transaction: clears all card and terminal data, selects an application and stores its
 * FCI (EMV book 1, 12.4).
 *
 * Without an AID the first application of the card's directory is taken (see selectByPse); the
 * others are not tried when it is refused. When the directory is empty, or its first entry has no
 * AID, SELECT is sent with an empty name. A directory that ends with a transport failure leaves
 * result 0 and no application selected: look at CARD_STATUS.
 *
 * @param handle  open reader; the card is the one in slot EG_nUserCardType.
 * @param aidHex  AID as hex text with terminator, at most 255 characters. An odd last digit is
 *                ignored. Null or empty: by the directory.
 * @return 0; -14 for a longer text, with nothing cleared or sent; -107 when the FCI is malformed or holds an element that the store refuses; -40000 when
 *         the card's payment system environment names no directory; else a code of
 *         TransRetCodeNoMsg.
 */
QUORRIN_API int64_t emvSelectAid(int64_t handle, const char* aidHex);

/**
 * Selects the payment system environment "1PAY.SYS.DDF01" and reads its directory into gucAidList
 * (EMV book 1, 12.3.2). The list is cleared once the card has accepted the selection. The first
 * record that the card refuses ends the directory; the status word is 90 00 then. So does a record
 * that is lost on the way; CARD_STATUS keeps the reader's result then.
 * @param handle   open reader; the card is the one in slot EG_nUserCardType.
 * @param listOut  receives a copy of gucAidList, up to 200 characters without terminator: zero it
 *                 first.
 * @return 0; -106 when the answer does not hold DF name (84) and SFI (88) once each; -14 for a null
 *         buffer; else a code of TransRetCodeNoMsg.
 */
QUORRIN_API int64_t selectByPse(int64_t handle, char* listOut);

/**
 * Appends the applications of one directory record (EMV book 1, 12.2.3) to gucAidList.
 * @return 0, also for length 0; -107 when the record is malformed or null; applications before the
 *         fault stay.
 */
QUORRIN_API int64_t emvProcessSFIofDDF(const uint8_t* record, uint16_t length);

/**
 * Appends the applications that a quick PBOC card names in its directory FCI (entries 61 in BF0C)
 * to gucAidList, without clearing it. Nothing is sent to the card.
 * @param fci  the FCI as bytes, from its 6F on.
 * @return 0, or a positive code: 216 malformed or null; 212 no FCI template (6F), or length 0; 213
 *         no DF name (84) at its start; 214 no proprietary template (A5), or no or empty issuer
 *         discretionary data (BF0C).
 */
QUORRIN_API int64_t qPBOCProcessDDF(const uint8_t* fci, uint16_t length);

/* ==================== Processing options and record reading ==================== */

/*
 * Keyed value text: items of a key letter, three decimal digits that count the characters of the
 * value, and the value: hex digits, or raw text. Spaces before an item are ignored.
 *
 *     P012000000001000S006250101T00200
 */

/** Row of a key table. A host's own table ends with a row whose key is a space. */
typedef struct QuorrinKeyRow {
    char key;
    uint8_t tag[3];      /**< left-aligned */
    uint8_t tagLen;      /**< 1 or 2 */
    uint8_t hexFlag;     /**< 1: the value travels as hex digits; 0: raw */
    uint8_t getDataFlag; /**< 1: the element is fetched with GET DATA */
} QuorrinKeyRow;

/**
 * Keys of terminal data, without an end row:
 *     P  9F02  amount, authorised           12 digits
 *     Q  9F03  amount, other                12 digits
 *     R  5F2A  transaction currency code     4 digits
 *     S  9A    transaction date              6 digits, YYMMDD
 *     T  9C    transaction type              2 digits
 *     U  9F21  transaction time              6 digits, HHMMSS
 *     V  9F4E  merchant name and location    1 to 255 characters, raw
 */
QUORRIN_API extern const QuorrinKeyRow TagMapPDolTerData[7];

/**
 * The first three characters of a text as a decimal number; 0 when they are not all digits, and for
 * a null text.
 */
QUORRIN_API int32_t strToInt(const char* text);

/**
 * Looks a key letter up.
 * @param row    receives the index of its row.
 * @param table  one of the library's tables, or a host's own of at most 256 rows.
 * @return 0 found; 1 not found, or row or table is null: row is left alone.
 */
QUORRIN_API int32_t getTagMapSub(uint8_t key, uint8_t* row, const QuorrinKeyRow* table);

/**
 * Stores the value of one item of keyed value text. An odd number of hex digits gets a leading
 * zero; a length of 0, or one that is not all digits, stores nothing. Lengths above 255 count
 * modulo 256. Where the text ends before the length is reached, the missing hex digits count as
 * digits 0 and the missing characters of a raw value as bytes 00.
 * @return 0; -31 for an unknown key, an empty item or a null pointer; else the code of
 *         emvSetDataElement.
 */
QUORRIN_API int32_t parsBankTagList(const char* item, const QuorrinKeyRow* table);

/**
 * Stores the items of a keyed value text up to the first one that fails.
 * @return 0, also for an empty or null text; 1 when an item failed, as every one does without a
 *         table.
 */
QUORRIN_API int32_t setTermPDolData(const char* text, const QuorrinKeyRow* table);

/** Sets the terminal transaction qualifiers (9F66) to F4 00 00 00 when they are absent. */
QUORRIN_API void setTermDataBeforeGPO(void);

/**
 * Sends GET PROCESSING OPTIONS (EMV book 3, 6.5.8) with the data that the card's PDOL asks for, and
 * stores AIP and AFL.
 * @param handle  open reader; the card is the one in slot EG_nUserCardType.
 * @param text    terminal data as keyed value text, or null. A bad item ends it without an error.
 * @param table   key table of the text.
 * @return 0, or -107 when the PDOL data cannot be built or emvExtractAipAfl does not take the
 *         answer, which leaves stored what it says there. A card's refusal is -107 too; its status
 *         word is in CARD_SW1 and CARD_SW2. From 254 bytes of PDOL data on, the lengths in the
 *         command wrap and the card gets a part of the data.
 */
QUORRIN_API int64_t emvGPO(int64_t handle, const char* text, const QuorrinKeyRow* table);

/**
 * Stores AIP and AFL from an answer to GET PROCESSING OPTIONS, format 1 (80) or format 2 (77). A
 * format 2 answer may lack them. Padding (00, FF) before the answer is skipped.
 *
 * In format 1 an older value does not keep its bytes: with -30 the AIP is the new one and the AFL
 * the older one; with -29 the AIP is the new one, and so are the AFL's first bytes, as many as have
 * come, while its length stays the older one's.
 *
 * @return 0; -27 another template; -28 a format 2 answer that is malformed or holds an element that
 *         the store refuses, the elements before it being stored; -29 format 1, an AFL was present
 *         before; -30 format 1, an AIP was present before; -31 empty or null, at least as many
 *         padding bytes as bytes after them, or format 1 malformed, shorter than 6 bytes in all or
 *         than 2 in its value.
 */
QUORRIN_API int32_t emvExtractAipAfl(const uint8_t* response, uint16_t length);

/**
 * Reads every record that the stored AFL names (EMV book 3, 10.2) into the store. A record that the
 * card refuses, or that is lost on the way, ends its AFL entry, nothing more.
 * @param handle  open reader; the card is the one in slot EG_nUserCardType.
 * @return 0, or -107 when a record is malformed or holds an element that the store refuses.
 */
QUORRIN_API int64_t emvReadICCard(int64_t handle);

/* ============================== Card holder information ============================== */

/**
 * Keys of card holder data, without an end row. Those marked * are fetched with GET DATA from the
 * card in ReaderHandle, whatever handle the operation was given.
 *     A   5A    PAN                              hex digits
 *     B   5F20  card holder name                 raw
 *     C   9F62  card holder ID type              hex digits
 *     D   9F61  card holder ID number            raw
 *     E*  9F79  electronic cash balance          hex digits
 *     F*  9F77  electronic cash balance limit    hex digits
 *     G*  9F78  single transaction limit         hex digits
 *     H   9F42  application currency code        hex digits
 *     I   5F24  application expiration date      hex digits, YYMMDD
 *     J   5F34  PAN sequence number              hex digits
 *     K   57    track 2 equivalent data          hex digits
 *     L   9F1F  track 1 discretionary data       raw
 */
QUORRIN_API extern const QuorrinKeyRow TagMapgetIccInfo[12];

/**
 * Reads card holder data in one call: selects the application, gets its processing options without
 * terminal data, reads its records and packs what the host asks for.
 * @param handle     open reader; the card is the one in slot EG_nUserCardType. Keys E, F and G are
 *                   fetched from the card in ReaderHandle instead.
 * @param aidHex     as for emvSelectAid.
 * @param keys, out  as for packUserInfo.
 * @return 0; -14 for null keys or out, with nothing sent; else the failure of emvSelectAid, emvGPO
 *         or emvReadICCard.
 */
QUORRIN_API int64_t getIccInfo(int64_t handle, const char* aidHex, const char* keys, char* out);

/**
 * Packs stored elements as keyed value text, in the order of the key letters. Unknown letters and
 * absent elements are left out, as is an item that does not fit. Keys E, F and G are first fetched
 * from the card in ReaderHandle with emvGetDataCmd; when that fails, a value stored before counts.
 * @param keys  letters of TagMapgetIccInfo, with terminator.
 * @param out   up to 2048 characters, without terminator: zero it first.
 * @return 0; nothing is fetched or written when keys or out is null.
 */
QUORRIN_API int32_t packUserInfo(const char* keys, char* out);

/**
 * Fetches one element with GET DATA (EMV book 3, 6.5.7) into the store, from the card in slot
 * EG_nUserCardType of ReaderHandle.
 * @return 0; -107 for a null tag, a tag length other than 1 or 2, or an answer that is malformed or
 *         that the store refuses; else a code of TransRetCodeNoMsg.
 */
QUORRIN_API int32_t emvGetDataCmd(const uint8_t* tag, uint8_t tagLen);

/* ============================== First GENERATE AC ============================== */

/**
 * 1 once getARQC has succeeded; never cleared afterwards. ARPCExeScript refuses any other value.
 */
QUORRIN_API extern uint8_t gucGetArqcFlag;

/**
 * Runs a transaction up to the first GENERATE AC: selection, GET PROCESSING OPTIONS, records,
 * cryptogram.
 * @param terminalData  keyed value text with the transaction's terminal data for TagMapPDolTerData;
 *                      null for none.
 * @param aidHex        AID as hex text; null or empty takes the first application of the card's
 *                      directory.
 * @param cryptogram    receives the application cryptogram, 16 hex characters.
 * @param cdol2         receives the card's CDOL2 itself, a list of tags and lengths, as hex text of
 *                      up to 504 characters; left alone when the card has none.
 * @return 0 when the card gave a cryptogram of any kind (look at 9F27); the codes of emvSelectAid,
 *         emvGPO, emvReadICCard and emvGACFrist. On failure both texts are left alone.
 */
QUORRIN_API int64_t getARQC(int64_t handle, const char* terminalData, const char* aidHex,
                            char* cryptogram, char* cdol2);

/**
 * Asks the card for an ARQC (EMV book 3, 6.5.5) with the data that its CDOL1 lists, and stores what
 * it answers.
 * @return 0; 238 when the card has no CDOL1; 208 when the data exceed 256 bytes or the answer
 *         cannot be read; else the code of the card's refusal.
 */
QUORRIN_API int64_t emvGACFrist(int64_t handle);

/** Does nothing: the second GENERATE AC is not part of this library's transactions. */
QUORRIN_API void emvGACSecond(void);

/* ============================== Issuer's answer ============================== */

/**
 * Takes the issuer's answer to the card after a successful getARQC: stores it, sends EXTERNAL
 * AUTHENTICATE, runs the scripts 71 and then the scripts 72.
 * @param handle      reader handle for EXTERNAL AUTHENTICATE; scripts go to ReaderHandle.
 * @param unused      not read.
 * @param issuerText  the issuer's answer as hex text of at most 1024 characters (see
 *                    emvExtractIssuerData).
 * @return -120 when no ARQC was obtained, -14 for a null text, -23 for one that is too long; else
 *         0, whatever the card answers: the TVR, the TSI and the script results say what happened.
 */
QUORRIN_API int64_t ARPCExeScript(int64_t handle, int64_t unused, const char* issuerText);

/**
 * Sends EXTERNAL AUTHENTICATE (EMV book 3, 6.5.4) with the stored authentication data 91, or with
 * none when there are none.
 * @return 0, or the code of the card's refusal.
 */
QUORRIN_API int64_t emvExternalAuthenticate(int64_t handle);

/* ============================== Transaction log ============================== */

/** Which of a card's logs GetIcBankCardTrDetail reads. */
enum QuorrinLogType {
    QUORRIN_TRANSACTION_LOG = 1, /**< format 9F4F, entry 9F4D; any number but 2 does the same */
    QUORRIN_LOAD_LOG = 2         /**< format DF4F, entry DF4D */
};

/**
 * Reads the card's transaction log as text: the length of the first record's text in three digits,
 * then the texts of all records read, back to back (see PackTrsData). The data element store is
 * left alone.
 * @param logType   a QuorrinLogType.
 * @param selector  1 to 10 reads that record only; 0 or more than 10 reads all; negative reads
 *                  none.
 * @param aidHex    AID as hex text; null or empty takes the first application of the card's
 *                  directory. Fewer than 100 characters, and at most 20 bytes.
 * @param out       zeroed by the caller; 128 characters a record do for merchant names of 20 bytes,
 *                  255 in any case, and three more for the length.
 * @return 0, also when nothing is selected or the log is empty; -14 for a null buffer, for an AID
 *         text of 100 characters or more, with nothing sent, and for an AID of more than 20 bytes
 *         that the card has accepted; -106 when the application names no log; -107 when a record cannot be formatted; else the code of
 *         the card's refusal. What was read before a failure stays in the text.
 */
QUORRIN_API int64_t GetIcBankCardTrDetail(int32_t logType, int64_t handle, int32_t selector,
                                          const char* aidHex, char* out);

/**
 * Formats one log record as text of 88 characters and two a byte of the merchant name:
 *
 *   position  text
 *   0         P 012 and the amount authorised (9F02), 12 digits
 *   16        Q 012 and the other amount (9F03), 12 digits
 *   32        R 004 and the currency code (5F2A), 4 digits
 *   40        S 006 and the date (9A) with century 20, 8 digits
 *   52        T 001 and the transaction type (9C), 2 digits
 *   58        U 003 and the time (9F21), 6 digits
 *   68        V 004 and the terminal country code (9F1A), 4 digits
 *   76        W, the number of bytes n in three digits and the merchant name (9F4E), 2n hex digits
 *   80 + 2n   X 002 and the application transaction counter (9F36), 4 hex digits
 *
 * A field that the format does not name is zeros. A merchant name of more than 83 bytes garbles the
 * text, whose length and positions are kept in 8 bits.
 *
 * @param format     the card's answer to GET DATA for its log format: 9F4F with a list of tags and
 *                   lengths.
 * @param record     the card's answer to READ RECORD; as many bytes are read as the format names.
 * @param recordLen  not used.
 * @param out        255 characters do in any case; no terminator is written.
 * @param outLen     receives the number of characters.
 * @return 0; -107 for a format that is malformed or gives a field another length than it must have,
 *         and for a null pointer; nothing is written then.
 */
QUORRIN_API int64_t PackTrsData(const uint8_t* format, uint32_t formatLen, const uint8_t* record,
                                uint32_t recordLen, char* out, uint32_t* outLen);

/* ============================== PAN and name ============================== */

/**
 * Reads card number and card holder name all by itself: opens the reader, finds and powers the
 * card, selects the first application of its directory, reads the records, powers the card down and
 * closes the reader.
 * @param cardKind  a QuorrinUserCard. With contactless first (see FindUserCard) the contact card is
 *                  tried after -2 and -4 alone; after another failure the commands go to the
 *                  contactless slot.
 * @param port      kept in EG_port.
 * @param pan       at least 21 bytes, zeroed by the caller; receives the PAN as hex text, up to
 *                  20 characters; left alone when there is none.
 * @param panLen    receives the number of digits of a PAN that ends with an "F" pad, which becomes
 *                  the terminator. It is left alone otherwise: preset it.
 * @param name      receives the name's bytes, up to 252, without terminator; left alone when there
 *                  is none.
 * @param nameLen   receives the name's length, 0 when there is none.
 * @return 0. With the reader not touched: -1 for another card kind, -14 for a null pointer. With
 *         the reader closed: a code of icBandkCardPowerUp. With the reader open and the card
 *         powered, to be ended with CloseAllDevice: a failure of getIcAPNName.
 */
QUORRIN_API int32_t ICRT_GetICPanName(int32_t cardKind, int32_t port, char* pan, int32_t* panLen,
                                      uint8_t* name, uint8_t* nameLen);

/**
 * The same on a card that is powered already. Lines "getIcAPNName N" on standard output tell how
 * far it came: N is 1596 at the selection (1601 it failed), 1605 at the processing options (1609
 * they failed).
 * @param handle  open reader; the card is the one in slot EG_nUserCardType.
 * @return 0; -14 for a null pointer, with nothing sent; else the failure of emvSelectAid, emvGPO or
 *         emvReadICCard.
 */
QUORRIN_API int64_t getIcAPNName(int64_t handle, char* pan, int32_t* panLen, uint8_t* name,
                                 uint8_t* nameLen);

#ifdef __cplusplus
}
#endif

/* ============================== Functions with C++ symbols ============================== */

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
QUORRIN_API int64_t icBandkCardPowerUp(int32_t iType, char* msg)
    QUORRIN_CXX_SYMBOL("_Z18icBandkCardPowerUpiPc");

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
QUORRIN_API int32_t GetDevName(char* name) QUORRIN_CXX_SYMBOL("_Z10GetDevNamePc");

/** Removes leading bytes ch from a zero-terminated string, in place. */
QUORRIN_API void TrimLeft(uint8_t* s, uint8_t ch) QUORRIN_CXX_SYMBOL("_Z8TrimLeftPhh");

/** Removes trailing bytes ch from a zero-terminated string, in place. */
QUORRIN_API void TrimRight(uint8_t* s, uint8_t ch) QUORRIN_CXX_SYMBOL("_Z9TrimRightPhh");

/** Does nothing and returns 0. */
QUORRIN_API int32_t CreateFolder(char* path) QUORRIN_CXX_SYMBOL("_Z12CreateFolderPc");

#endif
