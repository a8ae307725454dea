#include "reader_libraries/simulator/card/state_keeping.hpp"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <system_error>

#include "reader_libraries/simulator/card/profile_fields.hpp"

namespace quorrin::simulator {
namespace {

// Writing.

std::string toml_list(const std::vector<std::string>& texts) {
    std::string list = "[";
    for (const std::string& text : texts) {
        list += "\n  \"" + text + "\",";
    }
    return list + (texts.empty() ? "]" : "\n]");
}

std::string hex_list(const std::vector<ByteString>& values) {
    std::vector<std::string> texts;
    for (const ByteString& value : values) {
        texts.push_back(hex_text(value));
    }
    return toml_list(texts);
}

std::string data_list(const ElementValues& data) {
    std::vector<std::string> texts;
    for (const auto& [tag, value] : data) {
        texts.push_back(hex_text(tag_bytes(tag)) + " " + hex_text(value));
    }
    return toml_list(texts);
}

// "file.number bytes" for the records that differ from the profile's.
std::string changed_records(const RecordFiles& issued, const RecordFiles& records) {
    std::vector<std::string> texts;
    for (const auto& [address, record] : records) {
        if (issued.at(address) != record) {
            texts.push_back(std::to_string(address.file) + "." + std::to_string(address.number) +
                            " " + hex_text(record));
        }
    }
    return toml_list(texts);
}

const char* boolean(bool value) {
    return value ? "true" : "false";
}

void write_application(std::ostream& out, const ApplicationProfile& profile,
                       const ApplicationState& state) {
    out << "\n[" << hex_text(profile.aid) << "]  # by its AID\n"
        << "blocked = " << boolean(state.blocked) << "\n"
        << "atc = " << state.atc << "\n"
        << "last_online_atc = " << state.last_online_atc << "\n";
    if (profile.pin_try_limit != 0) {
        out << "pin = \"" << state.pin << "\"\n"
            << "pin_tries = " << static_cast<unsigned>(state.pin_tries) << "\n";
    }
    out << "last_arqc = \"" << hex_text(state.last_arqc) << "\"\n"
        << "online_incomplete = " << boolean(state.online_incomplete) << "\n"
        << "issuer_authentication_failed = " << boolean(state.issuer_authentication_failed) << "\n"
        << "issuer_authentication_missing = " << boolean(state.issuer_authentication_missing)
        << "\n"
        << "static_authentication_failed = " << boolean(state.static_authentication_failed) << "\n"
        << "dynamic_authentication_failed = " << boolean(state.dynamic_authentication_failed)
        << "\n"
        << "blocked_for_pin_tries = " << boolean(state.blocked_for_pin_tries) << "\n"
        << "go_online_next = " << boolean(state.go_online_next) << "\n"
        << "offline_abroad = " << static_cast<unsigned>(state.offline_abroad) << "\n"
        << "offline_foreign = " << static_cast<unsigned>(state.offline_foreign) << "\n"
        << "offline_amount = " << state.offline_amount << "\n"
        << "offline_converted_amount = " << state.offline_converted_amount << "\n"
        << "script_commands = " << static_cast<unsigned>(state.script_commands) << "\n"
        << "script_failed = " << boolean(state.script_failed) << "\n"
        << "data = " << data_list(state.data) << "\n"
        << "records = " << changed_records(profile.records, state.records) << "\n"
        << "log = " << hex_list(state.transaction_log) << "\n"
        << "load_log = " << hex_list(state.load_log) << "\n";
}

// Reading.

std::pair<RecordAddress, ByteString> parse_record(std::string_view text) {
    const auto space = text.find(' ');
    const auto dot = text.substr(0, space).find('.');
    if (space == std::string_view::npos || dot == std::string_view::npos) {
        throw std::invalid_argument("must be file.number and the record's bytes");
    }
    const auto number = [](std::string_view digits) {
        unsigned value = 0;
        for (const char c : digits) {
            if (c < '0' || c > '9' || value > 25) {
                throw std::invalid_argument("no file and record numbers before the bytes");
            }
            value = value * 10 + static_cast<unsigned>(c - '0');
        }
        return static_cast<std::uint8_t>(value);
    };
    return {{number(text.substr(0, dot)), number(text.substr(dot + 1, space - dot - 1))},
            parse_bytes(text.substr(space + 1))};
}

void read_data(const Section& section, const ApplicationProfile& profile, ApplicationState& state) {
    for (auto& [tag, value] : element_values(section, "data")) {
        const auto issued = profile.data.find(tag);
        if (issued == profile.data.end() || issued->second.size() != value.size()) {
            section.fail("data", hex_text(tag_bytes(tag)) + " is not as the profile has it");
        }
        state.data[tag] = value;
    }
}

void read_records(const Section& section, ApplicationState& state) {
    for (auto& [address, record] : list_field(section, "records", parse_record)) {
        const auto found = state.records.find(address);
        if (found == state.records.end()) {
            section.fail("records", "has a record that the profile does not have");
        }
        found->second = std::move(record);
    }
}

std::vector<ByteString> read_log(const Section& section, std::string_view key,
                                 const std::optional<LogProfile>& profile) {
    const std::size_t size = profile ? profile->record_size() : 0;
    auto records = section.hex_list(key, size, size);
    if (records.size() > (profile ? profile->capacity : 0U)) {
        section.fail(key, "has more records than the profile's log");
    }
    return records;
}

void read_pin(const Section& section, const ApplicationProfile& profile, ApplicationState& state) {
    if (profile.pin_try_limit == 0) {
        return;
    }
    state.pin = section.text("pin");
    if (state.pin.size() < 4 || state.pin.size() > 12 ||
        state.pin.find_first_not_of("0123456789") != std::string::npos) {
        section.fail("pin", "must be 4 to 12 digits");
    }
    state.pin_tries = number_field<std::uint8_t>(section, "pin_tries", 0, profile.pin_try_limit);
}

void read_application(const Section& section, const ApplicationProfile& profile,
                      ApplicationState& state) {
    state.blocked = section.boolean("blocked");
    state.atc = number_field<std::uint16_t>(section, "atc", 0, 0xFFFF);
    state.last_online_atc = number_field<std::uint16_t>(section, "last_online_atc", 0, 0xFFFF);
    read_pin(section, profile, state);
    std::ranges::copy(section.hex("last_arqc", state.last_arqc.size()), state.last_arqc.begin());
    state.online_incomplete = section.boolean("online_incomplete");
    // Files of earlier versions do not have these.
    const auto flag = [&](std::string_view key) {
        return section.optional_boolean(key).value_or(false);
    };
    state.issuer_authentication_failed = flag("issuer_authentication_failed");
    state.issuer_authentication_missing = flag("issuer_authentication_missing");
    state.static_authentication_failed = flag("static_authentication_failed");
    state.dynamic_authentication_failed = flag("dynamic_authentication_failed");
    state.blocked_for_pin_tries = flag("blocked_for_pin_tries");
    state.go_online_next = flag("go_online_next");
    constexpr std::uint64_t most = 1'000'000'000'000'000;
    state.offline_abroad = number_field_or<std::uint8_t>(section, "offline_abroad", 0, 0xFF, 0);
    state.offline_foreign = number_field_or<std::uint8_t>(section, "offline_foreign", 0, 0xFF, 0);
    state.offline_amount = number_field_or<std::uint64_t>(section, "offline_amount", 0, most, 0);
    state.offline_converted_amount =
        number_field_or<std::uint64_t>(section, "offline_converted_amount", 0, most, 0);
    state.script_commands = number_field<std::uint8_t>(section, "script_commands", 0, 0xFF);
    state.script_failed = section.boolean("script_failed");
    read_data(section, profile, state);
    read_records(section, state);
    state.transaction_log = read_log(section, "log", profile.transaction_log);
    state.load_log = read_log(section, "load_log", profile.load_log);
}

// A name of its own for each spoilt file, up to a point.
std::filesystem::path set_aside(const std::filesystem::path& file) {
    constexpr int most_kept = 100;
    std::error_code failed;
    for (int number = 1; number <= most_kept; ++number) {
        auto aside = file;
        aside += number == 1 ? ".spoilt" : ".spoilt" + std::to_string(number);
        if (!std::filesystem::exists(aside, failed)) {
            std::filesystem::rename(file, aside, failed);
            return failed ? std::filesystem::path() : aside;
        }
    }
    return {};
}

}  // namespace

CardState read_state(const CardProfile& profile, const std::filesystem::path& file) {
    CardState state = issued_state(profile);
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) {
        return state;
    }
    const Section section = read_configuration(file);
    state.blocked = section.boolean("card_blocked");
    for (std::size_t i = 0; i < profile.applications.size(); ++i) {
        const ApplicationProfile& application = profile.applications[i];
        if (const auto kept = section.optional_section(hex_text(application.aid))) {
            read_application(*kept, application, state.applications[i]);
        }
    }
    section.finish();
    return state;
}

std::optional<CardState> read_or_set_aside(const CardProfile& profile,
                                           const std::filesystem::path& file) {
    try {
        return read_state(profile, file);
    } catch (const ConfigurationError& error) {
        const auto aside = set_aside(file);
        std::fprintf(stderr, "libquorrin-simulator: %s; %s, the card goes on with what it knows\n",
                     error.what(),
                     aside.empty() ? "it cannot be kept aside"
                                   : ("it is kept as " + aside.string()).c_str());
        return std::nullopt;
    }
}

bool write_state(const CardProfile& profile, const CardState& state,
                 const std::filesystem::path& file) {
    std::ostringstream text;
    text << "# What a simulated card remembers. Delete this file to issue the card anew.\n"
         << "card_blocked = " << boolean(state.blocked) << "\n";
    for (std::size_t i = 0; i < profile.applications.size(); ++i) {
        write_application(text, profile.applications[i], state.applications[i]);
    }
    auto partial = file;
    partial += ".new";
    {
        std::ofstream out(partial, std::ios::binary | std::ios::trunc);
        out << text.str();
        out.close();
        if (!out) {
            return false;
        }
    }
    std::error_code failed;
    std::filesystem::rename(partial, file, failed);
    return !failed;
}

}  // namespace quorrin::simulator
