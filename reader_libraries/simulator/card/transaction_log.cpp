#include "reader_libraries/simulator/card/transaction_log.hpp"

#include "cryptography/byte_string.hpp"

namespace quorrin::simulator {
namespace {

ByteString fields_of(const ApplicationSession& session, const LogProfile& log) {
    ElementValues values = session.terminal;
    const auto atc = cryptography::big_endian(session.state.atc);
    values[0x9F36] = ByteString(atc.begin(), atc.end());
    ByteString record;
    for (const ListEntry& field : log.fields) {
        append(record, fitted_value(values, field.tag, field.length));
    }
    return record;
}

void add_record(std::vector<ByteString>& records, std::size_t capacity, ByteString record) {
    records.insert(records.begin(), std::move(record));
    if (records.size() > capacity) {
        records.resize(capacity);
    }
}

}  // namespace

void log_transaction(ApplicationSession& session, bool declined) {
    const auto& log = session.application.transaction_log;
    if (!log || (declined && !log->declined_too)) {
        return;
    }
    auto& records = session.state.transaction_log;
    session.logged.emplace();
    if (records.size() == log->capacity) {
        session.logged->displaced = records.back();
    }
    add_record(records, log->capacity, fields_of(session, *log));
}

void take_back_log(ApplicationSession& session) {
    if (!session.logged || session.application.transaction_log->declined_too) {
        return;
    }
    auto& records = session.state.transaction_log;
    records.erase(records.begin());
    if (session.logged->displaced) {
        records.push_back(*session.logged->displaced);
    }
    session.logged.reset();
}

void log_load(ApplicationSession& session, Tag tag, const ByteString& before,
              const ByteString& after) {
    if (const auto& log = session.application.load_log) {
        ByteString record;
        if (!log->as_transaction_log) {
            record = tag_bytes(tag);
            append(record, before);
            append(record, after);
        }
        append(record, fields_of(session, *log));
        add_record(session.state.load_log, log->capacity, std::move(record));
    }
}

}  // namespace quorrin::simulator
