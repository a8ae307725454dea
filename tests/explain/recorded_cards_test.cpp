// Every shipped card, recorded through the library and told: no word that the tables should know is
// missing, and nothing of the card holder shows.

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "explain/render.hpp"
#include "explain/story.hpp"
#include "quorrin/quorrin.h"
#include "tests/support/bytes.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::test {
namespace {

// The recorder reads its settings once: one file for all tests of this program.
const std::filesystem::path& trace_file() {
    static const TemporaryDirectory directory;
    static const std::filesystem::path file = directory.path() / "trace.jsonl";
    return file;
}

std::vector<std::string> profiles() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(QUORRIN_PROFILES)) {
        if (entry.path().extension() == ".toml") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::ranges::sort(names);
    return names;
}

// Tags of the private class are the issuer's own (ISO 8825-1, 8.1.2.2): no table can know them.
bool is_private_tag(std::string_view problem) {
    constexpr std::string_view words = "the tag ";
    return problem.starts_with(words) && problem.size() > words.size() &&
           std::string_view("CDEF").find(problem[words.size()]) != std::string_view::npos;
}

class RecordedCard : public testing::TestWithParam<std::string> {
  protected:
    static void SetUpTestSuite() {
        setenv("QUORRIN_TRACE_FILE", trace_file().c_str(), 1);
        setenv("QUORRIN_TRACE_READER", QUORRIN_SIMULATOR_LIBRARY, 1);
        setenv("QUORRIN_TRACE_TERMINAL", "desk-4", 1);
    }

    // What hosts do with a card, whatever comes of it: this is about what went over the line.
    explain::Story record() {
        const std::size_t before = trace::read_trace(trace_file()).entries.size();
        std::ofstream(directory_.path() / "reader.toml")
            << "[contact]\nprofile = \"" << QUORRIN_PROFILES << "/" << GetParam() << ".toml\"\n";
        setenv("QUORRIN_SIMULATOR", (directory_.path() / "reader.toml").c_str(), 1);
        char message[128] = {};
        EXPECT_EQ(icBandkCardPowerUp(0, message), 0) << message;
        char text[4096] = {};
        getIccInfo(ReaderHandle, nullptr, "ABCDEFGHIJKL", text);
        char cryptogram[32] = {};
        getARQC(ReaderHandle, "P012000000012850Q012000000000000R0040156S006261121T00200", nullptr,
                cryptogram, text);
        ARPCExeScript(ReaderHandle, 0, "8A023030910A01020304050607083030");
        GetIcBankCardTrDetail(1, ReaderHandle, 0, nullptr, text);
        CloseAllDevice();
        trace::Trace trace = trace::read_trace(trace_file());
        EXPECT_TRUE(trace.problems.empty());
        trace.entries.erase(trace.entries.begin(),
                            trace.entries.begin() + static_cast<std::ptrdiff_t>(before));
        return explain::tell(trace);
    }

  private:
    TemporaryDirectory directory_;
};

TEST_P(RecordedCard, IsToldWithoutAnUnknownWord) {
    const explain::Story story = record();
    ASSERT_GE(story.transactions.size(), 1u);
    for (const explain::Transaction& transaction : story.transactions) {
        for (const explain::Step& step : transaction.steps) {
            EXPECT_NE(step.title, "Other commands");
            for (const explain::Exchange& exchange : step.exchanges) {
                for (const decode::Node* node : {&exchange.sent, &exchange.received}) {
                    for (const decode::Problem& problem : decode::all_problems(*node)) {
                        EXPECT_TRUE(problem.kind != decode::Problem::Kind::Unknown ||
                                    is_private_tag(problem.text))
                            << exchange.name << ": " << problem.text;
                    }
                }
                EXPECT_THAT(exchange.status_meaning, testing::Not(testing::HasSubstr("Unknown")));
            }
        }
    }
}

TEST_P(RecordedCard, ShowsNothingOfItsHolder) {
    const explain::Story story = record();
    const std::string told = to_text(story, {.details = true}) + to_json(story) + to_html(story);
    std::ifstream profile(std::string(QUORRIN_PROFILES) + "/" + GetParam() + ".toml");
    std::string line;
    unsigned secrets = 0;
    while (std::getline(profile, line)) {
        const auto at = line.find("\"5A ");
        if (at == std::string::npos) {
            continue;
        }
        std::string digits;
        for (const char c : line.substr(at + 4)) {
            if (c >= '0' && c <= '9') {
                digits += c;
            } else if (c != ' ') {
                break;
            }
        }
        ++secrets;
        EXPECT_EQ(told.find(digits), std::string::npos) << "a card number shows";
    }
    EXPECT_GE(secrets, 1u) << "no card number in the profile";
}

INSTANTIATE_TEST_SUITE_P(Profiles, RecordedCard, testing::ValuesIn(profiles()),
                         [](const auto& row) { return row.param; });

}  // namespace
}  // namespace quorrin::test
