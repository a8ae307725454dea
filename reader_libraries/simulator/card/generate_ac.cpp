#include <algorithm>

#include "reader_libraries/simulator/card/card_risk_management.hpp"
#include "reader_libraries/simulator/card/cryptogram_generation.hpp"
#include "reader_libraries/simulator/card/record_reading.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

constexpr Tag first_list = 0x8C;
constexpr Tag second_list = 0x8D;

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

// The issuer's answer as the terminal passes it on: EMV book 4 annex A6. A list without 8A leaves it to
// the issuer's authentication.
void take_response_code(ApplicationSession& session, const std::vector<ListEntry>& list) {
    constexpr Tag response_code = 0x8A;
    if (std::ranges::find(list, response_code, &ListEntry::tag) == list.end()) {
        return;
    }
    const Bytes code = fitted_value(session.terminal, response_code, 2);
    session.unable_to_go_online = code[1] == '3' && (code[0] == 'Y' || code[0] == 'Z');
    session.issuer_refuses |= !session.unable_to_go_online && !approves({code[0], code[1]});
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
    append(session.dol_data, command.data);
    if (first) {
        return answer(session, issue_first_cryptogram(session, first_type(session, *requested)));
    }
    take_response_code(session, *list);
    return answer(session, issue_second_cryptogram(session, second_type(session, *requested)));
}

}  // namespace quorrin::simulator
