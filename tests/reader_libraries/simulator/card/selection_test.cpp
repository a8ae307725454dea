// SELECT and the directories.
#include "tests/reader_libraries/simulator/card/test_profile.hpp"

namespace quorrin::test {
namespace {

class CardSelection : public CardTest {};

TEST_F(CardSelection, AnswersToResetAndIsMuteWithoutPower) {
    EXPECT_EQ(terminal.card().power_on(), hex("3B00"));
    terminal.card().power_off();
    EXPECT_EQ(terminal.card().transmit(hex("00A4040000")), ByteString{});
}

TEST_F(CardSelection, GivesTheContactDirectoryRecordByRecord) {
    const auto pse = terminal.select(text_bytes("1PAY.SYS.DDF01"));
    EXPECT_EQ(pse.status, 0x9000U);
    EXPECT_EQ(to_hex(pse.data), "6F1A840E315041592E5359532E4444463031A5088801015F2D027A68");
    EXPECT_EQ(to_hex(terminal.send("00B2010C00").data),
              "701661144F08A00000033301010150054649525354870101");
    EXPECT_EQ(to_hex(terminal.send("00B2020C00").data),
              "701461124F08A00000033301010250065345434F4E44");
    EXPECT_EQ(terminal.send("00B2030C00").status, 0x6A83U);
    EXPECT_EQ(terminal.send("00B2011400").status, 0x6A82U);
    EXPECT_EQ(terminal.select(text_bytes("2PAY.SYS.DDF01")).status, 0x6A82U);
}

TEST_F(CardSelection, GivesTheContactlessDirectoryInItsControlInformation) {
    Terminal contactless(card_of(changed(test_profile(), "[keys]", "ppse = true\n[keys]")));
    const auto ppse = contactless.select(text_bytes("2PAY.SYS.DDF01"));
    EXPECT_EQ(ppse.status, 0x9000U);
    EXPECT_EQ(to_hex(ppse.data),
              "6F3F840E325041592E5359532E4444463031A52DBF0C2A"
              "61144F08A00000033301010150054649525354870101"
              "61124F08A00000033301010250065345434F4E44");
    EXPECT_EQ(contactless.send("00B2010C00").status, 0x6985U);
}

TEST_F(CardSelection, DescribesTheApplication) {
    const auto application = terminal.select(first_aid);
    EXPECT_EQ(application.status, 0x9000U);
    EXPECT_EQ(to_hex(application.data),
              "6F2C8408A000000333010101A520"
              "50054649525354"
              "870101"
              "9F38069F7A019F0206"
              "BF0C0A9F4D020B02DF4D020C02");
}

TEST_F(CardSelection, FindsByPartOfTheNameAndGoesOnToTheNextOccurrence) {
    const ByteString part = hex("A000000333");
    EXPECT_EQ(expect_element(terminal.select(part).data, "84"), first_aid);
    EXPECT_EQ(expect_element(terminal.select(part, 0x02).data, "84"), second_aid);
    EXPECT_EQ(terminal.select(part, 0x02).status, 0x6A82U);
    EXPECT_EQ(expect_element(terminal.select(part, 0x00).data, "84"), first_aid);
    EXPECT_EQ(expect_element(terminal.select(second_aid).data, "84"), second_aid);
}

TEST_F(CardSelection, KeepsTheSelectionWhenSelectFails) {
    terminal.select(first_aid);
    EXPECT_EQ(terminal.select(hex("A000000333010101FF")).status, 0x6A82U);
    EXPECT_EQ(terminal.select(hex("A00000033301010A")).status, 0x6A82U);
    EXPECT_EQ(terminal.send("00B2010C00").status, 0x9000U);
}

TEST_F(CardSelection, EndsWithPower) {
    terminal.select(first_aid);
    terminal.card().power_off();
    terminal.card().power_on();
    EXPECT_EQ(terminal.send("00B2010C00").status, 0x6985U);
}

TEST_F(CardSelection, ReadsRecordsByNumber) {
    terminal.select(first_aid);
    EXPECT_EQ(to_hex(terminal.send("00B2010C00").data),
              "701A5A0899990100000000115F3401015F2009544553542F43415244");
    EXPECT_EQ(terminal.send("00B2011C00").status, 0x9000U);
    EXPECT_EQ(terminal.send("00B2030C00").status, 0x6A83U);
    EXPECT_EQ(terminal.send("00B2011400").status, 0x6A82U);
    EXPECT_EQ(terminal.send("00B2000C00").status, 0x6A86U);
    EXPECT_EQ(terminal.send("00B2010D00").status, 0x6A86U);
}

struct Refusal {
    const char* command;
    unsigned status;
};

class RefusedCommand : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedCommand, IsAnsweredByItsStatusWordAlone) {
    Terminal terminal(card_of(test_profile()));
    terminal.select(first_aid);
    const auto reply = terminal.send(GetParam().command);
    EXPECT_EQ(reply.status, GetParam().status);
    EXPECT_EQ(reply.data, ByteString{});
}

INSTANTIATE_TEST_SUITE_P(
    Malformed, RefusedCommand,
    testing::Values(Refusal{"", 0x6700}, Refusal{"00A404", 0x6700},
                    Refusal{"00A4040005A0", 0x6700},      // data cut off
                    Refusal{"00A4040001A00000", 0x6700},  // and too long
                    Refusal{"00A40400FF", 0x6700},        // an Le, no name
                    Refusal{"00A404000000", 0x6A82},      // an empty name
                    Refusal{"00A4040011 00000000 00000000 00000000 00000000 00", 0x6700},
                    Refusal{"00A4000002 3F00", 0x6A86},  // by identifier
                    Refusal{"00A4040105 A000000333", 0x6A86},
                    Refusal{"00B2010C 01 00", 0x6700},  // data with READ RECORD
                    Refusal{"00D00000", 0x6D00}, Refusal{"80A4040000", 0x6D00},
                    Refusal{"84A8000000", 0x6D00}, Refusal{"90A8000000", 0x6E00},
                    Refusal{"FFFFFFFF", 0x6E00}));

INSTANTIATE_TEST_SUITE_P(WrongState, RefusedCommand,
                         testing::Values(Refusal{"80AE8000", 0x6985},
                                         Refusal{"008200000A 00000000 00000000 3030", 0x6985},
                                         Refusal{"841E000004 00000000", 0x6985},
                                         Refusal{"04DA9F7904 00000000", 0x6985}));

INSTANTIATE_TEST_SUITE_P(
    WrongData, RefusedCommand,
    testing::Values(Refusal{"80A80000", 0x6A80}, Refusal{"80A8000002 8300", 0x6700},
                    Refusal{"80A8000002 8301", 0x6A80}, Refusal{"80A8000003 810100", 0x6A80},
                    Refusal{"80A8000004 8300 8300", 0x6A80}, Refusal{"80A8000100", 0x6A86},
                    Refusal{"80CA9F99", 0x6A88}, Refusal{"80CA9F7901 00", 0x6700},
                    Refusal{"0084000100", 0x6A86}, Refusal{"0082000100", 0x6A86}));

TEST(CardCommands, OfAnyLengthAndContentAreAnswered) {
    Terminal terminal(card_of(test_profile()));
    std::uint32_t state = 1;  // a fixed sequence
    const auto next = [&] {
        return static_cast<std::uint8_t>((state = state * 1103515245U + 12345U) >> 16);
    };
    const ByteString classes = hex("00048084");
    const ByteString instructions = hex("16181E20248284A4A8AEB2CADADC");
    for (int i = 0; i < 20000; ++i) {
        if (i % 64 == 0) {
            terminal.select(first_aid);
        }
        ByteString command(next() % 40);
        for (auto& byte : command) {
            byte = next();
        }
        if (command.size() > 4) {
            command[0] = classes[next() % classes.size()];
            command[1] = instructions[next() % instructions.size()];
            command[2] &= 0x81;
            command[3] &= 0x9F;
            if (i % 2 == 0) {
                command[4] = static_cast<std::uint8_t>(command.size() - 5);
            }
        }
        const ByteString answer = terminal.card().transmit(command);
        ASSERT_GE(answer.size(), 2U) << to_hex(command);
        ASSERT_LE(answer.size(), 258U) << to_hex(command);
    }
}

}  // namespace
}  // namespace quorrin::test
