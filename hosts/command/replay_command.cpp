// quorrin replay: a recorded card in the simulated reader, for a host that is run with it.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>

#include "hosts/command/json_output.hpp"
#include "hosts/command/output.hpp"
#include "hosts/command/reader_backend.hpp"
#include "hosts/command/simulated_slot.hpp"
#include "hosts/command/subcommand.hpp"
#include "reader_libraries/trace/trace_format.hpp"

namespace quorrin::command {
namespace {

struct ReplayOptions {
    std::string trace;
    std::string slot = "contact";
    std::string reader_file;
    std::vector<std::string> host;
};

void write_file(const std::string& file, const std::string& text) {
    std::ofstream out(file, std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        throw Failed(file + " cannot be written: " + std::strerror(errno));
    }
}

int run_replay(const ReplayOptions& options, const Common& common) {
    const trace::Trace trace = trace::read_trace(options.trace);
    for (const trace::Problem& problem : trace.problems) {
        tell(trace::describe(options.trace, problem));
    }
    if (trace.entries.empty()) {
        throw Failed(options.trace + ": no line of a trace in it");
    }
    const std::string text = one_card(options.slot, "trace", options.trace);
    if (!options.reader_file.empty()) {
        write_file(options.reader_file, text);
    }
    if (options.host.empty()) {
        if (common.json) {
            Json json = result_of("replay");
            json["trace"] = options.trace;
            json["slot"] = options.slot;
            json["reader_file"] = options.reader_file;
            json["text"] = text;
            put_json(json);
        } else if (options.reader_file.empty()) {
            put_result(text);
        }
        if (!options.reader_file.empty()) {
            tell("wrote " + options.reader_file);
        }
        return success;
    }
    // The host takes this program's place: its output, input and exit status are its own.
    std::optional<MemoryFile> kept;
    const std::string file =
        options.reader_file.empty() ? kept.emplace(text).path() : options.reader_file;
    setenv("QUORRIN_SIMULATOR", file.c_str(), 1);
    restore_log_rules();
    const char* preloaded = std::getenv("LD_PRELOAD");
    const std::string simulator = library_file("libquorrin-simulator");
    setenv("LD_PRELOAD",
           (preloaded != nullptr && *preloaded != '\0' ? simulator + ":" + preloaded : simulator)
               .c_str(),
           1);
    std::vector<char*> arguments;
    for (const std::string& argument : options.host) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    throw Failed(options.host.front() + " cannot be run: " + std::strerror(errno));
}

}  // namespace

void add_replay(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<ReplayOptions>();
    CLI::App* command = app.add_subcommand(
        "replay", "Play a recorded card to a host: what was recorded is answered, in order");
    command->add_option("TRACE", options->trace, "The recording")->required();
    command->add_option("--slot", options->slot, "Where the card sits")
        ->check(
            CLI::IsMember({"contact", "contactless", "further", "sam1", "sam2", "sam3", "sam4"}))
        ->capture_default_str();
    command
        ->add_option("--write", options->reader_file,
                     "Write the simulator's reader file here, to be kept")
        ->type_name("FILE");
    command->add_option("HOST", options->host,
                        "The host and its arguments; without it the reader file is printed");
    command->footer(examples(R"(  quorrin replay terminal.jsonl -- ./terminal --once
  quorrin replay terminal.jsonl --write reader.toml
  quorrin info --reader simulator --trace info.jsonl
  quorrin replay info.jsonl -- quorrin info --reader simulator

The host must do what the recorded one did: from where it departs, the card
answers nothing any more, and the line is named. The host's reader library is
the simulator, preloaded.)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_replay(*options, common); }; });
}

}  // namespace quorrin::command
