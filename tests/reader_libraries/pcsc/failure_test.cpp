// What goes wrong with readers, cards and the service, and what works afterwards without a new process.

#include "reader_libraries/pcsc/pcsc_functions.hpp"
#include "tests/reader_libraries/pcsc/fake_pcsc_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;

struct Failure {
    const char* name;
    LONG result;
    std::int64_t code;
};

std::ostream& operator<<(std::ostream& out, const Failure& failure) {
    return out << failure.name;
}

#define FAILURE(result, code) \
    Failure {                 \
#result, result, code \
    }

constexpr LONG SCARD_that_nobody_knows = 0x80101234;

constexpr Failure failures[] = {
    FAILURE(SCARD_E_PROTO_MISMATCH, -1),
    FAILURE(SCARD_W_UNSUPPORTED_CARD, -1),
    FAILURE(SCARD_E_CARD_UNSUPPORTED, -1),
    FAILURE(SCARD_E_NO_SMARTCARD, -2),
    FAILURE(SCARD_W_REMOVED_CARD, -2),
    FAILURE(SCARD_W_UNPOWERED_CARD, -3),
    FAILURE(SCARD_W_RESET_CARD, -3),
    FAILURE(SCARD_W_UNRESPONSIVE_CARD, -4),
    FAILURE(SCARD_E_NOT_TRANSACTED, -4),
    FAILURE(SCARD_E_TIMEOUT, -4),
    FAILURE(SCARD_E_NO_SERVICE, -11),
    FAILURE(SCARD_E_SERVICE_STOPPED, -11),
    FAILURE(SCARD_E_NO_READERS_AVAILABLE, -11),
    FAILURE(SCARD_E_UNKNOWN_READER, -11),
    FAILURE(SCARD_E_READER_UNAVAILABLE, -11),
    FAILURE(SCARD_E_SHARING_VIOLATION, -11),
    FAILURE(SCARD_F_COMM_ERROR, -11),
    FAILURE(SCARD_F_INTERNAL_ERROR, -11),
    FAILURE(SCARD_F_UNKNOWN_ERROR, -11),
    FAILURE(SCARD_E_NO_MEMORY, -11),
    FAILURE(SCARD_E_NOT_READY, -11),
    FAILURE(SCARD_E_SERVER_TOO_BUSY, -11),
    FAILURE(SCARD_W_SECURITY_VIOLATION, -11),
    FAILURE(SCARD_E_CANCELLED, -11),
    FAILURE(SCARD_that_nobody_knows, -11),
    FAILURE(SCARD_E_INVALID_HANDLE, -12),
    FAILURE(SCARD_E_UNSUPPORTED_FEATURE, -13),
    FAILURE(SCARD_E_READER_UNSUPPORTED, -13),
    FAILURE(SCARD_E_INVALID_PARAMETER, -14),
    FAILURE(SCARD_E_INVALID_VALUE, -14),
    FAILURE(SCARD_E_INSUFFICIENT_BUFFER, -15),
    FAILURE(SCARD_E_COMM_DATA_LOST, -15),
};

#undef FAILURE

LONG result_of_exchange = SCARD_S_SUCCESS;

LONG fail(std::span<const std::uint8_t>, std::uint8_t*, DWORD* length) {
    *length = 0;
    return result_of_exchange;
}

class PcscFailure : public FakePcscTest, public testing::WithParamInterface<Failure> {
  protected:
    std::string expected() const { return "result " + std::to_string(GetParam().code); }
    void expect_good_card() {
        EXPECT_EQ(power_on(contact), "3B00");
        EXPECT_EQ(send(contact, some_command), "9000");
    }
};

TEST_P(PcscFailure, OfAnExchangeHasItsCodeAndTheCardWorksAgain) {
    open_with_card();
    result_of_exchange = GetParam().result;
    fake.answer = fail;
    EXPECT_EQ(send(contact, some_command), expected());
    fake.answer = answer_done;
    expect_good_card();
}

TEST_P(PcscFailure, OfAConnectionHasItsCodeAndTheCardWorksAgain) {
    ASSERT_GT(open(), 0);
    // What says that a service or a reader is gone is asked for again.
    fake.results["Connect"] = {GetParam().result, GetParam().result};
    EXPECT_EQ(power_on(contact), expected());
    fake.results.clear();
    expect_good_card();
}

TEST_P(PcscFailure, OfACardThatTakesNoNewPowerHasItsCodeAndTheCardWorksAgain) {
    ASSERT_GT(open(), 0);
    fake.results["Reconnect"] = {GetParam().result, GetParam().result};
    EXPECT_EQ(power_on(contact), expected());
    EXPECT_EQ(send(contact, some_command), "result -3") << "it has none now";
    fake.results.clear();
    expect_good_card();
}

TEST_P(PcscFailure, OfTheServiceHasItsCodeAtOpen) {
    fake.results["EstablishContext"] = {GetParam().result, GetParam().result};
    EXPECT_EQ(open(), GetParam().code);
    fake.results.clear();
    EXPECT_GT(open(), 0);
}

INSTANTIATE_TEST_SUITE_P(Results, PcscFailure, testing::ValuesIn(failures),
                         [](const auto& row) { return std::string(row.param.name); });

class PcscRecovery : public FakePcscTest {};

// ---- cards ----

TEST_F(PcscRecovery, AMuteCardDoesNotAnswerUntilAnotherIsThere) {
    ASSERT_GT(open(), 0);
    next_result("Connect", SCARD_W_UNRESPONSIVE_CARD);
    EXPECT_EQ(power_on(contact), "result -4");
    EXPECT_EQ(send(contact, some_command), "result -3");
    EXPECT_EQ(power_off(contact), 0);
    EXPECT_EQ(power_on(contact), "3B00");
}

TEST_F(PcscRecovery, ACardThatFallsMuteIsTriedFromTheStart) {
    open_with_card();
    next_result("Reconnect", SCARD_W_UNRESPONSIVE_CARD);
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_THAT(fake.calls,
                ElementsAre("reconnect exclusive unpower", "disconnect unpower",
                            "connect Desk Reader 00 00 exclusive", "reconnect exclusive unpower"));
}

TEST_F(PcscRecovery, AnAnswerToResetOfNoBytesIsNoAnswer) {
    fake.reader("Desk Reader 00 00").answer_to_reset.clear();
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), "result -4");
    EXPECT_EQ(send(contact, some_command), "result -3");
}

TEST_F(PcscRecovery, AnAnswerWithoutAStatusWordIsNoAnswer) {
    open_with_card();
    fake.answer = [](std::span<const std::uint8_t>, std::uint8_t*, DWORD* length) -> LONG {
        *length = 0;
        return SCARD_S_SUCCESS;
    };
    EXPECT_EQ(send(contact, some_command), "result -4");
    fake.answer = [](std::span<const std::uint8_t>, std::uint8_t* answer, DWORD* length) -> LONG {
        answer[0] = 0x90;
        *length = 1;
        return SCARD_S_SUCCESS;
    };
    EXPECT_EQ(send(contact, some_command), "result -4");
    fake.answer = answer_done;
    EXPECT_EQ(send(contact, some_command), "9000") << "the card has kept its power";
}

TEST_F(PcscRecovery, TheLongestAnswerFitsAndALongerOneIsACheckError) {
    open_with_card();
    fake.answer = [](std::span<const std::uint8_t>, std::uint8_t* answer, DWORD* length) -> LONG {
        EXPECT_EQ(*length, 1024U) << "the room";
        std::fill_n(answer, 1024, std::uint8_t{0x5A});
        *length = 1024;
        return SCARD_S_SUCCESS;
    };
    EXPECT_EQ(send(contact, some_command), to_hex(filled(1024, 0x5A)));
    fake.answer = [](std::span<const std::uint8_t>, std::uint8_t*, DWORD* length) -> LONG {
        *length = 1102;  // the size that the card wanted
        return SCARD_S_SUCCESS;
    };
    EXPECT_EQ(send(contact, some_command), "result -15");
}

TEST_F(PcscRecovery, ACardPulledOutWithinAnExchangeIsNoCard) {
    open_with_card();
    result_of_exchange = SCARD_E_NOT_TRANSACTED;
    fake.answer = fail;
    fake.reader("Desk Reader 00 00").card = false;
    EXPECT_EQ(send(contact, some_command), "result -2");
    EXPECT_EQ(send(contact, some_command), "result -2");
    EXPECT_EQ(power_on(contact), "result -2");
    fake.reader("Desk Reader 00 00").card = true;
    fake.answer = answer_done;
    EXPECT_EQ(send(contact, some_command), "result -3");
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(send(contact, some_command), "9000");
}

TEST_F(PcscRecovery, ACardThatAnotherProgramHasResetIsLeftToItAndHasNoPowerForUs) {
    open_with_card();
    result_of_exchange = SCARD_W_RESET_CARD;
    fake.answer = fail;
    EXPECT_EQ(send(contact, some_command), "result -3");
    EXPECT_THAT(fake.calls, ElementsAre("disconnect leave"));
    EXPECT_EQ(send(contact, some_command), "result -3");
    fake.answer = answer_done;
    EXPECT_EQ(power_on(contact), "3B00");
}

// ---- readers ----

TEST_F(PcscRecovery, AReaderThatComesBackUnderAnotherNameIsFound) {
    open_with_card();
    fake.reader("Desk Reader 00 00").name = "Desk Reader 01 00";
    result_of_exchange = SCARD_E_READER_UNAVAILABLE;
    fake.answer = fail;
    EXPECT_EQ(send(contact, some_command), "result -11");
    fake.answer = answer_done;
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(send(contact, some_command), "9000");
}

TEST_F(PcscRecovery, AReaderThatIsGoneIsAConnectionErrorUntilItIsBack) {
    set("QUORRIN_PCSC_CONTACT", "Desk Reader 00 00");
    ASSERT_GT(open(), 0);
    const FakeReader unplugged = fake.readers.front();
    fake.readers.erase(fake.readers.begin());
    EXPECT_EQ(power_on(contact), "result -11");
    EXPECT_EQ(send(contact, some_command), "result -11");
    EXPECT_EQ(power_on(contactless), "3B0131") << "the others go on";
    EXPECT_EQ(power_off(contactless_off), 0);
    fake.readers.push_back(unplugged);
    EXPECT_EQ(power_on(contact), "3B00");
}

TEST_F(PcscRecovery, SlotsKeepTheirReadersWhileACardHasPower) {
    open_with_card();
    fake.readers.insert(fake.readers.begin(), {.name = "Another 00 00"});
    EXPECT_EQ(open(), handle);
    EXPECT_EQ(send(contact, some_command), "9000");
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_THAT(fake.calls, ElementsAre("reconnect exclusive unpower"));
}

TEST_F(PcscRecovery, WithoutAReaderThereIsNothingToOpen) {
    fake.readers.clear();
    EXPECT_EQ(open(), -11);
    EXPECT_EQ(ICC_Reader_Close(), -12);
    fake.readers = {{.name = "Desk Reader 00 00"}};
    EXPECT_GT(open(), 0);
}

TEST_F(PcscRecovery, AReaderThatComesWhileTheListIsReadIsInIt) {
    // Twice the list has grown between the question for its size and the list itself.
    fake.results["ListReaders"] = {SCARD_S_SUCCESS, SCARD_E_INSUFFICIENT_BUFFER, SCARD_S_SUCCESS,
                                   SCARD_E_INSUFFICIENT_BUFFER};
    EXPECT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), "3B00");
}

// ---- the service ----

TEST_F(PcscRecovery, AServiceThatWasStartedAgainIsFoundAtTheNextPowerOn) {
    open_with_card();
    ASSERT_EQ(power_on(sam1), "3B0111");
    fake.restart();
    result_of_exchange = SCARD_E_SERVICE_STOPPED;
    fake.answer = fail;
    EXPECT_EQ(send(contact, some_command), "result -11");
    fake.answer = answer_done;
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(send(contact, some_command), "9000");
    EXPECT_EQ(send(sam1, some_command), "result -3") << "its power went with the service";
    EXPECT_EQ(power_on(sam1), "3B0111");
}

TEST_F(PcscRecovery, AServiceThatWasStartedAgainIsFoundByEveryFunction) {
    fake.reader("Desk Reader 00 00").serial = text_bytes("0815");
    ASSERT_GT(open(), 0);
    fake.restart();
    EXPECT_EQ(serial(), "0815");
    fake.restart();
    EXPECT_EQ(open(), handle);
    fake.restart();
    EXPECT_EQ(power_on(contact), "3B00");
    fake.restart();
    EXPECT_EQ(power_off(contact), -11) << "nobody knows";
    EXPECT_EQ(power_on(contact), "3B00");
    fake.restart();
    EXPECT_EQ(ICC_Reader_Close(), 0);
    EXPECT_GT(open(), 0);
}

TEST_F(PcscRecovery, WithoutTheServiceEverythingIsAConnectionError) {
    open_with_card();
    fake.running = false;
    result_of_exchange = SCARD_E_NO_SERVICE;
    fake.answer = fail;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(send(contact, some_command), "result -11");
        EXPECT_EQ(power_on(contact), "result -11");
        EXPECT_EQ(serial(), "result -11");
        EXPECT_EQ(open(), -11);
    }
    fake.running = true;
    fake.answer = answer_done;
    EXPECT_EQ(send(contact, some_command), "result -3");
    EXPECT_EQ(power_on(contact), "3B00");
}

// ---- a card that another program holds ----

class HeldCard : public FakePcscTest {
  protected:
    HeldCard() {
        held.held = SCARD_STATE_EXCLUSIVE;
        held.until = std::chrono::hours(1);
    }
    // By the fake's clock.
    std::chrono::milliseconds waiting_time() {
        const auto before = fake.clock;
        EXPECT_EQ(power_on(contact), "result -11");
        return fake.clock - before;
    }
    FakeReader& held = fake.readers.front();
};

TEST_F(HeldCard, IsWaitedForThirtySecondsAndNotAskedFor) {
    ASSERT_GT(open(), 0);
    fake.calls.clear();
    EXPECT_EQ(waiting_time(), std::chrono::seconds(30));
    EXPECT_TRUE(fake.calls.empty()) << "a connection could wait without a limit";
}

TEST_F(HeldCard, IsWaitedForAsLongAsConfigured) {
    set("QUORRIN_PCSC_WAIT", "2");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(waiting_time(), std::chrono::seconds(2));
    ICC_Reader_Close();
    set("QUORRIN_PCSC_WAIT", "0");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(waiting_time(), std::chrono::seconds(0));
}

TEST_F(HeldCard, IsTakenOnceItIsFree) {
    ASSERT_GT(open(), 0);
    held.until = fake.clock + std::chrono::seconds(3);
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(fake.clock, held.until);
}

TEST_F(HeldCard, IsHeldBySharedAccessToo) {
    held.held = SCARD_STATE_INUSE;
    set("QUORRIN_PCSC_WAIT", "1");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(waiting_time(), std::chrono::seconds(1));
}

TEST_F(HeldCard, IsHeldAgainstSharedAccessWhereItIsExclusive) {
    set("QUORRIN_PCSC_ACCESS", "shared");
    set("QUORRIN_PCSC_WAIT", "1");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(waiting_time(), std::chrono::seconds(1));
}

TEST_F(HeldCard, IsNotWaitedForWhenItIsPulled) {
    ASSERT_GT(open(), 0);
    held.card = false;
    EXPECT_EQ(power_on(contact), "result -2");
    EXPECT_EQ(fake.clock.count(), 0);
}

}  // namespace
}  // namespace quorrin::test
