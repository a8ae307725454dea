#include <algorithm>

#include "reader_libraries/simulator/card/card_risk_management.hpp"
#include "reader_libraries/simulator/card/cryptogram_generation.hpp"
#include "reader_libraries/simulator/card/offline_authentication.hpp"
#include "reader_libraries/simulator/card/record_reading.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

constexpr Tag first_list = 0x8C;
constexpr Tag second_list = 0x8D;

constexpr std::uint8_t combined_data_authentication = 0x10;  // P1

struct Request {
    CryptogramType type = CryptogramType::Aac;
    bool combined = false;  // with data authentication: EMV book 2 section 6.6
};

// Empty for the types that are for later use, and for combined data authentication of a card without a
// key for it.
std::optional<Request> requested(const ApplicationSession& session, const CardCommand& command) {
    const bool combined = (command.p1 & combined_data_authentication) != 0;
    if (command.p2 != 0 || (combined && !session.application.card_key)) {
        return std::nullopt;
    }
    for (const auto type : {CryptogramType::Aac, CryptogramType::Tc, CryptogramType::Arqc}) {
        if ((command.p1 & ~combined_data_authentication) == static_cast<std::uint8_t>(type)) {
            return Request{type, combined};
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
    const ByteString code = fitted_value(session.terminal, response_code, 2);
    session.unable_to_go_online = code[1] == '3' && (code[0] == 'Y' || code[0] == 'Z');
    session.issuer_refuses |= !session.unable_to_go_online && !approves({code[0], code[1]});
}

// An AAC is never signed.
CardAnswer answer(const ApplicationSession& session, const IssuedCryptogram& issued, bool asked) {
    const bool combined =
        asked && issued.information != static_cast<std::uint8_t>(CryptogramType::Aac);
    if (!combined && session.application.answer_format == AnswerFormat::Format1) {
        ByteString value{issued.information};
        append(value, issued.atc);
        append(value, issued.cryptogram);
        append(value, issued.issuer_data);
        return data_object(0x80, value);
    }
    ByteString value = data_object(0x9F27, {&issued.information, 1});
    append(value, data_object(0x9F36, issued.atc));
    if (combined) {
        // 9F26 goes within 9F4B, and the hash covers the others in the order of the answer.
        ByteString covered = value;
        append(covered, data_object(0x9F10, issued.issuer_data));
        append(value, data_object(0x9F4B, signed_cryptogram(session, issued.information,
                                                            issued.cryptogram, covered)));
        append(value, data_object(0x9F10, issued.issuer_data));
        return data_object(0x77, value);
    }
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
    const auto request = requested(session, command);
    if (!request) {
        return StatusWord::WrongParameters;
    }
    if (!first && request->type == CryptogramType::Arqc) {
        return StatusWord::ConditionsNotSatisfied;
    }
    // The lists stand in records, which a script may have replaced by something that is no list.
    const auto list =
        parse_object_list(find_in_records(session.state.records, first ? first_list : second_list)
                              .value_or(ByteString{}));
    if (!list || data_length(*list) != command.data.size()) {
        return StatusWord::WrongLength;
    }
    take_values(*list, command.data, session.terminal);
    append(session.dol_data, command.data);
    session.dynamic_authentication |= request->combined;
    if (first) {
        return answer(session, issue_first_cryptogram(session, first_type(session, request->type)),
                      request->combined);
    }
    take_response_code(session, *list);
    return answer(session, issue_second_cryptogram(session, second_type(session, request->type)),
                  request->combined);
}

}  // namespace quorrin::simulator
