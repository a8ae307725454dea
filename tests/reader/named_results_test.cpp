// The names of results and numbers in the public headers, held against the numbers that hosts and
// reader libraries were built with.

#include <set>

#include "quorrin/reader_library.h"
#include "tests/reader/message_listing.hpp"
#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

struct NamedNumber {
    int name;
    int number;
};

// clang-format off
constexpr NamedNumber named_numbers[] = {
    // QuorrinDeviceCode
    {QUORRIN_SUCCESS, 0},
    {QUORRIN_WRONG_CARD_TYPE, -1},
    {QUORRIN_NO_CARD, -2},
    {QUORRIN_NOT_POWERED, -3},
    {QUORRIN_CARD_MUTE, -4},
    {QUORRIN_NO_READER_LIBRARY, -5},
    {QUORRIN_CONNECTION_ERROR, -11},
    {QUORRIN_NOT_CONNECTED, -12},
    {QUORRIN_NOT_SUPPORTED, -13},
    {QUORRIN_BAD_PARAMETER, -14},
    {QUORRIN_CHECK_ERROR, -15},
    // QuorrinLibraryCode
    {QUORRIN_CARD_ID_FORMAT, -20},
    {QUORRIN_AUTHENTICATION_FAILED, -21},
    {QUORRIN_DATA_NOT_OF_CARD, -22},
    {QUORRIN_DATA_NOT_VALID, -23},
    {QUORRIN_PSAM_KEY_LEVEL, -24},
    {QUORRIN_ITEM_NOT_IN_CARD, -25},
    {QUORRIN_PIN_ENTRY_CANCELLED, -31},
    {QUORRIN_PIN_ENTRY_TIMED_OUT, -32},
    {QUORRIN_PIN_LENGTH, -33},
    {QUORRIN_PINS_DIFFER, -34},
    {QUORRIN_INITIAL_PIN, -35},
    {QUORRIN_NOT_TO_INITIAL_PIN, -36},
    {QUORRIN_ILLEGAL_CHARACTERS, -41},
    {QUORRIN_COMPUTED_DATA_LENGTH, -42},
    {QUORRIN_PIN_CHECK_FAILED, -51},
    {QUORRIN_PIN_BLOCKED, -52},
    {QUORRIN_NO_PSAM, -2201},
    {QUORRIN_PSAM_ALGORITHM, -2202},
    {QUORRIN_PSAM_KEY_MISSING, -2203},
    {QUORRIN_NO_HSM_NEEDED, -2204},
    {QUORRIN_UNKNOWN, -40000},
    // QuorrinRefusalCode
    {QUORRIN_TWO_TRIES_LEFT, -25536},
    {QUORRIN_ONE_TRY_LEFT, -25537},
    {QUORRIN_WRONG_LENGTH, -26368},
    {QUORRIN_COMMAND_NOT_ACCEPTED, -26881},
    {QUORRIN_WRONG_FILE_TYPE, -27009},
    {QUORRIN_SECURITY_NOT_SATISFIED, -27010},
    {QUORRIN_KEY_BLOCKED, -27011},
    {QUORRIN_REFERENCE_DATA_NOT_VALID, -27012},
    {QUORRIN_CONDITIONS_NOT_SATISFIED, -27013},
    {QUORRIN_SECURE_MESSAGING_WRONG, -27016},
    {QUORRIN_COMMAND_DATA_WRONG, -27264},
    {QUORRIN_FUNCTION_NOT_SUPPORTED, -27265},
    {QUORRIN_FILE_NOT_FOUND, -27266},
    {QUORRIN_RECORD_NOT_FOUND, -27267},
    {QUORRIN_DATA_NOT_FOUND, -27272},
    {QUORRIN_WRONG_MAC, -37634},
    {QUORRIN_PERMANENTLY_BLOCKED, -37635},
    {QUORRIN_PSAM_NO_PURCHASE, -37891},
    {QUORRIN_MAC_NOT_AVAILABLE, -37894},
    // QuorrinFlowCode
    {QUORRIN_OBJECT_MISSING, -106},
    {QUORRIN_DATA_MALFORMED, -107},
    {QUORRIN_NO_ARQC, -120},
    {QUORRIN_NO_CRYPTOGRAM, 208},
    {QUORRIN_NO_FCI_TEMPLATE, 212},
    {QUORRIN_NO_DF_NAME, 213},
    {QUORRIN_NO_DIRECTORY_ENTRIES, 214},
    {QUORRIN_FCI_MALFORMED, 216},
    {QUORRIN_NO_CDOL1, 238},
    // QuorrinSlotCode
    {QUORRIN_SLOT_CONTACT, 0x01},
    {QUORRIN_SLOT_FURTHER, 0x02},
    {QUORRIN_SLOT_CONTACTLESS, 0x31},
    {QUORRIN_SLOT_CONTACTLESS_OFF, 0x03},
    {QUORRIN_SLOT_SAM1, 0x11},
    {QUORRIN_SLOT_SAM2, 0x12},
    {QUORRIN_SLOT_SAM3, 0x13},
    {QUORRIN_SLOT_SAM4, 0x14},
    // QuorrinCardKind
    {QUORRIN_SAM1, 1},
    {QUORRIN_SAM2, 2},
    {QUORRIN_SAM3, 3},
    {QUORRIN_SAM4, 4},
    {QUORRIN_CONTACT_CARD, 11},
    {QUORRIN_CONTACTLESS_CARD, 12},
    {QUORRIN_FURTHER_CARD, 13},
    // QuorrinFindMode
    {QUORRIN_FIND_CONTACT, 1},
    {QUORRIN_FIND_CONTACTLESS, 2},
    {QUORRIN_FIND_CONTACT_FIRST, 3},
    {QUORRIN_FIND_CONTACTLESS_FIRST, 4},
    // QuorrinCommandCase
    {QUORRIN_HEADER_ONLY, 0},
    {QUORRIN_WITH_LE, 1},
    {QUORRIN_WITH_DATA, 2},
    {QUORRIN_WITH_DATA_AND_LE, 3},
    // QuorrinLogType
    {QUORRIN_TRANSACTION_LOG, 1},
    {QUORRIN_LOAD_LOG, 2},
    // QuorrinUserCard
    {QUORRIN_USER_CONTACT, 0},
    {QUORRIN_USER_CONTACTLESS, 1},
    {QUORRIN_USER_CONTACTLESS_FIRST, 2},
};

// Numbers that mean something else for each function; messages know none of these.
constexpr NamedNumber named_by_function[] = {
    // QuorrinStoreResult
    {QUORRIN_STORE_UNKNOWN_FORMAT, -18},
    {QUORRIN_STORE_BAD_LENGTH, -22},
    {QUORRIN_STORE_NOT_USED, -26},
    {QUORRIN_STORE_WRONG_TEMPLATE, -27},
    {QUORRIN_STORE_NO_VALUE, -28},
    {QUORRIN_STORE_TEMPLATE_TOO_LONG, -29},
    {QUORRIN_STORE_BAD_TAG_LENGTH, -30},
    {QUORRIN_STORE_UNKNOWN_ELEMENT, -31},
    // QuorrinReadResult
    {QUORRIN_READ_FROM_CARD, 1},
    {QUORRIN_READ_FROM_TERMINAL, 2},
    {QUORRIN_READ_UNKNOWN_FORMAT, -18},
    {QUORRIN_READ_UNKNOWN_ELEMENT, -30},
    {QUORRIN_READ_BAD_TAG_LENGTH, -31},
    // QuorrinTemplateResult
    {QUORRIN_TEMPLATE_MISMATCH, -30},
    {QUORRIN_TEMPLATE_TAG_TOO_LONG, -31},
    // QuorrinStateResult
    {QUORRIN_STATE_BAD, -31},
    {QUORRIN_STATE_UNKNOWN_ELEMENT, -32},
    // QuorrinBoundResult
    {QUORRIN_BOUND_BAD_SELECTOR, -30},
    {QUORRIN_BOUND_UNKNOWN_ELEMENT, -31},
    // QuorrinWalkResult
    {QUORRIN_WALK_MALFORMED, -30},
    {QUORRIN_WALK_REFUSED, -31},
    // QuorrinAccessorResult
    {QUORRIN_ACCESSOR_ABSENT, 0},
    {QUORRIN_ACCESSOR_DELIVERED, 1},
    {QUORRIN_ACCESSOR_WAS_PRESENT, 1},
    {QUORRIN_ACCESSOR_NONE, 1},
    {QUORRIN_ACCESSOR_NO_BUFFER, 2},
    {QUORRIN_ACCESSOR_TOO_SHORT, 2},
    {QUORRIN_ACCESSOR_REFUSED, 49},
    {QUORRIN_ACCESSOR_UNKNOWN_ELEMENT, 50},
    {QUORRIN_ACCESSOR_NO_TDOL, 52},
    {QUORRIN_ACCESSOR_BAD_STATE, 53},
    {QUORRIN_ACCESSOR_NOT_KNOWN, -1},
    {QUORRIN_ACCESSOR_BAD_ITEM, -29},
    {QUORRIN_ACCESSOR_BAD_INDEX, -31},
    {QUORRIN_ACCESSOR_BAD_LENGTH, -31},
    {QUORRIN_ACCESSOR_BAD_SELECTOR, -32},
    {QUORRIN_ACCESSOR_ODD_LENGTH, -32},
    {QUORRIN_ACCESSOR_NOTHING_SIGNED, -32},
    // QuorrinIssuerDataResult
    {QUORRIN_ISSUER_DATA_RESERVED, -29},
    {QUORRIN_ISSUER_DATA_TOO_SHORT, -30},
    {QUORRIN_ISSUER_DATA_NOT_FROM_CARD, -31},
    // QuorrinObjectKind
    {QUORRIN_PRIMITIVE, 0},
    {QUORRIN_CONSTRUCTED, 1},
    // QuorrinTagResult
    {QUORRIN_TAG_BAD, -30},
    {QUORRIN_TAG_NO_DATA, -31},
    // QuorrinLengthResult
    {QUORRIN_LENGTH_BEYOND_DATA, -29},
    {QUORRIN_LENGTH_BAD, -30},
    {QUORRIN_LENGTH_NO_DATA, -31},
    // QuorrinTlvResult
    {QUORRIN_TLV_BAD_LENGTH, -30},
    {QUORRIN_TLV_BAD_TAG, -31},
    {QUORRIN_TLV_NO_DATA, -32},
    // QuorrinSearchResult
    {QUORRIN_SEARCH_NOT_FOUND, 1},
    {QUORRIN_SEARCH_FOUND_TWICE, -30},
    {QUORRIN_SEARCH_MALFORMED, -31},
    // QuorrinStringResult
    {QUORRIN_STRING_NOTHING_WRITTEN, 1},
    {QUORRIN_STRING_MALFORMED, -30},
    // QuorrinDolResult
    {QUORRIN_DOL_REFUSED, -29},
    {QUORRIN_DOL_BAD_TAG, -30},
    {QUORRIN_DOL_BAD_LENGTH, -31},
    // QuorrinDolEntryResult
    {QUORRIN_DOL_ENTRY_ABSENT, 0},
    {QUORRIN_DOL_ENTRY_PRESENT, 1},
    {QUORRIN_DOL_ENTRY_BAD_LENGTH, -30},
    {QUORRIN_DOL_ENTRY_BAD_TAG, -31},
    // QuorrinKeyedTextResult
    {QUORRIN_KEYED_TEXT_ITEM_FAILED, 1},
    {QUORRIN_KEYED_TEXT_KEY_NOT_FOUND, 1},
    {QUORRIN_KEYED_TEXT_UNKNOWN_KEY, -31},
    // QuorrinOptionsResult
    {QUORRIN_OPTIONS_UNKNOWN_FORMAT, -27},
    {QUORRIN_OPTIONS_ELEMENT_REFUSED, -28},
    {QUORRIN_OPTIONS_AFL_PRESENT, -29},
    {QUORRIN_OPTIONS_AIP_PRESENT, -30},
    {QUORRIN_OPTIONS_TOO_SHORT, -31},
    // QuorrinScriptCheckResult
    {QUORRIN_SCRIPT_FOREIGN_OBJECT, -28},
    {QUORRIN_SCRIPT_MALFORMED_CONTENT, -29},
    {QUORRIN_SCRIPT_NOT_A_SCRIPT, -30},
    {QUORRIN_SCRIPT_MALFORMED, -31},
    // QuorrinScriptRunResult
    {QUORRIN_SCRIPT_COMMAND_TOO_SHORT, -29},
    {QUORRIN_SCRIPT_MALFORMED_TEMPLATE, -30},
    // QuorrinPortResult
    {QUORRIN_PORT_NOT_CONFIGURED, -1},
};
// clang-format on

template <std::size_t Count>
constexpr bool all_names_have_their_numbers(const NamedNumber (&rows)[Count]) {
    for (const NamedNumber& row : rows) {
        if (row.name != row.number) {
            return false;
        }
    }
    return true;
}
static_assert(all_names_have_their_numbers(named_numbers));
static_assert(all_names_have_their_numbers(named_by_function));

std::set<int> codes_with_names(int from, int to) {
    std::set<int> codes;
    for (const NamedNumber& row : named_numbers) {
        if (row.name >= from && row.name <= to) {
            codes.insert(row.name);
        }
    }
    return codes;
}

class NamedResults : public LibraryTest {};

TEST_F(NamedResults, NameEveryCodeThatHasAMessage) {
    std::set<int> codes;
    for (const ListedMessage& row : message_listing) {
        codes.insert(row.code);
    }
    codes.erase(0);
    std::set<int> named = codes_with_names(QUORRIN_UNKNOWN, -1);
    for (const int flow_code : {QUORRIN_OBJECT_MISSING, QUORRIN_DATA_MALFORMED, QUORRIN_NO_ARQC}) {
        named.erase(flow_code);
    }
    EXPECT_EQ(named, codes);
}

TEST_F(NamedResults, FlowCodesHaveNoMessage) {
    for (const int code : {QUORRIN_OBJECT_MISSING, QUORRIN_DATA_MALFORMED, QUORRIN_NO_ARQC,
                           QUORRIN_NO_CRYPTOGRAM, QUORRIN_NO_FCI_TEMPLATE, QUORRIN_NO_DF_NAME,
                           QUORRIN_NO_DIRECTORY_ENTRIES, QUORRIN_FCI_MALFORMED, QUORRIN_NO_CDOL1}) {
        EXPECT_EQ(TransRetCodeNoMsg(code), QUORRIN_UNKNOWN) << code;
    }
}

}  // namespace
}  // namespace quorrin::test
