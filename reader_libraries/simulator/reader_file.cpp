#include "reader_libraries/simulator/reader_file.hpp"

#include <algorithm>
#include <initializer_list>

#include "quorrin/device_codes.h"
#include "reader_libraries/simulator/card/profile_card.hpp"
#include "reader_libraries/simulator/trace_card.hpp"

namespace quorrin::simulator {
namespace {

// Room that hosts give, terminator not counted.
constexpr std::size_t longest_name = 31;
constexpr std::size_t longest_serial = 99;

constexpr std::size_t longest_answer = 1024;
constexpr std::size_t longest_atr = 512;
constexpr std::int64_t most_occurrences = 1'000'000;
constexpr std::int64_t lowest_result = -40000;

std::string label(const Section& section, std::string_view key, std::size_t longest,
                  std::string otherwise) {
    auto text = section.optional_text(key);
    if (!text) {
        return otherwise;
    }
    if (text->empty() || text->size() > longest) {
        section.fail(key, "must be 1 to " + std::to_string(longest) + " bytes long, is " +
                              std::to_string(text->size()));
    }
    for (const char c : *text) {
        if (static_cast<unsigned char>(c) < 0x20) {
            section.fail(key, "must not hold control characters");
        }
    }
    return *std::move(text);
}

// ---- cards ----

std::unique_ptr<CardDevice> read_card(const Section& slot, ReaderSetup& setup) {
    slot.allow_only({"profile", "card", "t0"});
    const bool in_place = slot.has("card");
    if (slot.has("profile") == in_place) {
        slot.fail("", in_place ? "has both a profile and a card"
                               : "needs a profile (a file), a trace (a file) or a card (a table)");
    }
    if (in_place) {
        return load_card(slot.section("card"));
    }
    const std::filesystem::path file = slot.directory() / slot.text("profile");
    setup.profiles.push_back(file);
    try {
        return load_card_file(file);
    } catch (const ConfigurationMissing& missing) {
        slot.fail("profile", missing.what());
    }
}

// A recording takes the card's place, and speaks the protocol that the card spoke.
std::unique_ptr<CardDevice> read_recording(const Section& slot, std::size_t index,
                                           ReaderSetup& setup) {
    const std::filesystem::path file = slot.directory() / slot.text("trace");
    setup.profiles.push_back(file);
    try {
        return load_trace_card(file, index);
    } catch (const ConfigurationMissing& missing) {
        slot.fail("trace", missing.what());
    }
}

std::optional<T0Settings> read_t0(const Section& slot) {
    const auto section = slot.optional_section("t0");
    if (!section) {
        return std::nullopt;
    }
    section->allow_only({"get_response", "portion", "wrong_le"});
    T0Settings settings;
    settings.get_response = section->optional_boolean("get_response").value_or(true);
    settings.wrong_le = section->optional_boolean("wrong_le").value_or(true);
    if (const auto portion = section->optional_integer("portion", 1, 256)) {
        if (!settings.get_response) {
            section->fail("portion", "has no meaning without get_response");
        }
        settings.portion = static_cast<std::size_t>(*portion);
    }
    return settings;
}

// ---- faults ----

std::size_t read_slot_name(const Section& section) {
    const std::string name = section.text("slot");
    if (const auto slot = find_slot(&SlotRow::name, std::string_view(name))) {
        return *slot;
    }
    std::string known;
    for (const SlotRow& row : slot_rows) {
        known += known.empty() ? "" : ", ";
        known += row.name;
    }
    section.fail("slot", "must be one of " + known);
}

// "80 A8 xx xx": a digit x stands for any.
CommandPattern read_pattern(const Section& section) {
    const std::string text = section.text("command");
    std::string values;
    std::string masks;
    for (const char c : text) {
        const bool any = c == 'x' || c == 'X';
        values += any ? '0' : c;
        masks += c == ' ' ? ' ' : any ? '0' : 'F';
    }
    const auto value = bytes_from_hex(values);
    const auto mask = bytes_from_hex(masks);
    CommandPattern pattern;
    if (!value || !mask || value->size() != pattern.value.size()) {
        section.fail("command", "must be CLA INS P1 P2 as hex digits, x for any digit");
    }
    std::copy(value->begin(), value->end(), pattern.value.begin());
    std::copy(mask->begin(), mask->end(), pattern.mask.begin());
    return pattern;
}

// The one key among several that is there.
std::string_view only_key(const Section& section, std::initializer_list<std::string_view> keys,
                          std::string_view what) {
    std::string_view found;
    std::string list;
    for (const std::string_view key : keys) {
        list += list.empty() ? "" : ", ";
        list += key;
        if (section.has(key)) {
            if (!found.empty()) {
                section.fail(key, "cannot stand beside " + std::string(found));
            }
            found = key;
        }
    }
    if (found.empty()) {
        section.fail("", "needs " + std::string(what) + ", one of " + list);
    }
    return found;
}

// Keys that say nothing in this company.
void check_company(const Section& section, std::string_view company,
                   std::initializer_list<std::string_view> without_meaning) {
    for (const std::string_view key : without_meaning) {
        if (section.has(key)) {
            section.fail(key, "has no meaning " + std::string(company));
        }
    }
}

std::uint64_t count(const Section& section, std::string_view key) {
    return static_cast<std::uint64_t>(section.integer(key, 1, most_occurrences));
}

FaultTrigger read_trigger(const Section& section) {
    const auto key = only_key(section, {"exchange", "command", "power_on"}, "a moment");
    FaultTrigger trigger;
    trigger.always = section.optional_boolean("always").value_or(false);
    if (key == "command") {
        trigger.event = FaultTrigger::Event::Command;
        trigger.pattern = read_pattern(section);
        if (section.has("occurrence")) {
            trigger.occurrence = count(section, "occurrence");
        }
        return trigger;
    }
    check_company(section, "without command", {"occurrence"});
    trigger.event =
        key == "exchange" ? FaultTrigger::Event::Exchange : FaultTrigger::Event::PowerOn;
    trigger.occurrence = count(section, key);
    return trigger;
}

Fault read_power_on_fault(const Section& section, FaultTrigger trigger) {
    check_company(section, "at a power-on", {"executed", "status"});
    const auto key = only_key(section, {"result", "answer", "truncate"}, "an effect at power-on");
    if (key == "result") {
        // A positive result would be the length of an answer to reset.
        return {trigger, ReaderResult{section.integer("result", lowest_result, 0)}, false};
    }
    if (key == "answer") {
        return {trigger, OtherAnswer{section.hex("answer", 1, longest_atr)}, false};
    }
    const auto kept = section.integer("truncate", 0, longest_atr - 1);
    return {trigger, CutAnswer{static_cast<std::size_t>(kept)}, false};
}

Fault read_exchange_fault(const Section& section, FaultTrigger trigger) {
    const auto key = only_key(section, {"result", "status", "answer", "truncate"}, "an effect");
    if (key == "truncate") {
        check_company(section, "with truncate: the card carries the command out", {"executed"});
        const auto kept = section.integer("truncate", 0, longest_answer - 1);
        return {trigger, CutAnswer{static_cast<std::size_t>(kept)}, false};
    }
    const bool executed = section.optional_boolean("executed").value_or(false);
    if (key == "result") {
        // Two and more would be the length of an answer.
        return {trigger, ReaderResult{section.integer("result", lowest_result, 1)}, executed};
    }
    if (key == "status") {
        return {trigger, OtherAnswer{section.hex("status", 2)}, executed};
    }
    return {trigger, OtherAnswer{section.hex("answer", 2, longest_answer)}, executed};
}

// What holds for the slot as a whole, without a moment: true when the entry was of this kind.
bool read_lasting_fault(const Section& section, SlotFaults& faults) {
    std::string_view lasting;
    for (const std::string_view key : {"absent", "mute", "endless_chains", "removed_after"}) {
        if (!section.has(key)) {
            continue;
        }
        if (key != "removed_after" && !section.boolean(key)) {
            section.fail(key, "can only be true");
        }
        if (!lasting.empty()) {
            section.fail(key, "cannot stand beside " + std::string(lasting));
        }
        lasting = key;
    }
    if (lasting.empty()) {
        return false;
    }
    check_company(section, "beside " + std::string(lasting),
                  {"exchange", "command", "power_on", "occurrence", "always", "result", "status",
                   "answer", "truncate", "executed"});
    if (section.has("absent")) {
        faults.absent = true;
        return true;
    }
    if (section.has("mute")) {
        FaultTrigger from_the_start;
        from_the_start.event = FaultTrigger::Event::PowerOn;
        from_the_start.always = true;
        faults.list.push_back({from_the_start, ReaderResult{QUORRIN_CARD_MUTE}, false});
        return true;
    }
    if (section.has("endless_chains")) {
        faults.endless_chains = true;
        return true;
    }
    faults.removed_after = count(section, "removed_after");
    return true;
}

void read_fault(const Section& section, ReaderSetup& setup) {
    section.allow_only({"slot", "absent", "mute", "endless_chains", "removed_after", "exchange",
                        "command", "power_on", "occurrence", "always", "result", "status", "answer",
                        "truncate", "executed"});
    SlotSetup& slot = setup.slots[read_slot_name(section)];
    if (slot.card == nullptr) {
        section.fail("slot", "holds no card");
    }
    if (read_lasting_fault(section, slot.faults)) {
        return;
    }
    const FaultTrigger trigger = read_trigger(section);
    slot.faults.list.push_back(trigger.event == FaultTrigger::Event::PowerOn
                                   ? read_power_on_fault(section, trigger)
                                   : read_exchange_fault(section, trigger));
}

// Of a reader file that is missing, the variable that names it is what has to be put right.
Section read_root(const std::filesystem::path& file) {
    try {
        return read_configuration(file);
    } catch (const ConfigurationMissing& missing) {
        throw ConfigurationMissing(missing.file, missing.line, reader_file_variable,
                                   missing.reason);
    }
}

void check_kind(const Section& root) {
    if (root.has("atr") && root.has("application")) {
        root.fail("", "is a card profile, no reader file: name it as the profile of a slot");
    }
}

}  // namespace

ReaderSetup read_reader_file(const std::filesystem::path& file) {
    const Section root = read_root(file);
    check_kind(root);
    ReaderSetup setup;
    if (const auto reader = root.optional_section("reader")) {
        reader->allow_only({"name", "serial"});
        setup.name = label(*reader, "name", longest_name, setup.name);
        setup.serial = label(*reader, "serial", longest_serial, setup.serial);
    }
    for (std::size_t i = 0; i < slot_count; ++i) {
        if (const auto slot = root.optional_section(slot_rows[i].name)) {
            if (slot->has("trace")) {
                setup.slots[i].card = read_recording(*slot, i, setup);
                continue;
            }
            setup.slots[i].card = read_card(*slot, setup);
            setup.slots[i].t0 = read_t0(*slot);
        }
    }
    for (const Section& fault : root.sections("fault")) {
        read_fault(fault, setup);
    }
    root.finish();
    return setup;
}

ReaderSetup built_in_reader() {
    ReaderSetup setup;
    for (const std::string_view name : {"contact", "contactless"}) {
        setup.slots[*find_slot(&SlotRow::name, name)].card = default_card();
    }
    return setup;
}

}  // namespace quorrin::simulator
