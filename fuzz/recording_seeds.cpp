// recording_seeds RECORDING OUT: writes seeds for the fuzz targets under OUT/TARGET/ from a recording
// (docs/traces.md): for each operation with a card what reader and card answered, and what was sent to
// them. Whatever the recording shows is masked first, and test digits stand in for it.

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "explain/masking.hpp"
#include "fuzz/support/seeds.hpp"
#include "reader_libraries/simulator/test_digits.hpp"
#include "reader_libraries/trace/field_names.hpp"
#include "reader_libraries/trace/trace_format.hpp"

namespace {

using namespace quorrin;
using namespace quorrin::fuzz;
using trace::Action;
using trace::Entry;

constexpr std::uint8_t select = 0xA4;
constexpr std::uint8_t read_record = 0xB2;
constexpr std::uint8_t get_data = 0xCA;
constexpr std::uint8_t generate_ac = 0xAE;
constexpr std::uint8_t external_authenticate = 0x82;

// What a host did between a selection and the next: power-on of the session, then commands.
struct Operation {
    const Entry* power_on = nullptr;
    std::vector<const Entry*> exchanges;

    // The first of its commands that there is.
    const Entry* first(std::uint8_t instruction) const {
        const auto found = std::ranges::find_if(
            exchanges, [=](const Entry* entry) { return entry->command.bytes[1] == instruction; });
        return found == exchanges.end() ? nullptr : *found;
    }
};

// Selection and reading of the directory go before an operation; a selection after anything else
// begins the next.
bool begins_anew(const Operation& operation, const Entry& entry) {
    return entry.command.bytes[1] == select &&
           std::ranges::any_of(operation.exchanges, [](const Entry* before) {
               const std::uint8_t instruction = before->command.bytes[1];
               return instruction != select && instruction != read_record;
           });
}

std::vector<Operation> operations_of(const std::vector<Entry>& entries) {
    constexpr std::size_t header = 4;
    std::vector<Operation> operations;
    std::map<int, Operation> open;  // by slot
    const auto finish = [&](Operation& operation) {
        if (!operation.exchanges.empty()) {
            operations.push_back(operation);
        }
        operation.exchanges.clear();
    };
    for (const Entry& entry : entries) {
        Operation& operation = open[entry.slot_code.value_or(0)];
        if (entry.action == Action::PowerOn) {
            finish(operation);
            operation.power_on = &entry;
        } else if (entry.action == Action::Exchange && entry.command.size() >= header) {
            if (begins_anew(operation, entry)) {
                finish(operation);
            }
            operation.exchanges.push_back(&entry);
        }
    }
    for (auto& [slot, operation] : open) {
        finish(operation);
    }
    return operations;
}

ByteString answer_block(const Entry& entry) {
    return block(entry.result, entry.action == Action::PowerOn ? entry.atr : entry.answer.bytes);
}

std::string hex_text(std::span<const std::uint8_t> bytes) {
    return trace::MaskedBytes{{bytes.begin(), bytes.end()}, ByteString(bytes.size())}.text();
}

ByteString data_object(ByteString tag, const ByteString& value) {
    return joined({std::move(tag), piece(value)});
}

ByteString command_data(const Entry& entry) {
    constexpr std::size_t header_and_count = 5;
    const ByteString& command = entry.command.bytes;
    if (command.size() <= header_and_count) {
        return {};
    }
    const std::size_t count = std::min<std::size_t>(command[4], command.size() - header_and_count);
    const auto first = command.begin() + header_and_count;
    return {first, first + static_cast<std::ptrdiff_t>(count)};
}

// The bank's text that makes a host send what was sent after the first cryptogram.
std::string bank_text(const Operation& operation) {
    const Entry* authentication = operation.first(external_authenticate);
    ByteString text = data_object({0x8A}, {'0', '0'});
    if (authentication != nullptr) {
        text = joined({text, data_object({0x91}, command_data(*authentication))});
    }
    ByteString scripts;
    for (const Entry* entry : operation.exchanges) {
        constexpr std::uint8_t secure_messaging = 0x04;
        if ((entry->command.bytes[0] & secure_messaging) != 0) {
            scripts = joined({scripts, data_object({0x86}, entry->command.bytes)});
        }
    }
    constexpr std::size_t longest_script = 127;  // its length in one byte
    if (!scripts.empty() && scripts.size() <= longest_script) {
        text = joined({text, data_object({0x72}, scripts)});
    }
    constexpr std::size_t longest_text = 255 / 2;  // what the target has room for
    text.resize(std::min(text.size(), longest_text));
    return hex_text(text);
}

// The formats of both logs: 9F4F and DF4F.
bool reads_log(const Operation& operation) {
    return std::ranges::any_of(operation.exchanges, [](const Entry* entry) {
        const ByteString& command = entry->command.bytes;
        return command[1] == get_data && command[3] == 0x4F &&
               (command[2] == 0x9F || command[2] == 0xDF);
    });
}

void add_hostile_card(const Seeds& seeds, const Operation& operation, const std::string& name) {
    constexpr std::array<std::uint8_t, 8> debit = {0xA0, 0x00, 0x00, 0x03, 0x33, 0x01, 0x01, 0x01};
    const Entry& first = *operation.exchanges.front();
    const bool names_application =
        first.command.bytes[1] == select && std::ranges::equal(command_data(first), debit);
    const std::uint8_t how = names_application ? 0x02 : 0x00;
    ByteString blocks = operation.power_on != nullptr ? answer_block(*operation.power_on)
                                                      : block(2, std::array<std::uint8_t, 2>{0x3B});
    for (const Entry* entry : operation.exchanges) {
        blocks = joined({blocks, answer_block(*entry)});
    }
    if (operation.first(generate_ac) != nullptr) {
        seeds.add("online_purchase", name,
                  joined({{how},
                          piece(from_text(bank_text(operation))),
                          piece(from_text(terminal_data)),
                          blocks}));
    } else if (reads_log(operation)) {
        seeds.add("card_log", name, joined({{how, 0}, blocks}));
    } else {
        seeds.add("card_information", name, joined({{how}, blocks}));
        seeds.add("pan_and_name", name, joined({{0}, blocks}));
    }
}

void add_conversation(const Seeds& seeds, const Operation& operation, const std::string& name) {
    ByteString calls = operation.power_on != nullptr
                           ? power_on_call(answer_block(*operation.power_on))
                           : ByteString{};
    ByteString commands{0};
    for (const Entry* entry : operation.exchanges) {
        constexpr std::size_t longest_piece = 255;
        if (entry->command.size() <= longest_piece) {
            calls = joined({calls, exchange_call(entry->command.bytes, answer_block(*entry))});
            commands = joined({commands, piece(entry->command.bytes)});
        }
    }
    seeds.add("recorder", name, calls);
    seeds.add("simulated_card", name, commands);
}

// The lines themselves without what only people look at: an input of some kilobytes holds an operation.
ByteString lines_of(const std::vector<std::string>& lines, const Operation& operation) {
    namespace field = trace::field;
    constexpr std::array left_out = {
        field::masked, field::sequence,    field::terminal,  field::process, field::function,
        field::handle, field::result_name, field::slot_name, field::status,  field::application};
    std::vector<const Entry*> entries = operation.exchanges;
    if (operation.power_on != nullptr) {
        entries.insert(entries.begin(), operation.power_on);
    }
    std::string text;
    for (const Entry* entry : entries) {
        auto line = nlohmann::ordered_json::parse(lines[entry->line - 1]);
        for (const std::string_view name : left_out) {
            line.erase(std::string(name));
        }
        text += line.dump() + "\n";
    }
    return from_text(text);
}

std::vector<std::string> read_lines(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(std::move(line));
    }
    return lines;
}

void make_seeds(const std::filesystem::path& recording, const Seeds& seeds) {
    const trace::Trace read = trace::read_trace(recording);
    if (read.entries.empty()) {
        throw std::runtime_error(recording.string() + ": no line of a recording in it");
    }
    trace::Trace shown = explain::masked(read);
    simulator::replace_masked_digits(shown.entries);
    const bool recorded_masked = std::ranges::all_of(read.entries, &Entry::masked);
    if (!recorded_masked) {
        std::fputs("recording_seeds: recorded in clear, so its lines themselves become no seeds\n",
                   stderr);
    }
    const std::vector<std::string> lines = read_lines(recording);
    unsigned number = 0;
    for (const Operation& operation : operations_of(shown.entries)) {
        const std::string name = recording.stem().string() + "-" + std::to_string(++number);
        add_hostile_card(seeds, operation, name);
        add_conversation(seeds, operation, name);
        if (recorded_masked) {
            const ByteString text = lines_of(lines, operation);
            seeds.add("trace_replay", name, text);
            seeds.add("explain", name, joined({{0}, text}));
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("recording_seeds RECORDING OUT\n", stderr);
        return 2;
    }
    try {
        make_seeds(argv[1], Seeds(argv[2]));
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "recording_seeds: %s\n", failure.what());
        return 1;
    }
}
