// Card holder information as keyed value text.

#include "tests/bankcard/pse_cards.hpp"

namespace quorrin::test {
namespace {

class PackedInformation : public BankCardTest {
  protected:
    PackedInformation() : out_(2048) { ReaderHandle = handle; }

    // Packs into a buffer of its full size; what is not written keeps its pattern.
    testing::AssertionResult packs(const std::string& keys, const std::string& expected) {
        out_ = GuardedBuffer(2048);
        if (const std::int32_t result = packUserInfo(keys.c_str(), out_.text())) {
            return testing::AssertionFailure() << "result " << result;
        }
        return out_.holds_text(expected);
    }

  private:
    GuardedBuffer out_;
};

TEST_F(PackedInformation, NamesHexAndRawValues) {
    put("5A", hex("6222334455667788"));
    put("5F20", text_bytes("TEST/HOLDER"));
    insert("");
    EXPECT_TRUE(packs("AB", "A0166222334455667788B011TEST/HOLDER"));
    EXPECT_TRUE(packs("BA", "B011TEST/HOLDERA0166222334455667788"));
    EXPECT_EQ(reader().calls, Commands{}) << "nothing is fetched from the card";
}

TEST_F(PackedInformation, HoldsEveryElementOfTheTable) {
    put("5A", hex("6205500000000000004F"));
    put("5F20", hex("54455354 00 C4E3"));
    put("9F62", hex("01"));
    put("9F61", text_bytes("TEST00000000000018"));
    put("9F42", hex("0156"));
    put("5F24", hex("301231"));
    put("5F34", hex("01"));
    put("57", hex("6205500000000000004D30122200000123456F"));
    put("9F1F", text_bytes("0102030405"));
    insert(R"(
80CA9F7900
    9F79[000000012345] 9000
80CA9F7700
    9F77[000000100000] 9000
80CA9F7800
    9F78[0500] 9000
)");
    using namespace std::string_literals;
    EXPECT_TRUE(packs("ABCDEFGHIJKL",
                      "A0206205500000000000004F"
                      "B007TEST\0\xC4\xE3"
                      "C00201"
                      "D018TEST00000000000018"
                      "E012000000012345"
                      "F012000000100000"
                      "G0040500"
                      "H0040156"
                      "I006301231"
                      "J00201"
                      "K0386205500000000000004D30122200000123456F"
                      "L0100102030405"s));
    EXPECT_EQ(commands(), (Commands{"80CA9F7900", "80CA9F7700", "80CA9F7800"}));
}

TEST_F(PackedInformation, KeepsTheOrderOfTheKeysAndRepeatsThem) {
    put("5F34", hex("01"));
    put("9F42", hex("0156"));
    EXPECT_TRUE(packs("JHJ", "J00201H0040156J00201"));
}

TEST_F(PackedInformation, LeavesOutUnknownKeysAndAbsentElements) {
    put("5F34", hex("01"));
    insert("80CA *\n    6A88\n");
    EXPECT_TRUE(packs("Z", ""));
    EXPECT_TRUE(packs("ZJ ja\xFF\tPA", "J00201"));
    EXPECT_TRUE(packs("", ""));
    EXPECT_EQ(reader().calls, Commands{});
    EXPECT_TRUE(packs("EZ", ""));
    EXPECT_TRUE(packs("EFGJ", "J00201"));
    EXPECT_EQ(commands(), (Commands{"80CA9F7900", "80CA9F7900", "80CA9F7700", "80CA9F7800"}));
}

TEST_F(PackedInformation, AsksForTheStateAndNotForTheValue) {
    put("5F34", hex("01"));
    const ByteString tag = hex("5F34");
    ASSERT_EQ(emvSetDataElementState(tag.data(), 2, 0), 0);
    EXPECT_TRUE(packs("J", ""));
    ASSERT_EQ(emvSetDataElementState(tag.data(), 2, 1), 0);
    EXPECT_TRUE(packs("J", "J00201"));
    ASSERT_EQ(emvSetDataElementLength(tag.data(), 2, 0, 0), 0);
    EXPECT_TRUE(packs("J", "J000"));
}

TEST_F(PackedInformation, FetchesTheElementEveryTime) {
    insert("80CA *\n    9F79[000000000200] 9000\n").once("80CA *\n    9F79[000000000100] 9000\n");
    EXPECT_TRUE(packs("EE", "E012000000000100E012000000000200"));
    EXPECT_EQ(commands(), (Commands{"80CA9F7900", "80CA9F7900"}));
}

TEST_F(PackedInformation, TakesTheStoredValueWhenTheCardRefusesANewOne) {
    for (const Refusal& refusal : refusals()) {
        emvClrIccAndTermData();
        put("9F79", hex("000000000700"));
        insert("").at_step(0, refusal.answer);
        EXPECT_TRUE(packs("E", "E012000000000700")) << refusal.name;
        EXPECT_EQ(commands(), Commands{"80CA9F7900"}) << refusal.name;
    }
}

TEST_F(PackedInformation, DeliberatelyFetchesFromTheOpenReader) {
    ReaderHandle = 55;
    insert("80CA *\n    9F79[000000000100] 9000\n");
    EXPECT_TRUE(packs("E", "E012000000000100"));
    EXPECT_EQ(reader().calls, Commands{"Send 55 01: 80CA9F7900"});
}

TEST_F(PackedInformation, LeavesOutAnItemThatDoesNotFit) {
    // Seven items of 260 characters are 1820.
    put("9F1F", ByteString(256, 'T'));
    const std::string track = "L256" + std::string(256, 'T');
    std::string seven;
    for (int i = 0; i < 7; ++i) {
        seven += track;
    }
    put("5F20", ByteString(224, 'N'));
    put("5F34", hex("01"));
    const std::string name = "B224" + std::string(224, 'N');
    EXPECT_TRUE(packs("LLLLLLLB", seven + name)) << "2048 characters";
    EXPECT_TRUE(packs("LLLLLLLBJ", seven + name));
    EXPECT_TRUE(packs("LLLLLLLLJLB", seven + "J00201")) << "a shorter one still fits";
    put("5F20", ByteString(225, 'N'));
    EXPECT_TRUE(packs("LLLLLLLBJ", seven + "J00201")) << "one character too many";
}

TEST_F(PackedInformation, WalksTheWholeKeyString) {
    put("5F34", hex("01"));
    put("9F62", hex("00"));
    EXPECT_TRUE(packs(std::string(255, 'Z') + "J", "J00201"));
    EXPECT_TRUE(packs(std::string(256, 'Z') + "J", "J00201"));
    EXPECT_TRUE(packs(std::string(10000, 'Z') + "JC", "J00201C00200"));
    std::string items;
    for (int i = 0; i < 341; ++i) {
        items += "J00201";
    }
    EXPECT_TRUE(packs(std::string(1000, 'J'), items)) << "341 items of 6 characters are 2046";
}

TEST_F(PackedInformation, StaysInsideItsBuffersWhateverLengthTheHostLeft) {
    put("9F1F", ByteString(256, 'T'));
    const ByteString tag = hex("9F1F");
    ASSERT_EQ(emvSetDataElementLength(tag.data(), 2, 0xFFFF, 0), 0);
    put("5F34", hex("01"));
    EXPECT_TRUE(packs("LJ", "J00201"));
}

TEST_F(PackedInformation, LeavesOutWhatThreeDigitsCannotCount) {
    put("9F1F", ByteString(256, 'T'));
    put("5F34", hex("01"));
    const ByteString tag = hex("9F1F");
    ASSERT_EQ(emvSetDataElementLength(tag.data(), 2, 999, 0), 0);
    EXPECT_TRUE(packs("LJ", "L999" + std::string(256, 'T') + std::string(743, '\0') + "J00201"));
    ASSERT_EQ(emvSetDataElementLength(tag.data(), 2, 1000, 0), 0);
    EXPECT_TRUE(packs("LJ", "J00201"));
}

TEST_F(PackedInformation, TakesNullPointersForNothing) {
    GuardedBuffer out(16);
    EXPECT_EQ(packUserInfo(nullptr, out.text()), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(packUserInfo("A", nullptr), 0);
}

constexpr char small_card[] = R"(
00A40400 [A000000333] 00
    6F[ 84[A000000333] A5[ 9F38[ 9F6604 9F0206 5A02 ] ] ] 9000
80A80000 *
    80[ 7C00 08010200 ] 9000
00B2010C00
    70[ 5A[6222334455667788] ] 9000
00B2020C00
    70[ 5F20['TEST/HOLDER'] ] 9000
80CA9F7900
    9F79[000000012345] 9000
)";

const Commands small_card_commands{"00A4040005A00000033300",
                                   "80A800000E830CF400000000000000000000"
                                   "0000",
                                   "00B2010C00", "00B2020C00"};

class CardHolderInformation : public BankCardTest {
  protected:
    CardHolderInformation() { ReaderHandle = handle; }

    // The first commands of a read of the small card that ends with GET DATA for key E.
    static Commands first_commands(std::size_t count) {
        Commands commands = small_card_commands;
        commands.push_back("80CA9F7900");
        commands.resize(count);
        return commands;
    }
};

TEST_F(CardHolderInformation, RunsTheWholeChain) {
    insert(small_card);
    GuardedBuffer out(2048);
    EXPECT_EQ(getIccInfo(handle, "A000000333", "AEB", out.text()), 0);
    EXPECT_TRUE(out.holds_text("A0166222334455667788E012000000012345B011TEST/HOLDER"));
    EXPECT_EQ(commands(), first_commands(5));
}

TEST_F(CardHolderInformation, DeliberatelyAsksTheOpenReaderForGetDataAlone) {
    ReaderHandle = 55;
    insert(small_card);
    GuardedBuffer out(2048);
    EXPECT_EQ(getIccInfo(handle, "A000000333", "E", out.text()), 0);
    Commands calls;
    for (const std::string& command : small_card_commands) {
        calls.push_back("Send 7 01: " + command);
    }
    calls.push_back("Send 55 01: 80CA9F7900");
    EXPECT_EQ(reader().calls, calls);
}

TEST_F(CardHolderInformation, WritesNothingForNoKeys) {
    insert(small_card);
    GuardedBuffer out(2048);
    EXPECT_EQ(getIccInfo(handle, "A000000333", "", out.text()), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(commands(), small_card_commands);
}

TEST_F(CardHolderInformation, StartsFromAnEmptyStore) {
    put("9F02", hex("000000001000"));
    put("9F66", hex("26000080"));
    put("5F34", hex("01"));
    insert(small_card);
    GuardedBuffer out(2048);
    EXPECT_EQ(getIccInfo(handle, "A000000333", "J", out.text()), 0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(commands(), small_card_commands);
}

TEST_F(CardHolderInformation, EndsWithTheFirstStepThatFails) {
    struct Case {
        const char* what;
        std::size_t step;
        Answer answer;
        std::int64_t result;
        std::size_t commands;
    };
    const Case cases[] = {
        {"selection refused", 0, answer("6A82"), -27266, 1},
        {"selection not transported", 0, failure(-11), -11, 1},
        {"malformed FCI", 0, answer("6F109000"), -107, 1},
        {"processing options refused", 1, answer("6985"), -107, 2},
        {"processing options not transported", 1, failure(-4), -107, 2},
        {"malformed record", 2, answer("70109000"), -107, 3},
    };
    for (const Case& c : cases) {
        insert(small_card).at_step(c.step, c.answer);
        GuardedBuffer out(2048);
        EXPECT_EQ(getIccInfo(handle, "A000000333", "AB", out.text()), c.result) << c.what;
        EXPECT_TRUE(out.untouched()) << c.what;
        EXPECT_EQ(commands(), first_commands(c.commands)) << c.what;
    }
}

// A directory that is lost on the way ends with success, so that GET PROCESSING OPTIONS goes out
// with an empty store and no application selected; the card's answer to it decides.
TEST_F(CardHolderInformation, DeliberatelyGoesOnWithoutASelectionAfterALostDirectory) {
    const std::string_view directory = R"(
00B2010C00
    70[ 61[ 4F[A000000333] ] ] 9000
00B2 *
    6A83
)";
    struct Case {
        const char* what;
        const char* rows;  // of the card after it
        std::int64_t result;
        const char* text;
        Commands commands;  // after the directory
    };
    const Case cases[] = {
        {"refused", "80A80000 *\n    6985", -107, "", {"80A8000002830000"}},
        {"answered",
         "80A80000 *\n    80[ 7C00 10010100 ] 9000\n"
         "00B2011400\n    70[ 5A[6222334455667788] ] 9000",
         0,
         "A0166222334455667788",
         {"80A8000002830000", "00B2011400"}},
    };
    for (const std::size_t lost : {1u, 2u}) {
        for (const Case& c : cases) {
            put("9F38", hex("9F0206"));
            insert(card_with_directory(directory)).with(c.rows).at_step(lost, failure(-11));
            GuardedBuffer out(2048);
            EXPECT_EQ(getIccInfo(handle, nullptr, "A", out.text()), c.result) << c.what;
            EXPECT_TRUE(out.holds_text(c.text)) << c.what;
            Commands expected{select_pse, "00B2010C00", "00B2020C00"};
            expected.resize(1 + lost);
            expected.insert(expected.end(), c.commands.begin(), c.commands.end());
            EXPECT_EQ(commands(), expected) << c.what << ", lost at " << lost;
        }
    }
}

TEST_F(CardHolderInformation, GoesOnWhenARecordOrGetDataIsRefused) {
    for (const Refusal& refusal : refusals()) {
        insert(small_card).at_step(3, refusal.answer).at_step(4, refusal.answer);
        GuardedBuffer out(2048);
        EXPECT_EQ(getIccInfo(handle, "A000000333", "EAB", out.text()), 0) << refusal.name;
        EXPECT_TRUE(out.holds_text("A0166222334455667788")) << refusal.name;
        EXPECT_EQ(commands(), first_commands(5)) << refusal.name;
    }
}

TEST_F(CardHolderInformation, RefusesNullPointersBeforeAnythingIsSent) {
    put("5F34", hex("01"));
    insert("");
    GuardedBuffer out(16);
    EXPECT_EQ(getIccInfo(handle, "A000000333", nullptr, out.text()), -14);
    EXPECT_EQ(getIccInfo(handle, "A000000333", "A", nullptr), -14);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(reader().calls, Commands{});
    EXPECT_EQ(element("5F34"), value("01"));
}

TEST_F(CardHolderInformation, ReadsAPbocDebitCard) {
    insert(pboc_debit_card);
    GuardedBuffer out(2048);
    EXPECT_EQ(getIccInfo(handle, nullptr, "ABCDEFGHIJKL", out.text()), 0);
    EXPECT_TRUE(
        out.holds_text("A0206205500000000000004F"
                       "B015TEST/CARDHOLDER"
                       "C00200"
                       "D018TEST00000000000018"
                       "E012000000012345"
                       "F012000000100000"
                       "G012000000050000"
                       "H0040156"
                       "I006301231"
                       "J00201"
                       "K0386205500000000000004D30122200000123456F"
                       "L0100102030405"));
    EXPECT_EQ(commands(),
              (Commands{"00A404000E315041592E5359532E444446303100", "00B2010C00", "00B2020C00",
                        "00A4040008A00000033301010100", "80A800000C830A0000000000000000000000",
                        "00B2010C00", "00B2020C00", "00B2011400", "00B2021400", "00B2031400",
                        "00B2011C00", "80CA9F7900", "80CA9F7700", "80CA9F7800"}));
    EXPECT_EQ(candidates(), candidates("A000000333010101", 1));
}

TEST_F(CardHolderInformation, ReadsAnEmvCreditCardByItsAid) {
    insert(emv_credit_card);
    GuardedBuffer out(2048);
    EXPECT_EQ(getIccInfo(handle, nullptr, "A", out.text()), -27266) << "no directory";
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(getIccInfo(handle, "A0000000041010", "ABCEHIJK", out.text()), 0);
    EXPECT_TRUE(
        out.holds_text("A0165413330089020011"
                       "B008DOE/JOHN"
                       "H0040978"
                       "I006301231"
                       "J00200"
                       "K0345413330089020011D30122010123456789"));
    EXPECT_EQ(commands(), (Commands{"00A404000E315041592E5359532E444446303100",
                                    "00A4040007A000000004101000", "80A8000002830000", "00B2010C00",
                                    "00B2011400", "00B2021400", "80CA9F7900"}));
}

}  // namespace
}  // namespace quorrin::test
