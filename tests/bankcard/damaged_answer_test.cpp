// Whole transactions in which one answer is cut short or has a byte changed: a code each time, and
// no access outside the answer (which the sanitizers watch).

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
        reader().card = [&](const Bytes& command) {
            const Bytes bytes = card.exchange(command).bytes;
            if (bytes.size() > 2) {
                data_[step] = Bytes(bytes.begin(), bytes.end() - 2);
            }
            ++step;
            return answer(bytes);
        };
        undamaged_result_ = read();
    }

    void SetUp() override {
        ASSERT_EQ(undamaged_result_, 0);
        ASSERT_EQ(data_.size(), GetParam().answers_with_data);
    }

    static std::int64_t read() {
        GuardedBuffer out(2048);
        return getIccInfo(handle, GetParam().aid, "ABCDEFGHIJKL", out.text());
    }

    void expect_a_code_when(std::size_t step, const Bytes& damaged) {
        reader().calls.clear();
        log.clear();
        ScriptedCard card = card_;
        card.at_step(step, answer(join(damaged, hex("9000")))).insert();
        // Success; malformed; no directory; no such application.
        EXPECT_THAT(read(), testing::AnyOf(0, -107, -40000, -27266))
            << "step " << step << ", " << to_hex(damaged);
    }

    std::map<std::size_t, Bytes> data_;

  private:
    ScriptedCard card_;
    std::int64_t undamaged_result_;
};

TEST_P(DamagedAnswer, CutShortGetsACode) {
    for (const auto& [step, data] : data_) {
        for (std::size_t length = 0; length < data.size(); ++length) {
            expect_a_code_when(
                step, Bytes(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length)));
        }
    }
}

TEST_P(DamagedAnswer, WithAByteChangedGetsACode) {
    for (const auto& [step, data] : data_) {
        for (std::size_t position = 0; position < data.size(); ++position) {
            for (const int byte : {0x00, 0x01, 0x7F, 0x81, 0xFF}) {
                Bytes changed = data;
                changed[position] = static_cast<std::uint8_t>(byte);
                expect_a_code_when(step, changed);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Cards, DamagedAnswer,
                         testing::Values(DamagedCard{"PbocDebit", pboc_debit_card, "", 13},
                                         DamagedCard{"EmvCredit", emv_credit_card, "A0000000041010",
                                                     5}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace quorrin::test
