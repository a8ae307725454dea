/*
 * The steps of a transaction, in the order in which transaction.h takes them. A host calls them
 * singly to set terminal data between two of them: an unpredictable number, a country code. The
 * results by name: results.h, and element_results.h for those that mean something else elsewhere.
 */
#ifndef QUORRIN_STEPS_H
#define QUORRIN_STEPS_H

#include "quorrin/transaction.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ============================== Application selection ============================== */

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
 * @return 0; -14 for a longer text, with nothing cleared or sent; -107 when the FCI is malformed or
 *         holds an element that the store refuses; -40000 when the card's payment system
 *         environment names no directory; else a code of TransRetCodeNoMsg.
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
QUORRIN_API int64_t selectByPse(int64_t handle, char listOut[200]);

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

/* ============================== Terminal data as text ============================== */

/**
 * Stores the items of a keyed value text up to the first one that fails.
 * @return 0, also for an empty or null text; 1 when an item failed, as every one does without a
 *         table.
 */
QUORRIN_API int32_t setTermPDolData(const char* text, const QuorrinKeyRow* table);

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
 * Looks a key letter up.
 * @param row    receives the index of its row.
 * @param table  one of the library's tables, or a host's own of at most 256 rows.
 * @return 0 found; 1 not found, or row or table is null: row is left alone.
 */
QUORRIN_API int32_t getTagMapSub(uint8_t key, uint8_t* row, const QuorrinKeyRow* table);

/**
 * The first three characters of a text as a decimal number; 0 when they are not all digits, and for
 * a null text.
 */
QUORRIN_API int32_t strToInt(const char* text);

/* ============================== Processing options and records ============================== */

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

/* ============================== Card holder data ============================== */

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

/* ============================== GENERATE AC ============================== */

/**
 * Asks the card for an ARQC (EMV book 3, 6.5.5) with the data that its CDOL1 lists, and stores what
 * it answers.
 * @return 0; 238 when the card has no CDOL1; 208 when the data exceed 256 bytes or the answer
 *         cannot be read; else the code of the card's refusal.
 */
QUORRIN_API int64_t emvGACFrist(int64_t handle);

/**
 * Marks what a GENERATE AC answers as absent: 9F27, 9F26, 9F36, 9F10 and 9F4B. Clears the card ATC
 * error flag.
 */
QUORRIN_API void emvInitGACData(void);

/** Does nothing: the second GENERATE AC is not part of this library's transactions. */
QUORRIN_API void emvGACSecond(void);

/* ============================== The issuer's answer and its scripts ==============================
 *
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
 * Takes the issuer's answer apart and stores it. 8A and 89 count at its start only, in that order;
 * the first 91 and all scripts are taken from anywhere after. Elements of a wrong length are left
 * out, and so are all scripts when they exceed 256 bytes together.
 * @param data    BER-TLV objects; 00 and FF between them are not padding here.
 * @param length  at most 512; nothing is stored from more.
 * @return 0 always.
 */
QUORRIN_API int32_t emvExtractIssuerData(const uint8_t* data, uint16_t length);

/**
 * Sends EXTERNAL AUTHENTICATE (EMV book 3, 6.5.4) with the stored authentication data 91, or with
 * none when there are none.
 * @return 0, or the code of the card's refusal.
 */
QUORRIN_API int64_t emvExternalAuthenticate(int64_t handle);

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
 * 1 when emvCheckIssuerScript has stored the current script's identifier 9F18 and noted it in the
 * current result entry; emvScriptProcess clears it before each script.
 */
QUORRIN_API extern uint8_t gl_cScptIDExist;

/* ============================== Log records ============================== */

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
                                uint32_t recordLen, char out[255], uint32_t* outLen);

#ifdef __cplusplus
}
#endif

#endif
