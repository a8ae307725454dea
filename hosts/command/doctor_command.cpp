// quorrin doctor: is everything there, and what to do where it is not.
#include <sys/stat.h>
#include <unistd.h>

#include <dlfcn.h>

#include "hosts/command/card_session.hpp"
#include "hosts/command/json_output.hpp"

namespace quorrin::command {
namespace {

enum class Health { Good, Missing, Bad };  // missing: works without it

struct Finding {
    std::string what;
    Health health = Health::Good;
    std::string how;
    std::string cure;
};

Finding check_library(const char* name, const char* package, bool needed) {
    const std::string file = library_file(name);
    void* library = dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (library != nullptr) {
        return {name, Health::Good, file, ""};
    }
    return {name, needed ? Health::Bad : Health::Missing, dlerror(),
            std::string("install the package ") + package};
}

Finding check_service() {
    constexpr const char* socket = "/run/pcscd/pcscd.comm";
    struct stat status = {};
    if (stat(socket, &status) != 0) {
        return {"pcscd", Health::Missing, "does not run (no " + std::string(socket) + ")",
                "install pcscd and start it: systemctl start pcscd.socket, or pcscd"};
    }
    if (access(socket, R_OK | W_OK) != 0) {
        return {"pcscd", Health::Bad, std::string(socket) + " may not be used by this user",
                "allow it in polkit (org.debian.pcsc-lite.access_pcsc), or run as another user"};
    }
    return {"pcscd", Health::Good, socket, ""};
}

Finding check_readers() {
    const PcscReaders readers = pcsc_readers();
    if (readers.names.empty()) {
        return {"PC/SC readers", Health::Missing, readers.failure,
                "plug a reader in; \"pcsc_scan -r\" shows what pcscd sees; libccid drives most of "
                "them"};
    }
    std::string names;
    for (const std::string& name : readers.names) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return {"PC/SC readers", Health::Good, names, ""};
}

Finding check_card(const std::string& asked) {
    std::string library;
    try {
        library = load_backend({asked, ""}).name;
        catch_interrupts();
        const host::Reader reader;
        const host::Card card = reader.find_card(host::Search::ContactFirst);
        return {"card", Health::Good,
                slot_name(card.kind()) + " slot of the reader library " + library +
                    ", answer to reset " + host::to_hex(card.atr()),
                ""};
    } catch (const host::Failure& error) {
        const std::string advice = advice_for(error);
        const std::string cure = advice.empty() ? "try again, with another card" : advice;
        return {"card", error.code() == QUORRIN_NO_CARD ? Health::Missing : Health::Bad,
                plain_words(error), cure};
    } catch (const Failed& failed) {
        return {"card", Health::Bad, failed.what(), "mend what stands above"};
    }
}

int run_doctor(const std::string& asked, const Common& common) {
    const Progress progress("checking");
    std::vector<Finding> findings = {
        {"libQuorrin", Health::Good, std::string("version ") + QUORRIN_VERSION_STRING, ""},
        check_library("libquorrin-simulator", "libquorrin-simulator1", true),
        check_library("libquorrin-testbank", "libquorrin-testbank1", true),
        check_library("libquorrin-trace", "libquorrin-trace1", false),
        check_library("libquorrin-pcsc", "libquorrin-pcsc1", false),
        check_service(),
        check_readers(),
    };
    findings.push_back(check_card(asked));
    bool good = true;
    Json json = result_of("doctor");
    json["checks"] = Json::array();
    constexpr const char* words[] = {"good", "missing", "bad"};
    constexpr const char* colours[] = {"\033[32m", "\033[33m", "\033[31m"};
    std::string text;
    for (const Finding& finding : findings) {
        const auto health = static_cast<std::size_t>(finding.health);
        good = good && finding.health != Health::Bad;
        json["checks"].push_back({{"what", finding.what},
                                  {"health", words[health]},
                                  {"how", finding.how},
                                  {"cure", finding.cure}});
        std::string word = words[health];
        word.resize(8, ' ');
        std::string what = finding.what;
        what.resize(22, ' ');
        text += wants_colour() ? colours[health] + word + "\033[0m" : word;
        text += what + finding.how + "\n";
        if (!finding.cure.empty()) {
            text += std::string(30, ' ') + "cure: " + finding.cure + "\n";
        }
    }
    json["good"] = good;
    if (common.json) {
        put_json(json);
    } else {
        put_text(text);
    }
    return good ? success : failure;
}

}  // namespace

void add_doctor(CLI::App& app, const Common& common, Action& action) {
    auto reader = std::make_shared<std::string>();
    CLI::App* command =
        app.add_subcommand("doctor", "Is everything there? Each thing with its cure");
    command->add_option("--reader", *reader, "Reader library, as for the card commands");
    command->footer(examples("  quorrin doctor\n  quorrin doctor --reader pcsc --json"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_doctor(*reader, common); }; });
}

}  // namespace quorrin::command
