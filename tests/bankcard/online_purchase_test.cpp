// A purchase from end to end: open, power up, ARQC, issuer's answer with scripts of both kinds,
// power down, close. Every call of the reader, every log line, every result and all that is
// recorded.

#include <QLoggingCategory>

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

// What a byte string looks like in the log: read as text up to the first zero byte, every byte that
// is no ASCII shown as U+FFFD. The card's answers are chosen so that no bytes form a UTF-8
// character.
std::string as_logged(const ByteString& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (byte == 0) {
            break;
        }
        text += byte < 0x80 ? std::string(1, static_cast<char>(byte)) : "\xEF\xBF\xBD";
    }
    return text;
}

struct Exchange {
    const char* command;
    const char* answer;  // card notation, with status word
};

// In the order in which they have to come.
constexpr Exchange exchanges[] = {
    // SELECT
    {"00A40400 08 A000000333010101 00",
     "6F[ 84[A000000333010101] A5[ 50['DEBIT'] 9F38[ 9F6604 9F0206 5F2A02 9A03 ] ] ] 9000"},
    // GET PROCESSING OPTIONS; the qualifiers are the default
    {"80A80000 11 830F F4000000 000000012300 0156 261121 00", "80[ 7C00 08010201 10010100 ] 9000"},
    // READ RECORD
    {"00B2010C00", "70[ 57[6205500000000000004D30122200000123456F] 5F20['TEST'] ] 9000"},
    {"00B2020C00", "70[ 5A[6205500000000000004F] 5F34[01] 9F07[FF00] ] 9000"},
    {"00B2011400",
     "70[ 8C[ 9F0206 9F0306 9F1A02 9505 5F2A02 9A03 9C01 9F3704 9F4E08 ] 8D[ 8A02 9505 9F3704 ] ]"
     " 9000"},
    // GENERATE AC: the card announces its answer and gives it in two parts
    {"80AE8000 25 000000012300 000000000000 0000 0000000000 0156 261121 00 00000000"
     " 'TESTSHOP' 00",
     "6120"},
    {"00C0000020", "801C 80 0042 1122334455667788 07010103A0 610C"},
    {"00C000000C", "A002010A010000012345A1B2 9000"},
    // EXTERNAL AUTHENTICATE
    {"00820000 0A A1A2A3A4A5A6A7A83030", "9000"},
    // Scripts 71: the first runs, the second is refused by its check, the third one's second
    // command
    // is too short.
    {"84DC010C 0A 000000010000 D1D2D3D4 00", "9000"},
    {"84180000 04 E1E2E3E4 00", "6A82"},
    // Scripts 72: the one that runs
    {"841E0000 04 F1F2F3F4 00", "9000"},
};

constexpr char terminal_data[] =
    "P012000000012300Q012000000000000R0040156S006261121T00200U006101112V008TESTSHOP";

constexpr char authorisation[] = "8A[3030] 89['AUTH01'] 91[A1A2A3A4A5A6A7A83030]";
constexpr const char* scripts[] = {
    "72[ 9F18[72000001] 86[841E0000 04 F1F2F3F4] ]",
    "71[ 9F18[71000001] 86[84DC010C 0A 000000010000 D1D2D3D4] ]",
    "71[ 9F18[71000002] 86[84240000] 9F1A[0156] ]",
    "71[ 86[84180000 04 E1E2E3E4] 86[841600] ]",
    "72[ 86[84DC0000 3C AB*60] ]",
};

std::string issuer_text() {
    ByteString data = card_bytes(authorisation);
    for (const char* script : scripts) {
        data = join(data, card_bytes(script));
    }
    return to_hex(data);
}

std::string script_buffer() {
    ByteString buffer = hex("05");
    for (const char* script : scripts) {
        const ByteString bytes = card_bytes(script);
        buffer = join(buffer, ByteString{static_cast<std::uint8_t>(bytes.size())}, bytes);
    }
    return to_hex(join(buffer, hex("00")));
}

class Purchase : public LibraryTest {
  protected:
    Purchase() {
        emvClrIccAndTermData();
        gucGetArqcFlag = 0;
    }

    static bool is_announcement(const ByteString& card_answer) {
        return card_answer.size() == 2 && card_answer[0] == 0x61;
    }

    // What the exchanges have to leave in the reader's trace.
    static std::vector<std::string> expected_calls() {
        std::vector<std::string> calls{"Open", "PowerOn 7 01"};
        for (const Exchange& exchange : exchanges) {
            calls.push_back("Send 7 01: " + to_hex(card_bytes(exchange.command)));
        }
        calls.insert(calls.end(), {"PowerOff 7 01", "Close"});
        return calls;
    }

    static std::vector<std::string> expected_log() {
        std::vector<std::string> lines{"OpenDevice(SCRIPTED) = 7", "success: PowerUp(CPU) 4"};
        ByteString gathered;
        bool gathering = false;
        for (const Exchange& exchange : exchanges) {
            const ByteString command = card_bytes(exchange.command);
            const ByteString card_answer = card_bytes(exchange.answer);
            if (!gathering) {
                lines.push_back("DEV->CPU: " + as_logged(command));
            }
            if (is_announcement(card_answer)) {
                gathering = true;
                continue;
            }
            if (gathering) {
                // Parts are logged as one answer, without their announcements.
                gathered.insert(gathered.end(), card_answer.begin(), card_answer.end() - 2);
                if (*(card_answer.end() - 2) == 0x61) {
                    continue;
                }
                lines.push_back("ICC_Application " + as_logged(gathered));
                gathering = false;
                continue;
            }
            if (card_answer.size() > 2) {
                lines.push_back("CPU->DEV: " + as_logged(command));
            }
            lines.push_back("ICC_Application " + as_logged(card_answer));
        }
        lines.insert(lines.end(), {"success: PowerDown(CPU)", "CloseDevice(7)"});
        return lines;
    }
};

TEST_F(Purchase, RunsFromOpeningToClosingTheReader) {
    reader().power_on[0x01] = answer("3B024142");
    for (const Exchange& exchange : exchanges) {
        reader().answers.push_back(answer(card_bytes(exchange.answer)));
    }

    ASSERT_EQ(OpenDevice("AUTO", &ReaderHandle), 0);
    EXPECT_EQ(ReaderHandle, 7);
    GuardedBuffer atr(512);
    std::uint32_t atr_length = 0;
    ASSERT_EQ(PowerUp(ReaderHandle, EG_nUserCardType, atr.data(), &atr_length), 0);
    EXPECT_EQ(atr_length, 4u);
    EXPECT_TRUE(atr.holds(hex("3B024142")));

    GuardedBuffer cryptogram(17);
    GuardedBuffer cdol2(505);
    ASSERT_EQ(
        getARQC(ReaderHandle, terminal_data, "A000000333010101", cryptogram.text(), cdol2.text()),
        0);
    EXPECT_TRUE(cryptogram.holds_text("1122334455667788"));
    EXPECT_TRUE(cdol2.holds_text("8A0295059F3704"));
    EXPECT_EQ(gucGetArqcFlag, 1);
    const Elements before_answer = present_elements();
    EXPECT_EQ(before_answer, (Elements{
                                 {"84", "A000000333010101"},
                                 {"50", "4445424954"},
                                 {"9F38", "9F66049F02065F2A029A03"},
                                 {"82", "7C00"},
                                 {"94", "0801020110010100"},
                                 {"57", "6205500000000000004D30122200000123456F"},
                                 {"5F20", "54455354"},
                                 {"5A", "6205500000000000004F"},
                                 {"5F34", "01"},
                                 {"9F07", "FF00"},
                                 {"8C", "9F02069F03069F1A0295055F2A029A039C019F37049F4E08"},
                                 {"8D", "8A0295059F3704"},
                                 {"9F27", "80"},
                                 {"9F36", "0042"},
                                 {"9F26", "1122334455667788"},
                                 {"9F10", "07010103A0A002010A010000012345A1B2"},
                                 {"9F02", "000000012300"},
                                 {"9F03", "000000000000"},
                                 {"5F2A", "0156"},
                                 {"9A", "261121"},
                                 {"9C", "00"},
                                 {"9F21", "101112"},
                                 {"9F4E", "5445535453484F50"},
                                 {"9F66", "F4000000"},
                             }));

    ASSERT_EQ(ARPCExeScript(ReaderHandle, 0, issuer_text().c_str()), 0);
    EXPECT_EQ(CARD_SW1, 0x90);
    EXPECT_EQ(CARD_SW2, 0x00);
    EXPECT_EQ(CARD_STATUS, 0);

    EXPECT_EQ(PowerDown(ReaderHandle, EG_nUserCardType), 0);
    EXPECT_EQ(CloseDevice(&ReaderHandle), 0);
    EXPECT_EQ(ReaderHandle, 0);

    EXPECT_EQ(reader().calls, expected_calls());
    EXPECT_TRUE(reader().answers.empty());
    EXPECT_EQ(log.texts(), expected_log());

    // Three scripts 71 and two scripts 72 are recorded: one that ran, one refused behind a command,
    // one that failed at its second command; one that ran, one beyond the limit.
    const ByteString results(emvGetIssScrptRslt(), emvGetIssScrptRslt() + sizeof gl_Iss_ScriptRslt);
    EXPECT_EQ(emvGetIssScrptRsltNumber(), 25);
    ByteString expected_results = hex("2071000001 1071000002 1200000000 2072000001 0071000002");
    expected_results.resize(sizeof gl_Iss_ScriptRslt);
    EXPECT_EQ(to_hex(results), to_hex(expected_results));
    EXPECT_EQ(to_hex(gl_Tm_TVR), "0000000030");
    EXPECT_EQ(to_hex(gl_Tm_TSI), "0400");

    Elements after_answer = before_answer;
    after_answer["8A"] = "3030";
    after_answer["89"] = "415554483031";
    after_answer["91"] = "A1A2A3A4A5A6A7A83030";
    after_answer["9F18"] = "71000002";
    after_answer["71"] = script_buffer();
    EXPECT_EQ(present_elements(), after_answer);
}

TEST_F(Purchase, LogsNothingWhileTheLogIsOff) {
    QLoggingCategory::setFilterRules("default.debug=false");
    reader().card = [](const ByteString&) { return answer("9000"); };
    gucGetArqcFlag = 1;
    EXPECT_EQ(ARPCExeScript(7, 0, "7106860484180000"), 0);
    EXPECT_EQ(reader().commands().size(), 2u);
    EXPECT_TRUE(log.lines().empty());
    QLoggingCategory::setFilterRules("");
}

}  // namespace
}  // namespace quorrin::test
