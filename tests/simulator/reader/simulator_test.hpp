// Fixture of the tests that drive the simulated reader through its six functions, each in a fresh
// directory that holds the shipped profiles.
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

class SimulatorTest : public testing::Test {
  protected:
    SimulatorTest() {
        std::filesystem::copy(QUORRIN_PROFILES, directory.path() / "profiles");
        unsetenv("QUORRIN_SIMULATOR");
    }
    ~SimulatorTest() override {
        ICC_Reader_Close();
        unsetenv("QUORRIN_SIMULATOR");
    }

    // Makes a file the reader file.
    void use(const std::string& file) { setenv("QUORRIN_SIMULATOR", file.c_str(), 1); }
    void use(const std::string& file, std::string_view content) {
        directory.write(file, content);
        use(file);
    }

    std::int64_t open() {
        char name[32] = {};
        handle = ICC_Reader_Open(name);
        return handle;
    }

    std::int64_t power_on(int slot) {
        std::uint8_t atr[512] = {};
        return ICC_Reader_PowerOn(handle, slot, atr);
    }

    // What came back as hex text, or "result n" when it is no answer.
    std::string send(int slot, std::string_view command) {
        Bytes bytes = hex(command);
        GuardedBuffer response(1024);
        const std::int64_t result = ICC_Reader_Application(
            handle, slot, static_cast<std::int64_t>(bytes.size()), bytes.data(), response.data());
        if (result < 0 || result > 1024) {
            EXPECT_TRUE(response.untouched());
            return "result " + std::to_string(result);
        }
        const Bytes answer = response.first(static_cast<std::size_t>(result));
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

inline constexpr const char* select_debit = "00A4040008A00000033301010100";
inline constexpr const char* get_atc = "80CA9F3600";

}  // namespace quorrin::test
