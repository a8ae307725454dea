// Reading of a card in single steps, for the commands that show more than the library's operations give.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "decode/decode.hpp"
#include "explain/elements_seen.hpp"
#include "hosts/command/card_session.hpp"

namespace quorrin::command {

// A command and its whole answer, status word included.
struct ReadAnswer {
    host::ByteString command;
    host::ByteString answer;

    bool ok() const { return status() == 0x9000; }
    unsigned status() const;
    host::ByteString data() const;
};

// "... is refused with 6A82: ...", with what to do. `what` is what was asked for.
Failed refused(const std::string& what, const ReadAnswer& read);
// "6A82: no such file".
std::string refusal(const ReadAnswer& read);

ReadAnswer select_by_name(host::Card& card, const host::ByteString& name);
ReadAnswer read_record(host::Card& card, unsigned file, unsigned record);
ReadAnswer read_data(host::Card& card, host::Tag tag);

// The value of the first primitive object of a tag, templates opened.
std::optional<host::ByteString> find_value(const host::ByteString& data, std::uint32_t tag);

// A log of the card: where its format and its place are (PBOC part 5, 7.5; part 13).
struct LogKind {
    host::Tag format;  // GET DATA
    host::Tag entry;   // in the FCI: file and number of records
    const char* name;
};
inline constexpr LogKind transaction_log = {0x9F4F, 0x9F4D, "transactions"};
inline constexpr LogKind load_log = {0xDF4F, 0xDF4D, "loads"};

// One record of a log, its fields by tag. Records of loads may have the balances ahead of the fields.
struct LogRecord {
    decode::Node tree;
    explain::ElementsSeen fields;
    host::ByteString before;  // balance; empty where the record does not have it
    host::ByteString after;
};
LogRecord read_log_record(const host::ByteString& record, const host::ByteString& format,
                          const LogKind& kind, decode::Options decoding);

// A decoded text without its quotes and the blanks that fill it.
std::string unquoted(std::string text);

// A field as a person reads it, without the quotes and blanks of names; empty where there is none.
std::string field_text(const LogRecord& record, std::uint32_t tag, const decode::Options& decoding);

// The currency of a record's amounts, where it names one.
std::optional<std::uint16_t> currency_of(const LogRecord& record);

}  // namespace quorrin::command
