// quorrin decode: bytes in, their meaning out.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "decode/decode.hpp"
#include "decode/input.hpp"
#include "decode/render.hpp"
#include "hosts/command/output.hpp"
#include "hosts/command/subcommand.hpp"
#include "hosts/command/table.hpp"

namespace quorrin::command {
namespace {

struct DecodeOptions {
    std::vector<std::string> data;
    std::string file;
    std::string encoding = "any";
    std::string kind;
    std::string list;
    std::string answered;
    std::string kernel;
    std::string currency;
    bool list_kinds = false;
};

const std::vector<std::pair<std::string, decode::Kernel>> kernels = {
    {"pboc", decode::Kernel::Pboc}, {"c2", decode::Kernel::C2}, {"c3", decode::Kernel::C3},
    {"c4", decode::Kernel::C4},     {"c5", decode::Kernel::C5}, {"c6", decode::Kernel::C6},
    {"c7", decode::Kernel::C7}};

// Far more than any card, script or trace line has; a tree of all of it would be of no use to anybody.
constexpr std::size_t longest_input = 1 << 20;

std::string read_all(std::istream& stream) {
    constexpr std::size_t longest_text = 4 * longest_input;  // hex with spaces and prefixes
    std::string text;
    char part[4096];
    while (text.size() <= longest_text && (stream.read(part, sizeof part), stream.gcount() > 0)) {
        text.append(part, static_cast<std::size_t>(stream.gcount()));
    }
    return text;
}

bool is_on_command_line(const DecodeOptions& options) {
    return !options.data.empty() && options.data != std::vector<std::string>{"-"};
}

std::string read_source(const DecodeOptions& options) {
    if (is_on_command_line(options)) {
        std::string text;
        for (const std::string& part : options.data) {
            text += (text.empty() ? "" : " ") + part;
        }
        return text;
    }
    if (options.file.empty() || options.file == "-") {
        if (isatty(STDIN_FILENO) != 0) {
            tell("reading from the terminal, Ctrl-D ends");
        }
        return read_all(std::cin);
    }
    std::ifstream file(options.file, std::ios::binary);
    std::string text = read_all(file);
    if (!file.is_open() || file.bad()) {
        throw Failed(options.file + " cannot be read: " + std::strerror(errno));
    }
    return text;
}

// What --as names: a kind of data, or the value of an element.
struct What {
    const decode::DataKind* kind = nullptr;
    std::optional<std::uint32_t> tag;
};

std::optional<What> find_what(const std::string& name) {
    if (const decode::DataKind* kind = decode::find_data_kind(name); kind != nullptr) {
        return What{kind, {}};
    }
    if (const auto tag = decode::parse_tag(name)) {
        return What{nullptr, tag};
    }
    return {};
}

// A digit that was lost leaves what could also be base64, to nobody's use.
bool is_all_hex(const std::string& text) {
    return text.find_first_not_of("0123456789ABCDEFabcdef \t\r\n") == std::string::npos;
}

std::vector<std::uint8_t> read_bytes(const DecodeOptions& options, const std::string& source) {
    using decode::Encoding;
    if (options.encoding == "binary") {
        return {source.begin(), source.end()};
    }
    const decode::Input input = options.encoding == "base64" ? decode::read_base64(source)
                                : options.encoding == "hex" || is_all_hex(source)
                                    ? decode::read_hex(source)
                                    : decode::read_any(source);
    if (!input.error.empty()) {
        const std::string complaint = "the input is not " +
                                      std::string(decode::encoding_name(input.encoding)) + ": " +
                                      input.error;
        if (is_on_command_line(options)) {
            throw WrongUsage(complaint, {.advice = "--file reads files, --as names texts, quorrin "
                                                   "decode --help has examples"});
        }
        throw Failed(complaint);
    }
    if (options.encoding == "any" && input.encoding != Encoding::Hex) {
        tell("the input is no hex: read as " + std::string(decode::encoding_name(input.encoding)));
    }
    return input.bytes;
}

std::string check_hex(const std::string& text) {
    return decode::read_hex(text).error;
}

std::string check_currency(const std::string& text) {
    const bool is_number = !text.empty() && text.size() <= 3 &&
                           text.find_first_not_of("0123456789") == std::string::npos;
    return is_number ? std::string() : "a currency has up to three digits";
}

decode::Options decode_options(const DecodeOptions& options, const Common& common) {
    decode::Options decoding;
    decoding.show_sensitive = common.show_sensitive;
    decoding.list = decode::read_hex(options.list).bytes;
    for (const auto& [name, kernel] : kernels) {
        decoding.kernel = name == options.kernel ? kernel : decoding.kernel;
    }
    if (!options.currency.empty()) {
        decoding.currency = static_cast<std::uint16_t>(std::stoul(options.currency));
    }
    return decoding;
}

void show_kinds(const Common& common) {
    std::string text;
    if (common.json) {
        text = "[";
        for (const decode::DataKind& kind : decode::data_kinds()) {
            text += (text.size() > 1 ? ", \"" : "\"") + std::string(kind.name) + "\"";
        }
        put_result(text + "]\n");
        return;
    }
    Table table;
    for (const decode::DataKind& kind : decode::data_kinds()) {
        table.add({"", std::string(kind.name), std::string(kind.what)});
    }
    table.add({"", "TAG", "the value of this element, such as 9F10"});
    put_result(table.text());
}

// Says on standard error what did not hold, and where.
void tell_problems(const decode::Node& tree, const std::vector<std::uint8_t>& bytes,
                   const DecodeOptions& options) {
    const std::vector<decode::Problem> problems = decode::all_problems(tree);
    std::string line =
        problems.size() == 1 ? "1 problem" : std::to_string(problems.size()) + " problems";
    line += ", the first at offset " + std::to_string(problems[0].offset) + ": " + problems[0].text;
    tell(line);
    const bool malformed = std::ranges::any_of(problems, [](const decode::Problem& problem) {
        return problem.kind == decode::Problem::Kind::Malformed;
    });
    if (!options.kind.empty() || !malformed) {
        return;
    }
    std::string hint;
    for (const std::string_view name : decode::look_like(bytes)) {
        hint += (hint.empty() ? "--as " : ", --as ") + std::string(name);
    }
    if (!hint.empty()) {
        tell("the input was taken for TLV; it could be read with " + hint);
    }
}

int run_decode(const DecodeOptions& options, const Common& common) {
    if (options.list_kinds) {
        show_kinds(common);
        return success;
    }
    const What what = options.kind.empty() ? What{&decode::data_kinds()[0], {}}
                                           : find_what(options.kind).value_or(What{});
    const decode::Options decoding = decode_options(options, common);
    std::string source = read_source(options);
    std::vector<std::uint8_t> bytes;
    if (what.kind != nullptr && what.kind->is_text) {
        while (source.ends_with('\n') || source.ends_with('\r')) {
            source.pop_back();
        }
        bytes.assign(source.begin(), source.end());
    } else {
        bytes = read_bytes(options, source);
    }
    if (bytes.size() > longest_input) {
        throw Failed("the input has more than a megabyte: cut out what is to be decoded");
    }
    const bool is_answer = what.kind != nullptr && what.kind->name == "answer";
    const decode::Node tree =
        is_answer && !options.answered.empty()
            ? decode::answer(bytes, decode::read_hex(options.answered).bytes, decoding)
        : what.tag ? decode::element(*what.tag, bytes, decoding)
                   : what.kind->decode(bytes, decoding);
    if (common.json) {
        put_result(decode::to_json(tree) + "\n");
    } else {
        put_text(decode::to_text(tree, {.colour = wants_colour(), .width = output_width()}));
    }
    if (decode::has_problems(tree)) {
        tell_problems(tree, bytes, options);
        return failure;
    }
    return success;
}

std::string check_kind(const std::string& name) {
    return find_what(name) ? std::string()
                           : "no kind of data and no tag: " + name + " (--kinds lists the kinds)";
}

}  // namespace

void add_decode(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<DecodeOptions>();
    CLI::App* command = app.add_subcommand("decode", "Tell what card data mean");
    command->add_option(
        "DATA", options->data,
        "The data, as hex (spaces, line ends and 0x allowed) or base64; without it, "
        "and with -, they are read from standard input");
    command->add_option("-f,--file", options->file, "Read the data from this file");
    command
        ->add_option("--as", options->kind, "What the data are, instead of TLV: a kind, or a tag")
        ->check(check_kind)
        ->type_name("KIND");
    command->add_flag("--kinds", options->list_kinds, "List the kinds of data that --as knows");
    command
        ->add_option(
            "--input", options->encoding,
            "How the data are written: hex, base64 or binary; without it hex is tried first, "
            "and anything else is said")
        ->check(CLI::IsMember({"any", "hex", "base64", "binary"}))
        ->type_name("ENCODING");
    command
        ->add_option("--list", options->list,
                     "The list that the data answer: a DOL, or a log format")
        ->check(check_hex)
        ->type_name("HEX");
    command->add_option("--answer-to", options->answered, "With --as answer: the command")
        ->check(check_hex)
        ->type_name("HEX");
    std::vector<std::string> names;
    for (const auto& [name, kernel] : kernels) {
        names.push_back(name);
    }
    command
        ->add_option("--kernel", options->kernel,
                     "Whose tags they are, where kernels differ: pboc, c2 to c7")
        ->check(CLI::IsMember(names))
        ->type_name("KERNEL");
    command
        ->add_option("--currency", options->currency,
                     "Currency of amounts where the data do not name it, such as 156")
        ->check(check_currency)
        ->type_name("NUMBER");
    command->footer(examples(R"(  quorrin decode 9F3602004B 95050000008000
  quorrin decode --as tvr 0000008000
  quorrin decode --as 9F10 07010103A0A00001
  quorrin decode --as answer \
      --answer-to 80A8000002830000 800A7C0008010100100103009000
  quorrin decode --as log-record \
      --list 9A039F21039F0206 250110193207000000003980
  quorrin decode --json --file fci.bin)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_decode(*options, common); }; });
}

}  // namespace quorrin::command
