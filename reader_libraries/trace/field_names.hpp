// The names of a line's fields; docs/traces.md says what they mean.
#pragma once

#include <string_view>

namespace quorrin::trace::field {

inline constexpr std::string_view timestamp = "@timestamp";
inline constexpr std::string_view version = "trace.version";
inline constexpr std::string_view masked = "trace.masked";
inline constexpr std::string_view action = "event.action";
inline constexpr std::string_view sequence = "event.sequence";
inline constexpr std::string_view duration = "event.duration";
inline constexpr std::string_view outcome = "event.outcome";
inline constexpr std::string_view terminal = "device.id";
inline constexpr std::string_view session = "session.id";
inline constexpr std::string_view process = "process.pid";
inline constexpr std::string_view function = "reader.function";
inline constexpr std::string_view handle = "reader.handle";
inline constexpr std::string_view result = "reader.result";
inline constexpr std::string_view result_name = "reader.result_name";
inline constexpr std::string_view reader_name = "reader.name";
inline constexpr std::string_view reader_serial = "reader.serial";
inline constexpr std::string_view slot_code = "slot.code";
inline constexpr std::string_view slot_name = "slot.name";
inline constexpr std::string_view atr = "card.atr";
inline constexpr std::string_view application = "card.application";
inline constexpr std::string_view instruction = "apdu.instruction";
inline constexpr std::string_view command = "apdu.command";
inline constexpr std::string_view command_length = "apdu.command_length";
inline constexpr std::string_view answer = "apdu.answer";
inline constexpr std::string_view status = "apdu.status";

}  // namespace quorrin::trace::field

namespace quorrin::trace {

inline constexpr int format_version = 1;

}
