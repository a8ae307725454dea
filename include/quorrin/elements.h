/*
 * The data elements of terminal and card by tag: the two tables, storing and reading, taking a
 * card's answer apart, resets. The results by name: element_results.h.
 */
#ifndef QUORRIN_ELEMENTS_H
#define QUORRIN_ELEMENTS_H

#include "quorrin/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ============================== Tables ==============================
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
 *         pointer; -31 an element was refused. What came before the fault stays stored.
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

/* ============================== Comparing bytes ============================== */

/**
 * Compares len bytes, len taken modulo 256. A null pointer comes before any bytes and equals
 * another null pointer; without bytes to compare (len 0) everything is equal.
 * @return 0 equal, 1 lhs is greater, 2 lhs is smaller.
 */
QUORRIN_API uint8_t StrCmp(const uint8_t* lhs, const uint8_t* rhs, int32_t len);

#ifdef __cplusplus
}
#endif

#endif
