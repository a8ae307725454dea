// Answers that are cut short or have a byte changed: a code each time. In whole transactions they
// stand in the 1024 bytes of an exchange, where the sanitizers cannot see a read beyond an answer's
// end; that is looked for with inputs in buffers of their exact size.

#include "tests/bankcard/bank_card_test.hpp"

namespace quorrin::test {
namespace {

struct DamagedCard {
    const char* name;
    const char* text;
    const char* aid;
    std::size_t answers_with_data;  // of a read that succeeds
};

void PrintTo(const DamagedCard& card, std::ostream* out) {
    *out << card.name;
}

class DamagedAnswer : public BankCardTest, public testing::WithParamInterface<DamagedCard> {
  protected:
    // Reads the card once and keeps the data that it answered with, by step.
    DamagedAnswer() : card_(GetParam().text) {
        card_.otherwise(answer("6D00"));
        ReaderHandle = handle;
        std::size_t step = 0;
        ScriptedCard card = card_;
        reader().card = [&](const ByteString& command) {
            const ByteString bytes = card.exchange(command).bytes;
            if (bytes.size() > 2) {
                data_[step] = ByteString(bytes.begin(), bytes.end() - 2);
            }
            ++step;
            return answer(bytes);
        };
        undamaged_result_ = read();
    }

    void SetUp() override {
        ASSERT_EQ(undamaged_result_, 0);
        ASSERT_EQ(data_.size(), GetParam().answers_with_data);
        for (const auto& [step, data] : data_) {
            ASSERT_EQ(read_with(step, data), 0) << "the undamaged answer of step " << step;
        }
    }

    static std::int64_t read() {
        GuardedBuffer out(2048);
        return getIccInfo(handle, GetParam().aid, "ABCDEFGHIJKL", out.text());
    }

    // The result of a read in which the answer of one step holds this data.
    std::int64_t read_with(std::size_t step, const ByteString& data) {
        reader().calls.clear();
        log.clear();
        ScriptedCard card = card_;
        card.at_step(step, answer(join(data, hex("9000")))).insert();
        return read();
    }

    void expect_a_code_when(std::size_t step, const ByteString& damaged) {
        const std::int64_t result = read_with(step, damaged);
        // Success; malformed; no directory; no such application.
        EXPECT_THAT(result, testing::AnyOf(0, -107, -40000, -27266))
            << "step " << step << ", " << to_hex(damaged);
        if (damaged.size() > 0 && damaged[0] == fci_template && result == 0) {
            ++damaged_fcis_taken_;
        }
    }

    // A damaged FCI still selects, so that the steps after it are reached.
    void expect_damaged_fcis_taken() const { EXPECT_GT(damaged_fcis_taken_, 0u); }

    std::map<std::size_t, ByteString> data_;

  private:
    static constexpr std::uint8_t fci_template = 0x6F;

    std::size_t damaged_fcis_taken_ = 0;
    ScriptedCard card_;
    std::int64_t undamaged_result_;
};

TEST_P(DamagedAnswer, CutShortGetsACode) {
    for (const auto& [step, data] : data_) {
        for (std::size_t length = 0; length < data.size(); ++length) {
            expect_a_code_when(
                step, ByteString(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length)));
        }
    }
}

TEST_P(DamagedAnswer, WithAByteChangedGetsACode) {
    for (const auto& [step, data] : data_) {
        for (std::size_t position = 0; position < data.size(); ++position) {
            for (const int byte : {0x00, 0x01, 0x7F, 0x81, 0xFF}) {
                ByteString changed = data;
                changed[position] = static_cast<std::uint8_t>(byte);
                expect_a_code_when(step, changed);
            }
        }
    }
    expect_damaged_fcis_taken();
}

INSTANTIATE_TEST_SUITE_P(Cards, DamagedAnswer,
                         testing::Values(DamagedCard{"PbocDebit", pboc_debit_card, "", 13},
                                         DamagedCard{"EmvCredit", emv_credit_card, "A0000000041010",
                                                     5}),
                         [](const auto& test) { return test.param.name; });

// One answer after the other, in a buffer of its exact size, to a function that takes it directly.
class DamagedInput : public BankCardTest {
  protected:
    using Process = std::int64_t (*)(const std::uint8_t* data, std::uint16_t length);
    using Codes = std::map<std::int64_t, std::size_t>;  // how often each one came

    // Gives every beginning of an answer, and the answer with every byte changed to every value.
    static Codes codes_of(Process process, const ByteString& whole) {
        Codes codes;
        const auto give = [&](const ByteString& damaged) {
            emvClrIccAndTermData();
            set_candidates(candidates("", 0));
            ExactBytes input(damaged);
            ++codes[process(input.data(), input.size16())];
        };
        for (std::size_t length = 0; length < whole.size(); ++length) {
            give(ByteString(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        }
        for (std::size_t position = 0; position < whole.size(); ++position) {
            for (int change = 1; change < 256; ++change) {
                ByteString changed = whole;
                changed[position] = static_cast<std::uint8_t>(changed[position] ^ change);
                give(changed);
            }
        }
        return codes;
    }

    // These codes and no others, each at least once.
    static void expect_codes(const Codes& codes, const std::vector<std::int64_t>& expected) {
        std::vector<std::int64_t> got;
        for (const auto& [code, count] : codes) {
            got.push_back(code);
        }
        EXPECT_THAT(got, testing::UnorderedElementsAreArray(expected));
    }
};

TEST_F(DamagedInput, OfADirectoryRecordGetsACode) {
    const ByteString record = card_bytes(R"(
        70[ 61[ 4F[A000000333010101] 50['DEBIT'] 87[01] ]
            61[ 50['CREDIT'] 4F[A000000333010102] 73[ BF0C[ DF20[0102] ] ] ] ])");
    expect_codes(codes_of(emvProcessSFIofDDF, record), {0, -107});
}

TEST_F(DamagedInput, OfADirectoryFciGetsACode) {
    const ByteString fci = card_bytes(R"(
        6F[ 84['2PAY.SYS.DDF01']
            A5[ 88[01] BF0C[ 61[ 4F[A000000333010101] 50['D'] 87[01] ]
                             61[ 50['C'] 4F[A000000333010102] ] ] ] ])");
    expect_codes(codes_of(qPBOCProcessDDF, fci), {0, 212, 213, 214, 216});
}

TEST_F(DamagedInput, OfProcessingOptionsGetsACode) {
    const Process extract = [](const std::uint8_t* data, std::uint16_t length) {
        return std::int64_t{emvExtractAipAfl(data, length)};
    };
    expect_codes(codes_of(extract, card_bytes("80[ 7C00 08010200 10010301 18010100 ]")),
                 {0, -31, -28, -27});
    expect_codes(codes_of(extract, card_bytes("00 80[ 7C00 08010200 ]")), {0, -31, -28, -27});
    expect_codes(codes_of(extract, card_bytes("77[ 82[7C00] 94[08010200 10010301] 9F36[0042] ]")),
                 {0, -31, -28, -27});
}

}  // namespace
}  // namespace quorrin::test
