// The file that keeps a card's state.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

namespace fs = std::filesystem;

class CardState : public testing::Test {
  protected:
    void SetUp() override {
        const std::string pattern = (fs::temp_directory_path() / "card-state-XXXXXX").string();
        std::vector<char> name(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        directory_ = name.data();
        profile_ = directory_ / "card.toml";
        write(profile_, changed(test_profile(), "[keys]", "state = \"card.state\"\n[keys]"));
    }
    void TearDown() override { fs::remove_all(directory_); }

    static void write(const fs::path& file, const std::string& text) {
        std::ofstream(file) << text;
    }
    [[nodiscard]] std::string text_of(const char* file) const {
        std::ostringstream text;
        text << std::ifstream(directory_ / file).rdbuf();
        return text.str();
    }
    [[nodiscard]] std::string state_text() const { return text_of("card.state"); }
    [[nodiscard]] std::unique_ptr<simulator::CardDevice> load() const {
        return simulator::load_card_file(profile_);
    }

    fs::path directory_;
    fs::path profile_;
};

bank::OnlineAnswer answer(const Terminal& terminal,
                          std::initializer_list<bank::ScriptCommand> commands) {
    bank::Decision decision;
    decision.scripts.push_back({bank::ScriptPhase::AfterFinalCryptogram, {}, commands});
    return bank::answer_online(test_bank(), terminal.online_request(), decision);
}

TEST_F(CardState, IsSeenByAnotherCardOfTheSameFile) {
    Terminal first(load());
    first.purchase(first_aid);
    first.send("0020008008 241111FFFFFFFFFF");
    const auto answered = answer(first, {bank::put_data(0x9F79, hex("000000020000")),
                                         bank::update_record(3, 1, hex("7003DF0100"))});
    EXPECT_EQ(first.authenticate(answered).status, 0x9000U);
    for (const auto& reply : first.run_scripts(answered)) {
        EXPECT_EQ(reply.status, 0x9000U);
    }

    Terminal second(load());
    second.select(first_aid);
    EXPECT_EQ(second.data_value("9F36"), hex("0011"));
    EXPECT_EQ(second.data_value("9F13"), hex("0011"));
    EXPECT_EQ(second.data_value("9F17"), hex("02"));
    EXPECT_EQ(second.data_value("9F79"), hex("000000020000"));
    EXPECT_EQ(second.data_value("9F77"), hex("000000100000"));
    EXPECT_EQ(to_hex(second.send("00B2011C00").data), "7003DF0100");
    EXPECT_EQ(to_hex(second.send("00B2015C00").data), "250617000000012300001154455354");
    EXPECT_EQ(to_hex(second.send("00B2025C00").data), "250101000000000001001053484F50");
    EXPECT_EQ(to_hex(second.send("00B2016400").data), "9F790000000100000000000200002506170011");
    // And its keys and chains go on from there.
    second.purchase(first_aid);
    EXPECT_EQ(expect_element(second.cryptogram_answer, "9F10"), hex("07010103A0002001"));
    EXPECT_TRUE(answer(second, {}).cryptogram_right);
}

TEST_F(CardState, IsReadAgainAtPowerOn) {
    Terminal first(load());
    Terminal second(load());
    first.purchase(first_aid);
    second.card().power_on();
    second.select(first_aid);
    EXPECT_EQ(second.data_value("9F36"), hex("0011"));
}

TEST_F(CardState, KeepsBlocksAndPins) {
    Terminal first(load());
    first.purchase(first_aid);
    for (const auto& reply : first.run_scripts(
             answer(first, {bank::pin_change("998877"), bank::application_block()}))) {
        EXPECT_EQ(reply.status, 0x9000U);
    }
    Terminal second(load());
    EXPECT_EQ(second.select(first_aid).status, 0x6283U);
    EXPECT_EQ(second.send("0020008008 26998877FFFFFFFF").status, 0x9000U);
    second.get_options();
    second.read_records();
    second.generate_ac(0x80);
    EXPECT_EQ(second.run_scripts(answer(second, {bank::application_unblock()})).at(0).status,
              0x9000U);
    second.purchase(first_aid);
    second.run_scripts(answer(second, {bank::card_block()}));
    Terminal third(load());
    EXPECT_EQ(third.select(first_aid).status, 0x6A81U);
}

TEST_F(CardState, IsNotWrittenByCommandsThatChangeNothing) {
    Terminal terminal(load());
    terminal.select(first_aid);
    terminal.send("00B2010C00");
    EXPECT_FALSE(fs::exists(directory_ / "card.state"));
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    EXPECT_TRUE(fs::exists(directory_ / "card.state"));
}

TEST_F(CardState, ThatCannotBeWrittenAnyMoreIsAMemoryFailure) {
    fs::create_directory(directory_ / "place");
    write(profile_, changed(test_profile(), "[keys]", "state = \"place/card.state\"\n[keys]"));
    Terminal terminal(load());
    fs::remove_all(directory_ / "place");
    terminal.select(first_aid);
    EXPECT_EQ(terminal.get_options().status, 0x6581U);
}

TEST_F(CardState, ThatCannotBeKeptIsRefusedAtOnce) {
    fs::create_directory(directory_ / "folder");
    const std::pair<const char*, const char*> names[] = {
        {"", "must name a file"},
        {"folder", "is a directory"},
        {"folder/", "is a directory"},
        {".", "is a directory"},
        {"no/such/place", "is no directory"},
        {"card.toml/state", "is no directory"},
        {"/dev/full", "is no regular file"},
    };
    for (const auto& [name, reason] : names) {
        write(profile_,
              changed(test_profile(), "[keys]", "state = \"" + std::string(name) + "\"\n[keys]"));
        try {
            const auto card = load();
            ADD_FAILURE() << name;
        } catch (const ConfigurationError& error) {
            EXPECT_EQ(error.file, profile_.string()) << name;
            EXPECT_EQ(error.line, 5U) << name;
            EXPECT_EQ(error.field, "state") << name;
            EXPECT_NE(error.reason.find(reason), std::string::npos) << error.what();
        }
    }
}

TEST_F(CardState, SpoiltWhileTheCardIsOffIsKeptAsideAndLeavesTheCardAsItWas) {
    Terminal terminal(load());
    terminal.purchase(first_aid);
    write(directory_ / "card.state", "spoilt");
    testing::internal::CaptureStderr();
    terminal.card().power_on();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "libquorrin-simulator: " + (directory_ / "card.state").string() +
                  ": line 1: is not TOML: Error while parsing key-value pair: encountered "
                  "end-of-file; it is kept as " +
                  (directory_ / "card.state.spoilt").string() +
                  ", the card goes on with what it knows\n");
    terminal.select(first_aid);
    EXPECT_EQ(terminal.data_value("9F36"), hex("0011"));
    EXPECT_EQ(text_of("card.state.spoilt"), "spoilt");
}

TEST_F(CardState, SpoiltBetweenTwoCommandsIsKeptAsideToo) {
    Terminal terminal(load());
    terminal.purchase(first_aid);
    write(directory_ / "card.state.spoilt", "an earlier one");
    write(directory_ / "card.state", "[=]\nspoilt");
    terminal.select(first_aid);
    testing::internal::CaptureStderr();
    EXPECT_EQ(terminal.get_options().status, 0x9000U);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(text_of("card.state.spoilt"), "an earlier one");
    EXPECT_EQ(text_of("card.state.spoilt2"), "[=]\nspoilt");
    Terminal next(load());
    next.select(first_aid);
    EXPECT_EQ(next.data_value("9F36"), hex("0012"));
}

TEST_F(CardState, ThatDoesNotFitTheProfileIsRefused) {
    {
        Terminal terminal(load());
        terminal.purchase(first_aid);
        terminal.run_scripts(answer(terminal, {bank::update_record(3, 1, hex("7000"))}));
    }
    const std::string right = state_text();
    const std::pair<const char*, const char*> mistakes[] = {
        {"card_blocked = false", "card_blocked = 0"},
        {"atc = 17", "atc = 65536"},
        {"pin_tries = 3", "pin_tries = 4"},
        {"pin = \"1234\"", "pin = \"12\""},
        {"9F77 ", "9F76 "},
        {"9F77 00", "9F77 "},
        {"3.1 ", "3.2 "},
        {"3.1 ", "3.256 "},
        {"3.1 ", "31 "},
        {"3.1 ", "x.1 "},
        {"[A000000333010102]", "[A000000333010103]"},
        {"script_failed = false", "script_failed = false\nother = 1"},
        {"250617000000012300001154455354", "2506170000000123000011544553"},
    };
    for (const auto& [from, to] : mistakes) {
        write(directory_ / "card.state", changed(right, from, to));
        try {
            const auto card = load();
            ADD_FAILURE() << to;
        } catch (const ConfigurationError& error) {
            EXPECT_EQ(error.file, (directory_ / "card.state").string()) << to;
            EXPECT_GT(error.line, 0U) << to;
            EXPECT_NE(error.field, "") << to;
        }
    }
    write(directory_ / "card.state", right);
    EXPECT_NE(load(), nullptr);
}

TEST(CardWithoutStateFile, RemembersFromPowerToPower) {
    Terminal terminal(card_of(test_profile()));
    terminal.purchase(first_aid);
    terminal.card().power_off();
    terminal.card().power_on();
    terminal.select(first_aid);
    EXPECT_EQ(terminal.data_value("9F36"), hex("0011"));
}

}  // namespace
}  // namespace quorrin::test
