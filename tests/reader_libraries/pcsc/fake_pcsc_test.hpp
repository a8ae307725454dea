// Fixture of the tests with PC/SC functions that are played: three readers with a card each.
#pragma once

#include "tests/reader_libraries/pcsc/fake_pcsc.hpp"
#include "tests/reader_libraries/pcsc/pcsc_test.hpp"

namespace quorrin::test {

// Answers 90 00.
inline LONG answer_done(std::span<const std::uint8_t>, std::uint8_t* answer, DWORD* length) {
    answer[0] = 0x90;
    answer[1] = 0x00;
    *length = 2;
    return SCARD_S_SUCCESS;
}

class FakePcscTest : public PcscTest {
  protected:
    FakePcscTest() {
        fake = FakePcsc();
        fake.readers = {{.name = "Desk Reader 00 00"},
                        {.name = "Desk Reader NFC 00 01", .answer_to_reset = {0x3B, 0x01, 0x31}},
                        {.name = "SAM Reader 00 00", .answer_to_reset = {0x3B, 0x01, 0x11}}};
        fake.answer = answer_done;
    }
    ~FakePcscTest() override { ICC_Reader_Close(); }

    // The reader is open, and the contact card has power.
    void open_with_card() {
        ASSERT_GT(open(), 0);
        ASSERT_EQ(power_on(contact), "3B00");
        fake.calls.clear();
    }

    void next_result(const char* function, LONG result) {
        fake.results[function].push_back(result);
    }

    FakePcsc& fake = fake_pcsc();
};

inline constexpr const char* some_command = "80CA9F3600";

}  // namespace quorrin::test
