// The data elements that are dealt with by name (EMV book 3, annex A, PBOC debit/credit and
// electronic cash): names for their places in the dictionary.
#pragma once

#include "emvdata/dictionary.hpp"

namespace quorrin::element {

// Terminal
inline constexpr Slot account_type = slot_of(0x5F57);
inline constexpr Slot acquirer_identifier = slot_of(0x9F01);
inline constexpr Slot additional_terminal_capabilities = slot_of(0x9F40);
inline constexpr Slot aid_terminal = slot_of(0x9F06);
inline constexpr Slot amount_authorised_binary = slot_of(0x81);
inline constexpr Slot amount_authorised_numeric = slot_of(0x9F02);
inline constexpr Slot amount_other_binary = slot_of(0x9F04);
inline constexpr Slot amount_other_numeric = slot_of(0x9F03);
inline constexpr Slot app_version_number_terminal = slot_of(0x9F09);
inline constexpr Slot authorisation_response_code = slot_of(0x8A);
inline constexpr Slot cvm_results = slot_of(0x9F34);
inline constexpr Slot ec_terminal_support_indicator = slot_of(0x9F7A);
inline constexpr Slot ifd_serial_number = slot_of(0x9F1E);
inline constexpr Slot issuer_authentication_data = slot_of(0x91);
inline constexpr Slot issuer_script_template_1 = slot_of(0x71);
inline constexpr Slot issuer_script_template_2 = slot_of(0x72);
inline constexpr Slot merchant_category_code = slot_of(0x9F15);
inline constexpr Slot merchant_identifier = slot_of(0x9F16);
inline constexpr Slot merchant_name_and_location = slot_of(0x9F4E);
inline constexpr Slot pin_data = slot_of(0x99);
inline constexpr Slot tc_hash_value = slot_of(0x98);
inline constexpr Slot terminal_capabilities = slot_of(0x9F33);
inline constexpr Slot terminal_country_code = slot_of(0x9F1A);
inline constexpr Slot terminal_floor_limit = slot_of(0x9F1B);
inline constexpr Slot terminal_identification = slot_of(0x9F1C);
inline constexpr Slot terminal_transaction_qualifiers = slot_of(0x9F66);
inline constexpr Slot terminal_type = slot_of(0x9F35);
inline constexpr Slot terminal_verification_results = slot_of(0x95);
inline constexpr Slot transaction_category_code = slot_of(0x9F53);
inline constexpr Slot transaction_currency_code = slot_of(0x5F2A);
inline constexpr Slot transaction_currency_exponent = slot_of(0x5F36);
inline constexpr Slot transaction_date = slot_of(0x9A);
inline constexpr Slot transaction_reference_currency_code = slot_of(0x9F3C);
inline constexpr Slot transaction_reference_currency_exponent = slot_of(0x9F3D);
inline constexpr Slot transaction_sequence_counter = slot_of(0x9F41);
inline constexpr Slot transaction_status_information = slot_of(0x9B);
inline constexpr Slot transaction_time = slot_of(0x9F21);
inline constexpr Slot transaction_type = slot_of(0x9C);
inline constexpr Slot unpredictable_number = slot_of(0x9F37);

// Card
inline constexpr Slot aid_card = slot_of(0x4F);
inline constexpr Slot app_currency_code = slot_of(0x9F42);
inline constexpr Slot app_effective_date = slot_of(0x5F25);
inline constexpr Slot app_expiration_date = slot_of(0x5F24);
inline constexpr Slot app_file_locator = slot_of(0x94);
inline constexpr Slot app_interchange_profile = slot_of(0x82);
inline constexpr Slot app_transaction_counter = slot_of(0x9F36);
inline constexpr Slot app_usage_control = slot_of(0x9F07);
inline constexpr Slot app_version_number_card = slot_of(0x9F08);
inline constexpr Slot application_cryptogram = slot_of(0x9F26);
inline constexpr Slot ca_public_key_index = slot_of(0x8F);
inline constexpr Slot card_authentication_related_data = slot_of(0x9F69);
inline constexpr Slot card_transaction_qualifiers = slot_of(0x9F6C);
inline constexpr Slot cardholder_id_number = slot_of(0x9F61);
inline constexpr Slot cardholder_id_type = slot_of(0x9F62);
inline constexpr Slot cardholder_name = slot_of(0x5F20);
inline constexpr Slot cdol1 = slot_of(0x8C);
inline constexpr Slot cdol2 = slot_of(0x8D);
inline constexpr Slot cvm_list = slot_of(0x8E);
inline constexpr Slot data_authentication_code = slot_of(0x9F45);
inline constexpr Slot ddol = slot_of(0x9F49);
inline constexpr Slot ec_issuer_authorisation_code = slot_of(0x9F74);
inline constexpr Slot icc_dynamic_number = slot_of(0x9F4C);
inline constexpr Slot icc_pin_key_certificate = slot_of(0x9F2D);
inline constexpr Slot icc_pin_key_exponent = slot_of(0x9F2E);
inline constexpr Slot icc_pin_key_remainder = slot_of(0x9F2F);
inline constexpr Slot icc_public_key_certificate = slot_of(0x9F46);
inline constexpr Slot icc_public_key_exponent = slot_of(0x9F47);
inline constexpr Slot icc_public_key_remainder = slot_of(0x9F48);
inline constexpr Slot issuer_action_code_default = slot_of(0x9F0D);
inline constexpr Slot issuer_action_code_denial = slot_of(0x9F0E);
inline constexpr Slot issuer_action_code_online = slot_of(0x9F0F);
inline constexpr Slot issuer_application_data = slot_of(0x9F10);
inline constexpr Slot issuer_country_code = slot_of(0x5F28);
inline constexpr Slot issuer_public_key_certificate = slot_of(0x90);
inline constexpr Slot issuer_public_key_exponent = slot_of(0x9F32);
inline constexpr Slot issuer_public_key_remainder = slot_of(0x92);
inline constexpr Slot language_preference = slot_of(0x5F2D);
inline constexpr Slot lower_consecutive_offline_limit = slot_of(0x9F14);
inline constexpr Slot pan = slot_of(0x5A);
inline constexpr Slot pan_sequence_number = slot_of(0x5F34);
inline constexpr Slot pdol = slot_of(0x9F38);
inline constexpr Slot pin_try_counter = slot_of(0x9F17);
inline constexpr Slot sda_tag_list = slot_of(0x9F4A);
inline constexpr Slot signed_dynamic_application_data = slot_of(0x9F4B);
inline constexpr Slot signed_static_application_data = slot_of(0x93);
inline constexpr Slot tdol = slot_of(0x97);
inline constexpr Slot upper_consecutive_offline_limit = slot_of(0x9F23);

}  // namespace quorrin::element
