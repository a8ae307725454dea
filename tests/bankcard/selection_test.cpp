// Application selection by AID and by the first application of the directory.

#include "tests/bankcard/pse_cards.hpp"

namespace quorrin::test {
namespace {

// A card whose FCI is given.
std::string card_with_fci(std::string_view fci) {
    return "00A40400 [A000000333010101] 00\n    " + std::string(fci) + " 9000\n";
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

const Commands selection_by_directory{select_pse, "00B2010C00", "00B2020C00",
                                      "00A4040008A00000033301010100"};
const CandidateList both_applications = candidates("A000000333010101|A000000333010102", 2);

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
    set_candidates(candidates("A1|A2", 2));
    insert(card_with_fci("6F[ 84[A000000333010101] ]"));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(candidates(), candidates("A1|A2", 2));
}

TEST_F(SelectAid, EmptiesTheStoreFirstAlsoWhenTheSelectionFails) {
    for (const char* aid : {"A000000333010101", ""}) {
        put("9F02", hex("000000001000"));
        put("5A", hex("6205500000000000004F"));
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

TEST_F(SelectAid, RefusesATextOf256CharactersBeforeAnythingIsClearedOrSent) {
    insert("00A40400 *\n    9000");
    put("9F02", hex("000000001000"));
    CARD_STATUS = -4;
    CARD_SW1 = 0x6A;
    for (const std::size_t length : {256u, 257u, 5000u}) {
        EXPECT_EQ(emvSelectAid(handle, text_of(length, "A0").c_str()), QUORRIN_BAD_PARAMETER);
    }
    EXPECT_EQ(commands(), Commands{});
    EXPECT_EQ(present_elements(), (Elements{{"9F02", "000000001000"}}));
    EXPECT_EQ(CARD_STATUS, -4);
    EXPECT_EQ(CARD_SW1, 0x6A);
}

TEST_F(SelectAid, HandsTheRefusalOfALongTextToEveryOperationThatSelects) {
    insert("00A40400 *\n    9000");
    const std::string aid = text_of(256, "A0");
    GuardedBuffer out(2048);
    EXPECT_EQ(getIccInfo(handle, aid.c_str(), "A", out.text()), QUORRIN_BAD_PARAMETER);
    EXPECT_EQ(getARQC(handle, nullptr, aid.c_str(), out.text(), out.text()), QUORRIN_BAD_PARAMETER);
    EXPECT_EQ(commands(), Commands{});
    EXPECT_TRUE(out.untouched());
}

TEST_F(SelectAid, ReportsEveryRefusalOfTheSelection) {
    for (const Refusal& refusal : refusals()) {
        insert("").at_step(0, refusal.answer);
        EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), refusal.code) << refusal.name;
        EXPECT_EQ(commands(), Commands{select_application}) << refusal.name;
        EXPECT_EQ(present_elements(), Elements{}) << refusal.name;
    }
}

TEST_F(SelectAid, FetchesAnFciThatWaits) {
    insert(card_with_fci("6F[ 84[A000000333010101] ]"))
        .at_step(0, answer("610C"))
        .with("00C000000C\n    6F[ 84[A000000333010101] ] 9000");
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(commands(), (Commands{select_application, "00C000000C"}));
    EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333010101"}}));
}

// The exchange repeats the header alone, with the length that the card wants.
TEST_F(SelectAid, RepeatsASelectOfAnotherLength) {
    insert(card_with_fci(""))
        .at_step(0, answer("6C0C"))
        .with("00A404000C\n    6F[ 84[A000000333010101] ] 9000");
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(commands(), (Commands{select_application, "00A404000C"}));
    EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333010101"}}));
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
        EXPECT_EQ(commands(), Commands{select_application}) << what;
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
        EXPECT_EQ(commands(), Commands{select_application}) << what;
        EXPECT_EQ(present_elements(), Elements{}) << what;
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
    // The template, its DF name and 1008 bytes of unknown objects.
    const char* const fci =
        "6F[ 84[A000000333010101] DF20[11*250] DF21[22*250] DF22[33*250] DF23[44*242] ]";
    ASSERT_EQ(card_bytes(fci).size(), 1022u);
    insert(card_with_fci(fci));
    EXPECT_EQ(emvSelectAid(handle, "A000000333010101"), 0);
    EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333010101"}}));
}

TEST_F(SelectAid, TakesTheFirstApplicationOfTheDirectory) {
    for (const char* aid : {static_cast<const char*>(nullptr), ""}) {
        insert(card_with_directory(two_applications));
        EXPECT_EQ(emvSelectAid(handle, aid), 0);
        EXPECT_EQ(commands(), selection_by_directory);
        EXPECT_EQ(candidates(), both_applications);
        EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333010101"}}));
    }
}

TEST_F(SelectAid, NeverTriesTheSecondApplication) {
    insert(card_with_directory(two_applications)).with("00A40400 [A000000333010101] 00\n    6283");
    EXPECT_EQ(emvSelectAid(handle, nullptr), -26881);
    EXPECT_EQ(commands(), selection_by_directory);
    EXPECT_EQ(present_elements(), Elements{});
}

TEST_F(SelectAid, DeliberatelySelectsNothingByNameWhenTheFirstItemIsEmpty) {
    const std::tuple<const char*, const char*, Commands, CandidateList> cases[] = {
        {"empty directory",
         "00B2 *\n    6A83\n",
         {select_pse, "00B2010C00", "00A404000000"},
         candidates("", 0)},
        {"first entry without an AID",
         "00B2010C00\n    70[ 61[ 50['DEBIT'] ] 61[ 4F[A000000333010101] ] ] 9000\n"
         "00B2 *\n    6A83\n",
         {select_pse, "00B2010C00", "00B2020C00", "00A404000000"},
         candidates("|A000000333010101", 2)},
    };
    for (const auto& [what, directory, sent, list] : cases) {
        insert(card_with_directory(directory)).with("00A404000000\n    6F[ 84[A000000333] ] 9000");
        EXPECT_EQ(emvSelectAid(handle, nullptr), 0) << what;
        EXPECT_EQ(commands(), sent) << what;
        EXPECT_EQ(candidates(), list) << what;
        EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333"}})) << what;
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
        EXPECT_EQ(commands(), selection_by_directory) << refusal.name;
        EXPECT_EQ(candidates(), both_applications) << refusal.name;
        EXPECT_EQ(present_elements(), Elements{}) << refusal.name;
    }
}

TEST_F(SelectAid, DeliberatelySucceedsWithoutSelectingAfterATransportFailureInTheDirectory) {
    const std::tuple<std::size_t, Commands, CandidateList> steps[] = {
        {1, {select_pse, "00B2010C00"}, candidates("", 0)},
        {2, {select_pse, "00B2010C00", "00B2020C00"}, both_applications},
    };
    for (const auto& [step, sent, list] : steps) {
        for (const std::int64_t result : {-2, -4, -11, -99, 1}) {
            insert(card_with_directory(two_applications)).at_step(step, failure(result));
            put("5F34", hex("01"));
            EXPECT_EQ(emvSelectAid(handle, nullptr), 0) << step;
            EXPECT_EQ(commands(), sent) << step;
            EXPECT_EQ(CARD_STATUS, result) << step;
            EXPECT_EQ(CARD_SW1, 0x90) << step;
            EXPECT_EQ(CARD_SW2, 0x00) << step;
            EXPECT_EQ(candidates(), list) << step;
            EXPECT_EQ(present_elements(), Elements{}) << step;
        }
    }
}

TEST_F(SelectAid, GoesOnAfterADirectoryThatEndsWithoutAStatusWord) {
    insert(card_with_directory(two_applications)).at_step(2, failure(0));
    EXPECT_EQ(emvSelectAid(handle, nullptr), 0);
    EXPECT_EQ(commands(), selection_by_directory);
    EXPECT_EQ(candidates(), both_applications);
    EXPECT_EQ(present_elements(), (Elements{{"84", "A000000333010101"}}));
}

}  // namespace
}  // namespace quorrin::test
