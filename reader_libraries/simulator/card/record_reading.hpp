// READ RECORD over an application's own files and its logs: EMV book 3 section 6.5.11.
#pragma once

#include "reader_libraries/simulator/card/application_session.hpp"
#include "reader_libraries/simulator/card/card_answer.hpp"

namespace quorrin::simulator {

CardAnswer read_record(const ApplicationSession& session, RecordAddress address);

// Whether the application has any record in this file.
bool has_file(const RecordFiles& records, std::uint8_t file);

// The first record with this element.
std::optional<RecordAddress> record_with(const RecordFiles& records, Tag tag);

// The value of an element of the records as they are now. Empty when no record has it.
std::optional<ByteString> find_in_records(const RecordFiles& records, Tag tag);

}  // namespace quorrin::simulator
