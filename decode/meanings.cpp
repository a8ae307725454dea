#include "decode/meanings.hpp"

#include "decode/secrets.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

// What tells an element, one row each. Elements without a row are told by their format.
struct MeaningRow {
    std::uint32_t tag;
    Teller tell;
    Kernel kernel = Kernel::Unknown;  // as in the element's own row
    std::uint32_t within = 0;
};

constexpr MeaningRow meaning_rows[] = {
    {0x06, tell_object_identifier},
    {0x4F, tell_application_identifier},
    {0x56, tell_track_1},
    {0x57, tell_track_2},
    {0x5A, tell_account_number},
    {0x5C, tell_tag_list},
    {0x5D, tell_dol},
    {0x5F24, tell_date},
    {0x5F25, tell_date},
    {0x5F26, tell_date},
    {0x5F28, tell_country},
    {0x5F2A, tell_currency},
    {0x5F2D, tell_languages},
    {0x5F30, tell_service_code},
    {0x5F33, tell_date},
    {0x5F35, tell_sex},
    {0x5F36, tell_exponent},
    {0x5F55, tell_alpha_country},
    {0x5F56, tell_alpha_country},
    {0x5F57, tell_account_type},
    {0x80, tell_format_1_answer},
    {0x81, tell_binary_amount},
    {0x82, tell_aip},
    {0x82, tell_file_descriptor, Kernel::Unknown, 0x62},
    {0x82, tell_file_descriptor, Kernel::Unknown, 0x6F},
    {0x83, tell_command_template},
    {0x84, tell_application_identifier},
    {0x86, tell_script_command},
    {0x87, tell_priority},
    {0x88, tell_sfi},
    {0x8A, tell_response_code},
    {0x8A, tell_life_cycle_status, Kernel::Unknown, 0x62},
    {0x8A, tell_life_cycle_status, Kernel::Unknown, 0x6F},
    {0x8C, tell_dol},
    {0x8D, tell_dol},
    {0x8E, tell_cvm_list},
    {0x90, tell_certificate},
    {0x91, tell_issuer_authentication_data},
    {0x93, tell_certificate},
    {0x94, tell_afl},
    {0x95, tell_tvr},
    {0x97, tell_dol},
    {0x9A, tell_date},
    {0x9B, tell_tsi},
    {0x9C, tell_transaction_type},
    {0x9D, tell_application_identifier},
    {0x9F02, tell_transaction_amount},
    {0x9F03, tell_transaction_amount},
    {0x9F04, tell_binary_amount},
    {0x9F06, tell_application_identifier},
    {0x9F07, tell_auc},
    {0x9F08, tell_version},
    {0x9F09, tell_version},
    {0x9F08, tell_version, Kernel::Unknown, 0xA5},
    {0x9F0A, tell_asrpd},
    {0x9F0C, tell_purse_data, Kernel::Unknown, 0xA5},
    {0x9F0D, tell_tvr},
    {0x9F0E, tell_tvr},
    {0x9F0F, tell_tvr},
    {0x9F10, tell_issuer_application_data},
    {0x9F11, tell_code_table},
    {0x9F13, tell_number},
    {0x9F14, tell_number},
    {0x9F17, tell_number},
    {0x9F1A, tell_country},
    {0x9F1B, tell_binary_amount},
    {0x9F21, tell_time},
    {0x9F23, tell_number},
    {0x9F27, tell_cid},
    {0x9F2A, tell_kernel_identifier},
    {0x9F2D, tell_certificate},
    {0x9F33, tell_terminal_capabilities},
    {0x9F34, tell_cvm_results},
    {0x9F35, tell_terminal_type},
    {0x9F36, tell_number},
    {0x9F38, tell_dol},
    {0x9F39, tell_pos_entry_mode},
    {0x9F3B, tell_currencies},
    {0x9F3C, tell_currency},
    {0x9F3D, tell_exponent},
    {0x9F40, tell_additional_terminal_capabilities},
    {0x9F42, tell_currency},
    {0x9F44, tell_exponent},
    {0x9F46, tell_certificate},
    {0x9F49, tell_dol},
    {0x9F4A, tell_tag_list},
    {0x9F4B, tell_certificate},
    {0x9F4D, tell_log_entry},
    {0x9F4F, tell_dol},
    {0x9F51, tell_currency},
    {0x9F51, tell_dol, Kernel::C2},
    {0x9F50, tell_card_amount, Kernel::C2},
    {0x9F50, tell_card_amount, Kernel::C5},
    {0x9F52, tell_application_default_action},
    {0x9F53, tell_number, Kernel::Pboc},
    {0x9F53, tell_number, Kernel::C3},
    {0x9F54, tell_card_amount},
    {0x9F55, tell_geographic_indicator},
    {0x9F56, tell_issuer_authentication_indicator},
    {0x9F57, tell_country},
    {0x9F58, tell_number},
    {0x9F59, tell_number},
    {0x9F5B, tell_script_results},
    {0x9F5B, tell_dol, Kernel::C2},
    {0x9F5C, tell_card_amount},
    {0x9F5D, tell_card_amount},
    {0x9F5D, tell_application_capabilities, Kernel::C2},
    {0x9F5E, tell_number},
    {0x9F5F, tell_card_amount},
    {0x9F62, tell_identity_document_type},
    {0x9F66, tell_ttq},
    {0x9F68, tell_card_additional_processes},
    {0x9F69, tell_card_authentication_data},
    {0x9F69, tell_dol, Kernel::C2},
    {0x9F6B, tell_card_amount},
    {0x9F6B, tell_track_2, Kernel::C2},
    {0x9F6C, tell_ctq},
    {0x9F6C, tell_version, Kernel::C2},
    {0x9F6D, tell_card_amount},
    {0x9F6D, tell_version, Kernel::C2},
    {0x9F6E, tell_form_factor, Kernel::C3},
    {0x9F6E, tell_third_party_data, Kernel::C2},
    {0x9F72, tell_number},
    {0x9F75, tell_card_amount},
    {0x9F76, tell_currency},
    {0x9F77, tell_card_amount},
    {0x9F78, tell_card_amount},
    {0x9F79, tell_card_amount},
    {0x9F7A, tell_yes_or_no},
    {0x9F7B, tell_card_amount},
    {0x9F7F, tell_production_life_cycle},
    {0xC8, tell_country, Kernel::C2},
    {0xC9, tell_currency, Kernel::C2},
    {0xCA, tell_card_amount, Kernel::C2},
    {0xCB, tell_card_amount, Kernel::C2},
    {0xD8, tell_aip, Kernel::C2},
    {0xD9, tell_afl, Kernel::C2},
    {0xDF02, tell_certificate},
    {0xDF05, tell_long_date},
    {0xDF06, tell_hash_algorithm},
    {0xDF07, tell_key_algorithm},
    {0xDF11, tell_tvr},
    {0xDF12, tell_tvr},
    {0xDF13, tell_tvr},
    {0xDF14, tell_dol},
    {0xDF19, tell_card_amount},
    {0xDF20, tell_card_amount},
    {0xDF21, tell_card_amount},
    {0xDF31, tell_script_results},
    {0xDF4D, tell_log_entry},
    {0xDF4F, tell_dol},
    {0xDF62, tell_card_amount},
    {0xDF63, tell_card_amount},
    {0xDF69, tell_yes_or_no},
    {0xDF71, tell_currency},
    {0xDF8104, tell_card_amount},
    {0xDF8105, tell_card_amount},
    {0xDF8106, tell_tag_list},
    {0xDF8112, tell_tag_list},
    {0xDF811A, tell_dol},
    {0xDF8120, tell_tvr},
    {0xDF8121, tell_tvr},
    {0xDF8122, tell_tvr},
    {0xDF8123, tell_transaction_amount},
    {0xDF8124, tell_transaction_amount},
    {0xDF8125, tell_transaction_amount},
    {0xDF8126, tell_transaction_amount},
    {0xDF8129, tell_outcome_parameters},
};

Teller find_teller(const Element& element) {
    for (const MeaningRow& row : meaning_rows) {
        if (row.tag == element.tag && row.kernel == element.kernel &&
            row.within == element.within) {
            return row.tell;
        }
    }
    return nullptr;
}

void tell_masked(Secret secret, Value value, bool as_text, Node& node) {
    const Hidden hidden = hidden_digits(secret, value.bytes);
    if (as_text) {
        node.text = "\"" + masked_characters(value.bytes, hidden) + "\"";
        node.text_says_all = true;
    }
}

void tell_text(const Reading& reading, Value value, Node& node) {
    if (const auto chinese = chinese_text(value.bytes)) {
        node.text = "\"" + chinese->text + "\"";
        node.note = "read as " + std::string(chinese->encoding);
        return;
    }
    node.text = "\"" + open_characters(reading, value.bytes) + "\"";
    node.text_says_all = is_printable(value.bytes);
}

// How long a value is that cannot be text: binary elements of up to eight bytes are numbers.
std::size_t longest_number(const Element& element) {
    constexpr std::size_t block = 8;  // a cryptogram
    return element.longest != 0 && element.longest <= block ? element.longest : 0;
}

void tell_by_format(const Reading& reading, const Element& element, Value value, Node& node) {
    switch (element.format) {
        case Format::n:
        case Format::cn:
            // Fillers stand at the end (cn); anything else in the digits is told as it is.
            // Proprietary elements are listed as numeric that are not on all cards.
            if (element.format == Format::n && !is_digits(value.bytes) &&
                !is_proprietary(element.tag)) {
                add_problem(node, value.offset, "numeric, but not all digits are decimal");
            }
            break;
        case Format::an:
        case Format::ans:
        case Format::a:
            tell_text(reading, value, node);
            break;
        case Format::b:
            // Text where there is room for one: in a cryptogram or a random number it is chance.
            if (value.size() > 3 && value.size() > longest_number(element) &&
                is_printable(value.bytes)) {
                node.text = "\"" + open_characters(reading, value.bytes) + "\"";
            }
            break;
    }
}

bool is_text(Format format) {
    return format == Format::an || format == Format::ans || format == Format::a;
}

}  // namespace

void tell_meaning(const Reading& reading, const Element& element, Secret secret, Value value,
                  Node& node) {
    if (const Teller tell = find_teller(element); tell != nullptr) {
        tell(reading, value, node);
    } else if (secret != Secret::None && !reading.shows_secrets()) {
        tell_masked(secret, value, is_text(element.format) || is_printable(value.bytes), node);
    } else {
        tell_by_format(reading, element, value, node);
    }
}

}  // namespace quorrin::decode
