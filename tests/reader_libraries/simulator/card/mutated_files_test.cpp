// Profiles and state files with damage of every kind: each makes a card or one line, and nothing ends
// the process.
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

std::string text_of(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<std::string> shipped_texts() {
    std::vector<std::string> texts{test_profile()};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(QUORRIN_PROFILES)) {
        if (entry.path().extension() == ".toml") {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    for (const auto& file : files) {
        texts.push_back(text_of(file));
    }
    return texts;
}

// One to four places of the text changed: what TOML takes for structure, any byte, cuts, repetitions.
std::string mutated(std::string text, std::mt19937& random) {
    static const std::string structure = "[]{}=.,#\"'\\\n\r\t *+-_:0\x01\x7F\x80\xC3\xBC\xFF";
    const auto below = [&](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    };
    for (std::size_t changes = 1 + below(4); changes > 0 && !text.empty(); --changes) {
        const std::size_t at = below(text.size());
        // Half of the changes at a line's start, where tables and keys begin.
        const std::size_t line = text.rfind('\n', at) + 1;
        const std::size_t place = below(2) == 0 && line < text.size() ? line : at;
        const char byte =
            below(3) == 0 ? static_cast<char>(below(256)) : structure[below(structure.size())];
        switch (below(6)) {
            case 0:
                text[place] = byte;
                break;
            case 1:
                text.insert(place, 1, byte);
                break;
            case 2:
                text.insert(place, "[" + std::string(1, byte) + "]\n");
                break;
            case 3:
                text.erase(place, 1 + below(8));
                break;
            case 4:
                text.insert(place, text.substr(at, 1 + below(40)));
                break;
            default:
                text.resize(place);
                break;
        }
    }
    return text;
}

int mutations() {
    const char* wanted = std::getenv("QUORRIN_MUTATIONS");
    return wanted == nullptr ? 1200 : std::atoi(wanted);
}

void expect_one_line(const ConfigurationError& error, const std::string& text) {
    const std::string what = error.what();
    EXPECT_EQ(what.find('\n'), std::string::npos) << what;
    EXPECT_FALSE(error.reason.empty()) << text;
}

TEST(MutatedFiles, MakeACardOrOneLine) {
    const auto texts = shipped_texts();
    std::mt19937 random(20261121);
    int refused = 0;
    for (int i = 0; i < mutations(); ++i) {
        const std::string text = mutated(texts[static_cast<std::size_t>(i) % texts.size()], random);
        try {
            const auto card = card_of(text);
            card->power_on();
        } catch (const ConfigurationError& error) {
            expect_one_line(error, text);
            ++refused;
        }
    }
    EXPECT_GT(refused, mutations() / 3);
}

TEST(MutatedFiles, OfACardsStateAreReadOrOneLine) {
    const auto directory = std::filesystem::temp_directory_path() /
                           ("mutated-state-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directory(directory);
    const auto profile = directory / "card.toml";
    std::ofstream(profile) << changed(test_profile(), "[keys]", "state = \"card.state\"\n[keys]");
    {
        Terminal terminal(simulator::load_card_file(profile));
        terminal.purchase(first_aid);
    }
    const std::string right = text_of(directory / "card.state");
    std::mt19937 random(20261122);
    for (int i = 0; i < mutations() / 4; ++i) {
        const std::string text = mutated(right, random);
        std::ofstream(directory / "card.state", std::ios::binary) << text;
        try {
            (void)simulator::load_card_file(profile);
        } catch (const ConfigurationError& error) {
            expect_one_line(error, text);
        }
    }
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace quorrin::test
