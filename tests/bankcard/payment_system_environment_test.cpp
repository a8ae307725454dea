// The payment system environment and its directory.

#include "tests/bankcard/pse_cards.hpp"

namespace quorrin::test {
namespace {

class SelectByPse : public BankCardTest {
  protected:
    static CandidateList older_list() { return {filled(200, 'X'), 17, 3}; }
    static void remember_an_older_list() { set_candidates(older_list()); }
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
    EXPECT_EQ(candidates(), candidates(text, 3));
    EXPECT_EQ(present_elements(), Elements{});
}

TEST_F(SelectByPse, DeliberatelyShowsSuccessAfterTheLastRecord) {
    for (const Refusal& refusal : refusals()) {
        remember_an_older_list();
        insert(card_with_directory("00B2010C00\n    70[ 61[ 4F[A000000333] ] ] 9000"))
            .at_step(2, refusal.answer);
        GuardedBuffer list(255);
        EXPECT_EQ(selectByPse(handle, list.text()), 0) << refusal.name;
        EXPECT_EQ(commands(), (Commands{select_pse, "00B2010C00", "00B2020C00"})) << refusal.name;
        EXPECT_TRUE(list.holds_text("A000000333")) << refusal.name;
        EXPECT_EQ(candidates(), candidates("A000000333", 1)) << refusal.name;
        EXPECT_EQ(CARD_SW1, 0x90) << refusal.name;
        EXPECT_EQ(CARD_SW2, 0x00) << refusal.name;
        // A status word came: 0. The transport failed: its result.
        const bool answered = !refusal.answer.bytes.empty();
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
        EXPECT_EQ(commands(), Commands{select_pse}) << refusal.name;
        EXPECT_TRUE(list.untouched()) << refusal.name;
        EXPECT_EQ(candidates(), older_list()) << refusal.name;
    }
}

TEST_F(SelectByPse, FetchesAnswersThatWait) {
    insert(card_with_directory("")).at_step(0, answer("6117")).with(R"(
00C0000017
    6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] ] ] 9000
00B2010C00
    610B
00C000000B
    70[ 61[ 4F[A000000333] ] ] 9000
00B2020C00
    6C0B
00B2020C0B
    70[ 61[ 4F[A000000444] ] ] 9000
00B2030C00
    6A83
)");
    GuardedBuffer list(255);
    EXPECT_EQ(selectByPse(handle, list.text()), 0);
    EXPECT_EQ(commands(), (Commands{select_pse, "00C0000017", "00B2010C00", "00C000000B",
                                    "00B2020C00", "00B2020C0B", "00B2030C00"}));
    EXPECT_TRUE(list.holds_text("A000000333|A000000444"));
    EXPECT_EQ(candidates(), candidates("A000000333|A000000444", 2));
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
    };
    for (const auto& [what, pse] : cases) {
        remember_an_older_list();
        insert(card_with_pse(pse, ""));
        GuardedBuffer list(255);
        EXPECT_EQ(selectByPse(handle, list.text()), -106) << what;
        EXPECT_EQ(commands(), Commands{select_pse}) << what;
        EXPECT_TRUE(list.untouched()) << what;
        EXPECT_EQ(candidates(), candidates("", 0)) << what << ": the older list is gone";
    }
}

TEST_F(SelectByPse, NeedsAnAnswerOfAtMost256Bytes) {
    const std::pair<std::size_t, const char*> cases[] = {
        {257, "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01] BF0C[ DF20[00*224] ] ] ]"},
        {1022,
         "6F[ 84['1PAY.SYS.DDF01'] A5[ 88[01]"
         " BF0C[ DF20[00*240] DF21[00*240] DF22[00*240] DF23[00*254] ] ] ]"},
    };
    for (const auto& [size, pse] : cases) {
        ASSERT_EQ(card_bytes(pse).size(), size);
        remember_an_older_list();
        insert(card_with_pse(pse, ""));
        GuardedBuffer list(255);
        EXPECT_EQ(selectByPse(handle, list.text()), -106) << size;
        EXPECT_EQ(commands(), Commands{select_pse}) << size;
        EXPECT_TRUE(list.untouched()) << size;
        EXPECT_EQ(candidates(), candidates("", 0)) << size;
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
        EXPECT_EQ(candidates(), candidates("", 0)) << what;
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
    EXPECT_EQ(commands(), (Commands{select_pse, "00B2010C00", "00B2020C00", "00B2030C00",
                                    "00B2040C00", "00B2050C00"}));
    EXPECT_TRUE(list.holds_text("A000000333|A000000444"));
    EXPECT_EQ(candidates(), candidates("A000000333|A000000444", 2));
}

TEST_F(SelectByPse, ReadsOnUntilTheCardEndsTheDirectory) {
    constexpr std::size_t records = 300;
    std::size_t sent = 0;
    reader().card = [&](const ByteString& command) {
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
        EXPECT_EQ(commands()[i], "00B2" + to_hex(ByteString{number}) + "0C00");
    }
}

TEST_F(SelectByPse, CopiesAFullListAndNothingMore) {
    // 17 AIDs of 5 bytes make 186 characters; one of 6 bytes brings them to 199, an empty one to
    // 200.
    std::string record = "70[";
    std::string text;
    for (int i = 0; i < 17; ++i) {
        record += "61[ 4F[A0000003" + to_hex(ByteString{static_cast<std::uint8_t>(i)}) + "] ]";
        text +=
            (i == 0 ? "A0000003" : "|A0000003") + to_hex(ByteString{static_cast<std::uint8_t>(i)});
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
    ASSERT_EQ(text.size(), 200u);
    EXPECT_EQ(candidates(), candidates(text, 19));
}

TEST_F(SelectByPse, RefusesANullBufferBeforeAnythingIsSent) {
    insert("");
    remember_an_older_list();
    EXPECT_EQ(selectByPse(handle, nullptr), -14);
    EXPECT_EQ(reader().calls, Commands{});
    EXPECT_EQ(candidates(), older_list());
}

}  // namespace
}  // namespace quorrin::test
