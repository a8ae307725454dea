// Each example of the simulator's page does what the page says.

#include "tests/reader_libraries/simulator/documented_examples.hpp"

#include "tests/reader_libraries/simulator/simulator_test.hpp"

namespace quorrin::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr const char* read_directory = "00B2010C00";
constexpr const char* select_directory = "00A404000E315041592E5359532E444446303100";

class DocumentedExample : public SimulatorTest {
  protected:
    DocumentedExample() : examples(read_documented_examples(QUORRIN_SIMULATOR_PAGE)) {}

    void open_example(const std::string& name) {
        ASSERT_TRUE(examples.files.contains(name)) << name;
        use(name, examples.files.at(name));
        ASSERT_GT(open(), 0);
    }

    // The debit card's counter, out of its profile.
    std::string shipped_atc() const {
        std::ifstream profile("profiles/debit.toml");
        for (std::string line; std::getline(profile, line);) {
            if (line.starts_with("atc = ")) {
                const auto atc = static_cast<std::uint8_t>(std::stoi(line.substr(6)));
                return to_hex(join(hex("9F 36 02 00"), ByteString{atc}, hex("90 00")));
            }
        }
        throw std::runtime_error("the debit card has no counter");
    }

    DocumentedExamples examples;
};

TEST_F(DocumentedExample, ThereIsNoneThatIsNotTried) {
    std::vector<std::string> names;
    for (const auto& [name, text] : examples.files) {
        names.push_back(name);
    }
    EXPECT_THAT(names,
                ElementsAre("absent.toml", "answer-lost.toml", "card-in-place.toml", "endless.toml",
                            "mistake.toml", "mute.toml", "other-answer.toml", "reader-fails.toml",
                            "reader.toml", "removed.toml", "slow-start.toml", "status-word.toml",
                            "t0.toml", "truncated.toml"));
    EXPECT_EQ(examples.complaints.size(), 1U);
}

TEST_F(DocumentedExample, ReaderFile) {
    open_example("reader.toml");
    char name[32] = {};
    EXPECT_EQ(ICC_Reader_Open(name), handle);
    EXPECT_STREQ(name, "Desk 4");
    char serial[100] = {};
    EXPECT_EQ(ICC_Reader_GetSerial(handle, serial), 0);
    EXPECT_STREQ(serial, "0000471100");
    for (const int slot : {contact, contactless, 0x11}) {
        EXPECT_GT(power_on(slot), 0) << slot;
    }
    for (const int slot : {further, 0x12, 0x13, 0x14}) {
        EXPECT_EQ(power_on(slot), -2) << slot;
    }
}

TEST_F(DocumentedExample, CardInPlace) {
    open_example("card-in-place.toml");
    EXPECT_EQ(power_on(contact), -2);
    EXPECT_EQ(power_on(further), 2);
    EXPECT_EQ(send(further, "00A4040008A00000033301010200"), "6A82");
    EXPECT_THAT(send(further, select_application), EndsWith("9000"));
    EXPECT_THAT(send(further, read_directory), AllOf(StartsWith("70"), EndsWith("9000")));
}

TEST_F(DocumentedExample, Mistake) {
    use("mistake.toml", examples.files.at("mistake.toml"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(open(), -14);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), examples.complaints.at("mistake.toml"));
}

TEST_F(DocumentedExample, T0) {
    open_example("t0.toml");
    EXPECT_GT(power_on(contact), 0);
    EXPECT_EQ(send(contact, select_directory), "6110");
    EXPECT_EQ(send(contact, "00C0000010"), "6F1E840E315041592E5359532E4444466110");
    EXPECT_EQ(send(contact, "00C0000010"), "3031A50C8801015F2D027A689F1101019000");
    EXPECT_EQ(send(contact, read_directory), "6C1D");
    EXPECT_EQ(send(contact, "00B2010C1D"),
              "701B61194F08A000000333010101500A50424F432044454249548701019000");
}

TEST_F(DocumentedExample, Absent) {
    open_example("absent.toml");
    EXPECT_EQ(power_on(contact), -2);
    EXPECT_EQ(send(contact, select_application), "result -2");
    EXPECT_EQ(ICC_Reader_PowerOff(handle, contact), -2);
}

TEST_F(DocumentedExample, Mute) {
    open_example("mute.toml");
    EXPECT_EQ(power_on(contact), -4);
    EXPECT_EQ(power_on(contact), -4);
    EXPECT_EQ(send(contact, select_application), "result -3");
}

TEST_F(DocumentedExample, Removed) {
    open_example("removed.toml");
    for (int round = 0; round < 2; ++round) {
        EXPECT_GT(power_on(contact), 0);
        EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
        EXPECT_THAT(send(contact, get_atc), EndsWith("9000"));
        EXPECT_EQ(send(contact, get_atc), "result -2");
        EXPECT_EQ(power_on(contact), -2);
        EXPECT_EQ(ICC_Reader_PowerOff(handle, contact), -2);
        // Opening the reader again puts it back.
        EXPECT_EQ(ICC_Reader_Close(), 0);
        ASSERT_GT(open(), 0);
    }
}

TEST_F(DocumentedExample, Endless) {
    open_example("endless.toml");
    EXPECT_GT(power_on(contact), 0);
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(send(contact, "00C0000010"), "6110") << i;
    }
}

TEST_F(DocumentedExample, ReaderFails) {
    open_example("reader-fails.toml");
    EXPECT_GT(power_on(contact), 0);
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
    EXPECT_EQ(send(contact, get_atc), "result -11");
    EXPECT_THAT(send(contact, get_atc), EndsWith("9000"));
}

TEST_F(DocumentedExample, StatusWord) {
    open_example("status-word.toml");
    EXPECT_GT(power_on(contact), 0);
    EXPECT_THAT(send(contact, select_directory), EndsWith("9000"));
    EXPECT_THAT(send(contact, read_directory), AllOf(StartsWith("70"), EndsWith("9000")));
    EXPECT_EQ(send(contact, read_directory), "6982");
    EXPECT_EQ(send(contact, "00B2020C00"), "6982");
    EXPECT_THAT(send(contact, select_directory), EndsWith("9000"));
}

TEST_F(DocumentedExample, OtherAnswer) {
    open_example("other-answer.toml");
    EXPECT_GT(power_on(contact), 0);
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
    EXPECT_EQ(send(contact, get_atc), "9F3602FFFF9000");
    EXPECT_EQ(send(contact, get_atc), shipped_atc());
}

TEST_F(DocumentedExample, Truncated) {
    open_example("truncated.toml");
    EXPECT_GT(power_on(contact), 0);
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
    EXPECT_EQ(send(contact, get_atc), "9F360200");
    EXPECT_EQ(send(contact, get_atc), shipped_atc());
}

TEST_F(DocumentedExample, AnswerLost) {
    open_example("answer-lost.toml");
    EXPECT_GT(power_on(contact), 0);
    EXPECT_EQ(send(contact, select_application), "result -15");
    EXPECT_EQ(send(contact, get_atc), shipped_atc());  // the application is selected
}

TEST_F(DocumentedExample, SlowStart) {
    open_example("slow-start.toml");
    EXPECT_EQ(power_on(contact), -4);
    GuardedBuffer atr(512);
    EXPECT_EQ(ICC_Reader_PowerOn(handle, contact, atr.data()), 9);
    EXPECT_TRUE(atr.holds(hex("3B 65 00 00 31 32 33 34 35")));
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
    EXPECT_EQ(power_on(contact), 17);
}

}  // namespace
}  // namespace quorrin::test
