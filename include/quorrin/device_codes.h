/*
 * What a reader library reports in place of a handle, a length or success. These codes reach hosts
 * unchanged, as results of the operation that asked the reader.
 *
 * The last words of each line say what a host does next.
 */
#ifndef QUORRIN_DEVICE_CODES_H
#define QUORRIN_DEVICE_CODES_H

#ifdef __cplusplus
extern "C" {
#endif

/** What a reader library reports in place of a handle, a length or success. */
enum QuorrinDeviceCode {
    /** Done. Go on. */
    QUORRIN_SUCCESS = 0,
    /** Wrong card type; also no status word where one was due. End: take the card out. */
    QUORRIN_WRONG_CARD_TYPE = -1,
    /** No card in the slot; the library looks in the next slot. Try again with a card. */
    QUORRIN_NO_CARD = -2,
    /** A card that is not powered. Call PowerUp, then try again. */
    QUORRIN_NOT_POWERED = -3,
    /** The card does not answer; a contactless one lets the library look in the contact slot. Try
        again from PowerUp. */
    QUORRIN_CARD_MUTE = -4,
    /** The reader's own library cannot be loaded. End: mend the installation. */
    QUORRIN_NO_READER_LIBRARY = -5,
    /** The connection to the reader failed. Close, open and try again; then end. */
    QUORRIN_CONNECTION_ERROR = -11,
    /** No connection to the reader. Call OpenDevice, then try again. */
    QUORRIN_NOT_CONNECTED = -12,
    /** The reader does not know this command. End: another reader is needed. */
    QUORRIN_NOT_SUPPORTED = -13,
    /** A wrong argument, judged by the reader or by this library. Mend the call. */
    QUORRIN_BAD_PARAMETER = -14,
    /** The answer does not hold together, or exceeds 1024 bytes. Try again from PowerUp. */
    QUORRIN_CHECK_ERROR = -15
};

#ifdef __cplusplus
}
#endif

#endif
