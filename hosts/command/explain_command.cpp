// quorrin explain: a trace told step by step.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "explain/render.hpp"
#include "explain/story.hpp"
#include "hosts/command/output.hpp"
#include "hosts/command/progress.hpp"
#include "hosts/command/subcommand.hpp"

namespace quorrin::command {
namespace {

struct ExplainOptions {
    std::string file;
    std::string page;
    bool details = false;
};

void write_page(const std::string& file, const std::string& page) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << page;
    out.flush();
    if (!out) {
        throw Failed(file + " cannot be written: " + std::strerror(errno));
    }
    tell("wrote " + file);
}

int run_explain(const ExplainOptions& options, const Common& common) {
    const Progress progress("reading the trace");
    const trace::Trace trace = trace::read_trace(options.file);
    for (const trace::Problem& problem : trace.problems) {
        tell(trace::describe(options.file, problem));
    }
    if (trace.entries.empty()) {
        throw Failed(options.file + ": no line of a trace in it");
    }
    explain::Story story = explain::tell(trace, {.show_sensitive = common.show_sensitive});
    story.file = std::filesystem::path(options.file).filename().string();
    if (!options.page.empty()) {
        write_page(options.page, explain::to_html(story));
    }
    if (common.json) {
        put_result(explain::to_json(story) + "\n");
    } else if (options.page.empty()) {
        put_result(explain::to_text(
            story,
            {.colour = wants_colour(), .width = output_width(), .details = options.details}));
    }
    return trace.problems.empty() ? success : failure;
}

}  // namespace

void add_explain(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<ExplainOptions>();
    CLI::App* command = app.add_subcommand("explain", "Tell a recorded trace step by step");
    command->add_option("FILE", options->file, "The trace, as libquorrin-trace.so writes it")
        ->required();
    command->add_option("--html", options->page, "Write a page for the browser to this file")
        ->type_name("FILE");
    command->add_flag("--details", options->details, "Every exchange with its decoded content");
    command->footer(examples(R"(  quorrin explain terminal.jsonl
  quorrin explain --details terminal.jsonl
  quorrin explain --html trace.html terminal.jsonl
  quorrin explain --json terminal.jsonl | jq '.transactions[].ended')"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_explain(*options, common); }; });
}

}  // namespace quorrin::command
