/*
 * Quorrin: the card side of EMV / PBOC financial transactions (libQuorrin.so.1), for C and C++.
 *
 * The shortest host opens the reader, finds the card, reads card number and name, and closes again:
 *
 *     char pan[21] = "";
 *     int32_t panLen = 0;
 *     uint8_t name[252] = {0};
 *     uint8_t nameLen = 0;
 *     int32_t result = ICRT_GetICPanName(QUORRIN_USER_CONTACT, 0, pan, &panLen, name, &nameLen);
 *     if (result == QUORRIN_SUCCESS) {
 *         printf("%s %.*s\n", pan, nameLen, (const char*)name);
 *     }
 *
 * An online purchase takes icBandkCardPowerUp, getARQC, the host's own talk with the bank,
 * ARPCExeScript and CloseAllDevice. Reader libraries include reader_library.h instead.
 *
 * Conventions
 *   - One reader, one transaction, one thread at a time. All state lives in exported variables.
 *   - Results are signed: 0 is success. A few bank card operations fail with positive codes too, so
 *     test for non-zero, not for negative. results.h names them and says what to do next; their
 *     messages (TransRetCode) are Chinese, in UTF-8.
 *   - Output texts carry no terminator and no size argument unless stated: zero the buffer first.
 *     Where a size is fixed it stands in the prototype.
 *   - Hex text is written in upper case and read in either case, two characters a byte.
 *   - A bit address (byte, bit) counts both from 1; bit 1 is the least significant.
 *   - The log goes to standard error unless the host directs Qt's messages elsewhere, and carries
 *     card data as raw bytes (track 2, PAN, name). QT_LOGGING_RULES="default.debug=false" turns it
 *     off.
 *
 * Editions meant: EMV 4.3 (2011), by book and section; PBOC 3.0 (JR/T 0025-2013), by part; ISO/IEC
 * 7816-3:2006, 7816-4:2013, 7816-5:2004 and 8825-1:2008; ISO 8859 and ISO 4217 codes as EMV takes
 * them.
 */
#ifndef QUORRIN_H
#define QUORRIN_H

/* clang-format off */
/* In the order of use. What every host needs: */
#include "quorrin/version.h"
#include "quorrin/results.h"     /* codes by name, what to do next, their messages; those of elements.h,
                                    accessors.h, tlv.h and steps.h by function in element_results.h */
#include "quorrin/reader.h"      /* open, power a card, exchange commands, close */
#include "quorrin/transaction.h" /* read a card, pay online, read the log: one call each */

/* What hosts with wishes of their own need: */
#include "quorrin/steps.h"     /* the steps of a transaction one by one */
#include "quorrin/elements.h"  /* data elements by tag, resets */
#include "quorrin/accessors.h" /* data elements by name */
#include "quorrin/tlv.h"       /* BER-TLV, data object lists */
#include "quorrin/storage.h"   /* the variables behind the elements */
/* clang-format on */

#endif
