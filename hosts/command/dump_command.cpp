// quorrin dump: all that can be read without changing the card.
#include <memory>

#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "hosts/command/applications.hpp"
#include "hosts/command/card_reading.hpp"
#include "hosts/command/json_output.hpp"

namespace quorrin::command {
namespace {

// Elements that cards give to GET DATA (EMV book 3, 6.5.7, PBOC parts 5 and 13).
constexpr host::Tag data_tags[] = {0x9F36, 0x9F13, 0x9F17, 0x9F4F, 0xDF4F, 0x9F79, 0x9F77, 0x9F78,
                                   0x9F6D, 0x9F50, 0x9F51, 0x9F52, 0x9F53, 0x9F54, 0x9F56, 0x9F57,
                                   0x9F58, 0x9F59, 0x9F5C, 0x9F5D, 0x9F68, 0x9F6B, 0x9F6C, 0x9F70,
                                   0x9F72, 0x9F73, 0x9F74, 0x9F75, 0x9F76, 0x9F7F, 0xDF4D};

constexpr unsigned last_file = 30;

struct DumpSection {
    std::string title;
    decode::Node node;
};

class Dump {
  public:
    Dump(host::Card& card, const Common& common) : card_(card) {
        decoding_.show_sensitive = common.show_sensitive;
    }

    void directory(const char* name) {
        const std::string text(name);
        const ReadAnswer fci = select_by_name(card_, {text.begin(), text.end()});
        if (!fci.ok()) {
            return;
        }
        add("Directory " + text, fci);
        const auto file = find_value(fci.data(), 0x88);
        if (!file || file->empty()) {
            return;
        }
        for (unsigned record = 1; record <= 0xFF; ++record) {
            const ReadAnswer read = read_record(card_, file->front(), record);
            if (!read.ok()) {
                return;
            }
            add("Directory record " + std::to_string(record), read);
        }
    }

    // False when the card does not select it.
    bool application(const std::string& aid) {
        const ReadAnswer fci = select_by_name(card_, host::from_hex(aid));
        decoding_.kernel = decode::kernel_of(host::from_hex(aid));
        decoding_.card_currency = iso_number(find_value(read_data(card_, 0x9F51).data(), 0x9F51));
        add("Application " + aid + ", " + application_name(aid), fci);
        constexpr unsigned blocked = 0x6283;
        if (!fci.ok() && fci.status() != blocked) {
            return false;
        }
        for (unsigned file = 1; file <= last_file; ++file) {
            records(file, fci);
        }
        for (const host::Tag tag : data_tags) {
            const ReadAnswer read = read_data(card_, tag);
            if (read.ok()) {
                const std::string name(decode::element_name(tag, decoding_.kernel));
                char digits[8];
                std::snprintf(digits, sizeof digits, "%04X", unsigned{tag});
                add("GET DATA " + std::string(digits) + (name.empty() ? "" : ", " + name), read);
            }
        }
        return true;
    }

    const std::vector<DumpSection>& sections() const { return sections_; }

  private:
    // The list of a log, where a file is one.
    std::optional<host::ByteString> log_format(const LogKind& kind, unsigned file,
                                               const ReadAnswer& fci) {
        const auto entry = find_value(fci.data(), kind.entry);
        if (!entry || entry->empty() || entry->front() != file) {
            return {};
        }
        const ReadAnswer format = read_data(card_, kind.format);
        const auto list = find_value(format.data(), kind.format);
        return list ? list : find_value(format.data(), transaction_log.format);
    }

    void records(unsigned file, const ReadAnswer& fci) {
        const LogKind* kind = &transaction_log;
        auto format = log_format(*kind, file, fci);
        if (!format) {
            kind = &load_log;
            format = log_format(*kind, file, fci);
        }
        for (unsigned record = 1; record <= 0xFF; ++record) {
            const ReadAnswer read = read_record(card_, file, record);
            if (!read.ok()) {
                return;
            }
            const std::string title =
                "Record " + std::to_string(record) + " of file " + std::to_string(file);
            if (format) {
                sections_.push_back({title + ", log of " + kind->name,
                                     read_log_record(read.data(), *format, *kind, decoding_).tree});
            } else {
                if (!decoding_.card_currency) {
                    decoding_.card_currency = iso_number(find_value(read.data(), 0x9F42));
                }
                add(title, read);
            }
        }
    }

    void add(std::string title, const ReadAnswer& read) {
        sections_.push_back(
            {std::move(title), decode::answer(read.answer, read.command, decoding_)});
    }

    host::Card& card_;
    decode::Options decoding_;
    std::vector<DumpSection> sections_;
};

int run_dump(const CardOptions& options, const Common& common) {
    CardSession session(options, common);
    host::Card& card = session.card();
    std::vector<std::string> applications;
    if (options.aid.empty()) {
        const Applications found = find_applications(card);
        if (!found.has_directory) {
            tell("the card has no directory: it was asked for the names that terminals know");
        }
        applications = found.aids;
    } else {
        applications = {options.aid};
    }
    Dump dump(card, common);
    dump.directory(card.contactless() ? "2PAY.SYS.DDF01" : "1PAY.SYS.DDF01");
    bool found_one = false;
    for (const std::string& aid : applications) {
        found_one = dump.application(aid) || found_one;
    }
    const int status = found_one ? success : failure;
    if (!found_one) {
        tell(options.aid.empty() ? "the card has no application that can be read"
                                 : "the card has no application " + options.aid);
    }
    const decode::Node atr = decode::find_data_kind("atr")->decode(card.atr(), {});
    if (common.json) {
        Json json = result_of("dump");
        json["slot"] = slot_name(card.kind());
        json["atr"] = tree_of(atr);
        json["sections"] = Json::array();
        for (const DumpSection& section : dump.sections()) {
            json["sections"].push_back({{"title", section.title}, {"tree", tree_of(section.node)}});
        }
        put_json(json);
        return status;
    }
    const bool colour = wants_colour();
    const decode::TextStyle style{.colour = colour, .width = output_width(), .indent = 2};
    const auto heading = [colour](const std::string& text) {
        return (colour ? "\033[1m" : "") + text + (colour ? "\033[0m" : "") + "\n";
    };
    std::string text = heading("Answer to reset") + decode::to_text(atr, style);
    for (const DumpSection& section : dump.sections()) {
        text += "\n" + heading(section.title) + decode::to_text(section.node, style);
    }
    put_text(text);
    return status;
}

}  // namespace

void add_dump(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<CardOptions>();
    CLI::App* command =
        app.add_subcommand("dump", "Show all that can be read without changing the card");
    add_application_options(*command, *options);
    command->footer(examples(R"(  quorrin dump
  quorrin dump --aid A000000333010101 --json)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_dump(*options, common); }; });
}

}  // namespace quorrin::command
