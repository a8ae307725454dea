#include "reader_libraries/simulator/card/record_reading.hpp"

#include <algorithm>

namespace quorrin::simulator {
namespace {

CardAnswer read_log(const std::vector<ByteString>& records, std::uint8_t number) {
    if (number > records.size()) {
        return StatusWord::RecordNotFound;
    }
    return records[number - 1U];
}

bool is_log(const std::optional<LogProfile>& log, std::uint8_t file) {
    return log && log->file == file;
}

}  // namespace

bool has_file(const RecordFiles& records, std::uint8_t file) {
    return std::ranges::any_of(records,
                               [&](const auto& record) { return record.first.file == file; });
}

CardAnswer read_record(const ApplicationSession& session, RecordAddress address) {
    if (is_log(session.application.transaction_log, address.file)) {
        return read_log(session.state.transaction_log, address.number);
    }
    if (is_log(session.application.load_log, address.file)) {
        return read_log(session.state.load_log, address.number);
    }
    if (!has_file(session.state.records, address.file)) {
        return StatusWord::FileNotFound;
    }
    const auto found = session.state.records.find(address);
    if (found == session.state.records.end()) {
        return StatusWord::RecordNotFound;
    }
    return found->second;
}

std::optional<RecordAddress> record_with(const RecordFiles& records, Tag tag) {
    for (const auto& [address, record] : records) {
        if (find_object(record, tag)) {
            return address;
        }
    }
    return std::nullopt;
}

std::optional<ByteString> find_in_records(const RecordFiles& records, Tag tag) {
    for (const auto& [address, record] : records) {
        if (auto value = find_object(record, tag)) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace quorrin::simulator
