// Issuer application data (9F10): told by their form, which the first bytes and the length show.
// PBOC debit/credit, part 5; EMV book 3, annexes C7 to C9, for the common forms of other cards.
#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// Card verification results of PBOC cards, and of others with the same first bytes; byte 1 is the
// length 03.
constexpr BitRow cvr_rows[] = {
    {2, 0xC0, 0x00, "AAC returned in second GENERATE AC"},
    {2, 0xC0, 0x40, "TC returned in second GENERATE AC"},
    {2, 0xC0, 0x80, "Second GENERATE AC not requested"},
    {2, 0x30, 0x00, "AAC returned in first GENERATE AC"},
    {2, 0x30, 0x10, "TC returned in first GENERATE AC"},
    {2, 0x30, 0x20, "ARQC returned in first GENERATE AC"},
    bit(2, 4, "Issuer authentication performed and failed"),
    bit(2, 3, "Offline PIN verification performed"),
    bit(2, 2, "Offline PIN verification failed"),
    bit(2, 1, "Unable to go online"),
    bit(3, 8, "Last online transaction not completed"),
    bit(3, 7, "PIN try limit exceeded"),
    bit(3, 6, "Velocity checking counters exceeded"),
    bit(3, 5, "New card"),
    bit(3, 4, "Issuer authentication failed on last online transaction"),
    bit(3, 3, "Issuer authentication not performed after online authorisation"),
    bit(3, 2, "Application blocked as PIN try limit exceeded"),
    bit(3, 1, "Static data authentication failed on last transaction, declined offline"),
    bit(4, 4, "Issuer script processing failed on last transaction"),
    bit(4, 3, "Dynamic data authentication failed on last transaction, declined offline"),
    bit(4, 2, "Dynamic data authentication performed"),
    bit(4, 1, "PIN verification command not received for a PIN expecting card"),
};

// EMV book 3, annex C7.3: common core definitions.
constexpr BitRow common_core_rows[] = {
    {1, 0xC0, 0x00, "AAC returned in second GENERATE AC"},
    {1, 0xC0, 0x40, "TC returned in second GENERATE AC"},
    {1, 0xC0, 0x80, "Second GENERATE AC not requested"},
    {1, 0x30, 0x00, "AAC returned in first GENERATE AC"},
    {1, 0x30, 0x10, "TC returned in first GENERATE AC"},
    {1, 0x30, 0x20, "ARQC returned in first GENERATE AC"},
    bit(1, 4, "CDA performed"),
    bit(1, 3, "Offline DDA performed"),
    bit(1, 2, "Issuer authentication not performed"),
    bit(1, 1, "Issuer authentication failed"),
    bit(2, 4, "Offline PIN verification performed"),
    bit(2, 3, "Offline PIN verification performed and PIN not successfully verified"),
    bit(2, 2, "PIN try limit exceeded"),
    bit(2, 1, "Last online transaction not completed"),
    bit(3, 8, "Lower offline transaction count limit exceeded"),
    bit(3, 7, "Upper offline transaction count limit exceeded"),
    bit(3, 6, "Lower cumulative offline amount limit exceeded"),
    bit(3, 5, "Upper cumulative offline amount limit exceeded"),
    bit(3, 4, "Issuer discretionary bit 1"),
    bit(3, 3, "Issuer discretionary bit 2"),
    bit(3, 2, "Issuer discretionary bit 3"),
    bit(3, 1, "Issuer discretionary bit 4"),
    bit(4, 4, "Issuer script processing failed"),
    bit(4, 3, "Offline data authentication failed on previous transaction"),
    bit(4, 2, "Go online on next transaction was set"),
    bit(4, 1, "Unable to go online"),
};

// The form without a length byte: key index, cryptogram version, six bytes of results.
constexpr BitRow six_byte_rows[] = {
    {1, 0xC0, 0x00, "AAC returned in second GENERATE AC"},
    {1, 0xC0, 0x40, "TC returned in second GENERATE AC"},
    {1, 0xC0, 0x80, "Second GENERATE AC not requested"},
    {1, 0x30, 0x00, "AAC returned in first GENERATE AC"},
    {1, 0x30, 0x10, "TC returned in first GENERATE AC"},
    {1, 0x30, 0x20, "ARQC returned in first GENERATE AC"},
    bit(1, 4, "Date check failed"),
    bit(1, 3, "Offline PIN verification performed"),
    bit(1, 2, "Offline enciphered PIN verification performed"),
    bit(1, 1, "Offline PIN verification successful"),
    bit(2, 8, "DDA returned"),
    bit(2, 7, "CDA returned in first GENERATE AC"),
    bit(2, 6, "CDA returned in second GENERATE AC"),
    bit(2, 5, "Issuer authentication performed"),
    bit(2, 4, "Default card issuer action codes skipped on cardholder activated terminal"),
    bit(4, 7, "Unable to go online indicated"),
    bit(4, 6, "Offline PIN verification not performed"),
    bit(4, 5, "Offline PIN verification failed"),
    bit(4, 4, "PIN try limit exceeded"),
    bit(4, 3, "International transaction"),
    bit(4, 2, "Domestic transaction"),
    bit(4, 1, "Terminal erroneously considers offline PIN correct"),
    bit(5, 8, "Lower consecutive offline limit exceeded"),
    bit(5, 7, "Upper consecutive offline limit exceeded"),
    bit(5, 6, "Lower cumulative offline limit exceeded"),
    bit(5, 5, "Upper cumulative offline limit exceeded"),
    bit(5, 4, "Go online on next transaction was set"),
    bit(5, 3, "Issuer authentication failed"),
    bit(5, 2, "Script received"),
    bit(5, 1, "Script failed"),
    bit(6, 2, "Match found in additional check table"),
    bit(6, 1, "No match found in additional check table"),
};

struct Algorithm {
    std::uint8_t code;
    std::string_view text;
};

constexpr Algorithm algorithms[] = {
    {0x01, "Triple DES"}, {0x02, "SM1"}, {0x03, "SSF33"}, {0x04, "SM4"}, {0x07, "SM4"}};

// Issuer discretionary data that open with their length and a number for what follows.
struct DiscretionaryForm {
    std::uint8_t number;
    std::size_t size;
    std::string_view amounts[2];
};

constexpr DiscretionaryForm discretionary_forms[] = {
    {0x01, 10, {"Electronic cash balance", {}}},
    {0x02, 10, {"Cumulative total transaction amount", {}}},
    {0x03, 15, {"Electronic cash balance", "Cumulative total transaction amount"}},
    {0x04, 15, {"Cumulative total transaction amount", "Cumulative total transaction limit"}},
    {0x05, 10, {"Available offline spending amount", {}}},
};

std::string nibble_text(std::uint8_t byte, bool high) {
    return decimal(high ? byte >> 4 : byte & 0x0F);
}

// Nibbles that hold numbers are told as fields, not as flags.
void drop_reserved(Node& node, std::size_t offset, std::string_view first_bits,
                   std::string_view second_bits = {}) {
    std::erase_if(node.children, [&](const Node& flag) {
        if (flag.kind != NodeKind::Flag || flag.text != "reserved" || flag.offset != offset) {
            return false;
        }
        const char number = flag.label.back();
        return first_bits.find(number) != std::string_view::npos ||
               second_bits.find(number) != std::string_view::npos;
    });
}

constexpr std::string_view high_nibble = "8765";
constexpr std::string_view low_nibble = "4321";

void add_discretionary_data(const Reading& reading, Value value, Node& node) {
    if (value.empty()) {
        return;
    }
    Node& data = add_field(reading, node, "Issuer discretionary data", value);
    if (value.size() < 2 || value[0] + 1u != value.size()) {
        return;
    }
    for (const DiscretionaryForm& form : discretionary_forms) {
        if (form.number != (value[1] & 0x0F) || form.size != value[0]) {
            continue;
        }
        constexpr std::size_t amount_size = 5;
        std::size_t position = 2;
        add_field(reading, data, "Length", value.part(0, 1));
        add_field(reading, data, "Form", value.part(1, 1));
        for (const std::string_view amount : form.amounts) {
            if (amount.empty()) {
                continue;
            }
            const Value digits = value.part(position, amount_size);
            add_field(reading, data, std::string(amount), digits,
                      is_digits(digits.bytes)
                          ? amount_text(bcd_number(digits.bytes), reading.card_currency)
                          : "");
            position += amount_size;
        }
        add_field(reading, data, "MAC", value.part(position));
        return;
    }
}

void tell_three_byte_form(const Reading& reading, Value value, Node& node) {
    const bool has_algorithm = value[0] == 0x07;
    node.note = has_algorithm ? "PBOC form" : "form with card verification results of 3 bytes";
    add_field(reading, node, "Length", value.part(0, 1));
    add_field(reading, node, "Key derivation index", value.part(1, 1));
    add_field(reading, node, "Cryptogram version", value.part(2, 1), decimal(value[2]));
    const Value results = value.part(3, 4);
    Node& cvr = add_field(reading, node, "Card verification results (CVR)", results);
    tell_pboc_cvr(reading, results, cvr);
    if (!has_algorithm) {
        add_discretionary_data(reading, value.part(7), node);
        return;
    }
    if (value.size() < 8) {
        add_problem(node, value.end(), "the algorithm identifier is missing");
        return;
    }
    std::string name = "unknown algorithm";
    for (const Algorithm& algorithm : algorithms) {
        name = algorithm.code == value[7] ? std::string(algorithm.text) : name;
    }
    add_field(reading, node, "Algorithm", value.part(7, 1), name);
    add_discretionary_data(reading, value.part(8), node);
}

// EMV book 3, annex C7.2: common core definitions, format code A.
void tell_common_core(const Reading& reading, Value value, Node& node) {
    node.note = "form of the common core definitions";
    add_field(reading, node, "Length", value.part(0, 1));
    add_field(reading, node, "Common core identifier", value.part(1, 1),
              "format " + hex(value.part(1, 1).bytes).substr(0, 1) + ", cryptogram version " +
                  nibble_text(value[1], false));
    add_field(reading, node, "Key derivation index", value.part(2, 1));
    const Value results = value.part(3, 5);
    Node& cvr = add_field(reading, node, "Card verification results (CVR)", results);
    add_flags(common_core_rows, results, cvr);
    drop_reserved(cvr, results.offset + 1, high_nibble);
    drop_reserved(cvr, results.offset + 3, high_nibble);
    add_field(reading, cvr, "PIN try counter", results.part(1, 1), nibble_text(results[1], true));
    add_field(reading, cvr, "Script commands processed", results.part(3, 1),
              nibble_text(results[3], true));
    add_field(reading, node, "Counters", value.part(8, 8));
    add_field(reading, node, "Length of issuer discretionary data", value.part(16, 1));
    add_field(reading, node, "Issuer discretionary data", value.part(17));
}

// A length of 1F with a cryptogram version whose first digit is the format.
void tell_long_form(const Reading& reading, Value value, Node& node) {
    node.note = "form with card verification results of 5 bytes";
    add_field(reading, node, "Length", value.part(0, 1));
    add_field(reading, node, "Cryptogram version", value.part(1, 1));
    add_field(reading, node, "Key derivation index", value.part(2, 1));
    Node& cvr = add_field(reading, node, "Card verification results (CVR)", value.part(3, 5));
    // The first three bytes as in the shorter form, without the length.
    Node flags;
    const std::uint8_t shifted[] = {0x03, value[3], value[4], value[5]};
    add_flags(cvr_rows, {shifted, value.offset + 2}, flags);
    for (Node& flag : flags.children) {
        if (flag.text != "reserved" && flag.offset > value.offset + 2) {
            flag.label[5] = static_cast<char>(flag.label[5] - 1);  // "byte 2 bit 8" is byte 1 here
            cvr.children.push_back(std::move(flag));
        }
    }
    add_field(reading, node, "Issuer discretionary data", value.part(8));
}

void tell_six_byte_form(const Reading& reading, Value value, Node& node) {
    node.note = "form with card verification results of 6 bytes";
    add_field(reading, node, "Key derivation index", value.part(0, 1));
    add_field(reading, node, "Cryptogram version", value.part(1, 1));
    const Value results = value.part(2, 6);
    Node& cvr = add_field(reading, node, "Card verification results (CVR)", results);
    add_flags(six_byte_rows, results, cvr);
    drop_reserved(cvr, results.offset + 2, high_nibble, low_nibble);
    add_field(reading, cvr, "Script counter", results.part(2, 1), nibble_text(results[2], true));
    add_field(reading, cvr, "PIN try counter", results.part(2, 1), nibble_text(results[2], false));
    add_field(reading, node, "DAC or ICC dynamic number", value.part(8, 2));
    if (value.size() > 10) {
        add_field(reading, node, "Counters, plain or enciphered", value.part(10, 8));
    }
    if (value.size() > 18) {
        add_field(reading, node, "Further counters", value.part(18));
    }
}

bool is_six_byte_form(Value value) {
    constexpr std::size_t sizes[] = {10, 18, 20, 26, 28};
    for (const std::size_t size : sizes) {
        if (value.size() == size) {
            return true;
        }
    }
    return false;
}

}  // namespace

void tell_pboc_cvr(const Reading& reading, Value value, Node& node) {
    if (!expect_size(value, 4, node)) {
        return;
    }
    if (value[0] != 0x03) {
        add_problem(node, value.offset, "the card verification results begin with their length 03");
    }
    add_flags(cvr_rows, value, node);
    // Byte 1 is a length; bits 8 to 5 of byte 4 count.
    drop_reserved(node, value.offset, high_nibble, low_nibble);
    drop_reserved(node, value.offset + 3, high_nibble);
    if ((value[3] >> 4) != 0) {
        add_field(reading, node, "Script commands processed", value.part(3, 1),
                  nibble_text(value[3], true));
    }
}

void tell_issuer_application_data(const Reading& reading, Value value, Node& node) {
    const bool three_bytes =
        value.size() >= 7 && (value[0] == 0x06 || value[0] == 0x07) && value[3] == 0x03;
    if (three_bytes) {
        tell_three_byte_form(reading, value, node);
    } else if (value.size() == 32 && value[0] == 0x0F && value[16] == 0x0F) {
        tell_common_core(reading, value, node);
    } else if (value.size() == 32 && value[0] == 0x1F) {
        tell_long_form(reading, value, node);
    } else if (is_six_byte_form(value)) {
        tell_six_byte_form(reading, value, node);
    } else {
        node.note = "the issuer's own form";
    }
}

}  // namespace quorrin::decode
