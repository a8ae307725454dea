// PowerUp, PowerDown, FindUserCard, icBandkCardPowerUp.

#include "tests/reader/reader_results.hpp"
#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Slot {
    int kind;
    const char* label;
    int power_on;
    int power_off;
};

constexpr Slot slots[] = {
    {11, "CPU", 0x01, 0x01}, {13, "MAS", 0x02, 0x02}, {12, "MIF", 0x31, 0x03},
    {1, "SAM1", 0x11, 0x11}, {2, "SAM2", 0x12, 0x12}, {3, "SAM3", 0x13, 0x13},
    {4, "SAM4", 0x14, 0x14},
};

constexpr int unknown_kinds[] = {-1, 0, 5, 6, 7, 10, 14, 0x31, 256 + 11, -256 + 12};

std::string call(const char* name, int slot) {
    return std::string(name) + " 7 " + to_hex(ByteString{static_cast<std::uint8_t>(slot)});
}

Answer atr(std::string_view hex_text) {
    return answer(hex_text);
}

class CardPower : public LibraryTest {
  protected:
    std::int64_t power_up(int kind, std::int64_t handle = 7) {
        return PowerUp(handle, kind, atr_buffer.data(), &atr_length);
    }

    GuardedBuffer atr_buffer{512};
    std::uint32_t atr_length = 4711;
};

class EverySlot : public CardPower, public testing::WithParamInterface<Slot> {};

TEST_P(EverySlot, PowersUpUnderItsCodeAndLabel) {
    const Slot& slot = GetParam();
    reader().power_on[slot.power_on] = atr("3B 00 11");
    EXPECT_EQ(power_up(slot.kind), 0);
    EXPECT_TRUE(atr_buffer.holds(hex("3B 00 11")));
    EXPECT_EQ(atr_length, 3u);
    EXPECT_EQ(reader().handed_buffer, filled(512, 0));
    EXPECT_THAT(reader().calls, ElementsAre(call("PowerOn", slot.power_on)));
    EXPECT_THAT(log.texts(), ElementsAre("success: PowerUp(" + std::string(slot.label) + ") 3"));
}

TEST_P(EverySlot, TakesPositiveResultsForAnswersToResetAndPassesTheOthersThrough) {
    const Slot& slot = GetParam();
    const std::string label = "PowerUp(" + std::string(slot.label) + ")";
    for (const std::int64_t result : reader_results) {
        log.clear();
        GuardedBuffer buffer(512);
        atr_length = 4711;
        reader().power_on[slot.power_on] = {result, filled(512, 0x3F)};
        const std::int64_t returned = PowerUp(7, slot.kind, buffer.data(), &atr_length);
        if (result > 0) {
            const std::int64_t length = std::min<std::int64_t>(result, 512);
            EXPECT_EQ(returned, 0) << result;
            EXPECT_TRUE(buffer.holds(filled(static_cast<std::size_t>(length), 0x3F)));
            EXPECT_EQ(atr_length, length);
            EXPECT_THAT(log.texts(),
                        ElementsAre("success: " + label + " " + std::to_string(length)));
        } else {
            EXPECT_EQ(returned, result);
            EXPECT_TRUE(buffer.untouched()) << result;
            EXPECT_EQ(atr_length, 4711u);
            EXPECT_THAT(log.texts(), ElementsAre("fail: " + label));
        }
        EXPECT_EQ(reader().lines_logged_before.back(), 0u) << "logged after the call";
    }
}

TEST_P(EverySlot, PowersDownUnderItsCodeAndLabel) {
    const Slot& slot = GetParam();
    EXPECT_EQ(PowerDown(7, slot.kind), 0);
    EXPECT_THAT(reader().calls, ElementsAre(call("PowerOff", slot.power_off)));
    EXPECT_THAT(log.texts(), ElementsAre("success: PowerDown(" + std::string(slot.label) + ")"));
}

TEST_P(EverySlot, ReportsEveryPowerDownResultButZeroAsFailure) {
    const Slot& slot = GetParam();
    const std::string label = "PowerDown(" + std::string(slot.label) + ")";
    for (const std::int64_t result : reader_results) {
        log.clear();
        reader().power_off[slot.power_off] = result;
        EXPECT_EQ(PowerDown(7, slot.kind), result);
        EXPECT_THAT(log.texts(), ElementsAre((result == 0 ? "success: " : "fail: ") + label));
        EXPECT_EQ(reader().lines_logged_before.back(), 0u) << "logged after the call";
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, EverySlot, testing::ValuesIn(slots),
                         [](const auto& row) { return row.param.label; });

TEST_F(CardPower, ContactlessSlotDeliberatelyPowersDownUnderACodeOfItsOwn) {
    reader().power_on[0x31] = atr("3B00");
    EXPECT_EQ(power_up(12), 0);
    EXPECT_EQ(PowerDown(7, 12), 0);
    EXPECT_THAT(reader().calls, ElementsAre("PowerOn 7 31", "PowerOff 7 03"));
}

TEST_F(CardPower, NoAnswerToResetIsLoggedAsFailureWithResultZero) {
    reader().power_on[0x01] = failure(0);
    EXPECT_EQ(power_up(11), 0);
    EXPECT_TRUE(atr_buffer.untouched());
    EXPECT_EQ(atr_length, 4711u);
    EXPECT_THAT(log.texts(), ElementsAre("fail: PowerUp(CPU)"));
}

TEST_F(CardPower, AnswerToResetIsBounded) {
    for (const std::int64_t reported : {std::int64_t{511}, std::int64_t{512}, std::int64_t{513},
                                        std::int64_t{1} << 32, std::int64_t{1} << 62}) {
        GuardedBuffer buffer(512);
        const std::int64_t counted = std::min<std::int64_t>(reported, 512);
        const ByteString bytes = filled(512, 0x3F);
        reader().power_on[0x01] = {reported, bytes};
        EXPECT_EQ(PowerUp(7, 11, buffer.data(), &atr_length), 0);
        EXPECT_TRUE(buffer.holds(filled(static_cast<std::size_t>(counted), 0x3F)));
        EXPECT_EQ(atr_length, counted);
        EXPECT_THAT(log.texts(), ElementsAre("success: PowerUp(CPU) " + std::to_string(counted)));
        log.clear();
    }
}

TEST_F(CardPower, AnswerToResetOfOneByte) {
    reader().power_on[0x01] = {1, hex("3B AA")};
    EXPECT_EQ(power_up(11), 0);
    EXPECT_TRUE(atr_buffer.holds(hex("3B")));
    EXPECT_EQ(atr_length, 1u);
}

TEST_F(CardPower, RefusesBadArgumentsSilently) {
    for (const int kind : unknown_kinds) {
        EXPECT_EQ(power_up(kind), -14) << kind;
        EXPECT_EQ(PowerDown(7, kind), -14) << kind;
    }
    for (const std::int64_t handle :
         {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(power_up(11, handle), -14) << handle;
        EXPECT_EQ(PowerDown(handle, 11), -14) << handle;
    }
    EXPECT_EQ(PowerUp(7, 11, nullptr, &atr_length), -14);
    EXPECT_EQ(PowerUp(7, 11, atr_buffer.data(), nullptr), -14);
    EXPECT_TRUE(atr_buffer.untouched());
    EXPECT_EQ(atr_length, 4711u);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(CardPower, TakesHandlesOf64Bits) {
    reader().power_on[0x01] = atr("3B00");
    EXPECT_EQ(power_up(11, std::int64_t{1} << 32), 0);
    EXPECT_THAT(reader().calls, ElementsAre("PowerOn 4294967296 01"));
}

// One line per way a search can go: results of the slots, calls made, result and kind left.
struct Search {
    const char* name;
    int mode;
    std::int64_t contact;
    std::int64_t contactless;
    std::vector<std::string> calls;
    std::int64_t result;
    int kind;
};

class FindCard : public LibraryTest, public testing::WithParamInterface<Search> {};

TEST_P(FindCard, TriesTheSlotsOfItsMode) {
    const Search& search = GetParam();
    EG_nUserCardType = 13;
    reader().power_on[0x01] = {search.contact, hex("3B0011")};
    reader().power_on[0x31] = {search.contactless, hex("3B8001")};
    EXPECT_EQ(FindUserCard(7, search.mode), search.result);
    EXPECT_EQ(reader().calls, search.calls);
    EXPECT_EQ(EG_nUserCardType, search.kind);
}

const std::string contact = "PowerOn 7 01";
const std::string contactless = "PowerOn 7 31";

INSTANTIATE_TEST_SUITE_P(
    Modes, FindCard,
    testing::Values(
        Search{"Mode1Found", 1, 3, 3, {contact}, 0, 11},
        Search{"Mode1NoCard", 1, -2, 3, {contact}, -2, 11},
        Search{"Mode1Mute", 1, -4, 3, {contact}, -4, 11},
        Search{"Mode1ResultZero", 1, 0, 3, {contact}, 0, 11},
        Search{"Mode2Found", 2, 3, 3, {contactless}, 0, 12},
        Search{"Mode2NoCard", 2, 3, -2, {contactless}, -2, 12},
        Search{"Mode2Mute", 2, 3, -4, {contactless}, -4, 12},
        Search{"Mode3Found", 3, 3, 3, {contact}, 0, 11},
        Search{"Mode3NoContactCard", 3, -2, 3, {contact, contactless}, 0, 12},
        Search{"Mode3NoCardAtAll", 3, -2, -2, {contact, contactless}, -2, 12},
        Search{"Mode3SecondFails", 3, -2, -4, {contact, contactless}, -4, 12},
        Search{"Mode3MuteEndsIt", 3, -4, 3, {contact}, -4, 11},
        Search{"Mode3OtherFailure", 3, -11, 3, {contact}, -11, 11},
        Search{"Mode3ResultZero", 3, 0, 3, {contact}, 0, 11},
        Search{"Mode4Found", 4, 3, 3, {contactless}, 0, 12},
        Search{"Mode4NoContactlessCard", 4, 3, -2, {contactless, contact}, 0, 11},
        Search{"Mode4MuteContactlessCard", 4, 3, -4, {contactless, contact}, 0, 11},
        Search{"Mode4NoCardAtAll", 4, -2, -2, {contactless, contact}, -2, 11},
        Search{"Mode4SecondFails", 4, -11, -4, {contactless, contact}, -11, 11},
        Search{"Mode4OtherFailureDeliberatelyIsSuccess", 4, 3, -11, {contactless}, 0, 12},
        Search{"Mode4NotPoweredDeliberatelyIsSuccess", 4, 3, -3, {contactless}, 0, 12},
        Search{"Mode4BadParameterDeliberatelyIsSuccess", 4, 3, -14, {contactless}, 0, 12},
        Search{"Mode4ResultZero", 4, 3, 0, {contactless}, 0, 12},
        Search{"Mode0", 0, 3, 3, {}, -14, 13}, Search{"Mode5", 5, 3, 3, {}, -14, 13},
        Search{"ModeMinus1", -1, 3, 3, {}, -14, 13}),
    [](const auto& row) { return row.param.name; });

class FindCardCalls : public LibraryTest {};

// What the first slot of a search may answer, and what comes of it.
TEST_F(FindCardCalls, EveryResultOfTheFirstSlotIsTakenAsItsModeSays) {
    reader().power_on[0x01] = atr("3B00");
    for (const std::int64_t result : reader_results) {
        const std::int64_t passed = result > 0 ? 0 : result;
        reader().power_on[0x31] = {result, filled(512, 0x3F)};
        EXPECT_EQ(FindUserCard(7, 2), passed);
        EXPECT_EQ(FindUserCard(7, 4), 0) << result;
        EXPECT_EQ(EG_nUserCardType, result == -2 || result == -4 ? 11 : 12) << result;
    }
    reader().power_on[0x31] = atr("3B00");
    for (const std::int64_t result : reader_results) {
        const std::int64_t passed = result > 0 ? 0 : result;
        reader().power_on[0x01] = {result, filled(512, 0x3F)};
        EXPECT_EQ(FindUserCard(7, 1), passed);
        EXPECT_EQ(FindUserCard(7, 3), result == -2 ? 0 : passed);
        EXPECT_EQ(EG_nUserCardType, result == -2 ? 12 : 11) << result;
    }
}

TEST_F(FindCardCalls, EachAttemptStartsFromAnEmptyBufferAndIsLogged) {
    reader().power_on[0x31] = {-4, filled(512, 0x77)};
    reader().power_on[0x01] = atr("3B00");
    EXPECT_EQ(FindUserCard(7, 4), 0);
    EXPECT_EQ(reader().handed_buffer, filled(512, 0));
    EXPECT_THAT(log.texts(), ElementsAre("fail: PowerUp(MIF)", "success: PowerUp(CPU) 2"));
}

TEST_F(FindCardCalls, KindIsRecordedBeforeTheAttempt) {
    for (const int mode : {2, 4}) {
        EG_nUserCardType = 11;
        // Mode 4 takes the -14 of a bad handle for a found card.
        EXPECT_EQ(FindUserCard(0, mode), mode == 4 ? 0 : -14);
        EXPECT_EQ(EG_nUserCardType, 12);
    }
    EXPECT_EQ(FindUserCard(-1, 1), -14);
    EXPECT_EQ(EG_nUserCardType, 11);
    EXPECT_THAT(reader().calls, IsEmpty());
}

class BankCardPowerUp : public LibraryTest {
  protected:
    testing::AssertionResult message_is(std::string_view expected) const {
        return message.holds(join(text_bytes(expected), ByteString{0}));
    }

    GuardedBuffer message{73};
};

TEST_F(BankCardPowerUp, OpensAndPowersTheContactCard) {
    reader().power_on[0x01] = atr("3B00");
    EXPECT_EQ(icBandkCardPowerUp(0, message.text()), 0);
    EXPECT_EQ(ReaderHandle, 7);
    EXPECT_EQ(EG_nUserCardType, 11);
    EXPECT_TRUE(message.untouched());
    EXPECT_THAT(reader().calls, ElementsAre("Open", "PowerOn 7 01"));
    EXPECT_THAT(log.texts(),
                ElementsAre("iType=0", "OpenDevice(SCRIPTED) = 7", "success: PowerUp(CPU) 2"));
}

TEST_F(BankCardPowerUp, TypeOneLooksForTheContactlessCardOnly) {
    reader().power_on[0x01] = atr("3B00");
    EXPECT_EQ(icBandkCardPowerUp(1, message.text()), -2);
    EXPECT_TRUE(message_is("无卡"));
    EXPECT_THAT(reader().calls, ElementsAre("Open", "PowerOn 7 31", "PowerOff 7 03", "Close"));
    EXPECT_EQ(ReaderHandle, 0);
}

TEST_F(BankCardPowerUp, TypeTwoLooksForTheContactlessCardFirst) {
    reader().power_on[0x01] = atr("3B00");
    EXPECT_EQ(icBandkCardPowerUp(2, message.text()), 0);
    EXPECT_EQ(EG_nUserCardType, 11);
    EXPECT_THAT(reader().calls, ElementsAre("Open", "PowerOn 7 31", "PowerOn 7 01"));
}

TEST_F(BankCardPowerUp, RefusesOtherTypesBeforeTheReaderIsTouched) {
    for (const int type : {3, -1, 256, std::numeric_limits<int>::min()}) {
        GuardedBuffer text(73);
        EXPECT_EQ(icBandkCardPowerUp(type, text.text()), -14);
        EXPECT_TRUE(text.holds(join(text_bytes("（发给动态库的）命令参数错"), ByteString{0})));
        EXPECT_THAT(log.texts(), ElementsAre("iType=" + std::to_string(type),
                                             "-14,返回信息:（发给动态库的）命令参数错"));
        log.clear();
    }
    EXPECT_THAT(reader().calls, IsEmpty());
}

TEST_F(BankCardPowerUp, RefusesANullMessage) {
    for (const int type : {0, 3}) {
        EXPECT_EQ(icBandkCardPowerUp(type, nullptr), -14);
        EXPECT_THAT(log.texts(), ElementsAre("iType=" + std::to_string(type),
                                             "-14,返回信息:（发给动态库的）命令参数错"));
        log.clear();
    }
    EXPECT_THAT(reader().calls, IsEmpty());
}

TEST_F(BankCardPowerUp, OpenFailureClosesAndGivesTheMessage) {
    reader().open.result = -11;
    EXPECT_EQ(icBandkCardPowerUp(0, message.text()), -11);
    EXPECT_TRUE(message_is("读卡器连接错"));
    EXPECT_THAT(reader().calls, ElementsAre("Open"));
    EXPECT_THAT(log.texts(),
                ElementsAre("iType=0", "OpenDevice(SCRIPTED)", "-11,返回信息:读卡器连接错"));
}

TEST_F(BankCardPowerUp, OpenFailureClosesAReaderThatWasStillOpen) {
    ReaderHandle = 42;
    EG_nUserCardType = 12;
    reader().open.result = -11;
    EXPECT_EQ(icBandkCardPowerUp(0, message.text()), -11);
    EXPECT_EQ(ReaderHandle, 0);
    EXPECT_THAT(reader().calls, ElementsAre("Open", "PowerOff 42 03", "Close"));
    EXPECT_THAT(log.texts(),
                ElementsAre("iType=0", "OpenDevice(SCRIPTED)", "success: PowerDown(MIF)",
                            "CloseDevice(42)", "-11,返回信息:读卡器连接错"));
}

TEST_F(BankCardPowerUp, CardFailurePowersDownTheKindTriedLast) {
    reader().power_on[0x31] = failure(-4);
    reader().power_on[0x01] = failure(-4);
    EXPECT_EQ(icBandkCardPowerUp(2, message.text()), -4);
    EXPECT_TRUE(message_is("卡片无应答"));
    EXPECT_EQ(ReaderHandle, 0);
    EXPECT_THAT(reader().calls,
                ElementsAre("Open", "PowerOn 7 31", "PowerOn 7 01", "PowerOff 7 01", "Close"));
    EXPECT_THAT(log.texts(),
                ElementsAre("iType=2", "OpenDevice(SCRIPTED) = 7", "fail: PowerUp(MIF)",
                            "fail: PowerUp(CPU)", "success: PowerDown(CPU)", "CloseDevice(7)",
                            "-4,返回信息:卡片无应答"));
}

TEST_F(BankCardPowerUp, FailureStaysTheFailureWhenTheCloseFailsToo) {
    reader().close = -12;
    EXPECT_EQ(icBandkCardPowerUp(0, message.text()), -2);
    EXPECT_EQ(ReaderHandle, 7);
    EXPECT_TRUE(message_is("无卡"));
}

TEST_F(BankCardPowerUp, UnknownFailureIsFolded) {
    reader().open.result = -999;
    EXPECT_EQ(icBandkCardPowerUp(0, message.text()), -40000);
    EXPECT_TRUE(message_is("未知错误"));
}

// The reader library answers 0 with no reader open: only the search that takes every failure but
// two for a card goes through.
TEST_F(BankCardPowerUp, OpenResultZeroDeliberatelyGoesOnWithTheOldHandle) {
    reader().open.result = 0;
    EXPECT_EQ(icBandkCardPowerUp(0, message.text()), -14);
    EXPECT_TRUE(message_is("（发给动态库的）命令参数错"));
    EXPECT_EQ(icBandkCardPowerUp(2, message.text()), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Open", "Open"));

    reset_reader();
    reader().open.result = 0;
    reader().power_on[0x01] = atr("3B00");
    ReaderHandle = 42;
    EXPECT_EQ(icBandkCardPowerUp(0, message.text()), 0);
    EXPECT_EQ(ReaderHandle, 42);
    EXPECT_THAT(reader().calls, ElementsAre("Open", "PowerOn 42 01"));
}

}  // namespace
}  // namespace quorrin::test
