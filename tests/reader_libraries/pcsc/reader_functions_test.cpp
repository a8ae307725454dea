// What the six functions do with a reader that works.

#include <cstring>

#include "tests/reader_libraries/pcsc/fake_pcsc_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PcscReaderFunctions : public FakePcscTest {};

TEST_F(PcscReaderFunctions, OpenReportsTheContactReader) {
    GuardedBuffer name(32);
    const std::int64_t opened = ICC_Reader_Open(name.text());
    EXPECT_GT(opened, 0);
    EXPECT_TRUE(name.holds_text(std::string("Desk Reader 00 00") + '\0'));
    GuardedBuffer again(32);
    EXPECT_EQ(ICC_Reader_Open(again.text()), opened) << "open already";
    EXPECT_TRUE(again.holds_text(std::string("Desk Reader 00 00") + '\0'));
}

TEST_F(PcscReaderFunctions, OpenReportsAnotherReaderWhereThereIsNoneForContact) {
    set("QUORRIN_PCSC_CONTACT", "none");
    GuardedBuffer name(32);
    EXPECT_GT(ICC_Reader_Open(name.text()), 0);
    EXPECT_TRUE(name.holds_text(std::string("Desk Reader NFC 00 01") + '\0'));
}

struct Name {
    const char* what;
    std::string reader;
    std::string reported;
};

class ReaderName : public FakePcscTest, public testing::WithParamInterface<Name> {};

TEST_P(ReaderName, IsCutOnACharactersBorder) {
    fake.readers = {{.name = GetParam().reader}};
    GuardedBuffer name(32);
    EXPECT_GT(ICC_Reader_Open(name.text()), 0);
    EXPECT_TRUE(name.holds_text(GetParam().reported + '\0'));
}

INSTANTIATE_TEST_SUITE_P(
    Names, ReaderName,
    testing::Values(
        Name{"Fits", std::string(31, 'a'), std::string(31, 'a')},
        Name{"OneTooMany", std::string(32, 'a'), std::string(31, 'a')},
        Name{"AsLongAsTheyGet", std::string(127, 'a'), std::string(31, 'a')},
        Name{"TwoBytesAcross", std::string(30, 'a') + "\u00FC 00 00", std::string(30, 'a')},
        Name{"TwoBytesBefore", std::string(29, 'a') + "\u00FC 00 00",
             std::string(29, 'a') + "\u00FC"},
        Name{"ThreeBytesAcross", std::string(29, 'a') + "\u8BFB 00 00", std::string(29, 'a')},
        Name{"FourBytesAcross", std::string(28, 'a') + "\U0001F4B3 00 00", std::string(28, 'a')},
        Name{"BytesThatContinueNothing", std::string(40, '\x80'), ""}),
    [](const auto& row) { return std::string(row.param.what); });

TEST_F(PcscReaderFunctions, PowerOnAlwaysStartsTheCardFromCold) {
    ASSERT_GT(open(), 0);
    fake.calls.clear();
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_THAT(fake.calls,
                ElementsAre("connect Desk Reader 00 00 exclusive", "reconnect exclusive unpower"));
    fake.calls.clear();
    EXPECT_EQ(power_on(contact), "3B00") << "a card that has power";
    EXPECT_THAT(fake.calls, ElementsAre("reconnect exclusive unpower"));
}

TEST_F(PcscReaderFunctions, EachSlotPowersItsOwnReader) {
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(power_on(contactless), "3B0131");
    EXPECT_EQ(power_on(sam1), "3B0111");
    for (const int empty : {mas, 0x12, 0x13, 0x14}) {
        EXPECT_EQ(power_on(empty), "result -2") << empty;
        EXPECT_EQ(send(empty, some_command), "result -2") << empty;
        EXPECT_EQ(power_off(empty), -2) << empty;
    }
}

TEST_F(PcscReaderFunctions, PowerOffTakesThePowerUnderEitherContactlessCode) {
    ASSERT_GT(open(), 0);
    for (const int code : {contactless_off, contactless}) {
        ASSERT_EQ(power_on(contactless), "3B0131");
        fake.calls.clear();
        EXPECT_EQ(power_off(code), 0) << code;
        EXPECT_THAT(fake.calls, ElementsAre("disconnect unpower"));
        EXPECT_EQ(send(contactless, some_command), "result -3");
        EXPECT_EQ(power_off(code), 0) << "a card without power";
    }
    EXPECT_EQ(power_on(contactless_off), "result -14") << "a code for power-off alone";
}

TEST_F(PcscReaderFunctions, CloseTakesThePowerFromEveryCard) {
    ASSERT_GT(open(), 0);
    ASSERT_EQ(power_on(contact), "3B00");
    ASSERT_EQ(power_on(sam1), "3B0111");
    fake.calls.clear();
    EXPECT_EQ(ICC_Reader_Close(), 0);
    EXPECT_THAT(fake.calls, ElementsAre("disconnect unpower", "disconnect unpower", "release"));
    EXPECT_EQ(ICC_Reader_Close(), -12);
}

TEST_F(PcscReaderFunctions, SharedAccessLeavesTheReaderToOthersToo) {
    set("QUORRIN_PCSC_ACCESS", "shared");
    ASSERT_GT(open(), 0);
    fake.calls.clear();
    fake.reader("Desk Reader 00 00").held = SCARD_STATE_INUSE;
    fake.reader("Desk Reader 00 00").until = std::chrono::hours(1);
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_THAT(fake.calls,
                ElementsAre("connect Desk Reader 00 00 shared", "reconnect shared unpower"));
}

TEST_F(PcscReaderFunctions, TwoSlotsCanShareAReader) {
    set("QUORRIN_PCSC_CONTACT", "#0");
    set("QUORRIN_PCSC_CONTACTLESS", "#0");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(power_on(contactless), "3B00");
    EXPECT_EQ(send(contactless, some_command), "9000");
    EXPECT_EQ(send(contact, some_command), "result -3") << "the card is in the other slot now";
}

// ---- exchange ----

struct Framing {
    const char* what;
    DWORD protocol;
    const char* command;
    const char* sent;
};

class CommandFraming : public FakePcscTest, public testing::WithParamInterface<Framing> {};

TEST_P(CommandFraming, FitsTheProtocol) {
    fake.reader("Desk Reader 00 00").protocol = GetParam().protocol;
    open_with_card();
    EXPECT_EQ(send(contact, GetParam().command), "9000");
    EXPECT_EQ(to_hex(std::span(fake.command).first(fake.command_length)), GetParam().sent);
    EXPECT_EQ(fake.command_protocol, GetParam().protocol);
}

// The cases of ISO 7816-3, 12.1.3: header; Le; data; data and Le.
constexpr Framing framings[] = {
    {"T0Case1", SCARD_PROTOCOL_T0, "80CA9F36", "80CA9F36"},
    {"T0Case2", SCARD_PROTOCOL_T0, "80CA9F3600", "80CA9F3600"},
    {"T0Case3", SCARD_PROTOCOL_T0, "8088000002ABCD", "8088000002ABCD"},
    {"T0Case4WithoutItsLe", SCARD_PROTOCOL_T0, "8088000002ABCD00", "8088000002ABCD"},
    {"T0Case4WithoutData", SCARD_PROTOCOL_T0, "00A404000000", "00A4040000"},
    {"T0MoreThanDataAndLe", SCARD_PROTOCOL_T0, "8088000002ABCDEF00", "8088000002ABCDEF00"},
    {"T1Case1", SCARD_PROTOCOL_T1, "80CA9F36", "80CA9F36"},
    {"T1Case4", SCARD_PROTOCOL_T1, "8088000002ABCD00", "8088000002ABCD00"},
    {"T1Case4WithoutData", SCARD_PROTOCOL_T1, "00A404000000", "00A404000000"},
};

INSTANTIATE_TEST_SUITE_P(Commands, CommandFraming, testing::ValuesIn(framings),
                         [](const auto& row) { return std::string(row.param.what); });

TEST_F(PcscReaderFunctions, TheLongestCommandPassesOverBothProtocols) {
    const std::string command = "0020008" + std::string("0FF") + std::string(510, '7') + "00";
    open_with_card();
    EXPECT_EQ(send(contact, command), "9000");
    EXPECT_EQ(fake.command_length, 261U);
    fake.reader("Desk Reader 00 00").protocol = SCARD_PROTOCOL_T0;
    ASSERT_EQ(power_on(contact), "3B00");
    EXPECT_EQ(send(contact, command), "9000");
    EXPECT_EQ(fake.command_length, 260U);
}

TEST_F(PcscReaderFunctions, AnnouncedDataAndWrongLengthsGoUpUnchanged) {
    open_with_card();
    fake.answer = [](std::span<const std::uint8_t>, std::uint8_t* answer, DWORD* length) -> LONG {
        answer[0] = 0x61;
        answer[1] = 0x1A;
        *length = 2;
        return SCARD_S_SUCCESS;
    };
    EXPECT_EQ(send(contact, some_command), "611A");
    fake.answer = [](std::span<const std::uint8_t>, std::uint8_t* answer, DWORD* length) -> LONG {
        answer[0] = 0x6C;
        answer[1] = 0x05;
        *length = 2;
        return SCARD_S_SUCCESS;
    };
    EXPECT_EQ(send(contact, some_command), "6C05");
}

// ---- 61xx without an end ----

LONG announce_for_ever(std::span<const std::uint8_t>, std::uint8_t* answer, DWORD* length) {
    answer[0] = 0x61;
    answer[1] = 0x10;
    *length = 2;
    return SCARD_S_SUCCESS;
}

constexpr const char* get_response = "00C0000010";

TEST_F(PcscReaderFunctions, The64thEmptyAnnouncementCountsAsNoAnswer) {
    open_with_card();
    fake.answer = announce_for_ever;
    EXPECT_EQ(send(contact, some_command), "6110");
    for (int i = 2; i <= 63; ++i) {
        ASSERT_EQ(send(contact, get_response), "6110") << i;
    }
    EXPECT_EQ(send(contact, get_response), "result -4");
    EXPECT_EQ(send(contact, get_response), "6110") << "a new count";
}

TEST_F(PcscReaderFunctions, DataOrAnotherCommandBeginTheCountAnew) {
    open_with_card();
    const auto announce = [&](int times) {
        fake.answer = announce_for_ever;
        for (int i = 0; i < times; ++i) {
            ASSERT_EQ(send(contact, get_response), "6110") << i;
        }
    };
    announce(63);
    EXPECT_EQ(send(contact, some_command), "6110") << "the host's own next command";
    announce(62);
    fake.answer = [](std::span<const std::uint8_t>, std::uint8_t* answer, DWORD* length) -> LONG {
        std::memcpy(answer, "\xAB\x61\x10", 3);
        *length = 3;
        return SCARD_S_SUCCESS;
    };
    EXPECT_EQ(send(contact, get_response), "AB6110") << "a byte of data";
    announce(63);
    fake.answer = answer_done;
    EXPECT_EQ(send(contact, get_response), "9000") << "the end";
    announce(63);
    ASSERT_EQ(power_on(contact), "3B00");
    announce(63);
    EXPECT_EQ(send(contact, get_response), "result -4");
}

// ---- serial number ----

TEST_F(PcscReaderFunctions, TheSerialNumberIsTheReadersAttribute) {
    fake.reader("Desk Reader 00 00").serial = text_bytes("SN-4711");
    ASSERT_GT(open(), 0);
    fake.calls.clear();
    EXPECT_EQ(serial(), "SN-4711");
    EXPECT_THAT(fake.calls, ElementsAre("connect Desk Reader 00 00 direct", "disconnect leave"));
    ASSERT_EQ(power_on(contact), "3B00");
    fake.calls.clear();
    EXPECT_EQ(serial(), "SN-4711");
    EXPECT_THAT(fake.calls, IsEmpty()) << "over the card's connection";
}

TEST_F(PcscReaderFunctions, TheSerialNumberEndsAtAZeroByteAndFitsItsRoom) {
    ASSERT_GT(open(), 0);
    fake.reader("Desk Reader 00 00").serial = join(text_bytes("0042"), ByteString{0, 0x41, 0});
    EXPECT_EQ(serial(), "0042");
    fake.reader("Desk Reader 00 00").serial = filled(264, 'S');
    EXPECT_EQ(serial(), std::string(99, 'S'));
}

TEST_F(PcscReaderFunctions, TheSerialNumberIsElseTakenFromTheReadersName) {
    fake.readers = {{.name = "Maker Reader [CCID Interface] (OU0123) 00 00"}};
    ASSERT_GT(open(), 0);
    EXPECT_EQ(serial(), "OU0123");
    fake.readers = {{.name = "Maker Reader (never closed 00 00"}};
    EXPECT_EQ(serial(), "result -13");
    fake.readers = {{.name = "Maker Reader () 00 00"}};
    EXPECT_EQ(serial(), "result -13");
    fake.readers = {{.name = "Maker Reader 00 00"}};
    EXPECT_EQ(serial(), "result -13");
    next_result("Connect", SCARD_E_SHARING_VIOLATION);
    EXPECT_EQ(serial(), "result -11") << "it may have one";
}

// ---- arguments ----

TEST_F(PcscReaderFunctions, NothingWorksBeforeOpen) {
    for (const std::int64_t any : {0, 1, -1}) {
        handle = any;
        EXPECT_EQ(power_on(contact), "result -12");
        EXPECT_EQ(power_off(contact), -12);
        EXPECT_EQ(send(contact, some_command), "result -12");
        EXPECT_EQ(serial(), "result -12");
    }
    EXPECT_EQ(ICC_Reader_Close(), -12);
    EXPECT_THAT(fake.calls, IsEmpty());
}

TEST_F(PcscReaderFunctions, AHandleOfAnEarlierOpenIsWorthNothing) {
    ASSERT_GT(open(), 0);
    const std::int64_t earlier = handle;
    ASSERT_EQ(ICC_Reader_Close(), 0);
    ASSERT_GT(open(), 0);
    EXPECT_NE(handle, earlier);
    handle = earlier;
    EXPECT_EQ(power_on(contact), "result -12");
    EXPECT_EQ(send(contact, some_command), "result -12");
    EXPECT_EQ(serial(), "result -12");
}

TEST_F(PcscReaderFunctions, WrongArgumentsAreRefused) {
    EXPECT_EQ(ICC_Reader_Open(nullptr), -14);
    open_with_card();
    for (const int unknown : {0, 3, 4, 0x10, 0x15, 0x55, 0x131, -1}) {
        EXPECT_EQ(power_on(unknown), "result -14") << unknown;
        EXPECT_EQ(send(unknown, some_command), "result -14") << unknown;
        EXPECT_EQ(power_off(unknown), unknown == contactless_off ? 0 : -14) << unknown;
    }
    EXPECT_EQ(ICC_Reader_PowerOn(handle, contact, nullptr), -14);
    EXPECT_EQ(ICC_Reader_GetSerial(handle, nullptr), -14);
    std::uint8_t command[262] = {};
    std::uint8_t response[1024];
    for (const std::int64_t length : {INT64_MIN, std::int64_t{-1}, std::int64_t{0}, std::int64_t{3},
                                      std::int64_t{262}, INT64_MAX}) {
        EXPECT_EQ(ICC_Reader_Application(handle, contact, length, command, response), -14)
            << length;
    }
    EXPECT_EQ(ICC_Reader_Application(handle, contact, 5, nullptr, response), -14);
    EXPECT_EQ(ICC_Reader_Application(handle, contact, 5, command, nullptr), -14);
    EXPECT_THAT(fake.calls, IsEmpty());
}

}  // namespace
}  // namespace quorrin::test
