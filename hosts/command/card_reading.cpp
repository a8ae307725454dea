#include "hosts/command/card_reading.hpp"

#include "decode/lookup.hpp"
#include "explain/elements_seen.hpp"

namespace quorrin::command {
namespace {

ReadAnswer transmit(host::Card& card, const host::Command& command) {
    ReadAnswer read;
    read.command = {command.cla, command.ins, command.p1, command.p2};
    if (!command.data.empty()) {
        read.command.push_back(static_cast<std::uint8_t>(command.data.size()));
        read.command.insert(read.command.end(), command.data.begin(), command.data.end());
    }
    read.command.push_back(0);
    const host::Response response = card.transmit(command);
    read.answer = response.data;
    read.answer.push_back(response.status_word.sw1);
    read.answer.push_back(response.status_word.sw2);
    return read;
}

}  // namespace

unsigned ReadAnswer::status() const {
    return answer.size() < 2
               ? 0
               : static_cast<unsigned>(answer[answer.size() - 2] << 8 | answer.back());
}

host::ByteString ReadAnswer::data() const {
    return answer.size() < 2 ? host::ByteString()
                             : host::ByteString(answer.begin(), answer.end() - 2);
}

ReadAnswer select_by_name(host::Card& card, const host::ByteString& name) {
    return transmit(card, {0x00, 0xA4, 0x04, 0x00, name, 0});
}

ReadAnswer read_record(host::Card& card, unsigned file, unsigned record) {
    return transmit(card, {0x00,
                           0xB2,
                           static_cast<std::uint8_t>(record),
                           static_cast<std::uint8_t>(file << 3 | 0x04),
                           {},
                           0});
}

ReadAnswer read_data(host::Card& card, host::Tag tag) {
    return transmit(
        card,
        {0x80, 0xCA, static_cast<std::uint8_t>(tag >> 8), static_cast<std::uint8_t>(tag), {}, 0});
}

std::optional<host::ByteString> find_value(const host::ByteString& data, std::uint32_t tag) {
    explain::ElementsSeen seen;
    seen.add_objects({data, host::ByteString(data.size())}, 0);
    const explain::SeenElement* element = seen.find(tag);
    return element != nullptr ? std::optional(element->value.bytes) : std::nullopt;
}

std::string chosen_application(host::Card& card, const std::string& asked) {
    if (!asked.empty()) {
        return asked;
    }
    const std::vector<std::string> applications = card.applications();
    if (applications.empty()) {
        throw Failed("the card's directory is empty; --aid names an application");
    }
    return applications.front();
}

}  // namespace quorrin::command
