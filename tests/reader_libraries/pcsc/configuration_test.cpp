// The configuration: a file, the environment above it, and the one line that says what is wrong.

#include <functional>

#include "tests/reader_libraries/pcsc/fake_pcsc_test.hpp"

namespace quorrin::test {
namespace {

using testing::HasSubstr;

class PcscConfiguration : public FakePcscTest {
  protected:
    std::string opened_name() {
        char name[32] = {};
        EXPECT_GT(ICC_Reader_Open(name), 0);
        ICC_Reader_Close();
        return name;
    }
    // What goes to standard error while the reader is opened, which ends with the code.
    std::string complaint(std::int64_t code) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(open(), code);
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(PcscConfiguration, IsTheUsersFile) {
    std::filesystem::create_directory("quorrin");
    directory.write("quorrin/pcsc.toml", "contact = \"SAM Reader\"\nsam1 = \"none\"\n");
    EXPECT_EQ(opened_name(), "SAM Reader 00 00");
}

TEST_F(PcscConfiguration, IsTheFileInTheHomeFolderWhereNothingElseIsSaid) {
    unsetenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    const std::string before = home == nullptr ? "" : home;
    set("HOME", directory.path());
    std::filesystem::create_directories(".config/quorrin");
    directory.write(".config/quorrin/pcsc.toml", "contact = \"#2\"\n");
    EXPECT_EQ(opened_name(), "SAM Reader 00 00");
    set("HOME", before);
}

TEST_F(PcscConfiguration, IsTheNamedFileBeforeTheUsers) {
    std::filesystem::create_directory("quorrin");
    directory.write("quorrin/pcsc.toml", "contact = \"#2\"\n");
    directory.write("other.toml", "contact = \"#1\"\n");
    set("QUORRIN_PCSC_CONFIG", "other.toml");
    EXPECT_EQ(opened_name(), "Desk Reader NFC 00 01");
}

TEST_F(PcscConfiguration, HasTheEnvironmentAboveTheFile) {
    directory.write("pcsc.toml", "contact = \"#2\"\nwait = 7\naccess = \"shared\"\n");
    set("QUORRIN_PCSC_CONFIG", "pcsc.toml");
    set("QUORRIN_PCSC_CONTACT", "#1");
    set("QUORRIN_PCSC_WAIT", "3");
    set("QUORRIN_PCSC_ACCESS", "exclusive");
    ASSERT_GT(open(), 0);
    FakeReader& held = fake.reader("Desk Reader NFC 00 01");
    held.held = SCARD_STATE_INUSE;
    held.until = std::chrono::hours(1);
    EXPECT_EQ(power_on(contact), "result -11");
    EXPECT_EQ(fake.clock, std::chrono::seconds(3));
}

TEST_F(PcscConfiguration, OfTheFileHoldsWhereTheEnvironmentSaysNothing) {
    directory.write("pcsc.toml",
                    "contact = \"#2\"\ncontactless = \"none\"\nmas = \"nfc\"\n"
                    "sam1 = \"none\"\nsam2 = \"#0\"\nwait = 0\naccess = \"shared\"\n");
    set("QUORRIN_PCSC_CONFIG", "pcsc.toml");
    set("QUORRIN_PCSC_CONTACT", "");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), "3B0111");
    EXPECT_EQ(power_on(contactless), "result -2");
    EXPECT_EQ(power_on(mas), "3B0131");
    EXPECT_EQ(power_on(sam1), "result -2");
    EXPECT_EQ(power_on(0x12), "3B00");
    EXPECT_THAT(fake.calls, testing::Contains("connect Desk Reader 00 00 shared"));
}

TEST_F(PcscConfiguration, IsReadAgainAtEachOpening) {
    set("QUORRIN_PCSC_CONTACT", "#2");
    EXPECT_EQ(opened_name(), "SAM Reader 00 00");
    set("QUORRIN_PCSC_CONTACT", "#1");
    EXPECT_EQ(opened_name(), "Desk Reader NFC 00 01");
}

TEST_F(PcscConfiguration, ThatNamesNoReaderOfThoseThereOpensNothing) {
    set("QUORRIN_PCSC_CONTACT", "Other");
    set("QUORRIN_PCSC_CONTACTLESS", "Another");
    set("QUORRIN_PCSC_SAM1", "none");
    set("QUORRIN_PCSC_SAM2", "none");
    set("QUORRIN_PCSC_SAM3", "none");
    set("QUORRIN_PCSC_SAM4", "none");
    EXPECT_EQ(open(), -11);
}

// ---- what is wrong ----

struct Mistake {
    const char* name;
    std::function<void(const PcscConfiguration&, const TemporaryDirectory&)> make;
    std::int64_t code;
    const char* line;
};

std::ostream& operator<<(std::ostream& out, const Mistake& mistake) {
    return out << mistake.name;
}

auto in_file(const char* content) {
    return [content](const auto&, const TemporaryDirectory& directory) {
        directory.write("pcsc.toml", content);
        setenv("QUORRIN_PCSC_CONFIG", "pcsc.toml", 1);
    };
}

auto in_environment(const char* variable, const char* value) {
    return [variable, value](const auto&, const auto&) { setenv(variable, value, 1); };
}

const Mistake mistakes[] = {
    {"NoFile", in_environment("QUORRIN_PCSC_CONFIG", "missing.toml"), -11,
     "missing.toml: QUORRIN_PCSC_CONFIG: cannot be read: No such file or directory"},
    {"UnknownField", in_file("contact = \"#0\"\nreader = \"#1\"\n"), -14,
     "pcsc.toml: line 2: reader: is not a field that is known here"},
    {"WrongAccess", in_file("access = \"both\"\n"), -14,
     "pcsc.toml: line 1: access: must be \"exclusive\" or \"shared\""},
    {"WrongWait", in_file("wait = 3601\n"), -14,
     "pcsc.toml: line 1: wait: must be 0 to 3600, is 3601"},
    {"WrongVariableForWait", in_environment("QUORRIN_PCSC_WAIT", "5s"), -14,
     "environment: QUORRIN_PCSC_WAIT: must be a number of seconds, 0 to 3600"},
    {"NegativeWait", in_environment("QUORRIN_PCSC_WAIT", "-1"), -14,
     "environment: QUORRIN_PCSC_WAIT: must be a number of seconds, 0 to 3600"},
    {"WrongVariableForAccess", in_environment("QUORRIN_PCSC_ACCESS", "none"), -14,
     "environment: QUORRIN_PCSC_ACCESS: must be \"exclusive\" or \"shared\""},
};

class PcscMistake : public PcscConfiguration, public testing::WithParamInterface<Mistake> {};

TEST_P(PcscMistake, IsSaidInOneLineWhereThatIsWanted) {
    GetParam().make(*this, directory);
    EXPECT_EQ(complaint(GetParam().code), "");
    set("QUORRIN_PCSC_VERBOSE", "1");
    EXPECT_EQ(complaint(GetParam().code),
              std::string("libquorrin-pcsc: ") + GetParam().line + "\n");
}

INSTANTIATE_TEST_SUITE_P(Mistakes, PcscMistake, testing::ValuesIn(mistakes),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(PcscConfiguration, AFailedOpeningNamesReaderStepAndResultWhereThatIsWanted) {
    fake.running = false;
    EXPECT_EQ(complaint(-11), "");
    set("QUORRIN_PCSC_VERBOSE", "1");
    EXPECT_EQ(complaint(-11),
              "libquorrin-pcsc: reader (any): SCardEstablishContext: SCARD_E_NO_SERVICE "
              "(0x8010001D)\n");
    fake.running = true;
    fake.readers.clear();
    set("QUORRIN_PCSC_CONTACT", "Desk");
    EXPECT_EQ(complaint(-11),
              "libquorrin-pcsc: reader Desk: SCardListReaders: SCARD_E_NO_READERS_AVAILABLE "
              "(0x8010002E)\n");
    fake.readers = {{.name = "Other NFC 00 00"}};
    set("QUORRIN_PCSC_CONTACTLESS", "none");
    EXPECT_EQ(complaint(-11),
              "libquorrin-pcsc: reader Desk: choice of a reader: SCARD_E_UNKNOWN_READER "
              "(0x80100009)\n");
    next_result("ListReaders", 0x80101234);
    EXPECT_EQ(complaint(-11),
              "libquorrin-pcsc: reader Desk: SCardListReaders: unknown (0x80101234)\n");
}

TEST_F(PcscConfiguration, NothingElseIsEverSaid) {
    set("QUORRIN_PCSC_VERBOSE", "1");
    testing::internal::CaptureStderr();
    EXPECT_GT(open(), 0);
    next_result("Connect", SCARD_W_UNRESPONSIVE_CARD);
    EXPECT_EQ(power_on(contact), "result -4");
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(send(contact, some_command), "9000");
    EXPECT_EQ(send(sam1, some_command), "result -3");
    EXPECT_EQ(serial(), "result -13");
    EXPECT_EQ(ICC_Reader_Close(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace quorrin::test
