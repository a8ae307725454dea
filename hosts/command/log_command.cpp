// quorrin log: the card's transaction log or load log, read step by step.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "decode/lookup.hpp"
#include "decode/reading.hpp"
#include "hosts/command/applications.hpp"
#include "hosts/command/card_reading.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

struct LogOptions : CardOptions {
    bool loads = false;
};

constexpr std::uint16_t yuan = 156;  // of electronic cash (PBOC part 13)

// A card may answer with the tag that was asked for, or with the other one.
std::optional<host::ByteString> format_of(const ReadAnswer& read, const LogKind& kind) {
    const auto own = find_value(read.data(), kind.format);
    return own ? own : find_value(read.data(), transaction_log.format);
}

// In the card's own currency, which the record does not name.
std::string balance_text(const host::ByteString& digits) {
    return digits.empty() ? std::string()
                          : decode::element(0x9F79, digits, {.currency = yuan}).text;
}

// What a load has added, where its record says the balances alone.
std::string added_text(const LogRecord& record) {
    if (record.before.empty() || record.after.empty()) {
        return {};
    }
    const std::uint64_t before = decode::bcd_number(record.before);
    const std::uint64_t after = decode::bcd_number(record.after);
    char digits[16];
    std::snprintf(
        digits, sizeof digits, "%012llu",
        static_cast<unsigned long long>(before < after ? after - before : before - after));
    return (before > after ? "-" : "") + balance_text(host::from_hex(digits));
}

constexpr std::size_t amount_column = 4;

// "Purchase" of "Purchase of goods or services", where the terminal has no room for it.
std::string short_type(const std::string& type) {
    return type.substr(0, std::min(type.find(" of "), type.find(" against ")));
}

Table table_of(const std::vector<std::string>& headings,
               std::vector<std::vector<std::string>> rows) {
    const auto make = [&] {
        Table table(headings);
        for (const std::vector<std::string>& row : rows) {
            table.add(row);
        }
        table.drop_empty_columns();
        return table;
    };
    if (!make().is_wider_than(terminal_width())) {
        return make();
    }
    const auto type = std::ranges::find(headings, "type") - headings.begin();
    for (std::vector<std::string>& row : rows) {
        row[static_cast<std::size_t>(type)] = short_type(row[static_cast<std::size_t>(type)]);
    }
    return make();
}

int run_log(const LogOptions& options, const Common& common) {
    CardSession session(options, common);
    host::Card& card = session.card();
    const LogKind& kind = options.loads ? load_log : transaction_log;
    const std::string aid = chosen_application(card, options.aid);
    const ReadAnswer fci = select_by_name(card, host::from_hex(aid));
    if (!fci.ok()) {
        throw refused("the application " + aid + " (" + application_name(aid) + ")", fci);
    }
    const auto entry = find_value(fci.data(), kind.entry);
    if (!entry || entry->size() < 2) {
        throw Failed(std::string("the application has no log of ") + kind.name + " (" +
                     (kind.entry == transaction_log.entry ? "9F4D" : "DF4D") + ")");
    }
    const ReadAnswer answer = read_data(card, kind.format);
    const auto format = format_of(answer, kind);
    if (!answer.ok() || !format) {
        throw refused("the log's format", answer);
    }
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    Json json = result_of("log");
    json["kind"] = kind.name;
    json["aid"] = aid;
    json["records"] = Json::array();
    std::vector<std::string> headings = {"",       "date",    "time",     "type",
                                         "amount", "country", "merchant", "ATC"};
    if (options.loads) {  // told by the balances, where the card has them
        headings.insert(headings.begin() + 3, {"before", "after"});
    }
    std::vector<std::vector<std::string>> rows;
    for (unsigned number = 1; number <= entry->at(1); ++number) {
        const ReadAnswer record = read_record(card, entry->at(0), number);
        if (!record.ok()) {
            constexpr unsigned no_such_record = 0x6A83;
            if (record.status() != no_such_record) {
                tell("record " + std::to_string(number) + " is refused with " + refusal(record));
            }
            break;
        }
        const LogRecord read = read_log_record(record.data(), *format, kind, decoding);
        decoding.currency = currency_of(read);
        const auto text = [&](std::uint32_t tag) { return field_text(read, tag, decoding); };
        std::vector<std::string> row = {
            std::to_string(number), text(0x9A),   text(0x9F21), text(0x9C),
            text(0x9F02),           text(0x9F1A), text(0x9F4E), text(0x9F36)};
        if (options.loads) {
            row[amount_column] = row[amount_column].empty() ? added_text(read) : row[amount_column];
            row.insert(row.begin() + 3, {balance_text(read.before), balance_text(read.after)});
        }
        rows.push_back(std::move(row));
        json["records"].push_back({{"number", number}, {"record", tree_of(read.tree)}});
    }
    if (common.json) {
        put_json(json);
    } else if (rows.empty()) {
        put_text("the log is empty; it keeps the last " + std::to_string(entry->at(1)) + " " +
                 kind.name + "\n");
    } else {
        put_result(table_of(headings, rows).text(wants_colour(), terminal_width()));
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
