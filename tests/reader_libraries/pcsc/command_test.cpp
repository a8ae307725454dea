// The quorrin command at the real service: what a user sees of readers and cards there.

#include <sys/wait.h>

#include <cstdio>
#include <fstream>

#include "reader_libraries/simulator/card/profile_card.hpp"
#include "tests/reader_libraries/pcsc/real_service_test.hpp"

namespace quorrin::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct CommandRun {
    int status = -1;
    std::string output;  // results and messages
};

CommandRun quorrin(const std::string& arguments) {
    CommandRun run;
    FILE* const pipe =
        popen(("timeout 25 " QUORRIN_COMMAND " " + arguments + " 2>&1").c_str(), "r");
    char part[4096];
    for (std::size_t count = 0; (count = std::fread(part, 1, sizeof part, pipe)) > 0;) {
        run.output.append(part, count);
    }
    const int ended = pclose(pipe);
    run.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    return run;
}

class CommandAtTheService : public RealService {
  protected:
    void insert_debit_card() {
        insert(std::shared_ptr<simulator::CardDevice>(simulator::default_card()),
               t1_answer_to_reset);
    }
};

// The simulated debit card, which leaves the reader with its n-th command unanswered.
class LeavingCard final : public simulator::CardDevice {
  public:
    explicit LeavingCard(int commands) : left_(commands) {}
    ByteString power_on() override { return card_->power_on(); }
    void power_off() override { card_->power_off(); }
    ByteString transmit(std::span<const std::uint8_t> command) override {
        if (--left_ == 0) {
            leave();
        }
        return card_->transmit(command);
    }
    std::function<void()> leave = [] {};

  private:
    std::unique_ptr<simulator::CardDevice> card_ = simulator::default_card();
    int left_;
};

struct Row {
    const char* arguments;
    const char* shown;
};

class EveryCommand : public CommandAtTheService, public testing::WithParamInterface<Row> {};

TEST_P(EveryCommand, ReadsTheCardInTheReader) {
    insert_debit_card();
    const CommandRun run = quorrin(GetParam().arguments);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(run.output, AllOf(HasSubstr(GetParam().shown), Not(HasSubstr("9999010000000011"))));
}

INSTANTIATE_TEST_SUITE_P(
    CommandAtTheService, EveryCommand,
    testing::Values(Row{"readers --reader pcsc", "Virtual Reader 00 00"},
                    Row{"readers --reader pcsc --json", "\"has_card\": true"},
                    Row{"info --reader pcsc", "card   UnionPay debit, \"PBOC DEBIT\""},
                    Row{"aids --reader pcsc", "A000000333010101"},
                    Row{"pan --reader pcsc", "999901******0011"},
                    Row{"log --reader pcsc", "TEST SUPERMARKET"},
                    Row{"dump --reader pcsc", "Directory 1PAY.SYS.DDF01"},
                    Row{"purchase --reader pcsc", "approved"},
                    Row{"doctor --reader pcsc", "Virtual Reader 00 00"},
                    Row{"pan --reader 'pcsc:Virtual Reader 00 00'", "999901******0011"},
                    // Without a word of the reader it is this one, and is said.
                    Row{"pan", "using PC/SC"}));

TEST_F(CommandAtTheService, AnEmptyReaderIsTold) {
    const CommandRun run = quorrin("info --reader pcsc");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.output, HasSubstr("there is no card in the slot"));
    EXPECT_THAT(quorrin("doctor --reader pcsc").output, HasSubstr("missing card"));
    EXPECT_EQ(quorrin("readers --reader pcsc").status, 0);
}

TEST_F(CommandAtTheService, ACardPulledInMidCommandIsTold) {
    const auto card = std::make_shared<LeavingCard>(3);
    insert(card, t1_answer_to_reset);
    card->leave = [this] { inserted->leave_at_next_command(); };
    const CommandRun run = quorrin("dump --reader pcsc");
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_THAT(run.output, testing::AnyOf(HasSubstr("the card does not answer"),
                                           HasSubstr("it was taken out")));
    // The driver of virtual readers may take no other card after that: it starts anew.
    pull();
    virtual_readers().stop();
    EXPECT_TRUE(virtual_readers().start(all_readers));
}

TEST_F(CommandAtTheService, ReadersSayWhereTheirSlotIsConfigured) {
    const auto file = directory.path() / "pcsc.toml";
    std::ofstream(file) << "contactless = \"Virtual Reader 00 00\"\ncontact = \"none\"\n";
    set("QUORRIN_PCSC_CONFIG", file.string());
    const std::string by_file = quorrin("readers --reader pcsc").output;
    EXPECT_THAT(by_file, HasSubstr("configured (" + file.string() + ")"));
    EXPECT_THAT(by_file, HasSubstr("configured: none (" + file.string() + ")"));
    set("QUORRIN_PCSC_CONTACTLESS", "Virtual Reader 00 01");
    EXPECT_THAT(quorrin("readers --reader pcsc").output,
                HasSubstr("configured (QUORRIN_PCSC_CONTACTLESS)"));
    EXPECT_THAT(quorrin("readers --reader 'pcsc:Virtual Reader 00 01'").output,
                HasSubstr("configured (--reader)"));
    EXPECT_THAT(quorrin("readers --reader pcsc").output, HasSubstr("by its name"));
}

}  // namespace
}  // namespace quorrin::test
