// What a terminal says about itself (EMV book 4, annex A; contactless book A).
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// EMV book 4, table 24.
constexpr CodeRow terminal_types[] = {
    {0x11, "Attended, online only, operated by a financial institution"},
    {0x12, "Attended, offline with online capability, operated by a financial institution"},
    {0x13, "Attended, offline only, operated by a financial institution"},
    {0x14, "Unattended, online only, operated by a financial institution"},
    {0x15, "Unattended, offline with online capability, operated by a financial institution"},
    {0x16, "Unattended, offline only, operated by a financial institution"},
    {0x21, "Attended, online only, operated by a merchant"},
    {0x22, "Attended, offline with online capability, operated by a merchant"},
    {0x23, "Attended, offline only, operated by a merchant"},
    {0x24, "Unattended, online only, operated by a merchant"},
    {0x25, "Unattended, offline with online capability, operated by a merchant"},
    {0x26, "Unattended, offline only, operated by a merchant"},
    {0x34, "Unattended, online only, operated by the cardholder"},
    {0x35, "Unattended, offline with online capability, operated by the cardholder"},
    {0x36, "Unattended, offline only, operated by the cardholder"},
};

// ISO 8583, point of service entry mode.
constexpr CodeRow entry_modes[] = {
    {0x00, "Unspecified"},
    {0x01, "Manual entry"},
    {0x02, "Magnetic stripe"},
    {0x03, "Bar code"},
    {0x05, "Integrated circuit card"},
    {0x07, "Contactless integrated circuit card"},
    {0x10, "Credential on file"},
    {0x80, "Fallback to magnetic stripe"},
    {0x90, "Magnetic stripe, whole track read"},
    {0x91, "Contactless magnetic stripe data"},
    {0x95, "Integrated circuit card, card verification value unreliable"},
};

constexpr BitRow terminal_capability_rows[] = {
    bit(1, 8, "Manual key entry"),
    bit(1, 7, "Magnetic stripe"),
    bit(1, 6, "IC with contacts"),
    bit(2, 8, "Plaintext PIN for ICC verification"),
    bit(2, 7, "Enciphered PIN for online verification"),
    bit(2, 6, "Signature"),
    bit(2, 5, "Enciphered PIN for offline verification"),
    bit(2, 4, "No CVM required"),
    bit(2, 3, "Online biometric"),
    bit(2, 2, "Offline biometric"),
    bit(2, 1, "Identity document (PBOC)"),
    bit(3, 8, "SDA"),
    bit(3, 7, "DDA"),
    bit(3, 6, "Card capture"),
    bit(3, 4, "CDA"),
    bit(3, 3, "XDA"),
};

constexpr BitRow additional_capability_rows[] = {
    bit(1, 8, "Cash"),
    bit(1, 7, "Goods"),
    bit(1, 6, "Services"),
    bit(1, 5, "Cashback"),
    bit(1, 4, "Inquiry"),
    bit(1, 3, "Transfer"),
    bit(1, 2, "Payment"),
    bit(1, 1, "Administrative"),
    bit(2, 8, "Cash deposit"),
    bit(3, 8, "Numeric keys"),
    bit(3, 7, "Alphabetic and special character keys"),
    bit(3, 6, "Command keys"),
    bit(3, 5, "Function keys"),
    bit(4, 8, "Print or electronic, attendant"),
    bit(4, 7, "Print or electronic, cardholder"),
    bit(4, 6, "Display, attendant"),
    bit(4, 5, "Display, cardholder"),
    bit(4, 2, "Code table 10"),
    bit(4, 1, "Code table 9"),
    bit(5, 8, "Code table 8"),
    bit(5, 7, "Code table 7"),
    bit(5, 6, "Code table 6"),
    bit(5, 5, "Code table 5"),
    bit(5, 4, "Code table 4"),
    bit(5, 3, "Code table 3"),
    bit(5, 2, "Code table 2"),
    bit(5, 1, "Code table 1"),
};

constexpr BitRow ttq_rows[] = {
    bit(1, 8, "Magnetic stripe data mode supported"),
    bit(1, 7, "PBOC contactless transaction supported (reserved elsewhere)"),
    bit(1, 6, "EMV mode (quick PBOC, C-3, C-7) supported"),
    bit(1, 5, "Contact chip supported"),
    bit(1, 4, "Offline-only reader"),
    bit(1, 3, "Online PIN supported"),
    bit(1, 2, "Signature supported"),
    bit(1, 1, "Offline data authentication for online authorisations supported"),
    bit(2, 8, "Online cryptogram required"),
    bit(2, 7, "CVM required"),
    bit(2, 6, "Offline PIN supported, contact chip"),
    bit(3, 8, "Issuer update processing supported"),
    bit(3, 7, "Consumer device CVM supported"),
    bit(4, 8, "fDDA version 01 supported"),
};

// Contactless book C-2, annex A: outcome parameter set.
constexpr BitRow outcome_rows[] = {
    {1, 0xF0, 0x10, "Approved"},
    {1, 0xF0, 0x20, "Declined"},
    {1, 0xF0, 0x30, "Online request"},
    {1, 0xF0, 0x40, "End application"},
    {1, 0xF0, 0x50, "Select next"},
    {1, 0xF0, 0x60, "Try another interface"},
    {1, 0xF0, 0x70, "Try again"},
    {1, 0xF0, 0xF0, "No outcome"},
    {2, 0xF0, 0x00, "Start A"},
    {2, 0xF0, 0x10, "Start B"},
    {2, 0xF0, 0x20, "Start C"},
    {2, 0xF0, 0x30, "Start D"},
    {2, 0xF0, 0xF0, "No start"},
    {3, 0xF0, 0xF0, "Online response data: none"},
    {4, 0xF0, 0x00, "No CVM"},
    {4, 0xF0, 0x10, "Signature"},
    {4, 0xF0, 0x20, "Online PIN"},
    {4, 0xF0, 0x30, "Confirmation code verified"},
    {4, 0xF0, 0xF0, "CVM not applicable"},
    bit(5, 8, "User interface request on outcome present"),
    bit(5, 7, "User interface request on restart present"),
    bit(5, 6, "Data record present"),
    bit(5, 5, "Discretionary data present"),
    bit(5, 4, "Receipt"),
    {6, 0xF0, 0xF0, "Alternate interface preference: none"},
};

// A code of another length is one that is not known.
void tell_terminal_code(std::span<const CodeRow> rows, std::string_view what, Value value,
                        Node& node) {
    if (value.size() == 1 && !code_meaning(rows, value[0]).empty()) {
        node.text = code_meaning(rows, value[0]);
        return;
    }
    add_unknown(node, value.offset, "no " + std::string(what) + " " + hex(value.bytes));
}

}  // namespace

void tell_terminal_type(const Reading&, Value value, Node& node) {
    tell_terminal_code(terminal_types, "terminal type", value, node);
}

void tell_pos_entry_mode(const Reading&, Value value, Node& node) {
    tell_terminal_code(entry_modes, "entry mode", value, node);
}

void tell_terminal_capabilities(const Reading&, Value value, Node& node) {
    expect_size(value, 3, node);
    add_flags(terminal_capability_rows, value, node);
}

void tell_additional_terminal_capabilities(const Reading&, Value value, Node& node) {
    expect_size(value, 5, node);
    add_flags(additional_capability_rows, value, node);
}

void tell_ttq(const Reading&, Value value, Node& node) {
    expect_size(value, 4, node);
    add_flags(ttq_rows, value, node);
}

void tell_yes_or_no(const Reading&, Value value, Node& node) {
    if (value.size() == 1 && value[0] <= 1) {
        node.text = value[0] == 1 ? "supported" : "not supported";
    }
}

void tell_outcome_parameters(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 8, node)) {
        return;
    }
    add_flags(outcome_rows, value.part(0, 6), node);
    // The last two bytes are a range and a time, FF for none.
    std::erase_if(node.children, [](const Node& flag) { return flag.text == "reserved"; });
}

}  // namespace quorrin::decode
