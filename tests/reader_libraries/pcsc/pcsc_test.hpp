// Fixture of the tests that reach a reader over PC/SC through the six functions, with the slots' codes.
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

inline constexpr int contact = QUORRIN_SLOT_CONTACT;
inline constexpr int mas = QUORRIN_SLOT_FURTHER;
inline constexpr int contactless = QUORRIN_SLOT_CONTACTLESS;
inline constexpr int contactless_off = QUORRIN_SLOT_CONTACTLESS_OFF;
inline constexpr int sam1 = QUORRIN_SLOT_SAM1;

class PcscTest : public testing::Test {
  protected:
    PcscTest() {
        for (const char* variable : variables) {
            unsetenv(variable);
        }
        setenv("XDG_CONFIG_HOME", directory.path().c_str(), 1);
    }
    ~PcscTest() override {
        ICC_Reader_Close();
        for (const char* variable : variables) {
            unsetenv(variable);
        }
    }

    static void set(const char* variable, const std::string& value) {
        setenv(variable, value.c_str(), 1);
    }

    std::int64_t open() {
        char name[32] = {};
        const std::int64_t result = ICC_Reader_Open(name);
        if (result > 0) {
            handle = result;
        }
        return result;
    }

    // The answer to reset as hex text, or "result n".
    std::string power_on(int slot) const {
        GuardedBuffer atr(512);
        const std::int64_t result = ICC_Reader_PowerOn(handle, slot, atr.data());
        if (result < 1 || result > 512) {
            EXPECT_TRUE(atr.untouched());
            return "result " + std::to_string(result);
        }
        const ByteString bytes = atr.first(static_cast<std::size_t>(result));
        EXPECT_TRUE(atr.holds(bytes));
        return to_hex(bytes);
    }

    std::int64_t power_off(int slot) const { return ICC_Reader_PowerOff(handle, slot); }

    // What came back as hex text, or "result n" when it is no answer.
    std::string send(int slot, std::string_view command) const {
        ByteString bytes = hex(command);
        GuardedBuffer response(1024);
        const std::int64_t result = ICC_Reader_Application(
            handle, slot, static_cast<std::int64_t>(bytes.size()), bytes.data(), response.data());
        if (result < 2 || result > 1024) {
            return "result " + std::to_string(result);
        }
        const ByteString answer = response.first(static_cast<std::size_t>(result));
        EXPECT_TRUE(response.holds(answer));
        return to_hex(answer);
    }

    // The serial number, or "result n".
    std::string serial() const {
        GuardedBuffer text(100);
        const std::int64_t result = ICC_Reader_GetSerial(handle, text.text());
        if (result != 0) {
            EXPECT_TRUE(text.untouched());
            return "result " + std::to_string(result);
        }
        const std::string found = text.text();
        EXPECT_TRUE(text.holds_text(found + '\0'));
        return found;
    }

    TemporaryDirectory directory;
    std::int64_t handle = 0;

  private:
    static constexpr const char* variables[] = {
        "QUORRIN_PCSC_CONFIG", "QUORRIN_PCSC_CONTACT", "QUORRIN_PCSC_CONTACTLESS",
        "QUORRIN_PCSC_MAS",    "QUORRIN_PCSC_SAM1",    "QUORRIN_PCSC_SAM2",
        "QUORRIN_PCSC_SAM3",   "QUORRIN_PCSC_SAM4",    "QUORRIN_PCSC_WAIT",
        "QUORRIN_PCSC_ACCESS", "QUORRIN_PCSC_VERBOSE", "XDG_CONFIG_HOME",
    };
};

}  // namespace quorrin::test
