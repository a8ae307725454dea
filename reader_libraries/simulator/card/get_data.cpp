#include "cryptography/byte_string.hpp"
#include "reader_libraries/simulator/card/card_data_commands.hpp"

namespace quorrin::simulator {
namespace {

CardAnswer counter(Tag tag, std::uint16_t value) {
    return data_object(tag, cryptography::big_endian(value));
}

CardAnswer log_format(Tag tag, const std::optional<LogProfile>& log) {
    if (!log) {
        return StatusWord::ReferencedDataNotFound;
    }
    return data_object(tag, log->format);
}

bool reads_as_transaction_log(const ApplicationProfile& application) {
    return application.load_log && application.load_log->as_transaction_log;
}

CardAnswer stored(const ElementValues& data, Tag tag) {
    const auto found = data.find(tag);
    if (found == data.end()) {
        return StatusWord::ReferencedDataNotFound;
    }
    return data_object(tag, found->second);
}

}  // namespace

CardAnswer get_data(const ApplicationSession& session, const CardCommand& command) {
    if (!command.data.empty()) {
        return StatusWord::WrongLength;
    }
    const Tag tag = command.parameters();
    switch (tag) {
        case 0x9F36:
            return counter(tag, session.state.atc);
        case 0x9F13:
            return counter(tag, session.state.last_online_atc);
        case 0x9F17:
            if (session.application.pin_try_limit == 0) {
                return StatusWord::ReferencedDataNotFound;
            }
            return data_object(tag, {&session.state.pin_tries, 1});
        case 0x9F4F:
            return log_format(tag, session.application.transaction_log);
        case 0xDF4F:
            return log_format(reads_as_transaction_log(session.application) ? Tag{0x9F4F} : tag,
                              session.application.load_log);
        default:
            return stored(session.state.data, tag);
    }
}

}  // namespace quorrin::simulator
