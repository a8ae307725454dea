// Single facts of the tables, for those who need no tree.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "decode/decode.hpp"

namespace quorrin::decode {

// English name of an element, empty when the tables do not know the tag. Where kernels differ and the
// kernel is unknown, the first meaning.
std::string_view element_name(std::uint32_t tag, Kernel kernel = Kernel::Unknown);

// Chinese name of an element of the library's store, empty for others.
std::string_view element_name_zh(std::uint32_t tag);

// What has to be kept from view in an element.
enum class Secret : std::uint8_t {
    None,
    AccountNumber,  // first six and last four digits may be seen
    Track,          // the account number in it as above, nothing else
    Name,
    Paper,  // number of an identity document
    Pin,
};
Secret secret_of(std::uint32_t tag, Kernel kernel = Kernel::Unknown);

// The value of an element as hex digits (`text`: as characters) with * for what must not be seen.
std::string masked_hex(std::uint32_t tag, Bytes value, Kernel kernel = Kernel::Unknown);

// What a status word means: in English, and by the library's own message table.
struct StatusWord {
    std::string meaning;  // English, "Unknown status word" when no row fits
    bool known = false;
    std::optional<std::int64_t> code;  // the library's code, where its table has the status word
    std::string_view message;          // its message, in Chinese
};
StatusWord status_word(std::uint8_t sw1, std::uint8_t sw2);

// What a result code of the library means; device codes of reader libraries among them.
struct ResultCode {
    std::string_view meaning;  // English, empty when unknown
    std::string_view message;  // the library's message, empty where it has none
};
ResultCode result_code(std::int64_t code);

// What an authorisation response code (8A) means: "51", "Y3". Empty for a network's own.
std::string_view response_code_meaning(std::string_view code);

// English names by ISO number or code, empty when unknown.
std::string_view country_name(std::uint16_t numeric);   // 156: BCD 0156 read as a decimal number
std::string_view country_name(std::string_view alpha);  // "CN", "CHN"
std::string_view currency_name(std::uint16_t numeric);
std::string_view currency_code(std::uint16_t numeric);  // "CNY"
std::optional<int> currency_exponent(std::uint16_t numeric);
std::string_view language_name(std::string_view alpha_2);  // "zh"

// "CNY 128.50" for 12850 and 156; without a currency the digits with their unit said.
std::string amount_text(std::uint64_t minor_units, std::optional<std::uint16_t> currency);

// What a quick card has decided in its answer to GET PROCESSING OPTIONS (PBOC part 12): 0 AAC, 1 TC,
// 2 ARQC. It stands in 9F27; cards that leave that out say it in the results within 9F10.
std::optional<unsigned> quick_cryptogram_type(std::optional<std::uint8_t> cryptogram_information,
                                              Bytes issuer_application_data);

// Who registered an application identifier, or what it selects; empty when unknown.
std::string_view application_name(Bytes application_identifier);

}  // namespace quorrin::decode
