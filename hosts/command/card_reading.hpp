// Reading of a card in single steps, for the commands that show more than the library's operations give.
#pragma once

#include <optional>
#include <string>
#include <vector>

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

ReadAnswer select_by_name(host::Card& card, const host::ByteString& name);
ReadAnswer read_record(host::Card& card, unsigned file, unsigned record);
ReadAnswer read_data(host::Card& card, host::Tag tag);

// The value of the first primitive object of a tag, templates opened.
std::optional<host::ByteString> find_value(const host::ByteString& data, std::uint32_t tag);

// The application that was asked for, else the first of the directory. Throws Failed.
std::string chosen_application(host::Card& card, const std::string& asked);

}  // namespace quorrin::command
