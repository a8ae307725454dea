#include "reader_libraries/pcsc/settings.hpp"

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

namespace quorrin::pcsc {
namespace {

constexpr std::int64_t longest_wait = 3600;

// An empty variable counts as none.
std::optional<std::string> environment(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    return value;
}

[[noreturn]] void refuse(const char* variable, const std::string& reason) {
    throw ConfigurationError("environment", 0, variable, reason);
}

std::filesystem::path user_file() {
    if (const auto folder = environment("XDG_CONFIG_HOME")) {
        return std::filesystem::path(*folder) / "quorrin" / "pcsc.toml";
    }
    if (const auto home = environment("HOME")) {
        return std::filesystem::path(*home) / ".config" / "quorrin" / "pcsc.toml";
    }
    return {};
}

struct SettingsFile {
    std::string name;
    Section table;
};

// Of a file that is missing, the variable that names it is what has to be put right.
std::optional<SettingsFile> read_file() {
    if (const auto named = environment(file_variable)) {
        try {
            return SettingsFile{*named, read_configuration(*named)};
        } catch (const ConfigurationMissing& missing) {
            throw ConfigurationMissing(missing.file, missing.line, file_variable, missing.reason);
        }
    }
    const std::filesystem::path file = user_file();
    std::error_code ignored;
    if (file.empty() || !std::filesystem::exists(file, ignored)) {
        return std::nullopt;
    }
    return SettingsFile{file.string(), read_configuration(file)};
}

constexpr const char* access_choices = "must be \"exclusive\" or \"shared\"";

std::optional<bool> is_shared(std::string_view access) {
    if (access == "shared") {
        return true;
    }
    return access == "exclusive" ? std::optional(false) : std::nullopt;
}

Settings settings_of_file() {
    Settings settings;
    const auto found = read_file();
    if (!found) {
        return settings;
    }
    const Section& file = found->table;
    for (std::size_t slot = 0; slot < slot_count; ++slot) {
        settings.readers[slot] = file.optional_text(slot_rows[slot].key).value_or("");
        settings.said_by[slot] = found->name;
    }
    if (const auto wait = file.optional_integer("wait", 0, longest_wait)) {
        settings.wait = std::chrono::seconds(*wait);
    }
    if (const auto access = file.optional_text("access")) {
        const auto shared = is_shared(*access);
        if (!shared) {
            file.fail("access", access_choices);
        }
        settings.shared = *shared;
    }
    file.finish();
    return settings;
}

std::chrono::seconds wait_of(const std::string& text) {
    std::int64_t seconds = -1;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || seconds < 0 ||
        seconds > longest_wait) {
        refuse(wait_variable, "must be a number of seconds, 0 to " + std::to_string(longest_wait));
    }
    return std::chrono::seconds(seconds);
}

}  // namespace

Settings read_settings() {
    Settings settings = settings_of_file();
    for (std::size_t slot = 0; slot < slot_count; ++slot) {
        if (auto wish = environment(slot_rows[slot].variable)) {
            settings.readers[slot] = *std::move(wish);
            settings.said_by[slot] = slot_rows[slot].variable;
        }
    }
    if (const auto wait = environment(wait_variable)) {
        settings.wait = wait_of(*wait);
    }
    if (const auto access = environment(access_variable)) {
        const auto shared = is_shared(*access);
        if (!shared) {
            refuse(access_variable, access_choices);
        }
        settings.shared = *shared;
    }
    return settings;
}

}  // namespace quorrin::pcsc
