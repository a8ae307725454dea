// quorrin bank: the test bank alone, for hosts in any language.
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

#include "decode/input.hpp"
#include "hosts/command/bank_options.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/subcommand.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

struct AloneOptions : BankOptions {
    std::string field_55;
    std::string pan;
    std::string sequence;
    std::string request;
    int method = 0;
};

host::ByteString hex_of(const std::string& text, const char* what) {
    const decode::Input input = decode::read_hex(text);
    if (!input.error.empty()) {
        throw Failed(std::string(what) + ": " + input.error);
    }
    return input.bytes;
}

// A request as quorrin purchase --cryptogram-only --json writes it: field_55, pan, pan_sequence_number.
void read_request(const std::string& file, host::OnlineRequest& online) {
    std::string text;
    if (file == "-") {
        text.assign(std::istreambuf_iterator<char>(std::cin), {});
    } else {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) {
            throw Failed(file + " cannot be read");
        }
        text.assign(std::istreambuf_iterator<char>(stream), {});
    }
    const Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded() || !json.is_object() || !json.contains("field_55") ||
        !json.at("field_55").is_string()) {
        throw Failed(file + ": no JSON object with a field_55");
    }
    online.field_55 = hex_of(json.at("field_55").get<std::string>(), "field_55");
    if (json.contains("pan") && json.at("pan").is_string()) {
        online.pan = host::Pan(json.at("pan").get<std::string>());
    }
    if (json.contains("pan_sequence_number") &&
        json.at("pan_sequence_number").is_number_unsigned()) {
        online.pan_sequence_number = json.at("pan_sequence_number").get<std::uint8_t>();
    }
}

int run_bank(const AloneOptions& options, const Common& common) {
    host::OnlineRequest online;
    if (!options.request.empty()) {
        read_request(options.request, online);
    }
    if (!options.field_55.empty()) {
        online.field_55 = hex_of(options.field_55, "--field55");
    }
    if (online.field_55.empty()) {
        throw WrongUsage("no request: give --field55 or --request");
    }
    if (!options.pan.empty()) {
        online.pan = host::Pan(options.pan);
    }
    if (online.pan.reveal().find('*') != std::string::npos) {
        throw Failed(
            "the card number is masked: make the request with --show-sensitive, or give --pan");
    }
    if (!options.sequence.empty()) {
        const host::ByteString sequence = hex_of(options.sequence, "--sequence");
        online.pan_sequence_number = sequence.empty() ? std::uint8_t{0} : sequence.front();
    }
    host::BankDecision decision = decision_of(options);
    decision.arpc_method = options.method;
    const host::BankAnswer answer =
        host::TestBank(options.rules).answer(online, options.wishes, decision);
    if (!common.json) {
        // The answer alone on standard output, for ARPCExeScript or quorrin purchase --answer.
        tell((answer.approved ? "approved, " : "declined, ") + answer.response_code + ": " +
             answer.reason);
        put_result(answer.issuer_text + "\n");
        return answer.cryptogram_right ? success : failure;
    }
    Json json = result_of("bank");
    json["cryptogram_right"] = answer.cryptogram_right;
    json["approved"] = answer.approved;
    json["response_code"] = answer.response_code;
    json["authorisation_code"] = answer.authorisation_code;
    json["arpc_method"] = answer.arpc_method;
    json["authentication"] = host::to_hex(answer.authentication);
    json["product"] = answer.product;
    json["rule"] = answer.rule;
    json["reason"] = answer.reason;
    json["issuer_text"] = answer.issuer_text;
    put_json(json);
    return answer.cryptogram_right ? success : failure;
}

}  // namespace

void add_bank(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<AloneOptions>();
    CLI::App* command =
        app.add_subcommand("bank", "Ask the test bank: a request in, its answer out as hex text");
    command->add_option("--field55", options->field_55, "The request: ISO 8583 field 55 in hex");
    command->add_option("--request", options->request,
                        "The request as JSON: field_55, pan, pan_sequence_number; - reads standard "
                        "input");
    command->add_option("--pan", options->pan, "Card number, where the request has none");
    command->add_option("--sequence", options->sequence, "Its sequence number, two digits");
    command->add_option("--arpc-method", options->method, "1 or 2; without it the card product's")
        ->check(CLI::Range(1, 2));
    add_bank_options(*command, *options, "--rules");
    command->footer(examples(
        R"help(  quorrin purchase --cryptogram-only --json --show-sensitive |
      quorrin bank --request -
  quorrin bank --field55 9F2608... --pan 9999010000000011 --sequence 01 --json
The card takes the answer when both purchases are the same, as they can be with
a simulated card:
  set -- --unpredictable-number 11223344 --date 261121 --time 120000
  quorrin purchase "$@" --cryptogram-only --json --show-sensitive > request.json
  quorrin purchase "$@" --answer "$(quorrin bank --request request.json)")help"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_bank(*options, common); }; });
}

}  // namespace quorrin::command
