// Application selection by AID and through the payment system environment.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

constexpr char select_pse[] = "00A404000E315041592E5359532E444446303100";

// A card whose FCI is given.
std::string card_with_fci(std::string_view fci) {
    return "00A40400 [A000000333010101] 00\n    " + std::string(fci) + " 9000\n";
}

std::string card_with_pse(std::string_view pse, std::string_view rest) {
    return "00A40400 ['1PAY.SYS.DDF01'] 00\n    " + std::string(pse) + " 9000\n" +
           std::string(rest);
}

// A usual payment system environment with its directory in file 1.
std::string card_with_directory(std::string_view records) {
    return card_with_pse("6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] ] ]", records);
}

constexpr char two_applications[] = R"(
00B2010C00
    70[ 61[ 4F[A000000333010101] 50['DEBIT'] ] 61[ 4F[A000000333010102] 50['CREDIT'] ] ] 9000
00B2020C00
    6A83
00A40400 [A000000333010101] 00
    6F[ 84[A000000333010101] ] 9000
00A40400 [A000000333010102] 00
    6F[ 84[A000000333010102] ] 9000
)";

std::string text_of(std::size_t length, std::string_view pattern) {
    std::string text;
    while (text.size() < length) {
        text += pattern;
    }
    text.resize(length);
    return text;
}

class SelectAid : public BankCardTest {};

TEST_F(SelectAid, SendsSelectToTheUserCardAndStoresTheFci) {
    insert(card_with_fci("6F[ 84[A000000333010101] A5[ 50['PBOC DEBIT'] 87[01] 9F38[9F0206] ] ]"));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(reader().calls, Commands{"Send 7 01: 00A4040008A00000033301010100"});
    EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333010101"},
                                            {"50", to_hex(text_bytes("PBOC DEBIT"))},
                                            {"87", "01"},
                                            {"9F38", "9F0206"}}));
    EXPECT_EQ(CARD_SW1, 0x90);
    EXPECT_EQ(CARD_SW2, 0x00);
}

TEST_F(SelectAid, UsesTheSlotOfTheUserCard) {
    EG_nUserCardType = 12;
    insert(card_with_fci("6F[ 84[A000000333010101] ]"));
    EXPECT_EQ(emvSelectAid(0x1234567890, "A000000333010101"), 0);
    EXPECT_EQ(reader().calls, Commands{"Send 78187493520 31: 00A4040008A00000033301010100"});
}

TEST_F(SelectAid, LeavesTheCandidateListAloneWhenTheHostNamesTheAid) {
    std::strncpy(gucAidList, "A1|A2", sizeof gucAidList);
    gucAidListLen = 5;
    gucAidNum = 2;
    insert(card_with_fci("6F[ 84[A000000333010101] ]"));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(candidates(), "A1|A2");
    EXPECT_EQ(gucAidNum, 2);
}

TEST_F(SelectAid, EmptiesTheStoreFirstAlsoWhenTheSelectionFails) {
    for (const char* aid : {"A000000333010101", ""}) {
        store("9F02", hex("000000001000"));
        store("5A", hex("6205500000000000004F"));
        gl_TAC_Online[0] = 0;
        gl_Tm_RmCheckFlg = 0;
        insert("00A40400 *\n    6A82");
        EXPECT_EQ(emvSelectAid(handle, aid), -27266);
        EXPECT_EQ(present_elements(), Elements{});
        EXPECT_EQ(gl_TAC_Online[0], 0xFF);
        EXPECT_EQ(gl_Tm_RmCheckFlg, 1);
    }
}

TEST_F(SelectAid, ConvertsTheTextDigitByDigit) {
    struct Case {
        const char* what;
        std::string text;
        std::string command;
    };
    const Case cases[] = {
        {"lower case", "a000000333010101", "00A4040008A00000033301010100"},
        {"odd last digit is ignored", "A00000033301010", "00A4040007A000000333010100"},
        {"a single digit leaves nothing", "A", "00A404000000"},
        {"200 characters", text_of(200, "A5"), "00A4040064" + text_of(200, "A5") + "00"},
        {"202 characters", text_of(202, "A5"), "00A4040065" + text_of(202, "A5") + "00"},
        {"255 characters", text_of(255, "B6"), "00A404007F" + text_of(254, "B6") + "00"},
        // A separator is cut in the directory's list alone: '|' is a digit of value 37 here.
        {"separator in the host's text", "A0|1", "00A4040002A05100"},
    };
    for (const Case& c : cases) {
        insert("00A40400 *\n    9000");
        EXPECT_EQ(emvSelectAid(handle, c.text.c_str()), 0) << c.what;
        EXPECT_EQ(commands(), Commands{c.command}) << c.what;
    }
}

using SelectAidDeathTest = SelectAid;

TEST_F(SelectAidDeathTest, StopsTheProcessOnATextOf256Characters) {
    insert("00A40400 *\n    9000");
    EXPECT_DEATH(emvSelectAid(handle, text_of(256, "A0").c_str()), "an AID text");
    EXPECT_DEATH(emvSelectAid(handle, text_of(5000, "A0").c_str()), "an AID text");
}

TEST_F(SelectAid, ReportsEveryRefusalOfTheSelection) {
    for (const Refusal& refusal : refusals()) {
        insert("").at_step(0, refusal.answer);
        EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), refusal.code) << refusal.name;
        EXPECT_EQ(commands().size(), 1u) << refusal.name;
        EXPECT_EQ(present_elements(), Elements{}) << refusal.name;
    }
}

TEST_F(SelectAid, TakesAnAnswerWithoutData) {
    insert(card_with_fci(""));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(present_elements(), Elements{});
}

TEST_F(SelectAid, RefusesAMalformedFciAndStoresNothingOfIt) {
    const std::pair<const char*, const char*> cases[] = {
        {"template longer than the answer", "6F10 8408A000000333010101"},
        {"element longer than the answer", "84[A000000333010101] 6F[ 84 10 A000000333 ]"},
        {"tag without an end", "6F[ 84[A000000333010101] ] 9F"},
        {"tag with a zero byte", "6F[ 84[A000000333010101] 9F00 01 00 ]"},
        {"no length", "6F[ 84[A000000333010101] ] 84"},
        {"indefinite length", "84[A000000333010101] 6F80 8408A000000333010101 0000"},
        {"length of a length beyond the answer", "6F[ 84[A000000333010101] ] 84 83 01"},
        {"value of 64 KiB", "84[A000000333010101] 6F82FFFF 8400"},
    };
    for (const auto& [what, fci] : cases) {
        insert(card_with_fci(fci));
        EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), -107) << what;
        EXPECT_EQ(commands().size(), 1u) << what;
        EXPECT_EQ(present_elements(), Elements{}) << what;
    }
}

TEST_F(SelectAid, RefusesAnFciThatTheStoreRefuses) {
    const std::pair<const char*, const char*> cases[] = {
        {"DF name too short for an AID", "6F[ 84[A0000003] ]"},
        {"DF name too long for an AID", "6F[ 84[A0*17] ]"},
        {"AID in a record template", "70[ 4F[A000000333010101] ]"},
        // Well formed as a flat string, but the nested object ends after its template.
        {"element beyond its template", "6F[ A502 5004 ] 44454249"},
    };
    for (const auto& [what, fci] : cases) {
        insert(card_with_fci(fci));
        EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), -107) << what;
        EXPECT_EQ(commands().size(), 1u) << what;
    }
}

TEST_F(SelectAid, KeepsWhatCameBeforeAFaultInTheFci) {
    insert(card_with_fci("6F[ A5[ 50['DEBIT'] ] 84[A0000003] ]"));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), -107);
    EXPECT_EQ(present_elements(), (Elements{{"50", to_hex(text_bytes("DEBIT"))}}));
}

TEST_F(SelectAid, TakesWhatCardsPutIntoTheirFci) {
    insert(card_with_fci(R"(00 FF 6F[ 84[A000000333010101] 00
        A5[ 50['A LABEL THAT IS TOO LONG'] 9F11[0101] 5F2D['e'] 9F12[] DF20[010203]
            9F26[1122334455667788]
            BF0C[ 9F4D[0B0A] 5F54['BKCHCNBJ'] 9F1A[0156] ] ] ])"));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(present_elements(),
              (Elements{{"84", "A000000333010101"}, {"5F54", to_hex(text_bytes("BKCHCNBJ"))}}));
}

TEST_F(SelectAid, TakesAnFciOfTheLongestAnswer) {
    // 1022 bytes: the template, its DF name and 1008 bytes of unknown objects.
    insert(card_with_fci(
        "6F[ 84[A000000333010101] DF20[11*250] DF21[22*250] DF22[33*250] DF23[44*242] ]"));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(element("84"), value("A000000333010101"));
    EXPECT_EQ(present_elements().size(), 1u);
}

TEST_F(SelectAid, TakesTheFirstApplicationOfTheDirectory) {
    for (const char* aid : {static_cast<const char*>(nullptr), ""}) {
        insert(card_with_directory(two_applications));
        EXPECT_EQ(emvSelectAid(handle, aid), 0);
        EXPECT_EQ(commands(), (Commands{select_pse, "00B2010C00", "00B2020C00",
                                        "00A4040008A00000033301010100"}));
        EXPECT_EQ(candidates(), "A000000333010101|A000000333010102");
        EXPECT_EQ(gucAidNum, 2);
        EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333010101"}}));
    }
}

TEST_F(SelectAid, NeverTriesTheSecondApplication) {
    insert(card_with_directory(two_applications)).with("00A40400 [A000000333010101] 00\n    6283");
    EXPECT_EQ(emvSelectAid(handle, nullptr), -26881);
    EXPECT_EQ(commands(),
              (Commands{select_pse, "00B2010C00", "00B2020C00", "00A4040008A00000033301010100"}));
    EXPECT_EQ(present_elements(), Elements{});
}

TEST_F(SelectAid, DeliberatelySelectsNothingByNameWhenTheFirstItemIsEmpty) {
    const std::pair<const char*, const char*> cases[] = {
        {"empty directory", "00B2 *\n    6A83\n"},
        {"first entry without an AID",
         "00B2010C00\n    70[ 61[ 50['DEBIT'] ] 61[ 4F[A000000333010101] ] ] 9000\n"
         "00B2 *\n    6A83\n"},
    };
    for (const auto& [what, directory] : cases) {
        insert(card_with_directory(directory)).with("00A404000000\n    6F[ 84[A000000333] ] 9000");
        EXPECT_EQ(emvSelectAid(handle, nullptr), 0) << what;
        EXPECT_EQ(commands().back(), "00A404000000") << what;
        EXPECT_EQ(element("84"), value("A000000333")) << what;
    }
}

TEST_F(SelectAid, ReportsEveryRefusalOfThePse) {
    for (const Refusal& refusal : refusals()) {
        insert("").at_step(0, refusal.answer);
        EXPECT_EQ(emvSelectAid(handle, nullptr), refusal.code) << refusal.name;
        EXPECT_EQ(commands(), Commands{select_pse}) << refusal.name;
    }
}

TEST_F(SelectAid, ReportsAPseWithoutADirectoryAsUnknown) {
    insert(card_with_pse("6F[ 84['1PAY.SYS.DDF01'] ]", ""));
    EXPECT_EQ(emvSelectAid(handle, nullptr), -40000);
    EXPECT_EQ(commands(), Commands{select_pse});
}

TEST_F(SelectAid, ReportsEveryRefusalOfTheFirstApplication) {
    for (const Refusal& refusal : refusals()) {
        insert(card_with_directory(two_applications)).at_step(3, refusal.answer);
        EXPECT_EQ(emvSelectAid(handle, nullptr), refusal.code) << refusal.name;
        EXPECT_EQ(commands().size(), 4u) << refusal.name;
        EXPECT_EQ(candidates(), "A000000333010101|A000000333010102") << refusal.name;
    }
}

TEST_F(SelectAid, DeliberatelySucceedsWithoutSelectingAfterATransportFailureInTheDirectory) {
    for (const std::int64_t result : {-2, -4, -11, -99, 1}) {
        insert(card_with_directory(two_applications)).at_step(2, failure(result));
        EXPECT_EQ(emvSelectAid(handle, nullptr), 0);
        EXPECT_EQ(commands(), (Commands{select_pse, "00B2010C00", "00B2020C00"}));
        EXPECT_EQ(CARD_STATUS, result);
        EXPECT_EQ(CARD_SW1, 0x90);
        EXPECT_EQ(CARD_SW2, 0x00);
        EXPECT_EQ(candidates(), "A000000333010101|A000000333010102");
        EXPECT_EQ(present_elements(), Elements{});
    }
}

TEST_F(SelectAid, GoesOnAfterADirectoryThatEndsWithoutAStatusWord) {
    insert(card_with_directory(two_applications)).at_step(2, failure(0));
    EXPECT_EQ(emvSelectAid(handle, nullptr), 0);
    EXPECT_EQ(commands().back(), "00A4040008A00000033301010100");
    EXPECT_EQ(element("84"), value("A000000333010101"));
}

class SelectByPse : public BankCardTest {
  protected:
    void remember_an_older_list() {
        std::memset(gucAidList, 'X', sizeof gucAidList);
        gucAidListLen = 17;
        gucAidNum = 3;
    }

    static Bytes whole_list() { return {gucAidList, gucAidList + sizeof gucAidList}; }

    static Bytes list_of(const std::string& text) {
        Bytes bytes = text_bytes(text);
        bytes.resize(200);
        return bytes;
    }
};

TEST_F(SelectByPse, ReadsTheDirectoryAndCopiesTheList) {
    remember_an_older_list();
    insert(card_with_directory(R"(
00B2010C00
    70[ 61[ 4F[A000000333010101] ] ] 9000
00B2020C00
    70[ 61[ 4F[A000000333010102] ] 61[ 4F[D1560000010001] ] ] 9000
00B2030C00
    6A83
)"));
    GuardedBuffer list(255);
    EXPECT_EQ(selectByPse(handle, list.text()), 0);
    EXPECT_EQ(reader().calls, (Commands{"Send 7 01: 00A404000E315041592E5359532E444446303100",
                                        "Send 7 01: 00B2010C00", "Send 7 01: 00B2020C00",
                                        "Send 7 01: 00B2030C00"}));
    const std::string text = "A000000333010101|A000000333010102|D1560000010001";
    EXPECT_TRUE(list.holds_text(text));
    EXPECT_EQ(whole_list(), list_of(text));
    EXPECT_EQ(gucAidListLen, text.size());
    EXPECT_EQ(gucAidNum, 3);
    EXPECT_EQ(present_elements(), Elements{});
}

TEST_F(SelectByPse, DeliberatelyShowsSuccessAfterTheLastRecord) {
    for (const Refusal& refusal : refusals()) {
        remember_an_older_list();
        insert(card_with_directory("00B2010C00\n    70[ 61[ 4F[A000000333] ] ] 9000"))
            .at_step(2, refusal.answer);
        GuardedBuffer list(255);
        EXPECT_EQ(selectByPse(handle, list.text()), 0) << refusal.name;
        EXPECT_EQ(commands().size(), 3u) << refusal.name;
        EXPECT_TRUE(list.holds_text("A000000333")) << refusal.name;
        EXPECT_EQ(CARD_SW1, 0x90) << refusal.name;
        EXPECT_EQ(CARD_SW2, 0x00) << refusal.name;
        // A status word came: 0. The transport failed: its result.
        const bool answered = refusal.answer.bytes.size() == 2;
        const std::int64_t transport = refusal.answer.result == 1025 ? -15 : refusal.answer.result;
        EXPECT_EQ(CARD_STATUS, answered ? 0 : transport) << refusal.name;
    }
}

TEST_F(SelectByPse, KeepsTheOlderListWhenThePseIsRefused) {
    for (const Refusal& refusal : refusals()) {
        remember_an_older_list();
        insert("").at_step(0, refusal.answer);
        GuardedBuffer list(255);
        EXPECT_EQ(selectByPse(handle, list.text()), refusal.code) << refusal.name;
        EXPECT_TRUE(list.untouched()) << refusal.name;
        EXPECT_EQ(whole_list(), filled(200, 'X')) << refusal.name;
        EXPECT_EQ(gucAidListLen, 17) << refusal.name;
        EXPECT_EQ(gucAidNum, 3) << refusal.name;
    }
}

TEST_F(SelectByPse, NeedsTheNameAndTheFileOnceEach) {
    const std::pair<const char*, const char*> cases[] = {
        {"no data at all", ""},
        {"no DF name", "6F[ A5[ 88[01] ] ]"},
        {"no file", "6F[ 84['1PAY.SYS.DDF01'] A5[ 5F2D['zh'] ] ]"},
        {"DF name twice", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] 84[00] ] ]"},
        {"file twice", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] 88[02] ] ]"},
        {"malformed", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] ] ] 9F"},
        {"malformed after the name", "6F[ 84['1PAY.SYS.DDF01'] 88 05 01 ]"},
        {"above 256 bytes", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] BF0C[ DF20[00*224] ] ] ]"},
    };
    for (const auto& [what, pse] : cases) {
        remember_an_older_list();
        insert(card_with_pse(pse, ""));
        GuardedBuffer list(255);
        EXPECT_EQ(selectByPse(handle, list.text()), -106) << what;
        EXPECT_EQ(commands(), Commands{select_pse}) << what;
        EXPECT_TRUE(list.untouched()) << what;
        EXPECT_EQ(whole_list(), filled(200, 0)) << what << ": the older list is gone";
        EXPECT_EQ(gucAidListLen, 0) << what;
        EXPECT_EQ(gucAidNum, 0) << what;
    }
}

TEST_F(SelectByPse, FindsTheFileAnywhereInTheAnswer) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"usual place", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] ] ]", "00B2010C00"},
        {"without templates", "88[02] 84[00]", "00B2011400"},
        {"deep inside", "6F[ A5[ BF0C[ 61[ 84[] 88[03] ] ] ] ]", "00B2011C00"},
        {"with padding", "00 FF 6F[ 84['1PAY.SYS.DDF01'] 00 A5[ FF 88[1F] ] ]", "00B201FC00"},
        {"256 bytes", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] BF0C[ DF20[00*223] ] ] ]", "00B2010C00"},
        {"first byte of a longer value", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[0405] ] ]", "00B2012400"},
        {"empty", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[] ] ]", "00B2010400"},
        {"no file number at all", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[20] ] ]", "00B2010400"},
        {"largest byte", "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[FF] ] ]", "00B201FC00"},
    };
    for (const auto& [what, pse, read_record] : cases) {
        insert(card_with_pse(pse, "00B2 *\n    6A83\n"));
        GuardedBuffer list(255);
        EXPECT_EQ(selectByPse(handle, list.text()), 0) << what;
        EXPECT_EQ(commands(), (Commands{select_pse, read_record})) << what;
        EXPECT_TRUE(list.untouched()) << what;
    }
}

TEST_F(SelectByPse, GoesOnAfterAMalformedRecord) {
    insert(card_with_directory(R"(
00B2010C00
    70[ 61[ 4F[A000000333] ] 00 ] 9000
00B2020C00
    9000
00B2030C00
    6F 9000
00B2040C00
    70[ 61[ 4F[A000000444] ] ] 9000
00B2 *
    6A83
)"));
    GuardedBuffer list(255);
    EXPECT_EQ(selectByPse(handle, list.text()), 0);
    EXPECT_EQ(commands().back(), "00B2050C00");
    EXPECT_TRUE(list.holds_text("A000000333|A000000444"));
}

TEST_F(SelectByPse, ReadsOnUntilTheCardEndsTheDirectory) {
    constexpr std::size_t records = 300;
    std::size_t sent = 0;
    reader().card = [&](const Bytes& command) {
        if (command == hex(select_pse)) {
            return answer("6F08 8400 A504 880101 00 9000");
        }
        return sent++ < records ? answer("9000") : answer("6A83");
    };
    GuardedBuffer list(255);
    EXPECT_EQ(selectByPse(handle, list.text()), 0);
    ASSERT_EQ(commands().size(), 1 + records + 1);
    for (std::size_t i = 1; i < commands().size(); ++i) {
        const auto number = static_cast<std::uint8_t>(i);  // wraps to 0 after 255
        EXPECT_EQ(commands()[i], "00B2" + to_hex(Bytes{number}) + "0C00");
    }
}

TEST_F(SelectByPse, CopiesAFullListAndNothingMore) {
    // 17 AIDs of 5 bytes make 186 characters; one of 6 bytes brings them to 199, an empty one to
    // 200.
    std::string record = "70[";
    std::string text;
    for (int i = 0; i < 17; ++i) {
        record += "61[ 4F[A0000003" + to_hex(Bytes{static_cast<std::uint8_t>(i)}) + "] ]";
        text += (i == 0 ? "A0000003" : "|A0000003") + to_hex(Bytes{static_cast<std::uint8_t>(i)});
    }
    record += "]";
    ASSERT_EQ(text.size(), 186u);
    insert(card_with_directory("00B2010C00\n    " + record + R"( 9000
00B2020C00
    70[ 61[ 4F[A00000033301] ] 61[ 50['NO AID'] ] 61[ 4F[A000000444] ] 61[] ] 9000
00B2030C00
    6A83
)"));
    text += "|A00000033301|";
    GuardedBuffer list(200);
    EXPECT_EQ(selectByPse(handle, list.text()), 0);
    EXPECT_TRUE(list.holds_text(text));
    EXPECT_EQ(whole_list(), text_bytes(text));
    EXPECT_EQ(gucAidListLen, 200);
    EXPECT_EQ(gucAidNum, 19);
}

TEST_F(SelectByPse, RefusesANullBufferBeforeAnythingIsSent) {
    insert("");
    EXPECT_EQ(selectByPse(handle, nullptr), -14);
    EXPECT_EQ(reader().calls, Commands{});
}

}  // namespace
}  // namespace quorrin::test
