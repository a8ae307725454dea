// Status words (ISO/IEC 7816-4, EMV book 3, PBOC) and result codes: English meanings beside the
// library's own code and message.
#include <algorithm>
#include <array>
#include <string>

#include "decode/lookup.hpp"
#include "decode/tellers.hpp"
#include "reader/message_table.hpp"

namespace quorrin::decode {
namespace {

// A row stands for all status words whose bits under the mask are these. The first that fits counts.
struct StatusRow {
    std::uint16_t status;
    std::uint16_t mask;
    std::string_view meaning;
};

constexpr StatusRow exactly(std::uint16_t status, std::string_view meaning) {
    return {status, 0xFFFF, meaning};
}
constexpr StatusRow any_of(std::uint16_t status, std::uint16_t mask, std::string_view meaning) {
    return {status, mask, meaning};
}

constexpr StatusRow status_rows[] = {
    exactly(0x9000, "Success"),
    any_of(0x6100, 0xFF00, "More data to fetch with GET RESPONSE"),
    exactly(0x6200, "Warning: no information given"),
    exactly(0x6281, "Part of the returned data may be corrupted"),
    exactly(0x6282, "End of file or record reached before reading all bytes asked for"),
    exactly(0x6283, "Selected file or application is blocked (invalidated)"),
    exactly(0x6284, "FCI not formatted as it should be"),
    exactly(0x6285, "Selected file is in termination state"),
    exactly(0x6286, "No input data available from a sensor on the card"),
    any_of(0x6200, 0xFF00, "Warning, memory unchanged"),
    exactly(0x6300, "Authentication failed"),
    exactly(0x6381, "File filled up by the last write"),
    any_of(0x63C0, 0xFFF0, "Verification failed"),
    any_of(0x6300, 0xFF00, "Warning, memory changed"),
    exactly(0x6400, "Execution error, memory unchanged"),
    exactly(0x6401, "Immediate answer required by the card"),
    any_of(0x6400, 0xFF00, "Execution error, memory unchanged"),
    exactly(0x6500, "Execution error, memory changed"),
    exactly(0x6581, "Memory failure"),
    any_of(0x6500, 0xFF00, "Execution error, memory changed"),
    any_of(0x6600, 0xFF00, "Security issue"),
    exactly(0x6700, "Wrong length"),
    any_of(0x6700, 0xFF00, "Wrong length, details by the card"),
    exactly(0x6800, "Function of the class byte not supported"),
    exactly(0x6881, "Logical channel not supported"),
    exactly(0x6882, "Secure messaging not supported"),
    exactly(0x6883, "Last command of the chain expected"),
    exactly(0x6884, "Command chaining not supported"),
    exactly(0x6900, "Command not allowed"),
    exactly(0x6901, "Command not accepted (invalid state)"),
    exactly(0x6981, "Command incompatible with file structure"),
    exactly(0x6982, "Security status not satisfied"),
    exactly(0x6983, "Authentication method blocked"),
    exactly(0x6984, "Referenced data invalidated"),
    exactly(0x6985, "Conditions of use not satisfied"),
    exactly(0x6986, "Command not allowed (no current file)"),
    exactly(0x6987, "Secure messaging data object missing"),
    exactly(0x6988, "Secure messaging data object incorrect"),
    any_of(0x6900, 0xFF00, "Command not allowed"),
    exactly(0x6A00, "Wrong parameters P1-P2"),
    exactly(0x6A80, "Wrong data"),
    exactly(0x6A81, "Function not supported, or card or application blocked"),
    exactly(0x6A82, "File or application not found"),
    exactly(0x6A83, "Record not found"),
    exactly(0x6A84, "Not enough memory in the file"),
    exactly(0x6A85, "Length Nc inconsistent with TLV structure"),
    exactly(0x6A86, "Wrong parameters P1-P2"),
    exactly(0x6A87, "Lc inconsistent with P1-P2"),
    exactly(0x6A88, "Referenced data not found"),
    exactly(0x6A89, "File exists already"),
    exactly(0x6A8A, "DF name exists already"),
    any_of(0x6A00, 0xFF00, "Wrong parameters"),
    exactly(0x6B00, "Wrong parameters P1-P2 (offset outside the file)"),
    any_of(0x6C00, 0xFF00, "Wrong length Le"),
    exactly(0x6D00, "Instruction not supported or invalid"),
    exactly(0x6E00, "Class not supported"),
    exactly(0x6F00, "No precise diagnosis"),
    any_of(0x6F00, 0xFF00, "No precise diagnosis, details by the card"),
    exactly(0x9301, "Not enough funds"),
    exactly(0x9302, "MAC invalid"),
    exactly(0x9303, "Application permanently locked"),
    exactly(0x9401, "Not enough funds"),
    exactly(0x9402, "Transaction counter at its maximum"),
    exactly(0x9403, "Key index not supported"),
    exactly(0x9406, "Required MAC or TAC not available"),
    exactly(0x9408, "Application permanently locked"),
};

struct ResultRow {
    std::int64_t code;
    std::string_view meaning;
};

// What the library returns besides the negated status words.
constexpr ResultRow result_rows[] = {
    {0, "Success"},
    {-1, "Wrong card type"},
    {-2, "No card"},
    {-3, "Card present but not powered"},
    {-4, "Card does not answer"},
    {-5, "Dynamic library could not be loaded"},
    {-11, "Reader connection failed"},
    {-12, "Not connected to the reader"},
    {-13, "Command not supported by the reader library"},
    {-14, "Wrong parameter"},
    {-15, "Check of the exchanged data failed"},
    {-20, "Card identifier or version has a wrong format"},
    {-21, "Internal authentication failed: not a genuine user card"},
    {-22, "Data handed in differ from those on the card"},
    {-23, "Data not valid"},
    {-24, "Key level of the PSAM card too low"},
    {-25, "No such file or data element on this card"},
    {-31, "PIN entry cancelled by the user"},
    {-32, "PIN entry timed out"},
    {-33, "PIN has a wrong length"},
    {-34, "The two PINs differ"},
    {-35, "No transaction with the initial PIN"},
    {-36, "PIN may not be changed to the initial one"},
    {-41, "Data hold characters that are not allowed"},
    {-42, "Data have a wrong length"},
    {-51, "PIN verification failed"},
    {-52, "PIN blocked"},
    {-106, "The card's answer lacks a data object that the next step needs"},
    {-107, "The card's answer, or what would be sent to it, is malformed"},
    {-120, "No ARQC before the issuer's answer"},
    {-2201, "No PSAM card"},
    {-2202, "Algorithm not supported by the PSAM card"},
    {-2203, "Key missing on the PSAM card"},
    {-2204, "No authentication by an encryption machine needed"},
    {-40000, "Unknown error"},
    {208, "CDOL1 data too long, or the answer to GENERATE AC is in no known format"},
    {212, "Answer to SELECT of the contactless directory is no FCI template (6F)"},
    {213, "FCI of the contactless directory does not begin with its name (84)"},
    {214, "FCI of the contactless directory has no list of applications (A5, BF0C)"},
    {216, "Answer to SELECT of the contactless directory is not well formed"},
    {238, "The card has no CDOL1"},
};

}  // namespace

StatusWord status_word(std::uint8_t sw1, std::uint8_t sw2) {
    StatusWord told;
    const auto status = static_cast<std::uint16_t>(sw1 << 8 | sw2);
    told.meaning = "Unknown status word";
    for (const StatusRow& row : status_rows) {
        if ((status & row.mask) == row.status) {
            told.meaning = row.meaning;
            told.known = true;
            break;
        }
    }
    if (sw1 == 0x61) {
        told.meaning = decimal(sw2 == 0 ? 256 : sw2) + " more bytes to fetch with GET RESPONSE";
    } else if (sw1 == 0x6C) {
        told.meaning = "Wrong length, the right Le is " + hex({&sw2, 1});
    } else if (sw1 == 0x63 && sw2 >> 4 == 0xC) {
        const unsigned tries = sw2 & 0x0F;
        told.meaning += ", " + decimal(tries) + (tries == 1 ? " try" : " tries") + " left";
    }
    if (const MessageRow* row = find_by_status_word(sw1, sw2); row != nullptr && status != 0) {
        told.code = row->code;
        told.message = row->message;
    } else if (status == 0x9000) {
        told.code = 0;
    }
    return told;
}

ResultCode result_code(std::int64_t code) {
    ResultCode told;
    const auto* found = std::ranges::find(result_rows, code, &ResultRow::code);
    if (found != std::end(result_rows)) {
        told.meaning = found->meaning;
    }
    const MessageRow* row = code == 0 ? nullptr : find_by_code(code);
    if (row == nullptr) {
        return told;
    }
    told.message = row->message;
    if (told.meaning.empty()) {
        // The negated status word: the code is its name.
        const auto status = static_cast<std::uint16_t>(-code);
        for (const StatusRow& each : status_rows) {
            if ((status & each.mask) == each.status) {
                told.meaning = each.meaning;
                break;
            }
        }
    }
    return told;
}

void tell_status_word(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 2, node)) {
        return;
    }
    const StatusWord told = status_word(value[0], value[1]);
    node.text = told.meaning;
    if (!told.message.empty()) {
        node.note = "library code " + std::to_string(*told.code) + ", " + std::string(told.message);
    }
    if (!told.known) {
        add_unknown(node, value.offset, "the status word " + hex(value.bytes) + " is in no table");
    }
}

}  // namespace quorrin::decode
