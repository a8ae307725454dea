// Recordings as cards, through the six functions: what was answered is answered, and where a host first
// departs is said.

#include "reader_libraries/simulator/test_digits.hpp"
#include "reader_libraries/trace/line_writing.hpp"
#include "reader_libraries/trace/masking/card_masking.hpp"
#include "tests/reader_libraries/simulator/simulator_test.hpp"

namespace quorrin::test {
namespace {

// Writes recordings as the recorder does.
class Recording {
  public:
    Recording& power_on(std::string_view atr, std::int64_t failure = 0) {
        const ByteString bytes = hex(atr);
        masking_.power_on();
        add({.action = trace::Action::PowerOn,
             .slot = slot_,
             .result = failure != 0 ? failure : static_cast<std::int64_t>(bytes.size()),
             .answer = bytes});
        return *this;
    }
    Recording& power_off() {
        add({.action = trace::Action::PowerOff, .slot = slot_ == 0x31 ? 3 : slot_});
        return *this;
    }
    Recording& exchange(std::string_view command, std::string_view answer,
                        std::int64_t failure = 0) {
        const ByteString sent = hex(command);
        const ByteString received = hex(answer);
        add({.action = trace::Action::Exchange,
             .slot = slot_,
             .result = failure != 0 ? failure : static_cast<std::int64_t>(received.size()),
             .command_length = static_cast<std::int64_t>(sent.size()),
             .command = sent,
             .answer = received});
        return *this;
    }
    Recording& slot(int code) {
        slot_ = code;
        return *this;
    }
    Recording& masked() {
        masked_ = true;
        return *this;
    }
    const std::string& text() const { return text_; }

  private:
    void add(const trace::Call& call) {
        trace::DigitMask command;
        trace::DigitMask answer;
        trace::Shown shown{.masked = masked_};
        if (call.action == trace::Action::Exchange && masked_) {
            masking_.exchange(call.command, call.answer, secrets_, command, answer);
            shown.command = &command;
            shown.answer = &answer;
        }
        text_ += writer_.line(call, {"T", "s", 1}, ++sequence_, shown);
    }

    int slot_ = contact;
    bool masked_ = false;
    std::uint64_t sequence_ = 0;
    std::string text_;
    trace::CardMasking masking_;
    trace::KnownSecrets secrets_;
    trace::LineWriter writer_;
};

class TraceCard : public SimulatorTest {
  protected:
    // The recording as the card in the contact slot; the reader is open.
    void replay(const Recording& recording) {
        directory.write("t.jsonl", recording.text());
        use("reader.toml", "[contact]\ntrace = \"t.jsonl\"\n");
        ASSERT_GT(open(), 0);
    }
    std::string powered_on(int slot = contact) {
        ByteString atr(512);
        const std::int64_t result = ICC_Reader_PowerOn(handle, slot, atr.data());
        if (result < 0) {
            return "result " + std::to_string(result);
        }
        atr.resize(static_cast<std::size_t>(result));
        return to_hex(atr);
    }
    std::int64_t power_off() { return ICC_Reader_PowerOff(handle, contact); }

    template <typename Work>
    static std::string complaints(Work&& work) {
        testing::internal::CaptureStderr();
        work();
        return testing::internal::GetCapturedStderr();
    }
    // What opening says of a recording.
    std::string refusal(const std::string& recording, const std::string& more = {}) {
        directory.write("t.jsonl", recording);
        use("reader.toml", "[contact]\ntrace = \"t.jsonl\"\n" + more);
        return complaints([this] { EXPECT_LT(open(), 0); });
    }
};

Recording short_recording() {
    Recording recording;
    recording.power_on("3B 6D 01")
        .exchange("00A4040002A000", "6F00 9000")
        .exchange("00B2010C00", "7000 9000")
        .exchange("00B2020C00", "6A83")
        .power_off();
    return recording;
}

TEST_F(TraceCard, AnswersWhatWasAnsweredInOrder) {
    replay(short_recording());
    const std::string said = complaints([this] {
        EXPECT_EQ(powered_on(), "3B6D01");
        EXPECT_EQ(send(contact, "00A4040002A000"), "6F009000");
        EXPECT_EQ(send(contact, "00B2010C00"), "70009000");
        EXPECT_EQ(send(contact, "00B2020C00"), "6A83");
        EXPECT_EQ(power_off(), 0);
    });
    EXPECT_EQ(said, "");
}

TEST_F(TraceCard, AnswersTheSameCommandAsItWasAnsweredEachTime) {
    Recording recording;
    recording.power_on("3B00")
        .exchange("80CA9F3600", "9F360200019000")
        .exchange("80CA9F3600", "9F360200029000");
    replay(recording);
    powered_on();
    EXPECT_EQ(send(contact, "80CA9F3600"), "9F360200019000");
    EXPECT_EQ(send(contact, "80CA9F3600"), "9F360200029000");
}

TEST_F(TraceCard, GoesOnWithTheNextSessionAfterTheReaderWasClosed) {
    Recording recording;
    recording.power_on("3B01")
        .exchange("80CA9F3600", "9001")
        .power_on("3B02")
        .exchange("80CA9F3600", "9002");
    replay(recording);
    const std::string said = complaints([this] {
        EXPECT_EQ(powered_on(), "3B01");
        EXPECT_EQ(send(contact, "80CA9F3600"), "9001");
        ICC_Reader_Close();
        open();
        EXPECT_EQ(powered_on(), "3B02");
        EXPECT_EQ(send(contact, "80CA9F3600"), "9002");
    });
    EXPECT_EQ(said, "");
}

TEST_F(TraceCard, FailsAsTheReaderFailed) {
    Recording recording;
    recording.power_on("", -2)
        .power_on("3B00")
        .exchange("00A4040002A000", "6F00 9000")
        .exchange("00B2010C00", "", -2)  // pulled out
        .power_on("", -4);
    replay(recording);
    const std::string said = complaints([this] {
        EXPECT_EQ(powered_on(), "result -2");
        EXPECT_EQ(powered_on(), "3B00");
        EXPECT_EQ(send(contact, "00A4040002A000"), "6F009000");
        EXPECT_EQ(send(contact, "00B2010C00"), "result -2");
        EXPECT_EQ(powered_on(), "result -4");
    });
    EXPECT_EQ(said, "");
}

TEST_F(TraceCard, AnswersForItsSlotOnly) {
    Recording recording;
    recording.slot(contactless)
        .power_on("", -2)
        .slot(contact)
        .power_on("3B00")
        .exchange(
            "00840000"
            "04",
            "9000");
    directory.write("t.jsonl", recording.text());
    use("reader.toml", "[contact]\ntrace = \"t.jsonl\"\n[contactless]\ntrace = \"t.jsonl\"\n");
    ASSERT_GT(open(), 0);
    EXPECT_EQ(powered_on(contactless), "result -2");
    EXPECT_EQ(powered_on(), "3B00");
    EXPECT_EQ(send(contact, "0084000004"), "9000");
}

// ---- departures ----

TEST_F(TraceCard, SaysWhereTheHostFirstDeparts) {
    replay(short_recording());
    const std::string said = complaints([this] {
        powered_on();
        send(contact, "00A4040002A000");
        EXPECT_EQ(send(contact, "00B2020C00"), "6A83");  // found further on
        EXPECT_EQ(send(contact, "00B2010C00"), "70009000");
        EXPECT_EQ(send(contact, "00B2090C00"), "6F00");
    });
    EXPECT_EQ(
        said,
        "libquorrin-simulator: contact: the host departs from t.jsonl at line 3: recorded was "
        "READ RECORD 00B2010C of 5 bytes; the host sent READ RECORD 00B2020C of 5 bytes, other "
        "from byte 3 on\n");
}

TEST_F(TraceCard, ShowsNoDataOfACommandThatDeparts) {
    Recording recording;
    recording.power_on("3B00").exchange("0020008008 241111FFFFFFFFFF", "9000");
    replay(recording);
    const std::string said = complaints([this] {
        powered_on();
        EXPECT_EQ(send(contact, "0020008008241234FFFFFFFFFF"), "6F00");
    });
    EXPECT_EQ(
        said,
        "libquorrin-simulator: contact: the host departs from t.jsonl at line 2: recorded was "
        "VERIFY 00200080 of 13 bytes; the host sent VERIFY 00200080 of 13 bytes, other from byte "
        "7 on\n");
}

TEST_F(TraceCard, SaysThatTheHostGoesOnWhereTheRecordingEnds) {
    Recording recording;
    recording.power_on("3B00");
    replay(recording);
    const std::string said = complaints([this] {
        powered_on();
        EXPECT_EQ(send(contact,
                       "80FE"
                       "0000"),
                  "6F00");
    });
    EXPECT_EQ(
        said,
        "libquorrin-simulator: contact: the host departs from t.jsonl at its end; the host sent "
        "80FE0000 of 4 bytes\n");
}

TEST_F(TraceCard, SaysThatTheHostStopsEarly) {
    replay(short_recording());
    const std::string said = complaints([this] {
        powered_on();
        send(contact, "00A4040002A000");
        EXPECT_EQ(power_off(), 0);
    });
    EXPECT_EQ(
        said,
        "libquorrin-simulator: contact: the host departs from t.jsonl at line 3: recorded was "
        "READ RECORD 00B2010C of 5 bytes; the card was powered down\n");
}

TEST_F(TraceCard, SaysThatTheHostPowersOnOnceMore) {
    replay(short_recording());
    const std::string said = complaints([this] {
        powered_on();
        EXPECT_EQ(powered_on(), "3B6D01");
        EXPECT_EQ(send(contact, "00A4040002A000"), "6F009000");
    });
    EXPECT_EQ(
        said,
        "libquorrin-simulator: contact: the host departs from t.jsonl at line 2: recorded was "
        "SELECT 00A40400 of 7 bytes; the card was powered on\n");
}

TEST_F(TraceCard, PowersOnWithoutARecordedAnswerToReset) {
    Recording recording;
    recording.exchange("00B2010C00", "9000");
    replay(recording);
    const std::string said = complaints([this] {
        EXPECT_EQ(powered_on(), "3B00");
        EXPECT_EQ(send(contact, "00B2010C00"), "9000");
    });
    EXPECT_EQ(
        said,
        "libquorrin-simulator: contact: the host departs from t.jsonl at line 1: recorded was "
        "READ RECORD 00B2010C of 5 bytes; the card was powered on\n");
}

// ---- masked recordings ----

TEST_F(TraceCard, AnswersTestDigitsForMaskedOnes) {
    Recording recording;
    recording.masked()
        .power_on("3B00")
        .exchange("00B2010C00",
                  "7041 5713 6228000000000011D30122010000012300000F"
                  "5F2010 5245414C2F4E414D4520484F4C444552"
                  "9F6112 313130313031313939303031303132333458 9F620100 9000")
        .exchange("00B2011400", "7016 5A08 6228000000000011 5F3401 01 5F2403 301231 9000")
        .exchange("0020008008 241234FFFFFFFFFF", "9000");
    replay(recording);
    const std::string said = complaints([this] {
        powered_on();
        EXPECT_EQ(send(contact, "00B2010C00"),
                  "70415713"
                  "9999000000000004D30122010000000000000F"
                  "5F2010"
                  "544553542F43415244484F4C44455220"
                  "9F6112"
                  "544553543030303030303030303030303030"
                  "9F620100"
                  "9000");
        EXPECT_EQ(send(contact, "00B2011400"), "70165A0899990000000000045F3401015F24033012319000");
        // Any digits do where the recording's are masked.
        EXPECT_EQ(send(contact, "0020008008249999FFFFFFFFFF"), "9000");
        EXPECT_EQ(send(contact, "0020008008249999FFFFFFFFFF"), "9000");
    });
    EXPECT_EQ(
        said,
        "libquorrin-simulator: contact: the host departs from t.jsonl at its end; the host sent "
        "VERIFY 00200080 of 13 bytes (masked digits are answered as test digits)\n");
}

TEST_F(TraceCard, AnswersTestDigitsAlsoInPortions) {
    Recording recording;
    recording.masked()
        .power_on("3B00")
        .exchange("00B2011400", "6108")
        .exchange("00C0000008", "7013 5A08 62280000 610D")
        .exchange("00C000000D", "00000011 5F3401 01 9F0702 FF00 9000");
    replay(recording);
    powered_on();
    send(contact, "00B2011400");
    EXPECT_EQ(send(contact, "00C0000008"), "70135A0899990000610D");
    EXPECT_EQ(send(contact, "00C000000D"), "000000045F3401019F0702FF009000");
}

TEST(TestDigits, AccountNumbersPassTheirCheck) {
    EXPECT_EQ(simulator::test_account(16), "9999000000000004");
    EXPECT_EQ(simulator::test_account(19), "9999000000000000004");
    EXPECT_EQ(simulator::test_account(13), "9999000000004");
    EXPECT_EQ(simulator::test_account(3), "999");
    for (std::size_t size = 8; size <= 19; ++size) {
        int sum = 0;
        const std::string account = simulator::test_account(size);
        ASSERT_EQ(account.size(), size);
        for (std::size_t i = 0; i < size; ++i) {
            const int digit = account[size - 1 - i] - '0';
            const int twice = 2 * digit;
            sum += i % 2 == 0 ? digit : twice / 10 + twice % 10;
        }
        EXPECT_EQ(sum % 10, 0) << account;
    }
}

TEST_F(TraceCard, DoesWhatThePageShows) {
    std::ifstream page(QUORRIN_TRACES_PAGE);
    const std::string text{std::istreambuf_iterator<char>(page), {}};
    const auto block = [&text](std::string_view kind) {
        const auto start = text.find("```" + std::string(kind) + "\n") + kind.size() + 4;
        return text.substr(start, text.find("```", start) - start);
    };
    Recording recording;
    recording.power_on("3B00");
    for (int i = 0; i < 7; ++i) {
        recording.exchange("80CA9F3600", "9000");
    }
    recording.exchange("00B2010C00", "9000");
    directory.write("T0042.jsonl", recording.text());
    use("replay.toml", block("toml"));
    ASSERT_GT(open(), 0);
    const std::string said = complaints([this] {
        powered_on();
        for (int i = 0; i < 7; ++i) {
            send(contact, "80CA9F3600");
        }
        send(contact, "00B2020C00");
    });
    EXPECT_EQ(said, block("text"));
}

// ---- files ----

TEST_F(TraceCard, IgnoresALineThatACrashCutShort) {
    Recording recording = short_recording();
    directory.write("t.jsonl", recording.text() + recording.text().substr(0, 50));
    use("reader.toml", "[contact]\ntrace = \"t.jsonl\"\n");
    EXPECT_GT(open(), 0);
    EXPECT_EQ(powered_on(), "3B6D01");
}

TEST_F(TraceCard, RefusesWhatIsNoTrace) {
    const std::string good = short_recording().text();
    EXPECT_EQ(refusal(good + "nonsense\n"),
              "libquorrin-simulator: t.jsonl: line 6: not JSON from column 2 on\n");
    EXPECT_EQ(refusal("{\"trace.version\":2}\n"),
              "libquorrin-simulator: t.jsonl: line 1: trace.version is 2, only 1 is known here\n");
    EXPECT_EQ(refusal(""), "libquorrin-simulator: t.jsonl: shows nothing of the slot contact\n");
    EXPECT_EQ(refusal(Recording().slot(contactless).power_on("3B00").text()),
              "libquorrin-simulator: t.jsonl: shows nothing of the slot contact\n");
}

TEST_F(TraceCard, RefusesAFileThatIsNotThere) {
    use("reader.toml", "[contact]\ntrace = \"missing.jsonl\"\n");
    EXPECT_EQ(complaints([this] { EXPECT_EQ(open(), -14); }),
              "libquorrin-simulator: reader.toml: line 2: contact.trace: missing.jsonl: cannot be "
              "read\n");
}

TEST_F(TraceCard, StandsAlone) {
    const std::string good = short_recording().text();
    for (const char* other : {"profile = \"own.toml\"", "t0.portion = 16"}) {
        EXPECT_NE(refusal(good, other), "") << other;
    }
}

}  // namespace
}  // namespace quorrin::test
