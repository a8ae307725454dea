// All tellers, by the file that has them. Each turns the value of one kind of data into text, fields
// and flags of its node.
#pragma once

#include "decode/reading.hpp"

namespace quorrin::decode {

// verification_results.cpp: what terminal and card have found (EMV book 3, annex C; book 4, annex A)
void tell_aip(const Reading&, Value, Node&);
void tell_auc(const Reading&, Value, Node&);
void tell_tvr(const Reading&, Value, Node&);
void tell_tsi(const Reading&, Value, Node&);

// terminal_data.cpp
void tell_terminal_type(const Reading&, Value, Node&);
void tell_terminal_capabilities(const Reading&, Value, Node&);
void tell_additional_terminal_capabilities(const Reading&, Value, Node&);
void tell_ttq(const Reading&, Value, Node&);
void tell_pos_entry_mode(const Reading&, Value, Node&);
void tell_yes_or_no(const Reading&, Value, Node&);
void tell_outcome_parameters(const Reading&, Value, Node&);

// card_controls.cpp: what a card's issuer has set up
void tell_ctq(const Reading&, Value, Node&);
void tell_card_additional_processes(const Reading&, Value, Node&);
void tell_application_default_action(const Reading&, Value, Node&);
void tell_issuer_authentication_indicator(const Reading&, Value, Node&);
void tell_geographic_indicator(const Reading&, Value, Node&);
void tell_form_factor(const Reading&, Value, Node&);
void tell_third_party_data(const Reading&, Value, Node&);
void tell_application_capabilities(const Reading&, Value, Node&);
void tell_card_authentication_data(const Reading&, Value, Node&);
void tell_production_life_cycle(const Reading&, Value, Node&);
void tell_life_cycle_status(const Reading&, Value, Node&);
void tell_file_descriptor(const Reading&, Value, Node&);

// cardholder_verification.cpp
void tell_cvm_list(const Reading&, Value, Node&);
void tell_cvm_results(const Reading&, Value, Node&);
void tell_identity_document_type(const Reading&, Value, Node&);

// cryptogram.cpp, issuer_application_data.cpp
void tell_cid(const Reading&, Value, Node&);
void tell_format_1_answer(const Reading&, Value, Node&);
void tell_command_template(const Reading&, Value, Node&);
void tell_issuer_authentication_data(const Reading&, Value, Node&);
void tell_card_status_update(const Reading&, Value, Node&);
void tell_issuer_application_data(const Reading&, Value, Node&);
void tell_pboc_cvr(const Reading&, Value, Node&);
void tell_certificate(const Reading&, Value, Node&);

// track_data.cpp
void tell_account_number(const Reading&, Value, Node&);
void tell_track_1(const Reading&, Value, Node&);
void tell_track_2(const Reading&, Value, Node&);
void tell_service_code(const Reading&, Value, Node&);
void tell_purse_data(const Reading&, Value, Node&);

// file_locators.cpp
void tell_afl(const Reading&, Value, Node&);
void tell_sfi(const Reading&, Value, Node&);
void tell_log_entry(const Reading&, Value, Node&);

// data_object_lists.cpp
void tell_dol(const Reading&, Value, Node&);
void tell_tag_list(const Reading&, Value, Node&);
void tell_dol_data(const Reading&, Value list, Value data, Node&);

// plain_values.cpp
void tell_date(const Reading&, Value, Node&);       // YYMMDD
void tell_long_date(const Reading&, Value, Node&);  // YYYYMMDD, as digits or characters
void tell_time(const Reading&, Value, Node&);
void tell_transaction_amount(const Reading&, Value, Node&);  // n 12, or binary
void tell_binary_amount(const Reading&, Value, Node&);
void tell_card_amount(const Reading&, Value, Node&);
void tell_currency(const Reading&, Value, Node&);
void tell_currencies(const Reading&, Value, Node&);
void tell_country(const Reading&, Value, Node&);
void tell_alpha_country(const Reading&, Value, Node&);
void tell_languages(const Reading&, Value, Node&);
void tell_number(const Reading&, Value, Node&);  // binary
void tell_version(const Reading&, Value, Node&);
void tell_transaction_type(const Reading&, Value, Node&);
void tell_account_type(const Reading&, Value, Node&);
void tell_response_code(const Reading&, Value, Node&);
void tell_code_table(const Reading&, Value, Node&);
void tell_priority(const Reading&, Value, Node&);
void tell_application_identifier(const Reading&, Value, Node&);
void tell_kernel_identifier(const Reading&, Value, Node&);
void tell_exponent(const Reading&, Value, Node&);
void tell_asrpd(const Reading&, Value, Node&);
void tell_sex(const Reading&, Value, Node&);
void tell_object_identifier(const Reading&, Value, Node&);
void tell_hash_algorithm(const Reading&, Value, Node&);
void tell_key_algorithm(const Reading&, Value, Node&);

// issuer_scripts.cpp, commands.cpp
void tell_script_command(const Reading&, Value, Node&);
void tell_script_results(const Reading&, Value, Node&);
void tell_command(const Reading&, Value, Node&);
void tell_status_word(const Reading&, Value, Node&);

// atr.cpp
void tell_atr(const Reading&, Value, Node&);
void tell_historical_bytes(const Reading&, Value, Node&);

}  // namespace quorrin::decode
