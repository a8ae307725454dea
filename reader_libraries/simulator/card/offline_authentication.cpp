#include "reader_libraries/simulator/card/offline_authentication.hpp"

#include <algorithm>
#include <random>

#include "cryptography/byte_string.hpp"
#include "cryptography/rsa.hpp"
#include "reader_libraries/simulator/card/card_instructions.hpp"
#include "reader_libraries/simulator/card/record_reading.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

constexpr std::uint8_t recovered_data_header = 0x6A;
constexpr std::uint8_t trailer = 0xBC;
constexpr std::uint8_t filler = 0xBB;
constexpr std::uint8_t dynamic_format = 0x05;
constexpr std::uint8_t sha1_indicator = 0x01;
constexpr std::size_t hash_size = 20;

// The length of the card's dynamic number, and it.
ByteString dynamic_number() {
    constexpr std::size_t size = 8;
    std::random_device random;
    ByteString number(1 + size, size);
    std::generate(number.begin() + 1, number.end(),
                  [&] { return static_cast<std::uint8_t>(random()); });
    return number;
}

}  // namespace

ByteString signed_dynamic_data(const ApplicationSession& session,
                               std::span<const std::uint8_t> more,
                               std::span<const std::uint8_t> terminal_data) {
    const auto& key = *session.application.card_key;
    ByteString dynamic = dynamic_number();
    append(dynamic, more);
    ByteString block{recovered_data_header, dynamic_format, sha1_indicator,
                     static_cast<std::uint8_t>(dynamic.size())};
    append(block, dynamic);
    block.resize(key.modulus.size() - hash_size - 1, filler);
    const auto hash = cryptography::sha1(
        cryptography::concatenated({std::span(block).subspan(1), terminal_data}));
    append(block, hash);
    block.push_back(trailer);
    return cryptography::rsa_private(key, block);
}

ByteString signed_cryptogram(const ApplicationSession& session, std::uint8_t information,
                             std::span<const std::uint8_t> cryptogram,
                             std::span<const std::uint8_t> answer) {
    const auto hash = cryptography::sha1(cryptography::concatenated({session.dol_data, answer}));
    const ByteString more = cryptography::concatenated({{&information, 1}, cryptogram, hash});
    return signed_dynamic_data(session, more, fitted_value(session.terminal, 0x9F37, 4));
}

// The DDOL (9F49) says what the terminal sends; without one that is the unpredictable number.
CardAnswer internal_authenticate(ApplicationSession& session, const CardCommand& command) {
    constexpr Tag data_object_list = 0x9F49;
    if (!session.application.card_key) {
        return StatusWord::InstructionNotSupported;
    }
    if (command.parameters() != 0) {
        return StatusWord::WrongParameters;
    }
    if (session.stage != TransactionStage::OptionsGiven) {
        return StatusWord::ConditionsNotSatisfied;
    }
    const auto list = parse_object_list(find_in_records(session.state.records, data_object_list)
                                            .value_or(ByteString{0x9F, 0x37, 0x04}));
    if (!list || data_length(*list) != command.data.size()) {
        return StatusWord::WrongLength;
    }
    session.dynamic_authentication = true;
    const ByteString signature = signed_dynamic_data(session, {}, command.data);
    return session.application.answer_format == AnswerFormat::Format1
               ? data_object(0x80, signature)
               : data_object(0x77, data_object(0x9F4B, signature));
}

}  // namespace quorrin::simulator
