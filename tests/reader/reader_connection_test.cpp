// OpenDevice, CloseDevice, CloseAllDevice, GetDevSerial.

#include <limits>

#include "tests/support/library_test.hpp"

namespace quorrin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t reader_failures[] = {
    -1, -2, -3, -4, -5, -11, -12, -13, -14, -15, -51, -40000, std::int64_t{-5'000'000'000}};

class ReaderConnection : public LibraryTest {
  protected:
    std::int64_t handle = 99;
    char auto_name[5] = "AUTO";
};

TEST_F(ReaderConnection, OpenStoresTheHandle) {
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    EXPECT_EQ(handle, 7);
    EXPECT_EQ(ReaderHandle, 0);
    EXPECT_THAT(reader().calls, ElementsAre("Open"));
    EXPECT_THAT(log.texts(), ElementsAre("OpenDevice(SCRIPTED) = 7"));
}

TEST_F(ReaderConnection, OpenHandsOverAnEmptyNameWhateverTheHostNamed) {
    char other[] = "COM7";
    EXPECT_EQ(OpenDevice(other, &handle), 0);
    EXPECT_EQ(reader().handed_buffer, filled(32, 0));
    EXPECT_EQ(OpenDevice(nullptr, &handle), 0);
    EXPECT_EQ(reader().handed_buffer, filled(32, 0));
}

TEST_F(ReaderConnection, OpenAgainOverwritesTheHandle) {
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    reader().open.result = 1;
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    EXPECT_EQ(handle, 1);
}

TEST_F(ReaderConnection, OpenPassesFailuresThrough) {
    for (const std::int64_t result : reader_failures) {
        reader().open.result = result;
        EXPECT_EQ(OpenDevice(auto_name, &handle), result);
        EXPECT_EQ(handle, 99);
        EXPECT_THAT(log.texts(), ElementsAre("OpenDevice(SCRIPTED)"));
        log.clear();
    }
}

TEST_F(ReaderConnection, OpenResultZeroDeliberatelyIsSuccessWithoutHandle) {
    reader().open.result = 0;
    ReaderHandle = 42;
    EXPECT_EQ(OpenDevice(auto_name, &ReaderHandle), 0);
    EXPECT_EQ(ReaderHandle, 42);
    EXPECT_THAT(log.texts(), ElementsAre("OpenDevice(SCRIPTED)"));
}

TEST_F(ReaderConnection, OpenLogsTheHandleAsInt) {
    reader().open.result = (std::int64_t{1} << 40) + 5;
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    EXPECT_EQ(handle, (std::int64_t{1} << 40) + 5);
    EXPECT_THAT(log.texts(), ElementsAre("OpenDevice(SCRIPTED) = 5"));
}

TEST_F(ReaderConnection, DeviceNameIsLoggedAsWrittenPercentSignsIncluded) {
    reader().open.bytes = text_bytes("%s%n%d 100% %1 %%");
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    reader().open.result = -11;
    EXPECT_EQ(OpenDevice(auto_name, &handle), -11);
    EXPECT_THAT(log.texts(),
                ElementsAre("OpenDevice(%s%n%d 100% %1 %%) = 7", "OpenDevice(%s%n%d 100% %1 %%)"));
}

TEST_F(ReaderConnection, DeviceNameWithoutTerminatorEndsWithItsBuffer) {
    reader().open.bytes = filled(32, 'N');
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    EXPECT_THAT(log.texts(), ElementsAre("OpenDevice(" + std::string(32, 'N') + ") = 7"));
}

TEST_F(ReaderConnection, DeviceNameMayBeEmptyOrNoUtf8) {
    reader().open.bytes = {};
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    reader().open.bytes = hex("41 FF 42");
    EXPECT_EQ(OpenDevice(auto_name, &handle), 0);
    EXPECT_THAT(log.texts(), ElementsAre("OpenDevice() = 7",
                                         "OpenDevice(A\xEF\xBF\xBD"
                                         "B) = 7"));
}

TEST_F(ReaderConnection, OpenRefusesANullHandle) {
    EXPECT_EQ(OpenDevice(auto_name, nullptr), -14);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReaderConnection, CloseClearsTheHandle) {
    EXPECT_EQ(CloseDevice(&handle), 0);
    EXPECT_EQ(handle, 0);
    EXPECT_THAT(reader().calls, ElementsAre("Close"));
    EXPECT_THAT(log.texts(), ElementsAre("CloseDevice(99)"));
}

TEST_F(ReaderConnection, CloseWithoutHandleDoesNothing) {
    handle = 0;
    EXPECT_EQ(CloseDevice(&handle), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReaderConnection, ClosePositiveResultIsSuccess) {
    for (const std::int64_t result : {std::int64_t{1}, std::int64_t{5'000'000'000}}) {
        handle = 99;
        reader().close = result;
        EXPECT_EQ(CloseDevice(&handle), 0);
        EXPECT_EQ(handle, 0);
    }
}

TEST_F(ReaderConnection, CloseFailureKeepsTheHandle) {
    for (const std::int64_t result : reader_failures) {
        reader().close = result;
        EXPECT_EQ(CloseDevice(&handle), result);
        EXPECT_EQ(handle, 99);
        EXPECT_THAT(log.texts(), ElementsAre("CloseDevice(99)"));
        log.clear();
    }
}

TEST_F(ReaderConnection, CloseTakesNegativeHandlesAndLogsThemAsInt) {
    handle = -3;
    EXPECT_EQ(CloseDevice(&handle), 0);
    EXPECT_EQ(handle, 0);
    handle = std::int64_t{1} << 32;
    EXPECT_EQ(CloseDevice(&handle), 0);
    EXPECT_THAT(log.texts(), ElementsAre("CloseDevice(-3)", "CloseDevice(0)"));
}

TEST_F(ReaderConnection, CloseRefusesANullHandle) {
    EXPECT_EQ(CloseDevice(nullptr), -14);
    EXPECT_THAT(reader().calls, IsEmpty());
}

TEST_F(ReaderConnection, CloseAllPowersTheUserCardDownFirst) {
    ReaderHandle = 7;
    EG_nUserCardType = 12;
    EXPECT_EQ(CloseAllDevice(), 0);
    EXPECT_EQ(ReaderHandle, 0);
    EXPECT_THAT(reader().calls, ElementsAre("PowerOff 7 03", "Close"));
    EXPECT_THAT(log.texts(), ElementsAre("success: PowerDown(MIF)", "CloseDevice(7)"));
}

TEST_F(ReaderConnection, CloseAllGoesOnWhenThePowerDownFails) {
    ReaderHandle = 7;
    reader().power_off[0x01] = -3;
    EXPECT_EQ(CloseAllDevice(), 0);
    EXPECT_THAT(log.texts(), ElementsAre("fail: PowerDown(CPU)", "CloseDevice(7)"));
}

TEST_F(ReaderConnection, CloseAllReturnsTheResultOfTheClose) {
    ReaderHandle = 7;
    reader().close = -12;
    EXPECT_EQ(CloseAllDevice(), -12);
    EXPECT_EQ(ReaderHandle, 7);
}

TEST_F(ReaderConnection, CloseAllWithNothingOpenCallsNothing) {
    EXPECT_EQ(CloseAllDevice(), 0);
    EXPECT_THAT(reader().calls, IsEmpty());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReaderConnection, CloseAllClosesUnderAnUnknownCardKind) {
    ReaderHandle = 7;
    EG_nUserCardType = 99;
    EXPECT_EQ(CloseAllDevice(), 0);
    EXPECT_THAT(reader().calls, ElementsAre("Close"));
}

TEST_F(ReaderConnection, SerialIsCopiedWithoutTerminator) {
    GuardedBuffer serial(40);
    EXPECT_EQ(GetDevSerial(7, serial.text()), 0);
    EXPECT_TRUE(serial.holds_text("0123456789"));
    EXPECT_THAT(reader().calls, ElementsAre("GetSerial 7"));
    EXPECT_EQ(reader().handed_buffer, filled(100, 0));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ReaderConnection, SerialIsCutTo32Characters) {
    const std::string forty = "1234567890123456789012345678901234567890";
    for (const std::size_t length : {31u, 32u, 33u, 40u}) {
        GuardedBuffer serial(32);
        reader().serial.bytes = text_bytes(forty.substr(0, length));
        EXPECT_EQ(GetDevSerial(7, serial.text()), 0);
        EXPECT_TRUE(serial.holds_text(forty.substr(0, std::min<std::size_t>(length, 32))));
    }
}

TEST_F(ReaderConnection, SerialWithoutTerminatorIsCutToo) {
    GuardedBuffer serial(33);
    reader().serial.bytes = filled(100, 'S');
    EXPECT_EQ(GetDevSerial(7, serial.text()), 0);
    EXPECT_TRUE(serial.holds_text(std::string(32, 'S')));
}

TEST_F(ReaderConnection, EmptySerialWritesNothing) {
    GuardedBuffer serial(32);
    reader().serial.bytes = {};
    EXPECT_EQ(GetDevSerial(7, serial.text()), 0);
    EXPECT_TRUE(serial.untouched());
}

TEST_F(ReaderConnection, SerialFailsOnEveryResultButZero) {
    GuardedBuffer serial(32);
    for (const std::int64_t result : reader_failures) {
        reader().serial.result = result;
        EXPECT_EQ(GetDevSerial(7, serial.text()), result);
    }
    for (const std::int64_t result : {std::int64_t{1}, std::int64_t{1} << 32}) {
        reader().serial.result = result;
        EXPECT_EQ(GetDevSerial(7, serial.text()), result);
    }
    EXPECT_TRUE(serial.untouched());
}

TEST_F(ReaderConnection, SerialIsAskedUnderAnyHandle) {
    GuardedBuffer serial(32);
    GetDevSerial(0, serial.text());
    GetDevSerial(-1, serial.text());
    GetDevSerial(std::numeric_limits<std::int64_t>::max(), serial.text());
    EXPECT_THAT(reader().calls,
                ElementsAre("GetSerial 0", "GetSerial -1", "GetSerial 9223372036854775807"));
}

TEST_F(ReaderConnection, SerialRefusesANullBuffer) {
    EXPECT_EQ(GetDevSerial(7, nullptr), -14);
    EXPECT_THAT(reader().calls, IsEmpty());
}

}  // namespace
}  // namespace quorrin::test
