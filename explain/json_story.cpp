// Stories for programs (docs/schemas/explain.schema.json).

#include <nlohmann/json.hpp>

#include "decode/json_tree.hpp"
#include "explain/render.hpp"

namespace quorrin::explain {
namespace {

using Json = nlohmann::ordered_json;

Json json_of(const std::vector<Fact>& facts) {
    Json list = Json::array();
    for (const Fact& fact : facts) {
        list.push_back({{"name", fact.name}, {"value", fact.value}});
    }
    return list;
}

Json json_of(const Finding& finding) {
    Json json = {{"severity", name_of(finding.severity)},
                 {"party", name_of(finding.party)},
                 {"text", finding.text}};
    if (!finding.source.empty()) {
        json["source"] = finding.source;
    }
    if (finding.line != 0) {
        json["line"] = finding.line;
    }
    return json;
}

Json json_of(const Exchange& exchange, std::int64_t origin) {
    Json json = {{"name", exchange.name},
                 {"lines", exchange.lines},
                 {"at_us", exchange.began - origin},
                 {"duration_ns", exchange.duration},
                 {"ok", exchange.ok},
                 {"result", exchange.result}};
    const auto add = [&json](const char* name, const std::string& text) {
        if (!text.empty()) {
            json[name] = text;
        }
    };
    add("command", exchange.command);
    add("answer", exchange.answer);
    add("status", exchange.status);
    add("status_meaning", exchange.status_meaning);
    add("status_message", exchange.status_message);
    if (!exchange.command.empty()) {
        json["sent"] = decode::json_of(exchange.sent);
    }
    if (!exchange.answer.empty()) {
        json["received"] = decode::json_of(exchange.received);
    }
    return json;
}

Json json_of(const Step& step, std::int64_t origin) {
    Json json = {{"title", step.title},          {"outcome", step.outcome},
                 {"failed", step.failed},        {"line", step.line},
                 {"at_us", step.began - origin}, {"duration_ns", step.duration}};
    if (!step.passed_over.empty()) {
        json["passed_over"] = step.passed_over;
    }
    json["findings"] = Json::array();
    for (const Finding& finding : step.findings) {
        json["findings"].push_back(json_of(finding));
    }
    json["exchanges"] = Json::array();
    for (const Exchange& exchange : step.exchanges) {
        json["exchanges"].push_back(json_of(exchange, origin));
    }
    return json;
}

Json json_of(const Decision& decision) {
    Json json = {{"by", name_of(decision.party)}, {"result", name_of(decision.result)}};
    if (!decision.code.empty()) {
        json["code"] = decision.code;
    }
    if (!decision.meaning.empty()) {
        json["meaning"] = decision.meaning;
    }
    return json;
}

Json json_of(const Transaction& told) {
    Json json = {{"title", told.title},           {"timestamp", told.timestamp},
                 {"terminal", told.terminal},     {"session", told.session},
                 {"process", told.process},       {"slot", told.slot},
                 {"first_line", told.first_line}, {"last_line", told.last_line},
                 {"complete", told.complete},     {"failed", told.failed},
                 {"ended", told.ended},           {"span_us", told.span},
                 {"card_ns", told.at_card},       {"card", json_of(told.card)},
                 {"asked", json_of(told.asked)},  {"time", json_of(told.time)}};
    if (told.decision) {
        json["decision"] = json_of(*told.decision);
    }
    json["steps"] = Json::array();
    for (const Step& step : told.steps) {
        json["steps"].push_back(json_of(step, told.began));
    }
    return json;
}

}  // namespace

std::string to_json(const Story& story, int indent) {
    Json json = {{"explain_version", 1}, {"file", story.file}, {"lines", story.lines}};
    json["problems"] = Json::array();
    for (const trace::Problem& problem : story.problems) {
        json["problems"].push_back({{"line", problem.line}, {"reason", problem.reason}});
    }
    json["transactions"] = Json::array();
    for (const Transaction& transaction : story.transactions) {
        json["transactions"].push_back(json_of(transaction));
    }
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace quorrin::explain
