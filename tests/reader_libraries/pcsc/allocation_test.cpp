// An exchange of commands over PC/SC allocates nothing. A program of its own: it counts what malloc
// is asked for.

#include "tests/reader_libraries/pcsc/fake_pcsc_test.hpp"
#include "tests/support/counted_allocations.hpp"

namespace quorrin::test {
namespace {

class PcscAllocation : public FakePcscTest {
  protected:
    std::int64_t exchange(std::vector<std::uint8_t>& command) {
        return ICC_Reader_Application(handle, contact, static_cast<std::int64_t>(command.size()),
                                      command.data(), response);
    }
    std::uint8_t response[1024] = {};
};

TEST_F(PcscAllocation, NoneInAnExchange) {
    for (const auto protocol : {DWORD{SCARD_PROTOCOL_T0}, DWORD{SCARD_PROTOCOL_T1}}) {
        fake.reader("Desk Reader 00 00").protocol = protocol;
        ASSERT_GT(open(), 0);
        ASSERT_EQ(power_on(contact), "3B00");
        ByteString command = hex("00A4040008A00000033301010100");
        const std::size_t before = allocations;
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(exchange(command), 2);
        }
        EXPECT_EQ(allocations, before);
        EXPECT_EQ(ICC_Reader_Close(), 0);
    }
}

// The count itself.
TEST_F(PcscAllocation, SomeInAnOpening) {
    const std::size_t before = allocations;
    ASSERT_GT(open(), 0);
    EXPECT_GT(allocations, before);
}

}  // namespace
}  // namespace quorrin::test
