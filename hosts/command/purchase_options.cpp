#include "hosts/command/purchase_options.hpp"

#include <charconv>
#include <cstdint>
#include <optional>

#include "decode/lookup.hpp"
#include "hosts/command/applications.hpp"

namespace quorrin::command {
namespace {

constexpr unsigned highest_iso_number = 999;
constexpr std::size_t longest_merchant = 20;  // 9F4E has 20 bytes here

std::optional<unsigned> iso_number_in(const std::string& text) {
    unsigned number = 0;
    const char* end = text.data() + text.size();
    const bool is_number = !text.empty() && std::from_chars(text.data(), end, number).ptr == end;
    return is_number && number <= highest_iso_number ? std::optional(number) : std::nullopt;
}

// ISO 4217: 156 or CNY.
unsigned currency_number(const std::string& text) {
    if (const auto number = iso_number_in(text)) {
        return *number;
    }
    for (unsigned candidate = 1; candidate <= highest_iso_number; ++candidate) {
        if (decode::currency_code(static_cast<std::uint16_t>(candidate)) == text) {
            return candidate;
        }
    }
    throw WrongUsage("--currency: three digits or letters of ISO 4217, such as 156 or CNY");
}

// ISO 3166: 156, CN or CHN.
unsigned country_number(const std::string& text) {
    if (const auto number = iso_number_in(text)) {
        return *number;
    }
    const std::string_view name = decode::country_name(text);
    for (unsigned candidate = 1; !name.empty() && candidate <= highest_iso_number; ++candidate) {
        if (decode::country_name(static_cast<std::uint16_t>(candidate)) == name) {
            return candidate;
        }
    }
    throw WrongUsage("--country: a country of ISO 3166, such as 156, CN or CHN");
}

host::Amount amount_of(const std::string& text, unsigned exponent) {
    try {
        return host::Amount::parse(text, exponent);
    } catch (const std::invalid_argument&) {
        const std::string largest = host::Amount(999'999'999'999).text(exponent);
        const std::string point =
            exponent == 0 ? " without a point (the currency has no decimals)"
                          : ", a point, at most " + std::to_string(exponent) + " decimals";
        throw WrongUsage("--amount: digits" + point + "; not more than " + largest);
    }
}

host::ByteString hex_of_size(const char* option, const std::string& text, std::size_t size,
                             const char* what) {
    try {
        if (host::ByteString bytes = host::from_hex(text); bytes.size() == size) {
            return bytes;
        }
    } catch (const std::invalid_argument&) {  // the same complaint
    }
    throw WrongUsage(std::string(option) + ": " + what);
}

}  // namespace

void add_purchase_options(CLI::App& command, PurchaseOptions& options) {
    command.add_option("--amount", options.amount, "As people write it, with a point")
        ->type_name("AMOUNT")
        ->capture_default_str();
    command.add_option("--currency", options.currency, "ISO 4217: 156 or CNY")
        ->type_name("CURRENCY")
        ->capture_default_str();
    command.add_option("--country", options.country, "The terminal's, ISO 3166: 156, CN or CHN")
        ->type_name("COUNTRY")
        ->capture_default_str();
    command.add_option("--date", options.date, "YYMMDD; without it today")->type_name("DATE");
    command.add_option("--time", options.time, "HHMMSS; without it now")->type_name("TIME");
    command
        .add_option("--qualifiers", options.qualifiers,
                    "Terminal transaction qualifiers (9F66); the default asks contactless cards "
                    "for the whole transaction")
        ->type_name("HEX")
        ->capture_default_str();
    command.add_option("--type", options.type, "00 goods, 01 cash, 20 refund")
        ->type_name("TYPE")
        ->capture_default_str();
    command.add_option("--merchant", options.merchant, "At most 20 characters")
        ->type_name("NAME")
        ->capture_default_str();
    command
        .add_option("--unpredictable-number", options.unpredictable_number,
                    "Four bytes in hex; without it random")
        ->type_name("HEX");
    command.add_flag("--cryptogram-only", options.cryptogram_only,
                     "Stop after the card's cryptogram and show what goes online");
    command
        .add_option("--answer", options.answer,
                    "Go on with this answer of a bank (hex: 8A, 89, 91, 71, 72) instead of the "
                    "test bank's")
        ->type_name("HEX");
    add_bank_options(command, options.bank, "--bank");
    add_application_options(command, options);
}

host::PurchaseTerms terms_of(const PurchaseOptions& options) {
    host::PurchaseTerms terms;
    terms.currency = currency_number(options.currency);
    terms.country = country_number(options.country);
    const auto exponent = decode::currency_exponent(static_cast<std::uint16_t>(terms.currency));
    terms.amount = amount_of(options.amount, exponent ? static_cast<unsigned>(*exponent) : 2);
    if (!options.date.empty()) {
        terms.date = parse_date(options.date, "--date");
    }
    if (!options.time.empty()) {
        terms.elements[0x9F21] = hex_of_size("--time", options.time, 3, "a time is HHMMSS");
    }
    terms.type = hex_of_size("--type", options.type, 1, "a type has two digits").front();
    terms.elements[0x9F66] = hex_of_size("--qualifiers", options.qualifiers, 4,
                                         "terminal transaction qualifiers have four bytes, in hex");
    if (!options.unpredictable_number.empty()) {
        terms.elements[0x9F37] = hex_of_size("--unpredictable-number", options.unpredictable_number,
                                             4, "an unpredictable number has four bytes, in hex");
    }
    if (options.merchant.size() > longest_merchant) {
        throw WrongUsage("--merchant: at most 20 characters");
    }
    terms.merchant = options.merchant;
    if (options.answer.size() % 2 != 0 ||
        options.answer.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos) {
        throw WrongUsage("--answer: hex digits, two to a byte");
    }
    return terms;
}

}  // namespace quorrin::command
