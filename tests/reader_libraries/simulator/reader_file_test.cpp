// Reader files that are wrong: the code that the host gets and the one line that a person gets.

#include "tests/reader_libraries/simulator/simulator_test.hpp"

namespace quorrin::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class ReaderFile : public SimulatorTest {
  protected:
    // The line that opening writes, for a result that must come with one.
    static std::string refusal(std::int64_t result) {
        testing::internal::CaptureStderr();
        GuardedBuffer name(32);
        EXPECT_EQ(ICC_Reader_Open(name.text()), result);
        EXPECT_TRUE(name.untouched());
        std::string line = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::ranges::count(line, '\n'), 1) << line;
        EXPECT_THAT(line, AllOf(StartsWith("libquorrin-simulator: "), EndsWith("\n")));
        EXPECT_EQ(ICC_Reader_Close(), -12);
        return line;
    }
};

TEST_F(ReaderFile, MissingIsAConnectionError) {
    use("none.toml");
    EXPECT_EQ(refusal(-11),
              "libquorrin-simulator: none.toml: QUORRIN_SIMULATOR: cannot be read: No such file or "
              "directory\n");
}

TEST_F(ReaderFile, ADirectoryIsAConnectionError) {
    use("profiles");
    EXPECT_EQ(refusal(-11), "libquorrin-simulator: profiles: QUORRIN_SIMULATOR: is a directory\n");
}

TEST_F(ReaderFile, NotTomlNamesTheLine) {
    use("reader.toml", "[reader]\nname = Desk 4\n");
    EXPECT_THAT(refusal(-14),
                StartsWith("libquorrin-simulator: reader.toml: line 2: is not TOML: "));
}

TEST_F(ReaderFile, BytesThatAreNoTextAreNotToml) {
    use("reader.toml", std::string_view("\x7F"
                                        "ELF\x02\x01\0\0\xFF\xFE",
                                        10));
    EXPECT_THAT(refusal(-14), HasSubstr("is not TOML: "));
}

TEST_F(ReaderFile, AMissingProfileIsAWrongField) {
    use("reader.toml", "[sam2]\nprofile = \"profiles/none.toml\"\n");
    EXPECT_EQ(refusal(-14),
              "libquorrin-simulator: reader.toml: line 2: sam2.profile: profiles/none.toml: cannot "
              "be read: No such file or directory\n");
}

TEST_F(ReaderFile, AWrongFieldInAProfileNamesTheProfile) {
    directory.write("profiles/bad.toml", "name = \"bad\"\natr = \"3B 0\"\n");
    use("reader.toml", "[contact]\nprofile = \"profiles/bad.toml\"\n");
    EXPECT_THAT(refusal(-14), StartsWith("libquorrin-simulator: profiles/bad.toml: line 2: atr: "));
}

TEST_F(ReaderFile, ACardProfileInItsPlaceIsRecognised) {
    use("own.toml");
    EXPECT_EQ(
        refusal(-14),
        "libquorrin-simulator: own.toml: line 1: is a card profile, no reader file: name it as "
        "the profile of a slot\n");
}

TEST_F(ReaderFile, InThePlaceOfAProfileIsRecognised) {
    directory.write("other.toml", "[contact]\nprofile = \"own.toml\"\n");
    use("reader.toml", "[contact]\nprofile = \"other.toml\"\n");
    EXPECT_EQ(
        refusal(-14),
        "libquorrin-simulator: other.toml: line 1: contact: belongs into a reader file: a card "
        "profile has name, atr, keys\n");
}

TEST_F(ReaderFile, AStateThatCannotBeKeptNamesTheProfile) {
    directory.write("kept.toml", "state = \"profiles\"\n" + std::string(own_card));
    use("reader.toml", "[contact]\nprofile = \"kept.toml\"\n");
    EXPECT_EQ(refusal(-14),
              "libquorrin-simulator: kept.toml: line 1: state: profiles is a directory\n");
}

TEST_F(ReaderFile, AnErrorInAStateFileNamesTheStateFile) {
    directory.write("kept.toml", "state = \"card.state\"\n" + std::string(own_card));
    directory.write("card.state", "card_blocked = false\n[*x]\n");
    use("reader.toml", "[contact]\nprofile = \"kept.toml\"\n");
    EXPECT_EQ(refusal(-14),
              "libquorrin-simulator: card.state: line 2: is not TOML: a table's header that is "
              "none\n");
}

TEST_F(ReaderFile, WithATableHeaderThatIsNoneNamesItsLine) {
    for (const char* header : {"[ü]", "[", "[=]", "[.a]", "[*x]", "[[[a]]]", "[\"\n", "[[=]]"}) {
        use("reader.toml", "[reader]\nname = \"x\"\n\n" + std::string(header));
        EXPECT_THAT(refusal(-14),
                    StartsWith("libquorrin-simulator: reader.toml: line 4: is not TOML: "))
            << header;
    }
}

TEST_F(ReaderFile, NestedOrLargeBeyondReasonIsRefused) {
    std::string deep = "a";
    for (int i = 0; i < 100000; ++i) {
        deep += ".a";
    }
    use("reader.toml", "\n[" + deep + "]\n");
    EXPECT_EQ(refusal(-14),
              "libquorrin-simulator: reader.toml: line 2: has more than 64 dots in one line\n");
    use("reader.toml", "a = " + std::string(100000, '[') + "\n");
    EXPECT_THAT(refusal(-14),
                StartsWith("libquorrin-simulator: reader.toml: line 1: is not TOML: "));
    use("/dev/zero");
    EXPECT_EQ(refusal(-14), "libquorrin-simulator: /dev/zero: has more than 1 MiB\n");
}

TEST_F(ReaderFile, AWrongFieldOfACardInPlaceNamesTheReaderFile) {
    use("reader.toml", "[contact.card]\nname = \"bad\"\natr = \"3B 0\"\n");
    EXPECT_THAT(refusal(-14),
                StartsWith("libquorrin-simulator: reader.toml: line 3: contact.card.atr: "));
}

TEST_F(ReaderFile, ProfilesAreLookedForBesideTheReaderFile) {
    std::filesystem::create_directory("elsewhere");
    use("elsewhere/reader.toml", "[contact]\nprofile = \"../own.toml\"\n");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    ICC_Reader_Close();
    use((directory.path() / "elsewhere/reader.toml").string());
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
}

TEST_F(ReaderFile, AnEmptyOneIsAReaderWithEmptySlots) {
    use("reader.toml", "");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), -2);
    EXPECT_EQ(power_on(contactless), -2);
}

struct WrongField {
    const char* name;
    const char* text;
    const char* line;  // from the line number on
};

class WrongFieldTest : public ReaderFile, public testing::WithParamInterface<WrongField> {};

TEST_P(WrongFieldTest, IsRefusedWithOneLine) {
    use("reader.toml", GetParam().text);
    EXPECT_EQ(refusal(-14),
              std::string("libquorrin-simulator: reader.toml: line ") + GetParam().line + "\n");
}

#define CONTACT "[contact]\nprofile = \"own.toml\"\n"
#define FAULT CONTACT "[[fault]]\nslot = \"contact\"\n"

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, WrongFieldTest, testing::Values(
    WrongField{"unknown_table", CONTACT "[contakt]\n",
               "3: contakt: is not a field that is known here"},
    WrongField{"unknown_key_of_reader", "[reader]\nname = \"x\"\nport = 1\n",
               "3: reader.port: is not a field that is known here"},
    WrongField{"unknown_key_of_slot", CONTACT "colour = 1\n",
               "3: contact.colour: is not a field that is known here"},
    WrongField{"unknown_key_of_fault", FAULT "mute = true\nexchange = 1\n",
               "6: fault[1].exchange: has no meaning beside mute"},
    WrongField{"occurrence_without_command", FAULT "exchange = 1\noccurrence = 2\nresult = -4\n",
               "6: fault[1].occurrence: has no meaning without command"},
    WrongField{"executed_at_power_on", FAULT "power_on = 1\nexecuted = true\nresult = -4\n",
               "6: fault[1].executed: has no meaning at a power-on"},
    WrongField{"executed_with_truncate", FAULT "exchange = 1\ntruncate = 2\nexecuted = true\n",
               "7: fault[1].executed: has no meaning with truncate: the card carries the command out"},
    WrongField{"two_lasting_faults", FAULT "mute = true\nabsent = true\n",
               "5: fault[1].mute: cannot stand beside absent"},
    WrongField{"misspelt_effect", FAULT "exchange = 1\nsatus = \"6A82\"\n",
               "6: fault[1].satus: is not a field that is known here"},
    WrongField{"misspelt_profile", "[contact]\nprofiel = \"own.toml\"\n",
               "2: contact.profiel: is not a field that is known here"},
    WrongField{"misspelt_slot_of_a_fault", CONTACT "[[fault]]\nslt = \"contact\"\nmute = true\n",
               "4: fault[1].slt: is not a field that is known here"},
    WrongField{"misspelt_name", "[reader]\nnam = \"x\"\n",
               "2: reader.nam: is not a field that is known here"},
    WrongField{"misspelt_portion", CONTACT "t0 = { porton = 1 }\n",
               "3: contact.t0.porton: is not a field that is known here"},
    WrongField{"endless_chains_false", FAULT "endless_chains = false\n",
               "5: fault[1].endless_chains: can only be true"},
    WrongField{"name_too_long", "[reader]\nname = \"12345678901234567890123456789012\"\n",
               "2: reader.name: must be 1 to 31 bytes long, is 32"},
    WrongField{"name_empty", "[reader]\nname = \"\"\n",
               "2: reader.name: must be 1 to 31 bytes long, is 0"},
    WrongField{"name_with_control", "[reader]\nname = \"a\\u0000b\"\n",
               "2: reader.name: must not hold control characters"},
    WrongField{"serial_not_text", "[reader]\nserial = 471100\n",
               "2: reader.serial: must be a text in quotes"},
    WrongField{"reader_not_table", "reader = 1\n", "1: reader: must be a table"},
    WrongField{"slot_not_table", "contact = \"own.toml\"\n",
               "1: contact: must be a table"},
    WrongField{"slot_without_card", "\n[contact]\n",
               "2: contact: needs a profile (a file), a trace (a file) or a card (a table)"},
    WrongField{"slot_with_two_cards", CONTACT "card = {}\n",
               "1: contact: has both a profile and a card"},
    WrongField{"profile_not_text", "[contact]\nprofile = 1\n",
               "2: contact.profile: must be a text in quotes"},
    WrongField{"portion_zero", CONTACT "t0 = { portion = 0 }\n",
               "3: contact.t0.portion: must be 1 to 256, is 0"},
    WrongField{"portion_too_large", CONTACT "t0 = { portion = 257 }\n",
               "3: contact.t0.portion: must be 1 to 256, is 257"},
    WrongField{"portion_without_get_response",
               CONTACT "t0 = { portion = 9, get_response = false }\n",
               "3: contact.t0.portion: has no meaning without get_response"},
    WrongField{"fault_not_list", CONTACT "[fault]\nslot = \"contact\"\n",
               "3: fault: must be a list of tables"},
    WrongField{"fault_without_slot", CONTACT "[[fault]]\nmute = true\n",
               "3: fault[1].slot: is missing"},
    WrongField{"fault_at_an_empty_slot", CONTACT "[[fault]]\nslot = \"sam1\"\nmute = true\n",
               "4: fault[1].slot: holds no card"},
    WrongField{"fault_without_a_moment", FAULT "result = -4\n",
               "3: fault[1]: needs a moment, one of exchange, command, power_on"},
    WrongField{"fault_with_two_moments", FAULT "power_on = 1\nexchange = 1\nresult = -4\n",
               "5: fault[1].power_on: cannot stand beside exchange"},
    WrongField{"fault_without_an_effect", FAULT "exchange = 1\n",
               "3: fault[1]: needs an effect, one of result, status, answer, truncate"},
    WrongField{"fault_with_two_effects", FAULT "exchange = 1\nstatus = \"6A82\"\nresult = -4\n",
               "6: fault[1].status: cannot stand beside result"},
    WrongField{"status_at_power_on", FAULT "power_on = 1\nstatus = \"6A82\"\n",
               "6: fault[1].status: has no meaning at a power-on"},
    WrongField{"second_fault", FAULT "mute = true\n[[fault]]\nslot = \"contact\"\nexchange = 0\n",
               "8: fault[2].exchange: must be 1 to 1000000, is 0"},
    WrongField{"pattern_too_short", FAULT "command = \"80 CA\"\nresult = -4\n",
               "5: fault[1].command: must be CLA INS P1 P2 as hex digits, x for any digit"},
    WrongField{"pattern_too_long", FAULT "command = \"80 CA xx xx 00\"\nresult = -4\n",
               "5: fault[1].command: must be CLA INS P1 P2 as hex digits, x for any digit"},
    WrongField{"pattern_with_bad_digit", FAULT "command = \"80 CA xx xz\"\nresult = -4\n",
               "5: fault[1].command: must be CLA INS P1 P2 as hex digits, x for any digit"},
    WrongField{"result_that_is_a_length", FAULT "exchange = 1\nresult = 2\n",
               "6: fault[1].result: must be -40000 to 1, is 2"},
    WrongField{"result_that_is_an_atr_length", FAULT "power_on = 1\nresult = 1\n",
               "6: fault[1].result: must be -40000 to 0, is 1"},
    WrongField{"status_too_long", FAULT "exchange = 1\nstatus = \"6A 82 00\"\n",
               "6: fault[1].status: must be 2 bytes long, is 3"},
    WrongField{"answer_without_status", FAULT "exchange = 1\nanswer = \"90\"\n",
               "6: fault[1].answer: must be 2 to 1024 bytes long, is 1"},
    WrongField{"truncated_beyond_an_answer", FAULT "exchange = 1\ntruncate = 1024\n",
               "6: fault[1].truncate: must be 0 to 1023, is 1024"},
    WrongField{"always_not_boolean", FAULT "exchange = 1\nalways = 1\nresult = -4\n",
               "6: fault[1].always: must be true or false"},
    WrongField{"absent_false", FAULT "absent = false\n",
               "5: fault[1].absent: can only be true"},
    WrongField{"removed_after_nothing", FAULT "removed_after = 0\n",
               "5: fault[1].removed_after: must be 1 to 1000000, is 0"}),
    [](const auto& row) { return std::string(row.param.name); });
// clang-format on

struct Effect {
    const char* name;
    std::string lines;  // of the fault, behind its slot
    std::string got;    // by the first GET DATA, after a SELECT
};

class FaultEffect : public SimulatorTest, public testing::WithParamInterface<Effect> {};

TEST_P(FaultEffect, IsWhatTheHostGets) {
    use("reader.toml", FAULT + GetParam().lines);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
    EXPECT_EQ(send(contact, get_atc), GetParam().got);
}

std::string long_answer(std::size_t size) {
    return to_hex(filled(size, 0x5A));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FaultEffect,
    testing::Values(
        Effect{"result_0", "exchange = 2\nresult = 0\n", "result 0"},
        Effect{"result_1", "exchange = 2\nresult = 1\n", "result 1"},
        Effect{"lowest_result", "exchange = 2\nresult = -40000\n", "result -40000"},
        Effect{"wildcards_for_single_digits", "command = \"8x cA 9F x6\"\nstatus = \"6A88\"\n",
               "6A88"},
        Effect{"another_command", "command = \"80 CA 9F 35\"\nstatus = \"6A88\"\n",
               "9F360200039000"},
        Effect{"a_later_time", "command = \"80CA9F36\"\noccurrence = 2\nstatus = \"6A88\"\n",
               "9F360200039000"},
        Effect{"always_from_the_first", "exchange = 2\nalways = true\nstatus = \"6A88\"\n", "6A88"},
        Effect{"shortest_answer", "exchange = 2\nanswer = \"6F00\"\n", "6F00"},
        Effect{"longest_answer", "exchange = 2\nanswer = \"" + long_answer(1024) + "\"\n",
               long_answer(1024)},
        Effect{"truncated_to_nothing", "exchange = 2\ntruncate = 0\n", "result 0"},
        Effect{"truncated_to_a_byte", "exchange = 2\ntruncate = 1\n", "result 1"},
        Effect{"truncated_to_more_than_there_is", "exchange = 2\ntruncate = 1023\n",
               "9F360200039000"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ReaderFile, TheLongestAnswerToResetFits) {
    use("reader.toml", FAULT "power_on = 1\nanswer = \"" + long_answer(512) + "\"\n");
    ASSERT_GT(open(), 0);
    GuardedBuffer atr(512);
    EXPECT_EQ(ICC_Reader_PowerOn(handle, contact, atr.data()), 512);
    EXPECT_TRUE(atr.holds(filled(512, 0x5A)));
}

TEST_F(ReaderFile, AnEmptyAnswerToResetIsAMuteCard) {
    use("reader.toml", FAULT "power_on = 1\ntruncate = 0\n");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), -4);
    EXPECT_EQ(send(contact, get_atc), "result -3");
}

// EMV book 1 section 9.3.1: nothing bounds a chain of GET RESPONSE but the card's good will.
TEST_F(ReaderFile, AChainWithoutDataEndsAsACardThatDoesNotAnswer) {
    constexpr const char* announcing = FAULT "exchange = 2\nalways = true\nanswer = \"61 10\"\n";
    const std::string endless =
        std::string(announcing) + "[[fault]]\nslot = \"contact\"\nendless_chains = true\n";
    use("reader.toml", announcing);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(send(contact, get_atc), "6110");
        for (int i = 2; i < 64; ++i) {
            ASSERT_EQ(send(contact, "00C0000010"), "6110") << i;
        }
        EXPECT_EQ(send(contact, "00C0000010"), "result -4");
    }
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(send(contact, get_atc), "6110") << "each its own chain";
    }
    ICC_Reader_Close();
    use("reader.toml", endless);
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
    EXPECT_EQ(send(contact, get_atc), "6110");
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(send(contact, "00C0000010"), "6110") << i;
    }
}

TEST_F(ReaderFile, FaultsCountAfreshAtEachOpen) {
    use("reader.toml", FAULT "exchange = 1\nresult = -11\n");
    for (int round = 0; round < 2; ++round) {
        ASSERT_GT(open(), 0);
        EXPECT_EQ(power_on(contact), 17);
        EXPECT_EQ(send(contact, select_application), "result -11");
        EXPECT_THAT(send(contact, select_application), EndsWith("9000"));
        EXPECT_EQ(ICC_Reader_Close(), 0);
    }
}

TEST_F(ReaderFile, FaultsOfOneSlotLeaveTheOthersAlone) {
    use("reader.toml", FAULT "mute = true\n[contactless]\nprofile = \"own.toml\"\n");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), -4);
    EXPECT_EQ(power_on(contactless), 17);
}

TEST_F(ReaderFile, ExchangesAreCountedAsTheReaderSeesThem) {
    use("reader.toml", FAULT "exchange = 3\nstatus = \"6F00\"\n[contact.t0]\nportion = 4\n");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(power_on(contact), 17);
    EXPECT_EQ(send(contact, select_application), "6104");
    EXPECT_THAT(send(contact, "00C0000004"), AllOf(StartsWith("6F"), EndsWith("6104")));
    EXPECT_EQ(send(contact, "00C0000004"), "6F00");
}

}  // namespace
}  // namespace quorrin::test
