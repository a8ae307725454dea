// quorrin pan: the card number, and nothing else on standard output.
#include <memory>

#include "hosts/command/applications.hpp"
#include "hosts/command/json_output.hpp"

namespace quorrin::command {
namespace {

int run_pan(const CardOptions& options, const Common& common) {
    CardSession session(options, common);
    const host::HolderInformation holder =
        session.card().holder(chosen_application(session.card(), options.aid));
    const host::Pan pan = holder.pan.empty() ? holder.track2.pan() : holder.pan;
    if (pan.empty()) {
        throw Failed("the application has no card number");
    }
    const std::string digits = common.show_sensitive ? pan.reveal() : pan.masked();
    if (!common.json) {
        put_result(digits + "\n");
        return success;
    }
    Json json = result_of("pan");
    json["slot"] = slot_name(session.card().kind());
    json["pan"] = digits;
    json["masked"] = !common.show_sensitive;
    if (holder.expires) {
        json["expires"] = holder.expires->text();
    }
    put_json(json);
    return success;
}

}  // namespace

void add_pan(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<CardOptions>();
    CLI::App* command = app.add_subcommand("pan", "Print the card number, masked unless asked for");
    add_application_options(*command, *options);
    command->footer(examples(R"(  quorrin pan
  quorrin pan --show-sensitive --reader simulator)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_pan(*options, common); }; });
}

}  // namespace quorrin::command
