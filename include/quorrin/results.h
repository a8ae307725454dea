/*
 * The results of the library's operations by name. All are plain integers; 0 is success.
 *
 * The last words of each line say what a host does next: mend the call, try again, go on or end.
 * "End" means that this card or this transaction leads no further: take the reader down with
 * CloseAllDevice and tell the card holder.
 *
 * TransRetCode gives the message of a device, library or refusal code. Flow codes have none: it
 * takes them for unknown.
 */
#ifndef QUORRIN_RESULTS_H
#define QUORRIN_RESULTS_H

#include "quorrin/device_codes.h"    /* 0 and -1 to -15: the reader and its slots */
#include "quorrin/element_results.h" /* elements, BER-TLV, lists, scripts: by function */
#include "quorrin/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Data, PIN entry and security module (PSAM). Some are codes that this library gives a text, but
 * never returns by itself: they come from programs around it.
 */
enum QuorrinLibraryCode {
    /** Card identifier or specification version of a wrong format. End. */
    QUORRIN_CARD_ID_FORMAT = -20,
    /** The card could not be authenticated, or status word 6300: after EXTERNAL AUTHENTICATE the
        card rejects the issuer's cryptogram. Go on where the operation says so, else end. */
    QUORRIN_AUTHENTICATION_FAILED = -21,
    /** The data passed in are not those of the card. Mend the call. */
    QUORRIN_DATA_NOT_OF_CARD = -22,
    /** The data passed in are not valid, or status word 6A86, 6B00, 6E00 or 6F00. Mend the call. */
    QUORRIN_DATA_NOT_VALID = -23,
    /** The key level of the PSAM is too low. End. */
    QUORRIN_PSAM_KEY_LEVEL = -24,
    /** The card has no such file or data item. Go on without it, or end. */
    QUORRIN_ITEM_NOT_IN_CARD = -25,
    /** The card holder cancelled the PIN entry. End. */
    QUORRIN_PIN_ENTRY_CANCELLED = -31,
    /** The PIN entry took too long. Try again. */
    QUORRIN_PIN_ENTRY_TIMED_OUT = -32,
    /** The PIN has a wrong length. Try again. */
    QUORRIN_PIN_LENGTH = -33,
    /** The two PINs entered differ. Try again. */
    QUORRIN_PINS_DIFFER = -34,
    /** The initial PIN is not good for transactions. End: it must be changed first. */
    QUORRIN_INITIAL_PIN = -35,
    /** The PIN cannot be changed to the initial one. Try again with another. */
    QUORRIN_NOT_TO_INITIAL_PIN = -36,
    /** The data to compute with hold illegal characters. Mend the call. */
    QUORRIN_ILLEGAL_CHARACTERS = -41,
    /** The data to compute with have a wrong length. Mend the call. */
    QUORRIN_COMPUTED_DATA_LENGTH = -42,
    /** Wrong PIN; the status word 63Cx in CARD_SW2 counts the tries left. Try again. */
    QUORRIN_PIN_CHECK_FAILED = -51,
    /** The PIN is blocked. End. */
    QUORRIN_PIN_BLOCKED = -52,
    /** There is no PSAM. End. */
    QUORRIN_NO_PSAM = -2201,
    /** The PSAM does not know the algorithm. End. */
    QUORRIN_PSAM_ALGORITHM = -2202,
    /** The PSAM has no such key. End. */
    QUORRIN_PSAM_KEY_MISSING = -2203,
    /** No authentication by a security module is needed. Go on. */
    QUORRIN_NO_HSM_NEEDED = -2204,
    /** A code or status word without a row of its own, or status word 6400. End. */
    QUORRIN_UNKNOWN = -40000
};

/**
 * The card refused a command: its status word as a code, in most cases the negated status word.
 * Where several status words share a code, CARD_SW1 and CARD_SW2 tell them apart.
 */
enum QuorrinRefusalCode {
    /** 63C2: external authentication failed, two tries left. Mend the cryptogram, try again. */
    QUORRIN_TWO_TRIES_LEFT = -25536,
    /** 63C1: external authentication failed, one try left. Mend the cryptogram, try again. */
    QUORRIN_ONE_TRY_LEFT = -25537,
    /** 6700: wrong Lc or Le. Mend the call. */
    QUORRIN_WRONG_LENGTH = -26368,
    /** 6283, 6581, 6900, 6901, 6986: the card's state does not admit the command. End. */
    QUORRIN_COMMAND_NOT_ACCEPTED = -26881,
    /** 6284, 6981: not a command for this file. Mend the call. */
    QUORRIN_WRONG_FILE_TYPE = -27009,
    /** 6882, 6982, 6987: a PIN, a key or secure messaging is needed first. Mend the call. */
    QUORRIN_SECURITY_NOT_SATISFIED = -27010,
    /** 63C0, 6983: the key or PIN is blocked. End. */
    QUORRIN_KEY_BLOCKED = -27011,
    /** 6984: the data referred to, or the random number, are not valid. Try again. */
    QUORRIN_REFERENCE_DATA_NOT_VALID = -27012,
    /** 6200, 6281, 6282, 6985, 6A84, 9301, 9401: the conditions of use are not met, the application
        is blocked or not selected. End; another application of the card may do. */
    QUORRIN_CONDITIONS_NOT_SATISFIED = -27013,
    /** 6988: a secure messaging object or its MAC is wrong. Mend the command. */
    QUORRIN_SECURE_MESSAGING_WRONG = -27016,
    /** 6A80: wrong command data. Mend the call. */
    QUORRIN_COMMAND_DATA_WRONG = -27264,
    /** 6A81: not supported, or card or application blocked. End. */
    QUORRIN_FUNCTION_NOT_SUPPORTED = -27265,
    /** 6A82: no such file or application. Go on with another, or end. */
    QUORRIN_FILE_NOT_FOUND = -27266,
    /** 6A83: no such record. Go on: this is how a file ends. */
    QUORRIN_RECORD_NOT_FOUND = -27267,
    /** 6A88: no such data or key. Go on without, or end. */
    QUORRIN_DATA_NOT_FOUND = -27272,
    /** 9302: wrong MAC. Mend the command. */
    QUORRIN_WRONG_MAC = -37634,
    /** 9303, 9408: application or card are blocked for good. End. */
    QUORRIN_PERMANENTLY_BLOCKED = -37635,
    /** 9403: the PSAM does not support purchases. End. */
    QUORRIN_PSAM_NO_PURCHASE = -37891,
    /** 9402, 9406: the MAC or TAC asked for is not available. End. */
    QUORRIN_MAC_NOT_AVAILABLE = -37894
};

/**
 * What the bank card operations report of themselves. Those that are positive count as failures
 * too: test for non-zero.
 */
enum QuorrinFlowCode {
    /** The card's answer lacks something that the next step needs: the application has no log, the
        directory names no file. End. */
    QUORRIN_OBJECT_MISSING = -106,
    /** An answer of the card, or what would be sent to it, is malformed or does not fit; the card's
        refusal of GET PROCESSING OPTIONS too (see CARD_SW1 and CARD_SW2). End. */
    QUORRIN_DATA_MALFORMED = -107,
    /** The issuer's answer comes without an ARQC before it. Mend the order: call getARQC first. */
    QUORRIN_NO_ARQC = -120,
    /** The first GENERATE AC gives no cryptogram: its data exceed 256 bytes, or the answer cannot
        be read. End. */
    QUORRIN_NO_CRYPTOGRAM = 208,
    /** A directory FCI that does not begin with a template 6F. Mend the call. */
    QUORRIN_NO_FCI_TEMPLATE = 212,
    /** A directory FCI without a DF name (84) first. Mend the call. */
    QUORRIN_NO_DF_NAME = 213,
    /** A directory FCI without entries. Go on without a list, or end. */
    QUORRIN_NO_DIRECTORY_ENTRIES = 214,
    /** A directory FCI that is malformed or missing. Mend the call. */
    QUORRIN_FCI_MALFORMED = 216,
    /** The card has no CDOL1: it does not take part in such transactions. End. */
    QUORRIN_NO_CDOL1 = 238
};

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
QUORRIN_API int64_t TransRetCode(int64_t code, char text[73]);

/** As TransRetCode, without text and without logging. */
QUORRIN_API int64_t TransRetCodeNoMsg(int64_t code);

#ifdef __cplusplus
}
#endif

#endif
