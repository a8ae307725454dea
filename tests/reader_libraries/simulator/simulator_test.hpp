// Fixture of the tests that drive the simulated reader through its six functions, each in a fresh
// directory that holds the shipped profiles and one of its own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "quorrin/reader_library.h"
#include "tests/support/bytes.hpp"
#include "tests/support/guarded_buffer.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::test {

// A card of these tests' own, so that the shipped ones can change.
inline constexpr const char* own_card = R"(name = "own card"
atr = "3B 6D 00 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D"
[keys]
cryptogram = "0123456789ABCDEF FEDCBA9876543210"
mac = "1133557799BBDDFF 0022446688AACCEE"
encipherment = "F1E2D3C4B5A69788 796A5B4C3D2E1F00"
[[application]]
aid = "A000000333010101"
label = "OWN"
aip = "1C00"
atc = 3
[[application.record]]
file = 1
number = 1
elements = ["5A 9999010000000011", "5F24 301231", "8C 9F02 06", "8D 8A 02"]
)";
inline const ByteString own_atr = hex("3B 6D 00 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D");

class SimulatorTest : public testing::Test {
  protected:
    SimulatorTest() {
        std::filesystem::copy(QUORRIN_PROFILES, directory.path() / "profiles");
        directory.write("own.toml", own_card);
        unsetenv("QUORRIN_SIMULATOR");
    }
    ~SimulatorTest() override {
        ICC_Reader_Close();
        unsetenv("QUORRIN_SIMULATOR");
    }

    // Makes a file the reader file.
    static void use(const std::string& file) { setenv("QUORRIN_SIMULATOR", file.c_str(), 1); }
    void use(const std::string& file, std::string_view content) {
        directory.write(file, content);
        use(file);
    }

    std::int64_t open() {
        char name[32] = {};
        handle = ICC_Reader_Open(name);
        return handle;
    }

    std::int64_t power_on(int slot) const {
        std::uint8_t atr[512] = {};
        return ICC_Reader_PowerOn(handle, slot, atr);
    }

    // What came back as hex text, or "result n" when it is no answer.
    std::string send(int slot, std::string_view command) const {
        ByteString bytes = hex(command);
        GuardedBuffer response(1024);
        const std::int64_t result = ICC_Reader_Application(
            handle, slot, static_cast<std::int64_t>(bytes.size()), bytes.data(), response.data());
        if (result < 0 || result > 1024) {
            EXPECT_TRUE(response.untouched());
            return "result " + std::to_string(result);
        }
        const ByteString answer = response.first(static_cast<std::size_t>(result));
        EXPECT_TRUE(response.holds(answer));
        return result < 2 ? "result " + std::to_string(result) : to_hex(answer);
    }

    TemporaryDirectory directory;
    std::int64_t handle = 0;
};

inline constexpr int contact = 0x01;
inline constexpr int further = 0x02;
inline constexpr int contactless = 0x31;
inline constexpr int contactless_off = 0x03;

inline constexpr const char* select_application = "00A4040008A00000033301010100";
inline constexpr const char* get_atc = "80CA9F3600";

}  // namespace quorrin::test
