#include "reader_libraries/configuration/configuration.hpp"

// toml++ asserts on some table headers that are no TOML ("[=]"), and where NDEBUG takes the assertions
// out it goes on with an empty key. Here they are complaints like any other; this is the only file that
// sees toml++, so that no other reading of it exists.
namespace quorrin {
struct BrokenToml {};
constexpr void expect_of_toml(bool holds) {
    if (!holds) {
        throw BrokenToml{};
    }
}
}  // namespace quorrin
#undef NDEBUG
#define TOML_ASSERT(expression) ::quorrin::expect_of_toml(static_cast<bool>(expression))
// Nesting of the values of one file; every level is a stack frame while they are taken down again.
#define TOML_MAX_NESTED_VALUES 16
#define TOML_HEADER_ONLY 1
#include <toml++/toml.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>

namespace quorrin {
namespace {

// A complaint is one line whatever a file's name or a text in it holds.
std::string on_one_line(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return text;
}

std::string complaint(const std::string& file, std::size_t line, const std::string& field,
                      const std::string& reason) {
    std::string text = file;
    if (line != 0) {
        text += ": line " + std::to_string(line);
    }
    if (!field.empty()) {
        text += ": " + field;
    }
    return on_one_line(text + ": " + reason);
}

std::string range(std::int64_t least, std::int64_t most) {
    if (least == most) {
        return std::to_string(least);
    }
    return std::to_string(least) + " to " + std::to_string(most);
}

std::string byte_range(std::size_t least, std::size_t most) {
    const auto text = range(static_cast<std::int64_t>(least), static_cast<std::int64_t>(most));
    return text + (most == 1 ? " byte" : " bytes");
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

// What is wrong with a hex text, or nothing.
std::optional<std::string> hex_complaint(const std::string& text, std::size_t least,
                                         std::size_t most) {
    const auto bytes = bytes_from_hex(text);
    if (!bytes) {
        return "must be pairs of hex digits";
    }
    if (bytes->size() < least || bytes->size() > most) {
        return "must be " + byte_range(least, most) + " long, is " + std::to_string(bytes->size());
    }
    return std::nullopt;
}

constexpr std::size_t largest_file = std::size_t{1} << 20;
constexpr std::ptrdiff_t most_dots_of_a_line = 64;  // "a.b.c": each is a table inside another

bool breaks_the_parser(std::string_view text) {
    try {
        (void)toml::parse(text);
    } catch (const toml::parse_error&) {
    } catch (const BrokenToml&) {
        return true;
    }
    return false;
}

// The text up to the end of its line `number`, counted from 1.
std::string_view first_lines(std::string_view text, std::size_t number) {
    std::size_t end = 0;
    for (; number > 0 && end < text.size(); --number) {
        end = std::min(text.find('\n', end), text.size() - 1) + 1;
    }
    return text.substr(0, end);
}

// The line at which the parser breaks: lines after it make no difference, those before it do not
// break it.
std::size_t broken_line(std::string_view text) {
    std::size_t whole = 0;
    std::size_t broken = 1 + static_cast<std::size_t>(std::ranges::count(text, '\n'));
    while (broken - whole > 1) {
        const std::size_t middle = whole + (broken - whole) / 2;
        (breaks_the_parser(first_lines(text, middle)) ? broken : whole) = middle;
    }
    return broken;
}

// The first line that nests tables too deeply, 0 for none.
std::size_t line_nested_too_deeply(std::string_view text) {
    for (std::size_t line = 1; !text.empty(); ++line) {
        const std::string_view first = first_lines(text, 1);
        if (std::ranges::count(first, '.') > most_dots_of_a_line) {
            return line;
        }
        text.remove_prefix(first.size());
    }
    return 0;
}

// The line of the first character beyond ASCII that stands neither in quotes nor in a comment, 0 for
// none. TOML has no place for it, and the parser's own test of it is undefined behaviour for some
// (its table of blanks).
std::size_t line_of_foreign_character(std::string_view text) {
    std::string_view end_of_quoted;  // what ends the text in quotes or the comment; empty outside
    std::size_t line = 1;
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    const std::size_t start = text.starts_with(byte_order_mark) ? byte_order_mark.size() : 0;
    for (std::size_t i = start; i < text.size(); ++i) {
        const std::string_view rest = text.substr(i);
        line += text[i] == '\n' ? 1 : 0;
        if (!end_of_quoted.empty()) {
            const bool line_ends_it = text[i] == '\n' && end_of_quoted.size() == 1;
            if (rest.starts_with(end_of_quoted) || line_ends_it) {
                i += line_ends_it ? 0 : end_of_quoted.size() - 1;
                end_of_quoted = {};
            } else if (text[i] == '\\' && end_of_quoted[0] == '"' && !rest.starts_with("\\\n")) {
                ++i;
            }
            continue;
        }
        for (const std::string_view begin : {"\"\"\"", "'''", "\"", "'"}) {
            if (rest.starts_with(begin)) {
                end_of_quoted = begin;
                i += begin.size() - 1;
                break;
            }
        }
        if (text[i] == '#' && end_of_quoted.empty()) {
            end_of_quoted = "\n";
        }
        if (static_cast<unsigned char>(text[i]) > 0x7F) {
            return line;
        }
    }
    return 0;
}

struct Document {
    std::string name;
    std::filesystem::path directory;
    toml::table root;
};

}  // namespace

std::optional<std::vector<std::uint8_t>> bytes_from_hex(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t') {
            continue;
        }
        const int digit = hex_digit(c);
        if (digit < 0) {
            return std::nullopt;
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
            high = -1;
        }
    }
    if (high >= 0) {
        return std::nullopt;
    }
    return bytes;
}

ConfigurationError::ConfigurationError(std::string file_, std::size_t line_, std::string field_,
                                       std::string reason_)
    : std::runtime_error(complaint(file_, line_, field_, reason_)),
      file(std::move(file_)),
      line(line_),
      field(std::move(field_)),
      reason(std::move(reason_)) {}

struct Section::State {
    std::shared_ptr<const Document> document;
    const toml::table* table;
    std::string path;
    std::size_t line;
    std::set<std::string, std::less<>> known;
    std::vector<std::shared_ptr<State>> children;

    std::string path_of(std::string_view key) const {
        return path.empty() ? std::string(key) : path + "." + std::string(key);
    }

    std::size_t line_of(std::string_view key) const {
        const auto at = table->find(key);
        if (key.empty() || at == table->end()) {
            return line;
        }
        return at->first.source().begin.line;
    }

    // The value of a key, which counts as known from now on; null when it is absent.
    const toml::node* find(std::string_view key) {
        known.emplace(key);
        return table->get(key);
    }

    [[noreturn]] void fail(std::string_view key, std::string_view reason) const {
        throw ConfigurationError(document->name, line_of(key), key.empty() ? path : path_of(key),
                                 std::string(reason));
    }

    [[noreturn]] void fail_missing(std::string_view key) const { fail(key, "is missing"); }

    std::shared_ptr<State> child(const toml::table& below, std::string below_path,
                                 std::size_t below_line) {
        for (const auto& earlier : children) {
            if (earlier->table == &below) {
                return earlier;
            }
        }
        children.push_back(std::make_shared<State>(
            State{document, &below, std::move(below_path), below_line, {}, {}}));
        return children.back();
    }

    // The unknown key that stands first in the file. Only tables that were asked for are looked
    // into, so the depth is that of the fields that exist.
    // NOLINTNEXTLINE(misc-no-recursion)
    void look_for_unknown(std::optional<ConfigurationError>& first) const {
        for (const auto& [key, value] : *table) {
            const auto key_line = key.source().begin.line;
            if (!known.contains(key.str()) && (!first || key_line < first->line)) {
                first = ConfigurationError(document->name, key_line, path_of(key.str()),
                                           "is not a field that is known here");
            }
        }
        for (const auto& below : children) {
            below->look_for_unknown(first);
        }
    }

    // The entries of a list; `what` says what each must be.
    template <typename Entry>
    void for_each_entry(std::string_view key, std::string_view what, Entry&& entry) {
        const toml::node* node = find(key);
        if (node == nullptr) {
            return;
        }
        const toml::array* array = node->as_array();
        if (array == nullptr) {
            fail(key, "must be a list of " + std::string(what));
        }
        std::size_t number = 0;
        for (const toml::node& each : *array) {
            entry(each, path_of(key) + "[" + std::to_string(++number) + "]");
        }
    }
};

Section::Section(std::shared_ptr<State> state) : state_(std::move(state)) {}

std::optional<std::int64_t> Section::optional_integer(std::string_view key, std::int64_t least,
                                                      std::int64_t most) const {
    const toml::node* node = state_->find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const auto* value = node->as_integer();
    if (value == nullptr) {
        fail(key, "must be a number, " + range(least, most));
    }
    if (value->get() < least || value->get() > most) {
        fail(key, "must be " + range(least, most) + ", is " + std::to_string(value->get()));
    }
    return value->get();
}

std::int64_t Section::integer(std::string_view key, std::int64_t least, std::int64_t most) const {
    if (const auto value = optional_integer(key, least, most)) {
        return *value;
    }
    state_->fail_missing(key);
}

std::optional<bool> Section::optional_boolean(std::string_view key) const {
    const toml::node* node = state_->find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const auto* value = node->as_boolean()) {
        return value->get();
    }
    fail(key, "must be true or false");
}

bool Section::boolean(std::string_view key) const {
    if (const auto value = optional_boolean(key)) {
        return *value;
    }
    state_->fail_missing(key);
}

std::optional<std::string> Section::optional_text(std::string_view key) const {
    const toml::node* node = state_->find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const auto* value = node->as_string()) {
        return value->get();
    }
    fail(key, "must be a text in quotes");
}

std::string Section::text(std::string_view key) const {
    if (auto value = optional_text(key)) {
        return *std::move(value);
    }
    state_->fail_missing(key);
}

std::optional<std::vector<std::uint8_t>> Section::optional_hex(std::string_view key,
                                                               std::size_t least,
                                                               std::size_t most) const {
    const toml::node* node = state_->find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const auto* value = node->as_string();
    if (value == nullptr) {
        fail(key, "must be hex digits in quotes");
    }
    if (const auto wrong = hex_complaint(value->get(), least, most)) {
        fail(key, *wrong);
    }
    return bytes_from_hex(value->get());
}

std::vector<std::uint8_t> Section::hex(std::string_view key, std::size_t least,
                                       std::size_t most) const {
    if (auto value = optional_hex(key, least, most)) {
        return *std::move(value);
    }
    state_->fail_missing(key);
}

std::optional<Section> Section::optional_section(std::string_view key) const {
    const toml::node* node = state_->find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const toml::table* table = node->as_table();
    if (table == nullptr) {
        fail(key, "must be a table");
    }
    return Section(state_->child(*table, state_->path_of(key), state_->line_of(key)));
}

Section Section::section(std::string_view key) const {
    if (auto value = optional_section(key)) {
        return *std::move(value);
    }
    state_->fail_missing(key);
}

std::vector<Section> Section::sections(std::string_view key) const {
    std::vector<Section> list;
    state_->for_each_entry(key, "tables", [&](const toml::node& node, std::string path) {
        const toml::table* table = node.as_table();
        if (table == nullptr) {
            fail(key, "must be a list of tables");
        }
        list.push_back(Section(state_->child(*table, std::move(path), node.source().begin.line)));
    });
    return list;
}

std::vector<std::string> Section::texts(std::string_view key) const {
    std::vector<std::string> list;
    state_->for_each_entry(key, "texts", [&](const toml::node& node, const std::string& path) {
        const auto* value = node.as_string();
        if (value == nullptr) {
            throw ConfigurationError(state_->document->name, node.source().begin.line, path,
                                     "must be a text in quotes");
        }
        list.push_back(value->get());
    });
    return list;
}

std::vector<std::vector<std::uint8_t>> Section::hex_list(std::string_view key, std::size_t least,
                                                         std::size_t most) const {
    std::vector<std::vector<std::uint8_t>> list;
    state_->for_each_entry(key, "hex texts", [&](const toml::node& node, const std::string& path) {
        const auto* value = node.as_string();
        const auto wrong = value == nullptr ? "must be hex digits in quotes"
                                            : hex_complaint(value->get(), least, most);
        if (wrong) {
            throw ConfigurationError(state_->document->name, node.source().begin.line, path,
                                     *wrong);
        }
        list.push_back(*bytes_from_hex(value->get()));
    });
    return list;
}

bool Section::has(std::string_view key) const {
    return state_->find(key) != nullptr;
}

std::vector<std::string> Section::keys() const {
    std::vector<const toml::key*> found;
    for (const auto& [key, value] : *state_->table) {
        found.push_back(&key);
    }
    const auto position = [](const toml::key* key) {
        const auto& begin = key->source().begin;
        return std::pair(begin.line, begin.column);
    };
    std::ranges::sort(found, {}, position);
    std::vector<std::string> names;
    names.reserve(found.size());
    for (const toml::key* key : found) {
        names.emplace_back(key->str());
    }
    return names;
}

void Section::allow_only(std::initializer_list<std::string_view> allowed) const {
    for (const std::string& key : keys()) {
        if (std::ranges::find(allowed, key) == allowed.end()) {
            fail(key, "is not a field that is known here");
        }
    }
}

void Section::finish() const {
    std::optional<ConfigurationError> first;
    state_->look_for_unknown(first);
    if (first) {
        throw ConfigurationError(*first);
    }
}

void Section::fail(std::string_view key, std::string_view reason) const {
    state_->fail(key, reason);
}

const std::string& Section::path() const {
    return state_->path;
}

std::filesystem::path Section::directory() const {
    return state_->document->directory;
}

Section Section::from_text(std::string_view text, const std::filesystem::path& file) {
    auto document = std::make_shared<Document>();
    document->name = file.string();
    document->directory = file.parent_path();
    if (text.size() > largest_file) {
        throw ConfigurationError(document->name, 0, "", "has more than 1 MiB");
    }
    if (const std::size_t line = line_nested_too_deeply(text); line != 0) {
        throw ConfigurationError(
            document->name, line, "",
            "has more than " + std::to_string(most_dots_of_a_line) + " dots in one line");
    }
    if (const std::size_t line = line_of_foreign_character(text); line != 0) {
        throw ConfigurationError(document->name, line, "",
                                 "is not TOML: a character beyond ASCII outside of quotes");
    }
    try {
        document->root = toml::parse(text);
    } catch (const toml::parse_error& error) {
        throw ConfigurationError(document->name, error.source().begin.line, "",
                                 "is not TOML: " + std::string(error.description()));
    } catch (const BrokenToml&) {
        throw ConfigurationError(document->name, broken_line(text), "",
                                 "is not TOML: a table's header that is none");
    }
    const toml::table* root = &document->root;
    return Section(std::make_shared<State>(State{std::move(document), root, "", 1, {}, {}}));
}

Section read_configuration(const std::filesystem::path& file) {
    std::error_code ignored;
    if (std::filesystem::is_directory(file, ignored)) {
        throw ConfigurationMissing(file.string(), 0, "", "is a directory");
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        const std::string reason = std::generic_category().message(errno);
        throw ConfigurationMissing(file.string(), 0, "", "cannot be read: " + reason);
    }
    // One byte more than is taken, so that what is larger shows.
    std::string text(largest_file + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return Section::from_text(text, file);
}

Section parse_configuration(std::string_view text, const std::string& name) {
    auto section = Section::from_text(text, name);
    return section;
}

}  // namespace quorrin
