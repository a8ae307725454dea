// The same card read by this library and by OpenSC, where that is installed.

#include <cstdio>
#include <filesystem>

#include "reader_libraries/simulator/card/profile_card.hpp"
#include "tests/reader_libraries/pcsc/real_service_test.hpp"

namespace quorrin::test {
namespace {

constexpr const char* tool = "/usr/bin/opensc-tool";

std::string output_of(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    char line[256];
    while (pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr) {
        output += line;
    }
    EXPECT_EQ(pipe == nullptr ? -1 : pclose(pipe), 0) << command;
    return output;
}

// What opensc-tool prints of the answer to one command: the status word in words, then lines of 16
// bytes, as hex digits in 48 columns and as characters.
std::string answer_in(const std::string& output) {
    std::istringstream lines(output);
    std::string line;
    std::string data;
    std::string status;
    while (std::getline(lines, line)) {
        unsigned sw1 = 0;
        unsigned sw2 = 0;
        if (std::sscanf(line.c_str(), "Received (SW1=0x%X, SW2=0x%X)", &sw1, &sw2) == 2) {
            status =
                to_hex(ByteString{static_cast<std::uint8_t>(sw1), static_cast<std::uint8_t>(sw2)});
        } else if (!status.empty()) {
            data += line.substr(0, 48);
        }
    }
    return to_hex(hex(data)) + status;
}

class SecondOpinion : public RealService {};

TEST_F(SecondOpinion, OpenScGetsTheSameAnswers) {
    if (!std::filesystem::exists(tool)) {
        GTEST_SKIP() << "there is no " << tool << " (Debian: apt-get install opensc)";
    }
    const std::string run =
        "timeout 10 " + std::string(tool) + " --reader '" + contact_place.reader + "' ";
    insert(std::shared_ptr<simulator::CardDevice>(simulator::default_card()), t1_answer_to_reset);
    ASSERT_GT(open(), 0);
    ASSERT_EQ(power_on(contact), to_hex(t1_answer_to_reset));
    const std::string directory_answer = send(contact, "00A404000E315041592E5359532E444446303100");
    const std::string unknown_answer = send(contact, "00A4040007A000000999010100");
    EXPECT_EQ(directory_answer.substr(0, 2), "6F");
    ASSERT_EQ(ICC_Reader_Close(), 0);

    EXPECT_EQ(output_of(run + "--atr"), "3b:88:80:01:00:00:00:00:33:81:81:00:3a\n");
    EXPECT_EQ(answer_in(output_of(run + "-s 00A404000E315041592E5359532E444446303100")),
              directory_answer);
    EXPECT_EQ(answer_in(output_of(run + "-s 00A4040007A000000999010100")), unknown_answer);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), to_hex(t1_answer_to_reset)) << "after another program";
}

}  // namespace
}  // namespace quorrin::test
