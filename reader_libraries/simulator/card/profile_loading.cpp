#include "reader_libraries/simulator/card/profile_loading.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "reader_libraries/simulator/card/application_loading.hpp"
#include "reader_libraries/simulator/card/application_selection.hpp"
#include "reader_libraries/simulator/card/profile_fields.hpp"

namespace quorrin::simulator {
namespace {

using cryptography::Algorithm;
using cryptography::ArpcMethod;
using cryptography::Key;
using cryptography::SessionKeyScheme;

constexpr std::array algorithms{NamedChoice<Algorithm>{"3des", Algorithm::TripleDes},
                                NamedChoice<Algorithm>{"sm4", Algorithm::Sm4}};
constexpr std::array session_key_schemes{
    NamedChoice<SessionKeyScheme>{"pboc", SessionKeyScheme::Pboc},
    NamedChoice<SessionKeyScheme>{"emv", SessionKeyScheme::EmvCommon},
    NamedChoice<SessionKeyScheme>{"none", SessionKeyScheme::None}};
constexpr std::array key_derivations{
    NamedChoice<cryptography::KeyDerivation>{"a", cryptography::KeyDerivation::OptionA},
    NamedChoice<cryptography::KeyDerivation>{"b", cryptography::KeyDerivation::OptionB}};
constexpr std::array script_encipherments{
    NamedChoice<cryptography::ScriptEncipherment>{"pboc", cryptography::ScriptEncipherment::Pboc},
    NamedChoice<cryptography::ScriptEncipherment>{"emv", cryptography::ScriptEncipherment::Emv}};

Key key_field(const Section& section, std::string_view field) {
    Key key{};
    std::ranges::copy(section.hex(field, key.size()), key.begin());
    return key;
}

cryptography::KeySet load_master_keys(const Section& keys) {
    return {key_field(keys, "cryptogram"), key_field(keys, "mac"), key_field(keys, "encipherment")};
}

DirectoryProfile load_directory(const Section& section) {
    constexpr std::uint8_t last_file = 10;  // EMV book 1 section 10.1.4
    section.allow_only({"file", "fci"});
    DirectoryProfile directory;
    directory.file = number_field<std::uint8_t>(section, "file", 1, last_file);
    directory.fci_elements = encoded_elements(section, "fci");
    return directory;
}

void check_answer_size(const Section& section, std::string_view key, const ByteString& answer) {
    if (answer.size() > longest_answer) {
        section.fail(key, "makes an answer of " + std::to_string(answer.size()) +
                              " bytes; a card answers at most 256");
    }
}

void load_applications(const Section& section, CardProfile& profile) {
    for (const Section& each : section.sections("application")) {
        auto application = load_application(each, profile);
        for (const ApplicationProfile& other : profile.applications) {
            if (other.aid == application.aid) {
                each.fail("aid", "is another application's too");
            }
        }
        check_answer_size(each, "aid", application_fci(application));
        profile.applications.push_back(std::move(application));
    }
    if (profile.applications.empty()) {
        section.fail("application", "is missing: a card has one at least");
    }
}

// A state that cannot be kept is told at once, not by the card in mid-transaction.
std::filesystem::path load_state_file(const Section& section, const std::string& name) {
    namespace fs = std::filesystem;
    if (name.empty()) {
        section.fail("state", "must name a file");
    }
    const fs::path file = section.directory() / name;
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    std::error_code error;
    if (const auto kind = fs::status(file, error).type();
        kind == fs::file_type::directory || file.filename().empty()) {
        section.fail("state", file.string() + " is a directory");
    } else if (kind != fs::file_type::not_found && kind != fs::file_type::regular) {
        section.fail("state", file.string() + " is no regular file");
    }
    if (!fs::is_directory(folder, error)) {
        section.fail("state", folder.string() + " is no directory, so that no file can be in it");
    }
    // The file is replaced as a whole, so the folder is what has to be writable.
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        section.fail("state", folder.string() +
                                  " cannot be written: " + std::generic_category().message(errno));
    }
    return file;
}

void check_kind(const Section& section) {
    for (const char* slot : {"reader", "contact", "contactless", "further", "fault"}) {
        if (section.has(slot) && !section.has("atr")) {
            section.fail(slot, "belongs into a reader file: a card profile has name, atr, keys");
        }
    }
}

}  // namespace

CardProfile load_profile(const Section& section) {
    check_kind(section);
    section.allow_only({"name", "atr", "state", "algorithm", "session_keys", "arpc_method", "ppse",
                        "pse", "keys", "application", "key_derivation", "cryptogram_version",
                        "script_encipherment"});
    CardProfile profile;
    profile.name = section.text("name");
    profile.answer_to_reset = section.hex("atr", 2, 33);
    if (const auto state = section.optional_text("state")) {
        profile.state_file = load_state_file(section, *state);
    }
    profile.algorithm = choice_field_or(section, "algorithm", algorithms, Algorithm::TripleDes);
    profile.session_keys =
        choice_field_or(section, "session_keys", session_key_schemes, SessionKeyScheme::Pboc);
    profile.arpc_method = static_cast<ArpcMethod>(number_field_or(section, "arpc_method", 1, 2, 1));
    profile.key_derivation = choice_field_or(section, "key_derivation", key_derivations,
                                             cryptography::KeyDerivation::OptionA);
    profile.cryptogram_version =
        number_field_or<std::uint8_t>(section, "cryptogram_version", 0, 255, 1);
    if (!cryptography::is_known_cryptogram_version(profile.cryptogram_version)) {
        section.fail("cryptogram_version", "must be 1 (PBOC), 10, 17 or 18");
    }
    if (!cryptography::version_fits(profile.cryptogram_version, profile.algorithm,
                                    profile.session_keys)) {
        section.fail("cryptogram_version",
                     "is for Triple DES, 10 and 17 with session_keys \"none\", 18 with \"emv\"");
    }
    profile.script_encipherment =
        choice_field_or(section, "script_encipherment", script_encipherments,
                        cryptography::ScriptEncipherment::Pboc);
    profile.contactless_directory = section.optional_boolean("ppse").value_or(false);
    if (const auto directory = section.optional_section("pse")) {
        profile.contact_directory = load_directory(*directory);
    }
    const Section keys = section.section("keys");
    keys.allow_only({"cryptogram", "mac", "encipherment", "index"});
    profile.key_index = number_field_or<std::uint8_t>(keys, "index", 0, 255, 1);
    profile.master_keys = load_master_keys(keys);
    load_applications(section, profile);
    if (profile.contactless_directory) {
        check_answer_size(section, "ppse", contactless_directory_fci(profile));
    }
    section.finish();
    return profile;
}

}  // namespace quorrin::simulator
