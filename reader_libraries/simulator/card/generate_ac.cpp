#include "reader_libraries/simulator/card/cryptogram_generation.hpp"
#include "reader_libraries/simulator/card/electronic_cash.hpp"
#include "reader_libraries/simulator/card/record_reading.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

constexpr Tag first_list = 0x8C;
constexpr Tag second_list = 0x8D;
constexpr Tag electronic_cash_indicator = 0x9F7A;

// Empty for the types that are for later use, and for combined data authentication, which no card
// here has keys for.
std::optional<CryptogramType> requested_type(const CardCommand& command) {
    for (const auto type : {CryptogramType::Aac, CryptogramType::Tc, CryptogramType::Arqc}) {
        if (command.p1 == static_cast<std::uint8_t>(type)) {
            return type;
        }
    }
    return std::nullopt;
}

// A terminal may be refused more than it asks for, never less: TC, then ARQC, then AAC.
CryptogramType first_type(ApplicationSession& session, CryptogramType requested) {
    const bool electronic_cash =
        fitted_value(session.terminal, electronic_cash_indicator, 1)[0] == 0x01;
    if (session.state.blocked) {
        return CryptogramType::Aac;
    }
    if (requested == CryptogramType::Tc && electronic_cash && !pay_electronic_cash(session)) {
        return CryptogramType::Arqc;
    }
    return requested;
}

CryptogramType second_type(const ApplicationSession& session, CryptogramType requested) {
    const bool refused = session.issuer_authentication == CheckResult::Wrong ||
                         session.state.blocked || session.card_state.blocked;
    return refused ? CryptogramType::Aac : requested;
}

CardAnswer answer(const ApplicationSession& session, const IssuedCryptogram& issued) {
    if (session.application.answer_format == AnswerFormat::Format1) {
        Bytes value{issued.information};
        append(value, issued.atc);
        append(value, issued.cryptogram);
        append(value, issued.issuer_data);
        return data_object(0x80, value);
    }
    Bytes value = data_object(0x9F27, {&issued.information, 1});
    append(value, data_object(0x9F36, issued.atc));
    append(value, data_object(0x9F26, issued.cryptogram));
    append(value, data_object(0x9F10, issued.issuer_data));
    return data_object(0x77, value);
}

}  // namespace

CardAnswer generate_ac(ApplicationSession& session, const CardCommand& command) {
    const bool first = session.stage == TransactionStage::OptionsGiven;
    if (!first && session.stage != TransactionStage::Online) {
        return StatusWord::ConditionsNotSatisfied;
    }
    const auto requested = requested_type(command);
    if (!requested || command.p2 != 0) {
        return StatusWord::WrongParameters;
    }
    if (!first && *requested == CryptogramType::Arqc) {
        return StatusWord::ConditionsNotSatisfied;
    }
    // The lists stand in records, which a script may have replaced by something that is no list.
    const auto list = parse_object_list(
        find_in_records(session.state.records, first ? first_list : second_list).value_or(Bytes{}));
    if (!list || data_length(*list) != command.data.size()) {
        return StatusWord::WrongLength;
    }
    take_values(*list, command.data, session.terminal);
    return answer(session,
                  first ? issue_first_cryptogram(session, first_type(session, *requested))
                        : issue_second_cryptogram(session, second_type(session, *requested)));
}

}  // namespace quorrin::simulator
