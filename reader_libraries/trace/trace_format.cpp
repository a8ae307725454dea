#include "reader_libraries/trace/trace_format.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>

#include "reader_libraries/trace/call_names.hpp"
#include "reader_libraries/trace/field_names.hpp"

namespace quorrin::trace {
namespace {

using Json = nlohmann::json;

int hex_digit(char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                  : -1;
}

// "2026-11-21T09:30:00.123456Z"; nothing for a date that does not exist.
std::optional<std::int64_t> microseconds(std::string_view text) {
    constexpr std::string_view shape = "0000-00-00T00:00:00.000000Z";
    if (text.size() != shape.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (shape[i] == '0' ? !digit : text[i] != shape[i]) {
            return std::nullopt;
        }
    }
    const auto number = [text](std::size_t at, std::size_t digits) {
        int value = 0;
        std::from_chars(text.data() + at, text.data() + at + digits, value);
        return value;
    };
    using namespace std::chrono;
    const year_month_day date{year{number(0, 4)}, month{static_cast<unsigned>(number(5, 2))},
                              day{static_cast<unsigned>(number(8, 2))}};
    const int hour = number(11, 2);
    const int minute = number(14, 2);
    const int second = number(17, 2);
    if (!date.ok() || hour > 23 || minute > 59 || second > 60) {
        return std::nullopt;
    }
    const auto time = sys_days{date}.time_since_epoch() + hours{hour} + minutes{minute} +
                      seconds{second} + std::chrono::microseconds{number(20, 6)};
    return duration_cast<std::chrono::microseconds>(time).count();
}

bool take_hex(std::string_view text, std::vector<std::uint8_t>& out) {
    auto value = masked_bytes(text);
    if (!value || value->is_masked()) {
        return false;
    }
    out = std::move(value->bytes);
    return true;
}

bool take_masked(std::string_view text, MaskedBytes& out) {
    auto value = masked_bytes(text);
    if (!value) {
        return false;
    }
    out = *std::move(value);
    return true;
}

// How the value of a field gets into an entry: false when it is none for the field.
struct TextField {
    std::string_view name;
    std::string_view what;  // it must be
    bool (*take)(Entry& entry, std::string&& text);
};
struct NumberField {
    std::string_view name;
    void (*take)(Entry& entry, std::int64_t value);
};

template <std::string Entry::*Member>
bool any_text(Entry& entry, std::string&& text) {
    entry.*Member = std::move(text);
    return true;
}

constexpr std::array text_fields = {
    TextField{field::timestamp, "a time such as 2026-11-21T09:30:00.123456Z",
              [](Entry& entry, std::string&& text) {
                  const auto began = microseconds(text);
                  entry.began = began.value_or(0);
                  entry.timestamp = std::move(text);
                  return began.has_value();
              }},
    TextField{field::action, "one of open, close, power_on, power_off, exchange, serial",
              [](Entry& entry, std::string&& text) {
                  const auto action = find_action(text);
                  entry.action = action.value_or(Action::Open);
                  return action.has_value();
              }},
    TextField{field::outcome, "success or failure",
              [](Entry& entry, std::string&& text) {
                  entry.success = text == "success";
                  return entry.success || text == "failure";
              }},
    TextField{field::atr, "pairs of hex digits",
              [](Entry& entry, std::string&& text) { return take_hex(text, entry.atr); }},
    TextField{field::application, "pairs of hex digits",
              [](Entry& entry, std::string&& text) { return take_hex(text, entry.application); }},
    TextField{field::command, "pairs of hex digits or *",
              [](Entry& entry, std::string&& text) { return take_masked(text, entry.command); }},
    TextField{field::answer, "pairs of hex digits or *",
              [](Entry& entry, std::string&& text) { return take_masked(text, entry.answer); }},
    TextField{field::terminal, "a text", any_text<&Entry::terminal>},
    TextField{field::session, "a text", any_text<&Entry::session>},
    TextField{field::result_name, "a text", any_text<&Entry::result_name>},
    TextField{field::reader_name, "a text", any_text<&Entry::reader_name>},
    TextField{field::reader_serial, "a text", any_text<&Entry::reader_serial>},
    TextField{field::slot_name, "a text", any_text<&Entry::slot_name>},
    TextField{field::instruction, "a text", any_text<&Entry::instruction>},
};

constexpr std::array number_fields = {
    NumberField{field::sequence, [](Entry& e, std::int64_t value) { e.sequence = value; }},
    NumberField{field::duration, [](Entry& e, std::int64_t value) { e.duration = value; }},
    NumberField{field::process, [](Entry& e, std::int64_t value) { e.process = value; }},
    NumberField{field::handle, [](Entry& e, std::int64_t value) { e.handle = value; }},
    NumberField{field::result, [](Entry& e, std::int64_t value) { e.result = value; }},
    NumberField{field::slot_code,
                [](Entry& e, std::int64_t value) { e.slot_code = static_cast<int>(value); }},
    NumberField{field::command_length,
                [](Entry& e, std::int64_t value) { e.command_length = value; }},
};

template <typename Rows>
auto find_field(const Rows& rows, std::string_view name) {
    const auto row = std::ranges::find(rows, name, &Rows::value_type::name);
    return row == rows.end() ? nullptr : &*row;
}

// Takes the fields of a line as they come. What stands deeper than a field belongs to others.
class LineFields final : public nlohmann::json_sax<Json> {
  public:
    Entry entry;
    Problem::Kind kind = Problem::Kind::Malformed;
    std::string reason;

    bool null() override { return other(); }
    bool boolean(bool value) override {
        if (depth_ == 1 && key_ == field::masked) {
            entry.masked = value;
            return true;
        }
        return other();
    }
    bool number_integer(Json::number_integer_t value) override { return number(value); }
    bool number_unsigned(Json::number_unsigned_t value) override {
        return value <= static_cast<std::uint64_t>(INT64_MAX)
                   ? number(static_cast<std::int64_t>(value))
                   : other();
    }
    bool number_float(Json::number_float_t, const std::string&) override { return other(); }
    bool string(std::string& text) override {
        if (depth_ == 1) {
            if (const TextField* row = find_field(text_fields, key_)) {
                has_action_ |= row->name == field::action;
                return row->take(entry, std::move(text)) || refuse(row->what);
            }
        }
        return other();
    }
    bool binary(Json::binary_t&) override { return other(); }
    bool start_object(std::size_t) override { return enter(true); }
    bool end_object() override { return leave(); }
    bool start_array(std::size_t) override { return enter(false); }
    bool end_array() override { return leave(); }
    bool key(std::string& name) override {
        if (depth_ == 1) {
            key_ = name;
        }
        return true;
    }
    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception&) override {
        kind = Problem::Kind::Malformed;
        reason = "not JSON from column " + std::to_string(position) + " on";
        return false;
    }

    // What only the line as a whole shows; false when it is none.
    bool is_whole() {
        kind = Problem::Kind::Foreign;
        for (const auto& [present, name] :
             {std::pair{has_version_, field::version}, std::pair{has_action_, field::action},
              std::pair{has_result_, field::result}}) {
            if (!present) {
                reason = "no line of a trace: it has no " + std::string(name);
                return false;
            }
        }
        const auto& shown = entry.action == Action::PowerOn ? entry.atr : entry.answer.bytes;
        if (!shown.empty() && static_cast<std::int64_t>(shown.size()) != entry.result) {
            reason = "reader.result is " + std::to_string(entry.result) + ", the answer has " +
                     std::to_string(shown.size()) + " bytes";
            return false;
        }
        return true;
    }

  private:
    bool number(std::int64_t value) {
        if (depth_ != 1) {
            return other();
        }
        if (key_ == field::version) {
            has_version_ = true;
            if (value != format_version) {
                kind = Problem::Kind::Foreign;
                reason = "trace.version is " + std::to_string(value) + ", only " +
                         std::to_string(format_version) + " is known here";
                return false;
            }
            return true;
        }
        if (const NumberField* row = find_field(number_fields, key_)) {
            if (row->name == field::slot_code && (value < INT32_MIN || value > INT32_MAX)) {
                return refuse("a slot code");
            }
            has_result_ |= row->name == field::result;
            row->take(entry, value);
            return true;
        }
        return other();
    }

    // A value of a kind that no field of ours has.
    bool other() {
        if (depth_ == 0) {
            kind = Problem::Kind::Foreign;
            reason = "no line of a trace: not an object";
            return false;
        }
        if (depth_ > 1) {
            return true;
        }
        if (key_ == field::masked) {
            return refuse("true or false");
        }
        if (const TextField* row = find_field(text_fields, key_)) {
            return refuse(row->what);
        }
        return (key_ != field::version && find_field(number_fields, key_) == nullptr) ||
               refuse("a whole number");
    }

    bool refuse(std::string_view what) {
        kind = Problem::Kind::Foreign;
        reason = key_ + " must be " + std::string(what);
        return false;
    }

    bool enter(bool object) {
        if (depth_ == 0 ? !object : !other()) {
            return depth_ == 0 ? other() : false;
        }
        ++depth_;
        return true;
    }
    bool leave() {
        --depth_;
        return true;
    }

    std::size_t depth_ = 0;
    std::string key_;
    bool has_version_ = false;
    bool has_action_ = false;
    bool has_result_ = false;
};

}  // namespace

bool MaskedBytes::is_masked() const {
    return std::ranges::any_of(mask, [](std::uint8_t byte) { return byte != 0; });
}

std::string MaskedBytes::text() const {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(2 * bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text += (mask[i] & 0xF0) != 0 ? '*' : digits[bytes[i] >> 4];
        text += (mask[i] & 0x0F) != 0 ? '*' : digits[bytes[i] & 0x0F];
    }
    return text;
}

std::optional<MaskedBytes> masked_bytes(std::string_view text) {
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    MaskedBytes result;
    result.bytes.reserve(text.size() / 2);
    result.mask.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        unsigned value = 0;
        unsigned mask = 0;
        for (const char c : text.substr(i, 2)) {
            const int digit = c == '*' ? 0 : hex_digit(c);
            if (digit < 0) {
                return std::nullopt;
            }
            value = value << 4 | static_cast<unsigned>(digit);
            mask = mask << 4 | (c == '*' ? 0xFU : 0U);
        }
        result.bytes.push_back(static_cast<std::uint8_t>(value));
        result.mask.push_back(static_cast<std::uint8_t>(mask));
    }
    return result;
}

std::optional<std::uint16_t> Entry::status() const {
    if (action != Action::Exchange || answer.size() < status_word_size) {
        return std::nullopt;
    }
    const auto& bytes = answer.bytes;
    return static_cast<std::uint16_t>(bytes[bytes.size() - 2] << 8 | bytes.back());
}

ParsedLine parse_line(std::string_view text, std::size_t line) {
    LineFields fields;
    if (Json::sax_parse(text, &fields) && fields.is_whole()) {
        fields.entry.line = line;
        return {std::move(fields.entry), std::nullopt};
    }
    return {std::nullopt, Problem{line, fields.kind, std::move(fields.reason)}};
}

TraceReader::LineEnd TraceReader::read_line() {
    text_.clear();
    too_long_ = false;
    std::streambuf* buffer = stream_.rdbuf();
    constexpr auto end = std::char_traits<char>::eof();
    bool any = false;
    for (int c = buffer->sbumpc(); c != end; c = buffer->sbumpc()) {
        if (c == '\n') {
            return LineEnd::Newline;
        }
        any = true;
        if (text_.size() < longest_line) {
            text_ += static_cast<char>(c);
        } else {
            too_long_ = true;
        }
    }
    return any ? LineEnd::EndOfStream : LineEnd::Nothing;
}

void TraceReader::add(Problem problem) {
    ++problem_count_;
    if (problems_.size() < most_problems) {
        problems_.push_back(std::move(problem));
    }
}

std::optional<Entry> TraceReader::next() {
    for (;;) {
        const LineEnd end = read_line();
        if (end == LineEnd::Nothing) {
            return std::nullopt;
        }
        ++line_;
        if (too_long_) {
            add({line_, Problem::Kind::Malformed,
                 "longer than " + std::to_string(longest_line) + " bytes"});
            continue;
        }
        if (text_.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        ParsedLine parsed = parse_line(text_, line_);
        if (parsed.entry) {
            return std::move(parsed.entry);
        }
        if (end == LineEnd::EndOfStream && parsed.problem->kind == Problem::Kind::Malformed) {
            add({line_, Problem::Kind::Truncated, "the file ends in the middle of this line"});
        } else {
            add(*std::move(parsed.problem));
        }
    }
}

Trace read_trace(const std::filesystem::path& file) {
    std::error_code ignored;
    std::ifstream stream;
    if (!std::filesystem::is_directory(file, ignored)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        return {{}, {{0, Problem::Kind::Malformed, "cannot be read"}}};
    }
    TraceReader reader(stream);
    Trace trace;
    while (auto entry = reader.next()) {
        trace.entries.push_back(*std::move(entry));
    }
    trace.problems = reader.problems();
    constexpr std::size_t shown_of_another_file = 3;
    // Lines of another version are a recording all the same.
    const bool is_other_file =
        trace.entries.empty() && std::ranges::any_of(trace.problems, [](const Problem& problem) {
            return problem.kind == Problem::Kind::Malformed;
        });
    if (is_other_file && reader.problem_count() > shown_of_another_file) {
        trace.problems.resize(shown_of_another_file);
        trace.problems.push_back(
            {0, Problem::Kind::Malformed,
             "this is no recording: " +
                 std::to_string(reader.problem_count() - shown_of_another_file) +
                 " more lines are none of a trace"});
    }
    return trace;
}

std::string describe(const std::filesystem::path& file, const Problem& problem) {
    std::string text = file.string() + ": ";
    if (problem.line != 0) {
        text += "line " + std::to_string(problem.line) + ": ";
    }
    return text + problem.reason;
}

}  // namespace quorrin::trace
