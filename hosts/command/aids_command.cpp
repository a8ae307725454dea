// quorrin aids: the applications of the card's directory, or those that it has without one.
#include <memory>

#include "decode/lookup.hpp"
#include "hosts/command/applications.hpp"
#include "hosts/command/card_reading.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

constexpr const char* ready = "ready";

// How the card calls it, and whether it can be used.
struct ApplicationView {
    std::string aid;
    std::string label;
    std::string state;
};

ApplicationView look_at(host::Card& card, const std::string& aid) {
    const ReadAnswer fci = select_by_name(card, host::from_hex(aid));
    ApplicationView view{aid, {}, ready};
    if (const auto label = find_value(fci.data(), 0x50)) {
        const decode::Node node = decode::element(0x50, *label, {});
        view.label = unquoted(node.text.empty() ? node.value : node.text);
    }
    if (!fci.ok()) {
        constexpr unsigned blocked = 0x6283;
        view.state = (fci.status() == blocked ? "blocked, " : "refused, ") + refusal(fci);
    }
    return view;
}

int run_aids(const CardOptions& options, const Common& common) {
    CardSession session(options, common);
    const Applications found = find_applications(session.card());
    Table table({"", "AID", "name", "label", "state"});
    Json json = result_of("aids");
    json["slot"] = slot_name(session.card().kind());
    json["directory"] = found.has_directory;
    json["applications"] = Json::array();
    std::size_t number = 0;
    for (const std::string& aid : found.aids) {
        const std::string name(decode::application_name(host::from_hex(aid)));
        const ApplicationView view = look_at(session.card(), aid);
        const std::string state = view.state == ready ? in_green(ready) : in_red(view.state);
        table.add({std::to_string(++number), aid, name, view.label, state});
        json["applications"].push_back(
            {{"aid", aid}, {"name", name}, {"label", view.label}, {"state", view.state}});
    }
    if (!found.has_directory) {
        tell("the card has no directory: it was asked for the names that terminals know");
    }
    if (common.json) {
        put_json(json);
    } else {
        put_result(!table.empty()        ? table.text(wants_colour(), terminal_width())
                   : found.has_directory ? std::string("the directory is empty\n")
                                         : std::string("it answers to none of them\n"));
    }
    return success;
}

}  // namespace

void add_aids(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<CardOptions>();
    CLI::App* command = app.add_subcommand("aids", "List the card's applications");
    add_card_options(*command, *options);
    command->footer(examples(R"(  quorrin aids
  quorrin aids --slot contactless --json)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_aids(*options, common); }; });
}

}  // namespace quorrin::command
