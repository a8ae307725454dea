// quorrin aids: the applications of the card's directory.
#include <memory>

#include "decode/lookup.hpp"
#include "hosts/command/card_session.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

int run_aids(const CardOptions& options, const Common& common) {
    CardSession session(options, common);
    Table table({"", "AID", "name"});
    Json json = result_of("aids");
    json["slot"] = slot_name(session.card().kind());
    json["applications"] = Json::array();
    std::size_t number = 0;
    for (const std::string& aid : session.card().applications()) {
        const std::string name(decode::application_name(host::from_hex(aid)));
        table.add({std::to_string(++number), aid, name});
        json["applications"].push_back({{"aid", aid}, {"name", name}});
    }
    if (common.json) {
        put_json(json);
    } else {
        put_result(table.empty() ? std::string("the directory is empty\n")
                                 : table.text(wants_colour()));
    }
    return success;
}

}  // namespace

void add_aids(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<CardOptions>();
    CLI::App* command = app.add_subcommand("aids", "List the applications of the card's directory");
    add_card_options(*command, *options);
    command->footer(examples(R"(  quorrin aids
  quorrin aids --slot contactless --json)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_aids(*options, common); }; });
}

}  // namespace quorrin::command
