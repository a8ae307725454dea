// quorrin info: what the card says of its holder.
#include <memory>

#include "decode/lookup.hpp"
#include "hosts/command/card_session.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

struct InfoOptions : CardOptions {
    std::string keys;
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

int run_info(const InfoOptions& options, const Common& common) {
    CardSession session(options, common);
    session.card().holder(options.aid);
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    if (const auto aid = session.card().element(0x84)) {
        decoding.kernel = decode::kernel_of(*aid);
    }
    if (const auto currency = session.card().element(0x9F42); currency && currency->size() == 2) {
        decoding.currency =
            static_cast<std::uint16_t>((currency->at(0) & 0x0F) * 100 +
                                       (currency->at(1) >> 4) * 10 + (currency->at(1) & 0x0F));
    }
    Table table({"key", "tag", "element", "value"});
    Json json = result_of("info");
    json["slot"] = slot_name(session.card().kind());
    json["elements"] = Json::array();
    for (const KeyRow& row : key_rows()) {
        const auto value = session.card().element(row.tag);
        const bool wanted = options.keys.empty() || options.keys.find(row.key) != std::string::npos;
        if (!wanted || !value) {
            continue;
        }
        const decode::Node node = decode::element(row.tag, *value, decoding);
        const std::string text = node.text.empty() ? node.value : node.text;
        table.add({std::string(1, row.key), node.tag, node.label, text});
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
        put_result(table.empty() ? std::string("the card has none of these\n")
                                 : table.text(wants_colour()));
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
    add_application_options(*command, *options);
    command->footer(examples(R"(  quorrin info
  quorrin info BEI --reader simulator
  quorrin info --json --slot contactless)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_info(*options, common); }; });
}

}  // namespace quorrin::command
