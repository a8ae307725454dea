// quorrin log: the card's transaction log or load log, read step by step.
#include <memory>

#include "decode/lookup.hpp"
#include "explain/elements_seen.hpp"
#include "hosts/command/card_reading.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

struct LogOptions : CardOptions {
    bool loads = false;
};

struct LogKind {
    host::Tag format;  // GET DATA
    host::Tag entry;   // in the FCI: file and number of records
    const char* name;
};

constexpr LogKind transactions = {0x9F4F, 0x9F4D, "transactions"};
constexpr LogKind loads = {0xDF4F, 0xDF4D, "loads"};

std::string refusal(const ReadAnswer& read) {
    const auto word = decode::status_word(static_cast<std::uint8_t>(read.status() >> 8),
                                          static_cast<std::uint8_t>(read.status()));
    return host::to_hex(host::ByteString(read.answer.end() - 2, read.answer.end())) + ": " +
           word.meaning;
}

// A card may answer with the tag that was asked for, or with the other one.
std::optional<host::ByteString> format_of(const ReadAnswer& read, const LogKind& kind) {
    const auto own = find_value(read.data(), kind.format);
    return own ? own : find_value(read.data(), transactions.format);
}

std::string text_of(const explain::ElementsSeen& record, std::uint32_t tag,
                    const decode::Options& decoding) {
    const auto value = record.bytes(tag);
    if (value.empty()) {
        return {};
    }
    const decode::Node node = decode::element(tag, value, decoding);
    return node.text.empty() ? node.value : node.text;
}

int run_log(const LogOptions& options, const Common& common) {
    CardSession session(options, common);
    host::Card& card = session.card();
    const LogKind& kind = options.loads ? loads : transactions;
    const std::string aid = chosen_application(card, options.aid);
    const ReadAnswer fci = select_by_name(card, host::from_hex(aid));
    if (!fci.ok()) {
        throw Failed("the application " + aid + " is refused with " + refusal(fci));
    }
    const auto entry = find_value(fci.data(), kind.entry);
    if (!entry || entry->size() < 2) {
        throw Failed(std::string("the application has no log of ") + kind.name + " (" +
                     (kind.entry == 0x9F4D ? "9F4D" : "DF4D") + ")");
    }
    const ReadAnswer answer = read_data(card, kind.format);
    const auto format = format_of(answer, kind);
    if (!answer.ok() || !format) {
        throw Failed("the log's format is refused with " + refusal(answer));
    }
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    decoding.list = *format;
    Json json = result_of("log");
    json["kind"] = kind.name;
    json["aid"] = aid;
    json["records"] = Json::array();
    Table table({"", "date", "time", "type", "amount", "country", "merchant", "counter"});
    for (unsigned number = 1; number <= entry->at(1); ++number) {
        const ReadAnswer record = read_record(card, entry->at(0), number);
        if (!record.ok()) {
            constexpr unsigned no_such_record = 0x6A83;
            if (record.status() != no_such_record) {
                tell("record " + std::to_string(number) + " is refused with " + refusal(record));
            }
            break;
        }
        explain::ElementsSeen fields;
        const host::ByteString data = record.data();
        explain::add_list_data(fields, *format, {data, host::ByteString(data.size())}, 0);
        const auto currency = fields.bytes(0x5F2A);
        if (currency.size() == 2) {
            decoding.currency = static_cast<std::uint16_t>(
                (currency[0] & 0x0F) * 100 + (currency[1] >> 4) * 10 + (currency[1] & 0x0F));
        }
        const auto text = [&](std::uint32_t tag) { return text_of(fields, tag, decoding); };
        table.add({std::to_string(number), text(0x9A), text(0x9F21), text(0x9C), text(0x9F02),
                   text(0x9F1A), text(0x9F4E), text(0x9F36)});
        json["records"].push_back(
            {{"number", number}, {"record", tree_of(decode::log_record(data, decoding))}});
    }
    if (common.json) {
        put_json(json);
    } else {
        put_result(table.empty() ? std::string("the log is empty\n") : table.text(wants_colour()));
    }
    return success;
}

}  // namespace

void add_log(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<LogOptions>();
    CLI::App* command = app.add_subcommand("log", "Read the card's log of transactions or loads");
    command->add_flag("--loads", options->loads, "The log of electronic cash loads");
    add_application_options(*command, *options);
    command->footer(examples(R"(  quorrin log
  quorrin log --loads --json)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_log(*options, common); }; });
}

}  // namespace quorrin::command
