/*
 * The test bank (libquorrin-testbank.so): the issuer behind test cards. It checks the cryptogram of
 * an online request, decides by rules, and makes the answer that ARPCExeScript takes to the card.
 *
 *     QuorrinBank* bank;
 *     QuorrinBankRequest request = {0};
 *     QuorrinBankAnswer answer;
 *     strcpy(request.pan, "9999010000000011");
 *     quorrin_bank_open(NULL, &bank);
 *     quorrin_bank_read_field55(field_55, size, &request);
 *     quorrin_bank_answer(bank, &request, NULL, NULL, 0, &answer);
 *     ARPCExeScript(ReaderHandle, 0, answer.issuer_text);
 *     quorrin_bank_close(bank);
 *
 * For test cards and test keys only. The cryptography stands in docs/test-bank.md.
 *
 * Conventions
 *   - Results: 0, or a negative QuorrinBankResult; quorrin_bank_error says the reason in words.
 *   - Texts are terminated. Structures belong to the caller; clear them before the fields are set,
 *     and what is not set takes its default. Nothing has to be freed but the bank itself.
 *   - Banks share nothing: several may be open, each used by one thread at a time.
 */
#ifndef QUORRIN_TESTBANK_H
#define QUORRIN_TESTBANK_H

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): C reads it too */
#include <stdint.h> /* NOLINT(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
/** Marks what the library exports. */
#define QUORRIN_TESTBANK_API __attribute__((visibility("default")))
#else
#define QUORRIN_TESTBANK_API
#endif

/** What went wrong, and with it who has to mend something. */
enum QuorrinBankResult {
    QUORRIN_BANK_OK = 0,            /**< done */
    QUORRIN_BANK_BAD_ARGUMENT = -1, /**< a null pointer or a field out of its range: the call */
    QUORRIN_BANK_NO_FILE = -2,      /**< the rules file cannot be read: its path or permissions */
    QUORRIN_BANK_BAD_RULES = -3,    /**< the rules say no bank: the named line of the file */
    QUORRIN_BANK_BAD_REQUEST = -4,  /**< field 55 is malformed or lacks an element: the terminal */
    QUORRIN_BANK_BAD_WISH = -5,     /**< a script that no card or terminal takes: the wishes */
    QUORRIN_BANK_FAILED = -6        /**< out of memory, or the cryptographic library failed */
};

/** A bank with its keys and rules. */
typedef struct QuorrinBank QuorrinBank;

/** An online request as fields. All numbers as on the card: bytes, the highest first. */
typedef struct QuorrinBankRequest {
    char pan[20];                         /**< card number (5A): 1 to 19 digits, without filler */
    uint8_t pan_sequence_number;          /**< 5F34, BCD; 0 when the card has none */
    uint8_t amount_authorised[6];         /**< 9F02, BCD */
    uint8_t amount_other[6];              /**< 9F03, BCD */
    uint8_t terminal_country[2];          /**< 9F1A, BCD */
    uint8_t terminal_verification[5];     /**< 95 */
    uint8_t currency[2];                  /**< 5F2A, BCD */
    uint8_t date[3];                      /**< 9A, YYMMDD in BCD */
    uint8_t type;                         /**< 9C, BCD */
    uint8_t unpredictable_number[4];      /**< 9F37 */
    uint8_t interchange_profile[2];       /**< 82 */
    uint8_t atc[2];                       /**< 9F36 */
    uint8_t cryptogram[8];                /**< 9F26 */
    uint8_t issuer_application_data[32];  /**< 9F10 */
    uint8_t issuer_application_data_size; /**< bytes of it that count, at most 32 */
} QuorrinBankRequest;

/** What the bank does about issuer authentication (91). */
enum QuorrinBankArpc {
    QUORRIN_BANK_ARPC_RIGHT = 0, /**< the ARPC is right */
    QUORRIN_BANK_ARPC_WRONG = 1, /**< a wrong one on purpose: cards must refuse it */
    QUORRIN_BANK_ARPC_NONE = 2   /**< the answer has no 91 */
};

/** What the bank is to decide, where the caller and not the rules decide. */
typedef struct QuorrinBankDecision {
    char response_code[3];      /**< 8A, two characters; empty: by the rules, which approve */
    char authorisation_code[7]; /**< 89, six characters; empty: by the rules */
    uint8_t arpc;               /**< a QuorrinBankArpc, where the rules ask for nothing else */
    uint8_t arpc_method;      /**< 1 or 2 (EMV book 2, 8.2); 0: by the rules or the card product */
    uint8_t status_update[4]; /**< method 2: the card status update, in addition to the rules' */
    uint8_t proprietary[8];   /**< method 2: proprietary authentication data */
    uint8_t proprietary_size; /**< bytes of it that count; 0: by the rules */
} QuorrinBankDecision;

/** What the bank can change on a card. */
enum QuorrinBankWishKind {
    QUORRIN_BANK_CHANGE_PIN = 1,          /**< new_pin, and current_pin where it is known */
    QUORRIN_BANK_UNBLOCK_PIN = 2,         /**< the try counter goes back to its limit */
    QUORRIN_BANK_BLOCK_APPLICATION = 3,   /**< nothing else */
    QUORRIN_BANK_UNBLOCK_APPLICATION = 4, /**< nothing else */
    QUORRIN_BANK_BLOCK_CARD = 5,          /**< for ever */
    QUORRIN_BANK_PUT_DATA = 6,            /**< tag and value */
    QUORRIN_BANK_UPDATE_RECORD = 7        /**< file, record and value */
};

/** One change on the card: one command of an issuer script (EMV book 3, 10.10). */
typedef struct QuorrinBankWish {
    uint8_t kind;           /**< a QuorrinBankWishKind */
    uint8_t phase;          /**< template 0x71 or 0x72; 0 is 0x72 */
    uint8_t has_identifier; /**< 1: the script is named by `identifier` (9F18) */
    uint8_t identifier[4];  /**< the name */
    char new_pin[13];       /**< 4 to 12 digits */
    char current_pin[13];   /**< empty, or 4 to 12 digits */
    uint16_t tag;           /**< one byte or two, 0x9F79 for example */
    uint8_t file;           /**< short file identifier, 1 to 30 */
    uint8_t record;         /**< record number, 1 to 255 */
    uint8_t value[124];     /**< of the element, or of the whole record */
    uint8_t value_size;     /**< bytes of it that count */
} QuorrinBankWish;

/** The bank's answer. */
typedef struct QuorrinBankAnswer {
    uint8_t cryptogram_right;    /**< 1: the card made the cryptogram over these data */
    uint8_t approved;            /**< 1: the response code is 00, 10 or 11 */
    uint8_t arpc_method;         /**< 1 or 2 (EMV book 2, 8.2); 0 without authentication */
    uint8_t authentication_size; /**< bytes of `authentication` */
    uint8_t authentication[16];  /**< 91: ARPC and what goes with it */
    char response_code[3];       /**< 8A */
    char authorisation_code[7];  /**< 89, empty when there is none */
    char product[32];            /**< name of the card product, empty for a card of another bank */
    char rule[32];               /**< name of the rule that decided, empty when none did */
    char reason[128];            /**< the verdict in words */
    char issuer_text[513];       /**< the whole answer as hex text, for ARPCExeScript */
} QuorrinBankAnswer;

/**
 * Opens a bank.
 * @param rules_file  TOML file with its keys and rules (docs/test-bank.md); null for the bank of the
 *                    test cards that come with the simulated reader.
 * @param bank        receives the bank, null on failure.
 * @return 0; -1, -2, -3 or -6.
 */
QUORRIN_TESTBANK_API int32_t quorrin_bank_open(const char* rules_file, QuorrinBank** bank);

/** The same for rules that are no file: `rules` is TOML text. */
QUORRIN_TESTBANK_API int32_t quorrin_bank_open_text(const char* rules, QuorrinBank** bank);

/** Ends a bank; null is none. */
QUORRIN_TESTBANK_API void quorrin_bank_close(QuorrinBank* bank);

/**
 * Fills a request from ISO 8583 field 55: BER-TLV objects, unknown ones and their order do not
 * matter.
 * @param data     the field's bytes without a length of its own.
 * @param request  takes every element that the field has, the others stay; the card number comes
 *                 from 5A or 57, or has been set before. Left alone on failure.
 * @return 0; -1; -4 when the data are malformed, an element has another size than it must have, or
 *         one of 9F02 9F1A 95 5F2A 9A 9C 9F37 82 9F36 9F26 9F10 or the card number is missing.
 */
QUORRIN_TESTBANK_API int32_t quorrin_bank_read_field55(const uint8_t* data, size_t size,
                                                       QuorrinBankRequest* request);

/**
 * Reads a wish in words; letter case does not matter:
 *
 *     change PIN to 1234               change PIN from 1234 to 5678
 *     unblock PIN                      block application
 *     unblock application              block card
 *     put 9F79 000000030000            update record 1.2 70 04 9F 0B 01 20
 *
 * "71: " or "72: " ahead of it names the template, "71/00000001: " the script's identifier as well.
 *
 * @param wish  receives it; left alone on failure.
 * @return 0; -1; -5.
 */
QUORRIN_TESTBANK_API int32_t quorrin_bank_read_wish(const char* text, QuorrinBankWish* wish);

/**
 * Answers an online request. The cryptogram comes first: when it is not right the answer is 05,
 * without ARPC and without scripts, whatever was wished.
 *
 * @param decision  null leaves everything to the rules.
 * @param wishes    what to change on the card, in addition to the scripts of the rules and after
 *                  them; null with `count` 0. Neighbours of the same phase and identifier go into
 *                  one template. All templates together have room for 128 bytes.
 * @param answer    left alone on failure.
 * @return 0, also when the bank declines; -1, -5 or -6.
 */
QUORRIN_TESTBANK_API int32_t quorrin_bank_answer(QuorrinBank* bank,
                                                 const QuorrinBankRequest* request,
                                                 const QuorrinBankDecision* decision,
                                                 const QuorrinBankWish* wishes, size_t count,
                                                 QuorrinBankAnswer* answer);

/**
 * Why the last call in this thread failed, as one line for a person; empty when it did not fail.
 * The text stays until the thread's next call.
 */
QUORRIN_TESTBANK_API const char* quorrin_bank_error(void);

#ifdef __cplusplus
}
#endif

#endif
