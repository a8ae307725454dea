// The self-contained read of PAN and name.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

// Output buffers of their documented sizes.
struct Outputs {
    GuardedBuffer pan{21};
    std::int32_t pan_length = -1;
    GuardedBuffer name{252};
    std::uint8_t name_length = 0xA5;
};

// A card with a directory and one record.
std::string card_with_record(std::string_view record) {
    return R"(
00A40400 ['1PAY.SYS.DDF01'] 00
    6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] ] ] 9000
00B2010C00
    70[ 61[ 4F[A000000333] ] ] 9000
00B2 *
    6A83
00A40400 [A000000333] 00
    6F[ 84[A000000333] ] 9000
80A80000 *
    80[ 7C00 08010100 ] 9000
00B2010C00
    70[ )" +
           std::string(record) + " ] 9000\n";
}

const Commands whole_read{"00A404000E315041592E5359532E444446303100",
                          "00B2010C00",
                          "00B2020C00",
                          "00A4040005A00000033300",
                          "80A8000002830000",
                          "00B2010C00"};

Commands first_commands(std::size_t count) {
    return {whole_read.begin(), whole_read.begin() + static_cast<std::ptrdiff_t>(count)};
}

class PanAndName : public BankCardTest {
  protected:
    // Runs the body and returns what it wrote to standard output.
    std::string read(Outputs& out, std::int64_t expected_result) {
        testing::internal::CaptureStdout();
        const std::int64_t result = getIcAPNName(handle, out.pan.text(), &out.pan_length,
                                                 out.name.data(), &out.name_length);
        std::string trace = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, expected_result);
        return trace;
    }
};

TEST_F(PanAndName, EndsAnOddPanWhereItsPadWas) {
    insert(card_with_record("5A[62223344556677889F] 5F20['TEST/HOLDER']"));
    Outputs out;
    EXPECT_EQ(read(out, 0), "getIcAPNName 1596\ngetIcAPNName 1605\n");
    using namespace std::string_literals;
    EXPECT_TRUE(out.pan.holds_text("62223344556677889\0"s));
    EXPECT_EQ(out.pan_length, 17);
    EXPECT_TRUE(out.name.holds_text("TEST/HOLDER"));
    EXPECT_EQ(out.name_length, 11);
    Commands calls;
    for (const std::string& command : whole_read) {
        calls.push_back("Send 7 01: " + command);
    }
    EXPECT_EQ(reader().calls, calls);
    EXPECT_TRUE(log.texts().size() > 0) << "the exchanges are logged; the trace is not";
    for (const std::string& line : log.texts()) {
        EXPECT_EQ(line.find("getIcAPNName"), std::string::npos) << line;
    }
}

TEST_F(PanAndName, DeliberatelyLeavesTheLengthOfAnEvenPanAlone) {
    insert(card_with_record("5A[6222334455667788] 5F20['X']"));
    Outputs out;
    read(out, 0);
    EXPECT_TRUE(out.pan.holds_text("6222334455667788"));
    EXPECT_EQ(out.pan_length, -1);
}

TEST_F(PanAndName, WritesThePanOfEveryLength) {
    struct Case {
        const char* pan;
        std::string text;
        int length;
    };
    const Case cases[] = {
        {"11", "11", -1},
        {"1F", std::string("1\0", 2), 1},
        {"F1", "F1", -1},
        {"FF", std::string("F\0", 2), 1},
        {"622233445566778F", std::string("622233445566778\0", 16), 15},
        // Only the last character is looked at.
        {"62223344556677FF", std::string("62223344556677F\0", 16), 15},
        {"622233445566778E", "622233445566778E", -1},
        {"6205500000000000004F", std::string("6205500000000000004\0", 20), 19},
        {"62055000000000000042", "62055000000000000042", -1},
    };
    for (const Case& c : cases) {
        insert(card_with_record("5A[" + std::string(c.pan) + "]"));
        Outputs out;
        read(out, 0);
        EXPECT_TRUE(out.pan.holds_text(c.text)) << c.pan;
        EXPECT_EQ(out.pan_length, c.length) << c.pan;
    }
}

TEST_F(PanAndName, WritesNoPanWhenTheCardHasNone) {
    insert(card_with_record("5F20['TEST/HOLDER']"));
    Outputs out;
    read(out, 0);
    EXPECT_TRUE(out.pan.untouched());
    EXPECT_EQ(out.pan_length, -1);
    EXPECT_TRUE(out.name.holds_text("TEST/HOLDER"));
}

TEST_F(PanAndName, WritesNoNameWhenTheCardHasNone) {
    insert(card_with_record("5A[6222334455667788]"));
    Outputs out;
    read(out, 0);
    EXPECT_TRUE(out.name.untouched());
    EXPECT_EQ(out.name_length, 0);
}

TEST_F(PanAndName, CopiesTheLongestNameUnchanged) {
    insert(card_with_record("5F20['A' 00 C4E3 41*248]"));
    Outputs out;
    read(out, 0);
    EXPECT_TRUE(out.name.holds(join(hex("4100C4E3"), filled(248, 0x41))));
    EXPECT_EQ(out.name_length, 252);
}

TEST_F(PanAndName, TracesHowFarItCame) {
    struct Case {
        const char* what;
        std::size_t step;
        Answer answer;
        std::int64_t result;
        std::size_t commands;
        const char* trace;
    };
    const char* const selecting = "getIcAPNName 1596\ngetIcAPNName 1601\n";
    const char* const starting = "getIcAPNName 1596\ngetIcAPNName 1605\ngetIcAPNName 1609\n";
    const char* const reading = "getIcAPNName 1596\ngetIcAPNName 1605\n";
    const Case cases[] = {
        {"PSE refused", 0, answer("6A82"), -27266, 1, selecting},
        {"PSE not transported", 0, failure(-11), -11, 1, selecting},
        {"no directory", 0, answer("8401009000"), -40000, 1, selecting},
        {"application refused", 3, answer("6283"), -26881, 4, selecting},
        {"malformed FCI", 3, answer("6F019000"), -107, 4, selecting},
        {"processing options refused", 4, answer("6985"), -107, 5, starting},
        {"processing options not transported", 4, failure(-4), -107, 5, starting},
        {"malformed record", 5, answer("70019000"), -107, 6, reading},
        {"record refused", 5, answer("6A83"), 0, 6, reading},
        {"record not transported", 5, failure(-11), 0, 6, reading},
    };
    for (const Case& c : cases) {
        insert(card_with_record("5A[6222334455667788] 5F20['TEST/HOLDER']"))
            .at_step(c.step, c.answer);
        Outputs out;
        EXPECT_EQ(read(out, c.result), c.trace) << c.what;
        EXPECT_EQ(commands(), first_commands(c.commands)) << c.what;
        EXPECT_TRUE(out.pan.untouched()) << c.what;
        EXPECT_EQ(out.pan_length, -1) << c.what;
        EXPECT_TRUE(out.name.untouched()) << c.what;
        EXPECT_EQ(out.name_length, c.result == 0 ? 0 : 0xA5) << c.what;
    }
}

// As for the card holder information: GET PROCESSING OPTIONS goes out and decides.
TEST_F(PanAndName, DeliberatelyGoesOnWithoutASelectionAfterALostDirectory) {
    for (const std::size_t lost : {1u, 2u}) {
        Commands sent = first_commands(1 + lost);
        sent.push_back("80A8000002830000");
        insert(card_with_record("5A[6222334455667788]"))
            .with("80A80000 *\n    6985")
            .at_step(lost, failure(-4));
        Outputs refused;
        EXPECT_EQ(read(refused, -107), "getIcAPNName 1596\ngetIcAPNName 1605\ngetIcAPNName 1609\n");
        EXPECT_TRUE(refused.pan.untouched());
        EXPECT_TRUE(refused.name.untouched());
        EXPECT_EQ(commands(), sent);

        sent.push_back("00B2011400");
        insert(card_with_record("5A[6222334455667788]"))
            .with(
                "80A80000 *\n    80[ 7C00 10010100 ] 9000\n"
                "00B2011400\n    70[ 5A[6205500000000000] ] 9000")
            .at_step(lost, failure(-4));
        Outputs answered;
        EXPECT_EQ(read(answered, 0), "getIcAPNName 1596\ngetIcAPNName 1605\n");
        EXPECT_TRUE(answered.pan.holds_text("6205500000000000"));
        EXPECT_EQ(answered.name_length, 0);
        EXPECT_EQ(commands(), sent);
    }
}

TEST_F(PanAndName, RefusesNullPointersBeforeAnythingIsSent) {
    insert("");
    Outputs out;
    testing::internal::CaptureStdout();
    EXPECT_EQ(getIcAPNName(handle, nullptr, &out.pan_length, out.name.data(), &out.name_length),
              -14);
    EXPECT_EQ(getIcAPNName(handle, out.pan.text(), nullptr, out.name.data(), &out.name_length),
              -14);
    EXPECT_EQ(getIcAPNName(handle, out.pan.text(), &out.pan_length, nullptr, &out.name_length),
              -14);
    EXPECT_EQ(getIcAPNName(handle, out.pan.text(), &out.pan_length, out.name.data(), nullptr), -14);
    EXPECT_EQ(ICRT_GetICPanName(0, 5, nullptr, &out.pan_length, out.name.data(), &out.name_length),
              -14);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(reader().calls, Commands{});
    EXPECT_EQ(EG_port, 0);
}

class SelfContainedRead : public BankCardTest {
  protected:
    SelfContainedRead() {
        reader().power_on[0x01] = {4, hex("3B651122")};
        reader().power_on[0x31] = {4, hex("3B800180")};
    }

    std::string read(Outputs& out, std::int32_t card_kind, std::int32_t expected_result) {
        testing::internal::CaptureStdout();
        const std::int32_t result = ICRT_GetICPanName(card_kind, 3, out.pan.text(), &out.pan_length,
                                                      out.name.data(), &out.name_length);
        std::string trace = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, expected_result);
        return trace;
    }

    static Commands calls(const Commands& before, const std::string& slot, std::size_t sent,
                          const Commands& after) {
        Commands all = before;
        for (const std::string& command : first_commands(sent)) {
            all.push_back("Send 7 " + slot + ": " + command);
        }
        all.insert(all.end(), after.begin(), after.end());
        return all;
    }
};

TEST_F(SelfContainedRead, OpensReadsAndCloses) {
    insert(card_with_record("5A[62223344556677889F] 5F20['TEST/HOLDER']"));
    Outputs out;
    EXPECT_EQ(read(out, 0, 0), "getIcAPNName 1596\ngetIcAPNName 1605\n");
    using namespace std::string_literals;
    EXPECT_TRUE(out.pan.holds_text("62223344556677889\0"s));
    EXPECT_EQ(out.pan_length, 17);
    EXPECT_TRUE(out.name.holds_text("TEST/HOLDER"));
    EXPECT_EQ(out.name_length, 11);
    EXPECT_EQ(reader().calls, calls({"Open", "PowerOn 7 01"}, "01", 6, {"PowerOff 7 01", "Close"}));
    EXPECT_EQ(EG_port, 3);
    EXPECT_EQ(ReaderHandle, 0);
}

TEST_F(SelfContainedRead, LooksForTheCardByItsKind) {
    struct Case {
        std::int32_t kind;
        bool contactless_present;
        Commands before;
        const char* slot;
        const char* power_off;
    };
    const Case cases[] = {
        {0, true, {"Open", "PowerOn 7 01"}, "01", "PowerOff 7 01"},
        {1, true, {"Open", "PowerOn 7 31"}, "31", "PowerOff 7 03"},
        {2, true, {"Open", "PowerOn 7 31"}, "31", "PowerOff 7 03"},
        {2, false, {"Open", "PowerOn 7 31", "PowerOn 7 01"}, "01", "PowerOff 7 01"},
    };
    for (const Case& c : cases) {
        reader().power_on[0x31] = c.contactless_present ? Answer{4, hex("3B800180")} : failure(-2);
        insert(card_with_record("5A[6222334455667788]"));
        Outputs out;
        read(out, c.kind, 0);
        EXPECT_TRUE(out.pan.holds_text("6222334455667788"));
        EXPECT_EQ(reader().calls, calls(c.before, c.slot, 6, {c.power_off, "Close"}));
    }
}

// Any failure of the contactless slot but "no card" and "mute" passes for a card that was found.
TEST_F(SelfContainedRead, DeliberatelyTriesTheContactlessSlotThatFailedOtherwise) {
    for (const std::int64_t failed : {-1, -3, -11, -12, -99}) {
        reader().power_on[0x31] = failure(failed);
        insert(card_with_record("")).at_step(0, failure(-12));
        Outputs lost;
        EXPECT_EQ(read(lost, 2, -12), "getIcAPNName 1596\ngetIcAPNName 1601\n");
        EXPECT_EQ(reader().calls, calls({"Open", "PowerOn 7 31"}, "31", 1, {})) << failed;
        EXPECT_EQ(ReaderHandle, 7) << "left open";
        EXPECT_TRUE(lost.pan.untouched());
        EXPECT_EQ(CloseAllDevice(), 0);

        insert(card_with_record("5A[6222334455667788]"));
        Outputs out;
        read(out, 2, 0);
        EXPECT_TRUE(out.pan.holds_text("6222334455667788"));
        EXPECT_EQ(reader().calls,
                  calls({"Open", "PowerOn 7 31"}, "31", 6, {"PowerOff 7 03", "Close"}))
            << failed;
    }
}

TEST_F(SelfContainedRead, TriesTheContactSlotWhenTheContactlessCardIsMute) {
    reader().power_on[0x31] = failure(-4);
    insert(card_with_record("5A[6222334455667788]"));
    Outputs out;
    read(out, 2, 0);
    EXPECT_TRUE(out.pan.holds_text("6222334455667788"));
    EXPECT_EQ(reader().calls,
              calls({"Open", "PowerOn 7 31", "PowerOn 7 01"}, "01", 6, {"PowerOff 7 01", "Close"}));
}

TEST_F(SelfContainedRead, RefusesOtherCardKindsBeforeAnythingElse) {
    for (const std::int32_t kind : {3, 4, 11, -1, -2147483647 - 1, 2147483647}) {
        Outputs out;
        EXPECT_EQ(read(out, kind, -1), "");
        EXPECT_EQ(reader().calls, Commands{});
        EXPECT_EQ(EG_port, 0);
        EXPECT_TRUE(out.pan.untouched());
        EXPECT_TRUE(out.name.untouched());
        EXPECT_EQ(out.name_length, 0xA5);
        EXPECT_EQ(log.texts(), Commands{});
    }
}

TEST_F(SelfContainedRead, ReportsAReaderThatDoesNotOpen) {
    for (const auto& [opened, code] : {std::pair<int, int>{-11, -11}, {-99, -40000}}) {
        reader().open.result = opened;
        reader().calls.clear();
        Outputs out;
        EXPECT_EQ(read(out, 0, code), "");
        EXPECT_EQ(reader().calls, Commands{"Open"});
        EXPECT_EQ(EG_port, 3);
        EXPECT_TRUE(out.pan.untouched());
    }
}

TEST_F(SelfContainedRead, ReportsACardThatIsNotThere) {
    reader().power_on.clear();
    Outputs out;
    EXPECT_EQ(read(out, 0, -2), "");
    EXPECT_EQ(reader().calls, (Commands{"Open", "PowerOn 7 01", "PowerOff 7 01", "Close"}));
    EXPECT_EQ(ReaderHandle, 0);
    EXPECT_TRUE(out.pan.untouched());
    EXPECT_EQ(out.name_length, 0xA5);
}

TEST_F(SelfContainedRead, DeliberatelyLeavesTheReaderOpenAfterAFailure) {
    struct Case {
        std::size_t step;
        Answer answer;
        std::int32_t result;
        std::size_t sent;
    };
    const Case cases[] = {
        {0, answer("6A82"), -27266, 1},   {0, failure(-4), -4, 1},
        {3, answer("6A81"), -27265, 4},   {4, answer("6985"), -107, 5},
        {5, answer("70019000"), -107, 6},
    };
    for (const Case& c : cases) {
        insert(card_with_record("5A[6222334455667788]")).at_step(c.step, c.answer);
        Outputs out;
        read(out, 0, c.result);
        EXPECT_EQ(reader().calls, calls({"Open", "PowerOn 7 01"}, "01", c.sent, {}));
        EXPECT_EQ(ReaderHandle, 7);
        EXPECT_TRUE(out.pan.untouched());
        EXPECT_EQ(CloseAllDevice(), 0);
    }
}

TEST_F(SelfContainedRead, SucceedsAlsoWhenTheReaderDoesNotClose) {
    reader().close = -12;
    insert(card_with_record("5A[6222334455667788]"));
    Outputs out;
    read(out, 0, 0);
    EXPECT_EQ(reader().calls, calls({"Open", "PowerOn 7 01"}, "01", 6, {"PowerOff 7 01", "Close"}));
    EXPECT_EQ(ReaderHandle, 7);
}

TEST_F(SelfContainedRead, ReadsAPbocDebitCard) {
    insert(pboc_debit_card);
    Outputs out;
    read(out, 2, 0);
    using namespace std::string_literals;
    EXPECT_TRUE(out.pan.holds_text("6205500000000000004\0"s));
    EXPECT_EQ(out.pan_length, 19);
    EXPECT_TRUE(out.name.holds_text("TEST/CARDHOLDER"));
    EXPECT_EQ(out.name_length, 15);
    EXPECT_EQ(commands(),
              (Commands{"00A404000E315041592E5359532E444446303100", "00B2010C00", "00B2020C00",
                        "00A4040008A00000033301010100", "80A800000C830A0000000000000000000000",
                        "00B2010C00", "00B2020C00", "00B2011400", "00B2021400", "00B2031400",
                        "00B2011C00"}));
}

TEST_F(SelfContainedRead, CannotSelectOnACardWithoutADirectory) {
    insert(emv_credit_card);
    Outputs out;
    EXPECT_EQ(read(out, 0, -27266), "getIcAPNName 1596\ngetIcAPNName 1601\n");
    EXPECT_EQ(commands(), first_commands(1));
}

}  // namespace
}  // namespace quorrin::test
