// quorrin profile: card profiles for the simulated reader, checked and begun.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "hosts/command/card_session.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/new_profile.hpp"
#include "hosts/command/simulated_slot.hpp"

namespace quorrin::command {
namespace {

int run_check(const std::vector<std::string>& files, const Common& common) {
    Json json = result_of("profile check");
    json["profiles"] = Json::array();
    bool all_good = true;
    load_backend({"simulator", ""});
    for (const std::string& file : files) {
        const MemoryFile reader_file(one_card("contact", "profile", file));
        setenv("QUORRIN_SIMULATOR", reader_file.path().c_str(), 1);
        bool good = true;
        try {
            host::Reader reader;  // the simulator says what is wrong in one line
            reader.power_up(QUORRIN_CONTACT_CARD);
        } catch (const host::Failure&) {
            good = false;
        }
        all_good = all_good && good;
        json["profiles"].push_back({{"file", file}, {"good", good}});
        if (!common.json) {
            put_result(file + (good ? ": a card that the simulator takes\n" : ": refused\n"));
        }
    }
    if (common.json) {
        put_json(json);
    }
    return all_good ? success : failure;
}

int run_new(const std::string& file) {
    if (file.empty()) {
        put_result(new_profile);
        return success;
    }
    if (std::filesystem::exists(file)) {
        throw Failed(file + " is there already");
    }
    std::ofstream out(file, std::ios::binary);
    out << new_profile;
    if (!out.flush()) {
        throw Failed(file + " cannot be written");
    }
    tell("wrote " + file + "; put it into a reader file as profile = \"" + file + "\"");
    return success;
}

}  // namespace

void add_profile(CLI::App& app, const Common& common, Action& action) {
    CLI::App* command = app.add_subcommand("profile", "Card profiles for the simulated reader");
    command->require_subcommand(1);
    command->footer(
        examples("  quorrin profile new my-card.toml\n"
                 "  quorrin profile check my-card.toml"));
    auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* check = command->add_subcommand("check", "Say whether the simulator takes a profile");
    check->add_option("FILE", *files, "Profiles")->required()->check(CLI::ExistingFile);
    check->footer(examples("  quorrin profile check my-card.toml"));
    check->callback(
        [=, &common, &action] { action = [=, &common] { return run_check(*files, common); }; });
    auto file = std::make_shared<std::string>();
    CLI::App* create = command->add_subcommand("new", "A commented profile to start from");
    create->add_option("FILE", *file, "Write it here; without it to standard output");
    create->footer(examples("  quorrin profile new my-card.toml"));
    create->callback([=, &action] { action = [=] { return run_new(*file); }; });
    check->fallthrough();
    create->fallthrough();
}

}  // namespace quorrin::command
