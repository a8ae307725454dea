#include "hosts/command/simulated_slot.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

#include "hosts/command/json_output.hpp"
#include "hosts/command/subcommand.hpp"
#include "reader_libraries/configuration/configuration.hpp"

namespace quorrin::command {
namespace {

namespace fs = std::filesystem;

// The folder of the shipped cards: QUORRIN_PROFILES, else what was installed with this program, else
// what lies in the tree that it was built in.
std::optional<fs::path> shipped_cards() {
    if (const char* named = std::getenv("QUORRIN_PROFILES"); named != nullptr && *named != '\0') {
        return named;
    }
    std::error_code error;
    fs::path folder = fs::read_symlink("/proc/self/exe", error);
    while (!error && folder.has_relative_path()) {
        folder = folder.parent_path();
        for (const char* const place :
             {"share/quorrin/profiles", "reader_libraries/simulator/profiles"}) {
            if (fs::is_directory(folder / place, error)) {
                return folder / place;
            }
        }
        error.clear();
    }
    return std::nullopt;
}

std::string names_in(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() == ".toml") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::ranges::sort(names);
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

fs::path shipped_card(const std::string& name) {
    const std::string missing = name + " is no file, and no card that is shipped";
    const auto folder = shipped_cards();
    if (!folder || name.find('/') != std::string::npos) {
        throw Failed(missing);
    }
    const fs::path file = *folder / (name + ".toml");
    if (std::error_code error; !fs::exists(file, error)) {
        throw Failed(missing + " (" + names_in(*folder) + ")");
    }
    return file;
}

// A recording has a JSON object on each line.
bool is_recording(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    char first = 0;
    return stream >> first && first == '{';
}

// What is neither card nor reader file is left to the simulator, which says what is wrong and where.
bool is_card_profile(const fs::path& file) {
    try {
        const Section root = read_configuration(file);
        return root.has("atr") || root.has("keys") || root.has("application");
    } catch (const ConfigurationError&) {
        return false;
    }
}

}  // namespace

std::string one_card(std::string_view slot, std::string_view key, const fs::path& file) {
    // JSON and TOML write text the same way.
    const Json name = fs::absolute(file).string();
    return "[" + std::string(slot) + "]\n" + std::string(key) + " = " +
           name.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

MemoryFile::MemoryFile(std::string_view text) : file_(memfd_create("quorrin-reader-file", 0)) {
    if (file_ < 0 || write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw Failed(std::string("no reader file can be made: ") + std::strerror(errno));
    }
}

MemoryFile::~MemoryFile() {
    close(file_);
}

std::string MemoryFile::path() const {
    return "/proc/self/fd/" + std::to_string(file_);
}

std::string reader_file_for(const std::string& named, std::string_view slot) {
    std::error_code error;
    const bool is_there = fs::exists(named, error);
    const fs::path file = fs::absolute(is_there ? fs::path(named) : shipped_card(named));
    const bool recorded = is_recording(file);
    if (!recorded && !is_card_profile(file)) {
        return file.string();
    }
    // For as long as the program runs: the reader may be opened again.
    static std::vector<std::unique_ptr<MemoryFile>> made;
    const std::string text = one_card(slot, recorded ? "trace" : "profile", file);
    return made.emplace_back(std::make_unique<MemoryFile>(text))->path();
}

}  // namespace quorrin::command
