// Everything that can be named with --as.
#include <algorithm>
#include <charconv>

#include "decode/data_kinds.hpp"
#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

std::string_view text_of(Bytes data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

template <std::uint32_t Tag>
Node as_element(Bytes data, const Options& options) {
    return element(Tag, data, options);
}

Node as_tlv(Bytes data, const Options& options) {
    return tlv(data, options);
}

Node as_command(Bytes data, const Options& options) {
    return command(data, options);
}

Node as_answer(Bytes data, const Options& options) {
    return answer(data, {}, options);
}

// A value that is no element of its own.
Node tell_whole(std::string label, Teller tell, Bytes data, const Options& options) {
    Reading reading = survey({}, options);
    Node node;
    node.kind = NodeKind::Object;
    node.label = std::move(label);
    node.size = data.size();
    node.value = hex(data);
    tell(reading, {data, 0}, node);
    return node;
}

Node as_status_word(Bytes data, const Options& options) {
    return tell_whole("Status word", tell_status_word, data, options);
}

Node as_atr(Bytes data, const Options& options) {
    return tell_whole("Answer to reset (ATR)", tell_atr, data, options);
}

Node as_historical_bytes(Bytes data, const Options& options) {
    return tell_whole("Historical bytes", tell_historical_bytes, data, options);
}

Node as_dol(Bytes data, const Options& options) {
    return tell_whole("Data object list", tell_dol, data, options);
}

Node as_tag_list(Bytes data, const Options& options) {
    return tell_whole("Tag list", tell_tag_list, data, options);
}

Node as_dol_data(Bytes data, const Options& options) {
    if (!options.list.empty()) {
        return dol_data(options.list, data, options);
    }
    Node node = tell_whole(
        "Data of a list", [](const Reading&, Value, Node&) {}, data, options);
    add_problem(node, 0, "the list is needed to tell the data");
    return node;
}

Node as_cvr(Bytes data, const Options& options) {
    return tell_whole("Card verification results (CVR)", tell_pboc_cvr, data, options);
}

Node as_card_status_update(Bytes data, const Options& options) {
    return tell_whole("Card status update", tell_card_status_update, data, options);
}

Node as_script_results(Bytes data, const Options& options) {
    return tell_whole("Issuer script results", tell_script_results, data, options);
}

Node as_load_log_record(Bytes data, const Options& options) {
    return load_log_record(data, options);
}

Node as_keyed_text(Bytes data, const Options& options) {
    return keyed_text(text_of(data), options);
}

Node as_log_text(Bytes data, const Options& options) {
    return log_text(text_of(data), options);
}

Node as_date(Bytes data, const Options& options) {
    return tell_whole("Date", tell_date, data, options);
}

Node as_time(Bytes data, const Options& options) {
    return tell_whole("Time", tell_time, data, options);
}

Node as_currency(Bytes data, const Options& options) {
    return tell_whole("Currency", tell_currency, data, options);
}

Node as_country(Bytes data, const Options& options) {
    return tell_whole("Country", tell_country, data, options);
}

Node as_languages(Bytes data, const Options& options) {
    return tell_whole("Languages", tell_languages, data, options);
}

Node as_amount(Bytes data, const Options& options) {
    return tell_whole("Amount", tell_transaction_amount, data, options);
}

Node as_result_code(Bytes data, const Options&) {
    Node node;
    node.kind = NodeKind::Object;
    node.label = "Result code";
    node.size = data.size();
    std::string_view text = text_of(data);
    const auto is_space = [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; };
    while (!text.empty() && is_space(text.back())) {
        text.remove_suffix(1);
    }
    while (!text.empty() && is_space(text.front())) {
        text.remove_prefix(1);
    }
    std::int64_t code = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        add_problem(node, 0, "a result code is a decimal number");
        return node;
    }
    const ResultCode told = result_code(code);
    node.label += " " + std::to_string(code);
    node.text = told.meaning;
    node.note = told.message;
    if (told.meaning.empty()) {
        node.text = "unknown";
        add_unknown(node, 0, "the code is in no table");
    }
    return node;
}

constexpr DataKind kinds[] = {
    {"tlv", "data objects: tag, length, value", false, as_tlv},
    {"command", "a command APDU", false, as_command},
    {"answer", "a response APDU, status word at the end", false, as_answer},
    {"sw", "a status word", false, as_status_word},
    {"code", "a result code of the library, decimal", true, as_result_code},
    {"device-code", "a result of a reader library, decimal", true, as_result_code},
    {"atr", "an answer to reset", false, as_atr},
    {"historical-bytes", "the historical bytes of an ATR or ATS", false, as_historical_bytes},
    {"aid", "an application identifier", false, as_element<0x4F>},
    {"fci", "the value of an FCI template", false, as_element<0x6F>},
    {"pan", "an account number", false, as_element<0x5A>},
    {"track1", "track 1 data", false, as_element<0x56>},
    {"track2", "track 2 equivalent data", false, as_element<0x57>},
    {"aip", "application interchange profile", false, as_element<0x82>},
    {"afl", "application file locator", false, as_element<0x94>},
    {"auc", "application usage control", false, as_element<0x9F07>},
    {"tvr", "terminal verification results; action codes too", false, as_element<0x95>},
    {"tsi", "transaction status information", false, as_element<0x9B>},
    {"cvm-list", "CVM list", false, as_element<0x8E>},
    {"cvm-results", "CVM results", false, as_element<0x9F34>},
    {"cid", "cryptogram information data", false, as_element<0x9F27>},
    {"iad", "issuer application data", false, as_element<0x9F10>},
    {"cvr", "card verification results of PBOC, with their length", false, as_cvr},
    {"issuer-authentication", "issuer authentication data", false, as_element<0x91>},
    {"csu", "card status update", false, as_card_status_update},
    {"terminal-type", "terminal type", false, as_element<0x9F35>},
    {"terminal-capabilities", "terminal capabilities", false, as_element<0x9F33>},
    {"additional-terminal-capabilities", "additional terminal capabilities", false,
     as_element<0x9F40>},
    {"ttq", "terminal transaction qualifiers", false, as_element<0x9F66>},
    {"ctq", "card transaction qualifiers", false, as_element<0x9F6C>},
    {"card-processes", "card additional processes", false, as_element<0x9F68>},
    {"dol", "a data object list", false, as_dol},
    {"dol-data", "the data that answer a list; needs --list", false, as_dol_data},
    {"tag-list", "a list of tags", false, as_tag_list},
    {"script-1", "the value of an issuer script template 71", false, as_element<0x71>},
    {"script-2", "the value of an issuer script template 72", false, as_element<0x72>},
    {"script-command", "an issuer script command", false, as_element<0x86>},
    {"script-results", "issuer script results", false, as_script_results},
    {"log-record", "a record of the transaction log; needs --list, its format", false, log_record},
    {"load-log-record", "a record of the load log; needs --list, its format", false,
     as_load_log_record},
    {"keyed-text", "the library's keyed value text", true, as_keyed_text},
    {"log-text", "the library's text of a log record", true, as_log_text},
    {"date", "a date, YYMMDD", false, as_date},
    {"time", "a time, HHMMSS", false, as_time},
    {"amount", "an amount of 12 digits", false, as_amount},
    {"currency", "a currency (ISO 4217)", false, as_currency},
    {"country", "a country (ISO 3166-1)", false, as_country},
    {"languages", "languages (ISO 639)", false, as_languages},
};

}  // namespace

std::span<const DataKind> data_kinds() {
    return kinds;
}

const DataKind* find_data_kind(std::string_view name) {
    const auto* found = std::ranges::find(kinds, name, &DataKind::name);
    return found == std::end(kinds) ? nullptr : found;
}

std::optional<std::uint32_t> parse_tag(std::string_view text) {
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
    }
    std::uint32_t tag = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), tag, 16);
    if (text.empty() || text.size() % 2 != 0 || text.size() > 8 || error != std::errc() ||
        end != text.data() + text.size()) {
        return {};
    }
    // As many bytes as its own first byte announces.
    std::uint8_t bytes[4];
    const std::size_t count = text.size() / 2;
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(tag >> (8 * (count - 1 - i)));
    }
    const Header header = read_tag_only(Bytes(bytes, count));
    return header.error.empty() && header.tag_size == count ? std::optional(tag) : std::nullopt;
}

std::vector<std::string_view> look_like(Bytes data) {
    std::vector<std::string_view> names;
    const auto holds = [](const Node& node) { return !has_problems(node); };
    if (data.size() >= 2 && (data[0] == 0x3B || data[0] == 0x3F) && holds(as_atr(data, {}))) {
        names.push_back("atr");
    }
    if (data.size() == 2 && (data[0] >> 4 == 6 || data[0] >> 4 == 9) &&
        holds(as_status_word(data, {}))) {
        names.push_back("sw");
    }
    if (data.size() > 2 && holds(answer(data))) {
        names.push_back("answer");
    }
    if (data.size() >= 4 && holds(command(data))) {
        names.push_back("command");
    }
    if (data.size() >= 5 && holds(as_dol(data, {}))) {
        names.push_back("dol");
    }
    if (data.size() >= 5 && holds(keyed_text(text_of(data)))) {
        names.push_back("keyed-text");
    }
    if (data.size() >= 5 && (data[0] == 0xA0 || data[0] >> 4 == 0xD) &&
        !application_name(data).empty()) {
        names.push_back("aid");
    }
    return names;
}

}  // namespace quorrin::decode
