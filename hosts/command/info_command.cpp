// quorrin info: what the card says of its holder.
#include <algorithm>
#include <iterator>
#include <memory>

#include "decode/lookup.hpp"
#include "hosts/command/applications.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

struct InfoOptions : CardOptions {
    std::string keys;
    std::string date;
};

struct KeyRow {
    char key;
    host::Tag tag;
};

// By the library's own table of keys.
std::vector<KeyRow> key_rows() {
    std::vector<KeyRow> rows;
    for (const QuorrinKeyRow& row : TagMapgetIccInfo) {
        rows.push_back({row.key, static_cast<host::Tag>(
                                     row.tagLen == 2 ? row.tag[0] << 8 | row.tag[1] : row.tag[0])});
    }
    return rows;
}

// A value that is masked from somewhere on, without a line of asterisks: "999901******0011D... masked".
std::string shortened(const std::string& text) {
    constexpr const char* longest_shown = "*****************";  // more than of any card number
    const std::size_t masked = text.find(longest_shown);
    if (masked == std::string::npos) {
        return text;
    }
    const std::string shown = text.substr(0, masked);
    return shown.empty() || shown == "\"" ? "masked" : shown + "\u2026 masked";
}

// What kind of card it is, for somebody who knows none of the elements below.
std::string summary_of(const CardFacts& facts, const host::Date& day,
                       const std::vector<std::string>& others) {
    Table table;
    table.add({"card", facts.name + (facts.label.empty() ? "" : ", \"" + facts.label + "\"") +
                           (facts.country.empty() ? "" : ", issued in " + facts.country)});
    table.add({"AID", facts.aid});
    if (const std::string validity = validity_text(facts, day); !validity.empty()) {
        const bool is_good = !has_expired(facts, day) && !is_not_yet_valid(facts, day);
        table.add({"valid", is_good ? validity : in_red(validity)});
    }
    for (std::size_t i = 0; i < facts.abilities.size(); ++i) {
        table.add({i == 0 ? "has" : "", facts.abilities[i]});
    }
    for (std::size_t i = 0; i < others.size(); ++i) {
        table.add(
            {i == 0 ? "besides" : "", application_name(others[i]) + " (--aid " + others[i] + ")"});
    }
    return table.text(false, terminal_width());
}

int run_info(const InfoOptions& options, const Common& common) {
    const host::Date day =
        options.date.empty() ? host::today() : parse_date(options.date, "--date");
    CardSession session(options, common);
    std::vector<std::string> others;
    std::string aid = options.aid;
    if (aid.empty()) {
        others = find_applications(session.card()).aids;
        aid = first_of(others);
        others.erase(others.begin());
    }
    session.card().holder(aid);
    CardFacts facts = card_facts(session.card(), aid);
    std::ranges::move(contactless_abilities(session.card()), std::back_inserter(facts.abilities));
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    decoding.kernel = decode::kernel_of(host::from_hex(aid));
    decoding.currency = iso_number(session.card().element(0x9F42));
    Table table({"key", "tag", "element", "value"});
    Json json = result_of("info");
    json["slot"] = slot_name(session.card().kind());
    json["application"] = {{"aid", aid}, {"name", facts.name}, {"label", facts.label}};
    json["other_applications"] = others;
    json["expired"] = has_expired(facts, day);
    json["abilities"] = facts.abilities;
    json["elements"] = Json::array();
    for (const KeyRow& row : key_rows()) {
        const auto value = session.card().element(row.tag);
        const bool wanted = options.keys.empty() || options.keys.find(row.key) != std::string::npos;
        if (!wanted || !value) {
            continue;
        }
        const decode::Node node = decode::element(row.tag, *value, decoding);
        const std::string text = node.text.empty() ? node.value : node.text;
        table.add({std::string(1, row.key), node.tag, node.label, shortened(text)});
        json["elements"].push_back({{"key", std::string(1, row.key)},
                                    {"tag", node.tag},
                                    {"name", node.label},
                                    {"name_zh", decode::element_name_zh(row.tag)},
                                    {"value", node.value},
                                    {"text", text}});
    }
    if (common.json) {
        put_json(json);
    } else {
        const std::string elements = table.empty() ? std::string("the card has none of these\n")
                                                   : table.text(wants_colour(), terminal_width());
        // Who asks for certain keys wants them alone.
        put_result(options.keys.empty() ? summary_of(facts, day, others) + "\n" + elements
                                        : elements);
    }
    return success;
}

}  // namespace

void add_info(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = app.add_subcommand("info", "Tell what the card says of its holder");
    command
        ->add_option(
            "KEYS", options->keys,
            "Only these: A number, B name, C and D paper, E balance, F balance limit, G single "
            "payment limit, H currency, I expiry, J sequence number, K track 2, L track 1")
        ->check([](const std::string& keys) {
            return keys.find_first_not_of("ABCDEFGHIJKL") == std::string::npos
                       ? std::string()
                       : "keys are letters from A to L";
        });
    command->add_option("--date", options->date,
                        "Whether the card is valid on this day, YYMMDD; "
                        "without it today");
    add_application_options(*command, *options);
    command->footer(examples(R"(  quorrin info
  quorrin info BEI --reader simulator
  quorrin info --json --slot contactless)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_info(*options, common); }; });
}

}  // namespace quorrin::command
