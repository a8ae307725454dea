/*
 * The results of the functions below the bank card operations: data elements, BER-TLV, lists of data
 * objects, processing options, scripts. The same number means something else for each group, so a
 * result has a name only together with the function that gave it; TransRetCode knows none of them.
 *
 * 0 is success. The last words of each line say what a host does next, as in results.h. Where card
 * or issuer sent what is malformed there is nothing to mend: a host ends, or goes on without it.
 */
#ifndef QUORRIN_ELEMENT_RESULTS_H
#define QUORRIN_ELEMENT_RESULTS_H

#ifdef __cplusplus
extern "C" {
#endif

/* ============================== Data elements by tag ============================== */

/** emvSetDataElement, emvSetDataElementCanChgTempPar and accessors with a raw result. */
enum QuorrinStoreResult {
    /** The row's format code is not known, or no reset has run yet. Call a reset, then try again. */
    QUORRIN_STORE_UNKNOWN_FORMAT = -18,
    /** The length lies outside the element's bounds. Mend the value. */
    QUORRIN_STORE_BAD_LENGTH = -22,
    /** The value was not taken. This library's store never gives it; the walk of an answer and some
        accessors let it pass. Go on. */
    QUORRIN_STORE_NOT_USED = -26,
    /** The element does not belong into this template. Go on without it, or end. */
    QUORRIN_STORE_WRONG_TEMPLATE = -27,
    /** An empty value, or a null pointer. Mend the call. */
    QUORRIN_STORE_NO_VALUE = -28,
    /** A template tag of more than 2 bytes. Mend the call. */
    QUORRIN_STORE_TEMPLATE_TOO_LONG = -29,
    /** A tag of other than 1 or 2 bytes. Mend the call. */
    QUORRIN_STORE_BAD_TAG_LENGTH = -30,
    /** No element has this tag. Go on without it. */
    QUORRIN_STORE_UNKNOWN_ELEMENT = -31
};

/** emvGetDataElement and accessors that read. */
enum QuorrinReadResult {
    /** The value of a card element. Go on. */
    QUORRIN_READ_FROM_CARD = 1,
    /** The value of a terminal element. Go on. */
    QUORRIN_READ_FROM_TERMINAL = 2,
    /** The row's format code is not known. Call a reset, then try again. */
    QUORRIN_READ_UNKNOWN_FORMAT = -18,
    /** No element has this tag. Go on without it. */
    QUORRIN_READ_UNKNOWN_ELEMENT = -30,
    /** A tag of other than 1 or 2 bytes, or a null pointer. Mend the call. */
    QUORRIN_READ_BAD_TAG_LENGTH = -31
};

/** emvCheckTemplate. */
enum QuorrinTemplateResult {
    /** The element does not belong into this template. Go on without it. */
    QUORRIN_TEMPLATE_MISMATCH = -30,
    /** A template tag of more than 2 bytes. Mend the call. */
    QUORRIN_TEMPLATE_TAG_TOO_LONG = -31
};

/** emvGetDataElementState, emvSetDataElementState. */
enum QuorrinStateResult {
    /** A state above 1. Mend the call. */
    QUORRIN_STATE_BAD = -31,
    /** No element has this tag. Go on without it. */
    QUORRIN_STATE_UNKNOWN_ELEMENT = -32
};

/** emvSetDataElementLength. */
enum QuorrinBoundResult {
    /** A selector above 2. Mend the call. */
    QUORRIN_BOUND_BAD_SELECTOR = -30,
    /** No element has this tag. Go on without it. */
    QUORRIN_BOUND_UNKNOWN_ELEMENT = -31
};

/** emvExtractDataElement, emvExtractDataTemplate. What came before the fault stays stored. */
enum QuorrinWalkResult {
    /** The answer is malformed, or a template's tag too long; a null pointer. End. */
    QUORRIN_WALK_MALFORMED = -30,
    /** The store refused an element, or a tag could not be looked up. End. */
    QUORRIN_WALK_REFUSED = -31
};

/* ============================== Data elements by name ============================== */

/** The accessors of accessors.h, beside the results of the store that they pass on. */
enum QuorrinAccessorResult {
    /** There is nothing to deliver. Go on without it. */
    QUORRIN_ACCESSOR_ABSENT = 0,
    /** A value was delivered. Go on. */
    QUORRIN_ACCESSOR_DELIVERED = 1,
    /** emvSetAIP, emvSetAFL: there was one before, which is overwritten all the same. Go on. */
    QUORRIN_ACCESSOR_WAS_PRESENT = 1,
    /** emvGetCardATC, emvGetRandNum, which give 0 on delivery: there is none. Go on without it. */
    QUORRIN_ACCESSOR_NONE = 1,
    /** emvCheckBitValue: a null pointer. Mend the call. */
    QUORRIN_ACCESSOR_NO_BUFFER = 2,
    /** emvGetCardDDAVer: fewer than 8 bytes (9F69). Go on without it. */
    QUORRIN_ACCESSOR_TOO_SHORT = 2,
    /** A null pointer, or a value that may not be set. Mend the call. */
    QUORRIN_ACCESSOR_REFUSED = 49,
    /** The tables have no such element. Go on without it. */
    QUORRIN_ACCESSOR_UNKNOWN_ELEMENT = 50,
    /** emvGetTDOL: the card has no TDOL. Go on with the terminal's own. */
    QUORRIN_ACCESSOR_NO_TDOL = 52,
    /** emvGetTDOL: a state other than absent and present, which only a host sets. Mend the state. */
    QUORRIN_ACCESSOR_BAD_STATE = 53,
    /** emvGetPinReTry: the card has not told its tries left. Go on: ask it with GET DATA (9F17). */
    QUORRIN_ACCESSOR_NOT_KNOWN = -1,
    /** emvGetCVMListCVR: an item other than 1 to 3. Mend the call. */
    QUORRIN_ACCESSOR_BAD_ITEM = -29,
    /** No such CVM rule; emvSetIssScrptRsltID: all 12 entries are used. Go on: the list has ended. */
    QUORRIN_ACCESSOR_BAD_INDEX = -31,
    /** emvSetTransDate, emvSetTransTime: a length other than 3. Mend the call. */
    QUORRIN_ACCESSOR_BAD_LENGTH = -31,
    /** A selector or item that does not exist. Mend the call. */
    QUORRIN_ACCESSOR_BAD_SELECTOR = -32,
    /** emvGetCVMListCVR: a CVM list of an odd length. End: the card's data are malformed. */
    QUORRIN_ACCESSOR_ODD_LENGTH = -32,
    /** emvGetSignDynAppData: nothing was signed. Go on without it. */
    QUORRIN_ACCESSOR_NOTHING_SIGNED = -32
};

/** emvGetIssAppType. */
enum QuorrinIssuerDataResult {
    /** The type is the one that is reserved. Go on as with any other unknown data. */
    QUORRIN_ISSUER_DATA_RESERVED = -29,
    /** Fewer than 7 bytes (9F10). Go on without it. */
    QUORRIN_ISSUER_DATA_TOO_SHORT = -30,
    /** The card gave none. Go on without it. */
    QUORRIN_ISSUER_DATA_NOT_FROM_CARD = -31
};

/* ============================== BER-TLV ============================== */

/** tlvGetTag and tlvGetTLV: what the object is. */
enum QuorrinObjectKind {
    /** A value. Go on. */
    QUORRIN_PRIMITIVE = 0,
    /** A template, whose value is objects. Go on. */
    QUORRIN_CONSTRUCTED = 1
};

/** tlvGetTag. */
enum QuorrinTagResult {
    /** The tag does not end, or has a later byte 00 or 80. End. */
    QUORRIN_TAG_BAD = -30,
    /** Nothing is left. Go on: the string has ended. */
    QUORRIN_TAG_NO_DATA = -31
};

/** tlvGetLength, tlvGetLengthValue. */
enum QuorrinLengthResult {
    /** More than is left; the value is still reported. End, or go on where it is a list. */
    QUORRIN_LENGTH_BEYOND_DATA = -29,
    /** The field is cut short, or of indefinite form (80). End. */
    QUORRIN_LENGTH_BAD = -30,
    /** Nothing is left. End. */
    QUORRIN_LENGTH_NO_DATA = -31
};

/** tlvGetTLV. */
enum QuorrinTlvResult {
    /** The length field is bad, or exceeds what is left. End. */
    QUORRIN_TLV_BAD_LENGTH = -30,
    /** The tag is bad. End. */
    QUORRIN_TLV_BAD_TAG = -31,
    /** Nothing is left. Go on: the string has ended. */
    QUORRIN_TLV_NO_DATA = -32
};

/** tlvGetTLVDataInString. */
enum QuorrinSearchResult {
    /** The tag is not there. Go on without it. */
    QUORRIN_SEARCH_NOT_FOUND = 1,
    /** It stands there twice; the first value was delivered. Go on with it, or end. */
    QUORRIN_SEARCH_FOUND_TWICE = -30,
    /** The string is malformed, or above 256 bytes. End. */
    QUORRIN_SEARCH_MALFORMED = -31
};

/** emvCheckTLVString, ucAppendTLV. */
enum QuorrinStringResult {
    /** ucAppendTLV: an empty tag or a null pointer, nothing written. Mend the call. */
    QUORRIN_STRING_NOTHING_WRITTEN = 1,
    /** emvCheckTLVString: malformed. End. */
    QUORRIN_STRING_MALFORMED = -30
};

/* ============================== Lists of data objects ============================== */

/** dolPaddingDOL, dolPaddingPdol. */
enum QuorrinDolResult {
    /** The store refused: a tag of more than 2 bytes, an unknown format code; or no buffer. End. */
    QUORRIN_DOL_REFUSED = -29,
    /** A bad tag in the list. End. */
    QUORRIN_DOL_BAD_TAG = -30,
    /** A bad length field in the list. End. */
    QUORRIN_DOL_BAD_LENGTH = -31
};

/** dolCheckTagInDol. */
enum QuorrinDolEntryResult {
    /** The list does not ask for the tag. Go on. */
    QUORRIN_DOL_ENTRY_ABSENT = 0,
    /** It does. Go on. */
    QUORRIN_DOL_ENTRY_PRESENT = 1,
    /** A bad length field in the list. End. */
    QUORRIN_DOL_ENTRY_BAD_LENGTH = -30,
    /** A bad tag in the list. End. */
    QUORRIN_DOL_ENTRY_BAD_TAG = -31
};

/* ============================== Steps of a transaction ============================== */

/** parsBankTagList and what goes with it. */
enum QuorrinKeyedTextResult {
    /** setTermPDolData: an item failed; those before it are stored. Mend the text. */
    QUORRIN_KEYED_TEXT_ITEM_FAILED = 1,
    /** getTagMapSub: no such key, or a null pointer. Go on without it. */
    QUORRIN_KEYED_TEXT_KEY_NOT_FOUND = 1,
    /** An unknown key, an empty item or a null pointer. Mend the text. */
    QUORRIN_KEYED_TEXT_UNKNOWN_KEY = -31
};

/** emvExtractAipAfl. */
enum QuorrinOptionsResult {
    /** Neither template 80 nor 77. End. */
    QUORRIN_OPTIONS_UNKNOWN_FORMAT = -27,
    /** Format 2, malformed or with an element that the store refuses. End. */
    QUORRIN_OPTIONS_ELEMENT_REFUSED = -28,
    /** Format 1, with an AFL stored before. Call a reset before the application is selected. */
    QUORRIN_OPTIONS_AFL_PRESENT = -29,
    /** Format 1, with an AIP stored before. Call a reset before the application is selected. */
    QUORRIN_OPTIONS_AIP_PRESENT = -30,
    /** Empty, too short or malformed. End. */
    QUORRIN_OPTIONS_TOO_SHORT = -31
};

/** emvCheckIssuerScript. All but the second are recorded in the TVR and the current result entry. */
enum QuorrinScriptCheckResult {
    /** An object that does not belong into a script. Go on with the next script. */
    QUORRIN_SCRIPT_FOREIGN_OBJECT = -28,
    /** Malformed contents. Go on with the next script. */
    QUORRIN_SCRIPT_MALFORMED_CONTENT = -29,
    /** Not one script template 71 or 72. Go on with the next script. */
    QUORRIN_SCRIPT_NOT_A_SCRIPT = -30,
    /** Malformed somewhere. Go on with the next script. */
    QUORRIN_SCRIPT_MALFORMED = -31
};

/** emvIssuerCommandProcess. The commands before the fault have been sent. */
enum QuorrinScriptRunResult {
    /** A command of less than four bytes. Go on with the next script. */
    QUORRIN_SCRIPT_COMMAND_TOO_SHORT = -29,
    /** A malformed object, or a null pointer. Go on with the next script. */
    QUORRIN_SCRIPT_MALFORMED_TEMPLATE = -30
};

/** GetDevName. */
enum QuorrinPortResult {
    /** No configuration, no port in it, or a null pointer. Go on: the reader library finds one. */
    QUORRIN_PORT_NOT_CONFIGURED = -1
};

#ifdef __cplusplus
}
#endif

#endif
