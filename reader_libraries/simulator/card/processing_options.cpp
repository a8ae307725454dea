#include "reader_libraries/simulator/card/cryptogram_generation.hpp"
#include "reader_libraries/simulator/card/electronic_cash.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

constexpr Tag command_template = 0x83;
constexpr Tag terminal_qualifiers = 0x9F66;

// Byte 1 of the terminal transaction qualifiers of PBOC.
constexpr std::uint8_t offers_contactless_pboc = 0x40;
constexpr std::uint8_t offers_quick_pboc = 0x20;

// Where a terminal offers the whole transaction too, that is taken: its first GENERATE AC comes
// later.
bool quick_wanted(const ApplicationSession& session) {
    const auto qualifiers = fitted_value(session.terminal, terminal_qualifiers, 4);
    return session.application.quick && (qualifiers[0] & offers_quick_pboc) != 0 &&
           (qualifiers[0] & offers_contactless_pboc) == 0;
}

CardAnswer options(const ApplicationProfile& application) {
    if (application.answer_format == AnswerFormat::Format1) {
        Bytes value = application.interchange_profile;
        append(value, application.file_locator);
        return data_object(0x80, value);
    }
    Bytes value = data_object(0x82, application.interchange_profile);
    if (!application.file_locator.empty()) {
        append(value, data_object(0x94, application.file_locator));
    }
    return data_object(0x77, value);
}

// The whole transaction in one answer: paid from electronic cash, else an ARQC.
CardAnswer quick_transaction(ApplicationSession& session) {
    const auto type = pay_electronic_cash(session) ? CryptogramType::Tc : CryptogramType::Arqc;
    const auto issued = issue_first_cryptogram(session, type);
    Bytes value = data_object(0x82, session.application.interchange_profile);
    if (!session.application.file_locator.empty()) {
        append(value, data_object(0x94, session.application.file_locator));
    }
    append(value, data_object(0x9F36, issued.atc));
    append(value, data_object(0x9F26, issued.cryptogram));
    append(value, data_object(0x9F10, issued.issuer_data));
    append(value, session.application.quick->elements);
    return data_object(0x77, value);
}

}  // namespace

CardAnswer get_processing_options(ApplicationSession& session, const CardCommand& command) {
    constexpr std::uint16_t last_atc = 0xFFFF;
    if (command.parameters() != 0) {
        return StatusWord::WrongParameters;
    }
    if (session.state.blocked || session.stage != TransactionStage::Selected ||
        session.state.atc == last_atc) {
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
    ++session.state.atc;
    session.stage = TransactionStage::OptionsGiven;
    return quick_wanted(session) ? quick_transaction(session) : options(session.application);
}

}  // namespace quorrin::simulator
