#include "tests/reader_libraries/pcsc/real_service_test.hpp"

#include <unistd.h>

#include <cstdio>

#include "tests/reader_libraries/pcsc/private_session.hpp"

namespace quorrin::test {
namespace {

// A test that hangs ends the whole run, with its name as the last line.
constexpr unsigned limit_in_seconds = 30;

// What CTest takes for "not possible here".
constexpr int skipped = 77;

}  // namespace

RealService::RealService() {
    alarm(limit_in_seconds);
    set("QUORRIN_PCSC_MAS", mas_place.reader);
    set("QUORRIN_PCSC_WAIT", "0");
}

RealService::~RealService() {
    ICC_Reader_Close();
    alarm(0);
}

CardInReader::CardInReader(const Place& place, std::shared_ptr<simulator::CardDevice> card,
                           const ByteString& answer_to_reset)
    : VirtualCard(place.port, *card, answer_to_reset), place_(place), card_(std::move(card)) {
    EXPECT_TRUE(wait_for_card(place.reader, true)) << "the reader does not see the card";
    heard();
}

CardInReader::~CardInReader() {
    VirtualCard::pull();
    wait_for_card(place_.reader, false);
}

void RealService::insert(std::shared_ptr<simulator::CardDevice> card,
                         const ByteString& answer_to_reset) {
    pull();
    inserted = std::make_unique<CardInReader>(contact_place, std::move(card), answer_to_reset);
}

void RealService::open_with_card() {
    insert(played);
    ASSERT_GT(open(), 0);
    ASSERT_EQ(power_on(contact), to_hex(t1_answer_to_reset));
    inserted->heard();
}

namespace {

std::unique_ptr<VirtualReaders> readers_of_this_process;

}  // namespace

VirtualReaders& virtual_readers() {
    return *readers_of_this_process;
}

}  // namespace quorrin::test

int main(int count, char** arguments) {
    using namespace quorrin::test;
    testing::InitGoogleTest(&count, arguments);
    if (const std::string missing = VirtualReaders::missing(); !missing.empty()) {
        std::printf("SKIPPED: there is no %s\n", missing.c_str());
        return skipped;
    }
    const PrivateSession session = enter_private_session();
    std::printf("%s: %s\n", session.possible ? "pcscd runs" : "SKIPPED", session.how.c_str());
    if (!session.possible) {
        return skipped;
    }
    const TemporaryDirectory folder;
    readers_of_this_process = std::make_unique<VirtualReaders>(folder.path());
    if (!virtual_readers().start(all_readers)) {
        std::printf("pcscd does not start:\n");
        std::fflush(stdout);
        virtual_readers().print_log();
        return 1;
    }
    const int result = RUN_ALL_TESTS();
    virtual_readers().stop();
    return result;
}
