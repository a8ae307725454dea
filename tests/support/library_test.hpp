// Fixture of the tests that drive the library: a fresh scripted reader, the process-wide state of
// the transport as after loading, and the log captured.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "quorrin/quorrin.h"
#include "tests/support/guarded_buffer.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/scripted_reader.hpp"

namespace quorrin::test {

class LibraryTest : public testing::Test {
  protected:
    LibraryTest() {
        reset_reader();
        ReaderHandle = 0;
        EG_nUserCardType = 11;
        EG_port = 0;
        std::strncpy(EG_szDev_Name, "AUTO", sizeof EG_szDev_Name);
        CARD_SW1 = 0;
        CARD_SW2 = 0;
        CARD_STATUS = 0;
    }

    LogCapture log;
};

}  // namespace quorrin::test
