// A card behind T=0: what a host has to send to get at the answers.

#include "reader_libraries/simulator/t0_framing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reader_libraries/simulator/recorded_card.hpp"

namespace quorrin::test {
namespace {

using simulator::T0Framing;
using testing::ElementsAre;

constexpr const char* select = "00A404000201020000";  // data and Le
constexpr const char* read_record = "00B2010C00";     // Le only

class T0FramingTest : public testing::Test {
  protected:
    static ByteString send(T0Framing& framing, std::string_view command) {
        return framing.transmit(hex(command));
    }

    RecordedCard card;
};

TEST_F(T0FramingTest, AnnouncesDataAndGivesThemOnGetResponse) {
    card.answers[select] = hex("6F 01 AA 90 00");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, select), hex("61 03"));
    EXPECT_EQ(send(framing, "00 C0 00 00 03"), hex("6F 01 AA 90 00"));
    EXPECT_THAT(card.asked, ElementsAre(select));
}

TEST_F(T0FramingTest, KeepsTheCardsStatusWordForTheEnd) {
    card.answers[select] = hex("6F 01 AA 62 83");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, select), hex("61 03"));
    EXPECT_EQ(send(framing, "00 C0 00 00 03"), hex("6F 01 AA 62 83"));
}

TEST_F(T0FramingTest, GivesDataInPortions) {
    card.answers[select] = join(numbered(70), hex("90 00"));
    T0Framing framing(card, {.portion = 32});
    EXPECT_EQ(send(framing, select), hex("61 20"));
    const ByteString all = numbered(70);
    const auto part = [&](std::size_t from, std::size_t to) {
        return ByteString(all.begin() + static_cast<std::ptrdiff_t>(from),
                          all.begin() + static_cast<std::ptrdiff_t>(to));
    };
    EXPECT_EQ(send(framing, "00 C0 00 00 20"), join(part(0, 32), hex("61 20")));
    EXPECT_EQ(send(framing, "00 C0 00 00 20"), join(part(32, 64), hex("61 06")));
    EXPECT_EQ(send(framing, "00 C0 00 00 06"), join(part(64, 70), hex("90 00")));
}

TEST_F(T0FramingTest, GivesNoMoreThanTheHostAsksFor) {
    card.answers[select] = hex("01 02 03 04 05 90 00");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, select), hex("61 05"));
    EXPECT_EQ(send(framing, "00 C0 00 00 02"), hex("01 02 61 03"));
    EXPECT_EQ(send(framing, "00 C0 00 00 00"), hex("03 04 05 90 00"));
}

TEST_F(T0FramingTest, Writes256BytesAs00) {
    card.answers[select] = join(numbered(256), hex("90 00"));
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, select), hex("61 00"));
    EXPECT_EQ(send(framing, "00 C0 00 00 00"), join(numbered(256), hex("90 00")));
}

TEST_F(T0FramingTest, AnswersWithoutDataAreLeftAlone) {
    card.answers[select] = hex("6A 82");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, select), hex("6A 82"));
}

TEST_F(T0FramingTest, AWrongLeGetsTheRightOneAndTheCardIsAskedOnce) {
    card.answers[read_record] = hex("70 02 01 02 90 00");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, read_record), hex("6C 04"));
    EXPECT_EQ(send(framing, "00 B2 01 0C 04"), hex("70 02 01 02 90 00"));
    EXPECT_THAT(card.asked, ElementsAre(read_record));
}

TEST_F(T0FramingTest, ARightLeIsAnsweredAtOnce) {
    card.answers["00B2010C04"] = hex("70 02 01 02 90 00");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, "00 B2 01 0C 04"), hex("70 02 01 02 90 00"));
}

TEST_F(T0FramingTest, AnotherCommandDropsWhatWaits) {
    card.answers[read_record] = hex("70 02 01 02 90 00");
    card.answers[select] = hex("6F 01 AA 90 00");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, read_record), hex("6C 04"));
    EXPECT_EQ(send(framing, select), hex("61 03"));
    EXPECT_EQ(send(framing, "00 B2 01 0C 04"), hex("6D 00"));  // the card itself was asked
    EXPECT_EQ(send(framing, "00 C0 00 00 03"), hex("6D 00"));
    EXPECT_THAT(card.asked, ElementsAre(read_record, select, "00B2010C04", "00C0000003"));
}

TEST_F(T0FramingTest, APowerCycleDropsWhatWaits) {
    card.answers[select] = hex("6F 01 AA 90 00");
    T0Framing framing(card, {});
    EXPECT_EQ(send(framing, select), hex("61 03"));
    EXPECT_EQ(framing.power_on(), hex("3B 00"));
    EXPECT_EQ(send(framing, "00 C0 00 00 03"), hex("6D 00"));
    EXPECT_EQ(send(framing, select), hex("61 03"));
    framing.power_off();
    EXPECT_EQ(send(framing, "00 C0 00 00 03"), hex("6D 00"));
}

TEST_F(T0FramingTest, EachHalfCanBeSwitchedOff) {
    card.answers[read_record] = hex("70 02 01 02 90 00");
    card.answers[select] = hex("6F 01 AA 90 00");
    T0Framing only_61(card, {.wrong_le = false});
    EXPECT_EQ(send(only_61, read_record), hex("61 04"));
    EXPECT_EQ(send(only_61, "00 C0 00 00 04"), hex("70 02 01 02 90 00"));
    T0Framing only_6c(card, {.get_response = false});
    EXPECT_EQ(send(only_6c, select), hex("6F 01 AA 90 00"));
    EXPECT_EQ(send(only_6c, read_record), hex("6C 04"));
}

}  // namespace
}  // namespace quorrin::test
