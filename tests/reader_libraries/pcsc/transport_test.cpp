// Slots, power and exchange of commands with the real service and virtual readers.

#include "tests/reader_libraries/pcsc/real_service_test.hpp"

namespace quorrin::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;

class RealTransport : public RealService {};

TEST_F(RealTransport, EverySlotReachesItsOwnCard) {
    struct SlotOfCard {
        int code;
        int power_off_code;
        Place place;
    };
    const SlotOfCard slots[] = {
        {contact, contact, contact_place},
        {contactless, contactless_off, contactless_place},
        {mas, mas, mas_place},
        {0x11, 0x11, sam_places[0]},
        {0x12, 0x12, sam_places[1]},
        {0x13, 0x13, sam_places[2]},
        {0x14, 0x14, sam_places[3]},
    };
    std::vector<std::unique_ptr<PlayedCard>> cards;
    std::vector<std::unique_ptr<VirtualCard>> plugs;
    for (const SlotOfCard& slot : slots) {
        // Tells its slot's code in its answers.
        const auto code = static_cast<std::uint8_t>(slot.code);
        cards.push_back(std::make_unique<PlayedCard>(
            ByteString{0x3B, 0x01, code}, [code](const ByteString& command) {
                return ByteString{command[3], code, 0x90, 0x00};
            }));
        plugs.push_back(std::make_unique<VirtualCard>(slot.place.port, *cards.back()));
    }
    for (const SlotOfCard& slot : slots) {
        ASSERT_TRUE(wait_for_card(slot.place.reader, true)) << slot.place.reader;
    }

    GuardedBuffer name(32);
    handle = ICC_Reader_Open(name.text());
    ASSERT_GT(handle, 0);
    EXPECT_TRUE(name.holds_text(std::string(contact_place.reader) + '\0'));
    for (const SlotOfCard& slot : slots) {
        const std::string code = to_hex(ByteString{static_cast<std::uint8_t>(slot.code)});
        EXPECT_EQ(send(slot.code, "80CA0007"), "result -3") << code;
        EXPECT_EQ(power_on(slot.code), "3B01" + code);
        EXPECT_EQ(send(slot.code, "80CA0007"), "07" + code + "9000");
    }
    for (const SlotOfCard& slot : slots) {
        EXPECT_EQ(send(slot.code, "80CA0008").substr(0, 2), "08") << "all have power at a time";
        EXPECT_EQ(power_off(slot.power_off_code), 0);
        EXPECT_EQ(send(slot.code, "80CA0008"), "result -3");
        EXPECT_EQ(power_off(slot.power_off_code), 0);
    }
    for (std::size_t i = 0; i < plugs.size(); ++i) {
        EXPECT_TRUE(plugs[i]->heard_at_last("off"));
        plugs[i].reset();
        EXPECT_TRUE(wait_for_card(slots[i].place.reader, false));
        EXPECT_EQ(power_on(slots[i].code), "result -2");
        EXPECT_EQ(send(slots[i].code, "80CA0007"), "result -2");
        EXPECT_EQ(power_off(slots[i].power_off_code), 0);
    }
    EXPECT_EQ(ICC_Reader_Close(), 0);
    EXPECT_EQ(send(contact, "80CA0007"), "result -12");
}

TEST_F(RealTransport, TheVirtualReaderHasNoSerialNumber) {
    ASSERT_GT(open(), 0);
    EXPECT_EQ(serial(), "result -13");
}

TEST_F(RealTransport, ACardIsPoweredFromColdWhateverItWasBefore) {
    insert(played);
    {
        OtherProgram other(contact_place, SCARD_SHARE_SHARED);
        ASSERT_EQ(other.result(), SCARD_S_SUCCESS);
    }
    inserted->heard();
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), to_hex(t1_answer_to_reset));
    EXPECT_THAT(inserted->heard(), ElementsAre("off", "on")) << "left powered by another program";
    EXPECT_EQ(power_on(contact), to_hex(t1_answer_to_reset));
    EXPECT_THAT(inserted->heard(), ElementsAre("off", "on")) << "powered by this one";
    EXPECT_EQ(power_off(contact), 0);
    EXPECT_THAT(inserted->heard(1), ElementsAre("off"));
    EXPECT_EQ(power_on(contact), to_hex(t1_answer_to_reset));
    EXPECT_THAT(inserted->heard(), ElementsAre("on", "off", "on")) << "by the service, then by us";
    EXPECT_EQ(ICC_Reader_Close(), 0);
    EXPECT_THAT(inserted->heard(1), ElementsAre("off"));
}

TEST_F(RealTransport, OverT0TheLeOfACommandWithDataStaysBehind) {
    insert(played, t0_answer_to_reset);
    ASSERT_GT(open(), 0);
    ASSERT_EQ(power_on(contact), to_hex(t0_answer_to_reset));
    inserted->heard();
    for (const char* command :
         {"80CA9F36", "80CA9F3600", "8088000002ABCD", "8088000002ABCD00", "00A404000000"}) {
        EXPECT_EQ(send(contact, command), "9000") << command;
    }
    EXPECT_THAT(inserted->heard(), ElementsAre("80CA9F36", "80CA9F3600", "8088000002ABCD",
                                               "8088000002ABCD", "00A4040000"));
}

TEST_F(RealTransport, OverT1CommandsGoAsTheyAre) {
    open_with_card();
    for (const char* command :
         {"80CA9F36", "80CA9F3600", "8088000002ABCD", "8088000002ABCD00", "00A404000000"}) {
        EXPECT_EQ(send(contact, command), "9000") << command;
    }
    EXPECT_THAT(inserted->heard(), ElementsAre("80CA9F36", "80CA9F3600", "8088000002ABCD",
                                               "8088000002ABCD00", "00A404000000"));
}

TEST_F(RealTransport, AnnouncedDataAndWrongLengthsComeUnchanged) {
    for (const ByteString& atr : {t0_answer_to_reset, t1_answer_to_reset}) {
        const auto card = std::make_shared<PlayedCard>(atr, [](const ByteString& command) {
            return command[1] == 0xA4 ? ByteString{0x61, 0x1A} : ByteString{0x6C, 0x05};
        });
        insert(card);
        ASSERT_GT(open(), 0);
        ASSERT_EQ(power_on(contact), to_hex(atr));
        EXPECT_EQ(send(contact, "00A4040000"), "611A");
        EXPECT_EQ(send(contact, "80CA9F3600"), "6C05");
    }
}

TEST_F(RealTransport, TheLongestCommandAndTheLongestAnswerPass) {
    const auto card =
        std::make_shared<PlayedCard>(t1_answer_to_reset, [](const ByteString& command) {
            const auto size = static_cast<std::size_t>(command[2] << 8 | command[3]);
            ByteString answer = filled(size, 0x5A);
            answer.back() = static_cast<std::uint8_t>(command.size() % 251);
            return answer;
        });
    insert(card);
    ASSERT_GT(open(), 0);
    ASSERT_EQ(power_on(contact), to_hex(t1_answer_to_reset));
    const std::string data = std::string(510, '7') + "00";  // 255 bytes and Le: 261 in all
    EXPECT_EQ(send(contact, "80CA0400FF" + data), to_hex(filled(1023, 0x5A)) + "0A");
    EXPECT_EQ(send(contact, "80CA0401FF" + data), "result -15");
    EXPECT_EQ(send(contact, "80CA0001"), "result -4") << "a byte is no status word";
    EXPECT_EQ(send(contact, "80CA0003"), "5A5A04") << "the card has kept its power";
}

// ---- cards that come and go ----

class RealCards : public RealService {
  protected:
    const std::string atr = to_hex(t1_answer_to_reset);
};

TEST_F(RealCards, OnePulledOutWithinAnExchangeIsNoneFromThenOn) {
    open_with_card();
    inserted->leave_at_next_command();
    const std::string result = send(contact, "80CA9F3600");
    // The service says first that there was no answer, and from its next look on that there is no card.
    EXPECT_THAT(result, testing::AnyOf("result -4", "result -2"));
    pull();
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -2");
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -2");
    EXPECT_EQ(power_on(contact), "result -2");
    insert(played);
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -3");
    EXPECT_EQ(power_on(contact), atr);
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
}

TEST_F(RealCards, AnotherInThePlaceOfOneWithPowerHasNone) {
    open_with_card();
    pull();
    const auto second = std::make_shared<PlayedCard>(t0_answer_to_reset);
    insert(second);
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -2") << "the card that had power is gone";
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -3") << "the other has none";
    EXPECT_EQ(power_on(contact), to_hex(t0_answer_to_reset));
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
}

TEST_F(RealCards, AnotherInThePlaceOfOneWithPowerCanBePoweredAtOnce) {
    open_with_card();
    pull();
    const auto second = std::make_shared<PlayedCard>(t0_answer_to_reset);
    insert(second);
    EXPECT_EQ(power_on(contact), to_hex(t0_answer_to_reset));
    EXPECT_EQ(send(contact, "8088000002ABCD00"), "9000");
    EXPECT_THAT(inserted->heard(), testing::Contains("8088000002ABCD")) << "over T=0 now";
}

TEST_F(RealCards, OnePulledOutCanBePoweredDown) {
    open_with_card();
    pull();
    EXPECT_EQ(power_off(contact), 0);
    EXPECT_EQ(ICC_Reader_Close(), 0);
}

TEST_F(RealCards, OneWithAnAnswerToResetOfJunkIsOfTheWrongType) {
    const auto junk = std::make_shared<PlayedCard>(hex("FF FF FF FF"));
    insert(junk);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), "result -1");
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -3");
    EXPECT_EQ(power_off(contact), 0);
    pull();
    insert(played);
    EXPECT_EQ(power_on(contact), atr);
}

// ---- other programs ----

TEST_F(RealCards, OneThatAnotherProgramHoldsCannotBePoweredUntilItLetsGo) {
    for (const auto share : {DWORD{SCARD_SHARE_EXCLUSIVE}, DWORD{SCARD_SHARE_SHARED}}) {
        insert(played);
        OtherProgram other(contact_place, share);
        ASSERT_EQ(other.result(), SCARD_S_SUCCESS);
        ASSERT_GT(open(), 0);
        EXPECT_EQ(power_on(contact), "result -11");
        EXPECT_EQ(send(contact, "80CA9F3600"), "result -3");
        other.let_go();
        EXPECT_EQ(power_on(contact), atr);
        EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
        EXPECT_EQ(ICC_Reader_Close(), 0);
    }
}

TEST_F(RealCards, OneInAnotherProgramsTransactionBlocksNobody) {
    insert(played);
    OtherProgram other(contact_place, SCARD_SHARE_SHARED);
    ASSERT_EQ(other.begin_transaction(), SCARD_S_SUCCESS);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), "result -11");
}

TEST_F(RealCards, OneThatAnotherProgramHoldsIsWaitedFor) {
    insert(played);
    auto other = std::make_unique<OtherProgram>(contact_place, SCARD_SHARE_EXCLUSIVE);
    ASSERT_EQ(other->result(), SCARD_S_SUCCESS);
    set("QUORRIN_PCSC_WAIT", "20");
    ASSERT_GT(open(), 0);
    std::thread letting_go([&] { other.reset(); });
    EXPECT_EQ(power_on(contact), atr);
    letting_go.join();
}

TEST_F(RealCards, OneWithPowerIsKeptFromOtherPrograms) {
    open_with_card();
    OtherProgram other(contact_place, SCARD_SHARE_SHARED);
    EXPECT_EQ(other.result(), SCARD_E_SHARING_VIOLATION);
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
    EXPECT_EQ(power_off(contact), 0);
    OtherProgram later(contact_place, SCARD_SHARE_SHARED);
    EXPECT_EQ(later.result(), SCARD_S_SUCCESS);
}

TEST_F(RealCards, OneThatAnotherProgramHasResetHasNoPowerForUs) {
    set("QUORRIN_PCSC_ACCESS", "shared");
    open_with_card();
    OtherProgram other(contact_place, SCARD_SHARE_SHARED);
    ASSERT_EQ(other.result(), SCARD_S_SUCCESS);
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
    ASSERT_EQ(other.reset_card(), SCARD_S_SUCCESS);
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -3");
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -3");
    EXPECT_EQ(power_on(contact), atr);
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
}

// ---- the service and its readers ----

class RealServiceRestart : public RealCards {
  protected:
    ~RealServiceRestart() override {
        ICC_Reader_Close();
        virtual_readers().stop();
        EXPECT_TRUE(virtual_readers().start(all_readers));
    }
    // The card plugs itself into the readers that are there now.
    void insert_again() {
        pull();
        insert(played);
    }
};

TEST_F(RealServiceRestart, AfterACrashTheNextPowerOnFindsTheCard) {
    open_with_card();
    virtual_readers().kill();
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -11");
    EXPECT_EQ(power_on(contact), "result -11");
    EXPECT_EQ(serial(), "result -11");
    ASSERT_TRUE(virtual_readers().start(all_readers));
    insert_again();
    EXPECT_EQ(power_on(contact), atr);
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
}

TEST_F(RealServiceRestart, BetweenTwoExchangesIsAConnectionErrorOnce) {
    open_with_card();
    virtual_readers().stop();
    ASSERT_TRUE(virtual_readers().start(all_readers));
    insert_again();
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -11");
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -3");
    EXPECT_EQ(power_on(contact), atr);
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
}

TEST_F(RealServiceRestart, BetweenTwoSessionsIsNotNoticed) {
    open_with_card();
    EXPECT_EQ(power_off(contact), 0);
    virtual_readers().stop();
    ASSERT_TRUE(virtual_readers().start(all_readers));
    insert_again();
    EXPECT_EQ(open(), handle);
    EXPECT_EQ(power_on(contact), atr);
    EXPECT_EQ(ICC_Reader_Close(), 0);
    EXPECT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), atr);
}

TEST_F(RealServiceRestart, WithoutTheServiceNothingOpensAndAfterwardsItDoes) {
    virtual_readers().stop();
    EXPECT_EQ(open(), -11);
    EXPECT_EQ(ICC_Reader_Close(), -12);
    ASSERT_TRUE(virtual_readers().start(all_readers));
    open_with_card();
    EXPECT_EQ(send(contact, "80CA9F3600"), "9000");
}

TEST_F(RealServiceRestart, AReaderThatIsGoneIsAConnectionErrorUntilItIsBack) {
    set("QUORRIN_PCSC_CONTACT", contact_place.reader);
    open_with_card();
    const std::vector<ReaderPair> others(all_readers.begin() + 1, all_readers.end());
    virtual_readers().stop();
    ASSERT_TRUE(virtual_readers().start(others));
    EXPECT_EQ(send(contact, "80CA9F3600"), "result -11");
    EXPECT_EQ(power_on(contact), "result -11");
    const auto sam = std::make_shared<PlayedCard>(t0_answer_to_reset);
    const CardInReader in_sam_slot(sam_places[0], sam);
    EXPECT_EQ(power_on(sam1), to_hex(t0_answer_to_reset)) << "the others go on";
    EXPECT_EQ(power_off(sam1), 0);
    virtual_readers().stop();
    ASSERT_TRUE(virtual_readers().start(all_readers));
    insert_again();
    EXPECT_EQ(power_on(contact), atr);
}

}  // namespace
}  // namespace quorrin::test
