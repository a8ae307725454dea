#include "hosts/command/card_reading.hpp"

#include "decode/lookup.hpp"
#include "decode/reading.hpp"

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

namespace {

decode::StatusWord word_of(const ReadAnswer& read) {
    return decode::status_word(static_cast<std::uint8_t>(read.status() >> 8),
                               static_cast<std::uint8_t>(read.status()));
}

std::string digits_of(const ReadAnswer& read) {
    return host::to_hex(host::ByteString(read.answer.end() - 2, read.answer.end()));
}

}  // namespace

std::string refusal(const ReadAnswer& read) {
    return digits_of(read) + ": " + word_of(read).meaning;
}

Failed refused(const std::string& what, const ReadAnswer& read) {
    return Failed(what + " is refused with " + refusal(read),
                  {.status_word = digits_of(read),
                   .meaning = word_of(read).meaning,
                   .advice = advice_for(read.status())});
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

LogRecord read_log_record(const host::ByteString& record, const host::ByteString& format,
                          const LogKind& kind, decode::Options decoding) {
    // P1 and P2 of the PUT DATA that changed the balance, the balance before and after it.
    constexpr std::ptrdiff_t changed_tag = 2;
    constexpr std::ptrdiff_t balance = 6;
    constexpr std::ptrdiff_t head = changed_tag + 2 * balance;
    LogRecord read;
    host::ByteString fields = record;
    const bool has_head =
        kind.format == load_log.format && record.size() == head + explain::list_data_size(format);
    if (has_head) {
        const auto first = record.begin() + changed_tag;
        read.before.assign(first, first + balance);
        read.after.assign(first + balance, first + 2 * balance);
        fields.erase(fields.begin(), fields.begin() + head);
    }
    explain::add_list_data(read.fields, format, {fields, host::ByteString(fields.size())}, 0);
    decoding.list = format;
    decoding.currency = currency_of(read);
    read.tree = has_head ? decode::find_data_kind("load-log-record")->decode(record, decoding)
                         : decode::log_record(record, decoding);
    return read;
}

std::string unquoted(std::string text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        text = text.substr(1, text.size() - 2);
        text.erase(text.find_last_not_of(' ') + 1);
    }
    return text;
}

std::string field_text(const LogRecord& record, std::uint32_t tag,
                       const decode::Options& decoding) {
    const auto value = record.fields.bytes(tag);
    if (value.empty()) {
        return {};
    }
    const decode::Node node = decode::element(tag, value, decoding);
    return unquoted(node.text.empty() ? node.value : node.text);
}

std::optional<std::uint16_t> currency_of(const LogRecord& record) {
    const auto value = record.fields.bytes(0x5F2A);
    return value.size() == 2 ? std::optional(static_cast<std::uint16_t>(decode::bcd_number(value)))
                             : std::nullopt;
}

}  // namespace quorrin::command
