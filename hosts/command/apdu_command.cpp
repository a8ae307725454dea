// quorrin apdu: commands as they are, answers decoded.
#include <iostream>
#include <memory>
#include <stdexcept>

#include "decode/lookup.hpp"
#include "decode/render.hpp"
#include "hosts/command/card_session.hpp"
#include "hosts/command/json_output.hpp"

namespace quorrin::command {
namespace {

struct ApduOptions : CardOptions {
    std::vector<std::string> commands;
    bool raw = false;
};

// `Complaint` goes by where the text comes from.
template <typename Complaint>
host::Command parse_command(const std::string& text) {
    try {
        return host::Command::parse(text);
    } catch (const std::invalid_argument& error) {
        throw Complaint("\"" + text + "\" is no command: " + error.what());
    }
}

std::vector<host::Command> commands_of(const ApduOptions& options) {
    std::vector<host::Command> commands;
    if (!options.commands.empty() && options.commands != std::vector<std::string>{"-"}) {
        for (const std::string& text : options.commands) {
            commands.push_back(parse_command<WrongUsage>(text));
        }
        return commands;
    }
    for (std::string line; std::getline(std::cin, line);) {
        line.erase(std::min(line.find('#'), line.size()));
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            while (!line.empty() && (line.back() == '\r' || line.back() == '\t')) {
                line.pop_back();
            }
            commands.push_back(parse_command<Failed>(line));
        }
    }
    return commands;
}

host::ByteString bytes_of(const host::Command& command) {
    host::ByteString bytes = {command.cla, command.ins, command.p1, command.p2};
    if (!command.data.empty()) {
        bytes.push_back(static_cast<std::uint8_t>(command.data.size()));
        bytes.insert(bytes.end(), command.data.begin(), command.data.end());
    }
    if (command.le) {
        bytes.push_back(*command.le);
    }
    return bytes;
}

int run_apdu(const ApduOptions& options, const Common& common) {
    const std::vector<host::Command> commands = commands_of(options);  // before anything is sent
    CardSession session(options, common);
    Json json = result_of("apdu");
    json["slot"] = slot_name(session.card().kind());
    json["exchanges"] = Json::array();
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    for (const host::Command& command : commands) {
        const host::Response response = session.card().transmit(command);
        const host::ByteString sent = bytes_of(command);
        host::ByteString answer = response.data;
        answer.push_back(response.status_word.sw1);
        answer.push_back(response.status_word.sw2);
        const decode::Node node = decode::answer(answer, sent, decoding);
        if (common.json) {
            Json exchange = {
                {"status", response.status_word.text()},
                {"meaning",
                 decode::status_word(response.status_word.sw1, response.status_word.sw2).meaning},
                {"received", tree_of(node)}};
            if (common.show_sensitive) {
                exchange["command"] = host::to_hex(sent);
                exchange["answer"] = host::to_hex(answer);
            }
            json["exchanges"].push_back(std::move(exchange));
        } else if (options.raw) {
            put_result(host::to_hex(answer) + "\n");
        } else {
            put_text(decode::to_text(decode::command(sent, decoding),
                                     {.colour = wants_colour(), .width = output_width()}) +
                     decode::to_text(node, {.colour = wants_colour(), .width = output_width()}));
        }
    }
    if (common.json) {
        put_json(json);
    }
    return success;
}

}  // namespace

void add_apdu(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<ApduOptions>();
    CLI::App* command = app.add_subcommand("apdu", "Send commands as they are, decode the answers");
    command->add_option(
        "COMMAND", options->commands,
        "Commands in hex; without them, and with -, a line each from standard input, # "
        "begins a comment");
    add_card_options(*command, *options);
    command
        ->add_flag(
            "--raw", options->raw,
            "The answers as hex, a line each; needs --show-sensitive, because nothing is masked")
        ->needs(command->get_parent()->get_option("--show-sensitive"));
    command->footer(
        examples(R"(  quorrin apdu "00A40400 0E 315041592E5359532E4444463031 00" 00B2010C00
  quorrin apdu --raw --show-sensitive 80CA9F3600
  quorrin apdu - < commands.txt)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_apdu(*options, common); }; });
}

}  // namespace quorrin::command
