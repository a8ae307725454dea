// The first GENERATE AC: CDOL1 data, both answer formats, and getARQC around it.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint8_t no_arqc = 0;

class FirstGenerateAc : public BankCardTest {
  protected:
    FirstGenerateAc() { gucGetArqcFlag = no_arqc; }

    static std::int64_t generate_ac(const ByteString& cdol1, Answer card_answer) {
        put("8C", cdol1);
        reader().answers = {std::move(card_answer)};
        return emvGACFrist(handle);
    }
    // The answer to a command without data.
    static std::int64_t accept(std::string_view card_answer) {
        return generate_ac(hex("9A00"), answer(join(card_bytes(card_answer), hex("9000"))));
    }
    static Answer good() { return answer("800B 80 0001 1122334455667788 9000"); }

    // The CDOL1 data as they were kept.
    static std::string kept_data() {
        ByteString kept(sizeof gl_GACCdolOne);
        std::uint16_t length = 0xEEEE;
        emvGetGACCdolOne(kept.data(), &length);
        if (length == 0xEEEE) {
            return "none";
        }
        kept.resize(length);
        return to_hex(kept);
    }
};

// --- CDOL1 and its data ---

TEST_F(FirstGenerateAc, DeliberatelyAnswersAMissingCdol1WithAPositiveCode) {
    EXPECT_EQ(emvGACFrist(handle), 238);
    EXPECT_THAT(reader().calls, IsEmpty());
}

TEST_F(FirstGenerateAc, NeedsAPresentCdol1) {
    put("8C", hex("9A03"));
    const std::uint8_t tag = 0x8C;
    emvSetDataElementState(&tag, 1, 0);
    EXPECT_EQ(emvGACFrist(handle), 238);
    EXPECT_THAT(reader().calls, IsEmpty());
}

TEST_F(FirstGenerateAc, AsksForAnArqcWithTheDataThatTheCardLists) {
    put("9F02", hex("000000001000"));
    put("9A", hex("250102"));
    put("5F2A", hex("0156"));
    put("9F37", hex("A1A2A3A4"));
    put("82", hex("7C00"));
    EXPECT_EQ(generate_ac(hex("9F0206 9F0306 9F1A02 9505 5F2A02 9A03 9F3704 8202 DF8001"), good()),
              0);
    const std::string data =
        "000000001000"
        "000000000000"
        "0000"
        "0000000000"
        "0156"
        "250102"
        "A1A2A3A4"
        "7C00";
    // DF80 is no tag: the data end before it.
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 01: 80AE80001E" + data + "00"));
    EXPECT_EQ(kept_data(), data);
}

TEST_F(FirstGenerateAc, UsesTheGivenHandleAndTheUserCardsSlot) {
    ReaderHandle = 99;
    EG_nUserCardType = 12;
    EXPECT_EQ(generate_ac(hex("9A03"), good()), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Send 7 31: 80AE80000300000000"));
}

TEST_F(FirstGenerateAc, DeliberatelyAnswersTheTvrWithZerosWhileItIsNotPresent) {
    emvSetTVRBit(1, 8, 1);
    EXPECT_EQ(generate_ac(hex("9505"), good()), 0);
    EXPECT_THAT(commands(), ElementsAre("80AE800005000000000000"));
}

struct DataCase {
    const char* name;
    const char* cdol1;
    std::int64_t code;
    const char* sent;  // in card notation; none when empty
};

class Cdol1Data : public FirstGenerateAc, public testing::WithParamInterface<DataCase> {};

TEST_P(Cdol1Data, AreSentWhileTheyFitIntoOneCommand) {
    put("9A", hex("250102"));
    EXPECT_EQ(generate_ac(card_bytes(GetParam().cdol1), good()), GetParam().code);
    if (*GetParam().sent == '\0') {
        EXPECT_THAT(commands(), IsEmpty());
        EXPECT_EQ(kept_data(), "none");
    } else {
        EXPECT_THAT(commands(), ElementsAre(to_hex(card_bytes(GetParam().sent))));
    }
}

constexpr DataCase data_cases[] = {
    {"NoData", "9A00", 0, "80AE8000 00 00"},
    {"OneByte", "9C01", 0, "80AE8000 01 00 00"},
    {"255Bytes", "9A03 C181FC", 0, "80AE8000 FF 250102 00*252 00"},
    // 256 bytes cannot be counted in Lc: the command goes without them.
    {"256BytesGoAsNone", "9A03 C181FD", 0, "80AE8000 00 00"},
    {"257BytesAreDeliberatelyRefusedWithAPositiveCode", "9A03 C181FE", 208, ""},
    {"256BytesAtOnce", "C1820100", 0, "80AE8000 00 00"},
    {"257BytesAtOnce", "C1820101", 208, ""},
    {"MoreThanAnyCommandHolds", "C182FFFF", 208, ""},
    {"SumsBeyond65535", "C182FFFF C182FFFF 9A03", 208, ""},
    {"SumOfManyEntries", "C17F C17F C103", 208, ""},
    {"TemplatesCountWithTheirLength", "7082FFFF", 208, ""},
    // A list that goes wrong is answered up to there.
    {"DeliberatelyUpToABadTag", "9A03 9F", 0, "80AE8000 03 250102 00"},
    {"DeliberatelyUpToATagOfThreeBytes", "9A03 DF810204 9A03", 0, "80AE8000 03 250102 00"},
    {"DeliberatelyUpToATagWithoutLength", "9A03 95", 0, "80AE8000 03 250102 00"},
    {"DeliberatelyUpToAnIndefiniteLength", "9A03 9580 9A03", 0, "80AE8000 03 250102 00"},
    {"DeliberatelyNothingForABadTagAtOnce", "9F", 0, "80AE8000 00 00"},
    {"DeliberatelyUpToABadTagBehind256Bytes", "C1820100 9F", 0, "80AE8000 00 00"},
    {"BadTagBehind257Bytes", "C1820101 9F", 208, ""},
    // Padding between entries is not stepped over: 00 00 asks for nothing.
    {"PaddingPair", "0000 9A03", 0, "80AE8000 03 250102 00"},
    {"ElementThatNobodyKnows", "C102 9A03", 0, "80AE8000 05 0000 250102 00"},
    {"Template", "7002 9A03", 0, "80AE8000 05 0000 250102 00"},
};

INSTANTIATE_TEST_SUITE_P(Online, Cdol1Data, testing::ValuesIn(data_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(FirstGenerateAc, KeepsDataOf256Bytes) {
    EXPECT_EQ(generate_ac(hex("C1820100"), good()), 0);
    EXPECT_EQ(kept_data(), to_hex(filled(256, 0)));
}

TEST_F(FirstGenerateAc, TakesTheLongestCdol1) {
    ByteString cdol1;
    for (int i = 0; i < 126; ++i) {
        cdol1 = join(cdol1, hex("9A01"));
    }
    put("9A", hex("250102"));
    ASSERT_EQ(cdol1.size(), 252u);
    EXPECT_EQ(generate_ac(cdol1, good()), 0);
    EXPECT_THAT(commands(), ElementsAre("80AE80007E" + to_hex(filled(126, 0x02)) + "00"));
}

TEST_F(FirstGenerateAc, CountsTheLengthOfCdol1InEightBits) {
    put("8C", hex("9A03 9C01"));
    const std::uint8_t tag = 0x8C;
    emvSetDataElementLength(&tag, 1, 0x102, 0);
    reader().answers = {good()};
    EXPECT_EQ(emvGACFrist(handle), 0);
    EXPECT_THAT(commands(), ElementsAre("80AE80000300000000"));
}

// --- answers ---

struct GenerateAcAnswerCase {
    const char* name;
    const char* answer;  // without status word, in card notation
    std::int64_t code;
    Elements stored;
};

void PrintTo(const GenerateAcAnswerCase& row, std::ostream* out) {
    *out << row.name;
}

class GenerateAcAnswer : public FirstGenerateAc,
                         public testing::WithParamInterface<GenerateAcAnswerCase> {};

TEST_P(GenerateAcAnswer, IsTakenIntoTheStore) {
    EXPECT_EQ(accept(GetParam().answer), GetParam().code);
    Elements expected = GetParam().stored;
    expected["8C"] = "9A00";
    EXPECT_EQ(present_elements(), expected);
}

const GenerateAcAnswerCase generate_ac_answer_cases[] = {
    {"Format1",
     "80[ 80 0001 1122334455667788 07010103A0B801 ]",
     0,
     {{"9F27", "80"}, {"9F36", "0001"}, {"9F26", "1122334455667788"}, {"9F10", "07010103A0B801"}}},
    {"Format1WithoutIssuerApplicationData",
     "80[ 80 0001 1122334455667788 ]",
     0,
     {{"9F27", "80"}, {"9F36", "0001"}, {"9F26", "1122334455667788"}}},
    {"Format1TooShortDeliberatelyPositive", "80[ 80 0001 11223344556677 ]", 208, {}},
    {"Format1Empty", "80[]", 208, {}},
    {"Format1Longest",
     "80[ 80 0001 1122334455667788 AB*32 ]",
     0,
     {{"9F27", "80"},
      {"9F36", "0001"},
      {"9F26", "1122334455667788"},
      {"9F10", to_hex(filled(32, 0xAB))}}},
    {"Format1TooLong", "80[ 80 0001 1122334455667788 AB*33 ]", 208, {}},
    {"Format1LengthInTwoBytes",
     "80 8112 80 0001 1122334455667788 07010103A0B801",
     0,
     {{"9F27", "80"}, {"9F36", "0001"}, {"9F26", "1122334455667788"}, {"9F10", "07010103A0B801"}}},
    {"Format1LengthBeyondTheAnswer", "80 13 80 0001 1122334455667788 07010103A0B801", 208, {}},
    {"Format1IndefiniteLength", "80 80 80 0001 1122334455667788", 208, {}},
    {"Format1TagAlone", "80", 208, {}},
    // Application cryptograms of every kind are taken: 00 an AAC, 40 a TC.
    {"DeliberatelySuccessWithADecline",
     "80[ 00 0001 1122334455667788 ]",
     0,
     {{"9F27", "00"}, {"9F36", "0001"}, {"9F26", "1122334455667788"}}},
    {"DeliberatelySuccessWithAnOfflineApproval",
     "77[ 9F27[40] 9F36[0001] 9F26[1122334455667788] ]",
     0,
     {{"9F27", "40"}, {"9F36", "0001"}, {"9F26", "1122334455667788"}}},
    {"Format2",
     "77[ 9F27[80] 9F36[0017] 9F26[1122334455667788] 9F10[0110A00003] 9F4B[A1A2A3] ]",
     0,
     {{"9F27", "80"},
      {"9F36", "0017"},
      {"9F26", "1122334455667788"},
      {"9F10", "0110A00003"},
      {"9F4B", "A1A2A3"}}},
    {"Format2WithoutCryptogram", "77[ 9F27[80] ]", 0, {{"9F27", "80"}}},
    {"Format2Empty", "77[]", 0, {}},
    {"Format2WithTerminalElements", "77[ 9F27[80] 9A[991231] ]", 0, {{"9F27", "80"}}},
    {"Format2WithPadding", "77[ 00 9F27[80] FF ] 0000", 0, {{"9F27", "80"}}},
    {"Format2BadElementLength", "77[ 9F27[80] 9F26[11223344556677] ]", 208, {{"9F27", "80"}}},
    {"Format2ElementOfAnotherTemplate", "77[ 9F27[80] 50['LABEL'] ]", 208, {{"9F27", "80"}}},
    {"Format2Malformed", "77[ 9F27[80] 9F36 05 ]", 208, {{"9F27", "80"}}},
    {"Format2LengthBeyondTheAnswer", "77 10 9F2701 80", 208, {}},
    {"OtherTemplate", "70[ 9F27[80] ]", 208, {}},
    {"PaddingBeforeTheTemplate", "00 80[ 80 0001 1122334455667788 ]", 208, {}},
    {"StatusWordOnly", "", 208, {}},
};

INSTANTIATE_TEST_SUITE_P(Online, GenerateAcAnswer, testing::ValuesIn(generate_ac_answer_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(FirstGenerateAc, DeliberatelyTakesAllBehindTheCryptogramAsIssuerApplicationData) {
    EXPECT_EQ(accept("80[ 80 0001 1122334455667788 0701 ] C1[55]"), 0);
    EXPECT_EQ(element("9F10"), value("0701C10155"));
    EXPECT_EQ(accept("80[ 80 0002 1122334455667788 ] 00"), 0);
    EXPECT_EQ(element("9F10"), value("00"));
}

TEST_F(FirstGenerateAc, MoreThan32BytesOfIssuerApplicationDataAreLeftOutSilently) {
    EXPECT_EQ(accept("80[ 80 0001 1122334455667788 AB*32 ] CD"), 0);
    EXPECT_EQ(element("9F26"), value("1122334455667788"));
    EXPECT_EQ(element("9F10"), std::nullopt);
    EXPECT_EQ(to_hex(gl_IssAppData), to_hex(filled(32, 0)));
}

TEST_F(FirstGenerateAc, SurvivesTheLongestAnswers) {
    EXPECT_EQ(accept("80[ 80 0001 1122334455667788 AB*32 ] CD*977"), 0);
    EXPECT_EQ(element("9F10"), std::nullopt);
    EXPECT_EQ(accept("77[ 9F27[80] C1[55*1010] ]"), 0);
}

TEST_F(FirstGenerateAc, ReportsHowTheCardRefuses) {
    for (const Refusal& refusal : refusals()) {
        emvClrIccAndTermData();
        ASSERT_EQ(kept_data(), "none");
        EXPECT_EQ(generate_ac(hex("9A03"), refusal.answer), refusal.code) << refusal.name;
        EXPECT_EQ(element("9F26"), std::nullopt);
        // What was sent is known all the same.
        EXPECT_EQ(kept_data(), "000000") << refusal.name;
    }
}

TEST_F(FirstGenerateAc, HasNoSecondOne) {
    const Elements before = present_elements();
    emvGACSecond();
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_EQ(present_elements(), before);
}

// --- getARQC ---

class GetArqc : public FirstGenerateAc {
  protected:
    static constexpr char terminal_data[] =
        "P012000000001000Q012000000000000R0040156S006250102T00200U006103000V005SHOP1";

    std::int64_t get_arqc(const char* data = terminal_data, const char* aid = "A000000333010101") {
        return getARQC(handle, data, aid, cryptogram.text(), cdol2.text());
    }

    GuardedBuffer cryptogram{16};
    GuardedBuffer cdol2{504};
};

constexpr char debit_cdol2[] = "8A029F02069F03069F1A0295055F2A029A039C019F37049F2103";

TEST_F(GetArqc, RunsATransactionUpToTheCryptogram) {
    insert(pboc_debit_card);
    EXPECT_EQ(get_arqc(), 0);
    EXPECT_TRUE(cryptogram.holds_text("1122334455667788"));
    EXPECT_TRUE(cdol2.holds_text(debit_cdol2));
    EXPECT_EQ(gucGetArqcFlag, 1);
    EXPECT_EQ(commands(), (Commands{"00A4040008A00000033301010100",
                                    "80A800000C830A"
                                    "00"
                                    "000000001000"
                                    "0156"
                                    "00"
                                    "00",
                                    "00B2010C00", "00B2020C00", "00B2011400", "00B2021400",
                                    "00B2031400", "00B2011C00",
                                    "80AE800034"
                                    "000000001000"
                                    "000000000000"
                                    "0000"
                                    "0000000000"
                                    "0156"
                                    "250102"
                                    "00"
                                    "00000000"
                                    "103000"
                                    "53484F5031"
                                    "000000000000000000000000"
                                    "000000"
                                    "00"}));
    EXPECT_EQ(element("9F27"), value("80"));
    EXPECT_EQ(element("9F36"), value("0042"));
    EXPECT_EQ(element("9F26"), value("1122334455667788"));
    EXPECT_EQ(element("9F10"), value("07010103A0B802010A010000012345A1B2C3D4"));
}

TEST_F(GetArqc, TakesTheFirstApplicationOfTheDirectoryWhenNoneIsNamed) {
    for (const char* aid : {static_cast<const char*>(nullptr), ""}) {
        insert(pboc_debit_card);
        EXPECT_EQ(get_arqc(terminal_data, aid), 0);
        const Commands sent = commands();
        ASSERT_GT(sent.size(), 4u);
        EXPECT_EQ(Commands(sent.begin(), sent.begin() + 4),
                  (Commands{"00A404000E315041592E5359532E444446303100", "00B2010C00", "00B2020C00",
                            "00A4040008A00000033301010100"}));
    }
}

TEST_F(GetArqc, WithoutTerminalDataSendsPaddingAndTheDefaultQualifiers) {
    insert(R"(
00A40400 *
    6F[ 84[A000000333010101] A5[ 9F38[ 9F6604 9F0206 5F2A02 9F4E03 ] ] ] 9000
80A80000 *
    80[ 7C00 08010100 ] 9000
00B2010C00
    70[ 8C[ 9F6604 9F0206 ] ] 9000
80AE8000 *
    80[ 80 0042 1122334455667788 ] 9000
)");
    EXPECT_EQ(get_arqc(nullptr), 0);
    EXPECT_EQ(commands(), (Commands{"00A4040008A00000033301010100",
                                    "80A8000011830F"
                                    "F4000000"
                                    "000000000000"
                                    "0000"
                                    "000000"
                                    "00",
                                    "00B2010C00",
                                    "80AE80000A"
                                    "F4000000"
                                    "000000000000"
                                    "00"}));
}

TEST_F(GetArqc, LeavesTheTextOfAnAbsentCdol2Alone) {
    insert(pboc_debit_card).with(R"(
00B2011400
    70[ 8C[9A03] ] 9000
)");
    EXPECT_EQ(get_arqc(), 0);
    EXPECT_TRUE(cryptogram.holds_text("1122334455667788"));
    EXPECT_TRUE(cdol2.untouched());
    EXPECT_EQ(gucGetArqcFlag, 1);
}

TEST_F(GetArqc, WritesTheLongestCdol2) {
    insert(pboc_debit_card).with(R"(
00B2011400
    70[ 8C[9A03] 8D[ C1*252 ] ] 9000
)");
    EXPECT_EQ(get_arqc(), 0);
    EXPECT_TRUE(cdol2.holds_text(to_hex(filled(252, 0xC1))));
}

TEST_F(GetArqc, SucceedsWithoutCryptogramInAFormat2Answer) {
    insert(pboc_debit_card).with("80AE8000 *\n    77[ 9F27[80] ] 9000\n");
    EXPECT_EQ(get_arqc(), 0);
    EXPECT_TRUE(cryptogram.untouched());
    EXPECT_TRUE(cdol2.holds_text(debit_cdol2));
    EXPECT_EQ(gucGetArqcFlag, 1);
}

TEST_F(GetArqc, DeliberatelySucceedsWhenTheCardDeclines) {
    insert(pboc_debit_card).with("80AE8000 *\n    80[ 00 0042 1122334455667788 ] 9000\n");
    EXPECT_EQ(get_arqc(), 0);
    EXPECT_TRUE(cryptogram.holds_text("1122334455667788"));
    EXPECT_EQ(element("9F27"), value("00"));
    EXPECT_EQ(gucGetArqcFlag, 1);
}

TEST_F(GetArqc, SurvivesMissingOutputBuffers) {
    insert(pboc_debit_card);
    EXPECT_EQ(getARQC(handle, terminal_data, "A000000333010101", nullptr, nullptr), 0);
    EXPECT_EQ(gucGetArqcFlag, 1);
}

TEST_F(GetArqc, SucceedsWithoutTheRecordsBehindARefusedOne) {
    insert(pboc_debit_card).with("00B2010C00\n    6A83\n");
    EXPECT_EQ(get_arqc(), 0);
    const Commands sent = commands();
    ASSERT_EQ(sent.size(), 8u);
    // The rest of file 1 is not read, the other files are.
    EXPECT_EQ(Commands(sent.begin() + 2, sent.begin() + 7),
              (Commands{"00B2010C00", "00B2011400", "00B2021400", "00B2031400", "00B2011C00"}));
    EXPECT_TRUE(cryptogram.holds_text("1122334455667788"));
    EXPECT_EQ(gucGetArqcFlag, 1);
}

struct FailureCase {
    const char* name;
    const char* rows;  // put before the card's own
    std::int64_t code;
    std::size_t sent;
};

class FailingArqc : public GetArqc, public testing::WithParamInterface<FailureCase> {};

TEST_P(FailingArqc, LeavesTextsAndFlagAlone) {
    insert(pboc_debit_card).with(GetParam().rows);
    EXPECT_EQ(get_arqc(), GetParam().code);
    EXPECT_EQ(commands().size(), GetParam().sent);
    EXPECT_TRUE(cryptogram.untouched());
    EXPECT_TRUE(cdol2.untouched());
    EXPECT_EQ(gucGetArqcFlag, 0);
}

constexpr FailureCase failure_cases[] = {
    {"SelectRefused", "00A40400 *\n    6A82\n", -27266, 1},
    {"ReaderGone", "00A40400 *\n    !-12\n", -12, 1},
    {"FciMalformed", "00A40400 *\n    6F05 9000\n", -107, 1},
    {"GpoRefused", "80A80000 *\n    6985\n", -107, 2},
    {"RecordMalformed", "00B2010C00\n    7005 9000\n", -107, 3},
    {"NoCdol1DeliberatelyPositive", "00B2011400\n    70[ 8D[9A03] ] 9000\n", 238, 8},
    {"Cdol1RecordRefused", "00B2011400\n    6A83\n", 238, 6},
    {"Cdol1DataTooLongDeliberatelyPositive", "00B2011400\n    70[ 8C[C1820101] ] 9000\n", 208, 8},
    {"GenerateAcRefused", "80AE8000 *\n    6985\n", -27013, 9},
    {"GenerateAcAnswerUnknownDeliberatelyPositive", "80AE8000 *\n    70[ 9F27[80] ] 9000\n", 208,
     9},
};

INSTANTIATE_TEST_SUITE_P(Online, FailingArqc, testing::ValuesIn(failure_cases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(GetArqc, DeliberatelyKeepsTheFlagOnceAnArqcWasObtained) {
    insert(pboc_debit_card);
    EXPECT_EQ(get_arqc(), 0);
    insert(pboc_debit_card).with("00A40400 *\n    6A82\n");
    EXPECT_EQ(get_arqc(), -27266);
    EXPECT_EQ(gucGetArqcFlag, 1);
}

}  // namespace
}  // namespace quorrin::test
