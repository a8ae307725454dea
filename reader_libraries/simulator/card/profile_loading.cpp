#include "reader_libraries/simulator/card/profile_loading.hpp"

#include <algorithm>

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
    NamedChoice<SessionKeyScheme>{"emv", SessionKeyScheme::EmvCommon}};

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
    DirectoryProfile directory;
    directory.file = number_field<std::uint8_t>(section, "file", 1, last_file);
    directory.fci_elements = encoded_elements(section, "fci");
    return directory;
}

void check_answer_size(const Section& section, std::string_view key, const Bytes& answer) {
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

}  // namespace

CardProfile load_profile(const Section& section) {
    CardProfile profile;
    profile.name = section.text("name");
    profile.answer_to_reset = section.hex("atr", 2, 33);
    if (const auto state = section.optional_text("state")) {
        profile.state_file = section.directory() / *state;
    }
    profile.algorithm = choice_field_or(section, "algorithm", algorithms, Algorithm::TripleDes);
    profile.session_keys =
        choice_field_or(section, "session_keys", session_key_schemes, SessionKeyScheme::Pboc);
    profile.arpc_method = static_cast<ArpcMethod>(number_field_or(section, "arpc_method", 1, 2, 1));
    profile.contactless_directory = section.optional_boolean("ppse").value_or(false);
    if (const auto directory = section.optional_section("pse")) {
        profile.contact_directory = load_directory(*directory);
    }
    const Section keys = section.section("keys");
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
