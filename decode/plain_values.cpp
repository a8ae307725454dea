// Dates, amounts, currencies, countries, languages and short codes.
#include <algorithm>
#include <array>

#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// ISO 8583, processing code, and what PBOC adds.
constexpr CodeRow transaction_types[] = {
    {0x00, "Purchase of goods or services"},
    {0x01, "Cash"},
    {0x02, "Void"},
    {0x03, "Preauthorisation"},
    {0x09, "Purchase with cashback"},
    {0x17, "Cash disbursement"},
    {0x20, "Refund"},
    {0x21, "Deposit"},
    {0x28, "Loading without card present"},
    {0x30, "Available funds inquiry"},
    {0x31, "Balance inquiry"},
    {0x40, "Account transfer"},
    {0x50, "Payment"},
    {0x60, "Load from the cardholder's own account"},
    {0x61, "Electronic cash load against cash, reversal"},
    {0x62, "Load from another account"},
    {0x63, "Electronic cash load against cash"},
    {0x70, "PIN unblock or change"},
    {0x90, "Administrative"},
};

// EMV book 3, annex G.
constexpr CodeRow account_types[] = {
    {0x00, "Default, unspecified"},
    {0x10, "Savings"},
    {0x20, "Cheque or debit"},
    {0x30, "Credit"},
};

// ISO/IEC 5218.
constexpr CodeRow sexes[] = {
    {0x00, "not known"}, {0x01, "male"}, {0x02, "female"}, {0x09, "not applicable"}};

// EMV book 2, annex B2 and B3; SM algorithms as PBOC adds them.
constexpr CodeRow hash_algorithms[] = {{0x01, "SHA-1"}, {0x02, "SHA-256"}, {0x07, "SM3"}};
constexpr CodeRow key_algorithms[] = {{0x01, "RSA"}, {0x04, "SM2"}};

struct ResponseRow {
    std::string_view code;
    std::string_view text;
};

// ISO 8583 and EMV book 4, annex A6.
constexpr ResponseRow response_codes[] = {
    {"00", "Approved"},
    {"01", "Refer to card issuer"},
    {"02", "Refer to card issuer, special condition"},
    {"03", "Invalid merchant"},
    {"04", "Capture card"},
    {"05", "Do not honour"},
    {"06", "Error"},
    {"07", "Capture card, special condition"},
    {"08", "Approved, identity to be checked"},
    {"09", "Request in progress"},
    {"10", "Approved for a partial amount"},
    {"11", "Approved, VIP"},
    {"12", "Invalid transaction"},
    {"13", "Invalid amount"},
    {"14", "No such card number"},
    {"15", "No such issuer"},
    {"25", "Original transaction not found"},
    {"30", "Format error"},
    {"34", "Suspected fraud, capture card"},
    {"38", "PIN tries exceeded, capture card"},
    {"40", "Function not supported"},
    {"41", "Lost card, capture"},
    {"43", "Stolen card, capture"},
    {"51", "Not sufficient funds"},
    {"54", "Expired card"},
    {"55", "Incorrect PIN"},
    {"57", "Transaction not permitted to cardholder"},
    {"58", "Transaction not permitted to terminal"},
    {"59", "Suspected fraud"},
    {"61", "Exceeds amount limit"},
    {"62", "Restricted card"},
    {"63", "Security violation"},
    {"65", "Exceeds frequency limit"},
    {"68", "Response received too late"},
    {"75", "PIN tries exceeded"},
    {"91", "Issuer or switch not operative"},
    {"92", "Routing not possible"},
    {"94", "Duplicate transmission"},
    {"96", "System malfunction"},
    {"Y1", "Offline approved"},
    {"Z1", "Offline declined"},
    {"Y3", "Unable to go online, offline approved"},
    {"Z3", "Unable to go online, offline declined"},
};

// EMV contactless book B, 3.3.2: the kernel identifier's short number.
constexpr CodeRow kernels[] = {{0x01, "kernel 1"},   {0x02, "kernel C-2"}, {0x03, "kernel C-3"},
                               {0x04, "kernel C-4"}, {0x05, "kernel C-5"}, {0x06, "kernel C-6"},
                               {0x07, "kernel C-7"}, {0x08, "kernel C-8"}};

void tell_code(std::span<const CodeRow> rows, std::string_view what, Value value, Node& node) {
    if (!expect_size(value, 1, node)) {
        return;
    }
    const std::string_view meaning = code_meaning(rows, value[0]);
    if (!meaning.empty()) {
        node.text = meaning;
        return;
    }
    add_unknown(node, value.offset, "no " + std::string(what) + " " + hex(value.bytes));
}

bool is_zero(Value value) {
    return std::ranges::all_of(value.bytes, [](std::uint8_t byte) { return byte == 0; });
}

unsigned days_in(unsigned year, unsigned month) {
    constexpr std::array<unsigned, 12> days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return days[month - 1] + (month == 2 && leap ? 1 : 0);
}

std::string two_digits(unsigned number) {
    return (number < 10 ? "0" : "") + decimal(number);
}

// `first` is where the digits stand; years of four digits.
void tell_day(unsigned year, unsigned month, unsigned day, Value value, Node& node) {
    node.text = decimal(year) + "-" + two_digits(month) + "-" + two_digits(day);
    node.text_says_all = true;
    if (month < 1 || month > 12 || day < 1 || day > days_in(year, month)) {
        add_problem(node, value.offset, "no such day");
    }
}

std::optional<std::uint16_t> code_number(Value value) {
    if (value.size() != 2 || !is_digits(value.bytes)) {
        return {};
    }
    return static_cast<std::uint16_t>(bcd_number(value.bytes));
}

void tell_amount(std::optional<std::uint16_t> currency, Value value, Node& node) {
    if (!is_digits(value.bytes)) {
        add_problem(node, value.offset, "numeric, but not all digits are decimal");
        return;
    }
    node.text = amount_text(bcd_number(value.bytes), currency);
}

}  // namespace

void tell_date(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 3, node)) {
        return;
    }
    if (is_zero(value)) {
        node.text = "not given";
        return;
    }
    if (!is_digits(value.bytes)) {
        add_problem(node, value.offset, "a date, but not all digits are decimal");
        return;
    }
    // EMV book 4, 6.7.3: years from 50 belong to the last century.
    const auto year = static_cast<unsigned>(bcd_number(value.part(0, 1).bytes));
    tell_day((year < 50 ? 2000 : 1900) + year,
             static_cast<unsigned>(bcd_number(value.part(1, 1).bytes)),
             static_cast<unsigned>(bcd_number(value.part(2, 1).bytes)), value, node);
}

void tell_long_date(const Reading& reading, Value value, Node& node) {
    std::string digits = hex(value.bytes);
    if (value.size() == 8 && is_printable(value.bytes)) {
        digits = characters(value.bytes);
    }
    if (value.size() == 3) {
        tell_date(reading, value, node);
        return;
    }
    if (digits.size() != 8 ||
        !std::ranges::all_of(digits, [](char c) { return c >= '0' && c <= '9'; })) {
        add_problem(node, value.offset, "no date");
        return;
    }
    const auto number = [&](std::size_t first, std::size_t count) {
        return static_cast<unsigned>(std::stoul(digits.substr(first, count)));
    };
    tell_day(number(0, 4), number(4, 2), number(6, 2), value, node);
}

void tell_time(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 3, node)) {
        return;
    }
    const std::string digits = hex(value.bytes);
    node.text = digits.substr(0, 2) + ":" + digits.substr(2, 2) + ":" + digits.substr(4, 2);
    node.text_says_all = true;
    if (!is_digits(value.bytes) || value[0] > 0x23 || value[1] > 0x59 || value[2] > 0x59) {
        add_problem(node, value.offset, "no time of day");
    }
}

void tell_transaction_amount(const Reading& reading, Value value, Node& node) {
    tell_amount(reading.transaction_currency, value, node);
}

void tell_card_amount(const Reading& reading, Value value, Node& node) {
    tell_amount(reading.card_currency ? reading.card_currency : reading.transaction_currency, value,
                node);
}

void tell_binary_amount(const Reading& reading, Value value, Node& node) {
    if (value.size() <= sizeof(std::uint64_t)) {
        node.text = amount_text(big_endian(value.bytes), reading.transaction_currency);
    }
}

void tell_currency(const Reading&, Value value, Node& node) {
    const auto code = code_number(value);
    if (!code) {
        add_problem(node, value.offset, "a currency has four decimal digits");
        return;
    }
    if (*code == 0) {
        node.text = "not given";
        return;
    }
    const std::string_view name = currency_name(*code);
    if (name.empty()) {
        add_unknown(node, value.offset, "no currency " + hex(value.bytes) + " in ISO 4217");
        return;
    }
    node.text = std::string(currency_code(*code)) + ", " + std::string(name);
}

void tell_currencies(const Reading& reading, Value value, Node& node) {
    for (Value rest = value; !rest.empty(); rest = rest.part(2)) {
        Node& field = add_field(reading, node, "Currency", rest.part(0, 2));
        tell_currency(reading, rest.part(0, 2), field);
    }
}

void tell_country(const Reading&, Value value, Node& node) {
    const auto code = code_number(value);
    if (!code) {
        add_problem(node, value.offset, "a country has four decimal digits");
        return;
    }
    if (*code == 0) {
        node.text = "not given";
        return;
    }
    const std::string_view name = country_name(*code);
    if (name.empty()) {
        add_unknown(node, value.offset, "no country " + hex(value.bytes) + " in ISO 3166-1");
        return;
    }
    node.text = name;
}

void tell_alpha_country(const Reading&, Value value, Node& node) {
    const std::string code = characters(value.bytes);
    const std::string_view name = country_name(code);
    if (name.empty()) {
        node.text = quoted(value.bytes);
        add_unknown(node, value.offset, "no such country in ISO 3166-1");
        return;
    }
    node.text = code + ", " + std::string(name);
}

void tell_languages(const Reading&, Value value, Node& node) {
    std::string text;
    for (Value rest = value; !rest.empty(); rest = rest.part(2)) {
        std::string code = characters(rest.part(0, 2).bytes);
        // Cards write them in either case.
        std::ranges::transform(code, code.begin(), [](unsigned char c) {
            return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        });
        const std::string_view name = language_name(code);
        text += (text.empty() ? "" : ", ") + (name.empty() ? code : std::string(name));
        if (name.empty()) {
            add_unknown(node, rest.offset, "no language of this code in ISO 639");
        }
    }
    node.text = text;
}

void tell_number(const Reading&, Value value, Node& node) {
    if (value.size() <= sizeof(std::uint64_t)) {
        node.text = decimal(big_endian(value.bytes));
    }
}

void tell_version(const Reading&, Value value, Node& node) {
    if (value.size() <= 2) {
        node.text = decimal(big_endian(value.bytes));
    }
}

void tell_exponent(const Reading&, Value value, Node& node) {
    if (value.size() == 1 && is_digits(value.bytes)) {
        node.text = decimal(bcd_number(value.bytes)) + " decimals";
    }
}

void tell_transaction_type(const Reading&, Value value, Node& node) {
    tell_code(transaction_types, "transaction type", value, node);
}

void tell_account_type(const Reading&, Value value, Node& node) {
    tell_code(account_types, "account type", value, node);
}

void tell_sex(const Reading&, Value value, Node& node) {
    tell_code(sexes, "sex", value, node);
}

void tell_response_code(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 2, node)) {
        return;
    }
    const std::string code = characters(value.bytes);
    if (is_zero(value)) {
        node.text = "not given";
        return;
    }
    node.text = quoted(value.bytes);
    if (const std::string_view meaning = response_code_meaning(code); !meaning.empty()) {
        node.text += " " + std::string(meaning);
    } else {
        node.note = "the network's own code";
    }
}

std::string_view response_code_meaning(std::string_view code) {
    const auto* const row = std::ranges::find(response_codes, code, &ResponseRow::code);
    return row != std::end(response_codes) ? row->text : std::string_view();
}

void tell_code_table(const Reading&, Value value, Node& node) {
    if (value.size() == 1) {
        node.text = "ISO/IEC 8859-" + decimal(bcd_number(value.bytes));
    }
}

void tell_priority(const Reading&, Value value, Node& node) {
    if (!expect_size(value, 1, node)) {
        return;
    }
    const unsigned priority = value[0] & 0x0F;
    node.text = priority == 0 ? "no priority" : "priority " + decimal(priority);
    if ((value[0] & 0x80) != 0) {
        node.text += ", to be confirmed by the cardholder";
    }
}

void tell_application_identifier(const Reading&, Value value, Node& node) {
    const std::string_view name = application_name(value.bytes);
    if (!name.empty()) {
        node.text = name;
        node.text_says_all = is_printable(value.bytes);  // directories, whose name is in the text
    } else if (is_printable(value.bytes)) {
        node.text = quoted(value.bytes);
    }
}

void tell_object_identifier(const Reading&, Value value, Node& node) {
    // ISO/IEC 8825-1, 8.19: base 128, the first number holds two.
    std::string text;
    std::uint64_t number = 0;
    for (const std::uint8_t byte : value.bytes) {
        number = number << 7 | (byte & 0x7F);
        if ((byte & 0x80) != 0) {
            continue;
        }
        if (text.empty()) {
            const std::uint64_t first = number < 80 ? number / 40 : 2;
            text = decimal(first) + "." + decimal(number - 40 * first);
        } else {
            text += "." + decimal(number);
        }
        number = 0;
    }
    node.text = text;
}

void tell_hash_algorithm(const Reading&, Value value, Node& node) {
    tell_code(hash_algorithms, "hash algorithm", value, node);
}

void tell_key_algorithm(const Reading&, Value value, Node& node) {
    tell_code(key_algorithms, "key algorithm", value, node);
}

void tell_kernel_identifier(const Reading&, Value value, Node& node) {
    // EMV contactless book B, table 3-6: two bits say how to read the rest.
    constexpr std::string_view types[] = {"international", "reserved", "domestic",
                                          "domestic, proprietary"};
    const std::uint8_t first = value[0];
    const std::uint8_t number = first & 0x3F;
    node.text = std::string(types[first >> 6]) + ", ";
    const std::string_view kernel = code_meaning(kernels, number);
    if (!kernel.empty() && first < 0x40) {
        node.text += kernel;
        return;
    }
    node.text += "kernel " + hex(value.part(0, 3).bytes);
}

void tell_asrpd(const Reading& reading, Value value, Node& node) {
    // EMV book 1, 12.5: proprietary identifiers of two bytes, a length, the data.
    for (Value rest = value; !rest.empty();) {
        if (rest.size() < 3 || rest.size() < 3u + rest[2]) {
            add_unreadable(reading, node, rest, "an entry is not finished");
            return;
        }
        add_field(reading, node, "Identifier " + hex(rest.part(0, 2).bytes), rest.part(3, rest[2]));
        rest = rest.part(3u + rest[2]);
    }
}

}  // namespace quorrin::decode
