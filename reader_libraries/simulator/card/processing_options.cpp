#include <random>

#include "reader_libraries/simulator/card/card_amounts.hpp"
#include "reader_libraries/simulator/card/card_risk_management.hpp"
#include "reader_libraries/simulator/card/cryptogram_generation.hpp"
#include "reader_libraries/simulator/card/electronic_cash.hpp"
#include "reader_libraries/simulator/card/offline_authentication.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

constexpr Tag command_template = 0x83;
constexpr Tag terminal_qualifiers = 0x9F66;
constexpr Tag card_qualifiers = 0x9F6C;

// Terminal transaction qualifiers of PBOC book 12.
namespace qualifier {
constexpr std::uint8_t quick_pboc = 0x20;                    // byte 1
constexpr std::uint8_t offline_only = 0x08;                  // byte 1
constexpr std::uint8_t online_pin = 0x04;                    // byte 1
constexpr std::uint8_t signature = 0x02;                     // byte 1
constexpr std::uint8_t online_cryptogram_required = 0x80;    // byte 2
constexpr std::uint8_t holder_verification_required = 0x40;  // byte 2
constexpr std::uint8_t fast_dda_version_1 = 0x80;            // byte 4
}  // namespace qualifier

// Card transaction qualifiers, 9F6C: what the card wants of the holder.
constexpr std::uint8_t wants_online_pin = 0x80;  // byte 1
constexpr std::uint8_t wants_signature = 0x40;   // byte 1

// A terminal that offers quick PBOC gets it from a card that has it, whatever else it offers: PBOC book
// 12 has the card prefer the path that ends with this command, because the card may leave the field
// behind it.
bool quick_wanted(const ApplicationSession& session) {
    const auto qualifiers = fitted_value(session.terminal, terminal_qualifiers, 4);
    return session.application.quick && (qualifiers[0] & qualifier::quick_pboc) != 0;
}

struct QuickOutcome {
    CryptogramType type = CryptogramType::Aac;
    std::uint8_t wanted_of_holder = 0;  // 9F6C byte 1
};

QuickOutcome decide_quick(ApplicationSession& session) {
    const auto qualifiers = fitted_value(session.terminal, terminal_qualifiers, 4);
    const auto has = [&](std::size_t byte, std::uint8_t bit) {
        return (qualifiers[byte - 1] & bit) != 0;
    };
    if (declines_every_request(session)) {
        return {};
    }
    std::uint8_t wanted_of_holder = 0;
    if (has(2, qualifier::holder_verification_required)) {
        if (has(1, qualifier::online_pin)) {
            wanted_of_holder = wants_online_pin;
        } else if (has(1, qualifier::signature)) {
            wanted_of_holder = wants_signature;
        } else {
            return {};
        }
    }
    const bool offline_only = has(1, qualifier::offline_only);
    // An amount of zero asks for nothing but the card's word: it is not paid.
    const bool has_to_go_online =
        has(2, qualifier::online_cryptogram_required) || wanted_of_holder == wants_online_pin ||
        transaction_amount(session) == 0 || has_reason_to_go_online(session) ||
        (offline_only && declines_unless_online(session));
    session.paid_electronically = !has_to_go_online && pay_electronic_cash(session);
    if (session.paid_electronically) {
        return {CryptogramType::Tc, wanted_of_holder};
    }
    return offline_only ? QuickOutcome{} : QuickOutcome{CryptogramType::Arqc, wanted_of_holder};
}

CardAnswer options(const ApplicationProfile& application) {
    if (application.answer_format == AnswerFormat::Format1) {
        ByteString value = application.interchange_profile;
        append(value, application.file_locator);
        return data_object(0x80, value);
    }
    ByteString value = data_object(0x82, application.interchange_profile);
    if (!application.file_locator.empty()) {
        append(value, data_object(0x94, application.file_locator));
    }
    return data_object(0x77, value);
}

// The elements of the profile, with what the card wants of the holder in its qualifiers.
ByteString quick_elements(const QuickProfile& quick, std::uint8_t wanted_of_holder) {
    ByteString elements;
    std::span<const std::uint8_t> rest = quick.elements;
    while (const auto object = take_object(rest)) {
        ByteString value(object->value.begin(), object->value.end());
        if (object->tag == card_qualifiers && !value.empty()) {
            value[0] |= wanted_of_holder;
        }
        append(elements, data_object(object->tag, value));
    }
    return elements;
}

// Fast DDA of PBOC book 12. Version 00 covers the terminal's number alone; version 01, for terminals
// that know it, its amount and currency too, and what the card adds in 9F69: version, a number of its
// own and the qualifiers that it gives.
ByteString fast_dynamic_data(const ApplicationSession& session,
                             const ByteString& given_qualifiers) {
    ByteString covered = fitted_value(session.terminal, 0x9F37, 4);
    if ((fitted_value(session.terminal, terminal_qualifiers, 4)[3] &
         qualifier::fast_dda_version_1) == 0) {
        return data_object(0x9F4B, signed_dynamic_data(session, {}, covered));
    }
    std::random_device random;
    ByteString authentication{0x01};
    for (int i = 0; i < 4; ++i) {
        authentication.push_back(static_cast<std::uint8_t>(random()));
    }
    append(authentication, given_qualifiers);
    append(covered, fitted_value(session.terminal, 0x9F02, 6));
    append(covered, fitted_value(session.terminal, 0x5F2A, 2));
    append(covered, authentication);
    ByteString objects = data_object(0x9F69, authentication);
    append(objects, data_object(0x9F4B, signed_dynamic_data(session, {}, covered)));
    return objects;
}

// The whole transaction in one answer: paid from electronic cash, else an ARQC, which ends the card's
// part; nothing of the issuer comes back to it.
CardAnswer quick_transaction(ApplicationSession& session) {
    const QuickOutcome outcome = decide_quick(session);
    const auto issued = issue_quick_cryptogram(session, outcome.type);
    ByteString value = data_object(0x82, session.application.interchange_profile);
    if (!session.application.file_locator.empty()) {
        append(value, data_object(0x94, session.application.file_locator));
    }
    append(value, data_object(0x9F36, issued.atc));
    append(value, data_object(0x9F26, issued.cryptogram));
    append(value, data_object(0x9F10, issued.issuer_data));
    const QuickProfile& quick = *session.application.quick;
    const ByteString elements = quick_elements(quick, outcome.wanted_of_holder);
    append(value, elements);
    if (outcome.type == CryptogramType::Tc && quick.dynamic_data && session.application.card_key) {
        append(value, fast_dynamic_data(
                          session,
                          find_object(elements, card_qualifiers).value_or(ByteString{0x00, 0x00})));
    }
    return data_object(0x77, value);
}

}  // namespace

CardAnswer get_processing_options(ApplicationSession& session, const CardCommand& command) {
    constexpr std::uint16_t last_atc = 0xFFFF;
    if (command.parameters() != 0) {
        return StatusWord::WrongParameters;
    }
    if (session.stage != TransactionStage::Selected || session.state.atc == last_atc) {
        return StatusWord::ConditionsNotSatisfied;
    }
    auto rest = command.data;
    const auto delivered = take_object(rest);
    if (!delivered || delivered->tag != command_template || !rest.empty()) {
        return StatusWord::WrongData;
    }
    const auto& pdol = session.application.pdol;
    if (delivered->value.size() != data_length(pdol)) {
        return StatusWord::WrongLength;
    }
    take_values(pdol, delivered->value, session.terminal);
    append(session.dol_data, delivered->value);
    ++session.state.atc;
    session.last_online_incomplete = session.state.online_incomplete;
    session.last_issuer_authentication_failed = session.state.issuer_authentication_failed;
    session.stage = TransactionStage::OptionsGiven;
    return quick_wanted(session) ? quick_transaction(session) : options(session.application);
}

}  // namespace quorrin::simulator
