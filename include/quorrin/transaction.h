/*
 * What a host does with a user's bank card, one call each: card number and name, card holder data,
 * an online purchase up to the cryptogram and back, the card's log.
 *
 * All but the first take the handle of an open reader with a powered card (reader.h). Each begins a
 * new transaction: it selects the application and clears all that the store holds of an earlier
 * one. The steps behind them, one by one, stand in steps.h.
 */
#ifndef QUORRIN_TRANSACTION_H
#define QUORRIN_TRANSACTION_H

#include "quorrin/linkage.h"
#include "quorrin/reader.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ============================== Card number and name ============================== */

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
QUORRIN_API int32_t ICRT_GetICPanName(int32_t cardKind, int32_t port, char pan[21], int32_t* panLen,
                                      uint8_t name[252], uint8_t* nameLen);

/**
 * The same on a card that is powered already. Lines "getIcAPNName N" on standard output tell how
 * far it came: N is 1596 at the selection (1601 it failed), 1605 at the processing options (1609
 * they failed).
 * @param handle  open reader; the card is the one in slot EG_nUserCardType.
 * @return 0; -14 for a null pointer, with nothing sent; else the failure of emvSelectAid, emvGPO or
 *         emvReadICCard.
 */
QUORRIN_API int64_t getIcAPNName(int64_t handle, char pan[21], int32_t* panLen, uint8_t name[252],
                                 uint8_t* nameLen);

/* ============================== Keyed value text ============================== */

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

/* ============================== Card holder data ============================== */

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

/* ============================== An online transaction ============================== */

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
                            char cryptogram[16], char cdol2[504]);

/**
 * 1 once getARQC has succeeded; never cleared afterwards. ARPCExeScript refuses any other value.
 */
QUORRIN_API extern uint8_t gucGetArqcFlag;

/**
 * Takes the issuer's answer to the card after a successful getARQC: stores it, sends EXTERNAL
 * AUTHENTICATE, runs the scripts 71 and then the scripts 72.
 * @param handle      reader handle for EXTERNAL AUTHENTICATE; scripts go to ReaderHandle.
 * @param unused      not read.
 * @param issuerText  the issuer's answer as hex text of at most 1024 characters (see
 *                    emvExtractIssuerData).
 *
 * What the card answers is not in the result:
 *   - An issuer's cryptogram (91) that the card rejects leaves result, TVR, TSI and script results
 *     as they were. Without scripts its refusal stands in CARD_SW1 and CARD_SW2 (6300); the last
 *     online ATC register (9F13, see emvGetDataCmd) stays where it was. A host that must know for
 *     sure takes the steps singly: emvExtractIssuerData, emvExternalAuthenticate, whose result is
 *     the card's answer, and emvScriptProcess(1) and (2).
 *   - Scripts that were not sent whole set the TVR, all of them the TSI and the script results.
 *     What the card answers to their commands is not recorded.
 *
 * @return -120 when no ARQC was obtained, -14 for a null text, -23 for one that is too long; else
 *         0, whatever the card answers.
 */
QUORRIN_API int64_t ARPCExeScript(int64_t handle, int64_t unused, const char* issuerText);

/* ============================== The log of the card ============================== */

/** Which of a card's logs GetIcBankCardTrDetail reads. */
enum QuorrinLogType {
    QUORRIN_TRANSACTION_LOG = 1, /**< format 9F4F, entry 9F4D; any number but 2 does the same */
    /** Format DF4F, entry DF4D. The card has to answer GET DATA DF4F with an object 9F4F: one that
        answers with DF4F, its own tag, is refused with -107 when a record is read. */
    QUORRIN_LOAD_LOG = 2
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
 *         that the card has accepted; -106 when the application names no log; -107 when a record
 *         cannot be formatted; else the code of the card's refusal. What was read before a failure
 *         stays in the text.
 */
QUORRIN_API int64_t GetIcBankCardTrDetail(int32_t logType, int64_t handle, int32_t selector,
                                          const char* aidHex, char* out);

#ifdef __cplusplus
}
#endif

#endif
