/*
 * BER-TLV objects and data object lists. The results by name: element_results.h.
 */
#ifndef QUORRIN_TLV_H
#define QUORRIN_TLV_H

#include "quorrin/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

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

#ifdef __cplusplus
}
#endif

#endif
