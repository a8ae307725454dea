// The six functions: results, buffers, slots and handles.

#include "tests/reader_libraries/simulator/simulator_test.hpp"

namespace quorrin::test {
namespace {

using testing::EndsWith;
using testing::StartsWith;

constexpr const char* one_card_everywhere = R"([reader]
name = "Seven slots"
serial = "SN-7"
[contact]
profile = "own.toml"
[contactless]
profile = "own.toml"
[further]
profile = "own.toml"
[sam1]
profile = "own.toml"
[sam2]
profile = "own.toml"
[sam3]
profile = "own.toml"
[sam4]
profile = "own.toml"
)";

constexpr const char* own_card_in_contact = "[contact]\nprofile = \"own.toml\"\n";

class ReaderFunctions : public SimulatorTest {};

TEST_F(ReaderFunctions, OpenGivesAHandleAndTheName) {
    use("reader.toml", one_card_everywhere);
    GuardedBuffer name(32);
    EXPECT_GT(ICC_Reader_Open(name.text()), 0);
    EXPECT_TRUE(name.holds(join(text_bytes("Seven slots"), hex("00"))));
}

TEST_F(ReaderFunctions, TheLongestNameAndSerialFitWithTheirTerminator) {
    const std::string name_text(31, 'n');
    const std::string serial_text(99, 's');
    use("reader.toml",
        "[reader]\nname = \"" + name_text + "\"\nserial = \"" + serial_text + "\"\n");
    GuardedBuffer name(32);
    handle = ICC_Reader_Open(name.text());
    ASSERT_GT(handle, 0);
    EXPECT_TRUE(name.holds(join(text_bytes(name_text), hex("00"))));
    GuardedBuffer serial(100);
    EXPECT_EQ(ICC_Reader_GetSerial(handle, serial.text()), 0);
    EXPECT_TRUE(serial.holds(join(text_bytes(serial_text), hex("00"))));
}

TEST_F(ReaderFunctions, OpenAgainGivesTheSameHandleUntilClosed) {
    const auto first = open();
    ASSERT_GT(first, 0);
    EXPECT_EQ(open(), first);
    EXPECT_EQ(ICC_Reader_Close(), 0);
    EXPECT_EQ(ICC_Reader_Close(), -12);
    const auto second = open();
    EXPECT_GT(second, 0);
    EXPECT_NE(second, first);
}

TEST_F(ReaderFunctions, PowerOnWritesTheAnswerToResetAndNothingElse) {
    use("reader.toml", own_card_in_contact);
    ASSERT_GT(open(), 0);
    GuardedBuffer atr(512);
    EXPECT_EQ(ICC_Reader_PowerOn(handle, contact, atr.data()), 17);
    EXPECT_TRUE(atr.holds(own_atr));
}

struct SlotCodes {
    int on;
    int off;
};

class EverySlot : public SimulatorTest, public testing::WithParamInterface<SlotCodes> {};

TEST_P(EverySlot, PowersExchangesAndPowersDown) {
    use("reader.toml", one_card_everywhere);
    const auto [on, off] = GetParam();
    ASSERT_GT(open(), 0);
    EXPECT_EQ(send(on, select_application), "result -3");
    EXPECT_EQ(power_on(on), 17);
    EXPECT_THAT(send(on, select_application), testing::AllOf(StartsWith("6F"), EndsWith("9000")));
    EXPECT_EQ(ICC_Reader_PowerOff(handle, off), 0);
    EXPECT_EQ(send(on, select_application), "result -3");
    EXPECT_EQ(ICC_Reader_PowerOff(handle, off), 0);  // nothing left to do
    EXPECT_EQ(power_on(on), 17);
    EXPECT_THAT(send(on, select_application), EndsWith("9000"));
}

TEST_P(EverySlot, WithoutACardSaysSo) {
    use("reader.toml", "[reader]\nname = \"Empty\"\n");
    const auto [on, off] = GetParam();
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(on), -2);
    EXPECT_EQ(send(on, select_application), "result -2");
    EXPECT_EQ(ICC_Reader_PowerOff(handle, off), -2);
}

INSTANTIATE_TEST_SUITE_P(Rows, EverySlot,
                         testing::Values(SlotCodes{0x01, 0x01}, SlotCodes{0x31, 0x03},
                                         SlotCodes{0x02, 0x02}, SlotCodes{0x11, 0x11},
                                         SlotCodes{0x12, 0x12}, SlotCodes{0x13, 0x13},
                                         SlotCodes{0x14, 0x14}),
                         [](const auto& row) {
                             return "Slot" +
                                    to_hex(ByteString{static_cast<std::uint8_t>(row.param.on)});
                         });

TEST_F(ReaderFunctions, DeliberatelyPowerOffOfTheContactlessSlotHasACodeOfItsOwn) {
    use("reader.toml", one_card_everywhere);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contactless), 17);
    EXPECT_EQ(ICC_Reader_PowerOff(handle, contactless), -14);
    EXPECT_EQ(power_on(contactless_off), -14);
    EXPECT_EQ(send(contactless_off, select_application), "result -14");
    EXPECT_THAT(send(contactless, select_application), EndsWith("9000"));  // still under power
    EXPECT_EQ(ICC_Reader_PowerOff(handle, contactless_off), 0);
}

TEST_F(ReaderFunctions, EverySlotCodeThatIsNoneIsRefused) {
    use("reader.toml", one_card_everywhere);
    ASSERT_GT(open(), 0);
    const std::vector<int> on_codes = {0x01, 0x02, 0x31, 0x11, 0x12, 0x13, 0x14};
    const std::vector<int> off_codes = {0x01, 0x02, 0x03, 0x11, 0x12, 0x13, 0x14};
    for (int slot = -2; slot < 0x110; ++slot) {
        const bool on = std::ranges::find(on_codes, slot) != on_codes.end();
        const bool off = std::ranges::find(off_codes, slot) != off_codes.end();
        EXPECT_EQ(power_on(slot), on ? 17 : -14) << slot;
        EXPECT_EQ(send(slot, get_atc) == "result -14", !on) << slot;
        EXPECT_EQ(ICC_Reader_PowerOff(handle, slot), off ? 0 : -14) << slot;
    }
}

TEST_F(ReaderFunctions, SlotsAreIndependent) {
    use("reader.toml", one_card_everywhere);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    EXPECT_EQ(power_on(0x12), 17);
    EXPECT_THAT(send(0x12, select_application), EndsWith("9000"));
    EXPECT_EQ(ICC_Reader_PowerOff(handle, contact), 0);
    EXPECT_EQ(send(contact, get_atc), "result -3");
    EXPECT_EQ(send(0x12, get_atc), "9F360200039000");
}

TEST_F(ReaderFunctions, WithoutAnOpenReaderNothingIsConnected) {
    GuardedBuffer atr(512);
    GuardedBuffer serial(100);
    for (const std::int64_t any : {0, 1, -1, 77}) {
        EXPECT_EQ(ICC_Reader_PowerOn(any, contact, atr.data()), -12);
        EXPECT_EQ(ICC_Reader_PowerOff(any, contact), -12);
        EXPECT_EQ(ICC_Reader_GetSerial(any, serial.text()), -12);
        handle = any;
        EXPECT_EQ(send(contact, select_application), "result -12");
    }
    EXPECT_TRUE(atr.untouched());
    EXPECT_TRUE(serial.untouched());
}

TEST_F(ReaderFunctions, AForeignHandleIsRefused) {
    use("reader.toml", one_card_everywhere);
    const auto right = open();
    ASSERT_GT(right, 0);
    EXPECT_EQ(power_on(contact), 17);
    GuardedBuffer atr(512);
    GuardedBuffer serial(100);
    for (const auto foreign :
         {std::int64_t{0}, right + 1, -right, right + (std::int64_t{1} << 32)}) {
        EXPECT_EQ(ICC_Reader_PowerOn(foreign, contact, atr.data()), -14);
        EXPECT_EQ(ICC_Reader_PowerOff(foreign, contact), -14);
        EXPECT_EQ(ICC_Reader_GetSerial(foreign, serial.text()), -14);
        handle = foreign;
        EXPECT_EQ(send(contact, select_application), "result -14");
    }
    EXPECT_TRUE(atr.untouched());
    EXPECT_TRUE(serial.untouched());
    handle = right;
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
}

TEST_F(ReaderFunctions, NullPointersAreRefused) {
    use("reader.toml", one_card_everywhere);
    EXPECT_EQ(ICC_Reader_Open(nullptr), -14);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(ICC_Reader_PowerOn(handle, contact, nullptr), -14);
    EXPECT_EQ(ICC_Reader_GetSerial(handle, nullptr), -14);
    EXPECT_EQ(power_on(contact), 17);
    std::uint8_t buffer[1024] = {};
    EXPECT_EQ(ICC_Reader_Application(handle, contact, 5, nullptr, buffer), -14);
    EXPECT_EQ(ICC_Reader_Application(handle, contact, 5, buffer, nullptr), -14);
}

TEST_F(ReaderFunctions, CommandsOf4To261BytesReachTheCard) {
    use("reader.toml", one_card_everywhere);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    std::uint8_t response[1024] = {};
    ByteString command = join(hex("00 FF 00 00 FF"), filled(257, 0x00));
    for (const std::int64_t length : {4, 5, 260, 261}) {
        EXPECT_EQ(ICC_Reader_Application(handle, contact, length, command.data(), response), 2)
            << length;
    }
    for (const std::int64_t length : {-1LL, 0LL, 3LL, 262LL, 1LL << 40}) {
        EXPECT_EQ(ICC_Reader_Application(handle, contact, length, command.data(), response), -14)
            << length;
    }
}

TEST_F(ReaderFunctions, ClosingTakesThePowerFromEverySlot) {
    use("reader.toml", one_card_everywhere);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    EXPECT_EQ(power_on(contactless), 17);
    EXPECT_EQ(ICC_Reader_Close(), 0);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(send(contact, select_application), "result -3");
    EXPECT_EQ(send(contactless, select_application), "result -3");
}

TEST_F(ReaderFunctions, WithoutAReaderFileDebitCardsAreInBothUserSlots) {
    // What the shipped profile has to say, to compare with.
    use("reader.toml", "[contact]\nprofile = \"profiles/debit.toml\"\n");
    ASSERT_GT(open(), 0);
    ByteString atr(512);
    const auto atr_length = ICC_Reader_PowerOn(handle, contact, atr.data());
    ASSERT_GT(atr_length, 0);
    atr.resize(static_cast<std::size_t>(atr_length));
    const std::string selected = send(contact, select_application);
    ASSERT_THAT(selected, EndsWith("9000"));
    const std::string atc = send(contact, get_atc);
    ICC_Reader_Close();

    for (const bool variable_is_set : {false, true}) {
        if (variable_is_set) {
            use("");
        } else {
            unsetenv("QUORRIN_SIMULATOR");
        }
        ASSERT_GT(open(), 0);
        for (const int slot : {contact, contactless}) {
            GuardedBuffer same_atr(512);
            EXPECT_EQ(ICC_Reader_PowerOn(handle, slot, same_atr.data()), atr_length);
            EXPECT_TRUE(same_atr.holds(atr));
            EXPECT_EQ(send(slot, select_application), selected);
            EXPECT_EQ(send(slot, get_atc), atc);
        }
        for (const int empty : {0x02, 0x11, 0x12, 0x13, 0x14}) {
            EXPECT_EQ(power_on(empty), -2);
        }
        GuardedBuffer serial(100);
        EXPECT_EQ(ICC_Reader_GetSerial(handle, serial.text()), 0);
        EXPECT_TRUE(serial.holds(join(text_bytes("SIM00000001"), hex("00"))));
        ICC_Reader_Close();
    }
}

// The application transaction counter after GET PROCESSING OPTIONS has moved it on by one.
class CardState : public SimulatorTest {
  protected:
    std::string atc_after_a_transaction() {
        EXPECT_GT(open(), 0);
        EXPECT_EQ(power_on(contact), 17);
        EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
        EXPECT_THAT(send(contact, "80 A8 00 00 02 83 00 00"), EndsWith("9000"));
        std::string atc = send(contact, get_atc);
        ICC_Reader_Close();
        return atc;
    }
};

TEST_F(CardState, OutlivesCloseAndOpenWhileTheFilesSayTheSame) {
    use("reader.toml", own_card_in_contact);
    EXPECT_EQ(atc_after_a_transaction(), "9F360200049000");
    EXPECT_EQ(atc_after_a_transaction(), "9F360200059000");
}

TEST_F(CardState, StartsAfreshWithAnotherReaderFileOrProfile) {
    use("reader.toml", own_card_in_contact);
    EXPECT_EQ(atc_after_a_transaction(), "9F360200049000");
    use("reader.toml", std::string(own_card_in_contact) + "# the same card\n");
    EXPECT_EQ(atc_after_a_transaction(), "9F360200049000");
    std::ofstream("own.toml", std::ios::app) << "\n# changed\n";
    EXPECT_EQ(atc_after_a_transaction(), "9F360200049000");
    use("other.toml", own_card_in_contact);
    EXPECT_EQ(atc_after_a_transaction(), "9F360200049000");
}

TEST_F(CardState, OutlivesAnOpenThatFailed) {
    use("reader.toml", own_card_in_contact);
    EXPECT_EQ(atc_after_a_transaction(), "9F360200049000");
    use("missing.toml");
    EXPECT_EQ(open(), -11);
    use("reader.toml");
    EXPECT_EQ(atc_after_a_transaction(), "9F360200059000");
}

TEST_F(CardState, AnOpenReaderDoesNotReadItsFileAgain) {
    use("reader.toml", own_card_in_contact);
    ASSERT_GT(open(), 0);
    use("missing.toml");
    EXPECT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
}

}  // namespace
}  // namespace quorrin::test
